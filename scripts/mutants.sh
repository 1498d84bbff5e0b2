#!/usr/bin/env bash
# Checks that the tests catch the faults listed in scripts/mutants.txt. For each mutant: puts the
# fault into the source (an exact text replaced; the text must be there exactly once), builds, runs
# the tests, notes which tests fail, and puts the source back (also on an error or Ctrl-C). Prints a
# table: mutant, file, killed or not, the tests that killed it. At the end the clean tree is rebuilt.
# The shared build lock (/tmp/quorvane-build.lock) is held over a mutant's build and its tests, and
# let go every few mutants so that other builds get their turn.
#
#   scripts/mutants.sh [-b BUILD_DIR] [-o TABLE] [-t CTEST_ARGS] [-k N] [-n] [ID...]
#
#   -b  build folder (default build/dev, configured with the dev preset when missing)
#   -o  also write the table to this file
#   -t  ctest arguments for every mutant (default "-LE integration -j2 --timeout 120"); only the
#       GUI tests reach src/ui and src/tools, and none of them apps/, so those mutants run fewer; a
#       mutant's sixth field adds integration cases of its own
#   -k  mutants per hold of the build lock (default 10)
#   -n  only check that every mutant applies, without building or testing
#   ID  only these mutants (default all)
#
# Time: on two cores about 25 seconds a mutant (an incremental build with ccache, then the tests),
# some 15 minutes for the whole list, plus the waits for the build lock while others build.
# Needs root for the integration cases some mutants name.
set -euo pipefail
cd "$(dirname "$0")/.."

build=build/dev table="" ctest_args="-LE integration -j2 --timeout 120" check_only=0 batch=10
while getopts "b:o:t:k:n" opt; do
    case $opt in
        b) build=$OPTARG ;;
        o) table=$OPTARG ;;
        t) ctest_args=$OPTARG ;;
        k) batch=$OPTARG ;;
        n) check_only=1 ;;
        *) exit 2 ;;
    esac
done
shift $((OPTIND - 1))
wanted=" $* "

work=$(mktemp -d)
applied=""   # the file that holds a mutant right now
restore() { if [ -n "$applied" ]; then cp "$work/original" "$applied"; applied=""; fi; }
trap 'restore; rm -rf "$work"' EXIT
trap 'exit 130' INT TERM

# Replaces the text in the file when it is there exactly once; fails loudly otherwise.
mutate() {
    python3 - "$1" "$2" "$3" <<'PY'
import sys
path, old, new = sys.argv[1:]
text = open(path).read()
if text.count(old) != 1:
    sys.exit(f"{path}: the text '{old}' is there {text.count(old)} times, not once")
open(path, "w").write(text.replace(old, new))
PY
}

# Builds and tests run with the lock's descriptor closed, so that nothing they leave behind holds it.
exec 9>>/tmp/quorvane-build.lock
build() { cmake --build "$build" >"$work/build.log" 2>&1 9>&-; }
run_tests() { ctest --test-dir "$build" "$@" >"$work/ctest.log" 2>&1 9>&- || true; }

# The names of the tests that failed, from ctest's closing list.
failed_tests() { sed -n '/The following tests FAILED/,$ s/^[[:space:]]*[0-9]* - \(.*\) (.*)$/\1/p' "$1"; }

if [ "$check_only" = 0 ]; then
    [ -d "$build" ] || cmake --preset dev >/dev/null
    flock 9
    build || { cat "$work/build.log"; echo "the clean tree does not build" >&2; exit 1; }
    # Tests that fail without any mutant say nothing about one; they are left out of the kills.
    # shellcheck disable=SC2086 # the ctest arguments are words
    run_tests $ctest_args
    failed_tests "$work/ctest.log" >"$work/failing-before"
    [ -s "$work/failing-before" ] && echo "failing without a mutant: $(paste -sd ' ' "$work/failing-before")" >&2
fi

rows=("ID|file|killed|seconds|killing tests")
sep=$'\x1f'
while IFS=$sep read -r -u 3 id file old new what extra; do
    id=$(echo "$id" | xargs)
    [[ -z "$id" || "$id" == \#* ]] && continue
    [[ "$wanted" == "  " || "$wanted" == *" $id "* ]] || continue
    file=$(echo "$file" | xargs) extra=$(echo "$extra" | xargs)
    cp "$file" "$work/original"
    applied=$file
    mutate "$file" "$old" "$new"
    if [ "$check_only" = 1 ]; then restore; echo "$id applies"; continue; fi
    if [ $((${#rows[@]} % batch)) = 0 ]; then flock -u 9; sleep 3; flock 9; fi
    start=$SECONDS
    echo "== $id $file: $what" >&2
    if ! build; then
        restore
        rows+=("$id|$file|not compiled|$((SECONDS - start))|$(grep -m1 'error:' "$work/build.log" || true)")
        continue
    fi
    case $file in
        src/ui/* | src/tools/*) suite="$ctest_args -L gui" ;;
        apps/*) suite="" ;;
        *) suite=$ctest_args ;;
    esac
    failed=""
    # shellcheck disable=SC2086 # the ctest arguments are words
    if [ -n "$suite" ]; then run_tests $suite; failed=$(failed_tests "$work/ctest.log"); fi
    if [ -n "$extra" ]; then
        run_tests -R "^(${extra//,/|})\$" --timeout 240
        failed+=$'\n'$(failed_tests "$work/ctest.log")
    fi
    restore
    killers=$(echo "$failed" | sed '/^$/d' | grep -vxF -f "$work/failing-before" | sort -u | paste -sd ' ' || true)
    rows+=("$id|$file|$([ -n "$killers" ] && echo yes || echo NO)|$((SECONDS - start))|$killers")
    echo "   killed by: ${killers:-nothing}" >&2
done 3<<<"$(sed "s/ | /$sep/g" scripts/mutants.txt)"

[ "$check_only" = 1 ] && exit 0
echo "== rebuilding the clean tree" >&2
build || cat "$work/build.log"
flock -u 9
printf '%s\n' "${rows[@]}" | column -t -s '|' -o ' | ' | tee ${table:+"$table"}
count() { printf '%s\n' "${rows[@]}" | awk -F'|' -v k="$1" '$3 == k' | wc -l; }
echo "$(count yes) killed, $(count NO) not killed, $(count 'not compiled') not compiled" | tee ${table:+-a "$table"}
