# Three real DHCP clients lease from Quorvane over a veth pair, one after the other, each with its
# own hardware address and host name: busybox udhcpc, ISC dhclient and dhcpcd. Each gets an
# address of the scope with mask, router, DNS server, domain and lease time as configured; the
# server logs the exchange, dhcp.dat holds the lease and DNS answers its name and address with
# AA. A renewal keeps the address; after the release the lease has ended in dhcp.dat and neither
# the name nor the address is answered any more. Last, dhclient with a reserved hardware address
# gets its address under the reserved name, and its lease file shows the added NTP and search
# options. (Which client gets which reserved address, inside or outside the scope, is checked by
# DhcpServer.FixedAddressesGoToTheirOwnersOnly.)
folder="$WORK/folder"
dhcp_folder "$folder"
cat "$CASE_DIR/settings.ini" >>"$folder/quorvane.ini"
dhcp_link
start_server "$folder"
wait_for 'DHCP service started on 10\.77\.0\.1$'

# The clients' script: records each event and what came with it, in the same words for every
# client, and puts a leased address on the link (renewals are unicast from it), as dhcpcd does
# by itself.
events="$WORK/events"
cat >"$WORK/record.sh" <<'SCRIPT'
#!/bin/sh
PATH=/usr/sbin:/usr/bin:/sbin:/bin
if [ -n "${reason:-}" ]; then
    event=$reason ip=${new_ip_address:-} subnet=${new_subnet_mask:-} router=${new_routers:-}
    dns=${new_domain_name_servers:-} domain=${new_domain_name:-} lease=${new_dhcp_lease_time:-}
else
    event=$1
fi
echo "$event ip=${ip:-} mask=${subnet:-} router=${router:-} dns=${dns:-} domain=${domain:-}" \
    "lease=${lease:-}" >>"${0%/*}/events"
[ "${protocol:-}" = dhcp ] && exit 0
case $event in
bound | renew | BOUND | RENEW | REBIND | REBOOT) ip addr replace "$ip/$subnet" dev "$interface" ;;
deconfig | RELEASE | EXPIRE | STOP) ip addr flush dev "$interface" ;;
esac
SCRIPT
chmod +x "$WORK/record.sh"

# Waits up to $2 s for an event line starting with word $1; sets LINE to the last one.
event() {
    within "$2" grep -qE "^$1 " "$events" || fail "$CLIENT: no $1 event: $(cat "$events" "$WORK/$CLIENT.log")"
    LINE=$(grep -E "^$1 " "$events" | tail -1)
}
logged() { # the number of log lines with text $1 after the time stamp
    awk -v text="$1" 'substr($0, 12) == text { n++ } END { print n + 0 }' "$WORK/stdout"
}
answers() { # the answers of the server to $1 $2, AA or not; nothing when it does not reply
    dig @10.77.0.1 +tries=1 +time=2 +norec +noall +answer "$1" "$2" 2>/dev/null | awk '!/^;/ { print $5 }'
}
end_in() { # seconds from now to the end of the client's lease in dhcp.dat; nothing without its line
    local end
    end=$(awk -v lease="$NAME  $ADDRESS  $ID  " 'index($0, lease) == 1' "$folder/dhcp.dat" 2>/dev/null |
        sed -nE 's/^[^ ]+  [0-9.]+  [0-9A-F]+  ([0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2})$/\1/p')
    [ -z "$end" ] || echo $(($(date -d "$end" +%s) - $(date +%s)))
}
in_dat() { [ -n "$(end_in)" ]; }
ended_in_dat() { [ -n "$(end_in)" ] && [ "$(end_in)" -le 0 ]; }

# $1: the client (its log is $WORK/$1.log), $2: its hardware address, then the command that starts
# it; the client's host name is pc-$1. Checks the lease it gets; sets ADDRESS and BOUND, its line.
lease() {
    CLIENT=$1 NAME=pc-$1.home.lan. ID=01$(tr -d : <<<"${2^^}")
    shift
    in_clients ip link set qc0 down
    in_clients ip link set qc0 address "$1"
    in_clients ip link set qc0 up
    shift
    : >"$events"
    start_client "$@" >"$WORK/$CLIENT.log" 2>&1
    event '(bound|BOUND)' 20
    BOUND=$LINE
    ADDRESS=$(sed -nE 's/^[a-zA-Z]+ ip=(10\.77\.0\.1[0-9]{2}) .*/\1/p' <<<"$LINE")
    [ -n "$ADDRESS" ] && [ "${LINE#* ip="$ADDRESS" }" = \
        "mask=255.255.255.0 router=10.77.0.254 dns=10.77.0.1 domain=home.lan lease=600" ] ||
        fail "$CLIENT got: $LINE"
    REVERSE=$(awk -F. '{ print $4 "." $3 "." $2 "." $1 ".in-addr.arpa" }' <<<"$ADDRESS")
    local line end
    for line in "Sending DHCP Offer to $NAME for $ADDRESS" "DHCP Lease Request from $NAME for $ADDRESS" \
        "Sending DHCP Acknowledgement to $NAME for $ADDRESS"; do
        [ "$(logged "$line")" -ge 1 ] || fail "$CLIENT: no line '$line'"
    done
    [ "$(count_lines "DHCP Discovery from ${NAME//./\\.}( \(Looking for [0-9.]+\))?")" -ge 1 ] ||
        fail "$CLIENT: no line 'DHCP Discovery from $NAME'"
    within 3 in_dat || fail "$CLIENT: no '$NAME  $ADDRESS  $ID  END' in dhcp.dat: $(cat "$folder/dhcp.dat")"
    end=$(end_in)
    [ "$end" -ge 590 ] && [ "$end" -le 601 ] || fail "$CLIENT: lease ends in $end s: $(cat "$folder/dhcp.dat")"
    [ "$(aa_answer 10.77.0.1 "$NAME" A)" = "$ADDRESS" ] || fail "$CLIENT: A of $NAME: $(answers "$NAME" A)"
    [ "$(aa_answer 10.77.0.1 "$REVERSE" PTR)" = "$NAME" ] || fail "$CLIENT: PTR: $(answers "$REVERSE" PTR)"
}

# After the client's renewal (asked for already): the same lease, and the log lines for it.
renewed() {
    event '(renew|RENEW)' 15
    [ "${LINE#* }" = "${BOUND#* }" ] || fail "$CLIENT renewed: $LINE, bound: $BOUND"
    [ "$(logged "DHCP Renewal Request from $NAME for $ADDRESS")" -ge 1 ] || fail "$CLIENT: no renewal line"
    [ "$(logged "Sending DHCP Acknowledgement to $NAME for $ADDRESS")" -ge 2 ] ||
        fail "$CLIENT: renewal not acknowledged"
}

# After the client's release (asked for already): the lease has ended in dhcp.dat and DNS is silent
# on it.
released() {
    wait_for "DHCP Release from ${ADDRESS//./\\.}\$"
    within 3 ended_in_dat || fail "$CLIENT: lease not ended in dhcp.dat: $(cat "$folder/dhcp.dat")"
    [ -z "$(answers "$NAME" A)$(answers "$REVERSE" PTR)" ] || fail "$CLIENT: answered after release"
}
ended() {
    timeout 10 tail --pid="$CLIENT_PID" -f /dev/null || fail "$CLIENT did not end: $(cat "$WORK/$CLIENT.log")"
}

# --- busybox udhcpc: SIGUSR1 renews, SIGUSR2 releases -------------------------------------------
lease udhcpc 02:77:00:00:00:01 busybox udhcpc -f -i qc0 -s "$WORK/record.sh" -x hostname:pc-udhcpc -T 2
kill -USR1 "$CLIENT_PID"
renewed
kill -USR2 "$CLIENT_PID"
released
kill -TERM "$CLIENT_PID"
ended

# --- ISC dhclient: a renewal time of its own (the server sends none) has it renew after 2 s; -r
# stops it and releases ---------------------------------------------------------------------------
dhclient=(-4 -v -cf "$CASE_DIR/dhclient.conf" -lf "$WORK/dhclient.leases" -pf "$WORK/dhclient.pid"
    -sf "$WORK/record.sh" qc0)
lease dhclient 02:77:00:00:00:02 dhclient -d -1 "${dhclient[@]}"
renewed
in_clients dhclient -r "${dhclient[@]}" >>"$WORK/dhclient.log" 2>&1 ||
    fail "dhclient -r: $(cat "$WORK/dhclient.log")"
released
ended

# --- dhcpcd: -N renews, -k releases and ends it ----------------------------------------------------
sed "s|@SCRIPT@|$WORK/record.sh|" "$CASE_DIR/dhcpcd.conf" >"$WORK/dhcpcd.conf"
lease dhcpcd 02:77:00:00:00:03 dhcpcd -f "$WORK/dhcpcd.conf" -B -t 20 qc0
in_clients dhcpcd -N qc0 >>"$WORK/dhcpcd.log" 2>&1 || fail "dhcpcd -N: $(cat "$WORK/dhcpcd.log")"
renewed
in_clients dhcpcd -k qc0 >>"$WORK/dhcpcd.log" 2>&1 || fail "dhcpcd -k: $(cat "$WORK/dhcpcd.log")"
released
ended

[ "$(head -1 "$folder/dhcp.dat")" = "; Quorvane - DHCP Leases" ] || fail "dhcp.dat: $(cat "$folder/dhcp.dat")"

# --- A fixed address ------------------------------------------------------------------------------
in_clients sh -c "ip link set qc0 down && ip link set qc0 address 02:77:00:00:00:aa && ip link set qc0 up"
CLIENT=fixed; : >"$events"
rm -f "$WORK/dhclient.leases"
start_client dhclient -d -1 "${dhclient[@]}" >"$WORK/fixed.log" 2>&1
event '(bound|BOUND)' 20
[[ "$LINE" == *" ip=10.77.0.120 "* ]] || fail "dhclient with a fixed address got: $LINE"
grep -q 'option ntp-servers 10.77.0.5,10.77.0.6;' "$WORK/dhclient.leases" &&
    grep -q 'option domain-search "home.lan.", "corp.test.";' "$WORK/dhclient.leases" ||
    fail "dhclient's lease: $(cat "$WORK/dhclient.leases")"
[ "$(aa_answer 10.77.0.1 120.0.77.10.in-addr.arpa. PTR)" = printer.home.lan. ] || fail "PTR of 10.77.0.120"
stop_server
