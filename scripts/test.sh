#!/usr/bin/env bash
# Builds everything and runs every test: the 32-bit Windows cross build, the tests under the address and
# undefined-behaviour sanitizers, and the tests of the release build, whose summary comes last.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh build test bench windows
mkdir -p build

build() { # PRESET
    echo "building $1"
    cmake --preset "$1" >"build/$1.log"
    ninja -C "build/$1" >>"build/$1.log" || { grep -E 'error|FAILED' "build/$1.log" | head -n 40 >&2; exit 1; }
}

echo "cross-compiling for Windows"
scripts/build_windows.sh >build/windows-run.log 2>&1 || { tail -n 40 build/windows-run.log >&2; exit 1; }

build asan
ctest --test-dir build/asan --output-on-failure -j "$(nproc)" --quiet -O build/asan-tests.log ||
    { grep -vE ' Passed |Start ' build/asan-tests.log | tail -n 200; exit 1; }
tail -n 4 build/asan-tests.log

build release
ctest --test-dir build/release --output-on-failure -j "$(nproc)" --progress
