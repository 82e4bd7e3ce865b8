#!/usr/bin/env bash
# Builds the libraries that the Windows build links, from Debian's sources, into build/windows-deps, where they stay:
# libyuv for the library, libpng for the tools, GoogleTest for the tests.
set -euo pipefail
cd "$(dirname "$0")/.."

deps=$PWD/build/windows-deps
toolchain=$PWD/cmake/i686-w64-mingw32.cmake
mkdir -p "$deps/source" "$deps/include" "$deps/lib"

fetch_source() { # PACKAGE
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
        # Only the lists of sources: one that lags, for another architecture or another language, must not be in the way.
        options=(-o "Dir::Etc::sourcelist=/dev/null" -o "Dir::Etc::sourceparts=$sources/parts" -o "Dir::State::lists=$sources/lists"
            -o "APT::Architectures=$(dpkg --print-architecture)" -o "Acquire::Languages=none")
        suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
        # A list that fails may be one that is not needed. A mirror may name a security update that it does not hold: then
        # the suite's own version serves.
        if ! { apt-get "${options[@]}" update || true
            apt-get "${options[@]}" source "$1" || apt-get "${options[@]}" source -t "$suite" "$1"; } >"$1.log" 2>&1; then
            tail -n 20 "$1.log" >&2
            exit 1
        fi
    )
}

build_source() { # SOURCE FOLDER, TARGET, BUILD FOLDER, CMAKE OPTION...
    local target=$2 build=$deps/$3
    cmake -S "$1" -B "$build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_C_FLAGS="-msse2 -mstackrealign" -DCMAKE_CXX_FLAGS="-msse2 -mstackrealign" "${@:4}" >"$build.log" 2>&1 &&
        ninja -C "$build" "$target" >>"$build.log" || { tail -n 40 "$build.log" >&2; exit 1; }
}

source_folder() { find "$deps/source" -maxdepth 1 -type d -name "$1-*" | head -n 1; }

if [ ! -f "$deps/lib/libyuv.a" ]; then
    fetch_source libyuv
    build_source "$(source_folder libyuv)" yuv libyuv -DCMAKE_DISABLE_FIND_PACKAGE_JPEG=ON
    cp -r "$(source_folder libyuv)"/include/* "$deps/include/"
    cp "$(find "$deps/libyuv" -name 'libyuv*.a' | head -n 1)" "$deps/lib/libyuv.a"
fi
if [ ! -f "$deps/lib/libpng.a" ]; then
    fetch_source libpng1.6
    build_source "$(source_folder libpng1.6)" png_static libpng -DPNG_SHARED=OFF -DPNG_TESTS=OFF \
        -DZLIB_LIBRARY=/usr/i686-w64-mingw32/lib/libz.a
    cp "$(source_folder libpng1.6)"/{png,pngconf}.h "$deps/libpng/pnglibconf.h" "$deps/include/"
    cp "$(find "$deps/libpng" -name 'libpng*.a' | head -n 1)" "$deps/lib/libpng.a"
fi
if [ ! -f "$deps/lib/cmake/GTest/GTestConfig.cmake" ]; then
    build_source /usr/src/googletest install googletest -DCMAKE_INSTALL_PREFIX="$deps" -DCMAKE_INSTALL_LIBDIR=lib
fi
# What is headers alone, apart from the rest of the system's: declarations of the drivers' interfaces, and libraries of the
# tools.
ln -sfn /usr/include/ffnvcodec "$deps/include/ffnvcodec"
ln -sfn /usr/include/mfx "$deps/include/mfx"
ln -sfn /usr/include/CLI "$deps/include/CLI"
ln -sfn /usr/include/nlohmann "$deps/include/nlohmann"
