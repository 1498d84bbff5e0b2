/* The load generator's ceiling: a UDP responder that sends every datagram back with the QR bit
 * set and does nothing else (no parsing, no lookup). Whatever rate dnsperf reaches against it
 * is the most the benchmark can show for any server on the same cores.
 *
 *   echo_responder ADDRESS PORT      (e.g. 127.0.0.1 53; runs until killed)
 *
 * It never sleeps: it polls its socket without blocking, so it takes all of its core. A
 * responder that sleeps between datagrams makes the sender pay for waking it (a cross-core
 * wake-up in every send), which on a virtual machine costs dnsperf more than a busy server does;
 * polling keeps the ceiling above every real server. It batches with recvmmsg/sendmmsg. */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <netinet/in.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

enum { BATCH = 64, MAX_DATAGRAM = 4096 };

int main(int argc, char** argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: %s ADDRESS PORT\n", argv[0]);
        return 2;
    }
    struct sockaddr_in local;
    memset(&local, 0, sizeof local);
    local.sin_family = AF_INET;
    local.sin_port = htons((unsigned short)atoi(argv[2]));
    if (inet_pton(AF_INET, argv[1], &local.sin_addr) != 1) {
        fprintf(stderr, "not an IPv4 address: %s\n", argv[1]);
        return 2;
    }
    int fd = socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0 || bind(fd, (struct sockaddr*)&local, sizeof local) != 0) {
        perror("bind");
        return 1;
    }

    static unsigned char buffers[BATCH][MAX_DATAGRAM];
    static struct sockaddr_in peers[BATCH];
    static struct iovec iovecs[BATCH];
    static struct mmsghdr messages[BATCH];
    for (;;) {
        for (int i = 0; i < BATCH; ++i) {
            iovecs[i].iov_base = buffers[i];
            iovecs[i].iov_len = MAX_DATAGRAM;
            memset(&messages[i].msg_hdr, 0, sizeof messages[i].msg_hdr);
            messages[i].msg_hdr.msg_name = &peers[i];
            messages[i].msg_hdr.msg_namelen = sizeof peers[i];
            messages[i].msg_hdr.msg_iov = &iovecs[i];
            messages[i].msg_hdr.msg_iovlen = 1;
        }
        int received = recvmmsg(fd, messages, BATCH, MSG_DONTWAIT, NULL);
        if (received <= 0) continue; /* nothing waiting yet: poll again */
        int answers = 0;
        for (int i = 0; i < received; ++i) {
            unsigned int length = messages[i].msg_len;
            if (length < 12) continue; /* not even a DNS header: drop it */
            buffers[i][2] |= 0x80;     /* QR: this is a response */
            iovecs[i].iov_len = length;
            if (answers != i) messages[answers] = messages[i];
            ++answers;
        }
        for (int sent = 0; sent < answers;) {
            int n = sendmmsg(fd, messages + sent, (unsigned int)(answers - sent), 0);
            if (n <= 0) break; /* a full send buffer loses the rest, as a real server would */
            sent += n;
        }
    }
}
