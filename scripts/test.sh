#!/usr/bin/env bash
# Installs what the tests need, builds the Debian package and checks it with lintian, then builds
# and runs every test twice: a normal debug build and one with the address and undefined-behaviour
# sanitizers; then each fuzz target for a bounded run; then a one-minute soak of the debug build
# and 20 rounds of killing it during its saves.
# Integration tests make private network namespaces, so this runs as root.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh test
echo "== package: build and lintian"
scripts/package.sh # the package's integration cases run what it builds
for preset in dev asan fuzz; do
    echo "== $preset: build"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset"
    echo "== $preset: test"
    ctest --preset "$preset"
done
echo "== soak smoke: one minute of mixed load on the dev build"
bench/soak.sh -d 60 -b build/dev/apps/quorvane/quorvane
echo "== kill -9 during saves: a short run of the campaign, so that it cannot rot"
bench/kill9.sh -n 20 -b build/dev/apps/quorvane/quorvane
