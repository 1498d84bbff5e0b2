#!/usr/bin/env bash
# A full disk: the program folder lies on a small tmpfs (in a private mount namespace). The server
# first writes each of its files once (the good copies), then runs while a filler file takes every
# free block, and is made to write each file again:
#   quorvane.ini (a start), data/sec.test.dns (NOTIFY, then a transfer of a newer serial from NSD),
#   data/local.test.dns (quorvane-ctl add-record), blocks.dat and named.cache (the close),
#   dhcp.dat (a lease), support.txt (SIGUSR2), the daily log (the lines of all that) and the
#   day's block log (a flood).
# Each write must fail cleanly: a line in the server's output or a non-zero exit of quorvane-ctl
# (a day log may instead take a short append into the slack of its last page, and say nothing),
# the server still answering (dig during the full phase), no crash (exit code 0 after SIGTERM),
# no temporary file left, and every file byte for byte its good copy (the daily log may only have
# grown). Then the filler goes, and each file must be written anew. Prints a table file by file
# and exits non-zero on any failure.
#
#   sudo bench/fulldisk.sh [-b QUORVANE_BINARY] [-s TMPFS_SIZE]
#     -b  the server (default build/release/apps/quorvane/quorvane; quorvane-ctl beside it)
#     -s  the tmpfs size (default 2m)
#
# Needs root, NSD, dig and python3; runs in a private network and mount namespace and ends only
# the processes it started, by their PID. Takes about half a minute.
set -euo pipefail
BINARY=build/release/apps/quorvane/quorvane
SIZE=2m
while getopts b:s: option; do
    case $option in
    b) BINARY=$OPTARG ;;
    s) SIZE=$OPTARG ;;
    *) exit 2 ;;
    esac
done
if [ -z "${FULLDISK_INSIDE:-}" ]; then
    BINARY=$(realpath "$BINARY")
    [ -x "$BINARY" ] || { echo "no server at $BINARY" >&2; exit 2; }
    FULLDISK_INSIDE=1 exec unshare --net --mount --propagation private bash "$0" -b "$BINARY" -s "$SIZE"
fi
CTL=$(dirname "$BINARY")/quorvane-ctl

WORK=$(mktemp -d /tmp/quorvane-fulldisk.XXXXXX)
DISK="$WORK/disk"
FOLDER="$DISK/folder"
GOOD="$WORK/good"
mkdir -p "$DISK" "$GOOD"
mount -t tmpfs -o "size=$SIZE" tmpfs "$DISK"
source "$(dirname "$0")/save_rig.sh"
SERVER_PID=""
trap 'set +e; rig_stop; [ -z "$SERVER_PID" ] || kill -KILL "$SERVER_PID" 2>/dev/null; umount "$DISK"; rm -rf "$WORK"' EXIT

FILES=(quorvane.ini data/sec.test.dns data/local.test.dns blocks.dat named.cache dhcp.dat support.txt log block.log)
declare -A full_kept full_reported after_saved
failures=0
problem() {
    echo "FAILURE: $*" >&2
    failures=$((failures + 1))
}

# Starts the server; its output goes to $WORK/out.N (N counts the starts), named by $OUT.
STARTS=0
launch() {
    STARTS=$((STARTS + 1))
    OUT="$WORK/out.$STARTS"
    "$BINARY" --headless --dir "$FOLDER" >"$OUT" 2>&1 &
    SERVER_PID=$!
}
# Waits up to 10 s for command $@ to succeed; false when it does not.
within() {
    for _ in $(seq 100); do
        "$@" && return 0
        sleep 0.1
    done
    return 1
}
logged() { grep -qE -- "$1" "$OUT"; }
stop() {
    kill -TERM "$SERVER_PID"
    local rc=0
    wait "$SERVER_PID" || rc=$?
    [ "$rc" = 0 ] || problem "exit code $rc after SIGTERM ($1)"
    SERVER_PID=""
}
# The path of file $1 of FILES (the log: today's daily log).
path_of() {
    case $1 in
    log) echo "$FOLDER/logs/$(date +%Y%m%d).log" ;;
    block.log) echo "$FOLDER/logs/$(date +%Y%m%d)block.log" ;;
    *) echo "$FOLDER/$1" ;;
    esac
}
answering() {
    dig @127.0.0.1 +short +tries=1 +time=2 www.sec.test A | grep -qxE '192\.0\.2\.[12]' &&
        [ "$(dig @127.0.0.1 +short +tries=1 +time=2 host.local.test A)" = "192.0.2.50" ] &&
        [ "$(dig @127.0.0.1 +short +tries=1 +time=2 "n$1.fwd.test" A)" = "198.51.100.$1" ]
}
# NOTIFY for sec.test from its primary, so that the server checks the serial and transfers.
notify() {
    python3 - <<'PY'
import socket, struct
s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
s.bind(("127.0.0.21", 0))
s.settimeout(2)
s.sendto(struct.pack(">HHHHHH", 99, 0x2400, 1, 0, 0, 0) + b"\x03sec\x04test\x00\x00\x06\x00\x01", ("127.0.0.1", 53))
try:
    s.recv(512)
except OSError:
    pass
PY
}
add_record() { "$CTL" --dir "$FOLDER" add-record local.test "$1 A 192.0.2.$2" >>"$WORK/ctl" 2>&1; }

# --- the good copies ----------------------------------------------------------------------------------
rig_network
rig_nsd 1
rig_folder "$FOLDER" "WriteLog: YES"
cp "$RIG_DIR/../examples/home-office/named.root" "$FOLDER/"
printf '@ IN SOA ns.local.test. admin.local.test. 1 3600 600 86400 300\n@ IN NS ns\nns IN A 127.0.0.1\nhost IN A 192.0.2.50\n' \
    >"$FOLDER/data/local.test.dns"
launch
within logged 'DNS service started' || problem "no start"
rig_lease 1 || problem "no lease"
rig_flood "${FLOODERS[0]}"
rig_queries 3
add_record first 51 || problem "add-record on a disk with room: $(cat "$WORK/ctl")"
within grep -qs "^dhcp-" "$FOLDER/dhcp.dat" || problem "dhcp.dat not written"
within grep -qs only1 "$FOLDER/data/sec.test.dns" || problem "sec.test not transferred"
kill -USR2 "$SERVER_PID"
within test -s "$FOLDER/support.txt" || problem "no support.txt"
stop "good copies"

# --- the full phase -----------------------------------------------------------------------------------
launch
within logged 'DNS service started' || problem "no start before filling"
sleep 0.5 # the check of the secondary zone at the start (same serial: nothing to write)
for file in "${FILES[@]}"; do
    [ -s "$(path_of "$file")" ] || problem "no good copy of $file"
    cp "$(path_of "$file")" "$GOOD/${file//\//_}"
done
full_from=$STARTS
dd if=/dev/zero of="$DISK/filler" bs=4k 2>/dev/null || true
echo "tmpfs $SIZE filled: $(df --output=avail -k "$DISK" | tail -1 | tr -d ' ') KB left"
answering 10 || problem "not answering on the full disk"
rig_lease 2 || problem "no lease on the full disk"
rig_nsd_stop
rig_nsd 2
notify
sleep 2 # the lease's tick, the transfer
kill -USR2 "$SERVER_PID"
add_record second 52 && problem "add-record said it succeeded on a full disk"
rig_flood "${FLOODERS[1]}"
rig_queries 3
answering 11 || problem "not answering on the full disk, after the writes"
kill -0 "$SERVER_PID" || problem "the server ended on the full disk"
stop "the full disk"
launch # the start writes quorvane.ini
within logged 'DNS service started' || problem "no start on the full disk"
answering 12 || problem "not answering after a start on the full disk"
sleep 1.2
for ((n = full_from; n <= STARTS; n++)); do cat "$WORK/out.$n"; done >"$WORK/full.log"
cat "$WORK/ctl" >>"$WORK/full.log"
for file in "${FILES[@]}"; do
    path=$(path_of "$file")
    good="$GOOD/${file//\//_}"
    if [[ $file == *log ]]; then
        [ "$(stat -c %s "$path")" -ge "$(stat -c %s "$good")" ] &&
            cmp -s -n "$(stat -c %s "$good")" "$path" "$good" && full_kept[$file]=yes || full_kept[$file]=NO
    else
        cmp -s "$path" "$good" && full_kept[$file]=yes || full_kept[$file]=NO
    fi
    name=$(basename "$file")
    [ "$file" = log ] && name='logs/[0-9]{8}\.log'
    if grep -qiE "(cannot|error|fail|not).*$name|$name.*(cannot|error|fail|no space)" "$WORK/full.log"; then
        full_reported[$file]=yes
    elif [[ $file == *log ]] && [ "$(stat -c %s "$path")" -gt "$(stat -c %s "$good")" ]; then
        full_reported[$file]=appended # a short append fits in the slack of the file's last page
    else
        full_reported[$file]=NO
    fi
done
leftovers=$(find "$FOLDER" -name '*.tmp' | wc -l)
[ "$leftovers" = 0 ] || problem "$leftovers temporary files left on the full disk"

# --- space again --------------------------------------------------------------------------------------
rm "$DISK/filler"
rig_lease 3 || problem "no lease after freeing"
notify
kill -USR2 "$SERVER_PID"
rig_flood "${FLOODERS[2]}"
rig_queries 3
dig @127.0.0.1 +tries=1 +time=2 after-freeing.local.test A >/dev/null || true
sleep 1.5
stop "after freeing"
launch # quorvane.ini names the reload port that quorvane-ctl needs
within logged 'DNS service started' || problem "no start after freeing"
add_record third 53 || problem "add-record after freeing: $(cat "$WORK/ctl")"
stop "the last start"
saved() {
    case $1 in
    quorvane.ini) ! cmp -s "$2" "$3" ;;
    data/sec.test.dns) grep -q only2 "$2" ;;
    data/local.test.dns) grep -q '^third' "$2" ;;
    blocks.dat) grep -q "^${FLOODERS[2]}" "$2" ;;
    named.cache | dhcp.dat | support.txt) ! cmp -s "$2" "$3" ;;
    log) grep -q 'after-freeing' "$2" ;;
    block.log) grep -q "${FLOODERS[2]}" "$2" ;;
    esac
}
for file in "${FILES[@]}"; do
    saved "$file" "$(path_of "$file")" "$GOOD/${file//\//_}" && after_saved[$file]=yes || after_saved[$file]=NO
done

printf '%-22s %-22s %-20s %-18s\n' file "full: file unchanged" "full: failure told" "freed: saved anew"
for file in "${FILES[@]}"; do
    printf '%-22s %-22s %-20s %-18s\n' "$file" "${full_kept[$file]}" "${full_reported[$file]}" "${after_saved[$file]}"
    for column in "${full_kept[$file]}" "${full_reported[$file]}" "${after_saved[$file]}"; do
        [ "$column" = yes ] || [ "$column" = appended ] || problem "$file"
    done
done
[ "$failures" = 0 ] || {
    echo "--- what the server and quorvane-ctl said on the full disk:"
    grep -v -e '   Request from' -e '   Sending' -e '   Reply from' -e '   ->' "$WORK/full.log"
    exit 1
}
echo "full disk: every write failed cleanly, answering went on, every file saved again once freed"
