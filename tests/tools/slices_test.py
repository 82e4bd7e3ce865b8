#!/usr/bin/env python3
"""Pictures cut into slices: fed one access unit a call and drained by delimiters, IVCodec gives exactly ffmpeg's pictures.

Usage: slices_test.py TOOLS [all]      all: every number of slices and B pictures, with and without delimiters
"""
import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from oracle import check, exit_with, ffmpeg_pictures, run, run_json, same_pictures  # noqa: E402

SIZE = (176, 144)
FRAMES = 37


def cases(every):
    """Slices, B pictures, more options of x264. Left alone, each pair comes once, with delimiters or without."""
    pairs = [(slices, b) for slices in range(1, 9) for b in range(4)]
    for slices, b in pairs:
        for aud in (False, True) if every else ((slices + b) % 2 == 0,):
            yield slices, b, ["--aud"] if aud else []
    yield 8, 3, ["--b-pyramid", "normal"]
    yield 3, 2, ["--b-pyramid", "strict", "--ref", "4", "--aud"]
    yield 2, 1, ["--open-gop", "--keyint", "9"]


def main():
    tools, every = pathlib.Path(sys.argv[1]), sys.argv[2:] == ["all"]
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        source = folder / "source.y4m"
        run(tools / "camera_scene", "-o", source, "--size", f"{SIZE[0]}x{SIZE[1]}", "--frames", FRAMES)
        for slices, b, more in cases(every):
            stream = folder / "s.264"
            pyramid = [] if "--b-pyramid" in more else ["--b-pyramid", "none"]
            run("x264", "--quiet", "--threads", "1", "--preset", "veryfast", "--slices", slices, "--bframes", b, "--b-adapt", "0",
                *pyramid, *more, "-o", stream, source)
            ffmpeg_pictures(stream, folder / "expected.yuv")
            report = run_json(tools / "qvlx", "decode", stream, "-o", folder / "ours.yuv", "--json", "--mode", 0)
            what = f"{slices} slices, {b} B pictures, {' '.join(more)}"
            check(report["frames"] == FRAMES == report["pictures_in"], f"{what}: {report}")
            same_pictures(folder / "expected.yuv", folder / "ours.yuv", SIZE, what)


if __name__ == "__main__":
    exit_with(main)
