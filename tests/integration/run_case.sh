#!/usr/bin/env bash
# Runs one integration case in a fresh private network namespace with only loopback up:
#   run_case.sh <quorvane binary> <case folder>
# The case's test.sh runs with WORK (a scratch folder), QUORVANE, QUORVANE_CTL (CTest sets it;
# by hand it defaults to the quorvane-ctl beside the server's binary) and the helpers of lib.sh.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
export QUORVANE=$1 CASE_DIR=$2
export QUORVANE_CTL=${QUORVANE_CTL:-$(dirname "$1")/quorvane-ctl}
export WORK=$(mktemp -d /tmp/quorvane-it.XXXXXX)
trap 'rm -rf "$WORK"' EXIT
unshare --net bash -c '
    set -euo pipefail
    [ -n "${TRACE:-}" ] && set -x
    ip link set lo up
    source "$0/lib.sh"
    trap end_started EXIT
    source "$CASE_DIR/test.sh"
    echo "PASS: $(basename "$CASE_DIR")"
' "$here"
