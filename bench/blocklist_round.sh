#!/usr/bin/env bash
# The part of blocklist_bench.sh that runs inside the private network namespace.
set -euo pipefail
binary=$1 work=$2 rounds=$3
shift 3
ip link set lo up
rss() { awk '/^VmRSS/ {print $2}' "/proc/$1/status"; }
hwm() { awk '/^VmHWM/ {print $2}' "/proc/$1/status"; }
now() { date +%s.%N; }
median() { sort -g | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }
# Waits until a name gets the answer wanted from the server on 127.0.0.1.
wait_answer() { until dig +short +time=1 +tries=1 @127.0.0.1 "$1" 2>/dev/null | grep -qx "$2"; do sleep 0.01; done; }

sizes=()
for n in "$@"; do
    python3 bench/make_blocklist.py "$n" >"$work/list.txt"
    probe=$(sed -n '2p' "$work/list.txt" | awk '{print $2}')
    for r in $(seq "$rounds"); do
        rm -rf "$work/q" && mkdir -p "$work/q/data"
        printf '@ IN SOA ns.lan. a.lan. 1 1 1 1 1\nhost IN A 10.0.0.1\n' >"$work/q/data/lan.dns"
        printf 'DNSBind: 127.0.0.1\n' >"$work/q/quorvane.ini"
        "$binary" --headless --quiet --dir "$work/q" & pid=$!
        wait_answer host.lan 10.0.0.1
        base=$(rss $pid)
        kill $pid && wait $pid || true

        printf 'DNSBind: 127.0.0.1\nBlockList: %s\n' "$work/list.txt" >"$work/q/quorvane.ini"
        start=$(now)
        "$binary" --headless --quiet --dir "$work/q" & pid=$!
        wait_answer "$probe" 0.0.0.0
        echo "$(now) - $start" | bc >>"$work/load.$n"
        sleep 1
        echo "$(rss $pid) $base" >>"$work/rss.$n"
        echo "scale=1; ($(rss $pid) - $base) * 1024 / $n" | bc >>"$work/bytes.$n"
        python3 bench/udp_wait_probe.py 4 host.lan >>"$work/wait.$n" &
        prober=$!
        sleep 0.5
        kill -HUP $pid
        wait $prober || true
        hwm $pid >>"$work/peak.$n"
        kill $pid && wait $pid || true

        awk '{print "0.0.0.0 " $2}' "$work/list.txt" >"$work/hosts.txt"
        start=$(now)
        dnsmasq --keep-in-foreground --no-resolv --no-hosts --listen-address=127.0.0.1 --bind-interfaces \
            --addn-hosts="$work/hosts.txt" --pid-file= --user=root 2>/dev/null & dpid=$!
        wait_answer "$probe" 0.0.0.0
        echo "$(now) - $start" | bc >>"$work/dload.$n"
        echo "scale=1; $(rss $dpid) * 1024 / $n" | bc >>"$work/dbytes.$n"
        kill $dpid && wait $dpid || true

        # Unbound as it is set up for blocking: a local zone per name answered with 0.0.0.0.
        awk 'NR > 1 {print "local-zone: \"" $2 ".\" always_null"}' "$work/list.txt" >"$work/zones.conf"
        printf 'server:\n interface: 127.0.0.1\n do-daemonize: no\n chroot: ""\n username: ""\n num-threads: 1\n use-syslog: no\n pidfile: ""\n include: "%s"\n' \
            "$work/zones.conf" >"$work/unbound.conf"
        start=$(now)
        unbound -c "$work/unbound.conf" 2>/dev/null & upid=$!
        wait_answer "$probe" 0.0.0.0
        echo "$(now) - $start" | bc >>"$work/uload.$n"
        echo "scale=1; $(rss $upid) * 1024 / $n" | bc >>"$work/ubytes.$n"
        kill $upid && wait $upid || true
    done
    echo "$n names (medians of $rounds rounds):"
    echo "  quorvane: $(median <"$work/bytes.$n") bytes/name, load $(median <"$work/load.$n") s," \
         "peak RSS during reload $(median <"$work/peak.$n") kB, longest wait during reload $(median <"$work/wait.$n") ms"
    echo "  dnsmasq:  $(median <"$work/dbytes.$n") bytes/name (whole process), load $(median <"$work/dload.$n") s"
    echo "  unbound:  $(median <"$work/ubytes.$n") bytes/name (whole process), load $(median <"$work/uload.$n") s"
    echo "  quorvane resident kB with the list: $(cut -d' ' -f1 "$work/rss.$n" | median), without: $(cut -d' ' -f2 "$work/rss.$n" | median)"
    sizes+=("$n")
done
# Fixed costs (thread heaps, start-up garbage the build's trim gives back) cancel out between two sizes.
if [ ${#sizes[@]} -ge 2 ]; then
    a=${sizes[0]} b=${sizes[1]}
    ra=$(cut -d' ' -f1 "$work/rss.$a" | median) rb=$(cut -d' ' -f1 "$work/rss.$b" | median)
    echo "quorvane memory per name between $b and $a names: $(echo "scale=1; ($ra - $rb) * 1024 / ($a - $b)" | bc) bytes"
fi
