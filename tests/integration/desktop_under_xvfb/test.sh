# The desktop program on a virtual X display: without a display it refuses and says why; with one
# its main window appears with the child windows of the saved layout, SIGTERM closes it with exit
# code 0, the close line in its daily log and the layout saved again, and a screenshot of the whole
# screen is kept for a person to look at. Its three tool-bar buttons open the companion tools.
folder="$WORK/folder"
mkdir -p "$folder"
cp -r "$CASE_DIR/../../../examples/home-office/." "$folder/"
shots=${QUORVANE_SCREENSHOTS:-$(cd "$(dirname "$QUORVANE")/../.." && pwd)/screenshots}
mkdir -p "$shots"
export XDG_CONFIG_HOME="$WORK/config" XDG_RUNTIME_DIR="$WORK/runtime"
mkdir -p "$XDG_RUNTIME_DIR" "$XDG_CONFIG_HOME/Quorvane" && chmod 700 "$XDG_RUNTIME_DIR"
# A normal 1000x700 main window with the graph and the Active Log open side by side.
printf '[Main]\nWindows=0 0 0 1000 700 1 0 0 0 480 560 1 0 490 0 500 560 0\n' >"$XDG_CONFIG_HOME/Quorvane/Quorvane.conf"

rc=0
env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$QUORVANE" --dir "$folder" 2>"$WORK/nodisplay" || rc=$?
[ "$rc" -eq 2 ] || fail "exit code $rc without a display"
grep -qxF "quorvane: no desktop display found; run it with --headless" "$WORK/nodisplay" || fail "no-display message"

# Xvfb picks a free display itself and writes its number once it accepts clients.
Xvfb -displayfd 3 -nolisten tcp -screen 0 1280x800x24 3>"$WORK/display" >"$WORK/xvfb.log" 2>&1 &
XVFB_PID=$!
started "$XVFB_PID"
within 10 test -s "$WORK/display" || fail "Xvfb did not start: $(cat "$WORK/xvfb.log")"
# The whole virtual screen, as a PNG.
screenshot() { xwd -root -silent | xwdtopnm 2>/dev/null | pnmtopng >"$1" || fail "screenshot $1"; }
export DISPLAY=":$(tr -d '\n' <"$WORK/display")"

env -u QT_QPA_PLATFORM -u WAYLAND_DISPLAY "$QUORVANE" --dir "$folder" >"$WORK/stdout" 2>"$WORK/stderr" &
SERVER_PID=$!
started "$SERVER_PID"
within 15 xdotool search --onlyvisible --name '^home\.lan - Quorvane$' >/dev/null ||
    fail "no main window on $DISPLAY: $(xwininfo -root -tree | grep -i quorvane)"
within 10 dns_bound || fail "port 53 not bound under the window"
sleep 1 # let the window finish painting
screenshot "$shots/desktop_under_xvfb.png"

# The tool-bar buttons Look Up, Cache and Records (left to right under the menu bar; no window
# manager here, so the window's origin is its client area) each open their tool's window.
main=$(xdotool search --onlyvisible --name '^home\.lan - Quorvane$' | head -n1)
for tool in "Look Up|36|^DNS Look Up\$" "Cache|97|^Cache Snapshot Viewer\$" "Records|157|^DNS Records Editor\$"; do
    IFS='|' read -r button x title <<<"$tool"
    xdotool windowraise "$main" mousemove --window "$main" "$x" 45 click 1
    within 10 xdotool search --onlyvisible --name "$title" >/dev/null ||
        fail "the $button button opened no window '$title': $(xwininfo -root -tree | grep -E '^ +0x.*"' | head -n 20)"
    tool_pid=$(xdotool search --onlyvisible --name "$title" getwindowpid | head -n1)
    started "$tool_pid"
done
sleep 1
screenshot "$shots/desktop_tools_under_xvfb.png"

stop_server
logfile=$(ls "$folder"/logs/*.log | tail -n1)
[ "$(tail -n1 "$logfile" | tr -d '\r' | cut -c12-)" = "Program was closed by user." ] || fail "last line of $logfile"
grep -qE '^Windows=0 [0-9-]+ [0-9-]+ [0-9]+ [0-9]+ 1 0 .* 1 0 [0-9 -]+ 0$' "$XDG_CONFIG_HOME/Quorvane/Quorvane.conf" ||
    fail "layout not saved: $(cat "$XDG_CONFIG_HOME/Quorvane/Quorvane.conf")"
kill -TERM "$XVFB_PID"
wait "$XVFB_PID" 2>/dev/null || true
