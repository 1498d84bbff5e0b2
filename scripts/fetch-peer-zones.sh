#!/usr/bin/env bash
# Unpacks the sample zone files of Debian's bind9 package (db.local, db.127 ...) into
# build/peer-zones, for the tests that read zone files written elsewhere. The package is only
# unpacked, never installed, so no name server is started.
set -euo pipefail
cd "$(dirname "$0")/.."
target=build/peer-zones
[ -f "$target/etc/bind/db.local" ] && exit 0
mkdir -p build
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
(cd "$work" && apt-get download bind9 >/dev/null 2>&1) || { apt-get update -qq && (cd "$work" && apt-get download bind9); }
dpkg-deb -x "$work"/bind9_*.deb "$work/unpacked"
mkdir -p "$target/etc/bind"
cp "$work"/unpacked/etc/bind/db.* "$target/etc/bind/"
