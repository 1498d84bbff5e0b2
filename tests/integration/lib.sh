# Helpers for integration cases. A case runs as root inside its own network namespace (see
# run_case.sh), so port 53 and every address it uses belong to the test alone.

fail() {
    echo "FAIL: $*" >&2
    [ -f "$WORK/stdout" ] && { echo "--- server stdout:"; cat "$WORK/stdout"; } >&2
    [ -f "$WORK/stderr" ] && { echo "--- server stderr:"; cat "$WORK/stderr"; } >&2
    exit 1
}

# Starts the server headless on program folder $1 (extra arguments follow); sets SERVER_PID. It names
# the folder as --dir=FOLDER; the desktop case and the second server of nsd_knot_bind_both_ways use
# the other form, --dir FOLDER.
start_server() {
    local dir=$1
    shift
    # Emptied before the start, not by the background job's own redirection: that runs a moment
    # later, and meanwhile wait_for would find the previous server's lines.
    : >"$WORK/stdout"
    : >"$WORK/stderr"
    "$QUORVANE" --headless --dir="$dir" "$@" >>"$WORK/stdout" 2>>"$WORK/stderr" &
    SERVER_PID=$!
    started "$SERVER_PID"
}

# Remembers a process the case started, so that it is killed (by its PID) when the case ends.
STARTED_PIDS=""
started() {
    STARTED_PIDS="$STARTED_PIDS $1"
}

# Ends every process the case started, by its PID. A coverage build counts lines only in processes
# that exit, so for scripts/coverage.sh they get SIGTERM and a moment to close first.
end_started() {
    local pid
    if [ -n "${QUORVANE_COVERAGE:-}" ]; then
        for pid in $STARTED_PIDS; do kill -TERM "$pid" 2>/dev/null || true; done
        for pid in $STARTED_PIDS; do timeout 5 tail --pid="$pid" -f /dev/null 2>/dev/null || true; done
    fi
    for pid in $STARTED_PIDS; do kill -KILL "$pid" 2>/dev/null || true; done
}

# Waits up to 10 s for a line matching the extended regular expression $1 in file $2 (default stdout).
wait_for() {
    local pattern=$1 file=${2:-$WORK/stdout}
    for _ in $(seq 100); do
        grep -qE -- "$pattern" "$file" 2>/dev/null && return 0
        kill -0 "$SERVER_PID" 2>/dev/null || fail "server ended while waiting for '$pattern'"
        sleep 0.1
    done
    fail "no line matching '$pattern' in $file"
}

# Runs the command that follows every 0.2 s until it succeeds, for at most $1 seconds; returns 1
# when the time runs out, and fails the case at once if the server (when started) ends meanwhile.
within() {
    local seconds=$1 start=$SECONDS
    shift
    until "$@"; do
        [ -z "${SERVER_PID:-}" ] || kill -0 "$SERVER_PID" 2>/dev/null || fail "server ended while waiting for: $*"
        [ $((SECONDS - start)) -lt "$seconds" ] || return 1
        sleep 0.2
    done
}

# The data of the answers of server $1 to name $2, type $3 (without RD), one a line, when the reply
# carries the AA flag; nothing when it does not or no reply comes.
aa_answer() {
    dig @"$1" +tries=1 +time=2 +norec +noall +comments +answer "$2" "$3" 2>/dev/null |
        awk '/^;; flags:/ { aa = / aa[ ;]/ } !/^;/ && NF >= 5 && aa { $1 = $2 = $3 = $4 = ""; sub(/^ +/, ""); print }'
}

# Counts the lines of stdout that match $1 exactly after the time stamp.
count_lines() {
    grep -cE -- "^[0-9]{2}:[0-9]{2}:[0-9]{2}   $1\$" "$WORK/stdout" || true
}

# Sends signal $1 and waits for the $2-th line of text $3 (the one the signal causes).
signal_and_wait() {
    local signal=$1 nth=$2 text=$3
    kill "-$signal" "$SERVER_PID"
    for _ in $(seq 100); do
        [ "$(count_lines "$text")" -ge "$nth" ] && return 0
        sleep 0.1
    done
    fail "no line '$text' (#$nth) after SIG$signal"
}

# True when something listens on UDP and TCP port 53.
dns_bound() {
    ss -Hlun 'sport = :53' | grep -q . && ss -Hltn 'sport = :53' | grep -q .
}

# Stops the server with SIGTERM and checks that it exits with code 0 within 10 s.
stop_server() {
    kill -TERM "$SERVER_PID"
    local rc=0
    timeout 10 tail --pid="$SERVER_PID" -f /dev/null || fail "server did not exit after SIGTERM"
    wait "$SERVER_PID" || rc=$?
    [ "$rc" -eq 0 ] || fail "exit code $rc after SIGTERM"
}

# An SOA line for zone $1 (with its trailing dot), as the peers' zone files begin.
soa() { echo "@ 3600 IN SOA ns.$1 admin.$1 1 3600 600 86400 300"; }

# A root zone served from 127.0.0.2 that delegates test. to 127.0.0.3.
root_zone() {
    soa root.
    echo "@ IN NS ns.root."
    echo "ns.root. IN A 127.0.0.2"
    echo "test. IN NS ns.test."
    echo "ns.test. IN A 127.0.0.3"
}

# Starts a peer: $1 is nsd, knot, bind or unbound, listening on address $2 (port 53; unbound on 853
# with the certificate $PEER_KEY/$PEER_PEM), in folder $WORK/$1-$2 (PEER_DIR). Its configuration
# starts with tests/data/peers/$1.conf, with @DIR@, @ADDRESS@, @KEY@ and @PEM@ filled in; standard
# input holds the rest: NSD's zone: sections, Knot's remote/acl/template/zone,
# BIND's zones, Unbound's stub zones. BIND listens only on addresses that an interface has and
# sends every transfer, query and NOTIFY from $2; named runs as a copy, since Debian's AppArmor
# profile for /usr/sbin/named keeps it out of $WORK. Sets PEER_PID.
start_peer() {
    local kind=$1 address=$2
    PEER_DIR="$WORK/$1-$2"
    local dir=$PEER_DIR
    mkdir -p "$dir"
    sed -e "s|@DIR@|$dir|g" -e "s|@ADDRESS@|$address|g" -e "s|@KEY@|${PEER_KEY:-}|g" -e "s|@PEM@|${PEER_PEM:-}|g" \
        "$(dirname "${BASH_SOURCE[0]}")/../data/peers/$kind.conf" >"$dir/$kind.conf"
    cat >>"$dir/$kind.conf"
    case $kind in
    nsd)
        nsd-checkconf "$dir/nsd.conf" || fail "nsd configuration for $address"
        nsd -d -c "$dir/nsd.conf" >"$dir/stdout" 2>&1 &
        ;;
    knot)
        knotc -c "$dir/knot.conf" conf-check >/dev/null || fail "knot configuration for $address"
        knotd -c "$dir/knot.conf" >"$dir/stdout" 2>&1 &
        ;;
    bind)
        ip addr add "$address/8" dev lo 2>/dev/null || true
        named-checkconf "$dir/bind.conf" || fail "named configuration for $address"
        cp "$(command -v named)" "$dir/named"
        "$dir/named" -g -4 -n 1 -c "$dir/bind.conf" >"$dir/stdout" 2>&1 &
        ;;
    unbound)
        unbound-checkconf "$dir/unbound.conf" >/dev/null || fail "unbound configuration for $address"
        unbound -d -c "$dir/unbound.conf" >"$dir/stdout" 2>&1 &
        ;;
    esac
    PEER_PID=$!
    started $PEER_PID
}

# Starts an NSD on address $1 serving zone $2 from file $3 (more zone/file pairs may follow);
# waits until it answers the first zone's SOA. Each zone gets the lines of $NSD_ZONE_OPTIONS too
# (e.g. "provide-xfr: 127.0.0.1 NOKEY"). Sets NSD_PID.
start_nsd() {
    local address=$1 first=$2 zones=""
    shift
    while [ $# -ge 2 ]; do
        zones+=$(printf 'zone:\n    name: "%s"\n    zonefile: "%s"\n    %s' "$1" "$2" "${NSD_ZONE_OPTIONS:-}")$'\n'
        shift 2
    done
    start_peer nsd "$address" <<<"$zones"
    NSD_PID=$PEER_PID
    for _ in $(seq 100); do
        dig @"$address" +tries=1 +time=1 +norec "$first" SOA 2>/dev/null | grep -q 'status: NOERROR' && return 0
        sleep 0.1
    done
    fail "nsd on $address did not answer: $(cat "$PEER_DIR/nsd.log" "$PEER_DIR/stdout" 2>/dev/null)"
}

# The last lines of every peer's log, for a failure message.
peer_logs() {
    local file
    for file in "$WORK"/*-127.*/{nsd.log,stdout,unbound.log}; do
        [ -f "$file" ] && printf '\n--- %s (end):\n%s' "$file" "$(tail -n 15 "$file")"
    done
}

# UDP datagrams delivered to sockets in this namespace so far: every one that the server, its
# clients and its peers received.
udp_in() {
    awk '/^Udp: [0-9]/ { print $2 }' /proc/net/snmp
}

# --- DHCP ----------------------------------------------------------------------------------------
# Writes quorvane.ini to program folder $1 (made, with its data folder): DHCP on 10.77.0.1 for
# home.lan, addresses 10.77.0.100 to 10.77.0.199, mask /24, router 10.77.0.254, leases of 600 s.
dhcp_folder() {
    mkdir -p "$1/data"
    printf 'Name: ns.home.lan\nLogDetail: YES\nDHCP: %s\n' \
        '10.77.0.1 home.lan 10.77.0.100 10.77.0.199 255.255.255.0 10.77.0.254 600' >"$1/quorvane.ini"
}

# The served link: a veth pair whose end qv0 (10.77.0.1/24) stays here with the server, and whose
# end qc0 lies in the clients' namespace, a network and mount namespace of their own where /run
# and /var/lib/dhcpcd are empty tmpfs, so that no client touches this machine's state. Sets
# CLIENT_NS, the PID that keeps it; when the case ends, every process in it is killed (dhcpcd's
# helpers outlive their parent), then what the case started.
dhcp_link() {
    unshare --net --mount sh -c 'mount -t tmpfs tmpfs /run &&
        { [ ! -d /var/lib/dhcpcd ] || mount -t tmpfs tmpfs /var/lib/dhcpcd; } && exec sleep 300' &
    CLIENT_NS=$!
    disown "$CLIENT_NS" # ended by end_clients, without a word from this shell
    local previous
    previous=$(trap -p EXIT)
    previous=${previous#"trap -- "}
    eval "previous=${previous%" EXIT"}"
    # shellcheck disable=SC2064 # the case's own exit trap, as it is now, runs after
    trap "end_clients; $previous" EXIT
    for _ in $(seq 50); do
        [ "$(cat "/proc/$CLIENT_NS/comm" 2>/dev/null)" = sleep ] && break
        sleep 0.1
    done
    [ "$(cat "/proc/$CLIENT_NS/comm" 2>/dev/null)" = sleep ] || fail "no namespace for the clients"
    CLIENT_NET=$(readlink "/proc/$CLIENT_NS/ns/net")
    ip link add qv0 type veth peer name qc0 netns "$CLIENT_NS" || fail "no veth pair"
    ip addr add 10.77.0.1/24 dev qv0
    ip link set qv0 up
    in_clients ip link set lo up
    in_clients ip link set qc0 up
}

# Runs the command that follows in the clients' namespace.
in_clients() {
    nsenter -t "$CLIENT_NS" -n -m "$@"
}

# Starts the command that follows in the clients' namespace, in the background; sets CLIENT_PID.
start_client() {
    nsenter -t "$CLIENT_NS" -n -m "$@" &
    CLIENT_PID=$!
    disown "$CLIENT_PID"
    started "$CLIENT_PID"
}

# Kills every process in the clients' network namespace, by its PID.
end_clients() {
    local p
    [ -n "${CLIENT_NET:-}" ] || { kill -KILL "$CLIENT_NS" 2>/dev/null; return 0; }
    for p in /proc/[0-9]*; do
        [ "$(readlink "$p/ns/net" 2>/dev/null)" = "$CLIENT_NET" ] && kill -KILL "${p#/proc/}" 2>/dev/null
    done
    return 0
}

# --- the Debian package --------------------------------------------------------------------------
# Unpacks the package that scripts/package.sh built ($QUORVANE_DEB) into $WORK/root; sets ROOT.
unpack_package() {
    [ -f "${QUORVANE_DEB:-}" ] || fail "no package at '${QUORVANE_DEB:-}'; scripts/package.sh builds it"
    ROOT="$WORK/root"
    dpkg -x "$QUORVANE_DEB" "$ROOT" || fail "dpkg -x $QUORVANE_DEB"
}
