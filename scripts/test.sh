#!/usr/bin/env bash
# Checks the format, builds everything with every warning an error, and runs every test: those of the 32-bit Windows build
# under Wine, those under the address and undefined-behaviour sanitizers, those of all but the codec itself under the thread
# sanitizer, and those of the release build, whose summary comes last. clang builds the library too, and clang-tidy looks for
# faults.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh build test style bench windows
mkdir -p build
export QUILVEX_CMAKE_OPTIONS=-DCMAKE_COMPILE_WARNING_AS_ERROR=ON

stage() { # TEXT..., with the seconds since the start
    echo "$SECONDS s: $*"
}

build() { # PRESET [TARGET...]
    local preset=$1
    shift
    stage "building $preset"
    cmake --preset "$preset" "$QUILVEX_CMAKE_OPTIONS" >"build/$preset.log"
    ninja -C "build/$preset" "$@" >>"build/$preset.log" || { grep -E 'error|FAILED' "build/$preset.log" | head -n 40 >&2; exit 1; }
}

tests() { # PRESET [CTEST OPTION...]
    local preset=$1
    shift
    stage "testing $preset"
    ctest --test-dir "build/$preset" --output-on-failure -j "$(nproc)" --quiet -O "build/$preset-tests.log" "$@" ||
        { grep -vE ' Passed |Start ' "build/$preset-tests.log" | tail -n 200; exit 1; }
    sed -n '/tests passed/,$p' "build/$preset-tests.log"
}

scripts/check_format.sh

stage "building and testing for Windows"
scripts/windows.sh

build asan
tests asan

build clang quilvex qvlx h264_encode h264_decode
stage "looking for faults"
scripts/tidy.sh

build tsan test_platform test_common test_media test_process test_NVIDIA test_intel test_AMF test_front
# A chain of other libraries' handlers is more than that sanitizer can follow; many thousand sessions are what it takes
# minutes for.
for folder in platform common media process NVIDIA intel AMF front; do
    "build/tsan/tests/test_$folder" --gtest_brief=1 --gtest_filter='-*ExceptionChain*:*Thousand*' >"build/tsan-$folder.log" 2>&1 ||
        { tail -n 60 "build/tsan-$folder.log" >&2; exit 1; }
    tail -n 1 "build/tsan-$folder.log"
done

build release
stage "testing release"
ctest --test-dir build/release --output-on-failure -j "$(nproc)" --progress
