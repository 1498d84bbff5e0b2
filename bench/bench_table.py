#!/usr/bin/env python3
"""Prints the query benchmark's table from the key=value result files that query_bench.sh wrote.

    bench_table.py RESULTS_DIR SERVER... [--seconds N] [--fixed-qps N]

Ratios: saturation against the echo responder (the load generator's ceiling) and against the
better of NSD and Knot; CPU per answer and latency against the better (lower) of NSD and Knot.
"""
import argparse
import os

PEERS = ("nsd", "knot")


def read_result(path):
    result = {}
    if os.path.exists(path):
        with open(path) as f:
            for line in f:
                key, _, value = line.strip().partition("=")
                result[key] = value
    return result


def number(result, key):
    try:
        return float(result[key])
    except (KeyError, ValueError):
        return None


def figures(result):
    """The table's absolute figures for one server (None where the run gave none)."""
    qps = number(result, "sat_qps")
    completed = number(result, "sat_completed")
    ticks, hz = number(result, "cpu_ticks"), number(result, "clk_tck")
    cpu_us = ticks / hz / completed * 1e6 if ticks is not None and hz and completed else None
    latency = number(result, "fixed_latency_s")
    return {
        "qps": qps,
        "lost": number(result, "sat_lost"),
        "cpu_us": cpu_us,
        "latency_ms": latency * 1e3 if latency is not None else None,
        "fixed_qps": number(result, "fixed_qps"),
        "fixed_lost": number(result, "fixed_lost"),
    }


def best(rows, key, pick):
    values = [rows[p][key] for p in PEERS if p in rows and rows[p][key] is not None]
    return pick(values) if values else None


def ratio(value, reference):
    return f"{value / reference:.2f}" if value is not None and reference else "-"


def show(value, form):
    return form.format(value) if value is not None else "-"


def print_table(table, text_columns):
    """Prints rows of cells under the first row as header; the first text_columns columns are
    aligned left, the figures after them right."""
    widths = [max(len(str(line[i])) for line in table) for i in range(len(table[0]))]
    for i, line in enumerate(table):
        print("  ".join(str(cell).ljust(w) if c < text_columns else str(cell).rjust(w)
                        for c, (cell, w) in enumerate(zip(line, widths))))
        if i == 0:
            print("  ".join("-" * w for w in widths))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("results")
    parser.add_argument("servers", nargs="+")
    parser.add_argument("--seconds", default="?")
    parser.add_argument("--fixed-qps", default="?")
    parser.add_argument("--type", default="A")
    args = parser.parse_args()

    results = {s: read_result(os.path.join(args.results, s)) for s in args.servers}
    rows = {s: figures(r) for s, r in results.items()}
    if "echo" in rows:  # it polls without sleeping: its CPU time is all of its core, not its cost
        rows["echo"]["cpu_us"] = None
    echo_qps = rows["echo"]["qps"] if "echo" in rows else None
    peer_qps = best(rows, "qps", max)
    peer_cpu = best(rows, "cpu_us", min)
    peer_latency = best(rows, "latency_ms", min)

    header = ("server", "answers", "sat q/s", "/echo", "/peer", "lost",
              "CPU us/ans", "/peer", f"lat ms@{args.fixed_qps}", "/peer", "q/s", "lost")
    table = [header]
    for s in args.servers:
        row, result = rows[s], results[s]
        table.append((
            s, result.get("answers", "-"),
            show(row["qps"], "{:.0f}"), ratio(row["qps"], echo_qps), ratio(row["qps"], peer_qps),
            show(row["lost"], "{:.0f}"),
            "spins" if s == "echo" else show(row["cpu_us"], "{:.2f}"), ratio(row["cpu_us"], peer_cpu),
            show(row["latency_ms"], "{:.3f}"), ratio(row["latency_ms"], peer_latency),
            show(row["fixed_qps"], "{:.0f}"), show(row["fixed_lost"], "{:.0f}"),
        ))
    print()
    print(f"Query benchmark: {args.type} queries, runs of {args.seconds} s; saturation, then "
          f"{args.fixed_qps} q/s fixed load")
    print_table(table, 2)
    print()
    print("answers: ok = NOERROR (and for A the right address) for an existing name, NXDOMAIN for a")
    print("         missing one; otherwise the status dig saw for each (echo: it only echoes)")
    print("sat q/s: answers per second at saturation; lost: queries unanswered in that phase")
    print("CPU us/ans: user+system time of the server's processes / answers in the saturation phase")
    print("         (the echo responder polls without sleeping, so its CPU time says nothing)")
    print("/echo: against the echo responder; /peer: against the better of NSD and Knot")
    print("Each server's saturation runs (q/s; the fastest stands) and response codes in that run:")
    for s in args.servers:
        runs = results[s].get("sat_runs", "-").strip("_").replace("_", " ")
        codes = results[s].get("sat_rcodes", "-").replace("_", " ")
        extra = f"; log file lines: {results[s]['log_lines']}" if "log_lines" in results[s] else ""
        print(f"  {s}: runs {runs}; {codes or 'no answers'}{extra}")


if __name__ == "__main__":
    main()
