# Another program holds UDP port 53: the server stays up without DNS, says why on standard error,
# and a later start (SIGUSR1) binds once the port is free.
python3 -c 'import socket, time; s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM); s.bind(("0.0.0.0", 53)); time.sleep(60)' &
holder=$!
started "$holder"
for _ in $(seq 50); do ss -Hlun 'sport = :53' | grep -q . && break; sleep 0.1; done

mkdir -p "$WORK/folder"
start_server "$WORK/folder"
wait_for 'Binding DNS service failed - DNS service not started!$'
wait_for '^Port used by other DNS server\.$' "$WORK/stderr"
grep -qx 'Could not start DNS service!' "$WORK/stderr" || fail "message box text missing"
ss -Hltn 'sport = :53' | grep -q . && fail "TCP 53 left listening after the failed start"
kill -0 "$SERVER_PID" || fail "server ended"

kill "$holder"
wait "$holder" 2>/dev/null || true
signal_and_wait USR1 1 'DNS service started\.'
dns_bound || fail "port 53 not bound after the retry"
stop_server
