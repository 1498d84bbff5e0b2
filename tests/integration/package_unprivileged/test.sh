# The package's files unpacked into a scratch root and run as the unit runs them: /usr/bin/quorvane
# with no --dir, as an unprivileged user holding exactly the unit's capabilities, on the program
# folder the package makes. It binds port 53 and answers, and tells the service manager on the
# socket $NOTIFY_SOCKET names that it is ready, that the watchdog may rest, and that it stops.
unpack_package
unit="$ROOT/lib/systemd/system/quorvane.service"
caps=$(sed -n 's/^AmbientCapabilities=//p' "$unit")
[ "$caps" = "$(sed -n 's/^CapabilityBoundingSet=//p' "$unit")" ] || fail "ambient and bounding sets differ"
caps=$(echo "$caps" | tr 'A-Z ' 'a-z\n' | sed 's/^cap_/+/' | paste -sd,)
[ "$caps" = "+net_bind_service,+net_raw,+net_broadcast" ] || fail "the unit grants $caps"

# The unit as systemd reads it, checked against the unpacked files, and rated 2.5 or better.
unshare --mount sh -c 'mount -t overlay overlay -o "lowerdir=$1/usr/bin:/usr/bin" /usr/bin &&
    MANPATH="$1/usr/share/man" systemd-analyze verify "$2"' sh "$ROOT" "$unit" || fail "systemd-analyze verify"
systemd-analyze security --offline=yes --threshold=25 "$unit" >/dev/null || fail "exposure of the unit above 2.5"
for page in "$ROOT"/usr/share/man/man*/*; do
    [ -z "$(zcat "$page" | groff -ww -z -man 2>&1)" ] || fail "groff warns about $page"
done

# The installed folder as the first install leaves it, in a mount namespace of the server's own.
folder="$WORK/var-lib/quorvane"
mkdir -p "$folder/data" "$folder/logs"
cp "$ROOT/usr/share/quorvane/quorvane.ini" "$folder/"
ln -s /usr/share/dns/root.hints "$folder/named.root"
chown -R nobody:nogroup "$folder"

# The service manager's end: every datagram on one line of $WORK/notify.
chmod 0711 "$WORK"
python3 -c '
import socket, sys
s = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
s.bind(sys.argv[1])
out = open(sys.argv[2], "w")
while True:
    out.write(s.recv(4096).decode() + "\n")
    out.flush()' "$WORK/notify.sock" "$WORK/notify" &
started $!
within 5 test -S "$WORK/notify.sock" || fail "no notify socket"
chmod 0666 "$WORK/notify.sock"

NOTIFY_SOCKET="$WORK/notify.sock" WATCHDOG_USEC=2000000 unshare --mount sh -c '
    mount -t overlay overlay -o "lowerdir=$1/usr/bin:/usr/bin" /usr/bin &&
    mount -t tmpfs tmpfs /var/lib && mkdir /var/lib/quorvane && mount --bind "$2" /var/lib/quorvane &&
    exec setpriv --reuid=nobody --regid=nogroup --clear-groups --no-new-privs \
        --inh-caps=-all,$3 --ambient-caps=-all,$3 --bounding-set=-all,$3 /usr/bin/quorvane --headless' \
    sh "$ROOT" "$folder" "$caps" >"$WORK/stdout" 2>"$WORK/stderr" &
SERVER_PID=$!
started $SERVER_PID
wait_for 'DNS service started\.$'
grep -q '^Uid:.*65534' "/proc/$SERVER_PID/status" || fail "not running as nobody"
[ "$(awk '/^CapEff/ { print $2 }' "/proc/$SERVER_PID/status")" = 0000000000002c00 ] || fail "capabilities"
within 5 grep -qx READY=1 "$WORK/notify" || fail "no READY=1"
within 5 grep -qx WATCHDOG=1 "$WORK/notify" || fail "no WATCHDOG=1 from the tick"

# The default settings serve the hosts-less, zone-less folder: a name under the root hints' own
# zone answers from named.root, so the root hints of dns-root-data were found.
answer=$(dig @127.0.0.1 +tries=1 +time=2 +short a.root-servers.net A)
[ "$answer" = 198.41.0.4 ] || fail "answer for a.root-servers.net: '$answer'"
stop_server
within 5 grep -qx STOPPING=1 "$WORK/notify" || fail "no STOPPING=1"
[ "$(head -n1 "$WORK/notify")" = READY=1 ] || fail "first message: $(head -n1 "$WORK/notify")"
grep -q '^QueryHardening: YES' "$folder/quorvane.ini" || fail "settings not rewritten in the installed folder"
