#!/usr/bin/env bash
# Load time and peak memory of a 100 000-record zone and a 100 000-line hosts file in the record
# store, beside the same zone checked by NSD's nsd-checkzone (package nsd), one run each, measured
# with /usr/bin/time -v. Not part of pass/fail.
#   cmake --preset release -DQUORVANE_BENCH=ON && cmake --build --preset release -j2 --target store_load
#   bench/store_load_vs_peer.sh [build/release] [records]
set -euo pipefail

"$(dirname "$0")/install_packages.sh" nsd python3 time
build=${1:-build/release}
loader=$build/bench/store_load
count=${2:-100000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/data"

# One zone both programs read: no $-directives, every TTL given, the origin from outside.
python3 - "$work/data/bench.example.dns" "$work/hosts" "$count" <<'PY'
import sys
zone, hosts, count = sys.argv[1], sys.argv[2], int(sys.argv[3])
with open(zone, "w") as z:
    z.write("@ 3600 IN SOA ns1.bench.example. hostmaster.bench.example. ( 2026112201 3600 600 604800 300 )\n")
    z.write("@ 3600 IN NS ns1.bench.example.\n@ 3600 IN NS ns2.bench.example.\n")
    z.write("ns1 3600 IN A 10.255.0.1\nns2 3600 IN A 10.255.0.2\n")
    written = 5
    i = 0
    while written < count:
        kind = i % 10
        name = "host%06d" % i
        if kind < 6:
            z.write("%s 3600 IN A 10.%d.%d.%d\n" % (name, i >> 16 & 255, i >> 8 & 255, i & 255))
        elif kind < 8:
            z.write("%s 3600 IN CNAME host%06d\n" % (name, i - 1))
        elif kind == 8:
            z.write("%s 3600 IN MX 10 mail%d.bench.example.\n" % (name, i % 50))
        else:
            z.write('%s 3600 IN TXT "record %d of the benchmark zone"\n' % (name, i))
        written += 1
        i += 1
with open(hosts, "w") as h:
    for i in range(count):
        h.write("10.%d.%d.%d\tpc%06d\n" % (i >> 16 & 255, i >> 8 & 255, i & 255, i))
PY

measure() { # label, command...
    local label=$1
    shift
    /usr/bin/time -v "$@" >"$work/out" 2>"$work/time" || { cat "$work/out" "$work/time"; return 1; }
    local elapsed rss
    elapsed=$(sed -n 's/.*Elapsed (wall clock) time (h:mm:ss or m:ss): //p' "$work/time")
    rss=$(sed -n 's/.*Maximum resident set size (kbytes): //p' "$work/time")
    printf '%-34s wall %-8s max RSS %6d KiB\n' "$label" "$elapsed" "$rss"
    grep -E 'records|load|lookup' "$work/out" | sed 's/^/    /' || true
}

echo "zone: $count records, hosts file: $count lines ($(nproc) cores, $(uname -m))"
measure "quorvane store: LoadZone" "$loader" zone "$work" bench.example.
measure "quorvane store: LoadHosts" "$loader" hosts "$work/hosts"
measure "nsd-checkzone (NSD $(nsd -v 2>&1 | head -1 | awk '{print $3}'))" nsd-checkzone bench.example "$work/data/bench.example.dns"
