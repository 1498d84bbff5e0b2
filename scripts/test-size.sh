#!/usr/bin/env bash
# The size of the tests against the size of the code, in non-blank lines that are not comments:
# the .cpp, .h, .sh and .py files under tests/ (fuzz corpora and tests/data are data) against the
# .cpp and .h files under src/ and apps/. A line starting // or /* or * is a comment everywhere.
# Two figures, since they differ in the lines starting with # in the tests' C++ (#include, #pragma):
# the first leaves them out, as the project's size check does, the second counts them as code.
#
#   scripts/test-size.sh    prints "tests N, code M, ratio P%" and the figure with those lines
set -euo pipefail
cd "$(dirname "$0")/.."

# $1: "all" leaves out every line starting with #, "script" only those of shell and Python files.
count() {
    local hash=$1
    shift
    git ls-files -- "$@" | grep -v '/corpus/' | while read -r file; do
        case $hash:$file in
        script:*.cpp | script:*.h) grep -cvE '^\s*($|//|/\*|\*)' "$file" || true ;;
        *) grep -cvE '^\s*($|//|/\*|\*|#)' "$file" || true ;;
        esac
    done | awk '{ sum += $1 } END { print sum + 0 }'
}
tests=(tests/'*.cpp' tests/'*.h' tests/'*.sh' tests/'*.py')
code=$(count script 'src/*.cpp' 'src/*.h' 'apps/*.cpp' 'apps/*.h')
lean=$(count all "${tests[@]}")
full=$(count script "${tests[@]}")
echo "tests $lean, code $code, ratio $((100 * lean / code))%"
echo "with the tests' preprocessor lines: tests $full, ratio $((100 * full / code))%"
