#!/usr/bin/env bash
# DHCP benchmark: Quorvane's DHCP server against Kea (kea-dhcp4) and dnsmasq, one after the
# other, each on one core, loaded by perfdhcp over the same veth pair with the same scope. A
# benchmark, not a test: CI never runs it and nothing passes or fails on it.
# Target: Quorvane's exchanges per second at least the better peer's, in both phases.
#
#   sudo bench/dhcp_bench.sh [-l SECONDS] [-r RUNS] [-Q RATE] [-R CLIENTS] [-b QUORVANE_BINARY]
#                            [-s "SERVERS"] [-k]
#
#   -l  length of each perfdhcp run in seconds (default 10)
#   -r  runs per server and phase, taking turns with the other servers; medians are reported
#       (default 3)
#   -Q  exchanges per second that perfdhcp starts in the fixed-rate phase (default 5000)
#   -R  simulated clients, i.e. distinct hardware addresses perfdhcp draws from (default 20000)
#   -b  the Quorvane binary (default build/release/apps/quorvane/quorvane; build it first with
#       cmake --preset release && cmake --build --preset release)
#   -s  which servers, in order (default "quorvane kea dnsmasq")
#   -k  keep the scratch folder (configurations, lease files, every perfdhcp report) and print
#       its path
#
# Needs root and two cores. Installs what is missing with apt-get (kea-admin for perfdhcp,
# kea-dhcp4-server, dnsmasq-base, iproute2, util-linux, python3, procps) without
# starting the packages' services. Then, under the shared build lock (/tmp/quorvane-build.lock,
# or $QUORVANE_LOCK; taken by the script itself unless it already runs under it) so that no
# build runs during a measurement, in a private network and process namespace:
#   - a veth pair: the server end dhsrv has 10.77.0.1/16; the client end dhcli, with
#     10.77.0.2/16, lies in a second network namespace, where perfdhcp runs on core 1;
#   - every server serves 10.77.1.0 to 10.77.200.255 (51 200 addresses, more than -R), mask
#     255.255.0.0, no router, DNS server 10.77.0.1, domain bench.lan, leases of 600 s, from
#     dhsrv, on core 0, with routine logging off and an empty lease file written to disk as
#     the server does by default:
#       Quorvane  --headless --quiet, LogDetail NO, one DHCP line; leases in dhcp.dat
#       Kea       a copy of kea-dhcp4 (Debian's AppArmor profile would keep the packaged one
#                 out of the scratch folder), raw sockets as by default, one thread, memfile
#                 lease database (persisted, the default), loggers at WARN
#       dnsmasq   --no-daemon --port=0 (DHCP only), --no-ping (else each new address waits
#                 for an ICMP check the other two do not make), --dhcp-lease-max raised from
#                 its 1000 to the scope's size, --quiet-dhcp
#   - perfdhcp always acts as a relay agent: giaddr is its own address, it sends from port 67
#     and hears only on 10.77.0.2 port 67, where every server sends its replies;
#   - in each of -r runs, every server in turn, in each of two phases, is started with an
#     empty lease file, must complete one 4-way exchange within 10 s, and is then loaded for
#     -l seconds by perfdhcp (-R clients, a single thread):
#       fixed rate  perfdhcp -r RATE: new exchanges at -Q per second
#       saturation  perfdhcp without -r: DISCOVERs as fast as perfdhcp can send them
#     the user+system time of the server's processes is read from /proc before and after, and
#     the server is stopped (SIGTERM); after the fixed-rate phase the distinct addresses in its
#     lease file are counted.
# It prints one table of medians: completed 4-way exchanges (DISCOVER-OFFER-REQUEST-ACK) per
# second, the share of exchanges begun that did not complete, the server's CPU time per
# exchange, with ratios of each server to the better of the peers (Kea, dnsmasq). Everything it
# starts it ends by process id; perfdhcp and the namespaces have time limits and go away with
# the script. A full run takes about 4 minutes.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/.." && pwd)
source "$here/bench_lib.sh"

PHASE_SECONDS=10
RUNS=3
FIXED_RATE=5000
CLIENTS=20000
QUORVANE=$top/build/release/apps/quorvane/quorvane
SERVERS="quorvane kea dnsmasq"
KEEP=0
LOCK=${QUORVANE_LOCK:-/tmp/quorvane-build.lock}

SERVER_ADDRESS=10.77.0.1
CLIENT_ADDRESS=10.77.0.2
PREFIX=16
NETMASK=255.255.0.0
SCOPE_FROM=10.77.1.0
SCOPE_TO=10.77.200.255
SCOPE_SIZE=51200
DOMAIN=bench.lan
LEASE_SECONDS=600

# ---------------------------------------------------------------------------------------------
# Inside the private namespace. Results go to $WORK/results/SERVER: key=value lines and one line
# per measured phase.
# ---------------------------------------------------------------------------------------------

STARTED=""
SERVER_PID=""
CLIENT_NS=""

# Runs "$@" in the client's network namespace.
in_client_ns() { nsenter -t "$CLIENT_NS" -n "$@"; }

# The client namespace, held by a sleeping process, and the veth pair between the two.
make_network() {
    local bound=$1
    ip link set lo up
    unshare -n sleep "$bound" &
    CLIENT_NS=$!
    STARTED="$STARTED $CLIENT_NS"
    while [ "$(readlink "/proc/$CLIENT_NS/ns/net")" = "$(readlink /proc/self/ns/net)" ]; do
        sleep 0.05
    done
    ip link add dhsrv type veth peer name dhcli netns "$CLIENT_NS"
    ip addr add "$SERVER_ADDRESS/$PREFIX" dev dhsrv
    ip link set dhsrv up
    in_client_ns ip link set lo up
    in_client_ns ip addr add "$CLIENT_ADDRESS/$PREFIX" dev dhcli
    in_client_ns ip link set dhcli up
}

# Starts "$@" on core 0 with output to $dir/server.out; sets SERVER_PID.
launch() {
    local dir=$1
    shift
    taskset -c 0 "$@" >>"$dir/server.out" 2>&1 &
    SERVER_PID=$!
    STARTED="$STARTED $SERVER_PID"
}

start_quorvane() {
    local dir=$1
    {
        echo "Name: ns.$DOMAIN"
        echo "LogDetail: NO"
        echo "BombLevel: 0"
        echo "DHCP: $SERVER_ADDRESS $DOMAIN $SCOPE_FROM $SCOPE_TO $NETMASK 0.0.0.0 $LEASE_SECONDS"
    } >"$dir/quorvane.ini"
    launch "$dir" "$QUORVANE" --headless --quiet --dir "$dir"
}

start_kea() {
    local dir=$1
    cat >"$dir/kea-dhcp4.json" <<EOF
{
"Dhcp4": {
    "interfaces-config": { "interfaces": [ "dhsrv" ] },
    "lease-database": { "type": "memfile", "name": "$dir/leases.csv" },
    "multi-threading": { "enable-multi-threading": false },
    "valid-lifetime": $LEASE_SECONDS,
    "option-data": [
        { "name": "domain-name-servers", "data": "$SERVER_ADDRESS" },
        { "name": "domain-name", "data": "$DOMAIN" }
    ],
    "subnet4": [ {
        "id": 1,
        "subnet": "${SERVER_ADDRESS%.*.*}.0.0/$PREFIX",
        "pools": [ { "pool": "$SCOPE_FROM - $SCOPE_TO" } ]
    } ],
    "loggers": [ {
        "name": "kea-dhcp4",
        "output_options": [ { "output": "stdout" } ],
        "severity": "WARN"
    } ]
}
}
EOF
    KEA_PIDFILE_DIR=$dir KEA_LOCKFILE_DIR=$dir launch "$dir" "$WORK/kea-dhcp4" -c "$dir/kea-dhcp4.json"
}

start_dnsmasq() {
    local dir=$1
    : >"$dir/leases"
    launch "$dir" dnsmasq --no-daemon --conf-file=/dev/null --log-facility=- --quiet-dhcp \
        --port=0 --interface=dhsrv --no-ping --dhcp-lease-max="$SCOPE_SIZE" \
        --dhcp-range="$SCOPE_FROM,$SCOPE_TO,$NETMASK,$LEASE_SECONDS" \
        --dhcp-option=option:router --dhcp-option=option:dns-server,"$SERVER_ADDRESS" \
        --domain="$DOMAIN" --dhcp-leasefile="$dir/leases"
}

stop_server() {
    kill -TERM "$SERVER_PID" 2>/dev/null || true
    timeout 10 tail --pid="$SERVER_PID" -f /dev/null || kill -KILL "$SERVER_PID" 2>/dev/null || true
    wait "$SERVER_PID" 2>/dev/null || true
}

# Distinct addresses in server $1's lease file in folder $2 (Kea's file is a journal: an address
# may be on several lines).
lease_count() {
    case $1 in
        quorvane) awk 'NR > 1 && NF >= 2 { print $2 }' "$2/dhcp.dat" ;;
        kea) awk -F, 'NR > 1 { print $1 }' "$2/leases.csv" ;;
        dnsmasq) awk '{ print $3 }' "$2/leases" ;;
    esac 2>/dev/null | sort -u | wc -l
}

# perfdhcp on core 1 in the client namespace, as a relay agent on dhcli, one thread (it has one
# core), for at most $1 seconds.
perfdhcp_on_core1() {
    local limit=$1
    shift
    in_client_ns timeout "$limit" taskset -c 1 perfdhcp -4 -l dhcli -g single "$@"
}

# Pulls the figures out of one perfdhcp report as "key=value" lines: rate (completed exchanges
# per second), discovers, offers, requests, acks.
perfdhcp_figures() {
    awk '
        /^Rate:/ { print "rate=" $2 }
        /Statistics for: DISCOVER-OFFER/ { s = "do" }
        /Statistics for: REQUEST-ACK/ { s = "ra" }
        /^sent packets:/ && s == "do" { print "discovers=" $3 }
        /^received packets:/ && s == "do" { print "offers=" $3 }
        /^sent packets:/ && s == "ra" { print "requests=" $3 }
        /^received packets:/ && s == "ra" { print "acks=" $3 }
    ' "$1"
}

# Waits up to 10 s for the server to bind UDP port 67 and complete one 4-way exchange with a
# client of its own. Prints "ok", "no_exchange" or "not_started".
wait_ready() {
    local dir=$1 state=not_started deadline=$((SECONDS + 10))
    while [ $SECONDS -lt $deadline ] && kill -0 "$SERVER_PID" 2>/dev/null; do
        if ss -Hlun 'sport = :67' | grep -q .; then
            state=no_exchange
            # One DISCOVER and one REQUEST (-n twice); it ends when both are answered, or 2 s
            # (-W) after the DISCOVER went unanswered, with status 3.
            if perfdhcp_on_core1 10 -r 1 -n 1 -n 1 -W 2000000 -b mac=02:00:5e:00:00:01 \
                >"$dir/probe.txt" 2>&1; then
                state=ok
                break
            fi
        fi
        sleep 0.2
    done
    echo "$state"
}

# One phase of one run for server $1: fixed or saturation. Appends a line
# "PHASE RATE DISCOVERS OFFERS REQUESTS ACKS CPU_TICKS LEASES" to its results (LEASES: - for
# saturation), or "failed=..." when the server is not ready.
measure_phase() {
    local name=$1 run=$2 phase=$3
    local dir=$WORK/$name/$phase-$run
    mkdir -p "$dir"
    "start_$name" "$dir"
    local ready
    ready=$(wait_ready "$dir")
    if [ "$ready" != ok ]; then
        echo "   $phase: $name is $ready; its output:" >&2
        tail -n 20 "$dir/server.out" "$dir/probe.txt" 2>/dev/null | sed 's/^/   | /' >&2
        echo "failed=${phase}_run_${run}:$ready"
        stop_server
        return
    fi
    local args=(-p "$PHASE_SECONDS" -R "$CLIENTS")
    [ "$phase" = saturation ] || args+=(-r "$FIXED_RATE")
    local before after rc=0
    before=$(cpu_ticks "$SERVER_PID")
    perfdhcp_on_core1 "$((PHASE_SECONDS + 30))" "${args[@]}" >"$dir/perfdhcp.txt" 2>&1 || rc=$?
    after=$(cpu_ticks "$SERVER_PID")
    stop_server
    # 3: some exchanges did not complete, as is to be expected under load.
    if [ "$rc" != 0 ] && [ "$rc" != 3 ]; then
        echo "   $phase: perfdhcp ended with status $rc:" >&2
        tail -n 5 "$dir/perfdhcp.txt" | sed 's/^/   | /' >&2
        echo "failed=${phase}_run_${run}:perfdhcp_status_$rc"
        return
    fi
    local rate=- discovers=- offers=- requests=- acks=- leases=-
    eval "$(perfdhcp_figures "$dir/perfdhcp.txt")"
    [ "$phase" = saturation ] || leases=$(lease_count "$name" "$dir")
    echo "$phase $rate $discovers $offers $requests $acks $((after - before)) $leases"
    echo "   $phase: ${rate%.*} exchanges/s, $acks of $discovers completed," \
        "$((after - before)) CPU ticks, $leases leases in the file" >&2
}

inside_namespace() {
    WORK=$1
    source "$WORK/settings"
    trap stop_started EXIT
    local servers phases=2
    servers=$(wc -w <<<"$SERVERS")
    make_network "$((RUNS * servers * phases * (PHASE_SECONDS + 60) + 60))"
    mkdir -p "$WORK/results"
    local run name phase
    for run in $(seq "$RUNS"); do
        for name in $SERVERS; do
            echo "== $name, run $run" >&2
            for phase in fixed saturation; do
                measure_phase "$name" "$run" "$phase" >>"$WORK/results/$name"
            done
        done
    done
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
    while getopts "l:r:Q:R:b:s:kh" opt; do
        case $opt in
            l) PHASE_SECONDS=$OPTARG ;;
            r) RUNS=$OPTARG ;;
            Q) FIXED_RATE=$OPTARG ;;
            R) CLIENTS=$OPTARG ;;
            b) QUORVANE=$(readlink -f "$OPTARG") ;;
            s) SERVERS=$OPTARG ;;
            k) KEEP=1 ;;
            h) usage ;;
            *) usage 2 ;;
        esac
    done
    [ "$(id -u)" -eq 0 ] || { echo "run as root (network namespaces, port 67)" >&2; exit 1; }
    [ "$(nproc)" -ge 2 ] || { echo "needs two cores: one for the server, one for perfdhcp" >&2; exit 1; }
    [ "$CLIENTS" -le "$SCOPE_SIZE" ] || {
        echo "-R $CLIENTS: more clients than the scope's $SCOPE_SIZE addresses" >&2
        exit 2
    }
    local name
    for name in $SERVERS; do
        case $name in
            kea | dnsmasq) ;;
            quorvane) [ -x "$QUORVANE" ] || {
                echo "no Quorvane binary at $QUORVANE; build it (cmake --preset release &&" \
                    "cmake --build --preset release) or pass -b" >&2
                exit 1
            } ;;
            *) echo "unknown server: $name (quorvane, kea, dnsmasq)" >&2; exit 2 ;;
        esac
    done

    "$here/install_packages.sh" kea-admin kea-dhcp4-server dnsmasq-base iproute2 \
        util-linux python3 procps
    if ! holds_lock; then # wait for builds to finish, and keep them out while measuring
        echo "Waiting for $LOCK ..." >&2
        exec flock "$LOCK" "$0" "$@"
    fi
    for p in $(pgrep -x kea-dhcp4 || true) $(pgrep -x dnsmasq || true); do
        echo "note: a $(cat /proc/"$p"/comm) not started here runs as pid $p; left alone" \
            "(it is outside the benchmark's network namespace, but shares the cores)" >&2
    done

    WORK=$(mktemp -d /tmp/quorvane-dhcp-bench.XXXXXX)
    if [ "$KEEP" = 1 ]; then
        trap 'echo "scratch folder kept: $WORK" >&2' EXIT
    else
        trap 'rm -rf "$WORK"' EXIT
    fi
    cp "$(command -v kea-dhcp4)" "$WORK/kea-dhcp4"

    local v
    for v in PHASE_SECONDS RUNS FIXED_RATE CLIENTS QUORVANE SERVERS; do
        printf '%s=%q\n' "$v" "${!v}"
    done >"$WORK/settings"
    # Own network and process namespaces: when the script ends, nothing it started outlives
    # it, and no packet leaves the veth pair.
    unshare --net --pid --fork --mount-proc --kill-child bash "$0" --inside-namespace "$WORK"
    # -B: bench_table is imported; leave no byte code in the source tree.
    # shellcheck disable=SC2086 # one argument per server
    python3 -B "$here/dhcp_table.py" "$WORK/results" $SERVERS --seconds "$PHASE_SECONDS" \
        --rate "$FIXED_RATE" --clients "$CLIENTS" --clk-tck "$(getconf CLK_TCK)"
}

main "$@"
