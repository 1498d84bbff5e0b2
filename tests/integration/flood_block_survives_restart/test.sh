# A client that sends more than BombLevel queries within a second is blocked, logged and written
# to blocks.dat at close; after a restart it is still ignored while others are answered.
folder="$WORK/folder"
mkdir -p "$folder/data"
printf 'BombLevel: 20\nWriteLog: YES\n' >"$folder/quorvane.ini"
printf '@ IN SOA ns.t. admin.t. 1 1 1 1 1\nhost IN A 10.0.0.9\n' >"$folder/data/t.dns"
ip addr add 10.55.0.1/24 dev lo
ip addr add 10.55.0.2/24 dev lo

start_server "$folder"
wait_for 'DNS service started\.$'
python3 - <<'PY' || fail "flood sender"
import socket, struct
s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
s.bind(("10.55.0.2", 0))
q = struct.pack(">HHHHHH", 1, 0x0100, 1, 0, 0, 0) + b"\x04host\x01t\x00\x00\x01\x00\x01"
for _ in range(60):
    s.sendto(q, ("10.55.0.1", 53))
PY
wait_for 'IP address 10\.55\.0\.2 blocked \(more than 20 Requests per second\)$'
[ "$(count_lines 'Request from 10\.55\.0\.2 for A-record for host\.t\.')" -eq 20 ] || fail "requests before the block"
grep -q 'IP address 10.55.0.2 blocked (more than 20 DNS Requests per second)' "$folder"/logs/*block.log || fail "block.log"
dig @10.55.0.1 -b 10.55.0.2 +tries=1 +time=1 host.t A >/dev/null && fail "blocked client answered"
stop_server
grep -qx $'10.55.0.2\r' "$folder/blocks.dat" || fail "blocks.dat: $(cat "$folder/blocks.dat")"

start_server "$folder"
wait_for 'DNS service started\.$'
dig @10.55.0.1 -b 10.55.0.2 +tries=1 +time=1 host.t A >/dev/null && fail "blocked client answered after restart"
wait_for 'Request from 10\.55\.0\.2 on Block list\. Ignored!$'
[ "$(dig @10.55.0.1 -b 10.55.0.1 +short host.t A)" = "10.0.0.9" ] || fail "other client not answered"
stop_server
