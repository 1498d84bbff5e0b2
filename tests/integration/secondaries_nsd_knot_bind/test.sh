# Quorvane is the primary of example.test. for three real secondaries, each on its own loopback
# address: NSD on 127.0.0.11, Knot on 127.0.0.12, BIND on 127.0.0.13, all named on the zone's
# "; Notify" line. Each takes the zone when it starts; then Quorvane announces two changes with
# NOTIFY and each secondary must serve the new version within 10 s: a new file picked up by the
# CheckNew scan, and an edit of the zone file followed by the reload command.
# The secondaries transfer from their own addresses, so the Secure default lets exactly these
# addresses through.
folder="$WORK/folder"
mkdir -p "$folder/data"
printf 'Name: ns1.example.test\nDNSBind: 127.0.0.1\nCheckNew: 1\n' >"$folder/quorvane.ini"
# BIND listens only on addresses that an interface has; the other two would bind to any address
# of 127.0.0.0/8.
for address in 127.0.0.11 127.0.0.12 127.0.0.13; do ip addr add "$address/8" dev lo; done

# Version $1 of the zone: the serial, web's address and the TXT follow it, and onlyN exists only
# in version N, so a secondary that kept a record of an older version is caught.
zone_text() {
    cat <<ZONE
; Notify 127.0.0.11 127.0.0.12 127.0.0.13
@       IN SOA ns1.example.test. admin.example.test. ( 202611230$1 ; serial
                3600 600 86400 300 )
        IN NS   ns1
        IN NS   ns2
        IN MX   10 mail
ns1     IN A    127.0.0.1
ns2     IN A    127.0.0.11
mail    IN A    192.0.2.25
www     IN CNAME web
web     IN A    192.0.2.8$1
txt     IN TXT  "version $1"
only$1   IN A    192.0.2.$1
ZONE
}

# What every secondary must answer for version $1, in the form view prints.
expected() {
    sort <<ANSWERS
example.test. SOA ns1.example.test. admin.example.test. 202611230$1 3600 600 86400 300
example.test. NS ns1.example.test.
example.test. NS ns2.example.test.
example.test. MX 10 mail.example.test.
www.example.test. CNAME web.example.test.
web.example.test. A 192.0.2.8$1
txt.example.test. TXT "version $1"
only$1.example.test. A 192.0.2.$1
ANSWERS
}

# The answers of server $1 to a fixed set of questions, without TTL and class, sorted.
view() {
    local question
    for question in "example.test SOA" "example.test NS" "example.test MX" "www.example.test A" \
        "txt.example.test TXT" "only1.example.test A" "only2.example.test A" \
        "only3.example.test A"; do
        # shellcheck disable=SC2086 # name and type
        dig @"$1" +tries=1 +time=1 +norec +noall +answer $question
    done | awk '{ out = $1; for (i = 4; i <= NF; ++i) out = out " " $i; print out }' | sort
}

serial_at() {
    dig @"$1" +tries=1 +time=1 +norec +short example.test SOA 2>/dev/null | awk '{ print $3 }'
}

PEERS="127.0.0.11:NSD 127.0.0.12:Knot 127.0.0.13:BIND"

# Waits up to 10 s until every secondary serves serial 202611230$1, then compares their answers
# with version $1. $2 names the step for the messages.
all_serve() {
    local version=$1 step=$2 start=$EPOCHREALTIME peer address waiting elapsed
    while :; do
        waiting=""
        for peer in $PEERS; do
            [ "$(serial_at "${peer%%:*}")" = "202611230$version" ] || waiting="$waiting ${peer#*:}"
        done
        [ -z "$waiting" ] && break
        kill -0 "$SERVER_PID" 2>/dev/null || fail "server ended during $step"
        elapsed=$(since "$start")
        [ "${elapsed%.*}" -lt 10 ] || fail "$step: no serial 202611230$version from$waiting after 10 s$(peer_logs)"
        sleep 0.1
    done
    echo "$step: every secondary serves serial 202611230$version after $(since "$start") s"
    for peer in $PEERS; do
        address=${peer%%:*}
        [ "$(view "$address")" = "$(expected "$version")" ] ||
            fail "$step: ${peer#*:} answers
$(view "$address")
instead of
$(expected "$version")"
    done
}

# Seconds since $1 (an $EPOCHREALTIME), to a tenth.
since() { awk -v a="$1" -v b="$EPOCHREALTIME" 'BEGIN { printf "%.1f", b - a }'; }

peer_logs() {
    local file
    for file in "$WORK"/nsd/nsd.log "$WORK"/knot/stdout "$WORK"/bind/stdout; do
        printf '\n--- %s (end):\n%s' "$file" "$(tail -n 15 "$file" 2>/dev/null)"
    done
}

# Each secondary runs as it comes: all three ask for IXFR once they hold the zone (NSD would not
# fall back to AXFR if that were refused), and get the whole zone.
start_nsd_secondary() {
    local address=$1 dir="$WORK/nsd"
    mkdir -p "$dir"
    {
        nsd_server_conf "$address" "$dir"
        cat <<CONF
zone:
    name: "example.test"
    zonefile: "$dir/example.test.zone"
    request-xfr: 127.0.0.1 NOKEY
    allow-notify: 127.0.0.1 NOKEY
    outgoing-interface: $address
CONF
    } >"$dir/nsd.conf"
    nsd-checkconf "$dir/nsd.conf" || fail "nsd configuration"
    nsd -d -c "$dir/nsd.conf" >"$dir/stdout" 2>&1 &
    started $!
}

start_knot_secondary() {
    local address=$1 dir="$WORK/knot"
    mkdir -p "$dir"
    cat >"$dir/knot.conf" <<CONF
server:
    listen: $address@53
    rundir: "$dir"
    pidfile: "$dir/knot.pid"
    udp-workers: 1
    tcp-workers: 1
    background-workers: 1
control:
    listen: "$dir/knot.sock"
log:
  - target: stdout
    any: info
database:
    storage: "$dir"
remote:
  - id: primary
    address: 127.0.0.1@53
    via: $address
acl:
  - id: notify-from-primary
    address: 127.0.0.1
    action: notify
template:
  - id: default
    storage: "$dir"
zone:
  - domain: example.test
    master: primary
    acl: notify-from-primary
    file: "$dir/example.test.zone"
CONF
    knotc -c "$dir/knot.conf" conf-check >/dev/null || fail "knot configuration"
    knotd -c "$dir/knot.conf" >"$dir/stdout" 2>&1 &
    started $!
}

# named stays root (no -u) and in the foreground (-g, logging to stderr); no rndc channel. It runs
# as a copy: where AppArmor is on, Debian's profile for /usr/sbin/named keeps it out of $WORK.
start_bind_secondary() {
    local address=$1 dir="$WORK/bind"
    mkdir -p "$dir"
    cat >"$dir/named.conf" <<CONF
options {
    directory "$dir";
    pid-file "$dir/named.pid";
    session-keyfile "$dir/session.key";
    managed-keys-directory "$dir";
    listen-on { $address; };
    listen-on-v6 { none; };
    query-source address $address;
    transfer-source $address;
    notify-source $address;
    recursion no;
    dnssec-validation no;
    notify no;
};
controls { };
zone "example.test" {
    type secondary;
    primaries { 127.0.0.1; };
    allow-notify { 127.0.0.1; };
    file "example.test.zone";
    masterfile-format text;
};
CONF
    named-checkconf "$dir/named.conf" || fail "named configuration"
    cp "$(command -v named)" "$dir/named"
    "$dir/named" -g -4 -n 1 -c "$dir/named.conf" >"$dir/stdout" 2>&1 &
    started $!
}

transfers_to() { grep -cE "Sending Zone Transfer to $1 for example\.test\.?\$" "$WORK/stdout" || true; }
notices_to() { grep -cE "Sending Zone Update Notification to $1 about example\.test\.?\$" "$WORK/stdout" || true; }
ixfr_from() { grep -cE "Zone Transfer Request from $1 for example\.test\. \(IXFR\)\$" "$WORK/stdout" || true; }

zone_text 1 >"$folder/data/example.test.dns"
start_server "$folder"
wait_for "DNS service started on 127.0.0.1"
[ "$(serial_at 127.0.0.1)" = 2026112301 ] || fail "Quorvane does not serve its zone: $(serial_at 127.0.0.1)"

start_nsd_secondary 127.0.0.11
start_knot_secondary 127.0.0.12
start_bind_secondary 127.0.0.13
all_serve 1 "first transfer"
for peer in $PEERS; do
    [ "$(transfers_to "${peer%%:*}")" -ge 1 ] || fail "no transfer to ${peer#*:} in the log"
done

# --- A new file, picked up by the CheckNew scan --------------------------------------------------
zone_text 2 >"$folder/data/example.test.part"
mv "$folder/data/example.test.part" "$folder/data/example.test.new"
all_serve 2 "new file"
[ ! -e "$folder/data/example.test.new" ] || fail "example.test.new still there"
grep -q "202611230[2] ;" "$folder/data/example.test.dns" || fail "example.test.dns not replaced by the new file"

# --- The file edited in place, then the reload command --------------------------------------------
zone_text 3 >"$folder/data/example.test.dns"
sleep 2 # two CheckNew scans: an edited .dns file alone is not reloaded
[ "$(serial_at 127.0.0.1)" = 2026112302 ] || fail "the edited file was loaded without a reload"
"$QUORVANE_CTL" --dir "$folder" reload-zone example.test || fail "quorvane-ctl reload-zone failed"
all_serve 3 "reload command"

for peer in $PEERS; do
    address=${peer%%:*}
    [ "$(notices_to "$address")" -ge 2 ] || fail "${peer#*:}: $(notices_to "$address") notifications, expected 2 or more"
    [ "$(transfers_to "$address")" -ge 3 ] || fail "${peer#*:}: $(transfers_to "$address") transfers, expected 3 or more"
    echo "${peer#*:}: $(notices_to "$address") notifications, $(transfers_to "$address") transfers," \
        "$(ixfr_from "$address") of them asked as IXFR"
done
kill -0 "$SERVER_PID" || fail "server ended"
stop_server
