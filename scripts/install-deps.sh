#!/usr/bin/env bash
# Installs what Quorvane needs on Debian 12 (as root, or with sudo); does nothing when all is there.
#   install-deps.sh build   what building and running need
#   install-deps.sh test    that, and what the tests need
# No package that runs a server of its own is installed, so port 53 stays free for Quorvane.
set -euo pipefail

packages=(
    cmake ninja-build g++                               # build
    libasio-dev                                         # event loop
    libgtest-dev libgmock-dev                           # the test targets are part of every build
)
if [ "${1:-build}" = test ]; then
    packages+=(
        clang libclang-rt-14-dev                        # libFuzzer and clang's sanitizer runtime
        libbenchmark-dev                                # micro-benchmarks
        iproute2 util-linux python3                     # private network namespaces for integration tests
        bind9-dnsutils knot-dnsutils                    # real DNS clients
        dns-root-data bind9-utils                       # root hints, and a zone compiler to compare with
    )
fi

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
