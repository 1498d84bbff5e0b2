#!/usr/bin/env bash
# Zone transfer benchmark, the other way round: one large zone taken by AXFR from an NSD
# primary, with Quorvane, Knot and BIND in turn as its secondary, each starting with no copy of
# it. A benchmark, not a test: CI never runs it and nothing passes or fails on it.
# Targets: Quorvane's time to the zone's last record and its memory no higher than the lower of
# Knot's and BIND's.
#
#   sudo bench/axfr_in_bench.sh [-n RECORDS] [-r RUNS] [-b QUORVANE_BINARY] [-s "SERVERS"] [-k]
#
#   -n  host records in the zone besides its SOA, NS and glue (default 100000); of every ten,
#       six are A records and one each a CNAME, an MX, a TXT and an NS (make_zone.py --mixed)
#   -r  runs per secondary, each from its start with no copy of the zone (default 3); medians
#       are reported
#   -b  the Quorvane binary (default build/release/apps/quorvane/quorvane; build it first with
#       cmake --preset release && cmake --build --preset release)
#   -s  which secondaries, in order (default "quorvane knot bind")
#   -k  keep the scratch folder (configurations, zone, logs, answers) and print its path
#
# Needs root and two cores. Installs what is missing with apt-get (nsd, knot, knot-dnsutils,
# bind9, bind9-dnsutils, gcc, iproute2, util-linux, python3, procps) without starting the
# packages' services. Under the shared build lock (/tmp/quorvane-build.lock, or $QUORVANE_LOCK)
# so that no build runs during a measurement, it compiles zone_arrival.c, writes the zone, and in
# a private network and process namespace where only loopback exists:
#   - starts NSD as the zone's primary on 127.0.0.2 port 53, on core 1, letting 127.0.0.1
#     transfer the zone, and waits until it answers the SOA;
#   - runs each secondary -r times on 127.0.0.1 port 53, on core 0 with one worker, each time in
#     a fresh folder: Quorvane with data/ZONE.dns holding only "; PrimaryIP 127.0.0.2",
#     LogDetail off and no log lines (--quiet); Knot and BIND configured as secondaries of
#     127.0.0.2 with an empty storage folder. All three write the zone to their file after the
#     transfer, as they do by default;
#   - each run: from the secondary's start, zone_arrival (on core 1) asks it every 10 ms for the
#     zone's SOA and for the A record of the file's last A name, and notes when it first replied
#     at all (start-up), first answered the SOA with AA, and first answered the last record with
#     its address (at most 120 s); NSD's log (verbosity 2) says when the secondary asked it for
#     the transfer. About 1 s later the secondary's resident memory (VmRSS) and user+system
#     time (/proc/PID/status and stat) are read, and it is stopped;
#   - after a secondary's first run, before it is stopped, its answers to a sample of questions
#     (200 names of each type, names that do not exist, types a name lacks, names below a
#     delegation, the apex) are compared with NSD's: status, AA flag, and the records of the
#     answer and authority sections taken together, less the zone's own NS records as
#     authority (servers differ in where they put records, not in which). A secondary that
#     differs is reported but still measured; one whose run fails is not run again.
# All three ask the primary as soon as they are up.
# It prints one table of medians with ratios against the lower of Knot and BIND. Everything it
# starts it ends by process id; each client has a time limit; the namespaces go away with the
# script. A full run takes well under a minute.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
top=$(cd "$here/.." && pwd)
source "$here/bench_lib.sh"

QUORVANE=$top/build/release/apps/quorvane/quorvane
SERVERS="quorvane knot bind"
RECORDS=100000
RUNS=3
KEEP=0
LOCK=${QUORVANE_LOCK:-/tmp/quorvane-build.lock}
ZONE=bench.test
PRIMARY=127.0.0.2
LIMIT_SECONDS=120
SAMPLE_PER_TYPE=200

# ---------------------------------------------------------------------------------------------
# Inside the private namespace. Results go to $WORK/results/SERVER: key=value lines and one line
# per run.
# ---------------------------------------------------------------------------------------------

STARTED=""
SERVER_PID=""
STARTED_AT=""

# Starts the secondary on core 0 and notes the moment just before it.
launch() {
    local dir=$1
    shift
    STARTED_AT=$EPOCHREALTIME
    taskset -c 0 "$@" >>"$dir/server.out" 2>&1 &
    SERVER_PID=$!
    STARTED="$STARTED $SERVER_PID"
}

on_client_core() { taskset -c 1 timeout "$((LIMIT_SECONDS + 5))" "$@"; }

start_primary() {
    local dir=$WORK/nsd
    write_nsd_conf "$dir" "$PRIMARY" "$ZONE" "$WORK/$ZONE.dns" >/dev/null
    echo "    provide-xfr: 127.0.0.1 NOKEY" >>"$dir/nsd.conf"
    # Verbosity 2 logs each transfer request, to the millisecond: the moment a secondary asks.
    sed -i 's/^    verbosity: 0$/    verbosity: 2/' "$dir/nsd.conf"
    taskset -c 1 nsd -d -c "$dir/nsd.conf" >"$dir/server.out" 2>&1 &
    STARTED="$STARTED $!"
    for _ in $(seq 300); do
        dig @"$PRIMARY" +tries=1 +time=1 +norec "$ZONE" SOA 2>/dev/null |
            grep -q 'status: NOERROR' && return 0
        sleep 0.1
    done
    echo "NSD on $PRIMARY does not answer the SOA of $ZONE:" >&2
    cat "$dir/server.out" "$dir/nsd.log" >&2 2>/dev/null || true
    exit 1
}

# The program folder: settings, and the zone's file naming only its primary. No flood limit:
# the watcher asks two hundred times a second and the sample comes in one burst. No log lines
# (--quiet): with the log open, each of the watcher's questions would be two lines.
start_quorvane() {
    local dir=$1
    mkdir -p "$dir/data"
    echo "; PrimaryIP $PRIMARY" >"$dir/data/$ZONE.dns"
    printf 'Name: ns.quorvane.test\nDNSBind: 127.0.0.1\nLogDetail: NO\nBombLevel: 0\n' \
        >"$dir/quorvane.ini"
    launch "$dir" "$QUORVANE" --headless --quiet --dir "$dir"
}

start_knot() {
    local dir=$1
    write_knot_conf "$dir" "$ZONE" "$dir/$ZONE.zone" "$PRIMARY"
    launch "$dir" knotd -c "$dir/knot.conf"
}

# named stays root (no -u) and in the foreground (-g, logging to stderr), with one worker
# thread; no rndc channel. It runs as a copy: where AppArmor is on, Debian's profile for
# /usr/sbin/named keeps it out of $WORK.
start_bind() {
    local dir=$1
    cat >"$dir/named.conf" <<EOF
options {
    directory "$dir";
    pid-file "$dir/named.pid";
    session-keyfile "$dir/session.key";
    managed-keys-directory "$dir";
    listen-on { 127.0.0.1; };
    listen-on-v6 { none; };
    recursion no;
    dnssec-validation no;
    notify no;
    allow-transfer { 127.0.0.1; };
};
controls { };
zone "$ZONE" {
    type secondary;
    primaries { $PRIMARY; };
    file "$ZONE.zone";
};
EOF
    named-checkconf "$dir/named.conf"
    launch "$dir" "$WORK/named" -g -4 -n 1 -c "$dir/named.conf"
}

stop_server() {
    kill -TERM "$SERVER_PID" 2>/dev/null || true
    timeout 10 tail --pid="$SERVER_PID" -f /dev/null || kill -KILL "$SERVER_PID" 2>/dev/null || true
    wait "$SERVER_PID" 2>/dev/null || true
}

# The questions of the sample, "name type" a line: SAMPLE_PER_TYPE host names of each type,
# spread over the zone, each asked for its own type; twenty of the A names asked for TXT,
# which they lack; twenty names below a delegation; twenty names that do not exist; the apex.
write_sample() {
    awk -v per="$SAMPLE_PER_TYPE" -v zone="$ZONE." '
        FNR == NR { if ($1 ~ /^h/) count[$4]++; next }
        $1 ~ /^h/ {
            step = int(count[$4] / per)
            if (step < 1) step = 1
            if (seen[$4]++ % step != 0 || taken[$4]++ >= per) next
            print $1, $4
            if ($4 == "A" && lacking++ < 20) print $1, "TXT"
            if ($4 == "NS" && below++ < 20) print "www." $1, "A"
        }
        END {
            print zone, "SOA"
            print zone, "NS"
            print "ns1." zone, "A"
            for (i = 0; i < 20; ++i) printf "x%05d.%s A\n", i, zone
        }' "$WORK/$ZONE.dns" "$WORK/$ZONE.dns" >"$WORK/sample.txt"
}

# The answers of server $1 to the sample, one line per question: status, AA or not, then the
# records of the answer and authority sections together, as dig prints them (blanks made
# single), sorted, each once. Servers lay the same data out differently: some add the zone's
# NS records as authority to every answer, some put the NS records of a delegation asked for
# by type NS in the answer section, others in the authority section; so the zone's own NS
# records in the authority section are left out, and the two sections are read as one.
sample_answers() {
    on_client_core dig @"$1" -f "$WORK/sample.txt" +norec +tries=1 +time=2 +noall +answer \
        +authority +comments 2>&1 | awk -v apex="$ZONE." '
        function flush(   i, j, r, out) {
            if (line == "") return
            for (i = 2; i <= n; ++i) { # a few records: insertion sort
                r = rec[i]
                for (j = i - 1; j >= 1 && rec[j] > r; --j) rec[j + 1] = rec[j]
                rec[j + 1] = r
            }
            out = line
            for (i = 1; i <= n; ++i) if (i == 1 || rec[i] != rec[i - 1]) out = out " | " rec[i]
            print out
            line = ""
            n = 0
        }
        /->>HEADER<<-/ {
            flush()
            line = $0
            sub(/.*status: /, "", line)
            sub(/,.*/, "", line)
            next
        }
        /^;; flags:/ {
            flags = $0
            sub(/;[^;]*$/, "", flags)
            line = line (flags ~ / aa( |$)/ ? " aa" : " -")
            next
        }
        /^;; ANSWER SECTION:/ { authority = 0; next }
        /^;; AUTHORITY SECTION:/ { authority = 1; next }
        /no servers could be reached/ { flush(); print "no reply"; next }
        /^;/ || NF == 0 { next }
        authority && $1 == apex && $4 == "NS" { next }
        { $1 = $1; rec[++n] = $0 }
        END { flush() }'
}

# Compares the secondary's answers to the sample with the primary's; prints ok or how many of
# the questions got other answers (the pairs are kept in the server's folder).
check_sample() {
    local dir=$1 questions differing
    questions=$(wc -l <"$WORK/sample.txt")
    [ -s "$WORK/primary-answers.txt" ] || sample_answers "$PRIMARY" >"$WORK/primary-answers.txt"
    sample_answers 127.0.0.1 >"$dir/answers.txt"
    paste -d '\n' "$WORK/sample.txt" "$WORK/primary-answers.txt" "$dir/answers.txt" |
        awk 'NR % 3 == 1 { q = $0 } NR % 3 == 2 { p = $0 } NR % 3 == 0 && $0 != p {
            print "? " q; print "  primary:   " p; print "  secondary: " $0 }' >"$dir/differing.txt"
    differing=$(grep -c '^?' "$dir/differing.txt" || true)
    if [ "$(wc -l <"$WORK/primary-answers.txt")" -ne "$questions" ]; then
        echo "primary_gave_$(wc -l <"$WORK/primary-answers.txt")_of_$questions"
    elif [ "$differing" -eq 0 ] && [ "$(wc -l <"$dir/answers.txt")" -eq "$questions" ]; then
        echo "ok"
    else
        echo "differs:${differing}_of_$questions"
        head -n 12 "$dir/differing.txt" | sed 's/^/   | /' >&2
    fi
}

# Records in Quorvane's zone file $1 as it wrote it after the transfer: one a line, after the
# comment lines.
file_records() { awk '!/^;/ && NF { n++ } END { print n + 0 }' "$1" 2>/dev/null || echo 0; }

# Transfer requests NSD has logged so far, as lines
# "[2026-11-23 23:09:22.682] nsd[10]: info: axfr for bench.test. from 127.0.0.1".
transfer_requests() { grep "xfr for $ZONE\. from" "$WORK/nsd/nsd.log" || true; }

# Seconds from the secondary's start to the first transfer request after the $1 earlier ones,
# or - when there is none.
transfer_asked() {
    local stamp
    stamp=$(transfer_requests | sed -n "$(($1 + 1)){s/^\[\([^]]*\)\].*/\1/p;q}")
    if [ -z "$stamp" ]; then
        echo -
        return
    fi
    awk -v a="$STARTED_AT" -v b="$(date -d "$stamp" +%s.%N)" 'BEGIN { printf "%.3f", b - a }'
}

# One run of secondary $1 (run $2): prints "run REPLY_S SOA_S LAST_S ASKED_S RSS_KB CPU_TICKS",
# or "failed=..." and returns 1.
run_once() {
    local name=$1 run=$2 dir=$WORK/$1/run$2 moments asked rss ticks requests
    mkdir -p "$dir"
    requests=$(transfer_requests | wc -l)
    "start_$name" "$dir"
    if ! moments=$(on_client_core "$WORK/zone_arrival" 127.0.0.1 "$ZONE" "$LAST_NAME" \
        "$LAST_ADDRESS" "$STARTED_AT" "$LIMIT_SECONDS"); then
        echo "   run $run: no answer with the zone within $LIMIT_SECONDS s ($moments)" >&2
        tail -n 20 "$dir/server.out" "$dir/knot.log" 2>/dev/null | sed 's/^/   | /' >&2
        [ ! -f "$dir/data/$ZONE.dns" ] ||
            echo "   data/$ZONE.dns holds $(wc -l <"$dir/data/$ZONE.dns") lines" >&2
        echo "failed=run_${run}:${moments// /,}"
        stop_server
        return 1
    fi
    sleep 1
    asked=$(transfer_asked "$requests")
    rss=$(awk '/^VmRSS:/ { print $2 }' "/proc/$SERVER_PID/status" 2>/dev/null || true)
    ticks=$(cpu_ticks "$SERVER_PID")
    if ! kill -0 "$SERVER_PID" 2>/dev/null || [ -z "$rss" ]; then
        echo "   run $run: the server ended after it answered ($moments)" >&2
        echo "failed=run_${run}:ended"
        stop_server
        return 1
    fi
    moments=${moments//reply=/}
    moments=${moments//soa=/}
    moments=${moments//last=/}
    echo "run $moments $asked $rss $ticks"
    echo "   run $run: up, SOA, last record after $moments s (AXFR asked at $asked s);" \
        "VmRSS $((rss / 1024)) MB; CPU $((ticks * 1000 / CLK_TCK)) ms" >&2
    if [ "$run" = 1 ]; then
        local check
        check=$(check_sample "$dir")
        echo "check=$check"
        echo "   answers to the sample: $check" >&2
        [ "$name" != quorvane ] || echo "file_records=$(file_records "$dir/data/$ZONE.dns")"
    fi
    stop_server
}

measure_server() {
    local name=$1 run
    echo "== $name" >&2
    for run in $(seq "$RUNS"); do
        run_once "$name" "$run" || break
    done >"$WORK/results/$name"
}

inside_namespace() {
    WORK=$1
    source "$WORK/settings"
    trap stop_started EXIT
    ip link set lo up
    mkdir -p "$WORK/results"
    CLK_TCK=$(getconf CLK_TCK)
    LAST_NAME=$(awk '$4 == "A" { last = $1 } END { print last }' "$WORK/$ZONE.dns")
    LAST_ADDRESS=$(awk '$4 == "A" { last = $5 } END { print last }' "$WORK/$ZONE.dns")
    write_sample
    start_primary
    echo "NSD serves $ZONE on $PRIMARY; the last A record is $LAST_NAME $LAST_ADDRESS" >&2
    local name
    for name in $SERVERS; do measure_server "$name"; done
}

# ---------------------------------------------------------------------------------------------
# Outside: packages, the lock, the scratch folder, then the namespace, then the table.
# ---------------------------------------------------------------------------------------------

main() {
    if [ "${1:-}" = --inside-namespace ]; then
        inside_namespace "$2"
        return
    fi
    local opt
    while getopts "n:r:b:s:kh" opt; do
        case $opt in
            n) RECORDS=$OPTARG ;;
            r) RUNS=$OPTARG ;;
            b) QUORVANE=$(readlink -f "$OPTARG") ;;
            s) SERVERS=$OPTARG ;;
            k) KEEP=1 ;;
            h) usage ;;
            *) usage 2 ;;
        esac
    done
    [ "$(id -u)" -eq 0 ] || { echo "run as root (network namespaces, port 53)" >&2; exit 1; }
    [ "$(nproc)" -ge 2 ] || {
        echo "needs two cores: one for the secondary, one for the primary and the clients" >&2
        exit 1
    }
    local name
    for name in $SERVERS; do
        case $name in
            knot | bind) ;;
            quorvane) [ -x "$QUORVANE" ] || {
                echo "no Quorvane binary at $QUORVANE; build it (cmake --preset release &&" \
                    "cmake --build --preset release) or pass -b" >&2
                exit 1
            } ;;
            *) echo "unknown secondary: $name (quorvane, knot, bind)" >&2; exit 2 ;;
        esac
    done

    "$here/install_packages.sh" nsd knot knot-dnsutils bind9 bind9-dnsutils gcc libc6-dev \
        iproute2 util-linux python3 procps
    if ! holds_lock; then # wait for builds to finish, and keep them out while measuring
        echo "Waiting for $LOCK ..." >&2
        exec flock "$LOCK" "$0" "$@"
    fi

    WORK=$(mktemp -d /tmp/quorvane-axfr-in-bench.XXXXXX)
    if [ "$KEEP" = 1 ]; then
        trap 'echo "scratch folder kept: $WORK" >&2' EXIT
    else
        trap 'rm -rf "$WORK"' EXIT
    fi
    cc -O2 -Wall -o "$WORK/zone_arrival" "$here/zone_arrival.c"
    cp "$(command -v named)" "$WORK/named"
    python3 "$here/make_zone.py" "$WORK/$ZONE.dns" /dev/null --zone "$ZONE" --names "$RECORDS" \
        --mixed

    local v
    for v in RUNS QUORVANE SERVERS; do
        printf '%s=%q\n' "$v" "${!v}"
    done >"$WORK/settings"
    # Own network (only lo) and process namespaces: when the script ends, nothing it started
    # outlives it, and no packet leaves loopback.
    unshare --net --pid --fork --mount-proc --kill-child bash "$0" --inside-namespace "$WORK"
    # -B: bench_table is imported; leave no byte code in the source tree.
    # shellcheck disable=SC2086 # one argument per server
    python3 -B "$here/axfr_in_table.py" "$WORK/results" $SERVERS --records "$((RECORDS + 3))" \
        --clk-tck "$(getconf CLK_TCK)"
}

main "$@"
