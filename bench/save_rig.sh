# The peers that make a server write each of its files, shared by kill9.sh and fulldisk.sh;
# sourced, not run, inside the private network namespace those scripts make:
#   - flooding clients on 10.55.0.2-5 (a flood gets its address blocked and saved in blocks.dat);
#   - NSD on 127.0.0.21: the primary of sec.test (transferred into data/sec.test.dns) and the
#     forwarder for fwd.test (answers that fill the cache saved in named.cache);
#   - a veth pair, qv0 (10.77.0.1/24) here and qc0 in a namespace of its own (CLIENT_NS), where
#     one-shot DHCP clients take leases (saved in dhcp.dat).
# Every process started goes into $STARTED, to be ended by its PID (rig_stop).

STARTED=""
FLOODERS=(10.55.0.2 10.55.0.3 10.55.0.4 10.55.0.5)
RIG_DIR=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
CLIENTS_PY="$RIG_DIR/dhcp_clients.py"

rig_stop() {
    local pid
    for pid in $STARTED; do
        kill -KILL "$pid" 2>/dev/null && wait "$pid" 2>/dev/null
    done
    return 0
}

rig_network() {
    ip link set lo up
    local address
    for address in "${FLOODERS[@]}"; do ip addr add "$address/24" dev lo; done
    unshare --net sleep 86400 &
    CLIENT_NS=$!
    STARTED="$STARTED $CLIENT_NS"
    for _ in $(seq 100); do
        [ "$(readlink "/proc/$CLIENT_NS/ns/net")" != "$(readlink /proc/self/ns/net)" ] && break
        sleep 0.02
    done
    ip link add qv0 type veth peer name qc0 netns "$CLIENT_NS"
    ip addr add 10.77.0.1/24 dev qv0
    ip link set qv0 up
    nsenter -t "$CLIENT_NS" -n ip link set lo up
    nsenter -t "$CLIENT_NS" -n ip link set qc0 up
}

# Version $1 of sec.test as its primary serves it: the serial and www follow the version.
sec_zone_text() {
    printf '$TTL 3600\n@ IN SOA ns.sec.test. admin.sec.test. 2026120%s 3600 600 86400 300\n' "$1"
    printf '@ IN NS ns\nns IN A 127.0.0.21\nwww IN A 192.0.2.%s\nmail IN MX 10 www\n' "$1"
    printf 'only%s IN TXT "version %s of the zone"\n' "$1" "$1"
}

# Starts NSD on 127.0.0.21 with sec.test at version $1 and fwd.test (n0 ... n199); sets NSD_PID.
rig_nsd() {
    local dir="$WORK/nsd" i
    mkdir -p "$dir"
    sec_zone_text "$1" >"$dir/sec.test.zone"
    {
        printf '$TTL 3600\n@ IN SOA ns.fwd.test. admin.fwd.test. 1 3600 600 86400 300\n@ IN NS ns\n'
        printf 'ns IN A 127.0.0.21\n'
        for i in $(seq 0 199); do printf 'n%s IN A 198.51.100.%s\n' "$i" "$((i % 250))"; done
    } >"$dir/fwd.test.zone"
    cat >"$dir/nsd.conf" <<CONF
server:
    ip-address: 127.0.0.21
    port: 53
    server-count: 1
    do-ip6: no
    username: ""
    chroot: ""
    zonesdir: "$dir"
    database: ""
    pidfile: "$dir/nsd.pid"
    zonelistfile: "$dir/zone.list"
    xfrdfile: "$dir/xfrd.state"
    xfrdir: "$dir"
    logfile: "$dir/nsd.log"
    rrl-ratelimit: 0
remote-control:
    control-enable: no
zone:
    name: "sec.test"
    zonefile: "$dir/sec.test.zone"
    provide-xfr: 0.0.0.0/0 NOKEY
zone:
    name: "fwd.test"
    zonefile: "$dir/fwd.test.zone"
CONF
    nsd -d -c "$dir/nsd.conf" >"$dir/stdout" 2>&1 &
    NSD_PID=$!
    STARTED="$STARTED $NSD_PID"
    for _ in $(seq 100); do
        dig @127.0.0.21 +tries=1 +time=1 +norec sec.test SOA 2>/dev/null | grep -q "2026120$1" && return 0
        sleep 0.1
    done
    echo "nsd did not answer: $(cat "$dir/nsd.log" "$dir/stdout" 2>/dev/null)" >&2
    return 1
}

rig_nsd_stop() {
    kill -TERM "$NSD_PID" 2>/dev/null || true
    wait "$NSD_PID" 2>/dev/null || true
}

# Program folder $1: forwarding to NSD, cache saved at close, flood blocking, DHCP on qv0, the
# secondary zone sec.test; extra lines for quorvane.ini may follow.
rig_folder() {
    local folder=$1
    shift
    mkdir -p "$folder/data"
    {
        printf 'Name: ns.home.lan\nDNSBind: 127.0.0.1\nCacheReload: YES\nRecursionOut: YES\nNS: 127.0.0.21\nBombLevel: 20\n'
        printf 'DHCP: 10.77.0.1 home.lan 10.77.0.100 10.77.0.199 255.255.255.0 10.77.0.254 600\n'
        printf '%s\n' "$@"
    } >"$folder/quorvane.ini"
    printf '; PrimaryIP 127.0.0.21\n' >"$folder/data/sec.test.dns"
}

# DHCP client $1 (0 ... 99) takes a lease; gives up after $2 seconds (default 3).
rig_lease() {
    nsenter -t "$CLIENT_NS" -n timeout "${2:-3}" python3 "$CLIENTS_PY" qc0 "$1" 1 >/dev/null 2>&1
}

# 60 queries within a moment from address $1: more than BombLevel, so the address gets blocked.
rig_flood() {
    python3 - "$1" <<'PY' 2>/dev/null
import socket, struct, sys
s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
s.bind((sys.argv[1], 0))
q = struct.pack(">HHHHHH", 7, 0x0100, 1, 0, 0, 0) + b"\x03www\x03sec\x04test\x00\x00\x01\x00\x01"
for _ in range(60):
    s.sendto(q, ("127.0.0.1", 53))
PY
}

# Asks the server for $1 names of fwd.test chosen at random (answers the forwarder gives, cached).
rig_queries() {
    local i
    for i in $(seq "$1"); do
        dig @127.0.0.1 +tries=1 +time=1 "n$((RANDOM % 200)).fwd.test" A >/dev/null 2>&1 || true
    done
}
