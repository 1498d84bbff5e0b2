#!/usr/bin/env python3
"""The soak's table and verdict: soak_table.py WORK DURATION

Reads what bench/soak.sh left in WORK (samples, probes, dhcp, failures, unexpected, the dnsperf
reports), prints the samples, the answers of each load by response code, and one verdict line per
check; exits 1 when a check fails.
"""
import os
import re
import sys

work, duration = sys.argv[1], int(sys.argv[2])


def lines(name):
    path = os.path.join(work, name)
    return open(path, errors="replace").read().splitlines() if os.path.exists(path) else []


samples = [line.split() for line in lines("samples")]
print(f"{'time s':>7} {'RSS MB':>8} {'fds':>5} {'pending':>8} {'cache MB':>10}")
for t, rss, fds, pending, cache in samples:
    print(f"{t:>7} {int(rss) / 1024:>8.1f} {fds:>5} {pending:>8} {cache:>10}")

print(f"\n{'load':<7} {'sent':>9} {'answered':>9} {'lost':>7}  response codes")
for load in ("local", "cache", "flood"):
    text = "\n".join(lines(f"dnsperf-{load}.txt"))
    figure = lambda key: (re.search(key + r":\s+(\d+)", text) or [None, "-"])[1]
    codes = (re.search(r"Response codes:\s+(.*)", text) or [None, "no report"])[1]
    print(f"{load:<7} {figure('Queries sent'):>9} {figure('Queries completed'):>9} {figure('Queries lost'):>7}  {codes}")

probes = lines("probes")
counts = {k: probes.count(k) for k in ("ok", "wrong", "servfail", "noreply")}
dhcp = lines("dhcp")
print(f"\nsampled answers: {counts['ok']} right, {counts['wrong']} wrong, {counts['servfail']} SERVFAIL, "
      f"{counts['noreply']} without reply; DHCP batches: {dhcp.count('ok')} leased, {dhcp.count('fail')} failed")

verdict = []


def check(name, passed, detail):
    verdict.append(passed is not False)
    mark = "pass" if passed else ("fail" if passed is False else "info")
    print(f"{mark:>5}  {name}: {detail}")


print()
# Memory: the window starts once the cache is at 95% of its cap, or at a third of the run.
def filled(cache):  # "12.3/32": the cache's size against its cap
    size, _, cap = cache.partition("/")
    return cap != "" and float(size) >= 0.95 * float(cap)


full = [i for i, s in enumerate(samples) if filled(s[4])]
start = full[0] if full else next((i for i, s in enumerate(samples) if int(s[0]) >= duration / 3), len(samples))
window = [int(s[1]) for s in samples[start:]]
if len(window) >= 2:
    spread = max(window) / min(window) - 1
    why = "cache full" if full else "a third of the run"
    detail = (f"{min(window) / 1024:.1f} to {max(window) / 1024:.1f} MB after t={samples[start][0]} s ({why}), "
              f"spread {spread * 100:.1f}% (limit 5%)")
    check("memory after warm-up", (spread <= 0.05) if duration >= 180 else None,
          detail + ("" if duration >= 180 else "; not judged in a run under 180 s"))
else:
    check("memory after warm-up", None if duration < 180 else False, "too few samples after warm-up")
settle = 60 if duration >= 180 else 10
fds = sorted({s[2] for s in samples if int(s[0]) >= settle})
check("descriptors flat", len(fds) <= 1, f"after {settle} s: {', '.join(fds) or 'no sample'}")
check("wrong answers", counts["wrong"] + counts["servfail"] == 0 and counts["ok"] > 0,
      f"{counts['wrong']} wrong, {counts['servfail']} SERVFAIL of {len(probes)} sampled")
failures = lines("failures")
check("transfers, reloads, NOTIFY, DHCP", not failures, "; ".join(failures) or "all done")
unexpected = lines("unexpected")
check("unexpected log lines", not unexpected, f"{len(unexpected)}" + "".join("\n        " + u for u in unexpected[:20]))
print("\nverdict:", "PASS" if all(verdict) else "FAIL")
sys.exit(0 if all(verdict) else 1)
