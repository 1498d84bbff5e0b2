#!/usr/bin/env bash
# kill -9 during saves: starts the server ROUNDS times on one program folder, makes it write its
# files in a random order with random pauses, and kills it with SIGKILL at a random moment:
#   - quorvane.ini at every start (it always holds the reload port of this run);
#   - data/sec.test.dns after a transfer from NSD (the script puts the old copy back before half
#     the rounds, so that the start transfers the new serial and writes the file);
#   - blocks.dat at close, after a flooding client got blocked (the script empties the list
#     before a third of the rounds);
#   - named.cache at close, after answers from the forwarder;
#   - dhcp.dat on the tick after a DHCP client took a lease.
# A round ends in one of three ways: a kill 0-300 ms after the launch (during the start), a kill
# 0-6 ms after SIGTERM (during the saves of the close), or a kill 0.5-1.2 s after a lease (during
# the tick's lease save). After every kill each file must be whole: quorvane.ini as the first start
# wrote it but for its reload port, the zone as the old or the new transfer wrote it, the other
# three well-formed from their header line to their last line break, none empty. The next round's
# start must load them without a complaint in its log. Leftover temporary files are counted (the
# next start must not take them for anything). Prints the versions seen of each file.
#
#   sudo bench/kill9.sh [-n ROUNDS] [-b QUORVANE_BINARY]
#     -n  rounds (default 1000; a round takes about a second)
#     -b  the server (default build/release/apps/quorvane/quorvane)
#
# Needs root, NSD, dig and python3. Runs in a private network namespace; ends only the processes
# it started, by their PID. Exits non-zero at the first round that finds a fault.
set -euo pipefail
ROUNDS=1000
BINARY=build/release/apps/quorvane/quorvane
while getopts n:b: option; do
    case $option in
    n) ROUNDS=$OPTARG ;;
    b) BINARY=$OPTARG ;;
    *) exit 2 ;;
    esac
done
if [ -z "${KILL9_INSIDE:-}" ]; then
    BINARY=$(realpath "$BINARY")
    [ -x "$BINARY" ] || { echo "no server at $BINARY" >&2; exit 2; }
    KILL9_INSIDE=1 exec unshare --net bash "$0" -n "$ROUNDS" -b "$BINARY"
fi

WORK=$(mktemp -d /tmp/quorvane-kill9.XXXXXX)
source "$(dirname "$0")/save_rig.sh"
SERVER_PID=""
trap 'set +e; rig_stop; [ -z "$SERVER_PID" ] || kill -KILL "$SERVER_PID" 2>/dev/null; rm -rf "$WORK"' EXIT
FOLDER="$WORK/folder"
GOOD="$WORK/good"
mkdir -p "$GOOD"

fault() {
    echo "FAULT in round ${ROUND:-setup}: $*" >&2
    echo "--- server log:" >&2
    tail -40 "$WORK/stdout" "$WORK/stderr" >&2
    exit 1
}

launch() {
    "$BINARY" --headless --dir "$FOLDER" >"$WORK/stdout" 2>"$WORK/stderr" &
    SERVER_PID=$!
}

# Waits up to 10 s for a line matching $1 in the server's log, or for file $2 to match $1.
await() {
    for _ in $(seq 2000); do
        grep -qE -- "$1" "${2:-$WORK/stdout}" 2>/dev/null && return 0
        kill -0 "$SERVER_PID" 2>/dev/null || fault "server ended while waiting for '$1'"
        sleep 0.005
    done
    fault "no '$1' in ${2:-the log}"
}

stop_gently() {
    kill -TERM "$SERVER_PID"
    wait "$SERVER_PID" || fault "exit code $? after SIGTERM"
}

# Replaces file $1 with the text on standard input the way the program does (temp, rename).
put() { cat >"$1.put" && mv "$1.put" "$1"; }

# --- the good copies: the files as the program writes them ------------------------------------------
rig_network
rig_nsd 1
rig_folder "$FOLDER"
cp "$RIG_DIR/../examples/home-office/named.root" "$FOLDER/"
launch
await 'DNS service started'
await 'only1' "$FOLDER/data/sec.test.dns"
rig_lease 99 >/dev/null
rig_flood "${FLOODERS[0]}"
rig_queries 3
await '^dhcp-' "$FOLDER/dhcp.dat"
stop_gently
cp "$FOLDER/data/sec.test.dns" "$GOOD/zone.old"
grep -v '^ReloadPort: ' "$FOLDER/quorvane.ini" >"$GOOD/ini"
rig_nsd_stop
rig_nsd 2
launch
await 'DNS service started'
await 'only2' "$FOLDER/data/sec.test.dns"
stop_gently
cp "$FOLDER/data/sec.test.dns" "$GOOD/zone.new"

# --- what a whole file looks like ---------------------------------------------------------------------
ends_whole() { [ -s "$1" ] && [ -z "$(tail -c1 "$1")" ]; }
ini_whole() {
    ends_whole "$1" && [ "$(grep -cE '^ReloadPort: [0-9]+ $' "$1")" = 1 ] &&
        grep -v '^ReloadPort: ' "$1" | cmp -s - "$GOOD/ini"
}
zone_whole() { cmp -s "$1" "$GOOD/zone.old" || cmp -s "$1" "$GOOD/zone.new"; }
# named.cache: the header, then "[OWNER] TTL TYPE DATA" lines; each fwd.test name has its own address.
cache_whole() {
    ends_whole "$1" && [ "$(head -1 "$1")" = "; Quorvane - Cache" ] &&
        tail -n +2 "$1" | awk '
            !/^([^ ]+)? [0-9]+ [A-Z]+ [^ ]/ { bad = 1 }
            /^n[0-9]+\.fwd\.test\. [0-9]+ A / { n = substr($1, 2) + 0; if ($4 != "198.51.100." n) bad = 1 }
            END { exit bad }'
}
blocks_whole() {
    ends_whole "$1" && [ "$(head -1 "$1")" = $'; Quorvane - IP address blocks\r' ] &&
        tail -n +2 "$1" | awk '!/^10\.55\.0\.[2-5]\r$/ || seen[$0]++ { bad = 1 } END { exit bad }'
}
leases_whole() {
    local line='^dhcp-0200000000[0-9a-f]{2}\.home\.lan\.  10\.77\.0\.1[0-9]{2}  0102000000[0-9A-F]{4}  [0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}$'
    ends_whole "$1" && [ "$(head -1 "$1")" = "; Quorvane - DHCP Leases" ] &&
        [ "$(tail -n +2 "$1" | grep -cvE "$line")" = 0 ]
}
FILES=(quorvane.ini data/sec.test.dns blocks.dat named.cache dhcp.dat)
CHECKS=(ini_whole zone_whole blocks_whole cache_whole leases_whole)
# Any of these in a start's log means a file was not read as written.
COMPLAINTS='error|cannot|fail|not found|invalid|malformed|discovered'

declare -A versions changed
declare -A previous
tempfiles=0 during_start=0 during_close=0 during_tick=0 closed_first=0
# Checks every file and notes its version; with "count", counts the files that the round changed.
snapshot() {
    local i file sum
    for i in "${!FILES[@]}"; do
        file=${FILES[$i]}
        "${CHECKS[$i]}" "$FOLDER/$file" || fault "$file is not whole: $(cat -A "$FOLDER/$file" | head -20)"
        sum=$(sha1sum <"$FOLDER/$file")
        versions[$file:$sum]=1
        [ "${1:-}" != count ] || [ "${previous[$file]}" = "$sum" ] || changed[$file]=$((${changed[$file]:-0} + 1))
        previous[$file]=$sum
    done
}
snapshot

# A random pause of $1 to $2 milliseconds.
pause() { sleep "$(printf '%d.%03d' 0 $(($1 + RANDOM % ($2 - $1 + 1))))"; }
pause_long() { local ms=$(($1 + RANDOM % ($2 - $1 + 1))); sleep "$((ms / 1000)).$(printf '%03d' $((ms % 1000)))"; }

# The writes of a round, in a random order with random pauses; the lease runs in the background.
provoke() {
    local action
    for action in $(printf 'lease\nflood\nqueries\n' | shuf); do
        case $action in
        lease)
            rig_lease "$((RANDOM % 60))" 2 &
            LEASE_PID=$!
            ;;
        flood) rig_flood "${FLOODERS[$((RANDOM % 4))]}" ;;
        queries) rig_queries 2 ;;
        esac
        pause 0 60
    done
}

# --- the rounds --------------------------------------------------------------------------------------
started=$SECONDS
for ((ROUND = 1; ROUND <= ROUNDS; ROUND++)); do
    if [ $((RANDOM % 2)) = 0 ]; then put "$FOLDER/data/sec.test.dns" <"$GOOD/zone.old"; fi
    if [ $((RANDOM % 3)) = 0 ]; then printf '; Quorvane - IP address blocks\r\n' | put "$FOLDER/blocks.dat"; fi
    snapshot # what the script itself put there counts as the old version
    LEASE_PID=""
    launch
    case $((RANDOM % 20)) in
    [0-4])
        pause 0 300
        during_start=$((during_start + 1))
        ;;
    [5-9] | 1[0-3])
        await 'DNS service started'
        grep -qiE -- "$COMPLAINTS" "$WORK/stdout" "$WORK/stderr" && fault "the start complained"
        provoke
        kill -TERM "$SERVER_PID"
        pause 0 6
        during_close=$((during_close + 1))
        ;;
    *)
        await 'DNS service started'
        provoke
        pause_long 500 1200
        during_tick=$((during_tick + 1))
        ;;
    esac
    kill -KILL "$SERVER_PID" 2>/dev/null || closed_first=$((closed_first + 1))
    wait "$SERVER_PID" 2>/dev/null || true
    [ -z "$LEASE_PID" ] || wait "$LEASE_PID" || true # bounded by its own timeout
    grep -qiE -- "$COMPLAINTS" "$WORK/stdout" "$WORK/stderr" && fault "the log complained"
    tempfiles=$((tempfiles + $(find "$FOLDER" -name '*.tmp' | wc -l)))
    snapshot count
done
ROUND=last
launch
await 'DNS service started'
stop_gently

echo "kill -9 during saves: $ROUNDS rounds in $((SECONDS - started)) s, every file whole after every kill"
echo "kills during the start: $during_start, during the close: $during_close ($closed_first closed before the kill), after a lease: $during_tick"
echo "temporary files left by a kill: $tempfiles (none read by the next start)"
printf '%-20s %10s %16s\n' file versions "rounds changed"
for file in "${FILES[@]}"; do
    count=0
    for key in "${!versions[@]}"; do [[ $key == "$file:"* ]] && count=$((count + 1)); done
    printf '%-20s %10s %16s\n' "$file" "$count" "${changed[$file]:-0}"
done
