#!/usr/bin/env bash
# Builds the Debian package zel-tool_<version>_<arch>.deb from a Release build for the real paths
# (empty ZEL_PLATFORM_ROOT) in its own build directory, with Debian's hardening flags, and checks it
# with lintian: an error fails, warnings are printed.
#   tools/package.sh [--arch arm64] [build directory]
# Without --arch: for this machine, in build-deb. With --arch arm64: for the SoC, in build-deb-arm64,
# with the cross toolchain (cmake/aarch64-linux-gnu.cmake) and the arm64 libraries of a multiarch
# installation; dpkg-buildflags gives arm64's flags and dpkg-shlibdeps takes the dependencies from
# the arm64 libraries the program links (DEB_HOST_ARCH).
# The package is reproducible: two runs on one commit give the same bytes. Every time stamp in it
# is SOURCE_DATE_EPOCH (default: the commit's time, else the changelog's), and no path of the
# checkout or the build directory reaches the program.
set -euo pipefail
cd "$(dirname "$0")/.."
cross=()
if [[ ${1:-} == --arch ]]; then
    [[ ${2:-} == arm64 ]] || { echo "package.sh: no cross toolchain for '${2:-}' (there is one for arm64)" >&2; exit 2; }
    export DEB_HOST_ARCH=$2
    shift 2
    dpkg --print-foreign-architectures | grep -qx arm64 || dpkg --add-architecture arm64
    cross=(-DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/aarch64-linux-gnu.cmake" -DCPACK_DEBIAN_PACKAGE_ARCHITECTURE=arm64)
    bash tools/install-deps.sh package crossbuild-essential-arm64 libdlt-dev:arm64 zlib1g-dev:arm64 libstdc++6:arm64
    build=${1:-build-deb-arm64}
else
    bash tools/install-deps.sh package
    build=${1:-build-deb}
fi
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
if [[ -z ${SOURCE_DATE_EPOCH:-} ]]; then
    SOURCE_DATE_EPOCH=$(git log -1 --format=%ct 2>/dev/null || dpkg-parsechangelog -l doc/changelog -STimestamp)
fi
export SOURCE_DATE_EPOCH

# dpkg-buildflags maps the checkout's path away; the build directory's is mapped here.
mkdir -p "$build"
flags="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS) -ffile-prefix-map=$(realpath "$build")=."
cmake -S . -B "$build" "${cross[@]}" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF -DZEL_PLATFORM_ROOT= \
    -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS)"
cmake --build "$build" -j"$(nproc)"
(cd "$build" && cpack -G DEB)
lintian --fail-on error "$build"/zel-tool_*.deb
