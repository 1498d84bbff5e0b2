# quorvane-ctl drives the running server through the reload port named in quorvane.ini: unload a
# zone, reload it from its edited file, reload everything; a command from another address than
# 127.0.0.1 is ignored. When it cannot reach a server, the ctl says why and exits non-zero.
folder="$WORK/folder"
mkdir -p "$folder/data"
zone_file() { # $1: serial, $2: address of www
    printf '@ IN SOA ns.example.test. admin.example.test. %s 3600 600 604800 300\n' "$1"
    printf '  IN NS ns\nns IN A 10.0.0.1\nwww IN A %s\n' "$2"
} >"$folder/data/example.test.dns"
zone_file 1 10.0.0.80

start_server "$folder"
wait_for 'DNS service started\.$'
port=$(sed -nE 's/^ReloadPort: *([0-9]+) *$/\1/p' "$folder/quorvane.ini")
[ -n "$port" ] && [ "$port" -gt 0 ] || fail "no ReloadPort in quorvane.ini: $(cat "$folder/quorvane.ini")"
[ "$(ss -Hlun "sport = :$port" | awk '{print $4}')" = "127.0.0.1:$port" ] || fail "reload port: $(ss -Hlun)"

ctl() { "$QUORVANE_CTL" --dir "$folder" "$@" || fail "quorvane-ctl $*: exit code $?"; }
www() { dig @127.0.0.1 +tries=1 +time=1 +norec www.example.test A >"$WORK/dig" 2>&1 || true; }
sent() { [ "$1" = "Sent '$2' to the server on 127.0.0.1:$port" ] || fail "quorvane-ctl printed '$1'"; }
www
grep -qE 'www\.example\.test\.\s.*A\s+10\.0\.0\.80$' "$WORK/dig" || fail "zone not answered: $(cat "$WORK/dig")"

sent "$(ctl unload example.test.)" 'UNLOAD example.test'
wait_for '   Removing Zone: example\.test\.$'
www
grep -q 'status: ' "$WORK/dig" && ! grep -qE 'flags: qr aa|10\.0\.0\.80' "$WORK/dig" \
    || fail "unloaded zone: $(cat "$WORK/dig")"

zone_file 2 10.0.0.81
sent "$(ctl reload-zone example.test)" 'RELOAD P example.test'
for _ in $(seq 50); do
    www
    grep -qE 'A\s+10\.0\.0\.81$' "$WORK/dig" && break
    sleep 0.1
done
grep -q 'flags: qr aa' "$WORK/dig" && grep -qE 'A\s+10\.0\.0\.81$' "$WORK/dig" \
    || fail "reloaded zone: $(cat "$WORK/dig")"

# 127.0.0.2 is this machine too, but only 127.0.0.1 may command: the "RELOAD" from there is dropped.
loads=$(count_lines 'Loading DNS Records\.\.\.')
python3 - "$port" <<'PY'
import socket, sys
s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
s.bind(("127.0.0.2", 0))
s.sendto(b"RELOAD", ("127.0.0.1", int(sys.argv[1])))
PY
sleep 0.5
sent "$(ctl reload)" 'RELOAD'
for _ in $(seq 100); do
    [ "$(count_lines 'Loading DNS Records\.\.\.')" -gt "$loads" ] && break
    sleep 0.1
done
loads=$(($(count_lines 'Loading DNS Records\.\.\.') - loads))
[ "$loads" -eq 1 ] || fail "records loaded $loads times by one reload (the one from 127.0.0.2 obeyed?)"
stop_server

# Each way the ctl cannot reach a server: exit code and the one line on standard error. The port
# the server had, under a key in small letters, is refused now that it is gone.
mkdir -p "$WORK/empty" "$WORK/no-port" "$WORK/stopped"
printf 'Name: ns.example.test\n' >"$WORK/no-port/quorvane.ini"
printf 'reloadport:%s\n' "$port" >"$WORK/stopped/quorvane.ini"
while IFS='|' read -r dir words code message; do
    rc=0
    # shellcheck disable=SC2086 # the command's words split on purpose
    "$QUORVANE_CTL" --dir "$dir" $words >"$WORK/out" 2>"$WORK/err" || rc=$?
    [ "$rc" -eq "$code" ] && [ "$(cat "$WORK/err")" = "quorvane-ctl: $message" ] && [ ! -s "$WORK/out" ] \
        || fail "quorvane-ctl --dir $dir $words: exit code $rc, '$(cat "$WORK/err" "$WORK/out")'"
done <<CASES
$WORK/nowhere|reload|1|program folder $WORK/nowhere does not exist
$WORK/empty|reload|1|no quorvane.ini in $WORK/empty (has Quorvane run there?)
$WORK/no-port|unload example.test|1|$WORK/no-port/quorvane.ini has no ReloadPort line (is Quorvane running there?)
$WORK/stopped|reload-zone example.test|1|no server is listening on 127.0.0.1:$port (is Quorvane running?)
$WORK/stopped|unload .|2|unload needs a zone name (see --help)
$WORK/stopped|reload-zone|2|reload-zone needs a zone name (see --help)
$WORK/stopped|restart|2|unknown command: restart (see --help)
CASES
"$QUORVANE_CTL" --version | grep -qE '^quorvane-ctl \(Quorvane [0-9]+\.[0-9]{2}\.[0-9]{4}\)$' || fail "--version"
