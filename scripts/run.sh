#!/usr/bin/env bash
# Builds Quorvane (installing what it needs) and runs it headless on a copy of the example program
# folder, build/example (made from examples/home-office the first time). Ctrl-C closes it.
# Binding port 53 needs root.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh build
cmake --preset release >/dev/null
cmake --build --preset release
[ -d build/example ] || cp -r examples/home-office build/example
exec build/release/apps/quorvane/quorvane --headless --dir build/example "$@"
