# dig and kdig ask the real binary for its own zone and hosts file: A, MX with its additional
# address, a CNAME chain, NXDOMAIN with the SOA, ANY, PTR from the hosts file, the AA and RA bits.
# The hosts file lies under a path with capitals, which must be kept as written. The zone's SRV and
# CAA lines are skipped, and their questions not implemented, until MoreRecordTypes is switched on;
# then both answer, the SRV with its target's address.
folder="$WORK/folder"
hosts="$WORK/Office Files/Hosts"
mkdir -p "$folder/data" "$(dirname "$hosts")"
printf 'Name: ns.office.test\nHosts: %s\n' "$hosts" >"$folder/quorvane.ini"
cat >"$folder/data/office.test.dns" <<'ZONE'
; the office zone
@        IN SOA ns.office.test. admin.office.test. ( 2026112201 ; serial
                3600 600 604800 300 )
         IN NS  ns
         IN MX  10 mail
ns       3600 IN A 10.0.0.1
mail     IN A   10.0.0.25
www      IN CNAME web
web      IN CNAME files.office.test.
files    IN A   10.0.0.30
_sip._tcp IN SRV 10 60 5060 mail
@        IN CAA 0 issue "ca.example.net"
ZONE
printf '10.0.0.40  laptop  laptop-wifi   # the boss\n' >"$hosts"

start_server "$folder" --quiet
for _ in $(seq 100); do dns_bound && break; sleep 0.1; done
dns_bound || fail "port 53 not bound"

q() { dig @127.0.0.1 +tries=1 +time=2 +nocookie "$@"; }
answer() { q +noall +answer "$@"; }

[ "$(answer mail.office.test A)" = "$(printf 'mail.office.test.\t86400\tIN\tA\t10.0.0.25')" ] || fail "A: $(answer mail.office.test A)"
q office.test MX >"$WORK/mx"
grep -qE 'flags: qr aa rd ra;' "$WORK/mx" || fail "MX flags: $(grep flags "$WORK/mx")"
grep -qE '^office\.test\.\s+86400\s+IN\s+MX\s+10 mail\.office\.test\.$' "$WORK/mx" || fail "MX answer"
grep -A1 'ADDITIONAL SECTION' "$WORK/mx" | grep -qE '^mail\.office\.test\.\s.*A\s+10\.0\.0\.25$' || fail "MX additional"

chain=$(answer www.office.test A | awk '{print $1, $4, $5}' | paste -sd'|')
[ "$chain" = "www.office.test. CNAME web.office.test.|web.office.test. CNAME files.office.test.|files.office.test. A 10.0.0.30" ] || fail "CNAME chain: $chain"

q nothing.office.test A >"$WORK/nx"
grep -q 'status: NXDOMAIN' "$WORK/nx" || fail "NXDOMAIN"
grep -A1 'AUTHORITY SECTION' "$WORK/nx" | grep -qE 'SOA\s+ns\.office\.test\. admin\.office\.test\. 2026112201 3600 600 604800 300' || fail "SOA with NXDOMAIN"

# dig sends ANY over TCP unless told otherwise; DNS over TCP arrives with zone transfers.
[ "$(answer +notcp office.test ANY | wc -l)" -eq 3 ] || fail "ANY: $(answer +notcp office.test ANY)"
[ "$(answer -x 10.0.0.40 | awk '{print $4, $5}')" = "PTR laptop." ] || fail "PTR: $(answer -x 10.0.0.40)"
[ "$(answer laptop-wifi A | awk '{print $4, $5}' | paste -sd'|')" = "CNAME laptop.|A 10.0.0.40" ] || fail "hosts alias"

# Without recursion asked for, the zone's name servers come in the authority section.
q +norec ns.office.test A >"$WORK/norec"
grep -qE 'flags: qr aa ra;' "$WORK/norec" || fail "norec flags: $(grep flags "$WORK/norec")"
grep -A1 'AUTHORITY SECTION' "$WORK/norec" | grep -qE 'NS\s+ns\.office\.test\.$' || fail "authority NS"

# kdig parses the same replies strictly.
kdig @127.0.0.1 +retry=0 +timeout=2 www.office.test A >"$WORK/kdig" || fail "kdig"
grep -q 'status: NOERROR' "$WORK/kdig" && grep -qE 'files\.office\.test\.\s+86400\s+IN\s+A\s+10\.0\.0\.30' "$WORK/kdig" \
    || fail "kdig: $(cat "$WORK/kdig")"
kdig @127.0.0.1 +retry=0 +timeout=2 +tcp office.test SOA >"$WORK/kdig-tcp" 2>&1 || true
kill -0 "$SERVER_PID" || fail "server died after a TCP connection"
q _sip._tcp.office.test SRV | grep -q 'status: NOTIMP' || fail "SRV without MoreRecordTypes: $(q _sip._tcp.office.test SRV)"
stop_server

# --- With MoreRecordTypes ----------------------------------------------------------------------------
echo "MoreRecordTypes: YES" >>"$folder/quorvane.ini"
start_server "$folder" --quiet
for _ in $(seq 100); do dns_bound && break; sleep 0.1; done
dns_bound || fail "port 53 not bound again"
srv='_sip\._tcp\.office\.test\.\s+86400\s+IN\s+SRV\s+10 60 5060 mail\.office\.test\.$'
caa='^office\.test\.\s+86400\s+IN\s+CAA\s+0 issue "ca\.example\.net" ?$' # kdig adds a blank
q _sip._tcp.office.test SRV >"$WORK/srv"
grep -qE "^$srv" "$WORK/srv" || fail "SRV: $(cat "$WORK/srv")"
grep -A1 'ADDITIONAL SECTION' "$WORK/srv" | grep -qE '^mail\.office\.test\.\s.*A\s+10\.0\.0\.25$' || fail "SRV additional"
q office.test CAA | grep -qE "$caa" || fail "CAA: $(q office.test CAA)"
kdig @127.0.0.1 +retry=0 +timeout=2 _sip._tcp.office.test SRV >"$WORK/kdig-srv" || fail "kdig SRV"
grep -qE "^$srv" "$WORK/kdig-srv" || fail "kdig SRV: $(cat "$WORK/kdig-srv")"
kdig @127.0.0.1 +retry=0 +timeout=2 office.test CAA >"$WORK/kdig-caa" || fail "kdig CAA"
grep -qE "$caa" "$WORK/kdig-caa" || fail "kdig CAA: $(cat "$WORK/kdig-caa")"
stop_server
