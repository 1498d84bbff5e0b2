# Quorvane resolves names through a small hierarchy of real NSD servers on loopback addresses:
#   127.0.0.2  the root zone, delegating test., and hostile delegations that can never be
#              resolved: zones whose name servers lie inside the zone without glue (3, 5 and 13
#              of them), and two zones whose servers lie in each other
#   127.0.0.3  test., delegating example.test. (with glue) and glueless.test. (without)
#   127.0.0.4  example.test.: an alias, a mail exchanger, sub.example.test. delegated with glue
#   127.0.0.5  glueless.test., whose server's address only example.test. knows
#   127.0.0.6  sub.example.test.
#   127.0.0.9  corp.test. and 10.in-addr.arpa., a company's own server reached by Forward rules
# First from the root (with SPOOFSECURE on): the hostile delegations each get a server failure at
# once, the server stays up, and other clients are answered meanwhile. Then forwarding to one of
# them with per-domain forwarding beside it (only the three requests named may leave, so the root is
# never asked), then private names kept at home, then forwarding to two addresses where nothing
# answers. (The cap on waiting requests is the Recursion unit tests';
# memory under a flood of distinct names is the soak's, bench/soak.sh, which the test command runs.)

start_nsd 127.0.0.2 . "$CASE_DIR/zones/root.zone"
start_nsd 127.0.0.3 test. "$CASE_DIR/zones/test.zone"
start_nsd 127.0.0.4 example.test. "$CASE_DIR/zones/example.zone"
start_nsd 127.0.0.5 glueless.test. "$CASE_DIR/zones/glueless.zone"
start_nsd 127.0.0.6 sub.example.test. "$CASE_DIR/zones/sub.zone"
start_nsd 127.0.0.9 corp.test. "$CASE_DIR/zones/corp.zone" 10.in-addr.arpa. "$CASE_DIR/zones/reverse10.zone"

folder="$WORK/folder"
mkdir -p "$folder/data" "$folder/logs"
printf '. 3600000 IN NS ns.root.\nns.root. 3600000 IN A 127.0.0.2\n' >"$folder/named.root"
printf '@ IN SOA ns.home.lan. admin.home.lan. 1 3600 600 86400 300\nnas IN A 192.168.1.20\n' >"$folder/data/home.lan.dns"
run_quorvane() {
    printf 'Name: resolver.test\nDNSBind: 127.0.0.1\nWriteLog: YES\n%s' "$1" >"$folder/quorvane.ini"
    start_server "$folder"
    wait_for "DNS service started on 127.0.0.1"
}
q() { dig @127.0.0.1 +tries=1 +time=3 +nocookie "$@"; }
answer() { q +noall +answer "$@" | awk '{ out = $1; for (i = 4; i <= NF; ++i) out = out " " $i; print out }' | paste -sd'|'; }
sent_to() { grep -c "Sending request to $1 " "$WORK/stdout" || true; }
status() { q "$@" | sed -n 's/.*status: \([A-Z]*\).*/\1/p'; }
local_answered() {
    [ "$(q +short nas.home.lan A)" = 192.168.1.20 ] || fail "local name not answered ($1)"
}

# --- From the root --------------------------------------------------------------------------
run_quorvane "SpoofSecure: YES
"
q www.example.test A >"$WORK/www"
grep -q 'status: NOERROR' "$WORK/www" || fail "www: $(cat "$WORK/www")"
grep -qE 'flags: qr rd ra;' "$WORK/www" || fail "www flags: $(grep flags "$WORK/www")"
[ "$(answer www.example.test A)" = "www.example.test. CNAME web.example.test.|web.example.test. CNAME host.example.test.|host.example.test. A 192.0.2.80" ] ||
    fail "www chain: $(answer www.example.test A)"
for line in "127.0.0.2 (.) for A-record for www.example.test." \
    "127.0.0.3 (test.) for A-record for www.example.test." \
    "127.0.0.4 (example.test.) for A-record for www.example.test."; do
    grep -qF "Sending request to $line" "$WORK/stdout" || fail "no request: $line"
done
grep -qF "Reply from 127.0.0.4" "$WORK/stdout" || fail "no reply line"

[ "$(answer deep.sub.example.test A)" = "deep.sub.example.test. A 192.0.2.66" ] || fail "delegated subdomain"
grep -qF "Sending request to 127.0.0.6 (sub.example.test.)" "$WORK/stdout" || fail "not asked: sub.example.test. server"
[ "$(answer www.glueless.test A)" = "www.glueless.test. A 192.0.2.55" ] || fail "glueless: $(answer www.glueless.test A)"
grep -qF "Sending request to 127.0.0.4 (example.test.) for A-record for ns.provider.example.test." "$WORK/stdout" ||
    fail "no sub-request for the address of the glueless server"
grep -qF "Sending request to 127.0.0.5 (glueless.test.) for A-record for www.glueless.test." "$WORK/stdout" ||
    fail "glueless.test. server not asked"
[ "$(answer example.test MX)" = "example.test. MX 10 mail.example.test." ] || fail "MX"
q nothing.example.test A >"$WORK/nx"
grep -q 'status: NXDOMAIN' "$WORK/nx" || fail "NXDOMAIN: $(cat "$WORK/nx")"

# Asked again: the cache answers, and no datagram goes to a peer (the namespace counts exactly
# the query and the reply).
before=$(udp_in)
requests=$(sent_to 127.0.0.4)
[ "$(answer www.example.test A | cut -d'|' -f3)" = "host.example.test. A 192.0.2.80" ] || fail "cached answer"
q nothing.example.test A | grep -q 'status: NXDOMAIN' || fail "cached NXDOMAIN"
[ $(($(udp_in) - before)) -eq 4 ] || fail "cached answers caused $(($(udp_in) - before)) datagrams, not 4"
[ "$(sent_to 127.0.0.4)" = "$requests" ] || fail "a cached name was asked again"

# The hostile delegations.
for name in www.evil3.hostile www.evil5.hostile www.evil13.hostile www.a.hostile; do
    before=$(sent_to 127.0.0.2)
    start=$SECONDS
    [ "$(status "$name" A)" = SERVFAIL ] || fail "$name: no server failure"
    [ $((SECONDS - start)) -le 2 ] || fail "$name took $((SECONDS - start)) s"
    kill -0 "$SERVER_PID" || fail "server ended on $name"
    sent=$(($(sent_to 127.0.0.2) - before))
    [ "$sent" -ge 1 ] && [ "$sent" -le 64 ] || fail "$name: $sent queries sent"
    echo "$name: SERVFAIL after $sent queries"
    local_answered "$name"
done
grep -qF "Work limit reached for A-record for www.evil13.hostile. (32 sub-requests" "$WORK/stdout" ||
    fail "no work limit line for 13 servers"
stop_server

# --- Per-domain forwarding beside the general forwarder -------------------------------------------
# Each server is authoritative for its own names only and refuses the rest, so a right answer
# shows the question went to the right server; the log shows no question went anywhere else.
rm -f "$folder/named.cache"
run_quorvane "RecursionOut: YES
NS: 127.0.0.4
Forward: corp.test 127.0.0.9
Forward: 10.in-addr.arpa 127.0.0.9
"
[ "$(answer intranet.corp.test A)" = "intranet.corp.test. A 10.20.0.8" ] || fail "corp.test: $(answer intranet.corp.test A)"
[ "$(answer -x 10.20.0.8)" = "8.0.20.10.in-addr.arpa. PTR intranet.corp.test." ] || fail "reverse: $(answer -x 10.20.0.8)"
[ "$(answer mail.example.test A)" = "mail.example.test. A 192.0.2.25" ] || fail "general: $(answer mail.example.test A)"
sent=$(grep -oE "Sending request to .*" "$WORK/stdout" | paste -sd'|')
[ "$sent" = "Sending request to 127.0.0.9 (corp.test.) for A-record for intranet.corp.test.|Sending request to \
127.0.0.9 (10.in-addr.arpa.) for PTR-record for 8.0.20.10.in-addr.arpa.|Sending request to 127.0.0.4 (external) for \
A-record for mail.example.test." ] || fail "requests sent: $sent"
stop_server

# --- Private names stay at home (from the root, so anything that left would reach 127.0.0.2) ---
run_quorvane "LocalNames: YES
AAAARecords: YES
"
before=$(udp_in)
for address in 192.168.1.10 10.1.2.3 172.16.0.1 100.64.0.1 169.254.1.1 fd00::1 fe80::1; do
    q -x $address >"$WORK/private"
    grep -q 'status: NXDOMAIN' "$WORK/private" || fail "-x $address: $(cat "$WORK/private")"
    grep -qE 'IN[[:space:]]+SOA[[:space:]]+[^ ]+arpa\. nobody\.invalid\.' "$WORK/private" || fail "-x $address: no SOA"
done
q printer A | grep -q 'status: NXDOMAIN' || fail "one-label name"
q nas.home.arpa A | grep -q 'status: NXDOMAIN' || fail "home.arpa."
[ $(($(udp_in) - before)) -eq 18 ] || fail "$(($(udp_in) - before)) datagrams for 9 private questions, not 18"
! grep -q "Sending request" "$WORK/stdout" || fail "sent out: $(grep "Sending request" "$WORK/stdout")"
stop_server

# --- Two forwarders that never answer --------------------------------------------------------
run_quorvane "RecursionOut: YES
NS: 127.0.0.7
NS: 127.0.0.8
"
start=$SECONDS
q +time=20 lost.example.test A >"$WORK/lost"
took=$((SECONDS - start))
grep -q 'status: SERVFAIL' "$WORK/lost" || fail "no server failure: $(cat "$WORK/lost")"
[ "$took" -ge 10 ] && [ "$took" -le 14 ] || fail "server failure after $took s, expected 11-13"
order=$(grep -oE "Sending request to 127\.0\.0\.[78] " "$WORK/stdout" | awk '{print $4}' | paste -sd' ')
[ "$order" = "127.0.0.7 127.0.0.8 127.0.0.7 127.0.0.8 127.0.0.7 127.0.0.8 127.0.0.7 127.0.0.8 127.0.0.7 127.0.0.8" ] ||
    fail "order of tries: $order"
failLog="$folder/logs/$(date +%Y%m%d)fail.log"
grep -q "DNS Request from 127.0.0.1 about A-record for lost.example.test.:" "$failLog" || fail "fail.log: $(cat "$failLog" 2>/dev/null)"
grep -q -- "-> Authoritative DNS servers did not respond - or did not return any records." "$failLog" || fail "fail.log line 2"

stop_server
