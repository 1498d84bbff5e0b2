#!/usr/bin/env bash
# TLS benchmark. A benchmark, not a test: CI never runs it and nothing passes or fails on it.
#   sudo bench/tls_bench.sh [QUORVANE_BINARY] [COUNT]
# In a private network namespace (loopback only): NSD on 127.0.0.3 holds tlszone. (a wildcard),
# Unbound on 127.0.0.2 serves it on UDP 53 and over TLS on 853 with a certificate from an
# authority made here. Then:
#   1. forwarded: Quorvane forwards to Unbound over UDP, then over TLS; COUNT new names each, one
#      at a time (so neither cache has them); median latency and Quorvane's CPU per answer;
#   2. served: Quorvane answers one cached name COUNT times over one TCP 53 connection and over one
#      TLS 853 connection, and COUNT/10 times over a new TLS connection each (as kdig in a loop).
# The binary defaults to build/release/apps/quorvane/quorvane. Needs nsd, unbound, openssl, python3.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
binary=$(realpath "${1:-build/release/apps/quorvane/quorvane}")
count=${2:-2000}
work=$(mktemp -d /tmp/quorvane-tls-bench.XXXXXX)
trap 'rm -rf "$work"' EXIT
export here binary count work
unshare --net bash -c '
set -euo pipefail
ip link set lo up
STARTED=""
trap "for pid in \$STARTED; do kill -KILL \$pid 2>/dev/null || true; done" EXIT
pki=$work/pki; mkdir -p "$pki"
openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=bench-ca -keyout "$pki/ca.key" -out "$pki/ca.pem" 2>/dev/null
openssl req -newkey rsa:2048 -nodes -subj /CN=dot.example -addext subjectAltName=DNS:dot.example \
    -keyout "$pki/dot.key" -out "$pki/dot.csr" 2>/dev/null
openssl x509 -req -in "$pki/dot.csr" -CA "$pki/ca.pem" -CAkey "$pki/ca.key" -CAcreateserial -days 2 \
    -copy_extensions copy -out "$pki/dot.pem" 2>/dev/null
printf "\$ORIGIN tlszone.\n@ 3600 IN SOA ns admin 1 3600 600 86400 300\n@ IN NS ns\nns IN A 127.0.0.3\n* IN A 192.0.2.9\n" >"$work/tlszone.zone"
printf "server:\n ip-address: 127.0.0.3\n server-count: 1\n username: \"\"\n chroot: \"\"\n zonesdir: \"%s\"\n database: \"\"\n pidfile: \"%s/nsd.pid\"\n zonelistfile: \"%s/zone.list\"\n xfrdfile: \"%s/xfrd.state\"\n logfile: \"%s/nsd.log\"\nremote-control:\n control-enable: no\nzone:\n name: tlszone.\n zonefile: tlszone.zone\n" \
    "$work" "$work" "$work" "$work" "$work" >"$work/nsd.conf"
nsd -d -c "$work/nsd.conf" >/dev/null 2>&1 & STARTED="$STARTED $!"
printf "server:\n interface: 127.0.0.2@53\n interface: 127.0.0.2@853\n tls-port: 853\n tls-service-key: \"%s\"\n tls-service-pem: \"%s\"\n num-threads: 1\n do-ip6: no\n username: \"\"\n chroot: \"\"\n directory: \"%s\"\n pidfile: \"%s/unbound.pid\"\n use-syslog: no\n logfile: \"%s/unbound.log\"\n do-not-query-localhost: no\n module-config: iterator\nstub-zone:\n name: tlszone.\n stub-addr: 127.0.0.3\nremote-control:\n control-enable: no\n" \
    "$pki/dot.key" "$pki/dot.pem" "$work" "$work" "$work" >"$work/unbound.conf"
unbound -d -c "$work/unbound.conf" >/dev/null 2>&1 & STARTED="$STARTED $!"
sleep 2
ticks() { awk "{ print \$14 + \$15 }" "/proc/$1/stat"; }
run() { # $1: label, $2: extra settings; the rest: the client arguments
    local label=$1 extra=$2; shift 2
    mkdir -p "$work/q/data"
    printf "DNSBind: 127.0.0.1\nRecursionOut: YES\nTCPQueries: YES\nTLSCAFile: %s\nTLSCertFile: %s\nTLSKeyFile: %s\n%s" \
        "$pki/ca.pem" "$pki/dot.pem" "$pki/dot.key" "$extra" >"$work/q/quorvane.ini"
    "$binary" --headless --quiet --dir "$work/q" & local pid=$!; STARTED="$STARTED $pid"
    sleep 1
    python3 "$here/tls_client.py" udp 127.0.0.1 20 tlszone >/dev/null # the connection stands, the path is warm
    dig @127.0.0.1 +short www.tlszone >/dev/null
    local before; before=$(ticks $pid)
    local result; result=$(python3 "$here/tls_client.py" "$@")
    local used=$(( $(ticks $pid) - before ))
    local answered=${result#answered=}; answered=${answered%% *}
    echo "$label $result cpu_us_per_answer=$(( answered > 0 ? used * 10000 / answered : 0 ))"
    kill -TERM $pid; wait $pid || true
}
run forwarded-udp "NS: 127.0.0.2
" udp 127.0.0.1 "$count" tlszone
run forwarded-tls "NS: 127.0.0.2 tls dot.example
" udp 127.0.0.1 "$count" tlszone
run served-tcp53 "NS: 127.0.0.2
" tcp 127.0.0.1 "$count" www.tlszone
run served-tls853 "NS: 127.0.0.2
" tls 127.0.0.1 "$count" www.tlszone "$pki/ca.pem" dot.example
run served-tls853-new-connection-each "NS: 127.0.0.2
" tls1 127.0.0.1 $((count / 10)) www.tlszone "$pki/ca.pem" dot.example
'
