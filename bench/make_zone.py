#!/usr/bin/env python3
"""Writes the benchmark zone and the dnsperf query list; touches nothing else.

    make_zone.py ZONE_FILE QUERY_FILE [--names 10000] [--queries 100000] [--missing 0.10]
                 [--type A] [--zone bench.test.] [--ttl 3600] [--ns-address 127.0.0.1]
                 [--every-name-once] [--mixed]

The zone (bench.test. unless --zone) has an SOA, one NS with its glue address and NAMES host
names h00000.ZONE ... each with one A record in 198.18.0.0/15 (the range set aside for
benchmarks). With --mixed, of every ten names six keep their A record and the others carry one
record of another type each: a CNAME to the name before, an MX, a TXT and an NS (a delegation
to ns1.ZONE). Every line is "owner ttl IN type data" with absolute names and no $-directives,
so Quorvane, NSD and Knot all read the same file.

The query list holds QUERIES "name TYPE" lines: a share of MISSING asks for names that do not
exist (x00000.ZONE ...), the rest for names drawn from the zone, all shuffled. With
--every-name-once it holds instead every host name exactly once, shuffled, and nothing else.
The shuffle is fixed, so every run sends the same list in the same order.
"""
import argparse
import random


def host_name(i, zone):
    return f"h{i:05d}.{zone}"


def host_address(i):
    # 198.18.0.0/15 holds 131072 addresses; skip .0 of the first block.
    n = i + 1
    return f"198.{18 + (n >> 16)}.{(n >> 8) & 255}.{n & 255}"


def host_record(i, zone, mixed):
    kind = i % 10 if mixed else 0
    if kind == 6:
        return f"CNAME {host_name(i - 1, zone)}"
    if kind == 7:
        return f"MX 10 mail{i % 50}.{zone}"
    if kind == 8:
        return f'TXT "record {i} of the benchmark zone"'
    if kind == 9:
        return f"NS ns1.{zone}"
    return f"A {host_address(i)}"


def write_zone(path, zone, names, ttl, ns_address, mixed):
    with open(path, "w") as out:
        out.write(f"; Benchmark zone {zone}: {names} hosts, written by bench/make_zone.py\n")
        out.write(f"{zone} {ttl} IN SOA ns1.{zone} hostmaster.{zone} 2026112201 3600 600 604800 {ttl}\n")
        out.write(f"{zone} {ttl} IN NS ns1.{zone}\n")
        out.write(f"ns1.{zone} {ttl} IN A {ns_address}\n")
        for i in range(names):
            out.write(f"{host_name(i, zone)} {ttl} IN {host_record(i, zone, mixed)}\n")


def write_queries(path, zone, names, queries, missing_share, qtype, every_name_once):
    order = random.Random(6)  # fixed, so every run asks the same questions in the same order
    if every_name_once:
        lines = [f"{host_name(i, zone)} {qtype}" for i in range(names)]
    else:
        missing = round(queries * missing_share)
        lines = [f"x{i:05d}.{zone} {qtype}" for i in range(missing)]
        lines += [f"{host_name(order.randrange(names), zone)} {qtype}" for _ in range(queries - missing)]
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
    parser.add_argument("--zone", default="bench.test.", help="the zone's name, absolute")
    parser.add_argument("--ttl", type=int, default=3600, help="TTL of every record, seconds")
    parser.add_argument("--ns-address", default="127.0.0.1", help="glue address of ns1.ZONE")
    parser.add_argument("--every-name-once", action="store_true",
                        help="ask for every host name once instead of --queries drawn names")
    parser.add_argument("--mixed", action="store_true",
                        help="four names in ten with a CNAME, MX, TXT or NS instead of an A record")
    args = parser.parse_args()
    zone = args.zone if args.zone.endswith(".") else args.zone + "."
    write_zone(args.zone_file, zone, args.names, args.ttl, args.ns_address, args.mixed)
    write_queries(args.query_file, zone, args.names, args.queries, args.missing, args.type,
                  args.every_name_once)


if __name__ == "__main__":
    main()
