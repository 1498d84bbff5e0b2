# Fifty DHCP clients at once, then a crash: clients.py plays 50 clients with their own hardware
# addresses and client ids (no host names) that all broadcast at the same time over the veth pair.
# Each gets its own address of the scope, acknowledged in the log and leased in dhcp.dat under
# "dhcp-" + its hardware address. After kill -9 and a restart dhcp.dat still holds the 50 leases,
# DNS answers them, and 5 new clients get 5 addresses none of which was handed out before.
folder="$WORK/folder"
dhcp_folder "$folder"
dhcp_link
start_server "$folder"
wait_for 'DHCP service started on 10\.77\.0\.1$'

# Runs clients $1 to $1 + $2 - 1; their "HWADDR ADDR" lines go to file $3.
clients() {
    in_clients python3 "$(realpath "$CASE_DIR/clients.py")" qc0 "$1" "$2" >"$3" 2>"$WORK/clients.err" ||
        fail "clients $1 + $2: $(cat "$WORK/clients.err" "$3")"
    [ "$(awk '{ print $2 }' "$3" | sort -u | grep -cE '^10\.77\.0\.1[0-9]{2}$')" -eq "$2" ] ||
        fail "clients $1 + $2 got: $(cat "$3")"
}
# The leases that file $1 of "HWADDR ADDR" lines should give, as dhcp.dat has them (without ends).
expected() { awk '{ print "dhcp-" $1 ".home.lan.", $2, "01" toupper($1) }' "$1" | sort; }
# The leases in dhcp.dat, without their ends.
leases() { tail -n +2 "$folder/dhcp.dat" 2>/dev/null | awk '{ print $1, $2, $3 }' | sort; }
holds() { [ "$(leases)" = "$(expected "$1")" ]; }
# Waits up to 3 s for dhcp.dat to hold the leases of file $1, then checks the form of its lines.
written() {
    within 3 holds "$1" || fail "dhcp.dat, expected $(expected "$1"): $(cat "$folder/dhcp.dat")"
    local line='[^ ]+  [0-9.]+  [0-9A-F]+  [0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}'
    [ "$(head -1 "$folder/dhcp.dat")" = "; Quorvane - DHCP Leases" ] &&
        [ "$(grep -cvxE "$line" "$folder/dhcp.dat")" -eq 1 ] || fail "dhcp.dat: $(cat "$folder/dhcp.dat")"
}

start=$SECONDS
clients 0 50 "$WORK/first"
echo "50 clients leased in $((SECONDS - start)) s"
while read -r hw address; do
    ack="Sending DHCP Acknowledgement to dhcp-$hw\.home\.lan\. for ${address//./\\.}"
    [ "$(count_lines "$ack")" -ge 1 ] || fail "no line '$ack'"
done <"$WORK/first"
written "$WORK/first"

# --- kill -9, and a restart ------------------------------------------------------------------------
disown "$SERVER_PID"
kill -KILL "$SERVER_PID"
timeout 10 tail --pid="$SERVER_PID" -f /dev/null || fail "server still there after kill -9"
mv "$WORK/stdout" "$WORK/stdout.first"
start_server "$folder"
wait_for 'DHCP service started on 10\.77\.0\.1$'
written "$WORK/first"
read -r hw address <"$WORK/first"
[ "$(aa_answer 10.77.0.1 "dhcp-$hw.home.lan" A)" = "$address" ] || fail "dhcp-$hw.home.lan not answered"

clients 50 5 "$WORK/new"
again=$(awk '{ print $2 }' "$WORK/first" | grep -cxFf <(awk '{ print $2 }' "$WORK/new") || true)
[ "$again" -eq 0 ] || fail "handed out again: $(cat "$WORK/new")"
cat "$WORK/first" "$WORK/new" >"$WORK/all"
written "$WORK/all"
stop_server
