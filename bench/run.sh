#!/usr/bin/env bash
# Builds an optimised zel-tool, installs it with its configuration under build-bench/root and
# runs the conversion benchmark beside Debian's dlt-convert. Extra arguments go to the
# benchmark (--runs N, --records N, --zeros GB, --work DIR). Needs about 2 GB in the work dir.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/install-deps.sh test

root="$PWD/build-bench/root"
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF -DZEL_PLATFORM_ROOT="$root" >/dev/null
cmake --build build-bench -j"$(nproc)" >/dev/null
cmake --install build-bench --prefix "$root/usr" >/dev/null
python3 bench/bench.py --tool "$root/usr/bin/zel-tool" --gen build-bench/tools/dlt-gen "$@"
