#!/usr/bin/env python3
"""Fails on an #include that points up or sideways in the tree, or that is for one source alone.

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
    "NVIDIA": ("front", "platform", "Common", "include/quilvex"),
    "intel": ("front", "platform", "Common", "include/quilvex"),
    "AMF": ("front", "platform", "Common", "include/quilvex"),
    "front": ("NVIDIA", "intel", "AMF", "encoder", "decoder", "process", "media", "kernels", "Common", "platform",
              "include/quilvex"),
}
# Floors of a folder, bottom first: each includes itself and those before it.
FLOORS = {
    "decoder": ("stream", "picture", "slice", "entropy", "macroblock", "jobs", "session"),
    "encoder": ("write", "state", "code", "decide", "picture", "session"),
}
# The codecs know the converter of process/ and nothing else there.
CONVERTER = {"process/video_processing.h"}
# Libraries that take longer to compile than most sources, and the one source that includes each for all.
ENCLOSED = {"CLI/": "tools/common/command_line.cpp", "nlohmann/": "tools/common/json_text.cpp"}
OTHER_FOLDERS = ("bench", "examples", "tests", "tools")
INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]')


def folder_of(path):
    """The row of ALLOWED that a path in the tree belongs to, or None."""
    path = "include/" + path if path.startswith("quilvex/") else path
    return next((name for name in ALLOWED if path.startswith(name + "/")), None)


def floor_of(folder, path):
    """The place of a path under a folder among the folder's floors, or None where it has none."""
    floor = path.removeprefix(folder + "/").split("/")[0]
    return FLOORS[folder].index(floor) if floor in FLOORS[folder] else None


def points_up(folder, source, target):
    """Whether a source on one floor of a folder includes a target on a higher one, or on none."""
    if folder not in FLOORS:
        return False
    own, other = floor_of(folder, source), floor_of(folder, target)
    return own is None or other is None or other > own


def violations(root):
    for name, allowed in ALLOWED.items():
        for source in sorted((root / name).rglob("*")):
            if source.suffix not in (".h", ".cpp", ".def"):
                continue
            for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
                found = INCLUDE.match(line)
                target = folder_of(found.group(1)) if found else None
                if not target:
                    continue
                path = source.relative_to(root).as_posix()
                if target == name:
                    if points_up(name, path, found.group(1)):
                        yield f"{path}:{number}: a floor below may not include {found.group(1)}"
                    continue
                if name in ("encoder", "decoder") and target == "process" and found.group(1) not in CONVERTER:
                    yield f"{source.relative_to(root)}:{number}: only the converter may be included: {found.group(1)}"
                elif target not in allowed:
                    yield f"{source.relative_to(root)}:{number}: {name} may not include {found.group(1)}"


def leaks(root):
    for name in (*ALLOWED, *OTHER_FOLDERS):
        for source in sorted((root / name).rglob("*")):
            if source.suffix not in (".h", ".cpp"):
                continue
            path = source.relative_to(root).as_posix()
            for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
                found = INCLUDE.match(line)
                for library, owner in ENCLOSED.items():
                    if found and found.group(1).startswith(library) and path != owner:
                        yield f"{path}:{number}: {found.group(1)} is for {owner} alone"


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    found = [*violations(root), *leaks(root)]
    for line in found:
        print(line)
    print(f"{len(found)} includes point the wrong way or belong to another source")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
