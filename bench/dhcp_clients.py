#!/usr/bin/env python3
"""Many DHCP clients at once on one link: dhcp_clients.py IFACE FIRST COUNT

Client n (FIRST <= n < FIRST + COUNT) has the hardware address 02:00:00:00:HH:LL (n = 0xHHLL)
and sends it as client id (type 1), without a host name. All broadcast their DISCOVER together
from UDP port 68 on IFACE, answer the first OFFER with a REQUEST for its address and server id,
and repeat what is unanswered each second. Prints "HWADDR ADDR" for each ACK, one a line, and
exits 1 when a client got a NAK or nothing within 30 s.
"""
import os
import select
import socket
import struct
import sys
import time

iface, first, count = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
MAGIC = b"\x63\x82\x53\x63"

sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
sock.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
sock.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
sock.setsockopt(socket.SOL_SOCKET, socket.SO_BINDTODEVICE, iface.encode())
sock.bind(("0.0.0.0", 68))


def option(code, value):
    return bytes([code, len(value)]) + value


class Client:
    def __init__(self, n, xid):
        self.hw = bytes([2, 0, 0, 0, n >> 8, n & 0xFF])
        self.xid = xid
        self.offer = None  # (address, server id) once offered
        self.acked = None
        self.nak = False

    def packet(self):
        kind = 1 if self.offer is None else 3
        opts = option(53, bytes([kind])) + option(61, b"\x01" + self.hw)
        if self.offer:
            opts += option(50, self.offer[0]) + option(54, self.offer[1])
        opts += option(55, bytes([1, 3, 6, 15, 51, 54])) + b"\xff"
        head = struct.pack("!BBBBIHH4s4s4s4s16s64s128s", 1, 1, 6, 0, self.xid, 0, 0,
                           bytes(4), bytes(4), bytes(4), bytes(4), self.hw, b"", b"")
        return (head + MAGIC + opts).ljust(300, b"\0")  # as long as real clients' packets


def options_of(data):
    found, i = {}, 240
    while i < len(data) and data[i] != 255:
        if data[i] == 0:
            i += 1
            continue
        if i + 1 >= len(data):
            break
        found[data[i]] = data[i + 2:i + 2 + data[i + 1]]
        i += 2 + data[i + 1]
    return found


base = struct.unpack("!I", os.urandom(4))[0] & 0xFFFF0000
clients = {}
for n in range(first, first + count):
    c = Client(n, (base + n) & 0xFFFFFFFF)
    clients[c.xid] = c

deadline = time.monotonic() + 30
while time.monotonic() < deadline:
    waiting = [c for c in clients.values() if c.acked is None and not c.nak]
    if not waiting:
        break
    for c in waiting:
        sock.sendto(c.packet(), ("255.255.255.255", 67))
    resend = time.monotonic() + 1
    while time.monotonic() < min(resend, deadline) and any(not (c.acked or c.nak) for c in waiting):
        if not select.select([sock], [], [], 0.1)[0]:
            continue
        data = sock.recv(2048)
        if len(data) < 244 or data[0] != 2 or data[236:240] != MAGIC:
            continue
        c = clients.get(struct.unpack("!I", data[4:8])[0])
        if c is None or data[28:34] != c.hw:
            continue
        opts = options_of(data)
        kind = opts.get(53, b"\0")[0]
        if kind == 2 and c.offer is None and 54 in opts:
            c.offer = (data[16:20], opts[54])
            sock.sendto(c.packet(), ("255.255.255.255", 67))
        elif kind == 5 and c.offer is not None and c.acked is None:
            c.acked = socket.inet_ntoa(data[16:20])
        elif kind == 6:
            c.nak = True

for c in clients.values():
    if c.acked:
        print(c.hw.hex(), c.acked)
failed = [c.hw.hex() for c in clients.values() if not c.acked]
if failed:
    print("no lease for", " ".join(failed), file=sys.stderr)
    sys.exit(1)
