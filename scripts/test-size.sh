#!/usr/bin/env bash
# The size of the tests against the size of the code, in non-blank lines that are not comments:
# the .cpp, .h, .sh and .py files under tests/ (fuzz corpora and tests/data are data) against the
# .cpp and .h files under src/ and apps/. In C++ a line starting // or /* or * is a comment and a
# preprocessor line is code; in shell and Python a line starting # is a comment.
#
#   scripts/test-size.sh    prints "tests N, code M, ratio P%"
set -euo pipefail
cd "$(dirname "$0")/.."

count() {
    git ls-files -- "$@" | grep -v '/corpus/' | while read -r file; do
        case $file in
        *.cpp | *.h) grep -cvE '^\s*($|//|/\*|\*)' "$file" || true ;;
        *) grep -cvE '^\s*($|#)' "$file" || true ;;
        esac
    done | awk '{ sum += $1 } END { print sum + 0 }'
}
tests=$(count 'tests/*.cpp' 'tests/*.h' 'tests/*.sh' 'tests/*.py')
code=$(count 'src/*.cpp' 'src/*.h' 'apps/*.cpp' 'apps/*.h')
echo "tests $tests, code $code, ratio $((100 * tests / code))%"
