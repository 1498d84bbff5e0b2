# Quorvane forwards over TLS to a real Unbound serving DNS over TLS on 127.0.0.2:853, in front of
# an NSD on 127.0.0.3 that holds tlszone. (a wildcard answers every name). Certificates come from
# a certificate authority this case makes. A sink on 127.0.0.2 port 53 shows nothing goes in
# clear; 200 questions share a handful of connections (with QueryHardening, so answers must come
# from the TLS port they were asked on). Then a certificate for another name, and
# one under an authority Quorvane does not trust: no answer taken, a server failure, the log line.
# Last, Quorvane serves DNS over TLS on 853 with the same certificate to kdig and dig: the answers
# are those over UDP; without the certificate settings nothing listens on 853.
pki="$WORK/pki"
mkdir -p "$pki"
make_ca() {
    openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=$1" -keyout "$pki/$1.key" -out "$pki/$1.pem" 2>/dev/null ||
        fail "certificate authority $1"
}
make_ca test-ca
make_ca stranger-ca
openssl req -newkey rsa:2048 -nodes -subj "/CN=dot.example" -addext "subjectAltName=DNS:dot.example" \
    -keyout "$pki/dot.key" -out "$pki/dot.csr" 2>/dev/null || fail "certificate request"
openssl x509 -req -in "$pki/dot.csr" -CA "$pki/test-ca.pem" -CAkey "$pki/test-ca.key" -CAcreateserial -days 2 \
    -copy_extensions copy -out "$pki/dot.pem" 2>/dev/null || fail "signing the certificate"

start_nsd 127.0.0.3 tlszone. "$CASE_DIR/zones/tlszone.zone"

ub="$WORK/unbound-127.0.0.2"
PEER_KEY="$pki/dot.key" PEER_PEM="$pki/dot.pem" start_peer unbound 127.0.0.2 <<CONF
stub-zone:
    name: "tlszone."
    stub-addr: 127.0.0.3
CONF
within 10 kdig @127.0.0.2 +tls-ca="$pki/test-ca.pem" +tls-hostname=dot.example +time=1 +retry=0 www.tlszone A |
    grep -q '192.0.2.7' || fail "unbound over TLS: $(cat "$ub/unbound.log" "$ub/stdout")"

# Anything sent to the forwarder's clear-text port is written down.
python3 - >"$WORK/clear" 2>&1 <<'PY' &
import select, socket
udp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM); udp.bind(("127.0.0.2", 53))
tcp = socket.socket(); tcp.bind(("127.0.0.2", 53)); tcp.listen(8)
print("ready", flush=True)
while True:
    for s in select.select([udp, tcp], [], [], 120)[0]:
        print("udp" if s is udp else "tcp", flush=True)
        if s is udp: s.recvfrom(4096)
        else: s.accept()[0].close()
PY
started $!
within 5 grep -qs ready "$WORK/clear" || fail "sink"

folder="$WORK/folder"
mkdir -p "$folder/data" "$folder/logs"
run_quorvane() {
    printf 'Name: resolver.lan\nDNSBind: 127.0.0.1\nRecursionOut: YES\nQueryHardening: YES\nNS: 127.0.0.2 tls %s\nTLSCAFile: %s\n%s' "$1" "$2" \
        "${3:-}" >"$folder/quorvane.ini"
    start_server "$folder"
    wait_for "DNS service started on 127.0.0.1"
}
q() { dig @127.0.0.1 +tries=1 +nocookie "$@"; }

run_quorvane dot.example "$pki/test-ca.pem"
[ "$(q +time=5 +short www.tlszone A)" = 192.0.2.7 ] || fail "www over TLS: $(q +time=5 www.tlszone A)"
seq 200 | xargs -P 20 -I{} dig @127.0.0.1 +tries=1 +time=5 +short n{}.tlszone A >"$WORK/many"
[ "$(grep -c '^192.0.2.9$' "$WORK/many")" -eq 200 ] || fail "200 names: $(sort "$WORK/many" | uniq -c)"
connections=$(ss -Htan 'dst 127.0.0.2:853' | wc -l)
[ "$connections" -ge 1 ] && [ "$connections" -le 4 ] || fail "$connections connections to the forwarder"
grep -q 'TLS connection' "$WORK/stdout" && fail "a failure was logged: $(grep 'TLS connection' "$WORK/stdout")"
stop_server

# A certificate for another name, and one from an authority not trusted: refused, never asked in clear.
for case in "other.example $pki/test-ca.pem" "dot.example $pki/stranger-ca.pem"; do
    set -- $case
    run_quorvane "$1" "$2"
    q +time=20 www.tlszone A >"$WORK/refused"
    grep -q 'status: SERVFAIL' "$WORK/refused" || fail "$1 under $2: $(cat "$WORK/refused")"
    [ "$(count_lines "TLS connection to 127.0.0.2 \($1\) failed: .*")" -eq 1 ] ||
        fail "failure lines: $(grep 'TLS connection' "$WORK/stdout")"
    stop_server
done
[ ! -s "$WORK/clear" ] || [ "$(grep -vc ready "$WORK/clear")" -eq 0 ] || fail "sent in clear: $(cat "$WORK/clear")"

# Served: kdig and dig over TLS get what UDP gets; the log says the service started.
run_quorvane dot.example "$pki/test-ca.pem" "TLSCertFile: $pki/dot.pem
TLSKeyFile: $pki/dot.key
"
wait_for "DNS over TLS service started."
tls_opts="+tls-ca=$pki/test-ca.pem +tls-hostname=dot.example"
# A client that comes and goes before the server has made any TLS connection of its own.
# shellcheck disable=SC2086
kdig @127.0.0.1 $tls_opts +norec +time=2 +retry=0 nothing.tlszone A >/dev/null 2>&1 || true
sleep 0.5
kill -0 "$SERVER_PID" 2>/dev/null || fail "the server ended when a TLS client left"
for name in www.tlszone n7.tlszone resolver.lan; do
    udp=$(q +time=5 +short "$name" A)
    [ -n "$udp" ] || [ "$name" = resolver.lan ] || fail "no UDP answer for $name"
    # shellcheck disable=SC2086 # the options are words
    [ "$(kdig @127.0.0.1 $tls_opts +time=5 +retry=0 +short "$name" A)" = "$udp" ] || fail "kdig +tls $name"
    # shellcheck disable=SC2086
    [ "$(dig @127.0.0.1 $tls_opts +tries=1 +time=5 +short "$name" A)" = "$udp" ] || fail "dig +tls $name"
done
kdig @127.0.0.1 +tls-ca="$pki/stranger-ca.pem" +tls-hostname=dot.example +time=2 +retry=0 www.tlszone A >"$WORK/stranger" 2>&1 &&
    grep -q 'status: NOERROR' "$WORK/stranger" && fail "a client that does not trust the certificate got an answer"
stop_server
run_quorvane dot.example "$pki/test-ca.pem"
ss -Hltn 'src 127.0.0.1:853' | grep -q . && fail "853 open without a certificate"
stop_server
