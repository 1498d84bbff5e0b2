#!/usr/bin/env bash
# Installs the named Debian packages that are missing, keeping their own services from starting:
# the benchmarks run private copies of the peer servers. Needs root.
#   bench/install_packages.sh PACKAGE...
set -euo pipefail
missing=()
for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "Installing: ${missing[*]}" >&2
policy=/usr/sbin/policy-rc.d
made=0
rc=0
if [ ! -e "$policy" ]; then
    printf '#!/bin/sh\nexit 101\n' >"$policy"
    chmod +x "$policy"
    made=1
fi
{
    apt-get update -qq &&
        DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
} >&2 || rc=$?
[ "$made" = 1 ] && rm -f "$policy"
exit "$rc"
