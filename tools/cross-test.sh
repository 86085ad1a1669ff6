#!/usr/bin/env bash
# Builds the tool and its unit tests for 64-bit Arm (cmake/aarch64-linux-gnu.cmake) and runs the
# unit tests and the end-to-end tests (test/e2e, the installed arm64 tree beside a native DLT daemon)
# under qemu; converts the shipped sample, the version 2 reference recordings (test/data/v2-reference)
# and the generator's catalogue with the arm64 and the x86-64 build: the outputs must be
# byte-identical; then builds the arm64 Debian package (tools/package.sh --arch arm64) and installs,
# runs and purges it in a sandbox (test/packaging). Installs the cross toolchain and qemu first.
# Run as root on Debian.
set -euo pipefail
cd "$(dirname "$0")/.."

dpkg --print-foreign-architectures | grep -qx arm64 || dpkg --add-architecture arm64
# The arm64 programs run on the multiarch C and C++ runtime, loader included
# (/lib/ld-linux-aarch64.so.1); automotive-dlt.pc links zlib, which libdlt-dev does not bring.
bash tools/install-deps.sh test crossbuild-essential-arm64 qemu-user libdlt-dev:arm64 libgtest-dev:arm64 \
    libstdc++6:arm64 zlib1g-dev:arm64

jobs=$(nproc)
host=build
arm=build-arm64
cmake -S . -B $host -DZEL_PLATFORM_ROOT="$PWD/$host/root" >/dev/null
cmake --build $host -j"$jobs" --target zel-tool docs dlt-gen
cmake --install $host --prefix $host/root/usr >/dev/null
ports=$(python3 tools/free-ports.py)
cmake -S . -B $arm -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/aarch64-linux-gnu.cmake" -DBUILD_TESTING=ON \
    -DZEL_PLATFORM_ROOT="$PWD/$arm/root" -DZEL_SOC_PORT="${ports% *}" -DZEL_MCU_PORT="${ports#* }" >/dev/null
cmake --build $arm -j"$jobs" --target zel-tool docs unit_tests fuzz_convert fuzz_parallel fuzz_kvs fuzz_matcher
cmake --install $arm --prefix $arm/root/usr >/dev/null
readelf -h $arm/zel-tool/zel-tool | grep -q AArch64
# Death tests exec the test program again: that needs binfmt_misc for qemu, seldom in containers.
ctest --test-dir $arm -L 'unit|e2e' -j"$jobs" --output-on-failure -E 'ConvertTest.PluginStops'

inputs=$arm/inputs
mkdir -p $inputs
cp samples/daemon-session.log test/data/v2-reference/*.log $inputs/
$host/tools/dlt-gen --catalogue $inputs/catalogue.log
# Output and exit status of one conversion, into the file named first.
convert() {
    local out=$1 status=0
    shift
    "$@" >"$out" || status=$?
    echo "exit status $status" >>"$out"
}
export TZ=UTC
status=0
for input in "$inputs"/*.log; do
    # shellcheck disable=SC2086
    for form in "" datatime manatime; do
        out=$input.${form:-both}
        convert "$out.x86-64" $host/root/usr/bin/zel-tool log-convert $form "$input"
        convert "$out.arm64" qemu-aarch64 $arm/root/usr/bin/zel-tool log-convert $form "$input"
        if cmp -s "$out.x86-64" "$out.arm64"; then
            echo "identical: log-convert $form $(basename "$input") ($(wc -l <"$out.arm64") lines)"
        else
            echo "DIFFERENT: log-convert $form $(basename "$input")"
            diff "$out.x86-64" "$out.arm64" | head -20
            status=1
        fi
    done
done

bash tools/package.sh --arch arm64
ZEL_TEST_BIN_DIR=$PWD/$host/root/usr/bin ZEL_TEST_DEB_DIR=$PWD/build-deb-arm64 ZEL_SOURCE_DIR=$PWD PYTHONDONTWRITEBYTECODE=1 \
    pytest-3 -q -p no:cacheprovider test/packaging -k package
exit $status
