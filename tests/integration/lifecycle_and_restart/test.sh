# Start-up lines in order, UDP and TCP 53 bound, pause and start by SIGUSR1, the support file by
# SIGUSR2, the close line with exit code 0 on SIGTERM, and the same lines in the daily log file.
# Then another program holds UDP port 53: the server starts without DNS, says why on standard
# error, and a later start (SIGUSR1) binds once the port is free. (Flood blocking and its survival
# across a restart are Housekeeping.FloodBlocksAndTheBlockSurvivesARestart's.)
mkdir -p "$WORK/folder/data"
printf 'WriteLog: yes\n' >"$WORK/folder/quorvane.ini"
start_server "$WORK/folder"
wait_for 'DNS service started\.$'
dns_bound || fail "port 53 not bound after start-up"

stamp='[0-9]{2}:[0-9]{2}:[0-9]{2}   '
expected="Program started.|Loading DNS Records...|Loading root DNS server records...|-> File not found!|Loading IP address blocks...|Loading DHCP Leases...|DNS service started."
actual=$(sed -E "s/^$stamp//" "$WORK/stdout" | paste -sd'|')
[ "$actual" = "$expected" ] || fail "start-up lines: $actual"
grep -vqE "^$stamp" "$WORK/stdout" && fail "a line without the time stamp"

signal_and_wait USR1 1 'Server paused\.'
dns_bound && fail "port 53 still bound while paused"
signal_and_wait USR1 2 'DNS service started\.'
dns_bound || fail "port 53 not bound again after start"

kill -USR2 "$SERVER_PID"
wait_for 'Review the support file' "$WORK/stderr"
support="$WORK/folder/support.txt"
for heading in "Quorvane - Support Info" "System Information" "Application Information" "Statistics" \
               "Recent Log Entries" "Status    : Running" "File: $WORK/folder/quorvane.ini" "** Error opening file!"; do
    grep -qxF -- "$heading" "$support" || fail "support.txt lacks '$heading'"
done
grep -qE "^${stamp}Server paused\.$" "$support" || fail "support.txt lacks the recent log lines"

stop_server
[ "$(tail -n1 "$WORK/stdout" | sed -E "s/^$stamp//")" = "Program was closed by user." ] || fail "last line"

# The daily log file: logs/yyyymmdd.log, created with its folder, CRLF lines, same text as stdout.
logfile="$WORK/folder/logs/$(date +%Y%m%d).log"
[ -f "$logfile" ] || logfile=$(ls "$WORK"/folder/logs/*.log | tail -n1)
[[ "$(basename "$logfile")" =~ ^[0-9]{8}\.log$ ]] || fail "log file name $logfile"
[ "$(tr -d '\r' <"$logfile")" = "$(cat "$WORK/stdout")" ] || fail "log file differs from standard output"
[ "$(grep -c $'\r$' "$logfile")" -eq "$(wc -l <"$logfile")" ] || fail "log lines not ended by CR LF"
# Start-up rewrote the settings file whole, in its written form.
grep -qx 'WriteLog: YES' "$WORK/folder/quorvane.ini" || fail "settings not saved at start-up"

# --- Port 53 taken, then free --------------------------------------------------------------------
printf '@ IN SOA ns.t. admin.t. 1 1 1 1 1\nhost IN A 10.0.0.9\n' >"$WORK/folder/data/t.dns"
python3 -c 'import socket, time; s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM); s.bind(("0.0.0.0", 53)); time.sleep(60)' &
holder=$!
started "$holder"
for _ in $(seq 50); do ss -Hlun 'sport = :53' | grep -q . && break; sleep 0.1; done
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
[ "$(dig @127.0.0.1 +tries=1 +time=2 +short host.t A)" = "10.0.0.9" ] || fail "not answered after the retry"
stop_server
