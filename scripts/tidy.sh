#!/usr/bin/env bash
# Looks for faults with clang-tidy (.clang-tidy has the list) in the library and the tools; fails when it finds one.
#
# Usage: tidy.sh [FILE.cpp ...]      without files: all of them
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh build test style
mkdir -p build
cmake --preset clang >build/tidy.log
if [ $# -eq 0 ]; then
    mapfile -t files < <(git ls-files '*.cpp' | grep -E '^(platform|kernels|Common|media|process|encoder|decoder|NVIDIA|intel|AMF|front|tools)/' |
        grep -vE '_win32\.cpp$|/win32/')
    set -- "${files[@]}"
fi
tidy() { # OPTION.. -- FILE..
    local options=()
    while [ "$1" != -- ]; do
        options+=("$1")
        shift
    done
    shift
    [ $# -eq 0 ] || printf '%s\0' "$@" |
        xargs -0 -P "$(nproc)" -n 4 clang-tidy -p build/clang --quiet "${options[@]}" >>build/tidy.log 2>/dev/null ||
        { grep -vE '^$' build/tidy.log >&2; exit 1; }
}

# What stands in developer builds alone is looked at as they have it.
developer=() library=()
for file; do
    case $file in
    */dump/* | */trace/*) developer+=("$file") ;;
    *) library+=("$file") ;;
    esac
done
: >build/tidy.log
tidy -- "${library[@]}"
tidy --extra-arg=-DQUILVEX_TRACE -- "${developer[@]}"
echo "$# files without a fault"
