#!/usr/bin/env bash
# The long fuzz campaign: every fuzz target (or those named) runs until it has made -r executions or
# spent -t seconds, whichever comes first; then its checked-in corpus and the inputs it found are
# minimized together into the new corpus: the inputs named by hand (regressions, seeds) stay, and of
# the others only those that reach code no kept input reaches. A campaign, not a test: CI runs
# each target for a bounded minute instead (ctest --preset fuzz).
#
#   bench/fuzz_campaign.sh [-r RUNS] [-t SECONDS] [-j LANES] [-o REPORT] [TARGET...]
#
#   -r  executions per target (default 10 000 000)
#   -t  longest time per target in seconds (default 1800)
#   -j  targets fuzzed at the same time (default 2), each at the lowest priority
#   -o  the report: a line per target with executions, seconds, corpus sizes and findings
#       (default build/fuzz/fuzz-campaign.txt)
#
# Needs the fuzz build (cmake --preset fuzz && cmake --build --preset fuzz). A finding is written to
# build/fuzz/tests/fuzz/<target>-crash-* (or leak-, timeout-, oom-) and counted in the report; the
# target then stops early, like in CI. Fix the fault and copy the input into the corpus.
set -euo pipefail
cd "$(dirname "$0")/.."

runs=10000000 seconds=1800 lanes=2 report=build/fuzz/fuzz-campaign.txt
while getopts "r:t:j:o:" opt; do
    case $opt in
        r) runs=$OPTARG ;;
        t) seconds=$OPTARG ;;
        j) lanes=$OPTARG ;;
        o) report=$OPTARG ;;
        *) exit 2 ;;
    esac
done
shift $((OPTIND - 1))
bin=build/fuzz/tests/fuzz
targets=("$@")
[ ${#targets[@]} -gt 0 ] || mapfile -t targets < <(ls tests/fuzz/corpus)
for t in "${targets[@]}"; do [ -x "$bin/$t" ] || { echo "no fuzz build of $t" >&2; exit 2; }; done

# One target: fuzz into a scratch folder, then merge what is new into the checked-in corpus.
one_target() {
    local t=$1 corpus=tests/fuzz/corpus/$1 work log before started
    work=$(mktemp -d /tmp/quorvane-fuzz-$t.XXXXXX)
    log=$work/fuzz.log
    mkdir "$work/found"
    before=$(ls "$corpus" | wc -l)
    started=$(date +%s)
    nice -n 19 "$bin/$t" -runs="$runs" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 \
        -print_final_stats=1 -artifact_prefix="$bin/$t-" "$work/found" "$corpus" >"$log" 2>&1 || true
    local spent=$(($(date +%s) - started))
    local executions findings
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    findings=$(grep -c '^==[0-9]*==ERROR\|^SUMMARY: \|deadly signal\|ALARM: working on the last Unit' "$log" || true)
    mkdir "$work/minimal"
    find "$corpus" -type f ! -regex '.*/[0-9a-f]\{40\}' -exec cp {} "$work/minimal" \;
    if nice -n 19 "$bin/$t" -merge=1 "$work/minimal" "$corpus" "$work/found" >>"$log" 2>&1; then
        rm -rf "$corpus" && mv "$work/minimal" "$corpus"
    else
        findings="$findings (merge failed, corpus unchanged)"
    fi
    printf '%-20s executions=%-10s seconds=%-5s corpus=%s->%s findings=%s\n' "$t" "${executions:-?}" "$spent" \
        "$before" "$(ls "$corpus" | wc -l)" "$findings"
    [ "$findings" = 0 ] && rm -rf "$work" || echo "  log kept: $log" >&2
}
export -f one_target
export bin runs seconds

mkdir -p "$(dirname "$report")"
printf '%s\n' "${targets[@]}" | xargs -P "$lanes" -I{} bash -c 'one_target {}' | tee "$report"
