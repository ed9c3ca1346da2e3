#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test: first the normal build,
# then the whole suite again built with AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh xvfb xauth
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build -j"$(nproc)"
# Serial on purpose: some tests measure real-time pacing.
(cd build && QT_QPA_PLATFORM=offscreen ctest --output-on-failure)

sanitize="-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined"
cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS="$sanitize" \
    -DCMAKE_EXE_LINKER_FLAGS="$sanitize" -DCMAKE_SHARED_LINKER_FLAGS="$sanitize" \
    -DCMAKE_MODULE_LINKER_FLAGS="$sanitize"
cmake --build build-asan -j"$(nproc)" --target all
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=0"
export LSAN_OPTIONS="suppressions=$PWD/tests/sanitizers/lsan.supp"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
(cd build-asan && QT_QPA_PLATFORM=offscreen ctest --output-on-failure)
