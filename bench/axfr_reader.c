/* A zone transfer client that does no more than it must: it asks ADDRESS port 53 over TCP for
 * an AXFR of ZONE, reads the messages, walks each one's records only far enough to count them
 * and to see the closing SOA, and stops there. kdig formats every record as it arrives and,
 * on a fast server, takes longer for that than the server takes to send; this client leaves
 * the server as the slow side, so its time is the server's.
 *
 *   axfr_reader ADDRESS ZONE [TIMEOUT_SECONDS]     (default 60)
 *
 * Prints "ms=... records=... messages=... bytes=..." (bytes: DNS messages with their two-byte
 * length prefixes, i.e. the TCP payload from the server) and exits 0 after the closing SOA;
 * exits 1 on an error reply, a malformed message, a closed connection or the timeout. */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <netinet/in.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

enum { TYPE_SOA = 6, TYPE_AXFR = 252, MAX_MESSAGE = 65535 };

static double now_ms(void)
{
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return t.tv_sec * 1e3 + t.tv_nsec / 1e6;
}

/* Reads go through one large buffer: a server that sends one record per message would otherwise
 * cost this client two system calls per record and make it the slow side again. */
static uint8_t input[1 << 20];
static size_t input_start, input_end;

static int read_all(int fd, uint8_t* buffer, size_t size)
{
    while (input_end - input_start < size) {
        if (input_start > 0) {
            memmove(input, input + input_start, input_end - input_start);
            input_end -= input_start;
            input_start = 0;
        }
        const ssize_t n = recv(fd, input + input_end, sizeof input - input_end, 0);
        if (n <= 0) return -1;
        input_end += (size_t)n;
    }
    memcpy(buffer, input + input_start, size);
    input_start += size;
    return 0;
}

/* Offset just past the name at offset at, or 0 when it runs off the message. */
static size_t skip_name(const uint8_t* m, size_t size, size_t at)
{
    while (at < size) {
        const uint8_t length = m[at];
        if (length == 0) return at + 1;
        if ((length & 0xC0) == 0xC0) return at + 2 <= size ? at + 2 : 0;
        at += 1u + length;
    }
    return 0;
}

/* The query: header, one question, ZONE in wire form, type AXFR, class IN. */
static size_t build_query(uint8_t* q, const char* zone)
{
    size_t at = 12;
    memset(q, 0, at);
    q[0] = 0x5A;
    q[1] = 0x17;
    q[5] = 1; /* QDCOUNT */
    for (const char* label = zone; *label;) {
        const char* dot = strchr(label, '.');
        const size_t length = dot ? (size_t)(dot - label) : strlen(label);
        if (length == 0 || length > 63 || at + length + 6 > 300) break;
        q[at++] = (uint8_t)length;
        memcpy(q + at, label, length);
        at += length;
        label += length + (dot ? 1 : 0);
    }
    q[at++] = 0;
    q[at++] = 0;
    q[at++] = TYPE_AXFR;
    q[at++] = 0;
    q[at++] = 1;
    return at;
}

int main(int argc, char** argv)
{
    if (argc < 3 || argc > 4) {
        fprintf(stderr, "usage: %s ADDRESS ZONE [TIMEOUT_SECONDS]\n", argv[0]);
        return 2;
    }
    struct sockaddr_in server;
    memset(&server, 0, sizeof server);
    server.sin_family = AF_INET;
    server.sin_port = htons(53);
    if (inet_pton(AF_INET, argv[1], &server.sin_addr) != 1) {
        fprintf(stderr, "bad address %s\n", argv[1]);
        return 2;
    }
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    struct timeval timeout = {.tv_sec = argc == 4 ? atoi(argv[3]) : 60};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);

    static uint8_t message[MAX_MESSAGE + 2];
    const size_t length = build_query(message + 2, argv[2]);
    message[0] = (uint8_t)(length >> 8);
    message[1] = (uint8_t)length;
    const double start = now_ms();
    if (connect(fd, (struct sockaddr*)&server, sizeof server) != 0 ||
        send(fd, message, length + 2, 0) != (ssize_t)(length + 2)) {
        perror("connect/send");
        return 1;
    }

    unsigned long records = 0, messages = 0, bytes = 0;
    int soas = 0;
    while (soas < 2) {
        uint8_t prefix[2];
        if (read_all(fd, prefix, 2) != 0) {
            fprintf(stderr, "connection ended or timed out after %lu records\n", records);
            return 1;
        }
        const size_t size = (size_t)prefix[0] << 8 | prefix[1];
        if (size < 12 || read_all(fd, message, size) != 0) {
            fprintf(stderr, "short message after %lu records\n", records);
            return 1;
        }
        ++messages;
        bytes += size + 2;
        if ((message[3] & 0x0F) != 0) {
            fprintf(stderr, "error reply, rcode %d\n", message[3] & 0x0F);
            return 1;
        }
        const unsigned questions = (unsigned)message[4] << 8 | message[5];
        const unsigned answers = (unsigned)message[6] << 8 | message[7];
        size_t at = 12;
        for (unsigned i = 0; i < questions && at; ++i) {
            at = skip_name(message, size, at);
            if (at) at = at + 4 <= size ? at + 4 : 0;
        }
        for (unsigned i = 0; i < answers && at && soas < 2; ++i) {
            at = skip_name(message, size, at);
            if (!at || at + 10 > size) {
                at = 0;
                break;
            }
            const unsigned type = (unsigned)message[at] << 8 | message[at + 1];
            const size_t rdlength = (size_t)message[at + 8] << 8 | message[at + 9];
            at += 10 + rdlength;
            if (at > size) at = 0;
            ++records;
            if (type == TYPE_SOA) ++soas;
        }
        if (!at) {
            fprintf(stderr, "malformed message %lu\n", messages);
            return 1;
        }
    }
    const double took = now_ms() - start;
    close(fd);
    printf("ms=%.2f records=%lu messages=%lu bytes=%lu\n", took, records, messages, bytes);
    return 0;
}
