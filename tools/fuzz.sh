#!/usr/bin/env bash
# Builds the fuzz targets (test/fuzz) with clang's libFuzzer, AddressSanitizer and
# UndefinedBehaviorSanitizer and runs each for SECONDS (default 30), two at a time: all of them or
# those named after SECONDS (convert, parallel, kvs, matcher). Seeds: the sample, the version 2
# reference recordings (test/data), generator files, the configuration files; finds are kept
# in build-fuzz/corpus. An input that crashes, hangs or runs out of memory is copied to
# test/fuzz/regressions/<target>/, which the suite replays: commit it with the fix. Fails when any target fails.
#
# VOLUME=N: N executions per target instead of SECONDS, built without sanitizers and without
# comparison tracing (build-fuzz-volume, about five times faster): for the long runs of a
# target whose own check is the point, such as the differential target "parallel".
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-30}
targets=("${@:2}")
[[ ${#targets[@]} -gt 0 ]] || targets=(convert parallel kvs matcher)
bash tools/install-deps.sh build clang libclang-rt-14-dev

out=build-fuzz flags="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all" limit=-max_total_time=$seconds
if [[ -n ${VOLUME:-} ]]; then
    out=build-fuzz-volume flags="-fsanitize=fuzzer-no-link -fno-sanitize-coverage=trace-cmp" limit=-runs=$VOLUME
fi
cmake -S . -B $out -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_TESTING=OFF -DZEL_FUZZ=ON \
    -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build $out -j2 --target dlt-gen "${targets[@]/#/fuzz_}"

mkdir -p $out/seeds/dlt
cp samples/*.log test/data/v2-reference/*.log $out/seeds/dlt/
$out/tools/dlt-gen --catalogue $out/seeds/dlt/catalogue.log
$out/tools/dlt-gen --records 40 --version 2 --seed 7 --out $out/seeds/dlt/gen-v2.log >/dev/null
declare -A seeds=([convert]="$out/seeds/dlt test/fuzz/corpus/dlt"
    [parallel]="test/fuzz/corpus/parallel test/fuzz/corpus/dlt $out/seeds/dlt"
    [kvs]="test/fuzz/corpus/kvs conf/zel-tool conf/zel-dbg conf/clt_plugin" [matcher]="test/fuzz/corpus/matcher")

run() {
    local name=$1 dir=$out/runs/$1
    rm -rf "$dir" && mkdir -p "$dir/found" $out/corpus/"$name"
    local regressions=test/fuzz/regressions/$name
    [[ -d $regressions ]] || regressions=
    # shellcheck disable=SC2086
    if $out/test/fuzz/fuzz_"$name" "$limit" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -dict=test/fuzz/dlt.dict -artifact_prefix="$dir/found/" $out/corpus/"$name" ${seeds[$name]} $regressions \
        >"$dir/log" 2>&1; then
        echo "$name: $(grep -o 'cov: [0-9]* ft: [0-9]*' "$dir/log" | tail -1)," \
            "$(grep -o 'stat::number_of_executed_units: [0-9]*' "$dir/log" | grep -o '[0-9]*$') executions"
    else
        mkdir -p test/fuzz/regressions/"$name"
        cp "$dir"/found/* test/fuzz/regressions/"$name"/ 2>/dev/null || true
        tail -40 "$dir/log"
        echo "$name: FAILED, inputs kept in test/fuzz/regressions/$name/"
        return 1
    fi
}

status=0
for ((i = 0; i < ${#targets[@]}; i += 2)); do
    run "${targets[i]}" & first=$!
    [[ -z ${targets[i + 1]:-} ]] || run "${targets[i + 1]}" || status=1
    wait $first || status=1
done
exit $status
