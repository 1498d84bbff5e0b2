# dig and kdig, which parse replies strictly, ask the real binary for its own zone and hosts file:
# a CNAME chain, SRV with its target's address, CAA, NXDOMAIN with the SOA, PTR and an
# alias from the hosts file (under a path with capitals and a blank, kept as written), the AA and
# RA bits. And they take zone transfers over TCP. open.test carries "; NotSecure",
# so anyone may take it: the SOA first and last, and in between every other record of the file
# once, as BIND's zone compiler reads the file, one record per message. closed.test keeps the
# Secure default and names only 127.0.0.9 on its Notify line, so 127.0.0.1 is refused. Over TCP a
# zone's SOA is answered and other questions are refused.
folder="$WORK/folder"
hosts="$WORK/Office Files/Hosts"
mkdir -p "$folder/data" "$(dirname "$hosts")"
cp "$CASE_DIR"/zones/*.dns "$folder/data/"
printf 'Name: ns1.open.test\nDNSBind: 127.0.0.1\nMoreRecordTypes: YES\nHosts: %s\n' "$hosts" >"$folder/quorvane.ini"
printf '10.0.0.40  laptop  laptop-wifi   # the boss\n' >"$hosts"
{
    cat "$CASE_DIR/zones/open.test.head"
    # Enough records for a transfer of many messages and segments.
    for i in $(seq 400); do echo "h$i 900 IN A 10.1.$((i / 256)).$((i % 256))"; done
} >"$folder/data/open.test.dns"

# Each record as "owner ttl class type data" with blanks between fields.
fields() { awk '!/^;/ && NF { $1 = $1; print }'; }
named-compilezone -q -i none -s full -o - open.test "$folder/data/open.test.dns" | fields >"$WORK/compiled" ||
    fail "named-compilezone cannot read the zone"
soa=$(awk '$4 == "SOA"' "$WORK/compiled")
grep -v ' SOA ' "$WORK/compiled" | sort >"$WORK/expected"
[ "$(wc -l <"$WORK/expected")" -eq 415 ] || fail "the compiler read $(wc -l <"$WORK/expected") records"

start_server "$folder"
wait_for "DNS service started on 127.0.0.1"

# $1 (a transfer's records, as fields prints them) against the file: SOA first and last, the rest
# as a set equal to the file's.
check_transfer() {
    local client=$1 records=$2 count
    count=$(wc -l <"$records")
    [ "$(head -1 "$records")" = "$soa" ] || fail "$client: first record $(head -1 "$records"), not $soa"
    [ "$(tail -1 "$records")" = "$soa" ] || fail "$client: last record $(tail -1 "$records"), not $soa"
    sed '1d;$d' "$records" | sort >"$records.inside"
    diff "$WORK/expected" "$records.inside" >"$records.diff" ||
        fail "$client: records differ from the file (< file, > transfer):
$(head -40 "$records.diff")"
    [ "$count" -eq 417 ] || fail "$client: $count records"
}

q() { dig @127.0.0.1 +tries=1 +time=5 +nocookie "$@"; }
answer() { q +noall +answer "$@"; }
k() { kdig @127.0.0.1 +retry=0 +timeout=2 "$@" >"$WORK/kdig" 2>&1 || fail "kdig $*: $(cat "$WORK/kdig")"; }

# --- Answers ------------------------------------------------------------------------------------
# The rules behind these answers are in Answers.AuthoritativeDataAliasesAndAdditionalRecords and
# Answers.MissingNamesAndTypesInOwnZone; here real clients read the real binary's replies.
k www.office.test A
chain=$(awk '/ANSWER SECTION/ { on = 1; next } on && NF >= 5 { print $1, $4, $5 } on && !NF { exit }' "$WORK/kdig" | paste -sd'|')
[ "$chain" = "www.office.test. CNAME web.office.test.|web.office.test. CNAME files.office.test.|files.office.test. A 10.0.0.30" ] ||
    fail "kdig CNAME chain: $(cat "$WORK/kdig")"
grep -qE ';; Flags: qr aa rd ra;' "$WORK/kdig" || fail "kdig flags: $(cat "$WORK/kdig")"
srv='_sip\._tcp\.office\.test\.\s+86400\s+IN\s+SRV\s+10 60 5060 mail\.office\.test\.$'
caa='^office\.test\.\s+86400\s+IN\s+CAA\s+0 issue "ca\.example\.net" ?$' # kdig adds a blank
k _sip._tcp.office.test SRV
grep -qE "^$srv" "$WORK/kdig" || fail "kdig SRV: $(cat "$WORK/kdig")"
grep -A1 'ADDITIONAL SECTION' "$WORK/kdig" | grep -qE '^mail\.office\.test\.\s.*A\s+10\.0\.0\.25$' || fail "SRV additional"
q office.test CAA | grep -qE "$caa" || fail "CAA: $(q office.test CAA)"
k office.test CAA
grep -qE "$caa" "$WORK/kdig" || fail "kdig CAA: $(cat "$WORK/kdig")"
q nothing.office.test A >"$WORK/nx"
grep -q 'status: NXDOMAIN' "$WORK/nx" || fail "NXDOMAIN"
grep -A1 'AUTHORITY SECTION' "$WORK/nx" | grep -qE 'SOA\s+ns\.office\.test\. admin\.office\.test\. 2026112201 3600 600 604800 300' || fail "SOA with NXDOMAIN"
[ "$(answer -x 10.0.0.40 | awk '{print $4, $5}')" = "PTR laptop." ] || fail "PTR: $(answer -x 10.0.0.40)"
[ "$(answer laptop-wifi A | awk '{print $4, $5}' | paste -sd'|')" = "CNAME laptop.|A 10.0.0.40" ] || fail "hosts alias"

# --- Transfers ----------------------------------------------------------------------------------

q open.test AXFR >"$WORK/dig-axfr"
fields <"$WORK/dig-axfr" >"$WORK/dig-records"
check_transfer dig "$WORK/dig-records"
grep -qF ';; XFR size: 417 records (messages 417, ' "$WORK/dig-axfr" ||
    fail "dig: not one record per message: $(grep 'XFR size' "$WORK/dig-axfr")"

kdig @127.0.0.1 +retry=0 +timeout=5 open.test AXFR >"$WORK/kdig-axfr" 2>&1 || fail "kdig: $(tail "$WORK/kdig-axfr")"
fields <"$WORK/kdig-axfr" >"$WORK/kdig-records"
check_transfer kdig "$WORK/kdig-records"
grep -qE '^;; Received [0-9]+ B \(417 messages, 417 records\)$' "$WORK/kdig-axfr" ||
    fail "kdig: $(grep Received "$WORK/kdig-axfr")"
[ "$(grep -c "Sending Zone Transfer to 127.0.0.1 for open.test" "$WORK/stdout")" -eq 2 ] ||
    fail "log lines for the two transfers: $(grep "Zone Transfer" "$WORK/stdout")"

# A client that closes its sending side right after the request still gets the whole zone.
python3 - >"$WORK/half-closed" <<'PY' || fail "half-closed client: $(cat "$WORK/half-closed")"
import socket, struct
query = struct.pack(">HHHHHH", 99, 0, 1, 0, 0, 0) + b"\x04open\x04test\x00" + struct.pack(">HH", 252, 1)
s = socket.create_connection(("127.0.0.1", 53), timeout=5)
s.sendall(struct.pack(">H", len(query)) + query)
s.shutdown(socket.SHUT_WR)
data = b""
while chunk := s.recv(65536):
    data += chunk
messages = 0
while data:
    length = struct.unpack(">H", data[:2])[0]
    data = data[2 + length:]
    messages += 1
print(messages)
PY
[ "$(cat "$WORK/half-closed")" = 417 ] || fail "half-closed client got $(cat "$WORK/half-closed") messages"

# The Secure zone: 127.0.0.1 is not on its Notify line.
q closed.test AXFR >"$WORK/dig-closed"
grep -q '^; Transfer failed\.$' "$WORK/dig-closed" || fail "dig took closed.test: $(cat "$WORK/dig-closed")"
[ -z "$(fields <"$WORK/dig-closed")" ] || fail "dig got records of closed.test"
kdig @127.0.0.1 +retry=0 +timeout=5 closed.test AXFR >"$WORK/kdig-closed" 2>&1 && fail "kdig took closed.test"
grep -qF "server replied with error 'REFUSED'" "$WORK/kdig-closed" || fail "kdig: $(cat "$WORK/kdig-closed")"
grep -q "Sending Zone Transfer to 127.0.0.1 for closed.test" "$WORK/stdout" && fail "closed.test went out"

# Questions over TCP other than transfers.
q +tcp open.test SOA >"$WORK/tcp-soa"
grep -q 'status: NOERROR' "$WORK/tcp-soa" && grep -qE 'flags: qr aa' "$WORK/tcp-soa" ||
    fail "SOA over TCP: $(cat "$WORK/tcp-soa")"
[ "$(q +tcp +noall +answer open.test SOA | fields)" = "$soa" ] || fail "TCP SOA differs from the file"
q +tcp www.open.test A >"$WORK/tcp-a"
grep -q 'status: REFUSED' "$WORK/tcp-a" || fail "A over TCP: $(cat "$WORK/tcp-a")"
[ "$(q +notcp +short web.open.test A | sort | paste -sd' ')" = "192.0.2.80 192.0.2.81" ] ||
    fail "UDP after the transfers: $(q +notcp +short web.open.test A)"
stop_server
