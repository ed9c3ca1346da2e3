#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh xvfb xauth
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build -j"$(nproc)"
cd build
# Serial on purpose: some tests measure real-time pacing.
QT_QPA_PLATFORM=offscreen ctest --output-on-failure
