#!/usr/bin/env bash
# Cross-compiles the library, its tools and their tests for 32-bit Windows into build/windows, runs the tests under Wine,
# and packs what a client is given into build/windows/quilvex-windows.zip. The encoder's streams are compared with those of
# build/release, of which the encoder is built, too.
#
# Usage: windows.sh [CTEST OPTION...]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh build test bench windows
mkdir -p build
scripts/windows_libraries.sh
scripts/i386_root.sh

cmake --preset windows ${QUILVEX_CMAKE_OPTIONS:-} >build/windows.log
ninja -C build/windows >>build/windows.log || { grep -E 'error|FAILED' build/windows.log | head -n 40 >&2; exit 1; }
cmake --preset release ${QUILVEX_CMAKE_OPTIONS:-} >>build/windows.log
ninja -C build/release h264_encode camera_scene >>build/windows.log ||
    { grep -E 'error|FAILED' build/windows.log | head -n 40 >&2; exit 1; }
ctest --test-dir build/windows --output-on-failure -j "$(nproc)" --quiet -O build/windows-tests.log "$@" ||
    { grep -vE ' Passed |Start ' build/windows-tests.log | tail -n 200; exit 1; }
sed -n '/tests passed/,$p' build/windows-tests.log
scripts/windows_package.sh
