#!/usr/bin/env python3
"""Prints the flood benchmark's table from the key=value result files that flood_bench.sh wrote
(one per resolver, phase and round: RESOLVER-PHASE-ROUND).

    flood_table.py RESULTS_DIR RESOLVER... [--rounds N] [--seconds N] [--fixed-qps N]
                   [--outstanding N] [--names N] [--cache-mb N] [--zone NAME]

Every figure is the median over the rounds; ratios are Quorvane against Unbound.
"""
import argparse
import os
import statistics

from bench_table import number, print_table, ratio, read_result, show

PHASES = ("fixed", "saturation")


def rcodes(result):
    """{"NOERROR": n, ...} from dnsperf's "Response codes:" line, as dnsperf_figures wrote it."""
    codes = {}
    for item in result.get("rcodes", "").split(",_"):
        name, _, count = item.strip("_").partition("_")
        if name and count:
            codes[name] = int(count.split("_")[0])
    return codes


def rss_samples(result):
    """Resident memory in MB at each sample, keyed by seconds from the resolver's start."""
    samples = {}
    for item in result.get("rss_kb", "").split(","):
        t, _, kb = item.partition("=")
        if t and kb:
            samples[int(t)] = int(kb) / 1024
    return samples


def figures(result):
    """One round's figures (None where the round gave none)."""
    completed, run_s = number(result, "completed"), number(result, "run_s")
    ticks, hz = number(result, "cpu_ticks"), number(result, "clk_tck")
    codes = rcodes(result)
    per_s = (lambda n: n / run_s) if run_s else (lambda n: None)
    noerror = codes.get("NOERROR", 0)
    other = sum(n for c, n in codes.items() if c not in ("NOERROR", "SERVFAIL"))
    nsd = number(result, "nsd_queries")
    return {
        "noerror": per_s(noerror),
        "servfail": per_s(codes.get("SERVFAIL", 0)),
        "other": per_s(other),
        "lost": number(result, "lost"),
        "sent": number(result, "sent"),
        "cpu_us": ticks / hz / completed * 1e6 if ticks is not None and hz and completed else None,
        "nsd_per_noerror": nsd / noerror if nsd is not None and noerror else None,
        "cachehits": number(result, "num_cachehits"),
        "exceeded": number(result, "requestlist_exceeded"),
        "rss": rss_samples(result),
    }


def median(values):
    values = [v for v in values if v is not None]
    return statistics.median(values) if values else None


def combine(rounds):
    """Medians over the rounds of one resolver and phase."""
    if not rounds:
        return None
    keys = [k for k in rounds[0] if k != "rss"]
    row = {k: median([r[k] for r in rounds]) for k in keys}
    times = sorted({t for r in rounds for t in r["rss"]})
    row["rss"] = {t: median([r["rss"].get(t) for r in rounds]) for t in times}
    row["rounds"] = len(rounds)
    return row


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("results")
    parser.add_argument("resolvers", nargs="+")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--seconds", default="?")
    parser.add_argument("--fixed-qps", default="?")
    parser.add_argument("--outstanding", default="?")
    parser.add_argument("--names", type=int, default=0)
    parser.add_argument("--cache-mb", type=float, default=32)
    parser.add_argument("--zone", default="?")
    args = parser.parse_args()

    rows = {}
    for s in args.resolvers:
        for phase in PHASES:
            rounds = [figures(read_result(os.path.join(args.results, f"{s}-{phase}-{n}")))
                      for n in range(1, args.rounds + 1)
                      if os.path.exists(os.path.join(args.results, f"{s}-{phase}-{n}"))]
            rows[s, phase] = combine(rounds)

    times = sorted({t for row in rows.values() if row for t in row["rss"]})
    header = ("resolver", "phase", "rounds", "NOERROR/s", "/unbound", "SERVFAIL/s", "other/s",
              "lost", "CPU us/ans", "/unbound", "NSD q/NOERROR") + tuple(f"RSS@{t}s" for t in times)
    table = [header]
    for (s, phase), row in rows.items():
        if row is None:
            table.append((s, phase, 0) + ("-",) * (len(header) - 3))
            continue
        peer = rows.get(("unbound", phase))
        table.append((
            s, phase, row["rounds"],
            show(row["noerror"], "{:.0f}"), ratio(row["noerror"], peer and peer["noerror"]),
            show(row["servfail"], "{:.0f}"), show(row["other"], "{:.0f}"),
            show(row["lost"], "{:.0f}"),
            show(row["cpu_us"], "{:.1f}"), ratio(row["cpu_us"], peer and peer["cpu_us"]),
            show(row["nsd_per_noerror"], "{:.3f}"),
        ) + tuple(show(row["rss"].get(t), "{:.1f}") for t in times))
    print()
    print(f"Flood benchmark: distinct names under {args.zone} through a forwarder (NSD, wildcard, "
          f"TTL 3600); phases of {args.seconds} s: fixed at {args.fixed_qps} names/s, then "
          f"saturation ({args.outstanding} outstanding); medians of the rounds")
    print_table(table, 2)
    print()
    print("NOERROR/s, SERVFAIL/s, other/s: answers per second by response code; lost: queries")
    print("         unanswered within 1 s")
    print("CPU us/ans: user+system time of the resolver's processes / answers (all codes)")
    print("NSD q/NOERROR: queries NSD answered / NOERROR answers of the resolver; 1 or more when")
    print("         every answer was a miss that went to the forwarder, not one from a cache")
    print("RSS@Ns: resident memory in MB N seconds after the resolver started (0 s: ready, idle)")
    print("/unbound: Quorvane's figure against Unbound's in the same phase")
    for s in args.resolvers:
        for phase in PHASES:
            row = rows.get((s, phase))
            if row and s == "unbound":
                print(f"  unbound {phase}: cache hits {show(row['cachehits'], '{:.0f}')}, "
                      f"requests dropped for a full list {show(row['exceeded'], '{:.0f}')}")
            if row and args.names and row["sent"] and row["sent"] > args.names:
                print(f"  WARNING {s} {phase}: {row['sent']:.0f} queries sent from a list of "
                      f"{args.names} names: names repeated, some answers came from the cache")

    print()
    print("Targets:")
    quorvane = {phase: rows.get(("quorvane", phase)) for phase in PHASES}
    unbound_sat = rows.get(("unbound", "saturation"))
    for phase in PHASES:
        row = quorvane[phase]
        if not row or not row["rss"]:
            continue
        base = row["rss"][min(row["rss"])]
        limit = base + args.cache_mb
        filled = [mb for t, mb in row["rss"].items() if t >= 20]  # the cap is met in ~13 s at 8000/s
        worst = max(filled) if filled else None
        met = worst is not None and worst <= limit
        print(f"  memory flat at the cap, {phase}: RSS from 20 s on at most {show(worst, '{:.1f}')}"
              f" MB, limit {base:.1f} (at start) + {args.cache_mb:.0f} = {limit:.1f} MB: "
              f"{'met' if met else 'NOT met'}")
    if quorvane["saturation"] and unbound_sat:
        q, u = quorvane["saturation"]["noerror"], unbound_sat["noerror"]
        met = q is not None and u is not None and q >= u
        print(f"  NOERROR/s at saturation at least Unbound's: {show(q, '{:.0f}')} against "
              f"{show(u, '{:.0f}')} ({ratio(q, u)}): {'met' if met else 'NOT met'}")


if __name__ == "__main__":
    main()
