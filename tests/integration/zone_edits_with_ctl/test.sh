# Records added and deleted with quorvane-ctl on a running server: the zone file keeps its
# comments, the serial goes up, the server answers the change, and NSD, a secondary named on the
# zone's "; Notify" line, serves it within a few seconds. Then quorvane-ctl drives the server
# through the reload port named in quorvane.ini: unload a zone, reload it from its edited file,
# reload everything (ReloadPort's unit test checks that other senders are ignored). Bad arguments,
# failed edits and a server it cannot reach: the ctl says why and exits non-zero.
folder="$WORK/folder"
mkdir -p "$folder/data"
printf 'Name: ns1.office.test\nDNSBind: 127.0.0.1\n' >"$folder/quorvane.ini"
ip addr add 127.0.0.11/8 dev lo
cp "$CASE_DIR/zones/office.test.dns" "$folder/data/"
zone_file() { # $1: serial, $2: address of www
    printf '@ IN SOA ns.example.test. admin.example.test. %s 3600 600 604800 300\n' "$1"
    printf '  IN NS ns\nns IN A 10.0.0.1\nwww IN A %s\n' "$2"
} >"$folder/data/example.test.dns"
zone_file 1 10.0.0.80

start_server "$folder"
wait_for 'DNS service started on 127\.0\.0\.1$'
dir="$WORK/nsd-127.0.0.11"
start_peer nsd 127.0.0.11 <"$CASE_DIR/nsd.conf"

serial() { dig @"$1" +tries=1 +time=1 +norec +short office.test SOA 2>/dev/null | awk '{ print $3 }'; }
serial_is() { [ "$(serial "$1")" = "$2" ]; }
pc1_is() { [ "$(aa_answer "$1" pc1.office.test A)" = "$2" ]; }
within 10 serial_is 127.0.0.11 2024010101 || fail "NSD took no first copy: $(tail "$dir/nsd.log")"

ctl() { "$QUORVANE_CTL" --dir "$folder" "$@" >"$WORK/ctl" 2>&1 || fail "quorvane-ctl $*: $(cat "$WORK/ctl")"; }
ctl add-record office.test 'pc1 600 A 192.168.1.50'
today=$(date +%Y%m%d)00
grep -qx "Sent 'RELOAD P office.test' to the server on 127.0.0.1:[0-9]*" "$WORK/ctl" || fail "$(cat "$WORK/ctl")"
grep -qx "; the office's own names" "$folder/data/office.test.dns" &&
    grep -qx 'ns1 IN A 127.0.0.1   ; this server' "$folder/data/office.test.dns" &&
    grep -qE "^@   IN SOA .* \\( $today ; serial\$" "$folder/data/office.test.dns" ||
    fail "zone file: $(cat "$folder/data/office.test.dns")"
within 5 pc1_is 127.0.0.1 192.168.1.50 || fail "server does not answer pc1"
within 5 pc1_is 127.0.0.11 192.168.1.50 ||
    fail "NSD does not serve pc1 (serial $(serial 127.0.0.11)): $(tail "$dir/nsd.log")"

ctl delete-record office.test 'pc1 A'
within 5 serial_is 127.0.0.11 $((today + 1)) || fail "NSD serial $(serial 127.0.0.11) after the delete"
pc1_is 127.0.0.11 "" || fail "NSD still serves pc1"
ctl records office.test
[ "$(cat "$WORK/ctl")" = "@ 86400 SOA ns1.office.test. admin.office.test. $((today + 1)) 3600 600 86400 300
@ 86400 NS ns1.office.test.
ns1 86400 A 127.0.0.1" ] || fail "records: $(cat "$WORK/ctl")"
ctl set-serial office.test 4294967295 # the largest serial there is
within 5 serial_is 127.0.0.1 4294967295 || fail "serial $(serial 127.0.0.1) after set-serial 4294967295"

# --- The reload port ------------------------------------------------------------------------------
port=$(sed -nE 's/^ReloadPort: *([0-9]+) *$/\1/p' "$folder/quorvane.ini")
[ -n "$port" ] && [ "$port" -gt 0 ] || fail "no ReloadPort in quorvane.ini: $(cat "$folder/quorvane.ini")"
[ "$(ss -Hlun "sport = :$port" | awk '{print $4}')" = "127.0.0.1:$port" ] || fail "reload port: $(ss -Hlun)"

www() { dig @127.0.0.1 +tries=1 +time=1 +norec www.example.test A >"$WORK/dig" 2>&1 || true; }
sent() { [ "$1" = "Sent '$2' to the server on 127.0.0.1:$port" ] || fail "quorvane-ctl printed '$1'"; }
www
grep -qE 'www\.example\.test\.\s.*A\s+10\.0\.0\.80$' "$WORK/dig" || fail "zone not answered: $(cat "$WORK/dig")"

ctl unload example.test.
sent "$(cat "$WORK/ctl")" 'UNLOAD example.test'
wait_for '   Removing Zone: example\.test\.$'
www
grep -q 'status: ' "$WORK/dig" && ! grep -qE 'flags: qr aa|10\.0\.0\.80' "$WORK/dig" \
    || fail "unloaded zone: $(cat "$WORK/dig")"

zone_file 2 10.0.0.81
ctl reload-zone example.test
sent "$(cat "$WORK/ctl")" 'RELOAD P example.test'
for _ in $(seq 50); do
    www
    grep -qE 'A\s+10\.0\.0\.81$' "$WORK/dig" && break
    sleep 0.1
done
grep -q 'flags: qr aa' "$WORK/dig" && grep -qE 'A\s+10\.0\.0\.81$' "$WORK/dig" \
    || fail "reloaded zone: $(cat "$WORK/dig")"

loads=$(count_lines 'Loading DNS Records\.\.\.')
ctl reload
sent "$(cat "$WORK/ctl")" 'RELOAD'
for _ in $(seq 100); do
    [ "$(count_lines 'Loading DNS Records\.\.\.')" -gt "$loads" ] && break
    sleep 0.1
done
loads=$(($(count_lines 'Loading DNS Records\.\.\.') - loads))
[ "$loads" -eq 1 ] || fail "records loaded $loads times by one reload"
stop_server


# Each failure: exit code, one line on standard error and nothing on standard output. The port
# the server had, under a key in small letters, is refused now that it is gone.
mkdir -p "$WORK/empty" "$WORK/no-port" "$WORK/stopped"
printf 'Name: ns.example.test\n' >"$WORK/no-port/quorvane.ini"
printf 'reloadport:%s\n' "$port" >"$WORK/stopped/quorvane.ini"
while IFS='|' read -r code message args; do
    rc=0
    eval "\"\$QUORVANE_CTL\" $args" >"$WORK/out" 2>"$WORK/err" || rc=$?
    [ "$rc" -eq "$code" ] && [ "$(cat "$WORK/err")" = "quorvane-ctl: $message" ] && [ ! -s "$WORK/out" ] ||
        fail "quorvane-ctl $args: exit code $rc, '$(cat "$WORK/err" "$WORK/out")'"
done <<CASES
1|cannot read record 'pc2 A 192.168.1.300'|--dir "\$folder" add-record office.test 'pc2 A 192.168.1.300'
1|no record 'pc1 A' in zone office.test.|--dir "\$folder" delete-record office.test 'pc1 A'
1|the SOA record cannot be deleted (use set-serial to change its serial)|--dir "\$folder" delete-record office.test '@ SOA'
1|no zone file $folder/data/other.test.dns|--dir "\$folder" records other.test
2|add-record needs a zone name and a record ('NAME [TTL] TYPE DATA') (see --help)|--dir "\$folder" add-record office.test
2|serial 'x' is not a number from 0 to 4294967295 (see --help)|--dir "\$folder" set-serial office.test x
1|program folder $WORK/nowhere does not exist|--dir "\$WORK/nowhere" reload
1|no quorvane.ini in $WORK/empty (has Quorvane run there?)|--dir "\$WORK/empty" reload
1|$WORK/no-port/quorvane.ini has no ReloadPort line (is Quorvane running there?)|--dir "\$WORK/no-port" unload example.test
1|no server is listening on 127.0.0.1:$port (is Quorvane running?)|--dir "\$WORK/stopped" reload-zone example.test
2|unload needs a zone name (see --help)|--dir "\$WORK/stopped" unload .
2|reload-zone needs a zone name (see --help)|--dir "\$WORK/stopped" reload-zone
2|unknown command: restart (see --help)|--dir "\$WORK/stopped" restart
CASES
"$QUORVANE_CTL" --version | grep -qE '^quorvane-ctl \(Quorvane [0-9]+\.[0-9]{2}\.[0-9]{4}\)$' || fail "--version"
