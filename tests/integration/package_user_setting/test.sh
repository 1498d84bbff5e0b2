# Started as root with "User: nobody" in quorvane.ini, the installed server leaves root before it
# binds: it ends up as that user with only the three port capabilities, serves port 53, and says so.
unpack_package
folder="$WORK/folder"
mkdir -p "$folder"
printf 'User: nobody\n' >"$folder/quorvane.ini"
chown -R nobody:nogroup "$folder"
chmod 0711 "$WORK"
QUORVANE="$ROOT/usr/bin/quorvane" start_server "$folder"
wait_for 'DNS service started\.$'
wait_for '^[0-9:]{8}   Running as user nobody \(uid 65534\), keeping only CAP_NET_BIND_SERVICE, CAP_NET_RAW and CAP_NET_BROADCAST\.$'
status=$(cat "/proc/$SERVER_PID/status")
grep -qE '^Uid:\s+65534\s+65534\s+65534\s+65534$' <<<"$status" || fail "uids: $(grep ^Uid <<<"$status")"
grep -qE '^Gid:\s+65534\s+65534\s+65534\s+65534$' <<<"$status" || fail "gids: $(grep ^Gid <<<"$status")"
for set in CapPrm CapEff CapBnd; do
    grep -qE "^$set:\s+0000000000002c00$" <<<"$status" || fail "$set: $(grep "^$set" <<<"$status")"
done
dig @127.0.0.1 +tries=1 +time=2 example.test A | grep -q 'status: ' || fail "no answer on port 53"
stop_server
[ "$(stat -c %U "$folder/quorvane.ini")" = nobody ] || fail "settings rewritten as $(stat -c %U "$folder/quorvane.ini")"

# A user that does not exist: nothing is bound, exit code 1 and one line on standard error.
printf 'User: no-such-user-here\n' >"$folder/quorvane.ini"
rc=0
"$ROOT/usr/bin/quorvane" --headless --dir "$folder" >"$WORK/stdout" 2>"$WORK/stderr" || rc=$?
[ "$rc" -eq 1 ] || fail "exit code $rc for an unknown user"
grep -qx 'quorvane: Cannot switch to user no-such-user-here: no such user - not started.' "$WORK/stderr" ||
    fail "message for an unknown user"
[ ! -s "$WORK/stdout" ] || fail "started with an unknown user"
