#!/usr/bin/env bash
# Soak: the real server for a long while under a mixed load, all at once, in a private network
# and process namespace. A campaign, not a test: CI runs only a 60-second smoke of it.
#
#   sudo bench/soak.sh [-d SECONDS] [-b BINARY] [-o FILE]
#
#   -d  how long the load runs (default 300; at least 40 for a minute's checks to run; the
#       campaign's long run is 3600)
#   -b  the Quorvane binary (default build/release/apps/quorvane/quorvane); quorvane-ctl beside it
#   -o  also write the final table and verdict to FILE
#
# Quorvane serves 127.0.0.1 with a primary zone soak.lan (200 names, transfers open to all), a
# hosts file (50 names, pcN.hosts.lan), a secondary zone sec.example, and DHCP on a veth pair
# (10.77.0.1, pool of 100); it forwards everything else to one NSD on 127.0.0.2 that serves
# cache.example (100 names, TTL a day), the wildcard zone flood.example (TTL an hour, rate
# limiting off) and, as primary, sec.example. The cache keeps its default cap (32 MB).
# For the whole run, at the same time:
#   - dnsperf, 400 q/s over the zone's and the hosts file's names (local answers);
#   - dnsperf, 400 q/s over cache.example (cache hits once each name has been asked once);
#   - dnsperf, 1000 q/s of distinct names under flood.example (each one forwarded, then cached);
#   - every 10 s a batch of 10 DHCP clients (bench/dhcp_clients.py) takes a lease; the batches go
#     round 80 hardware addresses, so clients come back;
#   - every minute: a zone transfer of soak.lan (checked whole: both SOAs and every record), a
#     reload through quorvane-ctl (checked in the log), a new serial of sec.example on NSD, which
#     NOTIFYs Quorvane (checked: Quorvane serves the new serial within 20 s), and a sample of
#     answers by dig: local, hosts, cached and flood names against their known data.
# Every 10 s it samples Quorvane's resident memory (VmRSS), its open descriptors (/proc/PID/fd)
# and, from the support file that SIGUSR2 makes it write, its waiting requests and cache size.
# At the end it greps the server's output for unexpected lines (errors, crashes, sanitizer text).
#
# Verdict (exit code 1 when a check fails):
#   - memory: after warm-up, RSS stays within 5% (max/min - 1). Warm-up ends at the first sample
#     where the cache is at 95% of its cap or more (a cache filling towards its cap is not a
#     leak; growth once it is full is), or at one third of the run if the cache never gets there.
#     Checked only for runs of 180 s or more: a shorter run (the CI smoke) has too few samples
#     after warm-up on a slow machine, so it reports the figure without judging it;
#   - descriptors: the same count at every sample after the first minute (or after the first
#     sample, in short runs);
#   - answers: no wrong answer and no SERVFAIL among the dig samples; every transfer whole, every
#     reload seen, every new serial served, every DHCP batch leased;
#   - log: no unexpected line.
# Needs root, dnsperf, nsd, dig (bind9-dnsutils), python3, iproute2, util-linux. Everything it
# starts lives in its namespaces and ends with them.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/.." && pwd)
DURATION=300
QUORVANE=$top/build/release/apps/quorvane/quorvane
OUTPUT=""
CLIENTS_PY=$here/dhcp_clients.py

usage() { sed -n '2,/^set -euo/p' "$0" | sed -e '$d' -e 's/^# \{0,1\}//'; exit "${1:-0}"; }

# ---------------------------------------------------------------------------------------------
# Inside the namespace
# ---------------------------------------------------------------------------------------------

log() { echo "[$(date -u +%T)] $*" >&2; }
bad() { echo "$1" >>"$WORK/failures"; log "check failed: $1"; }

write_data() {
    local q=$WORK/quorvane i
    mkdir -p "$q/data" "$WORK/nsd"
    {
        echo '; NotSecure'
        echo '@ 3600 IN SOA ns.soak.lan. admin.soak.lan. 1 3600 600 86400 300'
        echo '@ 3600 IN NS ns'
        echo 'ns 3600 IN A 127.0.0.1'
        for i in $(seq 200); do echo "h$i 3600 IN A 10.1.$((i / 256)).$((i % 256))"; done
    } >"$q/data/soak.lan.dns"
    for i in $(seq 50); do echo "10.2.0.$i pc$i.hosts.lan"; done >"$WORK/hosts"
    printf '; PrimaryIP 127.0.0.2\n' >"$q/data/sec.example.dns"
    cat >"$q/quorvane.ini" <<EOF
Name: ns.soak.lan
DNSBind: 127.0.0.1
RecursionOut: YES
NS: 127.0.0.2
BombLevel: 0
LogDetail: NO
Hosts: $WORK/hosts
DHCP: 10.77.0.1 home.lan 10.77.0.100 10.77.0.199 255.255.255.0 10.77.0.254 600
EOF
    {
        echo '@ 86400 IN SOA ns.cache.example. admin.cache.example. 1 3600 600 86400 300'
        echo '@ 86400 IN NS ns'
        echo 'ns 86400 IN A 127.0.0.2'
        for i in $(seq 100); do echo "c$i 86400 IN A 198.51.100.$i"; done
    } >"$WORK/nsd/cache.example.zone"
    printf '%s\n' '@ 3600 IN SOA ns.flood.example. admin.flood.example. 1 3600 600 86400 300' \
        '@ 3600 IN NS ns' 'ns 3600 IN A 127.0.0.2' '* 3600 IN A 198.51.100.200' >"$WORK/nsd/flood.example.zone"
    sec_zone 1
    { for i in $(seq 200); do echo "h$i.soak.lan A"; done; for i in $(seq 50); do echo "pc$i.hosts.lan A"; done; } |
        shuf >"$WORK/local.txt"
    for i in $(seq 100); do echo "c$i.cache.example A"; done >"$WORK/cache.txt"
    # Distinct names for the whole run at 1000 a second (dnsperf would start over after the last).
    awk -v n=$((DURATION * 1000 + 10000)) -v seed=$RANDOM \
        'BEGIN { srand(seed); for (i = 0; i < n; i++) printf "r%d-%x.flood.example A\n", i, int(rand() * 2^31) }' \
        >"$WORK/flood.txt"
}

# Version $1 of sec.example, on NSD; the serial is 1000 + $1 and www follows it.
sec_zone() {
    printf '%s\n' "@ 3600 IN SOA ns.sec.example. admin.sec.example. $((1000 + $1)) 3600 600 86400 300" \
        '@ 3600 IN NS ns' 'ns 3600 IN A 127.0.0.2' "www 3600 IN A 192.0.2.$(($1 % 250 + 1))" \
        >"$WORK/nsd/sec.example.zone.part"
    mv "$WORK/nsd/sec.example.zone.part" "$WORK/nsd/sec.example.zone"
}

start_nsd() {
    local d=$WORK/nsd
    cat >"$d/nsd.conf" <<EOF
server:
    ip-address: 127.0.0.2
    port: 53
    server-count: 1
    do-ip6: no
    username: ""
    chroot: ""
    zonesdir: "$d"
    database: ""
    pidfile: "$d/nsd.pid"
    zonelistfile: "$d/zone.list"
    xfrdfile: "$d/xfrd.state"
    xfrdir: "$d"
    logfile: "$d/nsd.log"
    rrl-ratelimit: 0
remote-control:
    control-enable: no
zone:
    name: cache.example
    zonefile: "$d/cache.example.zone"
zone:
    name: flood.example
    zonefile: "$d/flood.example.zone"
zone:
    name: sec.example
    zonefile: "$d/sec.example.zone"
    provide-xfr: 127.0.0.1 NOKEY
    notify: 127.0.0.1 NOKEY
    outgoing-interface: 127.0.0.2
EOF
    nsd-checkconf "$d/nsd.conf"
    nsd -d -c "$d/nsd.conf" >"$d/stdout" 2>&1 &
    NSD_PID=$!
    disown "$NSD_PID" # ended by its PID at the end, without a word from this shell
    for _ in $(seq 100); do
        dig @127.0.0.2 +tries=1 +time=1 +norec cache.example SOA 2>/dev/null | grep -q 'status: NOERROR' && return
        sleep 0.1
    done
    echo "NSD does not answer: $(cat "$d/nsd.log" "$d/stdout" 2>/dev/null)" >&2
    exit 1
}

# The veth pair for DHCP: qv0 (10.77.0.1) here, qc0 in a network namespace of the clients' own.
dhcp_link() {
    unshare --net sleep $((DURATION + 600)) &
    CLIENT_NS=$!
    disown "$CLIENT_NS"
    for _ in $(seq 50); do [ "$(cat /proc/$CLIENT_NS/comm 2>/dev/null)" = sleep ] && break; sleep 0.1; done
    ip link add qv0 type veth peer name qc0 netns "$CLIENT_NS"
    ip addr add 10.77.0.1/24 dev qv0
    ip link set qv0 up
    nsenter -t "$CLIENT_NS" -n ip link set lo up
    nsenter -t "$CLIENT_NS" -n ip link set qc0 up
}

start_quorvane() {
    # The routine line of each question and answer is left out: about 5 000 a second, they would
    # fill the disk in an hour and hide the rest.
    "$QUORVANE" --headless --dir "$WORK/quorvane" 2>"$WORK/server.err" > >(grep --line-buffered -vE \
        '^[0-9:]{8} +(Request from|Sending reply to|Reply from|Sending request to|-> Answer: )' >"$WORK/server.out") &
    SERVER_PID=$!
    for _ in $(seq 100); do
        grep -q 'DHCP service started' "$WORK/server.out" && grep -q '^ReloadPort' "$WORK/quorvane/quorvane.ini" &&
            dig @127.0.0.1 +tries=1 +time=1 h1.soak.lan A 2>/dev/null | grep -q 'status: NOERROR' && return
        sleep 0.1
    done
    echo "Quorvane did not start: $(cat "$WORK/server.out" "$WORK/server.err")" >&2
    exit 1
}

# One line of figures, "time rss_kb fds pending cache", appended to samples.
sample() {
    local rss fds pending=- cache=- report=$WORK/quorvane/support.txt
    rss=$(awk '/^VmRSS:/ { print $2 }' "/proc/$SERVER_PID/status")
    fds=$(find "/proc/$SERVER_PID/fd" -mindepth 1 | wc -l)
    rm -f "$report"
    kill -USR2 "$SERVER_PID"
    for _ in $(seq 50); do [ -s "$report" ] && grep -q '^Uptime' "$report" && break; sleep 0.1; done
    if [ -s "$report" ]; then
        pending=$(sed -n 's/^Pending :\([0-9]*\).*/\1/p' "$report")
        cache=$(sed -n 's/^Cache   :[0-9]* (\([0-9.]*\/[0-9]*\) MB)$/\1/p' "$report")
    fi
    echo "$((SECONDS - T0)) $rss $fds ${pending:--} ${cache:--}" >>"$WORK/samples"
}

# dig $1 type A; prints ok, wrong, servfail or noreply against the address $2.
probe() {
    local out status
    out=$(dig @127.0.0.1 +tries=2 +time=2 "$1" A 2>/dev/null || true)
    status=$(sed -n 's/.*status: \([A-Z]*\),.*/\1/p' <<<"$out")
    case $status in
        '') echo noreply ;;
        SERVFAIL) echo servfail ;;
        NOERROR) [ "$(awk -v n="$1." '$1 == n && $4 == "A" { print $5 }' <<<"$out")" = "$2" ] && echo ok || echo wrong ;;
        *) echo wrong ;;
    esac
}

check_answers() {
    local i name address result
    for i in $(seq 4); do
        local n=$((RANDOM % 200 + 1)) p=$((RANDOM % 50 + 1)) c=$((RANDOM % 100 + 1))
        for pair in "h$n.soak.lan 10.1.$((n / 256)).$((n % 256))" "pc$p.hosts.lan 10.2.0.$p" \
            "c$c.cache.example 198.51.100.$c" "s$RANDOM-$i.flood.example 198.51.100.200"; do
            read -r name address <<<"$pair"
            result=$(probe "$name" "$address")
            echo "$result" >>"$WORK/probes"
            [ "$result" = ok ] || log "answer for $name: $result"
        done
    done
}

# A whole transfer: the SOA first and last, and 3 + 200 records between.
check_transfer() {
    dig @127.0.0.1 +tries=1 +time=10 soak.lan AXFR >"$WORK/axfr.txt" 2>&1 || true
    local records
    records=$(grep -vE '^;|^$' "$WORK/axfr.txt" | awk '{ print $4 }' | paste -sd' ')
    [ "$(wc -w <<<"$records")" -eq 204 ] && [ "${records%% *}" = SOA ] && [ "${records##* }" = SOA ] ||
        bad "minute $1: transfer of soak.lan not whole ($(wc -w <<<"$records") records)"
}

check_reload() {
    local before
    before=$(grep -c 'Loading DNS Records' "$WORK/server.out" || true)
    "$CTL" --dir "$WORK/quorvane" reload >/dev/null || { bad "minute $1: quorvane-ctl reload failed"; return; }
    for _ in $(seq 100); do
        [ "$(grep -c 'Loading DNS Records' "$WORK/server.out" || true)" -gt "$before" ] && return
        sleep 0.1
    done
    bad "minute $1: no reload seen after quorvane-ctl reload"
}

check_serial() { # minute $1 expects serial $2 of sec.example
    for _ in $(seq 100); do
        [ "$(dig @127.0.0.1 +tries=1 +time=1 +short sec.example SOA 2>/dev/null | awk '{ print $3 }')" = "$2" ] && return
        sleep 0.2
    done
    bad "minute $1: sec.example not at serial $2 20 s after the NOTIFY"
}

# Every 10 s a batch of 10 clients; 8 batches cover the 80 hardware addresses, then they return.
dhcp_batch() {
    local first=$(($1 % 8 * 10))
    nsenter -t "$CLIENT_NS" -n timeout 40 python3 "$CLIENTS_PY" qc0 "$first" 10 >>"$WORK/leases" 2>>"$WORK/dhcp.err" &&
        echo ok >>"$WORK/dhcp" || { echo fail >>"$WORK/dhcp"; bad "DHCP batch at $2 s (clients $first+10)"; }
}

dnsperf_load() { # name, query file, rate
    dnsperf -s 127.0.0.1 -d "$WORK/$2" -l "$DURATION" -Q "$3" -c 4 -q 200 -t 2 -O suppress=timeouts \
        >"$WORK/dnsperf-$1.txt" 2>&1 &
    LOADS="$LOADS $!"
}

inside() {
    WORK=$1
    source "$WORK/settings"
    CTL=$(dirname "$QUORVANE")/quorvane-ctl
    ip link set lo up
    ip addr add 127.0.0.2/8 dev lo
    : >"$WORK/failures"
    : >"$WORK/probes"
    : >"$WORK/dhcp"
    write_data
    start_nsd
    dhcp_link
    start_quorvane
    log "Quorvane runs as $SERVER_PID; load for $DURATION s"
    T0=$SECONDS
    LOADS=""
    BATCHES=""
    dnsperf_load local local.txt 400
    dnsperf_load cache cache.txt 400
    dnsperf_load flood flood.txt 1000
    local tick=0 version=1 now
    while [ $((SECONDS - T0)) -lt "$DURATION" ]; do
        kill -0 "$SERVER_PID" 2>/dev/null || break # judged below, with the table
        sample
        now=$((SECONDS - T0))
        dhcp_batch "$tick" "$now" &
        BATCHES="$BATCHES $!"
        if [ $((tick % 6)) = 3 ]; then # minute halves: the load has run 30 s by the first
            local minute=$((tick / 6 + 1))
            check_answers
            check_transfer "$minute"
            check_reload "$minute"
            version=$((version + 1))
            sec_zone "$version"
            kill -HUP "$NSD_PID"
            check_serial "$minute" $((1000 + version))
            log "minute $minute: RSS $(awk 'END { print $2 }' "$WORK/samples") kB, checks done"
        fi
        tick=$((tick + 1))
        sleep $((T0 + tick * 10 - SECONDS > 0 ? T0 + tick * 10 - SECONDS : 0))
    done
    if kill -0 "$SERVER_PID" 2>/dev/null; then sample; else kill -INT $LOADS 2>/dev/null || true; fi
    for pid in $LOADS $BATCHES; do wait "$pid" || true; done
    if ! kill -0 "$SERVER_PID" 2>/dev/null; then
        local status=0
        wait "$SERVER_PID" 2>/dev/null || status=$?
        bad "Quorvane ended during the run (exit status $status)"
    fi
    kill -TERM "$SERVER_PID" 2>/dev/null || true
    timeout 10 tail --pid="$SERVER_PID" -f /dev/null || bad "Quorvane did not stop on SIGTERM"
    kill -KILL "$NSD_PID" "$CLIENT_NS" 2>/dev/null || true
    # The support-file notice (SIGUSR2) is the only expected text on standard error.
    grep -iE 'error|fail|crash|abort|sanitizer|exception|warning|leak|assert|refused' "$WORK/server.out" >"$WORK/unexpected" || true
    grep -vE '^(A support file was created as|"'"$WORK"'/quorvane/support\.txt"|Please e-mail this file|state your question|Review the support file|$)' \
        "$WORK/server.err" >>"$WORK/unexpected" || true
}

# ---------------------------------------------------------------------------------------------
# Outside: checks, the namespace, the table and the verdict
# ---------------------------------------------------------------------------------------------

main() {
    if [ "${1:-}" = --inside ]; then
        inside "$2"
        return
    fi
    local opt
    while getopts "d:b:o:h" opt; do
        case $opt in
            d) DURATION=$OPTARG ;;
            b) QUORVANE=$(readlink -f "$OPTARG") ;;
            o) OUTPUT=$OPTARG ;;
            h) usage ;;
            *) usage 2 ;;
        esac
    done
    [ "$(id -u)" -eq 0 ] || { echo "run as root (network namespaces, port 53)" >&2; exit 1; }
    [ -x "$QUORVANE" ] || { echo "no Quorvane binary at $QUORVANE (build it, or pass -b)" >&2; exit 1; }
    for tool in dnsperf nsd dig python3 unshare nsenter ip; do
        command -v "$tool" >/dev/null || { echo "$tool is missing (scripts/install-deps.sh test)" >&2; exit 1; }
    done
    WORK=$(mktemp -d /tmp/quorvane-soak.XXXXXX)
    # Kept when a check fails, for its reports and the server's output.
    trap 'if [ "$?" = 0 ]; then rm -rf "$WORK"; else echo "files kept in $WORK" >&2; fi' EXIT
    printf 'DURATION=%q\nQUORVANE=%q\nCLIENTS_PY=%q\n' "$DURATION" "$QUORVANE" "$CLIENTS_PY" >"$WORK/settings"
    unshare --net --pid --fork --mount-proc --kill-child bash "$0" --inside "$WORK" || {
        echo "the soak could not run to its end" >&2
        exit 1
    }
    python3 -B "$here/soak_table.py" "$WORK" "$DURATION" | tee "${OUTPUT:-/dev/null}"
}

main "$@"
