/* Watches a secondary server take its zone. From the moment it is started it asks ADDRESS
 * port 53 over UDP, every INTERVAL milliseconds, for the SOA of ZONE and for the A record of
 * NAME (both questions in flight at once, each asked until it is answered), and notes three
 * moments, as seconds since START:
 *   reply  the first reply of any kind: the server is up (start-up cost);
 *   soa    the first authoritative NOERROR reply holding ZONE's SOA;
 *   last   the first authoritative NOERROR reply holding NAME's A record with address A_ADDRESS.
 *
 *   zone_arrival ADDRESS ZONE NAME A_ADDRESS START [LIMIT_SECONDS] [INTERVAL_MS]
 *
 * START is the server's start as seconds since the epoch with a fraction (bash's
 * $EPOCHREALTIME taken just before it was started); LIMIT_SECONDS (default 120) bounds the wait
 * from START, INTERVAL_MS defaults to 10. Prints "reply=S soa=S last=S", a moment not seen as
 * "-", and exits 0 once both ZONE's SOA and NAME are answered, 1 at the limit. */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <errno.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

enum { TYPE_A = 1, TYPE_SOA = 6, QUESTIONS = 2 };

static double now_s(void)
{
    struct timespec t;
    clock_gettime(CLOCK_REALTIME, &t);
    return (double)t.tv_sec + t.tv_nsec / 1e9;
}

/* The question section for NAME, type, class IN; its length, or 0 for a name too long. */
static size_t build_question(uint8_t* q, size_t room, const char* name, unsigned type)
{
    size_t at = 0;
    for (const char* label = name; *label;) {
        const char* dot = strchr(label, '.');
        const size_t length = dot ? (size_t)(dot - label) : strlen(label);
        if (length == 0 || length > 63 || at + length + 6 > room) return 0;
        q[at++] = (uint8_t)length;
        memcpy(q + at, label, length);
        at += length;
        label += length + (dot ? 1 : 0);
    }
    q[at++] = 0;
    q[at++] = (uint8_t)(type >> 8);
    q[at++] = (uint8_t)type;
    q[at++] = 0;
    q[at++] = 1;
    return at;
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

/* Whether the reply m (question section q of size qsize echoed after the header) is an
 * authoritative NOERROR answer holding a record of the type asked, and for an A record, the
 * address want. */
static int answers(const uint8_t* m, size_t size, const uint8_t* q, size_t qsize, unsigned type,
                   const uint8_t* want)
{
    if (size < 12 + qsize || (m[2] & 0x04) == 0 || (m[3] & 0x0F) != 0) return 0;
    if (m[4] != 0 || m[5] != 1 || memcmp(m + 12, q, qsize) != 0) return 0;
    const unsigned count = (unsigned)m[6] << 8 | m[7];
    size_t at = 12 + qsize;
    for (unsigned i = 0; i < count; ++i) {
        at = skip_name(m, size, at);
        if (!at || at + 10 > size) return 0;
        const unsigned rtype = (unsigned)m[at] << 8 | m[at + 1];
        const size_t rdlength = (size_t)m[at + 8] << 8 | m[at + 9];
        at += 10;
        if (at + rdlength > size) return 0;
        if (rtype == type && (type != TYPE_A || (rdlength == 4 && memcmp(m + at, want, 4) == 0))) return 1;
        at += rdlength;
    }
    return 0;
}

static void print_moment(const char* key, double moment, double start)
{
    if (moment > 0)
        printf("%s=%.3f", key, moment - start);
    else
        printf("%s=-", key);
}

int main(int argc, char** argv)
{
    if (argc < 6 || argc > 8) {
        fprintf(stderr, "usage: %s ADDRESS ZONE NAME A_ADDRESS START [LIMIT_SECONDS] [INTERVAL_MS]\n",
                argv[0]);
        return 2;
    }
    struct sockaddr_in server;
    memset(&server, 0, sizeof server);
    server.sin_family = AF_INET;
    server.sin_port = htons(53);
    uint8_t want[4];
    if (inet_pton(AF_INET, argv[1], &server.sin_addr) != 1 || inet_pton(AF_INET, argv[4], want) != 1) {
        fprintf(stderr, "bad address %s or %s\n", argv[1], argv[4]);
        return 2;
    }
    const double start = atof(argv[5]);
    const double limit = argc > 6 ? atof(argv[6]) : 120.0;
    const double interval = (argc > 7 ? atof(argv[7]) : 10.0) / 1e3;

    /* Question 0 is the SOA of ZONE, question 1 NAME's A record. */
    static uint8_t questions[QUESTIONS][300];
    size_t sizes[QUESTIONS];
    const unsigned types[QUESTIONS] = {TYPE_SOA, TYPE_A};
    sizes[0] = build_question(questions[0], sizeof questions[0], argv[2], TYPE_SOA);
    sizes[1] = build_question(questions[1], sizeof questions[1], argv[3], TYPE_A);
    if (!sizes[0] || !sizes[1]) {
        fprintf(stderr, "bad name %s or %s\n", argv[2], argv[3]);
        return 2;
    }

    /* Connected, so that the replies come from the server alone; while nothing listens yet the
     * refusals come back as ECONNREFUSED and are passed over. */
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK, 0);
    if (fd < 0 || connect(fd, (struct sockaddr*)&server, sizeof server) != 0) {
        perror("socket/connect");
        return 2;
    }

    double reply = 0, seen[QUESTIONS] = {0, 0};
    uint16_t ident = 0;
    double next = now_s();
    while (!(seen[0] && seen[1]) && now_s() < start + limit) {
        const double now = now_s();
        if (now >= next) {
            for (int i = 0; i < QUESTIONS; ++i) {
                if (seen[i]) continue;
                uint8_t message[320] = {0};
                /* The id's low bit says which question it was. */
                ident = (uint16_t)((ident + 2) & ~1u) | (uint16_t)i;
                message[0] = (uint8_t)(ident >> 8);
                message[1] = (uint8_t)ident;
                message[5] = 1;
                memcpy(message + 12, questions[i], sizes[i]);
                if (send(fd, message, 12 + sizes[i], 0) < 0 && errno != ECONNREFUSED && errno != EAGAIN)
                    perror("send");
            }
            /* A late wake-up asks once, not a burst to catch up. */
            next = next + interval > now ? next + interval : now + interval;
        }
        struct pollfd p = {.fd = fd, .events = POLLIN};
        const double wait = next - now_s();
        if (poll(&p, 1, wait > 0 ? (int)(wait * 1e3) + 1 : 0) <= 0) continue;
        for (;;) {
            uint8_t m[4096];
            const ssize_t n = recv(fd, m, sizeof m, 0);
            if (n < 0 && errno == ECONNREFUSED) continue;
            if (n < 0) break;
            const double at = now_s();
            if (n < 12 || (m[2] & 0x80) == 0) continue;
            if (!reply) reply = at;
            const int i = m[1] & 1;
            if (!seen[i] && answers(m, (size_t)n, questions[i], sizes[i], types[i], want)) seen[i] = at;
        }
    }
    close(fd);
    print_moment("reply", reply, start);
    print_moment(" soa", seen[0], start);
    print_moment(" last", seen[1], start);
    printf("\n");
    return seen[0] && seen[1] ? 0 : 1;
}
