#!/usr/bin/env python3
"""The benchmark client of tls_bench.sh: sequential DNS questions, one at a time, timed.

  tls_client.py udp  SERVER COUNT SUFFIX          COUNT names NUMBER.SUFFIX over UDP port 53
  tls_client.py tcp  SERVER COUNT NAME            COUNT times NAME on one TCP connection, port 53
  tls_client.py tls  SERVER COUNT NAME CA HOST    the same over one TLS connection, port 853
  tls_client.py tls1 SERVER COUNT NAME CA HOST    a new TLS connection for each question

Prints: answered=N median_ms=M p99_ms=P per_second=Q
"""
import random, socket, ssl, struct, sys, time


def question(qid, name):
    labels = b"".join(bytes([len(p)]) + p.encode() for p in name.split(".") if p)
    return struct.pack(">HHHHHH", qid, 0x0100, 1, 0, 0, 0) + labels + b"\0" + struct.pack(">HH", 1, 1)


def read_exact(sock, size):
    data = b""
    while len(data) < size:
        part = sock.recv(size - len(data))
        if not part:
            raise ConnectionError("closed")
        data += part
    return data


def ask_stream(sock, qid, name):
    q = question(qid, name)
    sock.sendall(struct.pack(">H", len(q)) + q)
    size = struct.unpack(">H", read_exact(sock, 2))[0]
    return read_exact(sock, size)


def main():
    mode, server, count = sys.argv[1], sys.argv[2], int(sys.argv[3])
    times, answered = [], 0
    if mode == "udp":
        sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        sock.settimeout(5)
        tag = random.randrange(1 << 30)
    else:
        name = sys.argv[4]
    if mode.startswith("tls"):
        context = ssl.create_default_context(cafile=sys.argv[5])
        host = sys.argv[6]
    connect = lambda: socket.create_connection((server, 853 if mode.startswith("tls") else 53), timeout=5)
    stream = None
    if mode == "tcp":
        stream = connect()
    elif mode == "tls":
        stream = context.wrap_socket(connect(), server_hostname=host)
    start_all = time.perf_counter()
    for i in range(count):
        qid = i & 0xFFFF
        start = time.perf_counter()
        try:
            if mode == "udp":
                sock.sendto(question(qid, "n%d-%d.%s" % (tag, i, sys.argv[4])), (server, 53))
                reply = sock.recv(4096)
            elif mode == "tls1":
                with context.wrap_socket(connect(), server_hostname=host) as one:
                    reply = ask_stream(one, qid, name)
            else:
                reply = ask_stream(stream, qid, name)
        except (OSError, ConnectionError):
            continue
        if struct.unpack(">H", reply[:2])[0] == qid and reply[3] & 15 == 0:
            answered += 1
            times.append(time.perf_counter() - start)
    elapsed = time.perf_counter() - start_all
    times.sort()
    pick = lambda share: times[min(len(times) - 1, int(len(times) * share))] * 1000 if times else 0
    print("answered=%d median_ms=%.3f p99_ms=%.3f per_second=%.0f" % (answered, pick(0.5), pick(0.99), answered / elapsed))


main()
