#!/usr/bin/env bash
# Builds the Debian package zel-tool_<version>_<arch>.deb from a Release build for the real paths
# (empty ZEL_PLATFORM_ROOT) in its own build directory (default build-deb), with Debian's
# hardening flags, and checks it with lintian: an error fails, warnings are printed.
# The package is reproducible: two runs on one commit give the same bytes. Every time stamp in it
# is SOURCE_DATE_EPOCH (default: the commit's time, else the changelog's), and no path of the
# checkout or the build directory reaches the program.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build-deb}
bash tools/install-deps.sh package
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
if [[ -z ${SOURCE_DATE_EPOCH:-} ]]; then
    SOURCE_DATE_EPOCH=$(git log -1 --format=%ct 2>/dev/null || dpkg-parsechangelog -l doc/changelog -STimestamp)
fi
export SOURCE_DATE_EPOCH

# dpkg-buildflags maps the checkout's path away; the build directory's is mapped here.
mkdir -p "$build"
flags="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS) -ffile-prefix-map=$(realpath "$build")=."
cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF -DZEL_PLATFORM_ROOT= -DCMAKE_CXX_FLAGS="$flags" \
    -DCMAKE_EXE_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS)"
cmake --build "$build" -j"$(nproc)"
(cd "$build" && cpack -G DEB)
lintian --fail-on error "$build"/zel-tool_*.deb
