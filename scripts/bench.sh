#!/usr/bin/env bash
# Builds the benchmarks and prints the library's codecs beside the peers that are installed, all on one core.
#
# Usage: bench.sh [--source FILE.y4m] [--frames N] [--rates K,K] [--rounds N] [--no-callgrind] [--record FILE]
#        bench.sh --compare COMMIT COMMIT the figures that runs of it kept of two commits, and their change
#        bench.sh --kernels [FILTER]      every kernel in every tier instead
#        bench.sh --images [FILTER]       the image kernels beside other libraries' functions instead
#        bench.sh --process [FILTER]      the treatment of camera pictures instead
#        bench.sh --32bit [--source FILE.y4m] [--frames N] [--rates K,K] [--loads N]
#                                         the codec on 32 bits beside 64, and the Windows library's size and load time instead
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${1:-}" = --compare ]; then
    exec python3 scripts/bench_compare.py "${@:2}"
fi
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
if [ "${1:-}" = --32bit ]; then
    scripts/install_packages.sh test windows
    scripts/windows_libraries.sh
    scripts/i386_root.sh g++ cmake ninja-build pkg-config valgrind libyuv-dev libsimpleini-dev libffmpeg-nvenc-dev \
        libpciaccess-dev libcli11-dev nlohmann-json3-dev libpng-dev libgcrypt20-dev libbenchmark-dev
    mkdir -p build/i386-headers # of a package that there is not for it
    cp -r /usr/include/mfx build/i386-headers/
    { ninja -C build/release codec_bench camera_scene qvlx && scripts/i386_run.sh cmake --preset linux32 &&
        scripts/i386_run.sh ninja -C build/linux32 codec_bench qvlx && cmake --preset windows &&
        ninja -C build/windows quilvex load_time; } >>build/bench.log 2>&1 || { tail -n 40 build/bench.log >&2; exit 1; }
    exec python3 scripts/bench_32bit.py "${@:2}"
fi
ninja -C build/release codec_bench camera_scene >>build/bench.log || { tail -n 40 build/bench.log >&2; exit 1; }
exec python3 scripts/bench_codecs.py build/release "$@"
