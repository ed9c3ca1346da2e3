#!/usr/bin/env bash
# Installs what is missing, builds the host application and its plug-in, and runs it with
# the built-in simulated cameras open. Without a display it makes a scripted run and prints
# where its results are. Arguments go to lumorix-sim (see --help).
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo > /dev/null
cmake --build build -j"$(nproc)" --target lumorix-sim ks-gv-camera
exec build/bin/lumorix-sim "$@"
