#!/usr/bin/env bash
# Runs a 32-bit Windows program under the Wine of build/i386-root (scripts/i386_root.sh), without a display.
#
# Usage: wine.sh PROGRAM.exe [ARGUMENT...]
#
# The program sees this machine's files as its current drive, so a path like /tmp/a names the same file on both sides.
# On drive Y: lies the chroot through which a test reaches this machine's own programs (tests/support/system_win32.cpp).
set -euo pipefail
tree=$(cd "$(dirname "$0")/.." && pwd)
export QUILVEX_I386_ROOT=${QUILVEX_I386_ROOT:-$tree/build/i386-root}
export WINEPREFIX=/host${QUILVEX_WINE_PREFIX:-$tree/build/wine} WINEDEBUG=${WINEDEBUG:--all} DISPLAY='' TMPDIR=${TMPDIR:-/tmp}
export WINEDLLOVERRIDES='mscoree,mshtml=' # nothing here asks for them, and they would ask to be installed

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo --preserve-env)
program=$(realpath "$1")
shift
# The mounts are this process's own and end with it. One at a time makes the Windows folders where they are missing and
# starts the server where it is not running: it stays for a minute, and must not hold on to the caller's pipes meanwhile.
exec "${as_root[@]}" unshare --mount sh -ec '
    root=$QUILVEX_I386_ROOT
    mount --bind /proc "$root/proc"
    mount --rbind /dev "$root/dev"
    mount --rbind / "$root/host"
    prefix=${WINEPREFIX#/host}
    mkdir -p "$prefix"
    exec 9>"$prefix/lock"
    flock 9
    if chroot "$root" wineserver -p60 </dev/null >/dev/null 2>&1 9>&-; then
        chroot "$root" wineboot --init </dev/null >/dev/null 2>&1 9>&-
        ln -sfn /host "$prefix/dosdevices/z:"
        ln -sfn /usr/sbin "$prefix/dosdevices/y:"
    fi
    exec 9>&-
    folder=$1
    shift
    exec chroot "$root" sh -c "cd \"\$1\" && shift && exec wine \"\$@\"" sh "/host$folder" "$@"
' sh "$PWD" "/host$program" "$@"
