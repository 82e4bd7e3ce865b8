#!/usr/bin/env python3
"""Real camera clips through CreateVCodec: ffmpeg and both decoders of the tree give the encoder's own reconstruction.

Usage: clip_test.py TOOLS FOLDER        FOLDER: the shared clips. Exit status 77: there is no such folder, nothing was tested.
"""
import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from oracle import check, decoders_agree, exit_with, reconstruction, run, run_json  # noqa: E402

# file: width, height, kilobits a second, key interval
CLIPS = {
    "CiscoVT2people_160x96_6fps.yuv": (160, 96, 64, 15),
    "Static_152_100.yuv": (152, 100, 100, 75),
    "dark_film_640x340.264": (640, 340, 800, 0),
    "flower_static_640x360.264": (640, 360, 1500, 75),
    "greenscreen_960x544.264": (960, 544, 2000, 15),
    "handheld_motion_640x360.264": (640, 360, 400, 75),
}
FRAMES = 12


def test_clip(tools, clip, folder):
    width, height, kbps, keyint = CLIPS[clip.name]
    raw, stream = folder / "s.yuv", folder / "s.264"
    size = f"{width}x{height}"
    form = ["-f", "h264"] if clip.suffix == ".264" else ["-f", "rawvideo", "-pix_fmt", "yuv420p", "-video_size", size]
    run("ffmpeg", "-nostdin", "-y", "-v", "error", "-flags", "unaligned", *form, "-i", clip, "-frames:v", FRAMES, "-f", "rawvideo",
        "-pix_fmt", "yuv420p", raw)
    report = run_json(tools / "qvlx", "encode", raw, "--size", size, "-o", stream, "--fps", 30, "--kbps", kbps, "--keyint", keyint,
                      "--mode", 0, "--psnr", "--json")
    check(report["frames"] > 1 and report["psnr"]["y"] > 24, f"{clip.name}: {report}")
    recon = reconstruction(tools, raw, size, 30, kbps, keyint, stream)
    decoders_agree(tools, stream, recon, (width, height), clip.name)
    print(f"{clip.name}: {report['frames']} pictures, {report['psnr']['y']:.2f} dB")


def main():
    tools, clips = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    if not clips.is_dir():
        print(f"skipped: {clips} does not exist")
        return 77
    with tempfile.TemporaryDirectory() as name:
        for clip in CLIPS:
            test_clip(tools, clips / clip, pathlib.Path(name))
    return 0


if __name__ == "__main__":
    exit_with(main)
