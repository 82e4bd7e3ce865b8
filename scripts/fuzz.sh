#!/bin/bash
# Fuzzes the codec: scripts/fuzz.sh [MINUTES [TARGET...]]; 15 minutes for each of all targets by default. One process at
# a time. What it finds lies under build/fuzz/findings; the corpus that it grows stays under build/fuzz for the next run.
set -euo pipefail
cd "$(dirname "$0")/.."
minutes=${1:-15}
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(decoder_fuzz encoder_fuzz splitter_fuzz parameter_sets_fuzz slice_header_fuzz)

[ -f build/fuzz/build.ninja ] || cmake --preset fuzz > /dev/null
ninja -C build/fuzz written_streams "${targets[@]}"
tests=build/fuzz/tests
$tests/written_streams $tests/fuzz_streams
python3 tests/fuzz/make_corpus.py $tests/fuzz_streams $tests/fuzz_corpus
mkdir -p build/fuzz/findings
for target in "${targets[@]}"; do
    mkdir -p build/fuzz/grown/$target
    corpus=($tests/fuzz_corpus/$target)
    [ ! -d tests/fuzz/corpus/$target ] || corpus+=(tests/fuzz/corpus/$target)
    $tests/$target -max_total_time=$((60 * minutes)) -max_len=4096 -timeout=60 -rss_limit_mb=1500 -print_final_stats=1 \
        -artifact_prefix=build/fuzz/findings/$target- build/fuzz/grown/$target "${corpus[@]}"
done
