#!/usr/bin/env python3
"""Prints the cache benchmark's table from the key=value result files that cache_bench.sh wrote.

    cache_table.py RESULTS_DIR RESOLVER... [--seconds N] [--names N] [--zone NAME]

Ratios: CPU per answer and answers per second against the peer, the one of Unbound and dnsmasq
that spends less CPU per answer.
"""
import argparse
import os

from bench_table import number, print_table, ratio, read_result, show

PEERS = ("unbound", "dnsmasq")


def figures(result):
    """The table's figures for one resolver (None where its runs gave none)."""
    completed = number(result, "sat_completed")
    ticks, hz = number(result, "cpu_ticks"), number(result, "clk_tck")
    return {
        "qps": number(result, "sat_qps"),
        "lost": number(result, "sat_lost"),
        "cpu_us": ticks / hz / completed * 1e6 if ticks is not None and hz and completed else None,
        "nsd_ticks": number(result, "nsd_ticks"),
    }


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("results")
    parser.add_argument("resolvers", nargs="+")
    parser.add_argument("--seconds", default="?")
    parser.add_argument("--names", default="?")
    parser.add_argument("--zone", default="?")
    args = parser.parse_args()

    results = {s: read_result(os.path.join(args.results, s)) for s in args.resolvers}
    rows = {s: figures(r) for s, r in results.items()}
    measured = [p for p in PEERS if p in rows and rows[p]["cpu_us"] is not None]
    peer = min(measured, key=lambda p: rows[p]["cpu_us"]) if measured else None
    peer_qps = rows[peer]["qps"] if peer else None
    peer_cpu = rows[peer]["cpu_us"] if peer else None

    header = ("resolver", "answers", "primed", "sat q/s", "/peer", "lost",
              "CPU us/ans", "/peer", "NSD ticks")
    table = [header]
    for s in args.resolvers:
        row, result = rows[s], results[s]
        table.append((
            s, result.get("answers", "-"), result.get("primed", "-"),
            show(row["qps"], "{:.0f}"), ratio(row["qps"], peer_qps),
            show(row["lost"], "{:.0f}"),
            show(row["cpu_us"], "{:.2f}"), ratio(row["cpu_us"], peer_cpu),
            show(row["nsd_ticks"], "{:.0f}"),
        ))
    hz = next((results[s]["clk_tck"] for s in args.resolvers if "clk_tck" in results[s]), "?")
    print()
    print(f"Cache benchmark: {args.names} names of {args.zone} in each resolver's cache, asked "
          f"round and round; runs of {args.seconds} s at saturation")
    print_table(table, 3)
    print()
    print("answers: ok = NOERROR with the right address for an existing name, NXDOMAIN for a")
    print("         missing one, through the forwarder; otherwise the status dig saw for each")
    print("         (a resolver that fails this is not measured)")
    print("primed:  names answered NOERROR in the last priming pass / names in the list")
    print("sat q/s: answers per second at saturation; lost: queries unanswered in that run")
    print("CPU us/ans: user+system time of the resolver's processes / answers in that run")
    print(f"NSD ticks: CPU time of the forwarder during that run, in ticks of 1/{hz} s; about 0")
    print("         when every answer came from the cache")
    print(f"/peer: against {peer + ', ' if peer else ''}the one of Unbound and dnsmasq with less "
          f"CPU per answer{'' if peer else ' (neither measured here)'}")
    print("Target: Quorvane's CPU us/ans /peer at most 1.00")
    print("Each resolver's saturation runs (q/s; the fastest stands), response codes and average")
    print("response size in that run, and NSD's CPU ticks while that round primed the cache:")
    for s in args.resolvers:
        result = results[s]
        runs = result.get("sat_runs", "-").strip("_").replace("_", " ") or "none"
        codes = result.get("sat_rcodes", "").replace("_", " ") or "no answers"
        size = result.get("sat_response_bytes", "-")
        priming = result.get("nsd_prime_ticks", "-")
        print(f"  {s}: runs {runs}; {codes}; {size} bytes; NSD while priming {priming}")


if __name__ == "__main__":
    main()
