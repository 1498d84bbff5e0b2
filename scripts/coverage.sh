#!/usr/bin/env bash
# Line and branch coverage of src/, folder by folder, from the dev suite (unit, scenario, GUI and
# integration tests; not the fuzz runs): builds the coverage preset, runs the tests, and prints a
# table that the coverage of two versions can be compared by.
#
#   scripts/coverage.sh [-o TABLE] [-R REGEX]
#
#   -o  also write the table to this file
#   -R  run only the tests whose names match (default all of them)
#
# Needs root for the integration tests, like the suite itself. Installs gcovr when it is missing.
# Integration cases end their processes with SIGTERM first in this build (QUORVANE_COVERAGE), since
# a process killed outright adds no counts.
set -euo pipefail
cd "$(dirname "$0")/.."

table="" regex=""
while getopts "o:R:" opt; do
    case $opt in
        o) table=$OPTARG ;;
        R) regex=$OPTARG ;;
        *) exit 2 ;;
    esac
done

scripts/install-deps.sh test
command -v gcovr >/dev/null || DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends gcovr
build=build/coverage
cmake --preset coverage >/dev/null
flock /tmp/quorvane-build.lock cmake --build --preset coverage
find "$build" -name '*.gcda' -delete
QUORVANE_COVERAGE=1 ctest --test-dir "$build" --output-on-failure ${regex:+-R "$regex"} || echo "(some tests failed; their counts are in the table all the same)"

summary=$(mktemp)
trap 'rm -f "$summary"' EXIT
gcovr --root . --filter 'src/' --object-directory "$build" --json-summary "$summary" \
    --exclude-throw-branches --exclude-unreachable-branches --gcov-ignore-parse-errors -j 2 "$build" >/dev/null
python3 - "$summary" <<'EOF' | tee ${table:+"$table"}
import collections, json, sys
totals = collections.defaultdict(lambda: [0, 0, 0, 0])
for f in json.load(open(sys.argv[1]))["files"]:
    parts = f["filename"].split("/")
    folder = "/".join(parts[:2]) if len(parts) > 2 else "src"
    for key in (folder, "all of src"):
        t = totals[key]
        t[0] += f["line_covered"]; t[1] += f["line_total"]
        t[2] += f["branch_covered"]; t[3] += f["branch_total"]
print(f"{'folder':<18} {'lines':>15} {'line %':>7} {'branches':>15} {'branch %':>8}")
for key in sorted(totals, key=lambda k: (k == "all of src", k)):
    lc, lt, bc, bt = totals[key]
    print(f"{key:<18} {f'{lc}/{lt}':>15} {100*lc/max(lt,1):>7.1f} {f'{bc}/{bt}':>15} {100*bc/max(bt,1):>8.1f}")
EOF
