#!/usr/bin/env bash
# Distinct-name flood ("random subdomain" attack): a forwarding resolver asked for names it has
# never seen, each a miss that goes to the forwarder and adds to the cache. Quorvane against
# Unbound in one run. A benchmark, not a test: CI never runs it and nothing passes or fails on it.
# Targets: Quorvane's resident memory stays flat at its cache cap (after the cache fills, never
# above the RSS it started with plus CacheSize, 32 MB by default); its NOERROR answers per second
# at saturation are at least Unbound's.
#
#   sudo bench/flood_bench.sh [-l SECONDS] [-r ROUNDS] [-b QUORVANE_BINARY] [-s "RESOLVERS"]
#                             [-Q RATE] [-c CLIENTS] [-q OUTSTANDING] [-k]
#
#   -l  length of each phase in seconds (default 60)
#   -r  rounds: each resolver is measured this many times, taking turns; the table shows the
#       median of the rounds (default 3)
#   -b  the Quorvane binary (default build/release/apps/quorvane/quorvane; build it first)
#   -s  which resolvers, in order (default "unbound quorvane")
#   -Q  names a second in the fixed-rate phase (default 8000)
#   -c  dnsperf clients, i.e. sockets (default 1)
#   -q  dnsperf queries outstanding at saturation (default 1000; the fixed phase uses the same)
#   -k  keep the scratch folder (configurations, every dnsperf report, statistics) and print it
#
# Needs root and two cores. Installs what is missing with apt-get (dnsperf, nsd, unbound,
# iproute2, util-linux, bind9-dnsutils, python3, procps) without starting the packages'
# services. Under the shared build lock (/tmp/quorvane-build.lock, or $QUORVANE_LOCK; taken by
# the script itself unless it already runs under it) so that no build runs while it measures, it
# writes the zone flood.example (a wildcard A record, TTL 3600; not under test., which Unbound
# answers itself) and a list of SECONDS x 50 000 distinct random names under it, so that no name
# repeats within a phase. In a private network and process namespace where only loopback exists
# it starts NSD on 127.0.0.2 port 53 (one server process, no response-rate limit, on core 1) as the
# forwarder of every resolver. In each of -r rounds, each resolver in turn, for each phase:
#   - starts afresh (empty cache) on 127.0.0.1 port 53, on core 0 with one worker, forwarding
#     everything to NSD, Quorvane with its default CacheSize and Unbound with its default caches;
#     dnsperf runs on core 1 beside NSD;
#   - is checked for a right answer through the forwarder (NOERROR, the wildcard's address);
#   - fixed: dnsperf sends -Q names a second for -l seconds; saturation: as fast as its window
#     of -q outstanding queries allows for -l seconds. Each name is asked once;
#   - around the run: the CPU ticks of the resolver's processes, NSD's query count (nsd-control)
#     and, for Unbound, its own counters (unbound-control: cache hits and misses, requests it
#     dropped); during the run the resolver's resident memory every 10 s from its start;
#   - is stopped.
# That NSD answered at least as many queries as the resolver gave NOERROR answers shows every
# answer was a miss that went to the forwarder, not one from a cache.
#
# It prints one table (bench/flood_table.py): per resolver and phase the medians of answers per
# second by response code, queries lost, CPU time per answer, NSD queries per NOERROR answer and
# resident memory at each 10 s sample, with Quorvane/Unbound ratios and the targets. Everything
# it starts it ends by process id, and the namespaces go away with the script. A full run with
# the defaults takes about 13 minutes.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/.." && pwd)
source "$here/bench_lib.sh"

PHASE_SECONDS=60
QUORVANE=$top/build/release/apps/quorvane/quorvane
RESOLVERS="unbound quorvane"
REPEATS=3
FIXED_QPS=8000
CLIENTS=1
OUTSTANDING=1000
KEEP=0
LOCK=${QUORVANE_LOCK:-/tmp/quorvane-build.lock}
ZONE=flood.example
FORWARDER=127.0.0.2
WILDCARD_ADDRESS=198.18.0.1
# Names in the list per second of a phase: well above what any resolver here answers, so that
# dnsperf never comes round to the start of the list (the table says if it did).
LIST_RATE=50000
SAMPLE_SECONDS=10
CACHE_MB=32 # Quorvane's default CacheSize

usage() { sed -n '2,/^set -euo/p' "$0" | sed -e '$d' -e 's/^# \{0,1\}//'; exit "${1:-0}"; }

# ---------------------------------------------------------------------------------------------
# Inside the private namespace: NSD, then each resolver in turn. Results go to $WORK/results.
# ---------------------------------------------------------------------------------------------

STARTED=""
SERVER_PID=""
NSD_PID=""

# Starts "$@" on core $1 with output to $2/server.out; sets LAUNCHED.
launch() {
    local core=$1 dir=$2
    shift 2
    taskset -c "$core" "$@" >>"$dir/server.out" 2>&1 &
    LAUNCHED=$!
    STARTED="$STARTED $LAUNCHED"
}

# The forwarder, on core 1 beside dnsperf, with its control socket for the query count.
start_nsd() {
    local dir=$1
    write_nsd_conf "$dir" "$FORWARDER" "$ZONE" "$WORK/$ZONE.dns" >/dev/null
    sed -i "s|control-enable: no|control-enable: yes\n    control-interface: $dir/nsd.sock|" \
        "$dir/nsd.conf"
    nsd-checkconf "$dir/nsd.conf"
    launch 1 "$dir" nsd -d -c "$dir/nsd.conf"
    NSD_PID=$LAUNCHED
}

nsd_queries() { nsd-control -c "$WORK/nsd/nsd.conf" stats_noreset | sed -n 's/^num\.queries=//p'; }

# Unbound's defaults (caches, queries per thread), one thread; only what forwarding to a
# loopback address needs is set, and no validator (the zone is unsigned, no trust anchor is set,
# and Quorvane does not validate either).
start_unbound() {
    local dir=$1
    cat >"$dir/unbound.conf" <<EOF
server:
    num-threads: 1
    interface: 127.0.0.1
    port: 53
    do-ip6: no
    access-control: 127.0.0.0/8 allow
    do-not-query-localhost: no
    module-config: "iterator"
    chroot: ""
    username: ""
    directory: "$dir"
    pidfile: "$dir/unbound.pid"
    use-syslog: no
    logfile: "$dir/unbound.log"
    verbosity: 1
remote-control:
    control-enable: yes
    control-interface: "$dir/unbound.sock"
    control-use-cert: no
forward-zone:
    name: "."
    forward-addr: $FORWARDER@53
EOF
    unbound-checkconf "$dir/unbound.conf" >/dev/null
    launch 0 "$dir" unbound -d -c "$dir/unbound.conf"
    SERVER_PID=$LAUNCHED
}

# Quorvane's program folder: settings only (CacheSize left at its default); data/ stays empty.
start_quorvane() {
    local dir=$1
    mkdir -p "$dir/data"
    cat >"$dir/quorvane.ini" <<EOF
Name: flood-bench
DNSBind: 127.0.0.1
RecursionOut: YES
NS: $FORWARDER
BombLevel: 0
EOF
    launch 0 "$dir" "$QUORVANE" --headless --quiet --dir "$dir"
    SERVER_PID=$LAUNCHED
}

stop_server() {
    kill -TERM "$SERVER_PID" 2>/dev/null || true
    timeout 10 tail --pid="$SERVER_PID" -f /dev/null || kill -KILL "$SERVER_PID" 2>/dev/null || true
    wait "$SERVER_PID" 2>/dev/null || true
}

bound() { ss -Hlun "src $1:53" | grep -q .; }

# Prints "ok" when server $1 answers a name of the zone NOERROR with the wildcard's address,
# else what dig saw. $3: +norec for NSD.
check_answer() {
    local server=$1 dir=$2 rd=${3:-+rec} status address
    dig @"$server" +tries=1 +time=2 "$rd" "ready-check.$ZONE" A >"$dir/dig.txt" 2>&1 || true
    status=$(reply_status "$dir/dig.txt")
    address=$(awk -v n="ready-check.$ZONE." '$1 == n && $4 == "A" { print $5 }' "$dir/dig.txt")
    if [ "$status" = NOERROR ] && [ "$address" = "$WILDCARD_ADDRESS" ]; then echo ok; else echo "$status"; fi
}

# Waits up to 10 s for a server to bind UDP 53 on $1 and answer right; prints "ok", what the last
# check saw, or "not_started".
wait_ready() {
    local address=$1 dir=$2 pid=$3 rd=${4:-+rec} answer=not_started deadline=$((SECONDS + 10))
    while [ $SECONDS -lt $deadline ] && kill -0 "$pid" 2>/dev/null; do
        if bound "$address"; then
            answer=$(check_answer "$address" "$dir" "$rd")
            [ "$answer" = ok ] && break
        fi
        sleep 0.2
    done
    echo "$answer"
}

rss_kb() { awk '/^VmRSS:/ { print $2 }' "/proc/$1/status" 2>/dev/null || echo 0; }

# Writes the resident memory of process $1 every SAMPLE_SECONDS into $2, one "seconds=KB" line
# each, from now until $3 seconds have passed (or the process is gone).
sample_rss() {
    local pid=$1 out=$2 until=$3 t=0
    while kill -0 "$pid" 2>/dev/null; do
        echo "$t=$(rss_kb "$pid")" >>"$out"
        [ "$t" -lt "$until" ] || break
        sleep "$SAMPLE_SECONDS"
        t=$((t + SAMPLE_SECONDS))
    done
}

unbound_stats() {
    unbound-control -c "$WORK/unbound/unbound.conf" stats_noreset 2>/dev/null |
        sed -n 's/^total\.\(num\.cachehits\|num\.cachemiss\|requestlist\.exceeded\|requestlist\.overwritten\)=/\1=/p' |
        tr . _
}

# One phase of one round for one resolver: start it afresh, check it, load it with dnsperf while
# sampling its memory, take the counters around the run, stop it. Writes results/NAME-PHASE-RUN.
measure_once() {
    local name=$1 phase=$2 run=$3
    local dir=$WORK/$name tag=$phase-$run
    mkdir -p "$dir"
    echo "== $name, $phase, round $run" >&2
    "start_$name" "$dir"
    local answer
    answer=$(wait_ready 127.0.0.1 "$dir" "$SERVER_PID")
    if [ "$answer" != ok ]; then
        echo "   $name gives no right answer ($answer): not measured; its output:" >&2
        sed 's/^/   | /' "$dir/server.out" >&2
        stop_server
        return
    fi
    local rate=()
    [ "$phase" = fixed ] && rate=(-Q "$FIXED_QPS")
    local before nsd_before sampler
    rm -f "$dir/rss-$tag"
    sample_rss "$SERVER_PID" "$dir/rss-$tag" "$PHASE_SECONDS" &
    sampler=$!
    before=$(cpu_ticks "$SERVER_PID")
    nsd_before=$(nsd_queries)
    taskset -c 1 dnsperf -s 127.0.0.1 -p 53 -d "$WORK/names.txt" -t 1 -c "$CLIENTS" \
        -q "$OUTSTANDING" -O suppress=timeouts -l "$PHASE_SECONDS" "${rate[@]}" \
        >"$dir/dnsperf-$tag.txt" 2>&1 || true
    local ticks=$(($(cpu_ticks "$SERVER_PID") - before)) nsd=$(($(nsd_queries) - nsd_before))
    wait "$sampler" # its last sample is at the end of the run
    {
        echo "clk_tck=$(getconf CLK_TCK)"
        echo "cpu_ticks=$ticks"
        echo "nsd_queries=$nsd"
        [ "$name" != unbound ] || unbound_stats
        dnsperf_figures "$dir/dnsperf-$tag.txt" ""
        awk '/Run time \(s\):/ { print "run_s=" $4 }' "$dir/dnsperf-$tag.txt"
        echo "rss_kb=$(paste -sd, "$dir/rss-$tag")"
    } >"$WORK/results/$name-$tag"
    echo "   $(figure "$dir/dnsperf-$tag.txt" qps | cut -d. -f1) answers/s," \
        "$(figure "$dir/dnsperf-$tag.txt" rcodes | tr _ ' '), $(figure "$dir/dnsperf-$tag.txt" lost)" \
        "lost, $ticks CPU ticks, NSD $nsd queries, RSS $(paste -sd' ' "$dir/rss-$tag") KB" >&2
    stop_server
}

# NSD serves the whole time; rounds go through every resolver in turn, so a slow spell of the
# machine falls on all of them rather than on one.
inside_namespace() {
    WORK=$1
    source "$WORK/settings"
    trap stop_started EXIT
    ip link set lo up
    mkdir -p "$WORK/results" "$WORK/nsd"
    start_nsd "$WORK/nsd"
    local answer
    answer=$(wait_ready "$FORWARDER" "$WORK/nsd" "$NSD_PID" +norec)
    if [ "$answer" != ok ]; then
        echo "NSD, the forwarder, does not answer right ($answer); its output:" >&2
        sed 's/^/   | /' "$WORK/nsd/server.out" "$WORK/nsd/nsd.log" >&2 2>/dev/null || true
        exit 1
    fi
    local run name phase
    for run in $(seq "$REPEATS"); do
        for name in $RESOLVERS; do
            for phase in fixed saturation; do measure_once "$name" "$phase" "$run"; done
        done
    done
}

# ---------------------------------------------------------------------------------------------
# Outside: packages, the lock, the scratch folder, then the namespace, then the table.
# ---------------------------------------------------------------------------------------------

write_zone_and_names() {
    cat >"$WORK/$ZONE.dns" <<EOF
$ZONE. 3600 IN SOA ns.$ZONE. admin.$ZONE. 1 3600 900 604800 3600
$ZONE. 3600 IN NS ns.$ZONE.
ns.$ZONE. 3600 IN A $FORWARDER
*.$ZONE. 3600 IN A $WILDCARD_ADDRESS
EOF
    # A random part, and a counter that keeps every name distinct.
    python3 - "$WORK/names.txt" "$((PHASE_SECONDS * LIST_RATE))" "$ZONE" <<'EOF'
import random, sys
path, count, zone = sys.argv[1], int(sys.argv[2]), sys.argv[3]
rng = random.Random(29)
with open(path, "w") as f:
    f.writelines(f"{rng.getrandbits(40):010x}{i:x}.{zone} A\n" for i in range(count))
EOF
}

main() {
    if [ "${1:-}" = --inside-namespace ]; then
        inside_namespace "$2"
        return
    fi
    local opt
    while getopts "l:r:b:s:Q:c:q:kh" opt; do
        case $opt in
            l) PHASE_SECONDS=$OPTARG ;;
            r) REPEATS=$OPTARG ;;
            b) QUORVANE=$(readlink -f "$OPTARG") ;;
            s) RESOLVERS=$OPTARG ;;
            Q) FIXED_QPS=$OPTARG ;;
            c) CLIENTS=$OPTARG ;;
            q) OUTSTANDING=$OPTARG ;;
            k) KEEP=1 ;;
            h) usage ;;
            *) usage 2 ;;
        esac
    done
    [ "$(id -u)" -eq 0 ] || { echo "run as root (network namespaces, port 53)" >&2; exit 1; }
    [ "$(nproc)" -ge 2 ] || { echo "needs two cores: one for the resolver, one for dnsperf" >&2; exit 1; }
    local name
    for name in $RESOLVERS; do
        case $name in
            unbound) ;;
            quorvane) [ -x "$QUORVANE" ] || {
                echo "no Quorvane binary at $QUORVANE; build it (cmake --preset release &&" \
                    "cmake --build --preset release) or pass -b" >&2
                exit 1
            } ;;
            *) echo "unknown resolver: $name (unbound, quorvane)" >&2; exit 2 ;;
        esac
    done

    "$here/install_packages.sh" dnsperf nsd unbound iproute2 util-linux bind9-dnsutils python3 procps
    if ! holds_lock; then # wait for builds to finish, and keep them out while measuring
        echo "Waiting for $LOCK ..." >&2
        exec flock "$LOCK" "$0" "$@"
    fi
    WORK=$(mktemp -d /tmp/quorvane-flood-bench.XXXXXX)
    if [ "$KEEP" = 1 ]; then
        trap 'echo "scratch folder kept: $WORK" >&2' EXIT
    else
        trap 'rm -rf "$WORK"' EXIT
    fi
    write_zone_and_names
    local v
    for v in PHASE_SECONDS REPEATS QUORVANE RESOLVERS FIXED_QPS CLIENTS OUTSTANDING; do
        printf '%s=%q\n' "$v" "${!v}"
    done >"$WORK/settings"
    # Own network (only lo) and process namespaces: when the script ends, nothing it started
    # outlives it, and no packet leaves loopback.
    unshare --net --pid --fork --mount-proc --kill-child bash "$0" --inside-namespace "$WORK"
    python3 -B "$here/flood_table.py" "$WORK/results" $RESOLVERS --rounds "$REPEATS" \
        --seconds "$PHASE_SECONDS" --fixed-qps "$FIXED_QPS" --outstanding "$OUTSTANDING" \
        --names "$((PHASE_SECONDS * LIST_RATE))" --cache-mb "$CACHE_MB" --zone "$ZONE"
}

main "$@"
