#!/usr/bin/env bash
# Installs the Debian packages that a group of tasks needs and that are missing. Quiet and quick when none is.
#
# Usage: install_packages.sh GROUP...      groups: build test style bench peers windows
set -euo pipefail

packages() {
    case "$1" in
    build) echo ca-certificates cmake ninja-build ccache g++ pkg-config python3 libyuv-dev libsimpleini-dev libffmpeg-nvenc-dev libmfx-dev libmfx1 libpciaccess-dev pci.ids libcli11-dev \
        nlohmann-json3-dev libpng-dev libgcrypt20-dev ffmpeg ;;
    test) echo libgtest-dev libgmock-dev x264 binutils valgrind clang ;;
    bench) echo libbenchmark-dev x264 libx264-dev libopenh264-dev libavcodec-dev libavutil-dev ;;
    peers) echo libopencv-imgproc-dev libswscale-dev ;;
    style) echo clang-format clang-tidy clang git ;;
    windows) echo g++-mingw-w64-i686-posix libz-mingw-w64-dev libgcrypt-mingw-w64-dev googletest dpkg-dev debootstrap util-linux ;;
    *)
        echo "install_packages.sh: no group named $1" >&2
        exit 2
        ;;
    esac
}

missing=()
for group in "$@"; do
    for package in $(packages "$group"); do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
    done
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
echo "installing ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { "${as_root[@]}" apt-get update && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    exit 1
fi
