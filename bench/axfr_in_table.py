#!/usr/bin/env python3
"""Prints the incoming zone transfer benchmark's table from the result files that
axfr_in_bench.sh wrote.

    axfr_in_table.py RESULTS_DIR SERVER... --records N --clk-tck HZ

A result file holds "key=value" lines (check, file_records, failed) and one line per run:
    run REPLY_S SOA_S LAST_S ASKED_S RSS_KB CPU_TICKS
("-" for a figure the run did not give)
Every figure shown is the median over a secondary's runs. Ratios are against the lower of Knot's
and BIND's figure in the same column.
"""
import argparse
import os
import statistics

from bench_table import print_table, ratio, show

PEERS = ("knot", "bind")
COLUMNS = ("reply", "soa", "last", "asked", "rss_kb", "ticks")


def read(path):
    keys, runs = {}, []
    if os.path.exists(path):
        with open(path) as f:
            for line in f:
                words = line.split()
                if not words:
                    continue
                if words[0] == "run" and len(words) == len(COLUMNS) + 1:
                    try:
                        runs.append({key: float(word) for key, word in zip(COLUMNS, words[1:])
                                     if word != "-"})
                    except ValueError:
                        pass
                else:
                    key, _, value = line.strip().partition("=")
                    keys[key] = value
    return keys, runs


def median(runs, key):
    values = [run[key] for run in runs if key in run]
    return statistics.median(values) if values else None


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
        for run in runs:
            if "last" in run and "asked" in run:
                run["transfer"] = run["last"] - run["asked"]
        ticks = median(runs, "ticks")
        rss = median(runs, "rss_kb")
        rows[server] = {
            "check": keys.get("check", "-"),
            "runs": str(len(runs)) + (" (then failed)" if "failed" in keys else ""),
            "failed": keys.get("failed"),
            "file_records": keys.get("file_records"),
            "reply": median(runs, "reply"),
            "soa": median(runs, "soa"),
            "last": median(runs, "last"),
            "asked": median(runs, "asked"),
            "transfer": median(runs, "transfer"),
            "rss_mb": rss / 1024 if rss is not None else None,
            "cpu_s": ticks / args.clk_tck if ticks is not None else None,
            "all_last": [run["last"] for run in runs],
        }

    def best(key):
        values = [rows[p][key] for p in PEERS if p in rows and rows[p][key] is not None]
        return min(values) if values else None

    ref = {key: best(key) for key in ("last", "transfer", "rss_mb", "cpu_s")}
    header = ("secondary", "answers", "runs", "up s", "SOA s", "last record s", "/best",
              "AXFR asked s", "transfer s", "/best", "VmRSS MB", "/best", "CPU s", "/best")
    table = [header]
    for server in args.servers:
        row = rows[server]
        table.append((
            server, row["check"], row["runs"],
            show(row["reply"], "{:.3f}"), show(row["soa"], "{:.3f}"),
            show(row["last"], "{:.3f}"), ratio(row["last"], ref["last"]),
            show(row["asked"], "{:.3f}"),
            show(row["transfer"], "{:.3f}"), ratio(row["transfer"], ref["transfer"]),
            show(row["rss_mb"], "{:.1f}"), ratio(row["rss_mb"], ref["rss_mb"]),
            show(row["cpu_s"], "{:.2f}"), ratio(row["cpu_s"], ref["cpu_s"]),
        ))
    peers = [p for p in PEERS if p in rows]
    print()
    print(f"Incoming zone transfer benchmark: AXFR of {args.records} records from NSD over TCP on "
          f"loopback, each secondary started with no copy of the zone; medians of its runs")
    print_table(table, 3)
    print()
    print("answers: ok = after the first run, the secondary's answers to a sample of questions")
    print("         (status, AA, records of the answer and authority sections, less the zone's NS")
    print("         as authority) were NSD's; else how many differed")
    print("up s:    start of the secondary's process to its first reply of any kind (start-up)")
    print("SOA s:   start to the first authoritative answer with the zone's SOA")
    print("last record s: start to the first authoritative answer with the zone's last A record")
    print("AXFR asked s: start to the transfer request, by NSD's log (to the millisecond)")
    print("transfer s: the transfer request to the first answer with the last record: the")
    print("         transfer and taking the zone into service, without the wait before it")
    print("VmRSS MB: resident memory about 1 s after the last record was answered")
    print(f"CPU s:   user+system time of the secondary from its start to then, in steps of "
          f"{1 / args.clk_tck:.2f} s")
    print(f"/best:   against the lower of {' and '.join(peers) if peers else 'Knot and BIND'}"
          f"{'' if peers else ' (neither measured here)'} in that column")
    print("Targets: Quorvane's last record s /best and VmRSS MB /best at most 1.00")
    print("Each secondary's last record times (s):")
    for server in args.servers:
        row = rows[server]
        times = ", ".join(f"{t:.3f}" for t in row["all_last"]) or "none"
        extra = ""
        if row["file_records"] is not None:
            extra += f"; zone file written back with {row['file_records']} records"
        if row["failed"]:
            extra += f"; failed: {row['failed'].replace('_', ' ').replace(',', ' ')}"
        print(f"  {server}: {times}{extra}")


if __name__ == "__main__":
    main()
