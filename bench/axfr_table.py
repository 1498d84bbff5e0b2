#!/usr/bin/env python3
"""Prints the zone transfer benchmark's table from the result files that axfr_bench.sh wrote.

    axfr_table.py RESULTS_DIR SERVER... --records N --clk-tck HZ

A result file holds "key=value" lines (ready, check) and one line per transfer:
    kdig   MS BYTES MESSAGES RECORDS CPU_TICKS
    reader MS RECORDS MESSAGES BYTES CPU_TICKS
    probe  MAX_WAIT_MS MAX_GAP_MS SENT ANSWERED MEDIAN_WAIT_MS READER_MS
Every figure shown is the median over a server's transfers, except CPU time: the clock ticks are
coarse beside one transfer, so it is their mean. Ratios are against the faster (by axfr_reader's
time) of NSD and Knot.
"""
import argparse
import os
import statistics

from bench_table import print_table, ratio, show

PEERS = ("nsd", "knot")
COLUMNS = {
    "kdig": ("ms", "bytes", "messages", "records", "ticks"),
    "reader": ("ms", "records", "messages", "bytes", "ticks"),
    "probe": ("max_wait", "max_gap", "sent", "answered", "median_wait", "reader_ms"),
}


def read(path):
    keys, runs = {}, {kind: [] for kind in COLUMNS}
    if os.path.exists(path):
        with open(path) as f:
            for line in f:
                words = line.split()
                if not words:
                    continue
                if words[0] in COLUMNS and len(words) == len(COLUMNS[words[0]]) + 1:
                    try:
                        runs[words[0]].append(dict(zip(COLUMNS[words[0]], map(float, words[1:]))))
                    except ValueError:
                        pass
                else:
                    key, _, value = line.strip().partition("=")
                    keys[key] = value
    return keys, runs


def median(runs, key):
    values = [run[key] for run in runs if key in run]
    return statistics.median(values) if values else None


def mean(runs, key):
    values = [run[key] for run in runs if key in run]
    return statistics.mean(values) if values else None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("results")
    parser.add_argument("servers", nargs="+")
    parser.add_argument("--records", type=int, required=True, help="records in the zone file")
    parser.add_argument("--clk-tck", type=float, default=100.0)
    args = parser.parse_args()

    rows = {}
    for server in args.servers:
        keys, runs = read(os.path.join(args.results, server))
        kdig, reader, probe = runs["kdig"], runs["reader"], runs["probe"]
        records = {int(r["records"]) for r in kdig + reader}
        ticks_ms = 1e3 / args.clk_tck
        rows[server] = {
            "check": keys.get("check", "not measured" if keys.get("ready") == "no" else "-"),
            "ready": keys.get("ready", "-"),
            # Every transfer must end with the SOA again: one record more than the file.
            "complete": f"{len(kdig)}+{len(reader)}" if records == {args.records + 1} else
                        f"records {sorted(records)}",
            "kdig_ms": median(kdig, "ms"),
            "reader_ms": median(reader, "ms"),
            "bytes": median(kdig, "bytes"),
            "messages": median(kdig, "messages"),
            # Ticks are coarse beside one transfer: the mean over the runs says more than a median.
            "cpu_ms": (lambda t: t * ticks_ms if t is not None else None)(mean(reader, "ticks")),
            "kdig_cpu_ms": (lambda t: t * ticks_ms if t is not None else None)(mean(kdig, "ticks")),
            "max_wait": median(probe, "max_wait"),
            "max_gap": median(probe, "max_gap"),
            "median_wait": median(probe, "median_wait"),
            "probe_lost": sum(p["sent"] - p["answered"] for p in probe) if probe else None,
            "probe_runs": probe,
        }
    timed = [p for p in PEERS if p in rows and rows[p]["reader_ms"] is not None]
    peer = min(timed, key=lambda p: rows[p]["reader_ms"]) if timed else None
    ref = rows[peer] if peer else {}

    header = ("server", "records", "xfers", "reader ms", "/peer", "kdig ms", "/peer", "bytes",
              "/peer", "messages", "CPU ms", "/peer", "kdig CPU ms", "UDP max wait ms", "max gap ms",
              "/peer")
    table = [header]
    for server in args.servers:
        row = rows[server]
        table.append((
            server, row["check"], row["complete"],
            show(row["reader_ms"], "{:.1f}"), ratio(row["reader_ms"], ref.get("reader_ms")),
            show(row["kdig_ms"], "{:.1f}"), ratio(row["kdig_ms"], ref.get("kdig_ms")),
            show(row["bytes"], "{:.0f}"), ratio(row["bytes"], ref.get("bytes")),
            show(row["messages"], "{:.0f}"),
            show(row["cpu_ms"], "{:.1f}"), ratio(row["cpu_ms"], ref.get("cpu_ms")),
            show(row["kdig_cpu_ms"], "{:.1f}"),
            show(row["max_wait"], "{:.1f}"), show(row["max_gap"], "{:.1f}"),
            ratio(row["max_gap"], ref.get("max_gap")),
        ))
    print()
    print(f"Zone transfer benchmark: AXFR of {args.records} records over TCP on loopback, "
          f"medians of each server's transfers")
    print_table(table, 3)
    print()
    print("records: ok = one transfer by kdig held every record of the file once and the SOA again")
    print("         at the end; otherwise how many were missing or extra")
    print("xfers:   transfers measured by kdig+axfr_reader, every one complete; else the record counts seen")
    print("reader ms: connect to last record with axfr_reader, which only counts records (server-bound)")
    print("kdig ms: kdig's own figure; it formats every record, so on a fast server kdig is the slow side")
    print("bytes, messages: what kdig received")
    print(f"CPU ms: user+system time of the server's processes over one axfr_reader transfer, the "
          f"mean of values in steps of {1e3 / args.clk_tck:.0f} ms; kdig CPU ms: the same with kdig")
    print("UDP max wait: longest time a UDP question (one per ms) waited for its answer while")
    print("         axfr_reader took the zone; max gap: longest time between two answers")
    print(f"/peer: against {peer + ', ' if peer else ''}the faster of NSD and Knot by reader ms"
          f"{'' if peer else ' (neither measured here)'}")
    print("Target: Quorvane's reader ms /peer at most 2.00")
    print("Prober runs (max wait / max gap / median wait ms, answered of sent, transfer ms):")
    for server in args.servers:
        runs = "; ".join(f"{p['max_wait']:.1f}/{p['max_gap']:.1f}/{p['median_wait']:.2f}, "
                         f"{p['answered']:.0f} of {p['sent']:.0f}, {p['reader_ms']:.0f}"
                         for p in rows[server]["probe_runs"]) or "none"
        print(f"  {server}: ready after {rows[server]['ready']} s; {runs}")


if __name__ == "__main__":
    main()
