#!/usr/bin/env python3
"""Fails on an #include that points up or sideways in the tree.

Usage: check_includes.py ROOT
"""
import pathlib
import re
import sys

# What each folder may include besides itself. The order is the tree's, bottom first.
ALLOWED = {
    "platform": (),
    "include/quilvex": (),
    "kernels": ("platform",),
    "Common": ("platform",),
    "media": ("kernels", "platform"),
    "process": ("media", "kernels", "Common", "include/quilvex"),
    "encoder": ("media", "process", "kernels", "Common"),
    "decoder": ("media", "process", "kernels", "Common"),
    "NVIDIA": ("front", "platform", "include/quilvex"),
    "intel": ("front", "platform", "include/quilvex"),
    "AMF": ("front", "platform", "Common", "include/quilvex"),
    "front": ("NVIDIA", "intel", "AMF", "encoder", "decoder", "process", "media", "kernels", "Common", "platform",
              "include/quilvex"),
}
# Folders that have floors of their own, bottom first: a floor includes itself and those below it.
FLOORS = {
    "decoder": ("stream", "picture", "slice", "entropy", "macroblock", "jobs", "session"),
}
# The codecs know the converter of process/ and nothing else there.
CONVERTER = {"process/video_processing.h"}
INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]')


def folder_of(path):
    """The row of ALLOWED that a path in the tree belongs to, or None."""
    path = "include/" + path if path.startswith("quilvex/") else path
    return next((name for name in ALLOWED if path.startswith(name + "/")), None)


def floor_of(path):
    """The floor's place in its folder, or None for a path that is on no floor."""
    parts = path.split("/")
    floors = FLOORS.get(parts[0], ())
    return floors.index(parts[1]) if len(parts) > 2 and parts[1] in floors else None


def points_up(source, target):
    above, below = floor_of(target), floor_of(source)
    return above is not None and below is not None and above > below


def violations(root):
    for name, allowed in ALLOWED.items():
        for source in sorted((root / name).rglob("*")):
            if source.suffix not in (".h", ".cpp", ".def"):
                continue
            for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
                found = INCLUDE.match(line)
                target = folder_of(found.group(1)) if found else None
                path = source.relative_to(root).as_posix()
                if target == name and points_up(path, found.group(1)):
                    yield f"{path}:{number}: a floor above: {found.group(1)}"
                if not target or target == name:
                    continue
                if name in ("encoder", "decoder") and target == "process" and found.group(1) not in CONVERTER:
                    yield f"{source.relative_to(root)}:{number}: only the converter may be included: {found.group(1)}"
                elif target not in allowed:
                    yield f"{source.relative_to(root)}:{number}: {name} may not include {found.group(1)}"


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    found = list(violations(root))
    for line in found:
        print(line)
    print(f"{len(found)} includes point the wrong way")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
