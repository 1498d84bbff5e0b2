# Records added and deleted with quorvane-ctl on a running server: the zone file keeps its
# comments, the serial goes up, the server answers the change, and NSD, a secondary named on the
# zone's "; Notify" line, serves it within a few seconds. Bad arguments and failed edits say why.
folder="$WORK/folder"
mkdir -p "$folder/data"
printf 'Name: ns1.office.test\nDNSBind: 127.0.0.1\n' >"$folder/quorvane.ini"
ip addr add 127.0.0.11/8 dev lo
cat >"$folder/data/office.test.dns" <<'ZONE'
; Notify 127.0.0.11
; the office's own names
@   IN SOA ns1.office.test. admin.office.test. ( 2024010101 ; serial
        3600 600 86400 300 )
    IN NS ns1
ns1 IN A 127.0.0.1   ; this server
ZONE

dir="$WORK/nsd"
mkdir -p "$dir"
{
    nsd_server_conf 127.0.0.11 "$dir"
    printf 'zone:\n    name: "office.test"\n    zonefile: "%s/office.test.zone"\n' "$dir"
    printf '    request-xfr: 127.0.0.1 NOKEY\n    allow-notify: 127.0.0.1 NOKEY\n'
    printf '    outgoing-interface: 127.0.0.11\n'
} >"$dir/nsd.conf"
start_server "$folder"
wait_for 'DNS service started on 127\.0\.0\.1$'
nsd -d -c "$dir/nsd.conf" >"$dir/stdout" 2>&1 &
started $!

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

# Each failure: exit code and one line on standard error.
while IFS='|' read -r code message args; do
    rc=0
    eval "\"\$QUORVANE_CTL\" --dir \"\$folder\" $args" >"$WORK/out" 2>"$WORK/err" || rc=$?
    [ "$rc" -eq "$code" ] && [ "$(cat "$WORK/err")" = "quorvane-ctl: $message" ] ||
        fail "quorvane-ctl $args: exit code $rc, '$(cat "$WORK/err")'"
done <<CASES
1|cannot read record 'pc2 A 192.168.1.300'|add-record office.test 'pc2 A 192.168.1.300'
1|no record 'pc1 A' in zone office.test.|delete-record office.test 'pc1 A'
1|the SOA record cannot be deleted (use set-serial to change its serial)|delete-record office.test '@ SOA'
1|no zone file $folder/data/other.test.dns|records other.test
2|add-record needs a zone name and a record ('NAME [TTL] TYPE DATA') (see --help)|add-record office.test
2|serial 'x' is not a number from 0 to 4294967295 (see --help)|set-serial office.test x
CASES
