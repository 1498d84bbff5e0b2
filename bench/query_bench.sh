#!/usr/bin/env bash
# Query benchmark: Quorvane against NSD and Knot on one zone, with a trivial echo responder as the
# ceiling of the load generator. A benchmark, not a test: CI never runs it and nothing passes or
# fails on it.
#
#   sudo bench/query_bench.sh [-l SECONDS] [-r ROUNDS] [-Q QPS] [-t TYPE]
#                             [-b QUORVANE_BINARY] [-o OLD_BINARY] [-s "SERVERS"] [-c CLIENTS] [-q OUTSTANDING] [-k]
#
#   -l  length of each measured run in seconds (default 10)
#   -r  rounds: each server is measured this many times, taking turns; the best run of each
#       phase is reported (default 3)
#   -Q  query rate of the fixed-load phase (default 50000)
#   -t  query type of every query (default A; e.g. HINFO to load a server that answers only
#       "not implemented" yet, to try the harness on it)
#   -b  the Quorvane binary (default build/release/apps/quorvane/quorvane; build it first)
#   -o  an earlier Quorvane binary, measured as "quorvane-old" (put it in -s) in turn with the rest
#   -s  which servers, in order (default "echo nsd knot quorvane quorvane-log"; "quorvane-flags" is
#       Quorvane with AAAARecords, EDNS, TCPQueries and QueryHardening switched on)
#   -c  dnsperf clients, i.e. sockets (default 1)
#   -q  dnsperf queries outstanding (default 200; more overflows the default socket buffers and
#       turns into lost queries rather than more answers)
#   -k  keep the scratch folder (configurations, zone, every dnsperf report) and print its path
#
# Needs root and two cores. Installs what is missing with apt-get (dnsperf, nsd, knot, gcc,
# iproute2, util-linux, bind9-dnsutils, python3, procps) without starting the packages' services.
# Then, under the shared build lock (/tmp/quorvane-build.lock, or $QUORVANE_LOCK; taken by the
# script itself unless it already runs under it) so that no build runs during a measurement, it
# compiles the echo responder, writes a zone of 10 000 A records and a list of 100 000 queries
# (90% existing names, 10% missing ones, shuffled), and runs each server in turn alone in a
# private network and process namespace where only 127.0.0.1 exists. In each of -r rounds, every
# server in turn:
#   - starts on core 0 with one worker; dnsperf runs on core 1;
#   - is checked for right answers (an existing name, a missing one) and warmed up for 2 s;
#   - saturation: dnsperf as fast as its window allows for -l seconds, with the user+system time
#     of the server's processes read from /proc before and after;
#   - fixed load: -Q queries per second for -l seconds, for the average latency;
#   - is stopped.
# Of a server's rounds the fastest saturation run and the lowest fixed-load latency stand.
# Quorvane runs twice: "quorvane" with logging off (--quiet, no log file) and "quorvane-log" with
# WriteLog: YES, so every log line goes to the daily log file.
#
# It prints one table: answers per second at saturation and queries lost, the server's CPU time
# per answer in microseconds, the average latency at the fixed load, and ratios against the echo
# ceiling and against the better of NSD and Knot. Everything it starts it ends by process id, and
# the namespaces go away with the script. A full run takes about 7 minutes.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/.." && pwd)
source "$here/bench_lib.sh"

PHASE_SECONDS=10
FIXED_QPS=50000
QUORVANE=$top/build/release/apps/quorvane/quorvane
QUORVANE_OLD=""
SERVERS="echo nsd knot quorvane quorvane-log"
REPEATS=3
CLIENTS=1
OUTSTANDING=200
KEEP=0
QTYPE=A
LOCK=${QUORVANE_LOCK:-/tmp/quorvane-build.lock}
ZONE=bench.test

# ---------------------------------------------------------------------------------------------
# Inside the private namespace: start, load and stop each server. Results go to $WORK/results.
# ---------------------------------------------------------------------------------------------

STARTED=""
SERVER_PID=""

udp53_bound() { ss -Hlun 'sport = :53' | grep -q .; }

# Starts "$@" on core 0 with output to $dir/server.out; sets SERVER_PID.
launch() {
    local dir=$1
    shift
    taskset -c 0 "$@" >>"$dir/server.out" 2>&1 &
    SERVER_PID=$!
    STARTED="$STARTED $SERVER_PID"
}

start_echo() {
    launch "$1" "$WORK/echo_responder" 127.0.0.1 53
}

start_nsd() {
    local dir=$1
    write_nsd_conf "$dir" 127.0.0.1 "$ZONE" "$WORK/$ZONE.dns"
    launch "$dir" nsd -d -c "$dir/nsd.conf"
}

start_knot() {
    local dir=$1
    write_knot_conf "$dir" "$ZONE" "$WORK/$ZONE.dns"
    launch "$dir" knotd -c "$dir/knot.conf"
}

# Quorvane's program folder: settings, the zone under data/, logs/ for the daily log file.
start_quorvane_with() {
    local dir=$1 write_log=$2 additions=${3:-no} binary=${4:-$QUORVANE}
    mkdir -p "$dir/data" "$dir/logs"
    cp "$WORK/$ZONE.dns" "$dir/data/$ZONE.dns"
    {
        echo "Name: $ZONE"
        echo "DNSBind: 127.0.0.1"
        [ "$write_log" = yes ] && echo "WriteLog: YES"
        echo "BombLevel: 0"
        [ "$additions" = yes ] && printf '%s\n' "AAAARecords: YES" "EDNS: YES" "TCPQueries: YES" "QueryHardening: YES"
    } >"$dir/quorvane.ini"
    launch "$dir" "$binary" --headless --quiet --dir "$dir"
}
start_quorvane() { start_quorvane_with "$1" no; }
start_quorvane_old() { start_quorvane_with "$1" no no "$QUORVANE_OLD"; } # -o: an earlier build, for before/after
start_quorvane_log() { start_quorvane_with "$1" yes; }
start_quorvane_flags() { start_quorvane_with "$1" no yes; } # the four additions switched on

stop_server() {
    kill -TERM "$SERVER_PID" 2>/dev/null || true
    timeout 10 tail --pid="$SERVER_PID" -f /dev/null || kill -KILL "$SERVER_PID" 2>/dev/null || true
    wait "$SERVER_PID" 2>/dev/null || true
}

# Asks for one existing and one missing name; prints "ok" or the status of each reply. For A,
# "ok" also needs the right address.
check_answers() {
    local dir=$1 existing missing address=""
    dig @127.0.0.1 +tries=1 +time=1 +norec "h00042.$ZONE" "$QTYPE" >"$dir/dig-existing.txt" 2>&1 || true
    dig @127.0.0.1 +tries=1 +time=1 +norec "x00042.$ZONE" "$QTYPE" >"$dir/dig-missing.txt" 2>&1 || true
    existing=$(reply_status "$dir/dig-existing.txt")
    missing=$(reply_status "$dir/dig-missing.txt")
    [ "$QTYPE" = A ] && address=$(awk -v n="h00042.$ZONE." '$1 == n && $4 == "A" { print $5 }' \
        "$dir/dig-existing.txt")
    if [ "$existing" = NOERROR ] && [ "$missing" = NXDOMAIN ] &&
        { [ "$QTYPE" != A ] || [ "$address" = 198.18.0.43 ]; }; then
        echo ok
    else
        echo "existing:$existing,missing:$missing"
    fi
}

dnsperf_on_core1() {
    taskset -c 1 dnsperf -s 127.0.0.1 -p 53 -d "$WORK/queries.txt" -t 1 -c "$CLIENTS" \
        -q "$OUTSTANDING" -O suppress=timeouts "$@"
}

# Waits up to 10 s for the server to bind UDP 53 and then for right answers (a zone may load
# after the port is bound). Prints "ok", or what the last check saw, or "not_started".
wait_ready() {
    local name=$1 dir=$2 answers=not_started deadline=$((SECONDS + 10))
    while [ $SECONDS -lt $deadline ] && kill -0 "$SERVER_PID" 2>/dev/null; do
        if udp53_bound; then
            answers=echo
            [ "$name" = echo ] && break
            answers=$(check_answers "$dir")
            [ "$answers" = ok ] && break
        fi
        sleep 0.2
    done
    echo "$answers"
}

# One round for one server: start it, check its answers, warm it up, one saturation run with
# its CPU time taken from /proc around it, one fixed-load run, stop it. Files go to its folder
# with the round's number.
measure_once() {
    local name=$1 run=$2
    local dir=$WORK/$name
    mkdir -p "$dir"
    echo "== $name, round $run" >&2
    "start_${name//-/_}" "$dir"
    local answers
    answers=$(wait_ready "$name" "$dir")
    echo "$answers" >"$dir/answers-$run"
    echo "   answers: $answers" >&2
    if [ "$answers" = not_started ]; then
        echo "   $name did not bind UDP port 53; its output:" >&2
        sed 's/^/   | /' "$dir/server.out" >&2
        stop_server
        return
    fi

    dnsperf_on_core1 -l 2 -Q 20000 >"$dir/warmup-$run.txt" 2>&1 || true

    local before after
    before=$(cpu_ticks "$SERVER_PID")
    dnsperf_on_core1 -l "$PHASE_SECONDS" >"$dir/saturation-$run.txt" 2>&1
    after=$(cpu_ticks "$SERVER_PID")
    echo "$((after - before))" >"$dir/saturation-$run.ticks"
    echo "   saturation: $(figure "$dir/saturation-$run.txt" qps | cut -d. -f1) q/s," \
        "$(figure "$dir/saturation-$run.txt" lost) lost, $((after - before)) CPU ticks" >&2

    dnsperf_on_core1 -l "$PHASE_SECONDS" -Q "$FIXED_QPS" >"$dir/fixed-$run.txt" 2>&1
    echo "   fixed load: $(figure "$dir/fixed-$run.txt" latency_s) s average latency" >&2
    stop_server
}

# Picks what stands for a server: of its rounds, the saturation run with the most answers per
# second (a busy machine only ever slows a run down) with that run's CPU time, and the fixed-load
# run with the lowest average latency. Writes them as key=value lines to results/NAME.
summarize() {
    local name=$1
    local dir=$WORK/$name run qps latency
    local best_sat="" best_qps=-1 best_fixed="" best_latency=999 runs=""
    for run in $(seq "$REPEATS"); do
        [ -f "$dir/saturation-$run.txt" ] || continue
        qps=$(figure "$dir/saturation-$run.txt" qps)
        runs="$runs${qps%.*}_"
        if awk -v a="${qps:-0}" -v b="$best_qps" 'BEGIN { exit !(a > b) }'; then
            best_qps=${qps:-0}
            best_sat=$run
        fi
        latency=$(figure "$dir/fixed-$run.txt" latency_s)
        if [ "$(figure "$dir/fixed-$run.txt" completed)" != 0 ] &&
            awk -v a="${latency:-999}" -v b="$best_latency" 'BEGIN { exit !(a < b) }'; then
            best_latency=$latency
            best_fixed=$run
        fi
    done
    {
        echo "answers=$(cat "$dir/answers-$REPEATS" 2>/dev/null || echo not_started)"
        echo "clk_tck=$(getconf CLK_TCK)"
        echo "sat_runs=$runs"
        if [ -n "$best_sat" ]; then
            echo "cpu_ticks=$(cat "$dir/saturation-$best_sat.ticks")"
            dnsperf_figures "$dir/saturation-$best_sat.txt" sat_
        fi
        if [ -n "$best_fixed" ]; then
            dnsperf_figures "$dir/fixed-$best_fixed.txt" fixed_
        elif [ -f "$dir/fixed-$REPEATS.txt" ]; then # nothing answered: no latency to report
            dnsperf_figures "$dir/fixed-$REPEATS.txt" fixed_ | grep -v latency
        fi
        if [ "$name" = quorvane-log ]; then
            echo "log_lines=$(cat "$dir"/logs/*.log 2>/dev/null | wc -l)"
        fi
    } >"$WORK/results/$name"
}

# Rounds go through every server in turn, so a slow spell of the machine falls on all of them
# rather than on one.
inside_namespace() {
    WORK=$1
    source "$WORK/settings"
    trap stop_started EXIT
    ip link set lo up
    mkdir -p "$WORK/results"
    local run name
    for run in $(seq "$REPEATS"); do
        for name in $SERVERS; do measure_once "$name" "$run"; done
    done
    for name in $SERVERS; do summarize "$name"; done
}

# ---------------------------------------------------------------------------------------------
# Outside: packages, the lock, the scratch folder, then the namespace, then the table.
# ---------------------------------------------------------------------------------------------

install_missing() {
    "$(dirname "$0")/install_packages.sh" dnsperf nsd knot gcc libc6-dev iproute2 util-linux bind9-dnsutils python3 procps
}

main() {
    if [ "${1:-}" = --inside-namespace ]; then
        inside_namespace "$2"
        return
    fi
    local opt
    while getopts "l:Q:r:t:b:o:s:c:q:kh" opt; do
        case $opt in
            l) PHASE_SECONDS=$OPTARG ;;
            Q) FIXED_QPS=$OPTARG ;;
            r) REPEATS=$OPTARG ;;
            t) QTYPE=${OPTARG^^} ;;
            b) QUORVANE=$(readlink -f "$OPTARG") ;;
            o) QUORVANE_OLD=$(readlink -f "$OPTARG") ;;
            s) SERVERS=$OPTARG ;;
            c) CLIENTS=$OPTARG ;;
            q) OUTSTANDING=$OPTARG ;;
            k) KEEP=1 ;;
            h) usage ;;
            *) usage 2 ;;
        esac
    done
    [ "$(id -u)" -eq 0 ] || { echo "run as root (network namespaces, port 53)" >&2; exit 1; }
    [ "$(nproc)" -ge 2 ] || { echo "needs two cores: one for the server, one for dnsperf" >&2; exit 1; }
    case " $SERVERS " in
        *" quorvane"*) [ -x "$QUORVANE" ] || {
            echo "no Quorvane binary at $QUORVANE; build it (cmake --preset release &&" \
                "cmake --build --preset release) or pass -b" >&2
            exit 1
        } ;;
    esac
    case " $SERVERS " in
        *" quorvane-old "*) [ -x "$QUORVANE_OLD" ] || { echo "quorvane-old needs -o BINARY" >&2; exit 2; } ;;
    esac

    install_missing
    if ! holds_lock; then # wait for builds to finish, and keep them out while measuring
        echo "Waiting for $LOCK ..." >&2
        exec flock "$LOCK" "$0" "$@"
    fi
    for p in $(pgrep -x 'nsd|knotd' || true); do
        echo "note: a $(cat /proc/"$p"/comm) not started here runs as pid $p; left alone" \
            "(it is outside the benchmark's network namespace, but shares the cores)" >&2
    done

    WORK=$(mktemp -d /tmp/quorvane-bench.XXXXXX)
    if [ "$KEEP" = 1 ]; then
        trap 'echo "scratch folder kept: $WORK" >&2' EXIT
    else
        trap 'rm -rf "$WORK"' EXIT
    fi
    cc -O2 -Wall -o "$WORK/echo_responder" "$here/echo_responder.c"
    python3 "$here/make_zone.py" "$WORK/$ZONE.dns" "$WORK/queries.txt" --type "$QTYPE"

    local v
    for v in PHASE_SECONDS FIXED_QPS QTYPE REPEATS QUORVANE QUORVANE_OLD SERVERS CLIENTS OUTSTANDING; do
        printf '%s=%q\n' "$v" "${!v}"
    done >"$WORK/settings"
    # Own network (only lo) and process namespaces: when the script ends, nothing it started
    # outlives it, and no packet leaves 127.0.0.1.
    unshare --net --pid --fork --mount-proc --kill-child bash "$0" --inside-namespace "$WORK"
    python3 "$here/bench_table.py" "$WORK/results" $SERVERS \
        --seconds "$PHASE_SECONDS" --fixed-qps "$FIXED_QPS" --type "$QTYPE"
}

main "$@"
