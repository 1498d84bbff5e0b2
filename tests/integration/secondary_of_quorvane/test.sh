# One Quorvane copies a zone from another: the primary on 127.0.0.1 names 127.0.0.2 on the zone's
# "; Notify" line (and lets anyone transfer it), the secondary on 127.0.0.2 holds only
# "; PrimaryIP 127.0.0.1". The secondary takes the zone at start and answers as the primary does;
# then a new file on the primary (CheckNew scan) is announced with NOTIFY, and the secondary
# serves the new version within 6 s. The SOA refresh is an hour, so only the NOTIFY can do that.
primary="$WORK/primary"
secondary="$WORK/secondary"
mkdir -p "$primary/data" "$secondary/data"
printf 'Name: ns1.q.test\nDNSBind: 127.0.0.1\nCheckNew: 1\nLogDetail: YES\n' >"$primary/quorvane.ini"
printf 'Name: ns2.q.test\nDNSBind: 127.0.0.2\nLogDetail: YES\n' >"$secondary/quorvane.ini"

# Version $1 of the zone: the serial, www and the TXT follow it, and onlyN exists only in version N.
zone_text() {
    cat <<ZONE
; Notify 127.0.0.2
; NotSecure
@       IN SOA ns1.q.test. admin.q.test. ( 202612010$1 3600 600 86400 300 )
        IN NS  ns1
        IN NS  ns2
        IN MX  10 mail
ns1     IN A   127.0.0.1
ns2     IN A   127.0.0.2
mail    IN A   192.0.2.25
www     IN A   192.0.2.8$1
only$1   IN TXT "version $1"
ZONE
}

# The answers of server $1 to a fixed set of questions, flags and records without TTL, sorted.
view() {
    local question
    for question in "q.test SOA" "q.test NS" "q.test MX" "www.q.test A" "only1.q.test TXT" "only2.q.test TXT"; do
        # shellcheck disable=SC2086 # name and type
        printf '%s: %s\n' "$question" "$(aa_answer "$1" $question | sort | paste -sd'|')"
    done
}
# True when the secondary answers as the primary does, and the primary serves version $1.
in_step() {
    [ "$(aa_answer 127.0.0.1 q.test SOA | awk '{ print $3 }')" = "202612010$1" ] &&
        [ "$(view 127.0.0.2)" = "$(view 127.0.0.1)" ]
}
primary_log() { printf '\n--- primary stdout:\n%s' "$(cat "$WORK/primary.stdout")"; }

zone_text 1 >"$primary/data/q.test.dns"
printf '; PrimaryIP 127.0.0.1\n' >"$secondary/data/q.test.dns"
# The primary runs beside the server that lib.sh watches (the secondary), with its own output.
"$QUORVANE" --headless --dir "$primary" >"$WORK/primary.stdout" 2>&1 &
primary_pid=$!
started "$primary_pid"
within 10 grep -q 'DNS service started on 127\.0\.0\.1$' "$WORK/primary.stdout" || fail "primary did not start$(primary_log)"
start_server "$secondary"
wait_for "DNS service started on 127.0.0.2"

within 10 in_step 1 || fail "the secondary does not answer as the primary after 10 s:
$(view 127.0.0.2)
instead of
$(view 127.0.0.1)$(primary_log)"
[ "$(head -1 "$secondary/data/q.test.dns")" = "; PrimaryIP 127.0.0.1" ] ||
    fail "q.test.dns starts: $(head -1 "$secondary/data/q.test.dns")"

# --- A new file on the primary, announced with NOTIFY --------------------------------------------
zone_text 2 >"$primary/data/q.test.part"
mv "$primary/data/q.test.part" "$primary/data/q.test.new"
start=$SECONDS
within 6 in_step 2 || fail "the secondary does not serve version 2 6 s after the new file:
$(view 127.0.0.2)
instead of
$(view 127.0.0.1)$(primary_log)"
echo "version 2 served after $((SECONDS - start)) s"
grep -qE 'Sending Zone Update Notification to 127\.0\.0\.2 about q\.test\.?$' "$WORK/primary.stdout" ||
    fail "the primary sent no notification$(primary_log)"
[ "$(count_lines 'Zone Update Notification from 127\.0\.0\.1 about q\.test\.')" -ge 1 ] || fail "no notification in the secondary's log"
[ "$(count_lines 'Receiving Zone Transfer from 127\.0\.0\.1 for q\.test\.')" -eq 2 ] || fail "not two transfers"

stop_server
SERVER_PID=$primary_pid stop_server
