#!/usr/bin/env python3
"""Asks a server one UDP question every INTERVAL milliseconds and measures how long the answers
keep it waiting; the axfr benchmark runs it while a zone transfer goes on.

    udp_stall_probe.py ADDRESS NAME [--interval-ms 1] [--max-seconds 60]

Asks for the A record of NAME at ADDRESS port 53 until SIGTERM or --max-seconds, then prints
key=value lines:
    probe_sent, probe_answered  questions sent, answers received
    probe_max_wait_ms           the longest time from a question to its answer
    probe_max_gap_ms            the longest time between two answers (or the start and the
                                first answer); it also covers questions never answered
    probe_median_wait_ms        the median time from a question to its answer
"""
import argparse
import select
import signal
import socket
import struct
import sys
import time


def question(ident, name):
    wire = b"".join(bytes([len(label)]) + label.encode() for label in name.strip(".").split("."))
    return struct.pack("!HHHHHH", ident, 0, 1, 0, 0, 0) + wire + b"\0" + struct.pack("!HH", 1, 1)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("address")
    parser.add_argument("name")
    parser.add_argument("--interval-ms", type=float, default=1.0)
    parser.add_argument("--max-seconds", type=float, default=60.0)
    args = parser.parse_args()

    stop = []
    signal.signal(signal.SIGTERM, lambda *_: stop.append(1))
    signal.signal(signal.SIGINT, lambda *_: stop.append(1))
    sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    sock.connect((args.address, 53))
    sock.setblocking(False)

    interval = args.interval_ms / 1e3
    start = time.monotonic()
    deadline = start + args.max_seconds
    next_send = start
    last_answer = start
    waiting = {}  # id -> time sent
    sent = answered = 0
    waits = []
    max_gap = 0.0
    print("ready", file=sys.stderr, flush=True)
    while not stop:
        now = time.monotonic()
        if now >= deadline:
            break
        if now >= next_send:
            ident = sent & 0xFFFF
            try:
                sock.send(question(ident, args.name))
                waiting[ident] = now
                sent += 1
            except (BlockingIOError, ConnectionRefusedError):
                pass
            # A late wake-up sends one question, not a burst to catch up.
            next_send = max(next_send + interval, now)
        try:
            readable, _, _ = select.select([sock], [], [], max(0.0, next_send - time.monotonic()))
        except InterruptedError:
            continue
        if not readable:
            continue
        while True:
            try:
                reply = sock.recv(4096)
            except (BlockingIOError, ConnectionRefusedError):
                break
            now = time.monotonic()
            if len(reply) < 12:
                continue
            asked = waiting.pop(struct.unpack("!H", reply[:2])[0], None)
            if asked is None:
                continue
            answered += 1
            waits.append(now - asked)
            max_gap = max(max_gap, now - last_answer)
            last_answer = now
    max_gap = max(max_gap, time.monotonic() - last_answer)
    waits.sort()
    print(f"probe_sent={sent}")
    print(f"probe_answered={answered}")
    print(f"probe_max_wait_ms={waits[-1] * 1e3 if waits else 0:.2f}")
    print(f"probe_max_gap_ms={max_gap * 1e3:.2f}")
    print(f"probe_median_wait_ms={waits[len(waits) // 2] * 1e3 if waits else 0:.3f}")


if __name__ == "__main__":
    main()
