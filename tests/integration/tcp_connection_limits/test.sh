# TCP port 53 under idle and slow clients: of 300 connections 256 are kept and the rest closed at
# once, with at most one log line a second; kept ones are closed after 10 s without a byte from
# them, a client sending one byte a second included once it stops. Throughout, UDP questions are
# answered and the resident size stays bounded; afterwards every descriptor is back and TCP answers.
folder="$WORK/folder"
mkdir -p "$folder/data"
# NotSecure: anyone may have the SOA over TCP, which shows the service alive after the load.
printf '; NotSecure\n@ IN SOA ns.t. admin.t. 1 3600 600 604800 300\nhost IN A 10.0.0.9\n' >"$folder/data/t.dns"
start_server "$folder"
wait_for 'DNS service started\.$'
# An answer comes only once start-up has finished, settings file written and closed included.
dig @127.0.0.1 +tries=3 +time=1 +short host.t A >/dev/null
fds=$(ls "/proc/$SERVER_PID/fd" | wc -l)

# Five UDP questions a second until the TCP clients are done; one line per question.
(
    while [ ! -e "$WORK/tcp-done" ]; do
        answer=$(dig @127.0.0.1 +tries=1 +time=1 +short host.t A 2>&1 | paste -sd,)
        echo "${answer:-empty}" >>"$WORK/udp"
        sleep 0.2
    done
) &
asker=$!
started "$asker"

python3 - "$SERVER_PID" >"$WORK/tcp" 2>&1 <<'PY' || fail "TCP clients: $(cat "$WORK/tcp")"
import select, socket, sys, time

LIMIT, IDLE, FIRST, RSS_GROWTH_KB = 256, 10.0, 300, 65536
status = f"/proc/{sys.argv[1]}/status"
start = time.monotonic()
poller, conns = select.poll(), {}

def now():
    return time.monotonic() - start

def rss():
    with open(status) as f:
        return next(int(line.split()[1]) for line in f if line.startswith("VmRSS:"))

class Conn:
    def __init__(self, kind):
        self.kind, self.sock = kind, socket.create_connection(("127.0.0.1", 53), timeout=2)
        self.sock.setblocking(False)
        self.opened = self.last_sent = now()
        self.closed = None
        conns[self.sock.fileno()] = self  # kept open on our side, so the number is never reused
        poller.register(self.sock, select.POLLIN)

    def send(self, data):
        try:
            self.sock.send(data)
            self.last_sent = now()
        except OSError:
            pass  # closed by the server: the poll sees it

    def closed_by_server(self):
        try:
            data = self.sock.recv(512)
        except ConnectionResetError:
            data = b""
        if data:
            sys.exit(f"a {self.kind} connection got {len(data)} bytes from the server")
        self.closed = now()
        poller.unregister(self.sock)

# The two talkers come first, so that they are among the connections kept.
rss_idle = peak = rss()
prefix = Conn("prefix")
prefix.send(b"\x00\x40")  # a 64-byte message announced, none of it sent
slow = Conn("slow")
slow.send(b"\x01\x00")  # 256 bytes announced, then one byte a second for 15 s
for _ in range(FIRST - 2):
    Conn("idle")
late = 0
while now() < 30 and any(c.closed is None for c in conns.values()):
    for fd, _ in poller.poll(50):
        conns[fd].closed_by_server()
    t = now()
    if slow.closed is None and t < 15 and t - slow.last_sent >= 1:
        slow.send(b"A")
    if 1 <= t < 4 and late < (t - 1) * 10:  # while the table is full, ten more a second
        Conn("late")
        late += 1
    peak = max(peak, rss())

at_once = [c for c in conns.values() if c.closed is not None and c.closed - c.opened < 1]
kept = [c for c in conns.values() if c not in at_once]
print(f"{len(kept)} kept, {len(at_once)} closed at once; the slow client's last byte at {slow.last_sent:.1f} s, "
      f"closed at {slow.closed or 0:.1f} s; resident size {rss_idle} kB before, {peak} kB at most")
if len(kept) != LIMIT or any(c.kind == "late" for c in kept) or prefix not in kept or slow not in kept:
    sys.exit(f"kept: {[c.kind for c in kept if c.kind != 'idle']} and {sum(c.kind == 'idle' for c in kept)} idle")
for c in kept:
    if c.closed is None:
        sys.exit(f"a {c.kind} connection is still open after {now():.0f} s")
    # Idleness is counted in ticks of a one-second timer: the close comes 9 to 10 s after the byte.
    if not IDLE - 1.1 <= c.closed - c.last_sent <= IDLE + 1.5:
        sys.exit(f"a {c.kind} connection was closed {c.closed - c.last_sent:.1f} s after its last byte")
if peak - rss_idle > RSS_GROWTH_KB:
    sys.exit(f"resident size grew by {peak - rss_idle} kB")
PY
touch "$WORK/tcp-done"
wait "$asker"
cat "$WORK/tcp"

kill -0 "$SERVER_PID" || fail "server ended"
[ "$(wc -l <"$WORK/udp")" -ge 50 ] && ! grep -qvx '10\.0\.0\.9' "$WORK/udp" \
    || fail "UDP answers during the TCP load: $(sort "$WORK/udp" | uniq -c)"
[ "$(ls "/proc/$SERVER_PID/fd" | wc -l)" -eq "$fds" ] || fail "descriptors: $fds before, now $(ls -l "/proc/$SERVER_PID/fd")"
soa=$(dig @127.0.0.1 +tcp +tries=1 +time=2 +short t SOA)
[ "$soa" = "ns.t. admin.t. 1 3600 600 604800 300" ] || fail "TCP after the load: '$soa'"

# The refusals, spread over more than 3 s, were logged at most once in any second.
cap='TCP Connection Request from 127\.0\.0\.1 closed - 256 connections are open already$'
stamps=$(grep -E "$cap" "$WORK/stdout" | cut -c1-8)
lines=$(grep -c . <<<"$stamps" || true)
[ "$lines" -ge 3 ] && [ "$lines" -le 5 ] && [ -z "$(uniq -d <<<"$stamps")" ] \
    || fail "connection-limit lines at: $(paste -sd' ' <<<"$stamps")"
stop_server
