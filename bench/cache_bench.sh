#!/usr/bin/env bash
# Cache benchmark: answers a forwarding resolver gives from its cache, Quorvane against Unbound
# and dnsmasq. A benchmark, not a test: CI never runs it and nothing passes or fails on it.
# Target: Quorvane spends no more CPU per cached answer than the better of Unbound and dnsmasq.
#
#   sudo bench/cache_bench.sh [-l SECONDS] [-r ROUNDS] [-b QUORVANE_BINARY] [-o OLD_BINARY] [-s "RESOLVERS"]
#                             [-c CLIENTS] [-q OUTSTANDING] [-k]
#
#   -l  length of each measured run in seconds (default 10)
#   -r  rounds: each resolver is measured this many times, taking turns; the best run of each
#       stands (default 3)
#   -b  the Quorvane binary (default build/release/apps/quorvane/quorvane; build it first)
#   -o  an earlier Quorvane binary, measured as "quorvane-old" (put it in -s) in turn with the rest
#   -s  which resolvers, in order (default "unbound dnsmasq quorvane"; "quorvane-flags" is Quorvane
#       with AAAARecords, EDNS, TCPQueries and QueryHardening switched on; "quorvane-list" is Quorvane
#       with a block list of 2 000 000 generated names, none of them asked for)
#   -c  dnsperf clients, i.e. sockets (default 1)
#   -q  dnsperf queries outstanding (default 200)
#   -k  keep the scratch folder (configurations, zone, every dnsperf report) and print its path
#
# Needs root and two cores. Installs what is missing with apt-get (dnsperf, nsd, unbound,
# dnsmasq-base, iproute2, util-linux, bind9-dnsutils, python3, procps) without starting the
# packages' services. Then, under the shared build lock (/tmp/quorvane-build.lock, or
# $QUORVANE_LOCK; taken by the script itself unless it already runs under it) so that no build
# runs during a measurement, it writes the zone cache.test of 10 000 A records with a TTL of one
# day and a query list asking for each of its names once, shuffled. In a private network and
# process namespace where only loopback exists it starts NSD on 127.0.0.2 port 53 (one server
# process, on core 1) as the forwarder of every resolver. In each of -r rounds, every resolver
# in turn:
#   - starts on 127.0.0.1 port 53, on core 0 with one worker, forwarding everything to NSD;
#     dnsperf runs on core 1;
#   - is checked for right answers through the forwarder (an existing name with its address,
#     NXDOMAIN for a missing one); a resolver that fails it is stopped and not measured;
#   - is primed: dnsperf asks for every name once at 5000 queries per second, and once more
#     unless every one was answered NOERROR;
#   - saturation: dnsperf goes round the list as fast as its window allows for -l seconds,
#     with the user+system time of the resolver's processes and of NSD's read from /proc
#     before and after. Every name is in the cache for a day, so every answer comes from the
#     cache; NSD's time over the run, about zero, shows that none went to the forwarder;
#   - is stopped, and its cache with it.
# Of a resolver's rounds the fastest saturation run stands.
#
# It prints one table: answers per second at saturation and queries lost, the resolver's CPU
# time per answer in microseconds, NSD's CPU ticks during the run, and ratios against the one of
# Unbound and dnsmasq with the lower CPU time per answer. Everything it starts it ends by process
# id, and the namespaces go away with the script. A full run takes about 2 minutes.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/.." && pwd)
source "$here/bench_lib.sh"

PHASE_SECONDS=10
QUORVANE=$top/build/release/apps/quorvane/quorvane
QUORVANE_OLD=""
RESOLVERS="unbound dnsmasq quorvane"
REPEATS=3
CLIENTS=1
OUTSTANDING=200
KEEP=0
LOCK=${QUORVANE_LOCK:-/tmp/quorvane-build.lock}
ZONE=cache.test
NAMES=10000
TTL=86400
FORWARDER=127.0.0.2
# Slow enough that no resolver drops a query while it waits on the forwarder: dnsmasq keeps at
# most 150 forwarded queries open.
PRIME_QPS=5000
# dnsmasq's cache entries, one per record. It sizes its hash table by this too: with 20 000
# (every name, and room) it answered about a fifth slower here than with 150 000. It takes up to
# 5 000 000, and warns above 10 000 that a large cache may be slow.
DNSMASQ_CACHE=150000

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

# The forwarder, on core 1 beside dnsperf: core 0 stays the resolver's alone even while it
# primes its cache.
start_nsd() {
    local dir=$1
    write_nsd_conf "$dir" "$FORWARDER" "$ZONE" "$WORK/$ZONE.dns"
    launch 1 "$dir" nsd -d -c "$dir/nsd.conf"
    NSD_PID=$LAUNCHED
}

start_unbound() {
    local dir=$1
    cat >"$dir/unbound.conf" <<EOF
server:
    num-threads: 1
    interface: 127.0.0.1
    port: 53
    do-ip6: no
    access-control: 127.0.0.0/8 allow
    # Unbound sends nothing to loopback addresses unless told, and the forwarder is on one.
    do-not-query-localhost: no
    # No validator: the zone is unsigned and no trust anchor is set.
    module-config: "iterator"
    # Unbound answers NXDOMAIN itself for the names set aside for testing, cache.test among them.
    local-zone: "test." nodefault
    # Far more than the names need (a few MB), so nothing is evicted.
    msg-cache-size: 64m
    rrset-cache-size: 128m
    # Unbound's defaults, spelt out because they decide what reaches the forwarder: no refetch
    # of entries in the last tenth of their TTL, no answers from expired ones. With a TTL of a
    # day neither would come into play during a run anyway.
    prefetch: no
    serve-expired: no
    chroot: ""
    username: ""
    directory: "$dir"
    pidfile: "$dir/unbound.pid"
    use-syslog: no
    logfile: "$dir/unbound.log"
    verbosity: 1
remote-control:
    control-enable: no
forward-zone:
    name: "."
    forward-addr: $FORWARDER@53
EOF
    unbound-checkconf "$dir/unbound.conf" >/dev/null
    launch 0 "$dir" unbound -d -c "$dir/unbound.conf"
    SERVER_PID=$LAUNCHED
}

# No configuration file (/dev/null keeps /etc/dnsmasq.conf out), no DHCP; it stays root, as
# everything else in the namespace.
start_dnsmasq() {
    local dir=$1
    launch 0 "$dir" dnsmasq --conf-file=/dev/null --keep-in-foreground --no-resolv --no-hosts \
        --server="$FORWARDER" --listen-address=127.0.0.1 --bind-interfaces --port=53 \
        --cache-size="$DNSMASQ_CACHE" --user=root --pid-file= --log-facility="$dir/dnsmasq.log"
    SERVER_PID=$LAUNCHED
}

# Quorvane's program folder: settings only; data/ stays empty, it holds no zone of its own.
start_quorvane() {
    local dir=$1 additions=${2:-no} binary=${3:-$QUORVANE} extra=${4:-}
    mkdir -p "$dir/data"
    cat >"$dir/quorvane.ini" <<EOF
Name: cache-bench
DNSBind: 127.0.0.1
RecursionOut: YES
NS: $FORWARDER
BombLevel: 0
CacheTTL: 0
EOF
    [ "$additions" = yes ] && printf '%s\n' "AAAARecords: YES" "EDNS: YES" "TCPQueries: YES" "QueryHardening: YES" >>"$dir/quorvane.ini"
    [ -z "$extra" ] || printf '%s\n' "$extra" >>"$dir/quorvane.ini"
    launch 0 "$dir" "$binary" --headless --quiet --dir "$dir"
    SERVER_PID=$LAUNCHED
}
start_quorvane_flags() { start_quorvane "$1" yes; }
# With a block list of 2 000 000 generated names, none of them asked for: each question pays the
# full miss, the name and each parent looked up. Measured once the list is in.
start_quorvane_list() {
    local list=$WORK/blocklist.txt probe
    [ -f "$list" ] || python3 "$(dirname "$0")/make_blocklist.py" 2000000 >"$list"
    probe=$(sed -n 2p "$list" | awk '{print $2}')
    start_quorvane "$1" no "$QUORVANE" "BlockList: $list"
    for _ in $(seq 300); do
        [ "$(dig +short +time=1 +tries=1 @127.0.0.1 "$probe" 2>/dev/null)" = 0.0.0.0 ] && break
        sleep 0.1
    done
}
start_quorvane_old() { start_quorvane "$1" no "$QUORVANE_OLD"; } # -o: an earlier build, for before/after

stop_server() {
    kill -TERM "$SERVER_PID" 2>/dev/null || true
    timeout 10 tail --pid="$SERVER_PID" -f /dev/null || kill -KILL "$SERVER_PID" 2>/dev/null || true
    wait "$SERVER_PID" 2>/dev/null || true
}

bound() { ss -Hlun "src $1:53" | grep -q .; }

# Asks server $1 (with recursion desired unless $3 is +norec) for one existing and one missing
# name, writing dig's output into folder $2; prints "ok" (NOERROR with the right address, then
# NXDOMAIN) or the status of each reply.
check_answers() {
    local server=$1 dir=$2 rd=${3:-+rec} existing missing address
    dig @"$server" +tries=1 +time=2 "$rd" "h00042.$ZONE" A >"$dir/dig-existing.txt" 2>&1 || true
    dig @"$server" +tries=1 +time=2 "$rd" "x00042.$ZONE" A >"$dir/dig-missing.txt" 2>&1 || true
    existing=$(reply_status "$dir/dig-existing.txt")
    missing=$(reply_status "$dir/dig-missing.txt")
    address=$(awk -v n="h00042.$ZONE." '$1 == n && $4 == "A" { print $5 }' "$dir/dig-existing.txt")
    if [ "$existing" = NOERROR ] && [ "$address" = 198.18.0.43 ] && [ "$missing" = NXDOMAIN ]; then
        echo ok
    else
        echo "existing:$existing,missing:$missing"
    fi
}

# Waits up to 10 s for a server to bind UDP 53 on $1 and then for right answers. Prints "ok",
# or what the last check saw, or "not_started".
wait_ready() {
    local address=$1 dir=$2 pid=$3 rd=${4:-+rec} answers=not_started deadline=$((SECONDS + 10))
    while [ $SECONDS -lt $deadline ] && kill -0 "$pid" 2>/dev/null; do
        if bound "$address"; then
            answers=$(check_answers "$address" "$dir" "$rd")
            [ "$answers" = ok ] && break
        fi
        sleep 0.2
    done
    echo "$answers"
}

dnsperf_on_core1() {
    taskset -c 1 dnsperf -s 127.0.0.1 -p 53 -d "$WORK/queries.txt" -t 1 -c "$CLIENTS" \
        -q "$OUTSTANDING" -O suppress=timeouts "$@"
}

# NOERROR answers in the dnsperf report $1.
noerror_answers() {
    awk '/Response codes:/ { for (i = 1; i <= NF; i++) if ($i == "NOERROR") n = $(i + 1) }
         END { print n + 0 }' "$1"
}

# Fills the cache of the resolver under test: every name once, and the whole list once more
# unless each got NOERROR. Writes how many names the last pass got NOERROR for, and NSD's CPU
# ticks over the priming (the forwarder's work, for comparison with the measured run).
prime() {
    local dir=$1 run=$2 pass noerror=0 before
    before=$(cpu_ticks "$NSD_PID")
    for pass in 1 2; do
        dnsperf_on_core1 -n 1 -Q "$PRIME_QPS" >"$dir/prime-$run-$pass.txt" 2>&1 || true
        noerror=$(noerror_answers "$dir/prime-$run-$pass.txt")
        [ "$noerror" = "$NAMES" ] && break
        echo "   priming pass $pass: $noerror of $NAMES names answered NOERROR" >&2
    done
    echo "$noerror/$NAMES" >"$dir/primed-$run"
    echo "$(($(cpu_ticks "$NSD_PID") - before))" >"$dir/prime-$run.nsd_ticks"
}

# One round for one resolver: start it, check its answers, prime its cache, one saturation run
# with its CPU time and NSD's taken from /proc around it, stop it. Files go to its folder with
# the round's number.
measure_once() {
    local name=$1 run=$2
    local dir=$WORK/$name
    mkdir -p "$dir"
    echo "== $name, round $run" >&2
    "start_${name//-/_}" "$dir"
    local answers
    answers=$(wait_ready 127.0.0.1 "$dir" "$SERVER_PID")
    echo "$answers" >"$dir/answers-$run"
    echo "   answers: $answers" >&2
    if [ "$answers" != ok ]; then
        if [ "$answers" = not_started ]; then
            echo "   $name did not bind 127.0.0.1 port 53; its output:" >&2
            sed 's/^/   | /' "$dir/server.out" >&2
        fi
        echo "   no right answers to cache: not measured" >&2
        stop_server
        return
    fi

    prime "$dir" "$run"
    echo "   primed: $(cat "$dir/primed-$run") names, NSD $(cat "$dir/prime-$run.nsd_ticks")" \
        "CPU ticks" >&2

    local before after nsd_before nsd_after
    before=$(cpu_ticks "$SERVER_PID")
    nsd_before=$(cpu_ticks "$NSD_PID")
    dnsperf_on_core1 -l "$PHASE_SECONDS" >"$dir/saturation-$run.txt" 2>&1
    after=$(cpu_ticks "$SERVER_PID")
    nsd_after=$(cpu_ticks "$NSD_PID")
    echo "$((after - before))" >"$dir/saturation-$run.ticks"
    echo "$((nsd_after - nsd_before))" >"$dir/saturation-$run.nsd_ticks"
    echo "   saturation: $(figure "$dir/saturation-$run.txt" qps | cut -d. -f1) q/s," \
        "$(figure "$dir/saturation-$run.txt" lost) lost, $((after - before)) CPU ticks," \
        "NSD $((nsd_after - nsd_before))" >&2
    stop_server
}

# Picks what stands for a resolver: of its rounds, the saturation run with the most answers
# per second (a busy machine only ever slows a run down), with that run's CPU times and
# priming. Writes them as key=value lines to results/NAME.
summarize() {
    local name=$1
    local dir=$WORK/$name run qps best="" best_qps=-1 runs=""
    for run in $(seq "$REPEATS"); do
        [ -f "$dir/saturation-$run.txt" ] || continue
        qps=$(figure "$dir/saturation-$run.txt" qps)
        runs="$runs${qps%.*}_"
        if awk -v a="${qps:-0}" -v b="$best_qps" 'BEGIN { exit !(a > b) }'; then
            best_qps=${qps:-0}
            best=$run
        fi
    done
    {
        echo "answers=$(cat "$dir/answers-$REPEATS" 2>/dev/null || echo not_started)"
        echo "clk_tck=$(getconf CLK_TCK)"
        echo "sat_runs=$runs"
        if [ -n "$best" ]; then
            echo "primed=$(cat "$dir/primed-$best")"
            echo "nsd_prime_ticks=$(cat "$dir/prime-$best.nsd_ticks")"
            echo "cpu_ticks=$(cat "$dir/saturation-$best.ticks")"
            echo "nsd_ticks=$(cat "$dir/saturation-$best.nsd_ticks")"
            dnsperf_figures "$dir/saturation-$best.txt" sat_
        fi
    } >"$WORK/results/$name"
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
    local nsd_answers
    nsd_answers=$(wait_ready "$FORWARDER" "$WORK/nsd" "$NSD_PID" +norec)
    if [ "$nsd_answers" != ok ]; then
        echo "NSD, the forwarder, does not answer right ($nsd_answers); its output:" >&2
        sed 's/^/   | /' "$WORK/nsd/server.out" "$WORK/nsd/nsd.log" >&2 2>/dev/null || true
        exit 1
    fi
    local run name
    for run in $(seq "$REPEATS"); do
        for name in $RESOLVERS; do measure_once "$name" "$run"; done
    done
    for name in $RESOLVERS; do summarize "$name"; done
}

# ---------------------------------------------------------------------------------------------
# Outside: packages, the lock, the scratch folder, then the namespace, then the table.
# ---------------------------------------------------------------------------------------------

install_missing() {
    "$here/install_packages.sh" dnsperf nsd unbound dnsmasq-base iproute2 util-linux \
        bind9-dnsutils python3 procps
}

main() {
    if [ "${1:-}" = --inside-namespace ]; then
        inside_namespace "$2"
        return
    fi
    local opt
    while getopts "l:r:b:o:s:c:q:kh" opt; do
        case $opt in
            l) PHASE_SECONDS=$OPTARG ;;
            r) REPEATS=$OPTARG ;;
            b) QUORVANE=$(readlink -f "$OPTARG") ;;
            o) QUORVANE_OLD=$(readlink -f "$OPTARG") ;;
            s) RESOLVERS=$OPTARG ;;
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
            unbound | dnsmasq) ;;
            quorvane | quorvane-flags | quorvane-list) [ -x "$QUORVANE" ] || {
                echo "no Quorvane binary at $QUORVANE; build it (cmake --preset release &&" \
                    "cmake --build --preset release) or pass -b" >&2
                exit 1
            } ;;
            quorvane-old) [ -x "$QUORVANE_OLD" ] || { echo "quorvane-old needs -o BINARY" >&2; exit 2; } ;;
            *) echo "unknown resolver: $name (unbound, dnsmasq, quorvane, quorvane-flags, quorvane-list, quorvane-old)" >&2; exit 2 ;;
        esac
    done

    install_missing
    if ! holds_lock; then # wait for builds to finish, and keep them out while measuring
        echo "Waiting for $LOCK ..." >&2
        exec flock "$LOCK" "$0" "$@"
    fi
    for p in $(pgrep -x nsd || true) $(pgrep -x unbound || true) $(pgrep -x dnsmasq || true); do
        echo "note: a $(cat /proc/"$p"/comm) not started here runs as pid $p; left alone" \
            "(it is outside the benchmark's network namespace, but shares the cores)" >&2
    done

    WORK=$(mktemp -d /tmp/quorvane-cache-bench.XXXXXX)
    if [ "$KEEP" = 1 ]; then
        trap 'echo "scratch folder kept: $WORK" >&2' EXIT
    else
        trap 'rm -rf "$WORK"' EXIT
    fi
    python3 "$here/make_zone.py" "$WORK/$ZONE.dns" "$WORK/queries.txt" --zone "$ZONE" \
        --names "$NAMES" --ttl "$TTL" --ns-address "$FORWARDER" --every-name-once

    local v
    for v in PHASE_SECONDS REPEATS QUORVANE QUORVANE_OLD RESOLVERS CLIENTS OUTSTANDING; do
        printf '%s=%q\n' "$v" "${!v}"
    done >"$WORK/settings"
    # Own network (only lo) and process namespaces: when the script ends, nothing it started
    # outlives it, and no packet leaves loopback.
    unshare --net --pid --fork --mount-proc --kill-child bash "$0" --inside-namespace "$WORK"
    # -B: bench_table is imported; leave no byte code in the source tree.
    python3 -B "$here/cache_table.py" "$WORK/results" $RESOLVERS \
        --seconds "$PHASE_SECONDS" --names "$NAMES" --zone "$ZONE"
}

main "$@"
