#!/usr/bin/env python3
"""Asks 127.0.0.1:53 for an A record every millisecond for SECONDS and prints the longest wait for
an answer in milliseconds (a question without an answer within a second counts as 1000)."""
import socket
import struct
import sys
import time

seconds, name = float(sys.argv[1]), sys.argv[2]
qname = b"".join(bytes([len(p)]) + p.encode() for p in name.split(".")) + b"\0"
sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
sock.settimeout(1.0)
longest, end, qid = 0.0, time.monotonic() + seconds, 0
while time.monotonic() < end:
    qid = (qid + 1) & 0xFFFF
    sent = time.monotonic()
    sock.sendto(struct.pack(">HHHHHH", qid, 0x0100, 1, 0, 0, 0) + qname + b"\0\1\0\1", ("127.0.0.1", 53))
    try:
        while struct.unpack(">H", sock.recv(512)[:2])[0] != qid:
            pass
        longest = max(longest, time.monotonic() - sent)
    except socket.timeout:
        longest = 1.0
    time.sleep(max(0.0, 0.001 - (time.monotonic() - sent)))
print(round(longest * 1000, 2))
