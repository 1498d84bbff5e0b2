# Reply sizes with EDNS and TCPQueries on: a name with 40 addresses (about 680 bytes) is cut at a
# record boundary with TC to 512 bytes without EDNS or when the client states 512, and comes whole
# over TCP and to a client stating 1232; a bigger answer is cut to 1232 bytes whatever the client
# states; every reply to a query with OPT carries OPT (version 0, 1232 bytes), and EDNS version 1
# gets BADVERS. (With both flags off, ProtocolFlags.EdnsCutsRepliesToTheClientsSize checks the
# replies, and dig_and_kdig that ordinary TCP questions are refused.) Real clients get "not
# implemented" for types the server does not answer.
folder="$WORK/folder"
mkdir -p "$folder/data"
{
    echo "@ IN SOA ns.big.test. admin.big.test. 1 3600 600 604800 300"
    echo "  IN NS ns"
    echo "ns IN A 10.0.0.1"
    echo "host IN A 10.0.0.9"
    for i in $(seq 40); do echo "many IN A 10.0.1.$i"; done
    for i in $(seq 8); do echo "huge IN TXT \"$i$(printf '%0199d' 0)\""; done
} >"$folder/data/big.test.dns"

printf 'Name: ns.big.test\nDNSBind: 127.0.0.1\nEDNS: YES\nTCPQueries: YES\n' >"$folder/quorvane.ini"
start_server "$folder"
wait_for "DNS service started on 127.0.0.1"
q() { dig @127.0.0.1 +tries=1 +time=2 +nocookie "$@"; }
# One reply in a line: "STATUS flags answers=N size=BYTES edns=VERSION/UDP" (edns=none without OPT).
# The answer section must hold as many records as the header counts, so a cut inside a record fails.
reply() {
    q "$@" >"$WORK/reply" || fail "no reply to $*"
    local count lines edns
    count=$(sed -n 's/.* ANSWER: \([0-9]*\),.*/\1/p' "$WORK/reply")
    lines=$(sed -n '/ANSWER SECTION/,/^$/p' "$WORK/reply" | grep -cv '^;\|^$' || true)
    [ "$count" = "$lines" ] && ! grep -qi 'malformed\|bad packet' "$WORK/reply" ||
        fail "$*: the header counts $count answers, the message holds $lines: $(cat "$WORK/reply")"
    edns=$(sed -n 's/^; EDNS: version: \([0-9]*\), flags:.*; udp: \([0-9]*\)$/\1\/\2/p' "$WORK/reply")
    echo "$(sed -n 's/.*status: \([A-Z]*\).*/\1/p' "$WORK/reply") $(sed -n 's/^;; flags: \([a-z ]*\);.*/\1/p' "$WORK/reply")" \
        "answers=$count size=$(sed -n 's/.*MSG SIZE  rcvd: \([0-9]*\)$/\1/p' "$WORK/reply") edns=${edns:-none}"
}
# Checks that reply $1 matches the pattern $2 and that its size is at most $3 bytes.
expect() {
    # shellcheck disable=SC2053 # $2 is a pattern
    [[ $1 == $2 ]] || fail "reply '$1', expected '$2'"
    local size=${1#*size=}
    [ "${size%% *}" -le "$3" ] || fail "reply '$1' is larger than $3 bytes"
}

expect "$(reply +bufsize=512 +ignore many.big.test A)" "NOERROR qr aa tc rd ra answers=[1-3][0-9] size=* edns=0/1232" 512
expect "$(reply +noedns +ignore many.big.test A)" "NOERROR qr aa tc rd ra answers=[1-3][0-9] size=* edns=none" 512
expect "$(reply +bufsize=1232 many.big.test A)" "NOERROR qr aa rd ra answers=40 size=* edns=0/1232" 1232
expect "$(reply +tcp +noedns many.big.test A)" "NOERROR qr aa rd ra answers=40 size=* edns=none" 65535
expect "$(reply +bufsize=4096 +ignore huge.big.test TXT)" "NOERROR qr aa tc rd ra answers=[1-7] size=* edns=0/1232" 1232
expect "$(reply +tcp huge.big.test TXT)" "NOERROR qr aa rd ra answers=8 size=* edns=0/1232" 65535
expect "$(reply +edns=1 +noednsneg many.big.test A)" "BADVERS qr* answers=0 size=* edns=0/1232" 512
kdig @127.0.0.1 +retry=0 +timeout=2 +bufsize=512 +ignore many.big.test A >"$WORK/kdig" || fail "kdig"
grep -q ';; Flags: qr aa tc rd ra;' "$WORK/kdig" && grep -q 'Version: 0; flags: ; UDP size: 1232 B' "$WORK/kdig" ||
    fail "kdig of a truncated reply: $(cat "$WORK/kdig")"
# A reply that echoes the question (a class not implemented) states the server's size, not the client's.
expect "$(reply +bufsize=4096 many.big.test A CH)" "NOTIMP qr* answers=0 size=* edns=0/1232" 512

# --- Types not implemented ----------------------------------------------------------------------
dig @127.0.0.1 -p 53 +tries=1 +time=2 example.org HINFO >"$WORK/dig.out" || fail "dig failed"
grep -q 'status: NOTIMP' "$WORK/dig.out" || fail "dig: no NOTIMP: $(cat "$WORK/dig.out")"
grep -qE 'flags: qr rd ra;' "$WORK/dig.out" || fail "dig: flags: $(grep flags "$WORK/dig.out")"
kdig @127.0.0.1 +retry=0 +timeout=2 example.org CAA >"$WORK/kdig.out" || fail "kdig failed"
grep -q 'status: NOTIMP' "$WORK/kdig.out" || fail "kdig: no NOTIMP: $(cat "$WORK/kdig.out")"

kill -0 "$SERVER_PID" || fail "server ended"
stop_server
