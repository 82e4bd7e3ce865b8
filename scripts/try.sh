#!/usr/bin/env bash
# The short way round: builds the test program of a folder and runs the tests that stand in it.
#
# Usage: try.sh FOLDER [GTEST OPTION...]      FOLDER of the sources or the tests: kernels/transform, decoder/entropy, tests/encoder/write ..
# PRESET=asan try.sh ..                       in another build than release
set -euo pipefail
cd "$(dirname "$0")/.."
fail() {
    echo "try.sh: $*" >&2
    exit 2
}
[ $# -gt 0 ] || fail "a folder is needed, such as decoder/entropy"
folder=${1%/}
folder=${folder#tests/}
shift
preset=${PRESET:-release}
[ -d "$folder" ] || [ -d "tests/$folder" ] || fail "there is no folder $folder"

# The test files of a folder. One without a folder of tests has its tests in the folder above, named for its sources.
mirror=${folder/#Common*/common}
if [ -d "tests/$mirror" ]; then
    files=$(find "tests/$mirror" -name '*_test.cpp')
else
    names=$(for path in "$folder" "$folder"/*.*; do basename "${path%.*}" | sed -E 's/_(px|a6|w7|t7|v8|p8)$//'; done | sort -u)
    above=tests/$(dirname "$mirror")
    files=$(for name in $names; do ls "$above/$name"_test.cpp "$above/$name"_*_test.cpp 2>/dev/null || true; done)
    files+=$(printf '\n' && ls "$above"/*_"$(basename "$folder")"_test.cpp 2>/dev/null || true)
fi
files=$(printf '%s\n' "$files" | sed '/^$/d' | sort -u)
[ -n "$files" ] || fail "$folder has no tests in a test program"

program=test_${mirror%%/*}
build=build/$preset
[ -d "$build" ] || cmake --preset "$preset" >/dev/null
ninja -C "$build" "$program" >"$build/try.log" 2>&1 || { tail -n 40 "$build/try.log" >&2; exit 1; }
tail -n 1 "$build/try.log"

# The program knows the file of each of its tests; a table that a file makes tests of counts as the file.
"$build/tests/$program" --gtest_list_tests --gtest_output="json:$build/try.json" >/dev/null
# shellcheck disable=SC2086
filter=$(python3 - "$build/try.json" $files $(grep -hoE 'tests/[^"]+\.def' $files || true) <<'END'
import json
import sys

suites = json.load(open(sys.argv[1]))["testsuites"]
print(":".join(s["name"] + ".*" for s in suites if any(t["file"].endswith(tuple(sys.argv[2:])) for t in s["testsuite"])))
END
)
[ -n "$filter" ] || fail "$folder has no tests for this system"

# Each processor takes a share of them.
GTEST_TOTAL_SHARDS=$(nproc)
export GTEST_TOTAL_SHARDS
shares=()
for ((share = 0; share < GTEST_TOTAL_SHARDS; ++share)); do
    GTEST_SHARD_INDEX=$share "$build/tests/$program" --gtest_brief=1 --gtest_filter="$filter" "$@" &
    shares+=($!)
done
status=0
for share in "${shares[@]}"; do
    wait "$share" || status=1
done
exit $status
