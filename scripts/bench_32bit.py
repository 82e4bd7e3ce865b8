#!/usr/bin/env python3
"""The library on 32 bits: what its codec costs beside 64 bits, by function, and the Windows library's size and load time.

Usage: bench_32bit.py [--source FILE.y4m] [--frames N] [--rates K,K] [--loads N]

Instructions are those inside the codec's calls, in builds of the same source for Linux. The 32-bit one has no
position-independent code, as the Windows library has none; its member functions take all arguments on the stack, of
which Windows passes the object in a register. Callgrind runs 32-bit programs without instructions above SSSE3.
"""
import argparse
import collections
import hashlib
import json
import pathlib
import re
import tempfile

from bench_codecs import callgrind, peer_stream, render, row, run
from function_costs import Profile, excess

TREE = pathlib.Path(__file__).resolve().parent.parent
FPS, LISTED = 30, 10


class Build:
    """The programs of one build, started where they can run."""

    def __init__(self, name, launcher, root):
        self.folder, self._launcher, self._root = TREE / "build" / name, launcher, root

    def path(self, path):
        """What the programs call a file of this machine."""
        return f"{self._root}{path}"

    def run(self, *command):
        return run(*self._launcher, *command)

    def program(self, name):
        return self.path(self.folder / name)


BITS32 = Build("linux32", [TREE / "scripts/i386_run.sh", "env", "-u", "TMPDIR"], "/host")  # that folder is not in there
BITS64 = Build("release", [], "")


def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


def count(build, output, *command):
    """The profile of a run of codec_bench, in instructions a picture."""
    output.touch()  # ours, although the i386 system's programs run as root
    report = build.run(*callgrind(build.path(output), build.program("codec_bench"), *command))
    pictures = json.loads(report.stdout.splitlines()[-1])["frames"]
    profile = Profile(output.read_text())
    for costs in (profile.own, profile.calls):
        for name in costs:
            costs[name] /= pictures
    return profile


def compare(title, folder, prepare):
    """Counts in both builds what prepare(build) gives as a command, and prints them side by side."""
    profiles = {build: count(build, folder / "profile", *prepare(build)) for build in (BITS32, BITS64)}
    total = {build: sum(profile.own.values()) for build, profile in profiles.items()}
    print(f"\n{title}: {total[BITS32] / 1e6:.1f} million instructions a picture on 32 bits, {total[BITS64] / 1e6:.1f} on 64, "
          f"ratio {total[BITS32] / total[BITS64]:.2f}\n")
    row("function", "32 bits, thousand", "64 bits, thousand", "more, thousand", "share of all that is more")
    row("---", "---:", "---:", "---:", "---:")
    for name, left, right in excess(profiles[BITS32], profiles[BITS64])[:LISTED]:
        row(f"`{name}`", f"{left / 1e3:.0f}", f"{right / 1e3:.0f}", f"{(left - right) / 1e3:.0f}",
            f"{(left - right) / (total[BITS32] - total[BITS64]):.0%}")


def expect_same(what, folder, make):
    """Makes a file in both builds; they must be the same."""
    files = {}
    for build in (BITS32, BITS64):
        files[build] = folder / f"{build.folder.name}.{what}"
        make(build, files[build])
    if len({digest(file) for file in files.values()}) != 1:
        raise SystemExit(f"bench_32bit.py: the {what} of both builds differ")
    print(f"\nthe same {what} of both builds: sha256 {digest(files[BITS32])}")
    return files[BITS32]


def codec(source, kbps, folder):
    def encode(build, output=None):
        to = ["-o", build.path(output)] if output else []
        return ["encode", "quilvex", build.path(source), "--fps", FPS, "--kbps", kbps, *to]

    compare(f"Encoding at {kbps} kb/s", folder, encode)
    own = expect_same(f"{kbps}.264", folder, lambda build, file: build.run(build.program("codec_bench"), *encode(build, file)))
    peer = folder / "peer.264"
    peer_stream(source, kbps, peer)
    compare(f"Decoding {kbps} kb/s", folder, lambda build: ["decode", "quilvex", build.path(peer)])
    for name, stream in (("own", own), ("peer", peer)):
        expect_same(f"{kbps}.{name}.yuv", folder, lambda build, file, stream=stream: build.run(
            build.program("qvlx"), "decode", build.path(stream), "-o", build.path(file), "--quiet"))


def sections(library):
    """Bytes of the library's sections."""
    sizes = collections.Counter()
    for name, size in re.findall(r"^ *\d+ (\S+) +([0-9a-f]{8}) ", run("i686-w64-mingw32-objdump", "-h", library).stdout, re.M):
        sizes[name] += int(size, 16)
    return sizes


def windows_library(loads):
    library = TREE / "build/windows/quilvex.dll"
    print(f"\nWindows library: {library.stat().st_size} bytes, its symbols {library.with_suffix('.dll.debug').stat().st_size}\n")
    row("section", "bytes")
    row("---", "---:")
    for name, size in sections(library).items():
        row(name, size)
    client = TREE / "build/windows/tests/clients/load_time.exe"
    times = json.loads(run(TREE / "scripts/wine.sh", client, library, loads).stdout)
    print(f"\nLoad time, median of {times['loads']} under Wine, whose loader is not that of Windows: "
          f"{times['load_and_free']:.0f} microseconds for LoadLibrary and FreeLibrary, "
          f"{times['load_and_create']:.0f} for LoadLibrary and CreateVCodec")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--source", type=pathlib.Path)
    parser.add_argument("--frames", type=int, default=25)
    parser.add_argument("--rates", default="1500,4000")
    parser.add_argument("--loads", type=int, default=500)
    args = parser.parse_args()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        source = args.source.resolve() if args.source else folder / "scene.y4m"
        if not args.source:
            render(BITS64.folder, source, FPS, args.frames)
        for kbps in (int(r) for r in args.rates.split(",")):
            codec(source, kbps, folder)
        windows_library(args.loads)


if __name__ == "__main__":
    main()
