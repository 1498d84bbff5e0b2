#!/usr/bin/env python3
"""A primary that misbehaves on zone transfers: bad_primary.py ADDRESS MODE [SECONDS]

On UDP port 53 of ADDRESS it answers any SOA question with serial 2 for the name asked, so a
secondary holding serial 1 always wants the zone. On TCP port 53 it answers a transfer request in
the way MODE names:
  garbage  random bytes
  stall    a length prefix of 65535, then nothing, the connection kept open
  close    a first message with the SOA and a few records, then the connection closed
  not-soa  a whole zone whose first record is an A record, not the SOA
  rcode5   a reply with response code 5 (REFUSED)
It exits by itself after SECONDS (default 120)."""
import os
import socket
import struct
import sys
import threading
import time

address, mode = sys.argv[1], sys.argv[2]
lifetime = float(sys.argv[3]) if len(sys.argv) > 3 else 120.0
MODES = ("garbage", "stall", "close", "not-soa", "rcode5")
if mode not in MODES:
    sys.exit(f"mode must be one of {', '.join(MODES)}")

TYPE_A, TYPE_NS, TYPE_SOA = 1, 2, 6


def question_of(message):
    """The question's name (wire form, uncompressed) and the end of the question."""
    at = 12
    while message[at] != 0:
        at += 1 + message[at]
    return message[12 : at + 1], at + 5


def text_name(wire):
    labels, at = [], 0
    while wire[at]:
        labels.append(wire[at + 1 : at + 1 + wire[at]].decode("ascii", "replace"))
        at += 1 + wire[at]
    return ".".join(labels) + "."


def wire_name(text):
    return b"".join(bytes([len(label)]) + label.encode() for label in text.rstrip(".").split(".")) + b"\0"


def record(owner, rtype, rdata):
    return owner + struct.pack("!HHIH", rtype, 1, 60, len(rdata)) + rdata


def soa(zone):
    name = text_name(zone)
    rdata = wire_name("ns." + name) + wire_name("admin." + name) + struct.pack("!IIIII", 2, 5, 5, 86400, 60)
    return record(zone, TYPE_SOA, rdata)


def reply(request, rcode, answers):
    zone, end = question_of(request)
    header = struct.pack("!HHHHHH", struct.unpack("!H", request[:2])[0], 0x8400 | rcode, 1, len(answers), 0, 0)
    return header + request[12:end] + b"".join(answers)


def serve_udp(sock):
    while True:
        request, peer = sock.recvfrom(4096)
        try:
            zone, end = question_of(request)
            if request[2] & 0x80 or struct.unpack("!H", request[end - 4 : end - 2])[0] != TYPE_SOA:
                continue
            sock.sendto(reply(request, 0, [soa(zone)]), peer)
        except (IndexError, struct.error):
            pass


def framed(message):
    return struct.pack("!H", len(message)) + message


def transfer(conn):
    """Reads one request and answers it as the mode says; returns whether to keep the connection."""
    data = b""
    while len(data) < 2 or len(data) < 2 + struct.unpack("!H", data[:2])[0]:
        chunk = conn.recv(4096)
        if not chunk:
            return False
        data += chunk
    request = data[2 : 2 + struct.unpack("!H", data[:2])[0]]
    zone, _ = question_of(request)
    www = record(wire_name("www." + text_name(zone)), TYPE_A, bytes([192, 0, 2, 99]))
    ns = record(zone, TYPE_NS, wire_name("ns." + text_name(zone)))
    if mode == "garbage":
        conn.sendall(os.urandom(400))
    elif mode == "stall":
        conn.sendall(b"\xff\xff")
    elif mode == "close":
        conn.sendall(framed(reply(request, 0, [soa(zone), ns, www])))
        return False
    elif mode == "not-soa":
        conn.sendall(framed(reply(request, 0, [www, soa(zone), ns, soa(zone)])))
    else:
        conn.sendall(framed(reply(request, 5, [])))
    return True


def serve_connection(conn):
    with conn:
        conn.settimeout(lifetime)
        try:
            if transfer(conn):
                while conn.recv(4096):  # until the secondary gives up
                    pass
        except OSError:
            pass


def serve_tcp(listener):
    while True:
        conn, _ = listener.accept()
        threading.Thread(target=serve_connection, args=(conn,), daemon=True).start()


# Bound here, so that a port already taken ends the program at once.
udp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
udp.bind((address, 53))
tcp = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
tcp.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
tcp.bind((address, 53))
tcp.listen()
threading.Thread(target=serve_udp, args=(udp,), daemon=True).start()
threading.Thread(target=serve_tcp, args=(tcp,), daemon=True).start()
time.sleep(lifetime)
