#!/usr/bin/env bash
# Builds the libFuzzer targets and runs each for SECONDS (default 600), one
# after another, with the sample files as seed corpus. Every crashing input is
# kept in fuzz/corpus/<target>-crashes/ (the normal test build replays them).
# Prints one summary line per target: runs, coverage, findings.
#
#   fuzz/run-fuzzers.sh [SECONDS] [TARGET...]     e.g. fuzz/run-fuzzers.sh 120 access lotus
#
# Environment: FIXTURES (default ../shared/fixtures), BUILD (default build-fuzz),
# NICE (default 10).
set -euo pipefail

here=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-600}
shift || true
fixtures=${FIXTURES:-$here/../shared/fixtures}
build=${BUILD:-$here/build-fuzz}
nice=${NICE:-10}
all=(access btrieve dbase excel layout lotus paradox text)
targets=("${@:-${all[@]}}")

# The seed files of each target (find patterns under the fixtures) and its
# largest input: big enough for a whole small sample, small enough to stay fast.
seeds() {
    case $1 in
        access) find "$fixtures/access" -type f \( -iname '*.mdb' -o -iname '*.accdb' \) ;;
        btrieve) find "$fixtures/btrieve" -type f \( -iname '*.dat' -o -iname '*.btr' \) ;;
        dbase) find "$fixtures/dbase" "$fixtures/foxpro" -type f -iname '*.dbf' ;;
        excel) find "$fixtures/excel" -type f -iname '*.xls' ;;
        layout) find "$here/examples" -type f -name '*.rqlayout' ;;
        lotus) find "$fixtures/lotus" -type f \( -iname '*.wk?' -o -iname '*.123' \) ;;
        paradox) find "$fixtures/paradox" -type f -iname '*.db' ;;
        text) find "$fixtures/text" -type f -iname '*.csv' ;;
    esac
}
maxlen() {
    case $1 in
        access) echo 300000 ;;
        excel | btrieve | paradox | lotus) echo 131072 ;;
        dbase) echo 65536 ;;
        *) echo 8192 ;;
    esac
}

export CCACHE_BASEDIR=${CCACHE_BASEDIR:-/work} CCACHE_NOHASHDIR=true
if [ ! -f "$build/build.ninja" ]; then
    CC=clang CXX=clang++ cmake -S "$here" -B "$build" -G Ninja -DROWQUILL_FUZZ=ON \
        -DROWQUILL_BUILD_TESTS=OFF -DROWQUILL_BUILD_BENCH=OFF -DROWQUILL_BUILD_GUI=OFF >/dev/null
fi
nice -n "$nice" cmake --build "$build" -j2 --target $(printf 'fuzz_%s ' "${targets[@]}") >/dev/null

summary=()
for t in "${targets[@]}"; do
    work=$build/corpus/$t
    crashes=$here/fuzz/corpus/$t-crashes
    logs=$build/logs/$t
    mkdir -p "$work" "$crashes" "$logs"
    seeds "$t" | while read -r f; do cp -n "$f" "$work/" 2>/dev/null || true; done
    before=$(find "$crashes" -type f | wc -l)
    log=$build/fuzz_$t.log
    # Fork mode goes on after a crash, keeping each crashing input.
    (cd "$logs" && nice -n "$nice" "$build/fuzz/fuzz_$t" "$work" \
        -fork=1 -ignore_crashes=1 -ignore_timeouts=1 -ignore_ooms=1 -close_fd_mask=3 \
        -max_total_time="$seconds" -max_len="$(maxlen "$t")" -timeout=20 -rss_limit_mb=2048 \
        -report_slow_units=100000 -artifact_prefix="$crashes/" -print_final_stats=1 >"$log" 2>&1) || true
    status=$(grep -E '^#[0-9]+: cov:' "$log" | tail -1 || true)
    runs=$(sed -nE 's/^#([0-9]+):.*/\1/p' <<<"$status")
    cov=$(sed -nE 's/.* cov: ([0-9]+).*/\1/p' <<<"$status")
    ft=$(sed -nE 's/.* ft: ([0-9]+).*/\1/p' <<<"$status")
    corp=$(sed -nE 's/.* corp: ([0-9]+).*/\1/p' <<<"$status")
    otc=$(sed -nE 's/.*oom\/timeout\/crash: ([0-9]+\/[0-9]+\/[0-9]+).*/\1/p' <<<"$status")
    after=$(find "$crashes" -type f | wc -l)
    line=$(printf '%-8s %5ss  runs %-9s cov %-6s ft %-7s corpus %-6s oom/timeout/crash %-8s kept %d new' \
        "$t" "$seconds" "${runs:-?}" "${cov:-?}" "${ft:-?}" "${corp:-?}" "${otc:-?}" $((after - before)))
    echo "$line"
    summary+=("$line")
    rmdir "$crashes" 2>/dev/null || true
done
echo
echo "summary (logs in $build/fuzz_<target>.log):"
printf '%s\n' "${summary[@]}"
