#!/usr/bin/env bash
# Packs what a client of the Windows library is given into build/windows/quilvex-windows.zip (library, symbols, import
# library and .def, headers, the tool), and makes sure of it: the example of a client is built from what was packed alone
# and run.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$PWD/build/windows
package=$build/package
check=$build/package-check
rm -rf "$package" "$check" "$build/quilvex-windows.zip"
cmake --install "$build" --strip --prefix "$package" >/dev/null
cd "$package"
cmake -E tar cf "$build/quilvex-windows.zip" --format=zip bin include lib

mkdir "$check"
cd "$check"
cmake -E tar xf "$build/quilvex-windows.zip"
i686-w64-mingw32-g++-posix -std=c++17 -static -Iinclude ../../../examples/round_trip.cpp lib/libquilvex.dll.a -o bin/round_trip.exe
../../../scripts/wine.sh bin/round_trip.exe
(cd "$package" && find . -type f -printf '%9s  %P\n' | sort -k 2)
