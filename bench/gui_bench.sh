#!/usr/bin/env bash
# Desktop benchmark: what the window costs the server under load. A benchmark, not a test: CI
# never runs it and nothing passes or fails on it.
#
#   sudo bench/gui_bench.sh [-l SECONDS] [-Q QPS] [-b QUORVANE_BINARY] [-k]
#
#   -l  length of each measured run in seconds (default 30)
#   -Q  query rate (default 50000)
#   -b  the Quorvane binary (default build/release/apps/quorvane/quorvane; build it first)
#   -k  keep the scratch folder (program folders, dnsperf reports, probe files) and print its path
#
# Runs Quorvane twice on one zone of 10 000 A records, in a private network and process namespace
# where only 127.0.0.1 exists, the server on core 0 and dnsperf on core 1:
#   desktop   the window on a virtual X display (Xvfb), with the Performance Graph and the Active
#             Log open and LogDetail on, so every query puts lines into the log window;
#   headless  --headless --quiet, the same settings.
# Each run: answers checked, 2 s warm-up, then dnsperf at -Q queries per second for -l seconds.
# Reported per run: answers per second; the engine thread's CPU time per answer (read from
# /proc/PID/task/TID/stat around the run; headless the engine is the main thread), and the whole
# process's; the window's event-loop lateness (QUORVANE_UI_PROBE: a 50 ms timer, median and worst);
# VmRSS before and after the run. Targets: engine CPU per answer at most 1.5 times headless; worst
# lateness below 100 ms; memory flat.
#
# Installs what is missing with apt-get (dnsperf, xvfb, x11-utils, iproute2, util-linux,
# bind9-dnsutils, python3, procps) and runs under the shared build lock (/tmp/quorvane-build.lock,
# or $QUORVANE_LOCK) so that no build runs during a measurement. Everything it starts it ends by
# process id, and the namespaces go away with the script.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/.." && pwd)
source "$here/bench_lib.sh"

SECONDS_RUN=30
QPS=50000
QUORVANE=$top/build/release/apps/quorvane/quorvane
KEEP=0
LOCK=${QUORVANE_LOCK:-/tmp/quorvane-build.lock}
ZONE=bench.test
STARTED=""

# user+system clock ticks of one thread.
thread_ticks() {
    local stat rest fields
    read -r stat <"/proc/$1/task/$2/stat"
    rest=${stat##*) }
    read -r -a fields <<<"$rest"
    echo $((fields[11] + fields[12]))
}

rss_kb() { awk '/^VmRSS:/ { print $2 }' "/proc/$1/status"; }

# The thread named "engine" of process $1 (the desktop program), else the main thread.
engine_tid() {
    local task
    for task in /proc/"$1"/task/*; do
        [ "$(cat "$task/comm")" = engine ] && { basename "$task"; return; }
    done
    echo "$1"
}

start_xvfb() {
    Xvfb -displayfd 3 -nolisten tcp -screen 0 1280x800x24 3>"$WORK/display" >"$WORK/xvfb.log" 2>&1 &
    STARTED="$STARTED $!"
    for _ in $(seq 100); do [ -s "$WORK/display" ] && break; sleep 0.1; done
    [ -s "$WORK/display" ] || { echo "Xvfb did not start" >&2; exit 1; }
    export DISPLAY=":$(tr -d '\n' <"$WORK/display")"
}

# Program folder $1 for mode $2; starts the server on core 0 and sets SERVER_PID.
start_quorvane() {
    local dir=$1 mode=$2
    mkdir -p "$dir/data" "$dir/config/Quorvane"
    cp "$WORK/$ZONE.dns" "$dir/data/$ZONE.dns"
    printf 'Name: %s\nDNSBind: 127.0.0.1\nLogDetail: YES\nBombLevel: 0\n' "$ZONE" >"$dir/quorvane.ini"
    # The graph and the Active Log open side by side in a normal 1000x700 window.
    printf '[Main]\nWindows=0 0 0 1000 700 1 0 0 0 480 560 1 0 490 0 500 560 0\n' \
        >"$dir/config/Quorvane/Quorvane.conf"
    if [ "$mode" = desktop ]; then
        XDG_CONFIG_HOME="$dir/config" QUORVANE_UI_PROBE="$dir/probe.txt" \
            taskset -c 0 "$QUORVANE" --dir "$dir" >"$dir/server.out" 2>&1 &
    else
        taskset -c 0 "$QUORVANE" --headless --quiet --dir "$dir" >"$dir/server.out" 2>&1 &
    fi
    SERVER_PID=$!
    STARTED="$STARTED $SERVER_PID"
}

wait_answers() {
    for _ in $(seq 100); do
        dig @127.0.0.1 +tries=1 +time=1 +norec "h00042.$ZONE" A 2>/dev/null | grep -q 'status: NOERROR' && return 0
        sleep 0.1
    done
    echo "the server did not answer; its output:" >&2
    cat "$1/server.out" >&2
    exit 1
}

measure() {
    local mode=$1 dir=$WORK/$1
    echo "== $mode" >&2
    start_quorvane "$dir" "$mode"
    wait_answers "$dir"
    taskset -c 1 dnsperf -s 127.0.0.1 -d "$WORK/queries.txt" -l 2 -Q 20000 >"$dir/warmup.txt" 2>&1 || true
    local tid engine0 process0 rss0
    tid=$(engine_tid "$SERVER_PID")
    engine0=$(thread_ticks "$SERVER_PID" "$tid")
    process0=$(cpu_ticks "$SERVER_PID")
    rss0=$(rss_kb "$SERVER_PID")
    taskset -c 1 dnsperf -s 127.0.0.1 -d "$WORK/queries.txt" -l "$SECONDS_RUN" -Q "$QPS" -q 500 \
        -O suppress=timeouts >"$dir/run.txt" 2>&1
    {
        echo "engine_ticks=$(($(thread_ticks "$SERVER_PID" "$tid") - engine0))"
        echo "process_ticks=$(($(cpu_ticks "$SERVER_PID") - process0))"
        echo "rss_before_kb=$rss0"
        echo "rss_after_kb=$(rss_kb "$SERVER_PID")"
        dnsperf_figures "$dir/run.txt" ""
    } >"$WORK/results-$mode"
    kill -TERM "$SERVER_PID"
    timeout 20 tail --pid="$SERVER_PID" -f /dev/null || kill -KILL "$SERVER_PID"
    [ ! -f "$dir/probe.txt" ] || cat "$dir/probe.txt" >>"$WORK/results-$mode"
}

inside_namespace() {
    WORK=$1
    source "$WORK/settings"
    trap stop_started EXIT
    ip link set lo up
    start_xvfb
    measure desktop
    measure headless
}

# One table from the two result files.
report() {
    python3 - "$WORK" "$(getconf CLK_TCK)" <<'PY'
import sys
work, tck = sys.argv[1], int(sys.argv[2])
def load(mode):
    with open(f"{work}/results-{mode}") as f:
        return dict(line.strip().split("=", 1) for line in f if "=" in line)
rows = {m: load(m) for m in ("desktop", "headless")}
def per_answer(r, key):
    done = int(r.get("completed", 0) or 0)
    return int(r[key]) * 1e6 / tck / done if done else float("nan")
print(f"{'run':10} {'answers/s':>10} {'engine us/ans':>14} {'process us/ans':>15} "
      f"{'loop median ms':>15} {'loop worst ms':>14} {'RSS before MB':>14} {'RSS after MB':>13}")
for mode, r in rows.items():
    print(f"{mode:10} {float(r.get('qps', 0)):10.0f} {per_answer(r, 'engine_ticks'):14.2f} "
          f"{per_answer(r, 'process_ticks'):15.2f} {r.get('median_ms', '-'):>15} {r.get('worst_ms', '-'):>14} "
          f"{int(r['rss_before_kb']) / 1024:14.1f} {int(r['rss_after_kb']) / 1024:13.1f}")
d, h = rows["desktop"], rows["headless"]
ratio = per_answer(d, "engine_ticks") / per_answer(h, "engine_ticks")
growth = (int(d["rss_after_kb"]) - int(d["rss_before_kb"])) / 1024
print(f"\nengine CPU per answer, desktop/headless: {ratio:.2f} (target <= 1.5)")
print(f"worst event-loop lateness: {d.get('worst_ms', '-')} ms (target < 100)")
print(f"desktop memory growth during the run: {growth:.1f} MB (target: flat)")
PY
}

main() {
    if [ "${1:-}" = --inside-namespace ]; then
        inside_namespace "$2"
        return
    fi
    local opt
    while getopts "l:Q:b:kh" opt; do
        case $opt in
            l) SECONDS_RUN=$OPTARG ;;
            Q) QPS=$OPTARG ;;
            b) QUORVANE=$(readlink -f "$OPTARG") ;;
            k) KEEP=1 ;;
            h) usage ;;
            *) usage 2 ;;
        esac
    done
    [ "$(id -u)" -eq 0 ] || { echo "run as root (network namespaces, port 53)" >&2; exit 1; }
    [ "$(nproc)" -ge 2 ] || { echo "needs two cores: one for the server, one for dnsperf" >&2; exit 1; }
    [ -x "$QUORVANE" ] || { echo "no Quorvane binary at $QUORVANE; build it or pass -b" >&2; exit 1; }

    "$here/install_packages.sh" dnsperf xvfb x11-utils iproute2 util-linux bind9-dnsutils python3 procps
    if ! holds_lock; then # wait for builds to finish, and keep them out while measuring
        echo "Waiting for $LOCK ..." >&2
        exec flock "$LOCK" "$0" "$@"
    fi

    WORK=$(mktemp -d /tmp/quorvane-gui-bench.XXXXXX)
    if [ "$KEEP" = 1 ]; then
        trap 'echo "scratch folder kept: $WORK" >&2' EXIT
    else
        trap 'rm -rf "$WORK"' EXIT
    fi
    python3 "$here/make_zone.py" "$WORK/$ZONE.dns" "$WORK/queries.txt" --type A
    local v
    for v in SECONDS_RUN QPS QUORVANE; do printf '%s=%q\n' "$v" "${!v}"; done >"$WORK/settings"
    unshare --net --pid --fork --mount-proc --kill-child bash "$0" --inside-namespace "$WORK"
    report
}

main "$@"
