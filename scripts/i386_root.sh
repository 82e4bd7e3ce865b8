#!/usr/bin/env bash
# Makes a pure i386 Debian in build/i386-root, with Wine, where 32-bit programs run by chroot; it stays there. It is apart
# from the machine's own packages, since those may be ahead of the i386 ones and then shut them out.
#
# Usage: i386_root.sh [PACKAGE...]      the packages are installed in it when they are missing
set -euo pipefail
cd "$(dirname "$0")/.."

root=$PWD/build/i386-root
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
mkdir -p build

make_root() {
    local suite mirror
    suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
    mirror=$(apt-get indextargets --format '$(REPO_URI) $(CODENAME)' 'Created-By: Packages' |
        awk -v suite="$suite" '$2 == suite { print $1; exit }')
    [ -n "$mirror" ] || { echo "i386_root.sh: no package source of $suite is set up" >&2; return 1; }
    "${as_root[@]}" rm -rf "$root.part"
    "${as_root[@]}" debootstrap --arch=i386 --variant=minbase --include=wine,wine32 "$suite" "$root.part" "$mirror" &&
        "${as_root[@]}" mkdir -p "$root.part/host" && "${as_root[@]}" mv "$root.part" "$root"
}

if [ ! -d "$root" ]; then
    echo "making an i386 system for Wine"
    make_root >build/i386-root.log 2>&1 || { tail -n 20 build/i386-root.log >&2; exit 1; }
fi

# Its package client works as this machine's does now: name servers, proxies and what is asked of a list's dates.
share_network() {
    "${as_root[@]}" cp -L --remove-destination /etc/resolv.conf "$root/etc/resolv.conf"
    apt-config dump Acquire | grep -E '::Proxy|::Check-(Date|Valid-Until) ' |
        "${as_root[@]}" tee "$root/etc/apt/apt.conf.d/90machine" >/dev/null || true # none is set
}

missing=()
for package in "$@"; do
    dpkg-query --admindir="$root/var/lib/dpkg" -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
        missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "installing ${missing[*]} in the i386 system"
{ share_network && "${as_root[@]}" chroot "$root" apt-get update &&
    "${as_root[@]}" chroot "$root" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}"; } \
    >build/i386-root.log 2>&1 || { tail -n 20 build/i386-root.log >&2; exit 1; }
