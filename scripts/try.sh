#!/usr/bin/env bash
# The short way round: builds the test program of a folder and runs the tests that stand in it.
#
# Usage: try.sh FOLDER [GTEST OPTION...]      FOLDER of the sources or the tests: kernels, decoder/entropy, tests/encoder/write ..
# PRESET=asan try.sh ..                       in another build than release
set -euo pipefail
cd "$(dirname "$0")/.."
folder=${1:?a folder, such as decoder/entropy}
folder=${folder#tests/}
shift
preset=${PRESET:-release}
program=test_${folder%%/*}
[ -d "build/$preset" ] || cmake --preset "$preset" >/dev/null
ninja -C "build/$preset" "$program" | tail -n 1
# Plain tests, fixtures and tests of several values, whose instances have a prefix.
suites=$(find "tests/$folder" -name '*_test.cpp' -exec grep -hoE '^(TYPED_)?TEST(_[FP])?\(\w+' {} + | sed 's/.*(//' | sort -u)
filter=$(for suite in $suites; do printf '%s.*:*/%s.*:%s/*.*:' "$suite" "$suite" "$suite"; done)
exec "build/$preset/tests/$program" --gtest_brief=1 --gtest_filter="$filter" "$@"
