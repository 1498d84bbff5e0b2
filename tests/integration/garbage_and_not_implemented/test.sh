# Real clients get "not implemented" for types the server does not answer, and a bounded stream
# of random datagrams (every length 0-600, truncated questions, compression loops, huge counts)
# neither crashes the server nor stops it answering.
mkdir -p "$WORK/folder/data"
printf '@ IN SOA ns.t. admin.t. 1 1 1 1 1\nhost IN A 10.0.0.9\n' >"$WORK/folder/data/t.dns"
start_server "$WORK/folder" --quiet
for _ in $(seq 100); do dns_bound && break; sleep 0.1; done
dns_bound || fail "port 53 not bound"

dig @127.0.0.1 -p 53 +tries=1 +time=2 example.org HINFO >"$WORK/dig.out" || fail "dig failed"
grep -q 'status: NOTIMP' "$WORK/dig.out" || fail "dig: no NOTIMP: $(cat "$WORK/dig.out")"
grep -qE 'flags: qr rd ra;' "$WORK/dig.out" || fail "dig: flags: $(grep flags "$WORK/dig.out")"
kdig @127.0.0.1 +retry=0 +timeout=2 example.org CAA >"$WORK/kdig.out" || fail "kdig failed"
grep -q 'status: NOTIMP' "$WORK/kdig.out" || fail "kdig: no NOTIMP: $(cat "$WORK/kdig.out")"

python3 - <<'PY' || fail "garbage sender"
import random, socket, struct
rng = random.Random(1234)
s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
s.settimeout(0.001)
def send(data):
    s.sendto(data, ("127.0.0.1", 53))
    try:
        while True:
            s.recv(65535)
    except OSError:
        pass
for length in range(0, 601):                      # every length, random bytes
    send(bytes(rng.getrandbits(8) for _ in range(length)))
header = lambda flags, qd: struct.pack(">HHHHHH", rng.getrandbits(16), flags, qd, 65535, 65535, 65535)
for _ in range(300):
    send(header(0x0100, 1) + b"\x07exam")                            # question cut short
    send(header(0x0100, 65535) + b"\xc0\x0c\x00\x01\x00\x01")        # pointer to itself
    send(header(0x0100, 1) + b"\x01a\xc0\x0e\x00\x01\x00\x01")       # loop through two labels
    send(header(rng.getrandbits(16) & 0x7fff, rng.getrandbits(16)) + bytes(rng.getrandbits(8) for _ in range(40)))
PY

kill -0 "$SERVER_PID" || fail "server died under garbage"
[ "$(dig @127.0.0.1 +tries=1 +time=2 +short host.t A)" = "10.0.0.9" ] || fail "no answer after garbage"
stop_server
