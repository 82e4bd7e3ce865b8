#!/usr/bin/env bash
# Runs a 32-bit Windows program under the Wine of build/i386-root (scripts/i386_root.sh), without a display.
#
# Usage: wine.sh PROGRAM.exe [ARGUMENT...]
#
# The program sees this machine's files as its current drive, so a path like /tmp/a names the same file on both sides.
# On drive Y: lies the chroot through which a test reaches this machine's own programs (tests/support/system_win32.cpp).
set -euo pipefail
tree=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX=/host${QUILVEX_WINE_PREFIX:-$tree/build/wine} WINEDEBUG=${WINEDEBUG:--all} DISPLAY='' TMPDIR=${TMPDIR:-/tmp}
export WINEDLLOVERRIDES='mscoree,mshtml=' # nothing here asks for them, and they would ask to be installed

program=$(realpath "$1")
shift
# One at a time makes the Windows folders where they are missing and starts the server where it is not running: it stays
# for a minute, and must not hold on to the caller's pipes meanwhile.
exec "$tree/scripts/i386_run.sh" sh -ec '
    mkdir -p "$WINEPREFIX"
    exec 9>"$WINEPREFIX/lock"
    flock 9
    if wineserver -p60 </dev/null >/dev/null 2>&1 9>&-; then
        wineboot --init </dev/null >/dev/null 2>&1 9>&-
        ln -sfn /host "$WINEPREFIX/dosdevices/z:"
        ln -sfn /usr/sbin "$WINEPREFIX/dosdevices/y:"
    fi
    exec 9>&-
    exec wine "$@"
' sh "/host$program" "$@"
