# Five primaries that fail the transfer each in its own way (bad_primary.py: garbage, a stalled
# length, a closed connection before the end, an A record first, REFUSED), on 127.0.0.31-35, each
# the primary of one zone (bad1.test. .. bad5.test.) that Quorvane holds with serial 1 and a long
# expire. Every primary offers serial 2, every transfer fails with its log line, and every zone
# keeps its old records and file, while the server answers throughout and exits cleanly at the end.
folder="$WORK/folder"
mkdir -p "$folder/data"
printf 'Name: ns.quorvane.test\nDNSBind: 127.0.0.1\nLogDetail: YES\n' >"$folder/quorvane.ini"
n=0
for mode in garbage stall close not-soa rcode5; do
    n=$((n + 1))
    python3 "$CASE_DIR/bad_primary.py" "127.0.0.3$n" "$mode" 120 >"$WORK/bad$n.out" 2>&1 &
    started $!
    sed "s/@N@/$n/g" "$CASE_DIR/bad.zone" >"$folder/data/bad$n.test.dns"
    cp "$folder/data/bad$n.test.dns" "$WORK/bad$n.before"
done
offers_serial_2() { dig @"127.0.0.3$1" +tries=1 +time=1 +short "bad$1.test" SOA | grep -q ' 2 5 5 '; }
for n in 1 2 3 4 5; do
    within 10 offers_serial_2 "$n" || fail "bad primary $n does not answer: $(cat "$WORK/bad$n.out")"
done

failures() { count_lines "Failed to receive Zone Transfer from 127\.0\.0\.3$1 for bad$1\.test\."; }
# Every zone answers its old www with AA (at once, or the case fails); true once every transfer
# has failed.
all_failed() {
    local n finished=0
    for n in 1 2 3 4 5; do
        [ "$(aa_answer 127.0.0.1 "www.bad$n.test" A)" = "10.0.0.$n" ] ||
            fail "bad$n.test: www not answered with 10.0.0.$n and AA:
$(dig @127.0.0.1 +tries=1 +time=1 +norec "www.bad$n.test" A)"
        [ "$(failures "$n")" -ge 1 ] && finished=$((finished + 1))
    done
    [ "$finished" -eq 5 ]
}

start_server "$folder"
wait_for "DNS service started on 127.0.0.1"
start=$SECONDS
within 45 all_failed || fail "not every transfer failed within 45 s"
echo "every transfer failed after $((SECONDS - start)) s"
for n in 1 2 3 4 5; do
    [ "$(count_lines "Sending Zone Transfer Request to 127\.0\.0\.3$n for bad$n\.test\.")" -ge 1 ] ||
        fail "no transfer request to bad primary $n"
    cmp -s "$WORK/bad$n.before" "$folder/data/bad$n.test.dns" ||
        fail "bad$n.test.dns changed: $(cat "$folder/data/bad$n.test.dns")"
done
grep -q 'Receiving Zone Transfer from' "$WORK/stdout" && fail "a bad transfer took effect"
grep -q 'Zone has expired' "$WORK/stdout" && fail "a zone expired"
# REFUSED is no reason to ask again without the marker.
grep -q 'Primary 127\.0\.0\.35 answered the transfer request' "$WORK/stdout" && fail "REFUSED taken for a marker problem"
all_failed || fail "failure lines missing at the end"
stop_server
