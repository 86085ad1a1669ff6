#!/usr/bin/env bash
# Installs what the build needs, builds zel-tool, installs it with its configuration into a
# staging tree inside the build directory, and converts the shipped sample log with it.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/install-deps.sh build

root="$PWD/build-demo/root"
cmake -S . -B build-demo -DZEL_PLATFORM_ROOT="$root" -DBUILD_TESTING=OFF
cmake --build build-demo -j"$(nproc)"
cmake --install build-demo --prefix "$root/usr"

sample="$PWD/samples/daemon-session.log"
out="$root/demo-output.txt"
run() {
    echo "\$ zel-tool $*"
    "$root/usr/bin/zel-tool" "$@" >"$out"
    head -n 8 "$out"
    [[ $(wc -l <"$out") -le 8 ]] || echo "... ($(wc -l <"$out") lines)"
    echo
}
run -l
run log-convert "$sample"
run log-convert datatime "$sample"
run log-convert manatime "$sample"
