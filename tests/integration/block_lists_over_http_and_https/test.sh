# Block lists of each form from a file, a local HTTP server and a local HTTPS server whose
# certificate comes from a CA this test makes (trusted through CURL_CA_BUNDLE; the program checks
# certificates always): dig sees blocked, allowed and local names; a second fetch is answered 304;
# a fetch failure is logged once; restarted with the servers gone, the saved copies still block.
folder="$WORK/folder" web="$WORK/web"
mkdir -p "$folder/data" "$web"
printf '@ IN SOA ns.lan. admin.lan. 1 3600 600 86400 300\nhost IN A 10.0.0.1\n' >"$folder/data/lan.dns"
printf '# hosts form\n0.0.0.0 hosts.ads.test\n127.0.0.1 host.lan\n0.0.0.0 localhost\n' >"$folder/local.txt"
printf 'plain.ads.test\n*.wild.ads.test\n/ads/banner.js\n' >"$web/plain.txt"
printf '! adblock\n||adblock.ads.test^\n@@||ok.adblock.ads.test^\n||x.test^$third-party\n' >"$web/adblock.txt"
cat >"$folder/quorvane.ini" <<INI
BlockList: local.txt
BlockList: http://127.0.0.2:8080/plain.txt
BlockList: https://127.0.0.3:8443/adblock.txt
AllowList: ok.plain.ads.test
INI

# The CA and the HTTPS server's certificate, for the address it is reached at.
openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=Test-CA -keyout "$WORK/ca.key" -out "$WORK/ca.pem" 2>/dev/null
openssl req -newkey rsa:2048 -nodes -subj /CN=127.0.0.3 -keyout "$WORK/tls.key" -out "$WORK/tls.csr" 2>/dev/null
printf 'subjectAltName=IP:127.0.0.3\n' >"$WORK/san"
openssl x509 -req -in "$WORK/tls.csr" -CA "$WORK/ca.pem" -CAkey "$WORK/ca.key" -CAcreateserial -days 2 \
    -extfile "$WORK/san" -out "$WORK/tls.pem" 2>/dev/null
ip addr add 127.0.0.2/8 dev lo 2>/dev/null || true
ip addr add 127.0.0.3/8 dev lo 2>/dev/null || true
(cd "$web" && exec python3 -m http.server --bind 127.0.0.2 8080 2>"$WORK/http.log") &
HTTP_PID=$!
started $HTTP_PID
python3 - "$web" "$WORK/tls.pem" "$WORK/tls.key" 2>"$WORK/https.log" <<'PY' &
import functools, http.server, ssl, sys
handler = functools.partial(http.server.SimpleHTTPRequestHandler, directory=sys.argv[1])
server = http.server.ThreadingHTTPServer(("127.0.0.3", 8443), handler)
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(sys.argv[2], sys.argv[3])
server.socket = context.wrap_socket(server.socket, server_side=True)
server.serve_forever()
PY
HTTPS_PID=$!
started $HTTPS_PID
within 10 bash -c "ss -Hltn 'sport = :8443' | grep -q . && ss -Hltn 'sport = :8080' | grep -q ." || fail "web servers"

export CURL_CA_BUNDLE="$WORK/ca.pem"
start_server "$folder"
wait_for 'Block list local\.txt: 2 names \(0 lines skipped\)$'
wait_for 'Block list http://127\.0\.0\.2:8080/plain\.txt: 2 names \(1 lines skipped\)$'
wait_for 'Block list https://127\.0\.0\.3:8443/adblock\.txt: 2 names \(1 lines skipped\)$'
answer() { dig @127.0.0.1 +tries=1 +time=2 +short "$1" A 2>/dev/null | tail -1; }
blocked_all() {
    local name
    for name in hosts.ads.test a.plain.ads.test w.wild.ads.test adblock.ads.test; do
        [ "$(answer $name)" = 0.0.0.0 ] || return 1
    done
}
blocked_all || fail "blocked names: $(for n in hosts.ads.test a.plain.ads.test adblock.ads.test; do answer $n; done)"
# (Allow lists, exceptions and local data named on a list:
# BlockLists.LocalDataAllowListAndExemptClientsWinAliasesAreFollowed.)

"$QUORVANE_CTL" --dir "$folder" update-lists >/dev/null || fail "quorvane-ctl update-lists"
within 10 grep -q '"GET /plain.txt HTTP/1.1" 304' "$WORK/http.log" || fail "no 304: $(cat "$WORK/http.log")"
within 10 grep -q '"GET /adblock.txt HTTP/1.1" 304' "$WORK/https.log" || fail "no 304: $(cat "$WORK/https.log")"

# The servers go; a fetch fails, once in the log however often it is tried; a restart blocks from
# the saved copies.
kill $HTTP_PID $HTTPS_PID
wait $HTTP_PID $HTTPS_PID 2>/dev/null || true
"$QUORVANE_CTL" --dir "$folder" update-lists >/dev/null
wait_for 'Block list http://127\.0\.0\.2:8080/plain\.txt: fetch failed: .+'
"$QUORVANE_CTL" --dir "$folder" update-lists >/dev/null
sleep 1
[ "$(grep -c 'plain\.txt: fetch failed' "$WORK/stdout")" -eq 1 ] || fail "failure logged more than once"
stop_server
start_server "$folder"
wait_for 'Block list https://127\.0\.0\.3:8443/adblock\.txt: 2 names \(1 lines skipped\)$'
blocked_all || fail "blocked names after a restart without the web servers"
stop_server
