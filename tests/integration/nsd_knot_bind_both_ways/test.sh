# Three real peers, each on its own loopback address: NSD on 127.0.0.21, Knot on 127.0.0.22, BIND
# on 127.0.0.23. Each is the primary of two zones that Quorvane takes in: it NOTIFYs Quorvane about
# n-PEER.test and not about r-PEER.test. And each is a secondary of example.test, Quorvane's own
# zone, whose "; Notify" line names all three. The zone is NotSecure, since the second Quorvane
# below asks from 127.0.0.1 (ZoneTransfer's unit tests check who may transfer a Secure zone).
# As secondary, Quorvane transfers every zone at start, answers it with AA and writes it back to its
# file; when all six change on the primaries, the notified zones are served anew within 6 s, the
# others at the next 60-s poll. Knot answers the request marker after the question with FORMERR,
# so Quorvane asks it once more without the marker, once for the life of the process; and Knot
# sends its NOTIFY over TCP only.
# As primary, Quorvane announces three versions of example.test with NOTIFY (the reload command, a
# new file picked up by the CheckNew scan, an edit of the file followed by the reload command) and
# each secondary serves each version within 10 s; a second Quorvane on 127.0.0.25 is one of
# them. Its SOA refresh is an hour, so only the NOTIFY can do that. (Expiry when the primary is
# gone is SecondaryZones.TheWatchdogRetriesKeepsOldRecordsAndExpiresZonesInItsOrder's.)
folder="$WORK/folder"
mkdir -p "$folder/data"
printf 'Name: ns1.example.test\nDNSBind: 127.0.0.1\nLogDetail: YES\nCheckNew: 1\n' >"$folder/quorvane.ini"

ZONES="n-nsd.test r-nsd.test n-knot.test r-knot.test n-bind.test r-bind.test"
PEERS="127.0.0.21:nsd 127.0.0.22:knot 127.0.0.23:bind"
SECONDARIES="$PEERS 127.0.0.25:quorvane"
peer_of() { local peer=${1#*-} && echo "${peer%.test}"; }
primary_of() { case $1 in *nsd.test) echo 127.0.0.21 ;; *knot.test) echo 127.0.0.22 ;; *bind.test) echo 127.0.0.23 ;; esac; }
dir_of() { echo "$WORK/$(peer_of "$1")-$(primary_of "$1")"; }

# Version $2 of zone $1 on its primary: the serial and www follow it, and onlyN exists only in
# version N, so that a record kept from an older version is caught. Short timers: refresh and
# retry 5 s, expire 20 s.
zone_text() {
    sed -e "s/@ZONE@/$1/g" -e "s/@PRIMARY@/$(primary_of "$1")/g" -e "s/@V@/$2/g" "$CASE_DIR/peers/primary.zone"
}
write_zones() { # version $1, into each primary's folder
    local zone file
    for zone in $ZONES; do
        file="$(dir_of "$zone")/$zone.zone"
        mkdir -p "$(dirname "$file")"
        zone_text "$zone" "$1" >"$file.part"
        mv "$file.part" "$file"
    done
}

# Version $1 of Quorvane's own zone, written to file $2: the serial, web's address and the TXT
# follow it, and onlyN exists only in version N.
own_zone() {
    sed "s/@V@/$1/g" "$CASE_DIR/own.zone" >"$2.part"
    mv "$2.part" "$2"
}
# What every secondary must answer for version $1, in the form view prints.
expected() { sed "s/@V@/$1/g" "$CASE_DIR/expected.txt" | sort; }
# The answers of server $1 to a fixed set of questions, without TTL and class, sorted.
view() {
    local question
    for question in "example.test SOA" "example.test NS" "example.test MX" "www.example.test A" \
        "txt.example.test TXT" "only1.example.test A" "only2.example.test A" "only3.example.test A"; do
        # shellcheck disable=SC2086 # name and type
        dig @"$1" +tries=1 +time=1 +norec +noall +answer $question
    done | awk '{ out = $1; for (i = 4; i <= NF; ++i) out = out " " $i; print out }' | sort
}
serial_at() { dig @"$1" +tries=1 +time=1 +norec +short "${2:-example.test}" SOA 2>/dev/null | awk '{ print $3 }'; }
secondaries_serve() {
    local peer
    for peer in $SECONDARIES; do [ "$(serial_at "${peer%%:*}")" = "202611230$1" ] || return 1; done
}
# Waits up to 10 s until every secondary serves version $1 of example.test, then compares their
# answers with it. $2 names the step for the messages.
all_serve() {
    local start=$SECONDS peer
    within 10 secondaries_serve "$1" || fail "$2: not every secondary serves serial 202611230$1 after 10 s$(peer_logs)"
    echo "$2: every secondary serves serial 202611230$1 after $((SECONDS - start)) s"
    for peer in $SECONDARIES; do
        [ "$(view "${peer%%:*}")" = "$(expected "$1")" ] ||
            fail "$2: ${peer#*:} answers
$(view "${peer%%:*}")
instead of
$(expected "$1")"
    done
}

# True when the primary of zone $1 serves version $2.
primary_has() { [ "$(serial_at "$(primary_of "$1")" "$1")" = "202612010$2" ]; }
# True when Quorvane answers version $2 of zone $1 with AA, and nothing of the other version.
serves() {
    local other=$(($2 == 1 ? 2 : 1))
    [ "$(aa_answer 127.0.0.1 "www.$1" A)" = "192.0.2.$2" ] &&
        [ "$(aa_answer 127.0.0.1 "$1" SOA | awk '{ print $3 }')" = "202612010$2" ] &&
        [ "$(aa_answer 127.0.0.1 "only$2.$1" TXT)" = "\"version $2\"" ] &&
        [ -z "$(aa_answer 127.0.0.1 "only$other.$1" TXT)" ]
}
transfers() { count_lines "Receiving Zone Transfer from $(primary_of "$1") for ${1//./\\.}\\."; }
sent() { count_lines "Sending Zone $1 to ${2//./\\.} (for|about) example\\.test\\.?"; }
ixfr_from() { count_lines "Zone Transfer Request from ${1//./\\.} for example\\.test\\. \\(IXFR\\)"; }

# Each peer runs as it comes: as a secondary, each asks for IXFR once it holds the zone (NSD would
# not fall back to AXFR if that were refused), and gets the whole zone.
write_zones 1
start_peer nsd 127.0.0.21 <"$CASE_DIR/peers/nsd.conf"
nsd_pid=$PEER_PID
knot="$WORK/knot-127.0.0.22"
start_peer knot 127.0.0.22 < <(sed "s|@DIR@|$knot|" "$CASE_DIR/peers/knot.conf")
# SIGHUP makes named reload changed zone files.
start_peer bind 127.0.0.23 <"$CASE_DIR/peers/bind.conf"
BIND_PID=$PEER_PID
for zone in $ZONES; do
    within 10 primary_has "$zone" 1 || fail "the primary of $zone does not serve it$(peer_logs)"
    dig @"$(primary_of "$zone")" +tries=1 +time=2 "$zone" AXFR | grep -q "^www\.$zone\..*192\.0\.2\.1$" ||
        fail "the primary of $zone does not give 127.0.0.1 the zone$(peer_logs)"
    printf '; PrimaryIP %s\n' "$(primary_of "$zone")" >"$folder/data/$zone.dns"
done

# --- Secondary: each zone transferred at start -------------------------------------------------
own_zone 1 "$folder/data/example.test.dns"
start_server "$folder"
wait_for "DNS service started on 127.0.0.1"
[ "$(serial_at 127.0.0.1)" = 2026112301 ] || fail "Quorvane does not serve its zone: $(serial_at 127.0.0.1)"
for zone in $ZONES; do
    within 20 serves "$zone" 1 || fail "$zone is not served after 20 s$(peer_logs)"
    [ "$(transfers "$zone")" -eq 1 ] || fail "$zone: $(transfers "$zone") transfer lines, expected 1"
    file="$folder/data/$zone.dns"
    [ "$(head -1 "$file")" = "; PrimaryIP $(primary_of "$zone")" ] || fail "$zone.dns starts: $(head -1 "$file")"
    named-checkzone -D -o - "$zone" "$file" 2>/dev/null | grep -qE "^www\.$zone\.[[:space:]]+[0-9]+[[:space:]]+IN[[:space:]]+A[[:space:]]+192\.0\.2\.1$" ||
        fail "$zone.dns does not read back with www:
$(cat "$file")"
done
echo "every zone transferred and served"

# --- Secondary: a change on every primary ------------------------------------------------------
write_zones 2
kill -HUP "$nsd_pid"
knotc -s "$knot/knot.sock" zone-reload >/dev/null || fail "knotc zone-reload"
kill -HUP "$BIND_PID"
for zone in $ZONES; do
    within 10 primary_has "$zone" 2 || fail "the primary of $zone did not load version 2$(peer_logs)"
done
start=$SECONDS
# True when every notified zone is served anew and its notification logged; the others are in
# $late, which is reported after the checks that follow. A primary still busy with its own reload
# may drop the transfer its NOTIFY asked for (NSD does at times); such a zone is in $retried and
# must come with the next poll.
notified_served() {
    local zone failed
    late="" retried=""
    for zone in n-nsd.test n-knot.test n-bind.test; do
        serves "$zone" 2 &&
            [ "$(count_lines "Zone Update Notification from $(primary_of "$zone") about ${zone//./\\.}\\.( \\(TCP\\))?")" -ge 1 ] &&
            continue
        failed=$(count_lines "Failed to receive Zone Transfer from $(primary_of "$zone") for ${zone//./\\.}\\.")
        if [ "$failed" -ge 1 ]; then
            retried="$retried $zone"
        else
            late="$late $zone"
        fi
    done
    [ -z "$late" ]
}
within 6 notified_served && echo "notified zones served anew after $((SECONDS - start)) s"

# --- Primary: the reload command, a new file, an edit and the reload command ---------------------
# The second Quorvane runs beside the one lib.sh watches, with its own output.
mkdir -p "$WORK/second/data"
printf 'Name: ns2.example.test\nDNSBind: 127.0.0.25\nLogDetail: YES\n' >"$WORK/second/quorvane.ini"
printf '; PrimaryIP 127.0.0.1\n' >"$WORK/second/data/example.test.dns"
"$QUORVANE" --headless --dir "$WORK/second" >"$WORK/second.stdout" 2>&1 &
second_pid=$!
started "$second_pid"
within 10 grep -q 'DNS service started on 127\.0\.0\.25$' "$WORK/second.stdout" || fail "the second Quorvane did not start"
"$QUORVANE_CTL" --dir "$folder" reload-zone example.test || fail "quorvane-ctl reload-zone failed"
all_serve 1 "first transfer"
own_zone 2 "$folder/data/example.test.new"
all_serve 2 "new file"
[ ! -e "$folder/data/example.test.new" ] || fail "example.test.new still there"
grep -q "202611230[2] ;" "$folder/data/example.test.dns" || fail "example.test.dns not replaced by the new file"
own_zone 3 "$folder/data/example.test.dns"
sleep 2 # two CheckNew scans: an edited .dns file alone is not reloaded
[ "$(serial_at 127.0.0.1)" = 2026112302 ] || fail "the edited file was loaded without a reload"
"$QUORVANE_CTL" --dir "$folder" reload-zone example.test || fail "quorvane-ctl reload-zone failed"
all_serve 3 "reload command"
# Each version reached every secondary (all_serve), and only Quorvane has the zone, so the transfers
# are shown, not counted: a peer's first refresh at times comes from 127.0.0.1 instead of its own
# address. The NOTIFYs are Quorvane's own doing and are counted.
for peer in $PEERS; do
    address=${peer%%:*}
    [ "$(sent "Update Notification" "$address")" -ge 3 ] || fail "${peer#*:}: $(sent "Update Notification" "$address") notifications, expected 3 or more"
    echo "${peer#*:}: $(sent Transfer "$address") transfers, $(ixfr_from "$address") of them asked as IXFR"
done
grep -qE 'Zone Update Notification from 127\.0\.0\.1 about example\.test\.' "$WORK/second.stdout" ||
    fail "no notification in the second Quorvane's log: $(cat "$WORK/second.stdout")"
SERVER_PID=$second_pid stop_server

# --- Secondary: the zones without NOTIFY at the next poll ----------------------------------------
for zone in r-nsd.test r-knot.test r-bind.test; do
    within $((start + 70 - SECONDS)) serves "$zone" 2 || fail "$zone: version 2 not served 70 s after the change$(peer_logs)"
    [ "$(count_lines "Zone Update Notification from .* about ${zone//./\\.}\\.( \\(TCP\\))?")" -eq 0 ] ||
        fail "a notification about $zone, which no primary announces"
done
for zone in $retried; do
    within $((start + 70 - SECONDS)) serves "$zone" 2 || fail "$zone: not served at the poll after a dropped transfer"
done
echo "polled zones served anew after $((SECONDS - start)) s"
for zone in $ZONES; do
    [ "$(transfers "$zone")" -eq 2 ] || fail "$zone: $(transfers "$zone") transfer lines, expected 2"
done

# --- The request marker: only Knot refuses it, and Quorvane asks it without it from then on --------
fallback() { count_lines "Primary $1 answered the transfer request with response code $2 - asking it again without the MS marker"; }
[ "$(fallback 127.0.0.22 1)" -eq 1 ] || fail "$(fallback 127.0.0.22 1) fallback lines for Knot, expected 1"
for address in 127.0.0.21 127.0.0.23; do
    [ "$(fallback "$address" '[0-9]+')" -eq 0 ] || fail "a fallback line for $address"
done
[ -z "$late" ] || fail "not served anew 6 s after the NOTIFY, or no notification line:$late
$(grep -E 'Notification|Zone Transfer' "$WORK/stdout")$(peer_logs)"
kill -0 "$SERVER_PID" || fail "server ended"
stop_server
