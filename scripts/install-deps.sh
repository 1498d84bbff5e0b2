#!/usr/bin/env bash
# Installs what Quorvane needs on Debian 12 (as root, or with sudo); does nothing when all is there.
#   install-deps.sh build   what building and running need
#   install-deps.sh test    that, and what the tests need (the package build included)
#   install-deps.sh package that, and what building and checking the Debian package need
# Name servers that the integration tests run as peers (NSD) are installed without starting their
# services, and their services are left disabled, so port 53 stays free for Quorvane.
set -euo pipefail

packages=(
    cmake ninja-build g++                               # build
    libasio-dev                                         # event loop
    libcurl4-openssl-dev                                # fetching block lists
    libssl-dev                                          # TLS to forwarders and for clients
    libgtest-dev libgmock-dev                           # the test targets are part of every build
    qt6-base-dev qt6-svg-dev                            # the desktop window
    scdoc                                               # the manual pages
)
servers=()
if [ "${1:-build}" = test ] || [ "${1:-build}" = package ]; then
    packages+=(debhelper lintian dpkg-dev)              # the Debian package, and its check
fi
if [ "${1:-build}" = test ]; then
    packages+=(
        clang libclang-rt-14-dev                        # libFuzzer and clang's sanitizer runtime
        libbenchmark-dev                                # micro-benchmarks
        iproute2 util-linux python3                     # private network namespaces for integration tests
        systemd groff-base                              # checks of the service unit and the manual pages
        bind9-dnsutils knot-dnsutils                    # real DNS clients
        busybox isc-dhcp-client dhcpcd-base             # real DHCP clients (dhcpcd without its service)
        dns-root-data bind9-utils                       # root hints, and a zone compiler to compare with
        xvfb x11-utils x11-apps xdotool netpbm fonts-dejavu-core # the desktop program on a virtual display
    )
    packages+=(openssl)                                 # the TLS cases' own certificate authority
    packages+=(dnsperf)                                 # the soak smoke's load (bench/soak.sh)
    servers=(nsd knot bind9)                            # peers: authoritative servers, primaries and secondaries
    servers+=(unbound)                                  # a resolver serving DNS over TLS
fi

missing_of() {
    local p
    for p in "$@"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'ok installed' || echo "$p"
    done
}
mapfile -t missing < <(missing_of "${packages[@]}")
mapfile -t missing_servers < <(missing_of "${servers[@]}")
[ ${#missing[@]} -eq 0 ] && [ ${#missing_servers[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
install() {
    echo "Installing: $*"
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "$@"
}
$sudo apt-get update -qq
[ ${#missing[@]} -eq 0 ] || install "${missing[@]}"
if [ ${#missing_servers[@]} -gt 0 ]; then
    # policy-rc.d answering 101 keeps the packages' services from starting while they install.
    policy=/usr/sbin/policy-rc.d
    made=0
    if [ ! -e "$policy" ]; then
        printf '#!/bin/sh\nexit 101\n' | $sudo tee "$policy" >/dev/null
        $sudo chmod +x "$policy"
        made=1
    fi
    rc=0
    install "${missing_servers[@]}" || rc=$?
    [ "$made" = 1 ] && $sudo rm -f "$policy"
    [ "$rc" -eq 0 ] || exit "$rc"
    if command -v systemctl >/dev/null; then
        $sudo systemctl disable "${missing_servers[@]}" >/dev/null 2>&1 || true
    fi
fi
