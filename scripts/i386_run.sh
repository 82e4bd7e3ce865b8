#!/usr/bin/env bash
# Runs a program of the i386 system in build/i386-root (scripts/i386_root.sh). It sees this machine's files below /host and
# starts in the caller's folder there.
#
# Usage: i386_run.sh PROGRAM [ARGUMENT...]
set -euo pipefail
tree=$(cd "$(dirname "$0")/.." && pwd)
export QUILVEX_I386_ROOT=${QUILVEX_I386_ROOT:-$tree/build/i386-root}

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo --preserve-env)
# The mounts are this process's own and end with it.
exec "${as_root[@]}" unshare --mount sh -ec '
    root=$QUILVEX_I386_ROOT
    mount --bind /proc "$root/proc"
    mount --rbind /dev "$root/dev"
    mount --rbind / "$root/host"
    exec chroot "$root" sh -c "cd \"\$1\" && shift && exec \"\$@\"" sh "/host$PWD" "$@"
' sh "$@"
