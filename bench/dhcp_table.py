#!/usr/bin/env python3
"""Prints the DHCP benchmark's table from the result files that dhcp_bench.sh wrote.

    dhcp_table.py RESULTS_DIR SERVER... --seconds N --rate N --clients N --clk-tck HZ

A result file holds "failed=..." lines for phases that could not be measured and one line per
measured phase:
    PHASE RATE DISCOVERS OFFERS REQUESTS ACKS CPU_TICKS LEASES
with PHASE fixed or saturation ("-" for a figure the run did not give). Every figure shown is
the median over a server's runs of that phase. Ratios are against the better of Kea and dnsmasq
in the same column: the higher rate, the lower CPU time.
"""
import argparse
import os
import statistics

from bench_table import print_table, ratio, show

PEERS = ("kea", "dnsmasq")
PHASES = ("fixed", "saturation")
COLUMNS = ("rate", "discovers", "offers", "requests", "acks", "ticks", "leases")


def read(path):
    runs, failed = {phase: [] for phase in PHASES}, []
    if os.path.exists(path):
        with open(path) as f:
            for line in f:
                words = line.split()
                if not words:
                    continue
                if words[0].startswith("failed="):
                    failed.append(words[0][len("failed="):])
                elif words[0] in runs and len(words) == len(COLUMNS) + 1:
                    run = {}
                    for key, word in zip(COLUMNS, words[1:]):
                        try:
                            run[key] = float(word)
                        except ValueError:
                            pass
                    runs[words[0]].append(run)
    return runs, failed


def median(values):
    values = [v for v in values if v is not None]
    return statistics.median(values) if values else None


def phase_figures(runs, clk_tck):
    """Medians of one phase: exchanges per second, % of exchanges begun that did not
    complete, CPU microseconds per completed exchange, distinct leased addresses."""
    def lost(run):
        if run.get("discovers") and "acks" in run:
            return 100.0 * (run["discovers"] - run["acks"]) / run["discovers"]
        return None

    def cpu_us(run):
        if run.get("acks") and "ticks" in run:
            return run["ticks"] / clk_tck / run["acks"] * 1e6
        return None

    return {
        "rate": median([run.get("rate") for run in runs]),
        "lost": median([lost(run) for run in runs]),
        "cpu_us": median([cpu_us(run) for run in runs]),
        "leases": median([run.get("leases") for run in runs]),
        "runs": len(runs),
    }


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("results")
    parser.add_argument("servers", nargs="+")
    parser.add_argument("--seconds", default="?")
    parser.add_argument("--rate", default="?")
    parser.add_argument("--clients", default="?")
    parser.add_argument("--clk-tck", type=float, default=100.0)
    args = parser.parse_args()

    rows, failures = {}, {}
    for server in args.servers:
        runs, failed = read(os.path.join(args.results, server))
        rows[server] = {phase: phase_figures(runs[phase], args.clk_tck) for phase in PHASES}
        failures[server] = failed

    def best(phase, key, pick):
        values = [rows[p][phase][key] for p in PEERS
                  if p in rows and rows[p][phase][key] is not None]
        return pick(values) if values else None

    ref = {(phase, key): best(phase, key, pick) for phase in PHASES
           for key, pick in (("rate", max), ("cpu_us", min))}
    header = ("server", "runs",
              "fixed ex/s", "/peer", "lost %", "CPU us/ex", "/peer", "leases",
              "sat ex/s", "/peer", "lost %", "CPU us/ex", "/peer")
    table = [header]
    for server in args.servers:
        cells = [server, "/".join(str(rows[server][phase]["runs"]) for phase in PHASES)]
        for phase in PHASES:
            row = rows[server][phase]
            cells += [show(row["rate"], "{:.0f}"), ratio(row["rate"], ref[(phase, "rate")]),
                      show(row["lost"], "{:.1f}"),
                      show(row["cpu_us"], "{:.1f}"), ratio(row["cpu_us"], ref[(phase, "cpu_us")])]
            if phase == "fixed":
                cells.append(show(row["leases"], "{:.0f}"))
        table.append(cells)
    peers = [p for p in PEERS if p in rows]
    print()
    print(f"DHCP benchmark: perfdhcp, {args.clients} clients, runs of {args.seconds} s at "
          f"{args.rate} new exchanges/s (fixed) and as fast as perfdhcp sends (sat); "
          f"medians of the runs")
    print_table(table, 2)
    print()
    print("runs:    phases measured, fixed/saturation (a server that failed to start or to")
    print("         complete a first exchange is not measured in that run)")
    print("ex/s:    completed 4-way exchanges (DISCOVER-OFFER-REQUEST-ACK) per second")
    print("lost %:  exchanges begun (DISCOVERs sent) that did not complete: no OFFER, no ACK, or")
    print("         a NAK")
    print(f"CPU us/ex: the server's user+system time over the run (read in steps of "
          f"{1e3 / args.clk_tck:.0f} ms) / completed exchanges")
    print("leases:  distinct addresses in the server's lease file after the fixed-rate run")
    print(f"/peer:   against the better of {' and '.join(peers) if peers else 'Kea and dnsmasq'}"
          f"{'' if peers else ' (neither measured here)'} in that column (higher ex/s, lower CPU)")
    print("Target: Quorvane's ex/s /peer at least 1.00 in both phases")
    for server in args.servers:
        if failures[server]:
            print(f"  {server} failed: " + ", ".join(f.replace("_", " ") for f in failures[server]))


if __name__ == "__main__":
    main()
