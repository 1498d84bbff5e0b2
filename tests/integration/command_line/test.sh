# The command-line contract: --version, --help, bad arguments, and no window without --headless.
"$QUORVANE" --version | grep -qE '^Quorvane [0-9]+\.[0-9]{2}\.[0-9]{4}$' || fail "--version"
"$QUORVANE" --help | grep -q -- '--headless' || fail "--help"

rc=0; "$QUORVANE" --bogus 2>"$WORK/err" || rc=$?
[ "$rc" -eq 2 ] && grep -q 'unknown argument: --bogus' "$WORK/err" || fail "bad argument: rc $rc"
rc=0; "$QUORVANE" --headless --dir 2>"$WORK/err" || rc=$?
[ "$rc" -eq 2 ] || fail "--dir without a folder: rc $rc"
rc=0; DISPLAY= "$QUORVANE" 2>"$WORK/err" || rc=$?
[ "$rc" -ne 0 ] && grep -q -- '--headless' "$WORK/err" || fail "no window: rc $rc"

# The program folder comes from --dir, else $QUORVANE_DIR.
mkdir -p "$WORK/env-folder"
QUORVANE_DIR="$WORK/env-folder" "$QUORVANE" --headless --quiet >"$WORK/stdout" 2>"$WORK/stderr" &
SERVER_PID=$!
started "$SERVER_PID"
for _ in $(seq 100); do dns_bound && break; sleep 0.1; done
kill -USR2 "$SERVER_PID"
for _ in $(seq 100); do [ -f "$WORK/env-folder/support.txt" ] && break; sleep 0.1; done
[ -f "$WORK/env-folder/support.txt" ] || fail "QUORVANE_DIR not used as the program folder"
stop_server
[ -s "$WORK/stdout" ] && fail "--quiet printed log lines"
grep -qxF '** No log entries!' "$WORK/env-folder/support.txt" || fail "--quiet kept an Active Log"
