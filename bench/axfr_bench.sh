#!/usr/bin/env bash
# Zone transfer benchmark: one large zone sent by AXFR from Quorvane, NSD and Knot in turn. A
# benchmark, not a test: CI never runs it and nothing passes or fails on it.
# Target: Quorvane's time to the last record at most twice that of the faster of NSD and Knot.
#
#   sudo bench/axfr_bench.sh [-n RECORDS] [-r RUNS] [-p PROBE_RUNS] [-b QUORVANE_BINARY]
#                            [-s "SERVERS"] [-k]
#
#   -n  host records in the zone besides its SOA, NS and glue (default 100000); of every ten,
#       six are A records and one each a CNAME, an MX, a TXT and an NS (make_zone.py --mixed)
#   -r  measured transfers per server and client (default 5); medians are reported
#   -p  transfers per server with the UDP prober running beside them (default 3)
#   -b  the Quorvane binary (default build/release/apps/quorvane/quorvane; build it first with
#       cmake --preset release && cmake --build --preset release)
#   -s  which servers, in order (default "nsd knot quorvane")
#   -k  keep the scratch folder (configurations, zone, client output) and print its path
#
# Needs root and two cores. Installs what is missing with apt-get (nsd, knot, knot-dnsutils,
# gcc, iproute2, util-linux, bind9-dnsutils, python3, procps) without starting the packages'
# services. Under the shared build lock (/tmp/quorvane-build.lock, or $QUORVANE_LOCK) so that no
# build runs during a measurement, it compiles axfr_reader.c, writes the zone, and in a private
# network and process namespace where only loopback exists runs each server in turn on
# 127.0.0.1 port 53, on core 0 with one worker; the clients run on core 1. Each server:
#   - must answer the zone's SOA and its last A record within 60 s of its start;
#   - check: one transfer by kdig must hold every record of the file once, and the SOA once more
#     at the end; a server that fails it is reported but still measured;
#   - -r times: a transfer by kdig (its output counted, then dropped), and one by axfr_reader,
#     each with the server's user+system time read from /proc/PID/stat (its descendants too)
#     before and after. kdig formats every record it gets and on a fast server is itself the
#     slow side; axfr_reader only counts records, so its time is the server's;
#   - -p times: udp_stall_probe.py asks the server for a name of the zone over UDP every
#     millisecond while axfr_reader takes the zone; the longest wait for an answer and the
#     longest gap between answers show how long the transfer holds up other questions;
#   - is stopped.
# It prints one table of medians with ratios against the faster (by axfr_reader) of NSD and
# Knot. Everything it starts it ends by process id; each client has a time limit; the
# namespaces go away with the script. A full run takes about a minute.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/.." && pwd)
source "$here/bench_lib.sh"

QUORVANE=$top/build/release/apps/quorvane/quorvane
SERVERS="nsd knot quorvane"
RECORDS=100000
RUNS=5
PROBE_RUNS=3
KEEP=0
LOCK=${QUORVANE_LOCK:-/tmp/quorvane-build.lock}
ZONE=bench.test
CLIENT_SECONDS=60

# ---------------------------------------------------------------------------------------------
# Inside the private namespace. Results go to $WORK/results/SERVER, one line per transfer.
# ---------------------------------------------------------------------------------------------

STARTED=""
SERVER_PID=""

launch() {
    local dir=$1
    shift
    taskset -c 0 "$@" >>"$dir/server.out" 2>&1 &
    SERVER_PID=$!
    STARTED="$STARTED $SERVER_PID"
}

on_client_core() { taskset -c 1 timeout "$((CLIENT_SECONDS + 5))" "$@"; }

start_nsd() {
    local dir=$1
    write_nsd_conf "$dir" 127.0.0.1 "$ZONE" "$WORK/$ZONE.dns" >/dev/null
    echo "    provide-xfr: 127.0.0.1 NOKEY" >>"$dir/nsd.conf"
    launch "$dir" nsd -d -c "$dir/nsd.conf"
}

start_knot() {
    local dir=$1
    write_knot_conf "$dir" "$ZONE" "$WORK/$ZONE.dns"
    launch "$dir" knotd -c "$dir/knot.conf"
}

# The program folder: settings, and the zone under data/ with "; NotSecure" so that anyone may
# take it. No flood limit: the prober asks a thousand times a second.
start_quorvane() {
    local dir=$1
    mkdir -p "$dir/data"
    { echo "; NotSecure"; cat "$WORK/$ZONE.dns"; } >"$dir/data/$ZONE.dns"
    printf 'Name: %s\nDNSBind: 127.0.0.1\nBombLevel: 0\n' "$ZONE" >"$dir/quorvane.ini"
    launch "$dir" "$QUORVANE" --headless --quiet --dir "$dir"
}

stop_server() {
    kill -TERM "$SERVER_PID" 2>/dev/null || true
    timeout 10 tail --pid="$SERVER_PID" -f /dev/null || kill -KILL "$SERVER_PID" 2>/dev/null || true
    wait "$SERVER_PID" 2>/dev/null || true
}

# Waits until the server answers the SOA and the zone's last A record; prints the seconds it
# took, or "not_ready".
wait_ready() {
    local last start=$SECONDS
    last=$(awk '$4 == "A" { last = $1 } END { print last }' "$WORK/$ZONE.dns")
    while [ $((SECONDS - start)) -lt 60 ] && kill -0 "$SERVER_PID" 2>/dev/null; do
        if dig @127.0.0.1 +tries=1 +time=1 +norec "$ZONE" SOA 2>/dev/null | grep -q 'status: NOERROR' &&
            [ -n "$(dig @127.0.0.1 +tries=1 +time=1 +norec +short "$last" A 2>/dev/null)" ]; then
            echo $((SECONDS - start))
            return
        fi
        sleep 0.2
    done
    echo not_ready
}

fields() { awk '!/^;/ && NF { $1 = $1; print }'; }

# One transfer by kdig, compared with the file: every record once, the SOA once more. Prints ok
# or what differs.
check_records() {
    local dir=$1
    on_client_core kdig @127.0.0.1 +retry=0 +timeout="$CLIENT_SECONDS" "$ZONE" AXFR >"$dir/kdig-check.txt" 2>&1 || true
    fields <"$dir/kdig-check.txt" | sort >"$dir/got.txt"
    { fields <"$WORK/$ZONE.dns"; awk '$4 == "SOA" { $1 = $1; print }' "$WORK/$ZONE.dns"; } | sort >"$dir/want.txt"
    if cmp -s "$dir/got.txt" "$dir/want.txt"; then
        echo ok
    else
        echo "differs:$(comm -23 "$dir/want.txt" "$dir/got.txt" | wc -l)_missing,$(comm -13 "$dir/want.txt" "$dir/got.txt" | wc -l)_extra"
    fi
}

measure_kdig() {
    local dir=$1 before after
    local out=$dir/kdig.txt
    before=$(cpu_ticks "$SERVER_PID")
    on_client_core kdig @127.0.0.1 +retry=0 +timeout="$CLIENT_SECONDS" "$ZONE" AXFR 2>&1 |
        grep '^;;' >"$out" || true
    after=$(cpu_ticks "$SERVER_PID")
    # ";; Received 2578618 B (158 messages, 100004 records)", ";; From ... in 141.8 ms"
    local received ms
    received=$(sed -n 's/^;; Received \([0-9]*\) B (\([0-9]*\) messages, \([0-9]*\) records)$/\1 \2 \3/p' "$out")
    ms=$(sed -n 's/^;; From .* in \([0-9.]*\) ms$/\1/p' "$out")
    if [ -n "$received" ] && [ -n "$ms" ]; then
        echo "kdig $ms $received $((after - before))"
    else
        echo "kdig failed: $(paste -sd' ' "$out")" >&2
    fi
}

measure_reader() {
    local dir=$1 before after out
    before=$(cpu_ticks "$SERVER_PID")
    out=$(on_client_core "$WORK/axfr_reader" 127.0.0.1 "$ZONE" "$CLIENT_SECONDS" 2>&1) || {
        echo "axfr_reader failed: $out" >&2
        return
    }
    after=$(cpu_ticks "$SERVER_PID")
    # "ms=... records=... messages=... bytes=..."
    out=${out//ms=/}
    out=${out//records=/}
    out=${out//messages=/}
    echo "reader ${out//bytes=/} $((after - before))"
}

# The prober asks for the first host name while axfr_reader takes the zone.
measure_stall() {
    local dir=$1 probe reader
    taskset -c 1 python3 "$here/udp_stall_probe.py" 127.0.0.1 "h00000.$ZONE" \
        --max-seconds "$CLIENT_SECONDS" >"$dir/probe.txt" 2>"$dir/probe.err" &
    probe=$!
    STARTED="$STARTED $probe"
    for _ in $(seq 50); do grep -q ready "$dir/probe.err" && break; sleep 0.1; done
    sleep 0.2
    reader=$(on_client_core "$WORK/axfr_reader" 127.0.0.1 "$ZONE" "$CLIENT_SECONDS" 2>&1) ||
        echo "axfr_reader failed beside the prober: $reader" >&2
    sleep 0.1
    kill -TERM "$probe" 2>/dev/null || true
    wait "$probe" || true
    # probe max_wait max_gap sent answered median_wait reader_ms
    echo "probe $(sed -n 's/^probe_max_wait_ms=//p' "$dir/probe.txt") $(sed -n 's/^probe_max_gap_ms=//p' "$dir/probe.txt")" \
        "$(sed -n 's/^probe_sent=//p' "$dir/probe.txt") $(sed -n 's/^probe_answered=//p' "$dir/probe.txt")" \
        "$(sed -n 's/^probe_median_wait_ms=//p' "$dir/probe.txt") $(echo "$reader" | sed -n 's/^ms=\([0-9.]*\) .*/\1/p')"
}

measure_server() {
    local name=$1 dir=$WORK/$1 ready check
    mkdir -p "$dir"
    echo "== $name" >&2
    "start_$name" "$dir"
    ready=$(wait_ready)
    echo "   ready: $ready s" >&2
    if [ "$ready" = not_ready ]; then
        sed 's/^/   | /' "$dir/server.out" >&2
        echo "ready=no" >"$WORK/results/$name"
        stop_server
        return
    fi
    check=$(check_records "$dir")
    echo "   records: $check" >&2
    {
        echo "ready=$ready"
        echo "check=$check"
        for _ in $(seq "$RUNS"); do
            measure_kdig "$dir"
            measure_reader "$dir"
        done
        for _ in $(seq "$PROBE_RUNS"); do measure_stall "$dir"; done
    } >"$WORK/results/$name"
    stop_server
}

inside_namespace() {
    WORK=$1
    source "$WORK/settings"
    trap stop_started EXIT
    ip link set lo up
    mkdir -p "$WORK/results"
    local name
    for name in $SERVERS; do measure_server "$name"; done
}

# ---------------------------------------------------------------------------------------------
# Outside: packages, the lock, the scratch folder, then the namespace, then the table.
# ---------------------------------------------------------------------------------------------

main() {
    if [ "${1:-}" = --inside-namespace ]; then
        inside_namespace "$2"
        return
    fi
    local opt
    while getopts "n:r:p:b:s:kh" opt; do
        case $opt in
            n) RECORDS=$OPTARG ;;
            r) RUNS=$OPTARG ;;
            p) PROBE_RUNS=$OPTARG ;;
            b) QUORVANE=$(readlink -f "$OPTARG") ;;
            s) SERVERS=$OPTARG ;;
            k) KEEP=1 ;;
            h) usage ;;
            *) usage 2 ;;
        esac
    done
    [ "$(id -u)" -eq 0 ] || { echo "run as root (network namespaces, port 53)" >&2; exit 1; }
    [ "$(nproc)" -ge 2 ] || { echo "needs two cores: one for the server, one for the clients" >&2; exit 1; }
    local name
    for name in $SERVERS; do
        case $name in
            nsd | knot) ;;
            quorvane) [ -x "$QUORVANE" ] || {
                echo "no Quorvane binary at $QUORVANE; build it (cmake --preset release &&" \
                    "cmake --build --preset release) or pass -b" >&2
                exit 1
            } ;;
            *) echo "unknown server: $name (nsd, knot, quorvane)" >&2; exit 2 ;;
        esac
    done

    "$here/install_packages.sh" nsd knot knot-dnsutils gcc libc6-dev iproute2 util-linux \
        bind9-dnsutils python3 procps
    if ! holds_lock; then # wait for builds to finish, and keep them out while measuring
        echo "Waiting for $LOCK ..." >&2
        exec flock "$LOCK" "$0" "$@"
    fi

    WORK=$(mktemp -d /tmp/quorvane-axfr-bench.XXXXXX)
    if [ "$KEEP" = 1 ]; then
        trap 'echo "scratch folder kept: $WORK" >&2' EXIT
    else
        trap 'rm -rf "$WORK"' EXIT
    fi
    cc -O2 -Wall -o "$WORK/axfr_reader" "$here/axfr_reader.c"
    python3 "$here/make_zone.py" "$WORK/$ZONE.dns" /dev/null --zone "$ZONE" --names "$RECORDS" --mixed

    local v
    for v in RUNS PROBE_RUNS QUORVANE SERVERS; do
        printf '%s=%q\n' "$v" "${!v}"
    done >"$WORK/settings"
    # Own network (only lo) and process namespaces: when the script ends, nothing it started
    # outlives it, and no packet leaves loopback.
    unshare --net --pid --fork --mount-proc --kill-child bash "$0" --inside-namespace "$WORK"
    # -B: bench_table is imported; leave no byte code in the source tree.
    # shellcheck disable=SC2086 # one argument per server
    python3 -B "$here/axfr_table.py" "$WORK/results" $SERVERS --records "$((RECORDS + 3))" \
        --clk-tck "$(getconf CLK_TCK)"
}

main "$@"
