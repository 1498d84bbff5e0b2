# Outgoing queries with QueryHardening on, through real sockets. Quorvane forwards to a small
# upstream on 127.0.0.2 that logs the source port and identifier of every query. A client asks
# 1 000 distinct names: they leave from at least 200 ports with identifiers that do not count up.
# For names starting "forged" the upstream first answers 6.6.6.6 with the right identifier, name
# and type from another port (127.0.0.2:5300) and from another address (127.0.0.3), and from
# 127.0.0.2:53 with the identifier one higher; then 192.0.2.2 from 127.0.0.2:53 0.2 s later: the
# forgeries are ignored and logged. With the flag off (one socket, counted identifiers, forgeries
# taken) the same rules are checked by ProtocolFlags.HardenedQueriesTakeRandomIdentifiersAndStrictAnswers
# and QueryPorts.HardenedPoolSpreadsQueriesAndReplacesQuietPorts.
python3 - "$WORK/upstream.log" <<'PY' &
import select, socket, struct, sys, time

# Ends by itself after 200 s.
log = open(sys.argv[1], "a", buffering=1)
def bound(address, port):
    s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    s.bind((address, port))
    return s
main, other_port, other_address = bound("127.0.0.2", 53), bound("127.0.0.2", 5300), bound("127.0.0.3", 53)

def answer(query, end, address):
    return (query[:2] + struct.pack(">HHHHH", 0x8180, 1, 1, 0, 0) + query[12:end] +
            b"\xc0\x0c" + struct.pack(">HHIH", 1, 1, 300, 4) + socket.inet_aton(address))

later, stop = [], time.monotonic() + 200  # (when, reply, peer) of the true answers to forged names
while time.monotonic() < stop:
    wait = max(0.0, later[0][0] - time.monotonic()) if later else 1.0
    if select.select([main], [], [], wait)[0]:
        query, peer = main.recvfrom(4096)
        at, labels = 12, []
        while query[at]:
            labels.append(query[at + 1:at + 1 + query[at]].decode())
            at += 1 + query[at]
        log.write(f"{peer[1]} {struct.unpack('>H', query[:2])[0]} {'.'.join(labels)}.\n")
        if labels[0].startswith("forged"):
            forged = answer(query, at + 5, "6.6.6.6")
            other_port.sendto(forged, peer)
            other_address.sendto(forged, peer)
            main.sendto(struct.pack(">H", (struct.unpack(">H", query[:2])[0] + 1) % 65536) + forged[2:], peer)
            later.append((time.monotonic() + 0.2, answer(query, at + 5, "192.0.2.2"), peer))
        else:
            main.sendto(answer(query, at + 5, "192.0.2.1"), peer)
    while later and later[0][0] <= time.monotonic():
        _, reply, peer = later.pop(0)
        main.sendto(reply, peer)
PY
started $!
upstream_bound() { ss -Hlun 'src 127.0.0.3:53' | grep -q .; }
within 5 upstream_bound || fail "the upstream does not listen"

folder="$WORK/folder"
mkdir -p "$folder/data"
printf 'Name: resolver.test\nDNSBind: 127.0.0.1\nRecursionOut: YES\nNS: 127.0.0.2\nQueryHardening: YES\n' >"$folder/quorvane.ini"
start_server "$folder"
wait_for "DNS service started on 127.0.0.1"
# Asks n0.$1.test to n999.$1.test, 50 at a time, and prints how many got the upstream's address.
ask_thousand() {
    python3 - "$1" <<'PY'
import socket, struct, sys

s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
s.settimeout(3)
def query(i):
    name = b"".join(bytes([len(l)]) + l.encode() for l in ["n%d" % i, sys.argv[1], "test"]) + b"\0"
    return struct.pack(">HHHHHH", i, 0x0100, 1, 0, 0, 0) + name + struct.pack(">HH", 1, 1)
answered = set()
for first in range(0, 1000, 50):
    for i in range(first, first + 50):
        s.sendto(query(i), ("127.0.0.1", 53))
    for _ in range(50):
        try:
            reply = s.recv(512)
        except socket.timeout:
            break
        if reply[3] & 15 == 0 and reply[6:8] == b"\0\1" and socket.inet_aton("192.0.2.1") in reply[12:]:
            answered.add(struct.unpack(">H", reply[:2])[0])
print(len(answered))
PY
}
# For the upstream's queries about names under $1.test: "QUERIES PORTS SEQUENTIAL", the last being
# how many identifiers are one more than the one before.
traits() {
    awk -v zone="$1" '$3 ~ "\\." zone "\\.test\\.$" {
        if (!seen[$1]++) ++ports
        if (queries++ && ($2 - last + 65536) % 65536 == 1) ++sequential
        last = $2
    } END { printf "%d %d %d\n", queries, ports, sequential }' "$WORK/upstream.log"
}
q() { dig @127.0.0.1 +tries=1 +time=3 +nocookie "$@"; }

[ "$(ask_thousand on)" = 1000 ] || fail "not every one of 1 000 names was answered"
read -r queries ports sequential <<<"$(traits on)"
echo "flag on: $queries queries from $ports ports, $sequential identifiers one above the one before"
[ "$queries" -ge 1000 ] && [ "$ports" -ge 200 ] && [ $((sequential * 20)) -lt "$queries" ] ||
    fail "flag on: $queries queries, $ports ports, $sequential sequential identifiers"
sockets=$(find "/proc/$SERVER_PID/fd" -lname 'socket:*' | wc -l)
[ "$sockets" -ge 256 ] || fail "flag on: $sockets sockets open"
[ "$(q +short forged-on.test A)" = 192.0.2.2 ] || fail "flag on, a forged answer was taken: $(q forged-on.test A)"
grep -qE "Reply from 127\.0\.0\.3\b.*Ignored" "$WORK/stdout" || fail "no ignored reply from 127.0.0.3 in the log"
grep -qE "Reply from 127\.0\.0\.2\b.*Ignored" "$WORK/stdout" || fail "no ignored reply from 127.0.0.2:5300 in the log"
stop_server

