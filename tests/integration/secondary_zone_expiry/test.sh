# A secondary zone outlives its primary only until the SOA expire time: Quorvane takes exp.test.
# from an NSD primary on 127.0.0.21 (expire 20 s), NSD is stopped, and the first poll after the
# expire time drops the zone: its file keeps only the header line and its names are answered
# without records and without AA, while the zone of Quorvane's own is still answered. Once NSD is
# back, the reload command brings the zone back at once.
folder="$WORK/folder"
mkdir -p "$folder/data" "$WORK/zones"
printf 'Name: ns.quorvane.test\nDNSBind: 127.0.0.1\nLogDetail: YES\n' >"$folder/quorvane.ini"
printf '@ IN SOA ns.own.test. admin.own.test. 1 3600 600 604800 300\nhost IN A 10.0.0.9\n' >"$folder/data/own.test.dns"
printf '; PrimaryIP 127.0.0.21\n' >"$folder/data/exp.test.dns"
cat >"$WORK/zones/exp.test.zone" <<'ZONE'
$ORIGIN exp.test.
$TTL 5
@       IN SOA ns.exp.test. admin.exp.test. ( 2026120101 5 5 20 5 )
        IN NS  ns
ns      IN A   127.0.0.21
www     IN A   192.0.2.1
ZONE
start_primary() { NSD_ZONE_OPTIONS="provide-xfr: 127.0.0.1 NOKEY" start_nsd 127.0.0.21 exp.test. "$WORK/zones/exp.test.zone"; }
start_primary

transfers() { count_lines 'Receiving Zone Transfer from 127.0.0.21 for exp\.test\.'; }
www_served() { [ "$(aa_answer 127.0.0.1 www.exp.test A)" = 192.0.2.1 ]; }
own_served() { [ "$(aa_answer 127.0.0.1 host.own.test A)" = 10.0.0.9 ] || fail "own.test not answered"; }

start_server "$folder"
wait_for "DNS service started on 127.0.0.1"
within 10 www_served || fail "exp.test not served after 10 s"
[ "$(transfers)" -eq 1 ] || fail "$(transfers) transfer lines, expected 1"

# --- The primary gone: the zone expires --------------------------------------------------------
kill -TERM "$NSD_PID"
timeout 10 tail --pid="$NSD_PID" -f /dev/null || fail "nsd did not stop"
start=$SECONDS
within 85 grep -qE '^[0-9:]{8}   Zone has expired: exp\.test\.$' "$WORK/stdout" || fail "no expiry 85 s after the primary stopped"
echo "expired after $((SECONDS - start)) s"
[ "$(head -1 "$folder/data/exp.test.dns")" = "; PrimaryIP 127.0.0.21" ] || fail "exp.test.dns lost its header"
grep -qv '^;' "$folder/data/exp.test.dns" && fail "records left in exp.test.dns: $(cat "$folder/data/exp.test.dns")"
for name in www.exp.test exp.test; do
    dig @127.0.0.1 +tries=1 +time=2 +norec "$name" A >"$WORK/dig.out" || fail "no reply for $name"
    grep -qE 'flags:[a-z ]* aa[ ;]' "$WORK/dig.out" && fail "$name answered with AA after expiry: $(cat "$WORK/dig.out")"
    grep -q 'ANSWER: 0,' "$WORK/dig.out" || fail "$name answered after expiry: $(cat "$WORK/dig.out")"
done
own_served

# --- The primary back, and the reload command ---------------------------------------------------
start_primary
"$QUORVANE_CTL" --dir "$folder" reload-zone exp.test || fail "quorvane-ctl reload-zone failed"
within 5 www_served || fail "exp.test not served again 5 s after the reload command"
[ "$(transfers)" -eq 2 ] || fail "$(transfers) transfer lines, expected 2"
grep -q '192\.0\.2\.1' "$folder/data/exp.test.dns" || fail "exp.test.dns not written again: $(cat "$folder/data/exp.test.dns")"
own_served
stop_server
