#!/usr/bin/env bash
# Builds everything and runs every test: those of the 32-bit Windows build under Wine, those under the address and
# undefined-behaviour sanitizers, and those of the release build, whose summary comes last.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh build test bench windows
mkdir -p build

build() { # PRESET
    echo "building $1"
    cmake --preset "$1" >"build/$1.log"
    ninja -C "build/$1" >>"build/$1.log" || { grep -E 'error|FAILED' "build/$1.log" | head -n 40 >&2; exit 1; }
}

echo "building and testing for Windows"
scripts/windows.sh

build asan
ctest --test-dir build/asan --output-on-failure -j "$(nproc)" --quiet -O build/asan-tests.log ||
    { grep -vE ' Passed |Start ' build/asan-tests.log | tail -n 200; exit 1; }
sed -n '/tests passed/,$p' build/asan-tests.log

build release
ctest --test-dir build/release --output-on-failure -j "$(nproc)" --progress
