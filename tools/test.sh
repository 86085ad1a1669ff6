#!/usr/bin/env bash
# Installs what is needed, builds the tool and its tests, and runs the whole suite; then builds
# the unit tests again with AddressSanitizer and UndefinedBehaviorSanitizer and runs them.
# Each build keeps its platform root (configuration, control socket) inside its build tree.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/install-deps.sh test

jobs=$(nproc)
cmake -S . -B build -DBUILD_TESTING=ON -DZEL_PLATFORM_ROOT="$PWD/build/root"
cmake --build build -j"$jobs"
ctest --test-dir build -j"$jobs" --output-on-failure

cmake -S . -B build-asan -DBUILD_TESTING=ON -DCMAKE_BUILD_TYPE=Debug -DZEL_SANITIZE=ON -DZEL_PLATFORM_ROOT="$PWD/build-asan/root"
cmake --build build-asan -j"$jobs" --target unit_tests
ctest --test-dir build-asan -L unit -j"$jobs" --output-on-failure
