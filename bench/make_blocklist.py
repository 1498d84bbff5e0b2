#!/usr/bin/env python3
"""Writes a block list in hosts form of N distinct generated names that look like the names of
real lists: one to three labels of syllables and digits under a common suffix."""
import random
import sys

n = int(sys.argv[1])
rng = random.Random(25)
syllables = ["ad", "track", "cdn", "pix", "stat", "metr", "ix", "on", "ser", "ve", "clk", "log", "tag", "net",
             "media", "go", "up", "beam", "sync", "px", "rt", "bid", "an", "ly", "tics", "x", "zo", "qa"]
tlds = ["com", "net", "org", "io", "de", "co.uk", "info", "ru", "xyz", "biz"]
seen = set()
print("# generated block list")
while len(seen) < n:
    labels = ["".join(rng.choice(syllables) for _ in range(rng.randint(2, 4))) + str(rng.randint(0, 99))
              for _ in range(rng.randint(1, 3))]
    name = ".".join(labels) + "." + rng.choice(tlds)
    if name not in seen:
        seen.add(name)
        print("0.0.0.0 " + name)
