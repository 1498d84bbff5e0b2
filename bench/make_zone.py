#!/usr/bin/env python3
"""Writes the benchmark zone and the dnsperf query list; touches nothing else.

    make_zone.py ZONE_FILE QUERY_FILE [--names 10000] [--queries 100000] [--missing 0.10]
                 [--type A]

The zone is bench.test. with an SOA, one NS with its glue address and NAMES host names
h00000.bench.test. ... each with one A record in 198.18.0.0/15 (the range set aside for
benchmarks). Every line is "owner ttl IN type data" with absolute names and no $-directives,
so Quorvane, NSD and Knot all read the same file.

The query list holds QUERIES "name TYPE" lines: a share of MISSING asks for names that do not
exist (x00000.bench.test. ...), the rest for names drawn from the zone, all shuffled. The
shuffle is fixed, so every run sends the same list in the same order.
"""
import argparse
import random

ZONE = "bench.test."
TTL = 3600


def host_name(i):
    return f"h{i:05d}.{ZONE}"


def host_address(i):
    # 198.18.0.0/15 holds 131072 addresses; skip .0 of the first block.
    n = i + 1
    return f"198.{18 + (n >> 16)}.{(n >> 8) & 255}.{n & 255}"


def write_zone(path, names):
    with open(path, "w") as out:
        out.write(f"; Benchmark zone {ZONE}: {names} hosts, written by bench/make_zone.py\n")
        out.write(f"{ZONE} {TTL} IN SOA ns1.{ZONE} hostmaster.{ZONE} 2026112201 3600 600 604800 {TTL}\n")
        out.write(f"{ZONE} {TTL} IN NS ns1.{ZONE}\n")
        out.write(f"ns1.{ZONE} {TTL} IN A 127.0.0.1\n")
        for i in range(names):
            out.write(f"{host_name(i)} {TTL} IN A {host_address(i)}\n")


def write_queries(path, names, queries, missing_share, qtype):
    order = random.Random(6)  # fixed, so every run asks the same questions in the same order
    missing = round(queries * missing_share)
    lines = [f"x{i:05d}.{ZONE} {qtype}" for i in range(missing)]
    lines += [f"{host_name(order.randrange(names))} {qtype}" for _ in range(queries - missing)]
    order.shuffle(lines)
    with open(path, "w") as out:
        out.write("\n".join(lines) + "\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("zone_file")
    parser.add_argument("query_file")
    parser.add_argument("--names", type=int, default=10000)
    parser.add_argument("--queries", type=int, default=100000)
    parser.add_argument("--missing", type=float, default=0.10)
    parser.add_argument("--type", default="A", help="query type written into the list")
    args = parser.parse_args()
    write_zone(args.zone_file, args.names)
    write_queries(args.query_file, args.names, args.queries, args.missing, args.type)


if __name__ == "__main__":
    main()
