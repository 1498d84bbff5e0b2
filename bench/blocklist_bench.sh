#!/usr/bin/env bash
# Block-list benchmark: memory and load time of large lists in Quorvane, beside dnsmasq loading the
# same names as a hosts file and Unbound as local zones, and the longest wait of a question while a
# list is reloaded.
# A benchmark, not a test: CI never runs it and nothing passes or fails on it.
# Targets: at most 40 bytes of resident memory per name, 2 000 000 names loaded in under 2 s, no
# question waits more than 10 ms during a reload.
#
#   sudo bench/blocklist_bench.sh [-b QUORVANE_BINARY] [-n "2000000 500000"] [-r ROUNDS]
#
# Everything runs in a private network namespace where only loopback exists. For each list size
# it writes a list of that many distinct generated names (hosts form), then in each of -r rounds:
#   - starts Quorvane without a list and reads its resident memory once it answers;
#   - starts it with the list, asks for a listed name every 10 ms until the blocked answer comes
#     (the load time), and reads its resident memory: the difference over the names is the
#     memory per name;
#   - sends SIGHUP (the list is read again and swapped in) while a prober asks a local name
#     every millisecond for 4 s, and reports the longest wait and the peak resident memory;
#   - starts dnsmasq with the list as an additional hosts file, and Unbound with a local zone per
#     name answered with 0.0.0.0 (always_null), and reads their memory and load time.
# Medians of the rounds are printed.
set -euo pipefail
cd "$(dirname "$0")/.."
binary=build/dev/apps/quorvane/quorvane
sizes="2000000 500000"
rounds=3
while getopts "b:n:r:" opt; do
    case $opt in
    b) binary=$OPTARG ;;
    n) sizes=$OPTARG ;;
    r) rounds=$OPTARG ;;
    *) exit 2 ;;
    esac
done
command -v dig >/dev/null || apt-get install -y bind9-dnsutils
command -v dnsmasq >/dev/null || apt-get install -y dnsmasq-base
command -v unbound >/dev/null || apt-get install -y unbound
binary=$(realpath "$binary")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
exec unshare -n bash bench/blocklist_round.sh "$binary" "$work" "$rounds" $sizes
