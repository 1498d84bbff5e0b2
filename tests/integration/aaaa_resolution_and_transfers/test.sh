# AAAA, SRV and CAA beyond the own zones, with every flag on (AAAARecords, EDNS, TCPQueries,
# QueryHardening, MoreRecordTypes):
#   127.0.0.2/3/4  NSD: the root, test. and example.test. (with AAAA and SRV, and AAAA glue for its
#                  server)
#   127.0.0.21     NSD, primary of prim.test. (with AAAA, SRV, CAA), of which Quorvane is the secondary
#   127.0.0.11     NSD, secondary of own.test. (with AAAA, SRV, CAA), of which Quorvane is the primary
# Quorvane resolves AAAA and SRV from the root (for dig, kdig and the C library's resolver, which
# asks for both families at once), keeps the AAAA, SRV and CAA of the zone it takes in (and writes
# them to its file), and gives them away in its own transfers. (A truncated upstream answer asked
# again over TCP is ProtocolFlags.OutgoingQueriesCarryOptAndFallBack's.) A learned AAAA is saved in
# named.cache and answered from it after a restart, once example.test.'s server is gone.
start_nsd 127.0.0.2 . "$CASE_DIR/zones/root.zone"
start_nsd 127.0.0.3 test. "$CASE_DIR/zones/test.zone"
start_nsd 127.0.0.4 example.test. "$CASE_DIR/zones/example.zone"
example_nsd=$NSD_PID
NSD_ZONE_OPTIONS="provide-xfr: 127.0.0.1 NOKEY" start_nsd 127.0.0.21 prim.test. "$CASE_DIR/zones/prim.zone"

folder="$WORK/folder"
mkdir -p "$folder/data"
printf '. 3600000 IN NS ns.root.\nns.root. 3600000 IN A 127.0.0.2\n' >"$folder/named.root"
printf 'Name: ns.own.test\nDNSBind: 127.0.0.1\nAAAARecords: YES\nEDNS: YES\nTCPQueries: YES\nQueryHardening: YES\nMoreRecordTypes: YES\nCacheReload: YES\n' \
    >"$folder/quorvane.ini"
cp "$CASE_DIR/zones/own.test.dns" "$folder/data/"
printf '; PrimaryIP 127.0.0.21\n' >"$folder/data/prim.test.dns"
start_server "$folder"
wait_for "DNS service started on 127.0.0.1"
q() { dig @127.0.0.1 +tries=1 +time=5 +nocookie "$@"; }
answer() { q +noall +answer "$@" | awk '{ out = $1; for (i = 4; i <= NF; ++i) out = out " " $i; print out }' | paste -sd'|'; }
# The addresses the C library finds for $1 through a resolv.conf that names only Quorvane, bound
# over /etc/resolv.conf in a mount namespace of its own.
printf 'nameserver 127.0.0.1\noptions timeout:2 attempts:1\n' >"$WORK/resolv.conf"
ahosts() {
    # shellcheck disable=SC2016 # expanded by the inner shell
    unshare --mount sh -c 'mount --bind "$0" /etc/resolv.conf && getent ahosts "$1"' "$WORK/resolv.conf" "$1" |
        awk '{ print $1 }' | sort -u | paste -sd' '
}

# --- From the root -------------------------------------------------------------------------------
[ "$(answer www.example.test AAAA)" = "www.example.test. CNAME dual.example.test.|dual.example.test. AAAA 2001:db8::80" ] ||
    fail "AAAA from the root: $(q www.example.test AAAA)"
for line in "127.0.0.2 (.)" "127.0.0.3 (test.)" "127.0.0.4 (example.test.)"; do
    grep -qF "Sending request to $line for AAAA-record for www.example.test." "$WORK/stdout" || fail "not asked: $line"
done
kdig @127.0.0.1 +retry=0 +timeout=2 dual.example.test AAAA >"$WORK/kdig" || fail "kdig dual.example.test"
grep -q 'status: NOERROR' "$WORK/kdig" && grep -qE '^dual\.example\.test\.\s+[0-9]+\s+IN\s+AAAA\s+2001:db8::80$' "$WORK/kdig" ||
    fail "kdig dual.example.test AAAA: $(cat "$WORK/kdig")"
[ "$(ahosts dual.example.test)" = "192.0.2.80 2001:db8::80" ] || fail "getent ahosts dual: '$(ahosts dual.example.test)'"
[ "$(answer _sip._tcp.example.test SRV)" = "_sip._tcp.example.test. SRV 0 5 5060 dual.example.test." ] ||
    fail "SRV from the root: $(q _sip._tcp.example.test SRV)"
# Asked over TCP, the answer waits for example.test.'s server like one asked over UDP.
[ "$(answer +tcp dual.example.test A)" = "dual.example.test. A 192.0.2.80" ] || fail "A over TCP: $(q +tcp dual.example.test A)"

# --- Transfer in: the zone from NSD keeps its AAAA, in answers and in the written file ----------------
prim_served() { [ "$(aa_answer 127.0.0.1 v6.prim.test AAAA)" = 2001:db8:2::6 ]; }
within 20 prim_served || fail "prim.test. AAAA not served: $(q +norec v6.prim.test AAAA)"
named-checkzone -D -o - prim.test "$folder/data/prim.test.dns" 2>/dev/null |
    grep -qE '^v6\.prim\.test\.[[:space:]]+[0-9]+[[:space:]]+IN[[:space:]]+AAAA[[:space:]]+2001:db8:2::6$' ||
    fail "prim.test.dns does not hold the AAAA: $(cat "$folder/data/prim.test.dns")"
[ "$(aa_answer 127.0.0.1 _sip._udp.prim.test SRV)" = "1 2 3 v6.prim.test." ] || fail "prim.test. SRV not served"
[ "$(aa_answer 127.0.0.1 prim.test CAA)" = '0 issue "ca.prim.test"' ] || fail "prim.test. CAA not served"
grep -qE '^prim\.test\. [0-9]+ CAA 0 issue "ca\.prim\.test"$' "$folder/data/prim.test.dns" ||
    fail "prim.test.dns does not hold the CAA: $(cat "$folder/data/prim.test.dns")"

# --- Transfer out: an NSD secondary serves the AAAA of Quorvane's zone --------------------------------
NSD_ZONE_OPTIONS="request-xfr: 127.0.0.1 NOKEY" start_nsd 127.0.0.11 own.test. "$WORK/own.zone"
[ "$(aa_answer 127.0.0.11 v6.own.test AAAA)" = 2001:db8:1::6 ] ||
    fail "NSD secondary: $(dig @127.0.0.11 +norec v6.own.test AAAA; cat "$WORK/nsd-127.0.0.11/nsd.log")"
[ "$(aa_answer 127.0.0.11 _ldap._tcp.own.test SRV)" = "10 60 389 ns.own.test." ] || fail "NSD secondary: SRV"
[ "$(aa_answer 127.0.0.11 own.test CAA)" = '128 iodef "mailto:admin@own.test"' ] || fail "NSD secondary: CAA"
grep -qE "Sending Zone Transfer to 127\.0\.0\.[0-9]+ for own\.test\.?$" "$WORK/stdout" || fail "no transfer line"
kill -0 "$SERVER_PID" || fail "server ended"
stop_server

# --- The learned AAAA kept in named.cache across a restart ------------------------------------------
awk 'substr($0, 1, 1) != " " { owner = $1; sub(/^[^ ]+/, "") } { print owner $0 }' "$folder/named.cache" |
    grep -qE '^dual\.example\.test\.? [0-9]+ AAAA 2001:db8::80$' || fail "named.cache: $(cat "$folder/named.cache")"
kill -KILL "$example_nsd"
start_server "$folder"
wait_for "DNS service started on 127.0.0.1"
[ "$(q +short dual.example.test AAAA)" = 2001:db8::80 ] || fail "AAAA from named.cache: $(q dual.example.test AAAA)"
stop_server
