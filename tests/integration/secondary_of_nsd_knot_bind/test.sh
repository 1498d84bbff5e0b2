# Quorvane is the secondary of six zones on three real primaries: NSD on 127.0.0.21, Knot on
# 127.0.0.22, BIND on 127.0.0.23. Each primary NOTIFYs Quorvane about one zone (n-PEER.test) and not
# about the other (r-PEER.test). Every zone is transferred at start, answered with AA, and written
# back to its file; then all six change on the primaries: the notified zones are served anew within
# 6 s, the others at the next 60-s poll. Knot answers the request marker after the question with
# FORMERR, so Quorvane asks it once more without the marker, once for the life of the process; and
# Knot sends its NOTIFY over TCP only.
folder="$WORK/folder"
mkdir -p "$folder/data"
printf 'Name: ns.quorvane.test\nDNSBind: 127.0.0.1\nLogDetail: YES\n' >"$folder/quorvane.ini"
# BIND listens only on addresses that an interface has.
for address in 127.0.0.21 127.0.0.22 127.0.0.23; do ip addr add "$address/8" dev lo; done

ZONES="n-nsd.test r-nsd.test n-knot.test r-knot.test n-bind.test r-bind.test"
peer_of() { local peer=${1#*-} && echo "${peer%.test}"; }
primary_of() { case $1 in *nsd.test) echo 127.0.0.21 ;; *knot.test) echo 127.0.0.22 ;; *bind.test) echo 127.0.0.23 ;; esac; }

# Version $2 of zone $1 on its primary: the serial and www follow it, and onlyN exists only in
# version N, so that a record kept from an older version is caught. Short timers: refresh and
# retry 5 s, expire 20 s.
zone_text() {
    cat <<ZONE
\$ORIGIN $1.
\$TTL 5
@       IN SOA ns.$1. admin.$1. ( 202612010$2 5 5 20 5 )
        IN NS  ns
ns      IN A   $(primary_of "$1")
www     IN A   192.0.2.$2
only$2   IN TXT "version $2"
ZONE
}
write_zones() { # version $1, into each primary's folder
    local zone file
    for zone in $ZONES; do
        file="$WORK/$(peer_of "$zone")/$zone.zone"
        zone_text "$zone" "$1" >"$file.part"
        mv "$file.part" "$file"
    done
}

start_nsd_primary() {
    local dir="$WORK/nsd"
    {
        nsd_server_conf 127.0.0.21 "$dir"
        cat <<CONF
zone:
    name: "n-nsd.test"
    zonefile: "$dir/n-nsd.test.zone"
    provide-xfr: 127.0.0.1 NOKEY
    notify: 127.0.0.1 NOKEY
    outgoing-interface: 127.0.0.21
zone:
    name: "r-nsd.test"
    zonefile: "$dir/r-nsd.test.zone"
    provide-xfr: 127.0.0.1 NOKEY
CONF
    } >"$dir/nsd.conf"
    nsd-checkconf "$dir/nsd.conf" || fail "nsd configuration"
    nsd -d -c "$dir/nsd.conf" >"$dir/stdout" 2>&1 &
    NSD_PID=$!
    started "$NSD_PID"
}

start_knot_primary() {
    local dir="$WORK/knot"
    cat >"$dir/knot.conf" <<CONF
server:
    listen: 127.0.0.22@53
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
  - id: quorvane
    address: 127.0.0.1@53
    via: 127.0.0.22
acl:
  - id: transfer-to-quorvane
    address: 127.0.0.1
    action: transfer
template:
  - id: default
    storage: "$dir"
    zonefile-sync: -1
    acl: transfer-to-quorvane
zone:
  - domain: n-knot.test
    file: "$dir/n-knot.test.zone"
    notify: quorvane
  - domain: r-knot.test
    file: "$dir/r-knot.test.zone"
CONF
    knotc -c "$dir/knot.conf" conf-check >/dev/null || fail "knot configuration"
    knotd -c "$dir/knot.conf" >"$dir/stdout" 2>&1 &
    started $!
}

# named stays root (no -u) and in the foreground (-g, logging to stderr); SIGHUP makes it reload
# changed zone files. It runs as a copy: where AppArmor is on, Debian's profile for /usr/sbin/named
# keeps it out of $WORK.
start_bind_primary() {
    local dir="$WORK/bind"
    cat >"$dir/named.conf" <<CONF
options {
    directory "$dir";
    pid-file "$dir/named.pid";
    session-keyfile "$dir/session.key";
    managed-keys-directory "$dir";
    listen-on { 127.0.0.23; };
    listen-on-v6 { none; };
    notify-source 127.0.0.23;
    notify-delay 0;
    allow-transfer { 127.0.0.1; };
    recursion no;
    dnssec-validation no;
};
controls { };
zone "n-bind.test" {
    type primary;
    file "n-bind.test.zone";
    notify explicit;
    also-notify { 127.0.0.1; };
};
zone "r-bind.test" {
    type primary;
    file "r-bind.test.zone";
    notify no;
};
CONF
    named-checkconf "$dir/named.conf" || fail "named configuration"
    cp "$(command -v named)" "$dir/named"
    "$dir/named" -g -4 -n 1 -c "$dir/named.conf" >"$dir/stdout" 2>&1 &
    BIND_PID=$!
    started "$BIND_PID"
}

peer_logs() {
    local file
    for file in "$WORK"/nsd/nsd.log "$WORK"/knot/stdout "$WORK"/bind/stdout; do
        printf '\n--- %s (end):\n%s' "$file" "$(tail -n 15 "$file" 2>/dev/null)"
    done
}

# True when the primary of zone $1 serves version $2.
primary_has() {
    [ "$(dig @"$(primary_of "$1")" +tries=1 +time=1 +norec +short "$1" SOA 2>/dev/null | awk '{ print $3 }')" = "202612010$2" ]
}
# True when Quorvane answers version $2 of zone $1 with AA, and nothing of the other version.
serves() {
    local other=$(($2 == 1 ? 2 : 1))
    [ "$(aa_answer 127.0.0.1 "www.$1" A)" = "192.0.2.$2" ] &&
        [ "$(aa_answer 127.0.0.1 "$1" SOA | awk '{ print $3 }')" = "202612010$2" ] &&
        [ "$(aa_answer 127.0.0.1 "only$2.$1" TXT)" = "\"version $2\"" ] &&
        [ -z "$(aa_answer 127.0.0.1 "only$other.$1" TXT)" ]
}
transfers() { count_lines "Receiving Zone Transfer from $(primary_of "$1") for ${1//./\\.}\\."; }

mkdir -p "$WORK/nsd" "$WORK/knot" "$WORK/bind"
write_zones 1
start_nsd_primary
start_knot_primary
start_bind_primary
for zone in $ZONES; do
    within 10 primary_has "$zone" 1 || fail "the primary of $zone does not serve it$(peer_logs)"
    dig @"$(primary_of "$zone")" +tries=1 +time=2 "$zone" AXFR | grep -q "^www\.$zone\..*192\.0\.2\.1$" ||
        fail "the primary of $zone does not give 127.0.0.1 the zone$(peer_logs)"
    printf '; PrimaryIP %s\n' "$(primary_of "$zone")" >"$folder/data/$zone.dns"
done

# --- Each zone transferred at start ------------------------------------------------------------
start_server "$folder"
wait_for "DNS service started on 127.0.0.1"
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

# --- A change on every primary -----------------------------------------------------------------
write_zones 2
kill -HUP "$NSD_PID"
knotc -s "$WORK/knot/knot.sock" zone-reload >/dev/null || fail "knotc zone-reload"
kill -HUP "$BIND_PID"
for zone in $ZONES; do
    within 10 primary_has "$zone" 2 || fail "the primary of $zone did not load version 2$(peer_logs)"
done
start=$SECONDS
# True when every notified zone is served anew and its notification logged; the others are in
# $late, which is reported at the end, after the checks that follow.
notified_served() {
    local zone
    late=""
    for zone in n-nsd.test n-knot.test n-bind.test; do
        serves "$zone" 2 &&
            [ "$(count_lines "Zone Update Notification from $(primary_of "$zone") about ${zone//./\\.}\\.( \\(TCP\\))?")" -ge 1 ] ||
            late="$late $zone"
    done
    [ -z "$late" ]
}
within 6 notified_served && echo "notified zones served anew after $((SECONDS - start)) s"
for zone in r-nsd.test r-knot.test r-bind.test; do
    within $((start + 70 - SECONDS)) serves "$zone" 2 || fail "$zone: version 2 not served 70 s after the change$(peer_logs)"
    [ "$(count_lines "Zone Update Notification from .* about ${zone//./\\.}\\.( \\(TCP\\))?")" -eq 0 ] ||
        fail "a notification about $zone, which no primary announces"
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
