#!/usr/bin/env bash
# Installs what building, running and testing Quorvane need on Debian 12 (as root, or with sudo).
# Does nothing when everything is already there.
set -euo pipefail

packages=(
    cmake ninja-build g++ clang libclang-rt-14-dev     # build, sanitizers, libFuzzer
    libasio-dev                                         # event loop
    libgtest-dev libgmock-dev libbenchmark-dev          # tests and benchmarks
    iproute2 util-linux python3                         # private network namespaces for integration tests
    bind9-dnsutils knot-dnsutils dns-root-data          # real DNS clients and root hints for tests
    bind9 bind9-utils nsd                               # zone files, zone compiler and load peer for the store
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
