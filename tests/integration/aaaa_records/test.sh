# IPv6 addresses with AAAARecords on: AAAA from the zone file (short and full forms) and from an
# IPv6 hosts line with its PTR under ip6.arpa, AAAA of the MX and NS targets in the additional
# section, an AAAA question forwarded to an NSD on 127.0.0.2 and kept across a restart in
# named.cache, and the C library's resolver asking Quorvane for both families. Then the same folder
# with the flag off: AAAA questions are not implemented, the zone's AAAA lines are skipped, A stays.
folder="$WORK/folder"
mkdir -p "$folder/data" "$WORK/far"
cat >"$folder/data/office.test.dns" <<'ZONE'
@        IN SOA ns.office.test. admin.office.test. ( 2026112401 3600 600 604800 300 )
         IN NS  ns
         IN MX  10 mail
ns       IN A   10.0.0.1
ns       IN AAAA 2001:db8::1
mail     IN A   10.0.0.25
mail     IN AAAA 2001:0db8:0000:0000:0000:0000:0000:0025
host 3600 IN AAAA 2001:db8::5
ZONE
printf '2001:db8::40  laptop6  laptop6-wifi\n10.0.0.41  printer\n' >"$folder/hosts"
cat >"$WORK/far/far.zone" <<'ZONE'
$ORIGIN far.test.
@    3600 IN SOA ns.far.test. admin.far.test. 1 3600 600 86400 300
     IN NS ns
ns   IN A 127.0.0.2
www  IN AAAA 2001:db8:f::80
ZONE
start_nsd 127.0.0.2 far.test. "$WORK/far/far.zone"
far=$NSD_PID

run_quorvane() {
    printf 'Name: ns.office.test\nDNSBind: 127.0.0.1\nHosts: hosts\nCacheReload: YES\n%s' "$1" >"$folder/quorvane.ini"
    printf 'RecursionOut: YES\nNS: 127.0.0.2\n' >>"$folder/quorvane.ini"
    start_server "$folder"
    wait_for "DNS service started on 127.0.0.1"
}
q() { dig @127.0.0.1 +tries=1 +time=2 +nocookie "$@"; }
short() { q +short "$@" | paste -sd' '; }
status() { q "$@" | sed -n 's/.*status: \([A-Z]*\).*/\1/p'; }
additional() { q "$@" | sed -n '/ADDITIONAL SECTION/,/^$/p' | awk 'NF >= 5 { print $1, $4, $5 }' | sort | paste -sd'|'; }
# The addresses the C library finds for $1 through a resolv.conf that names only Quorvane, bound
# over /etc/resolv.conf in a mount namespace of its own.
printf 'nameserver 127.0.0.1\noptions timeout:2 attempts:1\n' >"$WORK/resolv.conf"
ahosts() {
    # shellcheck disable=SC2016 # expanded by the inner shell
    unshare --mount sh -c 'mount --bind "$0" /etc/resolv.conf && getent ahosts "$1"' "$WORK/resolv.conf" "$1" |
        awk '{ print $1 }' | sort -u | paste -sd' '
}

# --- On --------------------------------------------------------------------------------------------
run_quorvane "AAAARecords: YES
"
[ "$(aa_answer 127.0.0.1 host.office.test AAAA)" = 2001:db8::5 ] || fail "zone AAAA: $(q host.office.test AAAA)"
[ "$(aa_answer 127.0.0.1 mail.office.test AAAA)" = 2001:db8::25 ] || fail "AAAA written in full: $(q mail.office.test AAAA)"
[ "$(short laptop6-wifi AAAA)" = "laptop6. 2001:db8::40" ] || fail "hosts AAAA by alias: $(short laptop6-wifi AAAA)"
for name in host.office.test laptop6; do
    kdig @127.0.0.1 +retry=0 +timeout=2 "$name" AAAA >"$WORK/kdig" || fail "kdig $name"
    grep -q 'status: NOERROR' "$WORK/kdig" && grep -qE "^$name\.\s+[0-9]+\s+IN\s+AAAA\s+2001:db8::(5|40)$" "$WORK/kdig" ||
        fail "kdig $name AAAA: $(cat "$WORK/kdig")"
done
ptr=$(q +noall +answer -x 2001:db8::40 | awk '{ print $1, $4, $5 }')
[ "$ptr" = "0.4.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.0.8.b.d.0.1.0.0.2.ip6.arpa. PTR laptop6." ] || fail "IPv6 PTR: $ptr"
# Without recursion asked for, the NS of the zone come in the authority section: the addresses of
# both the mail exchanger and the name server follow.
extra="mail.office.test. A 10.0.0.25|mail.office.test. AAAA 2001:db8::25|ns.office.test. A 10.0.0.1"
[ "$(additional +norec office.test MX)" = "$extra|ns.office.test. AAAA 2001:db8::1" ] ||
    fail "additional section: $(additional +norec office.test MX)"
[ "$(short www.far.test AAAA)" = 2001:db8:f::80 ] || fail "forwarded AAAA: $(q www.far.test AAAA)"
grep -qF "Sending request to 127.0.0.2 (external) for AAAA-record for www.far.test." "$WORK/stdout" ||
    fail "AAAA not forwarded"
[ "$(ahosts mail.office.test)" = "10.0.0.25 2001:db8::25" ] || fail "getent ahosts mail: '$(ahosts mail.office.test)'"
[ "$(ahosts host.office.test)" = "2001:db8::5" ] || fail "getent ahosts host: '$(ahosts host.office.test)'"
stop_server

# The forwarded AAAA is saved with the cache and answered from it once the forwarder is gone.
awk 'substr($0, 1, 1) != " " { owner = $1; sub(/^[^ ]+/, "") } { print owner $0 }' "$folder/named.cache" |
    grep -qE '^www\.far\.test\.? [0-9]+ AAAA 2001:db8:f::80$' || fail "named.cache: $(cat "$folder/named.cache")"
kill -KILL "$far"
run_quorvane "AAAARecords: YES
"
[ "$(short www.far.test AAAA)" = 2001:db8:f::80 ] || fail "AAAA from named.cache: $(q www.far.test AAAA)"
stop_server

# --- Off: as before the flag -------------------------------------------------------------------------
run_quorvane ""
for name in host.office.test mail.office.test laptop6 www.far.test; do
    [ "$(status "$name" AAAA)" = NOTIMP ] || fail "flag off, $name AAAA: $(q "$name" AAAA)"
done
[ "$(aa_answer 127.0.0.1 mail.office.test A)" = 10.0.0.25 ] || fail "flag off, A: $(q mail.office.test A)"
[ "$(additional +norec office.test MX)" = "mail.office.test. A 10.0.0.25|ns.office.test. A 10.0.0.1" ] ||
    fail "flag off, additional section: $(additional +norec office.test MX)"
[ -z "$(q +notcp +noall +answer host.office.test ANY)" ] ||
    fail "flag off, an AAAA line was loaded: $(q +notcp host.office.test ANY)"
stop_server
