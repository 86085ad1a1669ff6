#!/usr/bin/env bash
# Installs what is needed, builds the tool and its tests, and runs the whole suite, then the
# conversion tests again with the affinity faked to 64 processors; builds the Debian package once
# (tools/package.sh: Release build, lintian) and runs the packaging tests
# (manual page, completion, install and purge in a sandbox) against it and this build's installed
# tree; fuzzes each fuzz target briefly; then runs the whole suite again built with
# AddressSanitizer and UndefinedBehaviorSanitizer, on that build's own installed tree, and the
# conversion unit tests (reader and writer threads, exit thread, stopping a follow) built with
# ThreadSanitizer. Each build keeps its platform root (configuration, control socket) inside its
# build tree and links to the MCU over UDP ports of its own.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/install-deps.sh test

jobs=$(nproc)
# Configures the test build in directory $1 (further cmake arguments follow) with its platform
# root inside it and, for the link to the MCU, two UDP ports that are free now (free-ports.py).
configure() {
    local dir=$1 ports
    shift
    ports=$(python3 tools/free-ports.py)
    cmake -S . -B "$dir" -DBUILD_TESTING=ON -DZEL_PLATFORM_ROOT="$PWD/$dir/root" \
        -DZEL_SOC_PORT="${ports% *}" -DZEL_MCU_PORT="${ports#* }" "$@"
}

configure build
cmake --build build -j"$jobs"
ctest --test-dir build -j"$jobs" --output-on-failure
# The conversion tests again as on a machine of 64 processors, which a shim around sched_getaffinity
# makes the processes see: the workers, their spans and what they hold follow that count.
ZEL_SHIM_PROCESSORS=64 LD_PRELOAD=$PWD/build/test/libaffinity_shim.so \
    ctest --test-dir build -j"$jobs" --output-on-failure -R 'ConvertTest|e2e_log_convert'

bash tools/package.sh build-deb
cmake --install build --prefix build/root/usr >/dev/null
ZEL_TEST_BIN_DIR=$PWD/build/root/usr/bin ZEL_TEST_DEB_DIR=$PWD/build-deb ZEL_SOURCE_DIR=$PWD PYTHONDONTWRITEBYTECODE=1 \
    pytest-3 -q -p no:cacheprovider test/packaging

bash tools/fuzz.sh 10

# Runs ctest on a sanitized build. Every sanitizer report, from a test program or from the
# installed tool under an end-to-end test, is written to the build's report directory; a report
# there fails the run whatever the test itself saw.
sanitized_ctest() {
    local dir=$1 reports=$PWD/$1/sanitizer-reports status=0
    shift
    rm -rf "$reports" && mkdir -p "$reports"
    local options="halt_on_error=1:log_path=$reports/report"
    ASAN_OPTIONS=$options UBSAN_OPTIONS=$options:print_stacktrace=1 \
        TSAN_OPTIONS=$options:suppressions=$PWD/test/tsan.supp \
        ctest --test-dir "$dir" -j"$jobs" --output-on-failure "$@" || status=1
    if compgen -G "$reports/*" >/dev/null; then
        cat "$reports"/*
        echo "sanitizer reports: $reports"
        status=1
    fi
    return $status
}

configure build-asan -DCMAKE_BUILD_TYPE=Debug -DZEL_SANITIZE=ON
cmake --build build-asan -j"$jobs"
sanitized_ctest build-asan

configure build-tsan -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS=-fsanitize=thread
cmake --build build-tsan -j"$jobs" --target unit_tests
sanitized_ctest build-tsan -R 'ConvertTest'
