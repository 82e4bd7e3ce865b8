#!/usr/bin/env bash
# Cross-compiles the library and its tools for 32-bit Windows into build/windows. The one library it links, libyuv, is
# built from Debian's source package into build/windows-deps.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh build windows

deps=$PWD/build/windows-deps
if [ ! -f "$deps/lib/libyuv.a" ]; then
    mkdir -p "$deps/source" "$deps/include"
    (
        cd "$deps/source"
        # A source list of its own: the machine's may name binary packages only.
        sources=$(mktemp -d)
        trap 'rm -rf "$sources"' EXIT
        mkdir -p "$sources/parts" "$sources/lists/partial"
        if [ -f /etc/apt/sources.list.d/debian.sources ]; then
            sed 's/^Types:.*/Types: deb-src/' /etc/apt/sources.list.d/debian.sources >"$sources/parts/source.sources"
        fi
        [ ! -f /etc/apt/sources.list ] || sed -n 's/^deb /deb-src /p' /etc/apt/sources.list >"$sources/parts/source.list"
        options=(-o "Dir::Etc::sourcelist=/dev/null" -o "Dir::Etc::sourceparts=$sources/parts" -o "Dir::State::lists=$sources/lists")
        if ! { apt-get "${options[@]}" update && apt-get "${options[@]}" source libyuv; } >source.log 2>&1; then
            tail -n 20 source.log >&2
            exit 1
        fi
    )
    source=$(find "$deps/source" -maxdepth 1 -type d -name 'libyuv-*' | head -n 1)
    cmake -S "$source" -B "$deps/libyuv" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/i686-w64-mingw32.cmake" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS="-msse2 -mstackrealign" -DCMAKE_DISABLE_FIND_PACKAGE_JPEG=ON >"$deps/libyuv.log"
    ninja -C "$deps/libyuv" yuv >>"$deps/libyuv.log"
    mkdir -p "$deps/lib"
    cp -r "$source"/include/* "$deps/include/"
    cp "$(find "$deps/libyuv" -name 'libyuv*.a' | head -n 1)" "$deps/lib/libyuv.a"
    # Header-only libraries of the tools, apart from the rest of the system's headers.
    ln -sfn /usr/include/CLI "$deps/include/CLI"
    ln -sfn /usr/include/nlohmann "$deps/include/nlohmann"
fi

cmake --preset windows >build/windows.log
ninja -C build/windows >>build/windows.log || { tail -n 40 build/windows.log >&2; exit 1; }
ls -l build/windows/*.dll build/windows/*.exe
