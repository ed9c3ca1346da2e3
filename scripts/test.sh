#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test: first the normal build,
# then the whole suite again built with AddressSanitizer and UndefinedBehaviorSanitizer,
# then the engine and panel tests built with ThreadSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh xvfb xauth iproute2 aravis-tools-cli
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build -j"$(nproc)"
# Serial on purpose: some tests measure real-time pacing. The minute-long soak runs apart.
(cd build && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -LE soak)
(cd build && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -L soak --verbose | grep -E "QINFO|tests passed|FAIL")

sanitize="-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined"
cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS="$sanitize" \
    -DCMAKE_EXE_LINKER_FLAGS="$sanitize" -DCMAKE_SHARED_LINKER_FLAGS="$sanitize" \
    -DCMAKE_MODULE_LINKER_FLAGS="$sanitize"
cmake --build build-asan -j"$(nproc)" --target all
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=0"
export LSAN_OPTIONS="suppressions=$PWD/tests/sanitizers/lsan.supp"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
(cd build-asan && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -LE soak)
# A shorter soak here: LeakSanitizer checks what a long run leaves behind.
(cd build-asan && SOAK_SECONDS=20 QT_QPA_PLATFORM=offscreen ctest --output-on-failure -L soak)

# ThreadSanitizer: the engine, panel and real-camera tests, which are the ones with threads of ours.
# On the "minimal" platform no window is ever exposed, so Qt's raster engine does not hand
# painting jobs to its pool threads (a hand-over inside uninstrumented Qt that would show as
# races); the engine and panel code run just the same.
sanitize="-fsanitize=thread -fno-omit-frame-pointer"
cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_FLAGS="$sanitize" \
    -DCMAKE_EXE_LINKER_FLAGS="$sanitize" -DCMAKE_SHARED_LINKER_FLAGS="$sanitize" \
    -DCMAKE_MODULE_LINKER_FLAGS="$sanitize"
threaded="tst_preparation tst_measurement tst_series tst_faults tst_panel tst_aravis"
cmake --build build-tsan -j"$(nproc)" --target $threaded
# ignore_noninstrumented_modules: a memcpy that Qt itself calls (the file dialog's
# directory reader copying strings under Qt's own lock) is not checked; our code still is.
export TSAN_OPTIONS="suppressions=$PWD/tests/sanitizers/tsan.supp ignore_noninstrumented_modules=1 halt_on_error=1 exitcode=66"
for test in $threaded; do
    echo "ThreadSanitizer: $test"
    QT_QPA_PLATFORM=minimal build-tsan/bin/$test
done
