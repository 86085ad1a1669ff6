#!/usr/bin/env bash
# Installs what the build needs, builds zel-tool, installs it with its configuration into a
# staging tree inside the build directory, and runs it there.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/install-deps.sh build

root="$PWD/build/root"
cmake -S . -B build -DZEL_PLATFORM_ROOT="$root" -DBUILD_TESTING=OFF
cmake --build build -j"$(nproc)"
cmake --install build --prefix "$root/usr"

run() {
    echo "\$ zel-tool $*"
    "$root/usr/bin/zel-tool" "$@"
}
run -l
run -a
