#!/usr/bin/env bash
# Builds the benchmarks and prints the library's codecs beside the peers that are installed, all on one core.
#
# Usage: bench.sh [--source FILE.y4m] [--frames N] [--rates K,K] [--rounds N] [--no-callgrind]
#        bench.sh --kernels [FILTER]      every kernel in every tier instead
#        bench.sh --images [FILTER]       the image kernels beside other libraries' functions instead
#        bench.sh --process [FILTER]      the treatment of camera pictures instead
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh build test bench peers
mkdir -p build
cmake --preset release >build/bench.log
if [ "${1:-}" = --kernels ]; then
    ninja -C build/release bench_kernels >>build/bench.log || { tail -n 40 build/bench.log >&2; exit 1; }
    exec build/release/bench_kernels --benchmark_filter="${2:-.}"
fi
if [ "${1:-}" = --images ]; then
    ninja -C build/release image_peers >>build/bench.log || { tail -n 40 build/bench.log >&2; exit 1; }
    exec build/release/image_peers --benchmark_filter="${2:-.}"
fi
if [ "${1:-}" = --process ]; then
    ninja -C build/release process_bench >>build/bench.log || { tail -n 40 build/bench.log >&2; exit 1; }
    exec build/release/process_bench --benchmark_filter="${2:-.}"
fi
ninja -C build/release codec_bench camera_scene >>build/bench.log || { tail -n 40 build/bench.log >&2; exit 1; }
exec python3 scripts/bench_codecs.py build/release "$@"
