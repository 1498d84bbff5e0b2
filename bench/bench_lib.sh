# Shell helpers the benchmarks share (query_bench.sh, cache_bench.sh, axfr_bench.sh,
# axfr_in_bench.sh, flood_bench.sh, dhcp_bench.sh, gui_bench.sh); sourced, not run.

# Prints the script's header comment (its options) and exits with code $1 (default 0).
usage() { sed -n '2,/^set -euo/p' "$0" | sed -e '$d' -e 's/^# \{0,1\}//'; exit "${1:-0}"; }

# Ends every process named in $STARTED (ids, blank-separated).
stop_started() {
    for pid in $STARTED; do kill -KILL "$pid" 2>/dev/null || true; done
}

# user+system clock ticks of process $1 and all its descendants (NSD serves from a child).
cpu_ticks() {
    local root=$1 stat rest pid fields
    local -A parent ticks
    for f in /proc/[0-9]*/stat; do
        { read -r stat <"$f"; } 2>/dev/null || continue
        pid=${stat%% *}
        rest=${stat##*) }            # fields from the state on; the command name may hold blanks
        read -r -a fields <<<"$rest"
        parent[$pid]=${fields[1]}
        ticks[$pid]=$((fields[11] + fields[12]))
    done
    local total=0 changed=1
    local -A inside=([$root]=1)
    while [ $changed = 1 ]; do
        changed=0
        for pid in "${!parent[@]}"; do
            if [ -z "${inside[$pid]:-}" ] && [ -n "${inside[${parent[$pid]}]:-}" ]; then
                inside[$pid]=1
                changed=1
            fi
        done
    done
    for pid in "${!inside[@]}"; do total=$((total + ${ticks[$pid]:-0})); done
    echo "$total"
}

# The status of the reply in dig's output file $1, or no-reply.
reply_status() {
    local status
    status=$(sed -n 's/.*status: \([A-Z]*\),.*/\1/p' "$1")
    echo "${status:-no-reply}"
}

# Pulls the figures out of one dnsperf report as key=value lines with the prefix $2.
dnsperf_figures() {
    local report=$1 prefix=$2
    awk -v p="$prefix" '
        /Queries sent:/       { print p "sent=" $3 }
        /Queries completed:/  { print p "completed=" $3 }
        /Queries lost:/       { print p "lost=" $3 }
        /Queries per second:/ { print p "qps=" $4 }
        /Average Latency/     { print p "latency_s=" $4 }
        /Average packet size:/ { print p "response_bytes=" $NF }
        /Response codes:/     { sub(/^.*Response codes: */, ""); gsub(/ /, "_"); print p "rcodes=" $0 }
    ' "$report"
}

# One figure ($2: sent, completed, lost, qps, latency_s, response_bytes, rcodes) of the dnsperf report $1.
figure() { dnsperf_figures "$1" "" | sed -n "s/^$2=//p"; }

# Whether this shell holds the build lock $LOCK open, i.e. already runs under flock.
holds_lock() {
    local fd target
    target=$(readlink -f "$LOCK")
    for fd in /proc/$$/fd/*; do
        [ "$(readlink "$fd" 2>/dev/null)" = "$target" ] && return 0
    done
    return 1
}

# Writes $1/knot.conf: one Knot on 127.0.0.1 port 53 with one worker of each kind, serving zone
# $2 from file $3 (never written back) and letting 127.0.0.1 transfer it. With $4, Knot is a
# secondary instead: it takes the zone from the primary at address $4 port 53 and, as secondaries
# do by default, writes it to file $3 after each transfer.
write_knot_conf() {
    local dir=$1 zone=$2 file=$3 primary=${4:-}
    mkdir -p "$dir/db"
    {
        cat <<EOF
server:
    rundir: "$dir"
    pidfile: "$dir/knot.pid"
    listen: 127.0.0.1@53
    udp-workers: 1
    tcp-workers: 1
    background-workers: 1
control:
    listen: "$dir/knot.sock"
database:
    storage: "$dir/db"
log:
  - target: "$dir/knot.log"
    any: warning
acl:
  - id: transfer
    address: 127.0.0.1
    action: transfer
EOF
        [ -z "$primary" ] || printf 'remote:\n  - id: primary\n    address: %s@53\n' "$primary"
        printf 'template:\n  - id: default\n    storage: "%s"\n' "$dir"
        [ -n "$primary" ] || printf '    zonefile-sync: -1\n    journal-content: none\n'
        printf 'zone:\n  - domain: %s\n    file: "%s"\n    acl: transfer\n' "$zone" "$file"
        [ -z "$primary" ] || printf '    master: primary\n'
    } >"$dir/knot.conf"
    knotc -c "$dir/knot.conf" conf-check >/dev/null
}

# Writes $1/nsd.conf for one NSD process on address $2, port 53, serving zone $3 from file $4.
write_nsd_conf() {
    local dir=$1 address=$2 zone=$3 file=$4
    mkdir -p "$dir/xfr"
    cat >"$dir/nsd.conf" <<EOF
server:
    server-count: 1
    ip-address: $address
    port: 53
    do-ip6: no
    username: ""
    chroot: ""
    zonesdir: "$dir"
    database: ""
    pidfile: "$dir/nsd.pid"
    zonelistfile: "$dir/zone.list"
    xfrdfile: "$dir/xfrd.state"
    xfrdir: "$dir/xfr"
    logfile: "$dir/nsd.log"
    verbosity: 0
    # Debian turns response-rate limiting on; it would drop most of the load.
    rrl-ratelimit: 0
    rrl-whitelist-ratelimit: 0
    rrl-slip: 0
remote-control:
    control-enable: no
zone:
    name: $zone
    zonefile: "$file"
EOF
    nsd-checkconf "$dir/nsd.conf"
}
