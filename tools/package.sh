#!/usr/bin/env bash
# Builds the Debian package zel-tool_<version>_<arch>.deb from a Release build for the real paths
# (empty ZEL_PLATFORM_ROOT) in its own build directory (default build-deb), with Debian's
# hardening flags, and checks it with lintian: an error fails, warnings are printed.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build-deb}
bash tools/install-deps.sh package
export DEB_BUILD_MAINT_OPTIONS=hardening=+all

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF -DZEL_PLATFORM_ROOT= \
    -DCMAKE_CXX_FLAGS="$(dpkg-buildflags --get CPPFLAGS) $(dpkg-buildflags --get CXXFLAGS)" \
    -DCMAKE_EXE_LINKER_FLAGS="$(dpkg-buildflags --get LDFLAGS)"
cmake --build "$build" -j"$(nproc)"
(cd "$build" && cpack -G DEB)
lintian --fail-on error "$build"/zel-tool_*.deb
