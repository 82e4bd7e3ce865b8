#!/usr/bin/env python3
"""BD-rates over natural clips, at four rates each: the encoder against its peers, or its settings one by one.

Usage: bd_rate.py BUILD [--tools] [--clips N] [--frames N]

BUILD holds h264_encode, camera_scene and, for openh264, codec_bench. Each number is the rate in percent that is needed
more for the same luma PSNR (piecewise cubic curves of the logarithm of the rate over the PSNR), measured on the streams
as they are, not on the rates that were asked for. --tools measures single settings; one that the encoder does not have
is listed as not built yet.
"""
import argparse
import concurrent.futures
import functools
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile

from bd_curve import bd_rate
from bench_codecs import available, luma_psnr, row
from encoder_matrix import NOT_IMPLEMENTED, report_or_refusal
from encoder_oracles import run

# Name, size, frames a second, seed of the textures and the noise, kilobits a second. At 10 frames a second the same
# scene moves three times as far from picture to picture.
CLIPS = [
    ("360p", "640x360", 30, 1, (75, 150, 300, 600)),
    ("360p, fast", "640x360", 10, 2, (50, 100, 200, 400)),
    ("CIF", "352x288", 30, 3, (50, 100, 200, 400)),
    ("720p", "1280x720", 30, 4, (200, 400, 800, 1600)),
]
TOOLS = ["partition_level=1", "analysis_level=1", "analysis_level=2", "analysis_level=3",
         "num_b_frames=1 num_ref_frames=2", "num_b_frames=2 num_ref_frames=2", "transform_8x8_mode=1"]
# By name: preset, and what the encoder is tuned for. Of itself it spends bits for the eye that a PSNR does not see.
PRESETS = {"superfast": "zerolatency", "superfast, tuned for PSNR": "zerolatency,psnr", "ultrafast": "zerolatency"}


class NotBuilt(Exception):
    """The encoder does not have what is asked for."""


class Clip:
    """The pictures of a clip as both kinds of file, and what streams of them come to."""

    def __init__(self, build, folder, clip, frames):
        self.name, self.size, self.fps, seed, self.rates = clip
        self.frames = frames
        self.raw, self.y4m = (folder / f"{self.size}.{self.fps}.{seed}.{kind}" for kind in ("yuv", "y4m"))
        for file in (self.raw, self.y4m):
            made = run(build / "camera_scene", "-o", file, "--size", self.size, "--fps", self.fps, "--frames", frames,
                       "--seed", seed)
            if made.returncode:
                raise SystemExit(f"no clip: {made.stderr.decode(errors='replace')}")

    def point(self, stream):
        """(kilobits a second, luma PSNR)"""
        return stream.stat().st_size * 8 * self.fps / self.frames / 1000, luma_psnr(stream, self.y4m, self.fps)


def ours(build, settings, clip, kbps, stream):
    fields = [f"bitrate={kbps * 1000}", f"frame_rate={clip.fps}", *settings.split()]
    sets = [option for field in fields for option in ("--set", field)]
    done = run(build / "h264_encode", clip.raw, "--size", clip.size, *sets, "-o", stream, "--json")
    _, status = report_or_refusal(done)
    if status == NOT_IMPLEMENTED:
        raise NotBuilt
    if status:
        raise SystemExit(f"h264_encode refuses {settings} with status {status}")


def x264(preset, tune, clip, kbps, stream):
    checked("x264", "--quiet", "--preset", preset, "--tune", tune, "--threads", 1, "--ref", 1, "--bframes", 0,
            "--bitrate", kbps, "--keyint", 100, "-o", stream, clip.y4m)


def openh264(build, clip, kbps, stream):
    checked(build / "codec_bench", "encode", "openh264", clip.y4m, "--fps", clip.fps, "--kbps", kbps, "-o", stream)


def openh264_of_ffmpeg(clip, kbps, stream):
    checked("ffmpeg", "-nostdin", "-y", "-v", "error", "-i", clip.y4m, "-c:v", "libopenh264", "-b:v", f"{kbps}k",
            "-g", 100, "-f", "h264", stream)


def checked(*command):
    subprocess.run([str(c) for c in command], check=True, capture_output=True)


def curve(encode, clip, folder):
    """Four points, or None for what is not built."""
    points = []
    for kbps in clip.rates:
        with tempfile.NamedTemporaryFile(dir=folder, suffix=".264") as stream:
            try:
                encode(clip, kbps, pathlib.Path(stream.name))
            except NotBuilt:
                return None
            points.append(clip.point(pathlib.Path(stream.name)))
    return points


def peers(build, sample):
    """The other encoders that are installed, by name; what is not is said."""
    found = {}
    if shutil.which("x264"):
        found |= {f"x264 {name}": functools.partial(x264, name.split(",")[0], tune) for name, tune in PRESETS.items()}
    else:
        print("x264 is not installed.\n")
    if b"libopenh264" in run("ffmpeg", "-hide_banner", "-encoders").stdout:
        found["openh264"] = openh264_of_ffmpeg
    elif (build / "codec_bench").exists() and available(build / "codec_bench", "encode", ["openh264"], sample):
        found["openh264"] = functools.partial(openh264, build)
    else:
        print("openh264 is neither among ffmpeg's encoders nor among those of codec_bench.\n")
    return found


def percentage(anchor, other):
    """The BD-rate of two curves, or why there is none."""
    if None in (anchor, other):
        return "not built yet"
    try:
        return bd_rate(anchor, other)
    except ValueError as reason:
        return str(reason)


def cells(name, results):
    """A row of the table: a clip each, and the mean of those that have a number."""
    numbers = [r for r in results if not isinstance(r, str)]
    texts = [r if isinstance(r, str) else f"{r:+.1f} %" for r in results]
    return (name, *texts, f"{statistics.mean(numbers):+.1f} %" if numbers else "-")


def measured(encoders, clips, folder, jobs):
    """{name: [points of a clip, ..]}"""
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        running = {name: [pool.submit(curve, encode, clip, folder) for clip in clips]
                   for name, encode in encoders.items()}
        return {name: [done.result() for done in each] for name, each in running.items()}


def print_table(title, names, curves, pairs):
    """@param pairs  (row's name, anchor, other) of the curves' names"""
    print(title + "\n")
    row("", *names, "mean")
    row("---", *("---:" for _ in names), "---:")
    for name, anchor, other in pairs:
        row(*cells(name, [percentage(*both) for both in zip(curves[anchor], curves[other])]))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--tools", action="store_true")
    parser.add_argument("--clips", type=int, default=len(CLIPS))
    parser.add_argument("--frames", type=int, default=90)
    parser.add_argument("--jobs", type=int, default=2)
    args = parser.parse_args()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        clips = [Clip(args.build, folder, clip, args.frames) for clip in CLIPS[:args.clips]]
        product = {"product": functools.partial(ours, args.build, "")}
        others = ({setting: functools.partial(ours, args.build, setting) for setting in TOOLS} if args.tools
                  else peers(args.build, clips[0].y4m))
        curves = measured(product | others, clips, folder, args.jobs)
    names = [clip.name for clip in clips]
    if args.tools:
        print_table("Rate of a setting over the product's, at the same luma PSNR", names, curves,
                    [(other, "product", other) for other in others])
    else:
        print_table("Rate of the product over another encoder's, at the same luma PSNR", names, curves,
                    [(f"over {other}", other, "product") for other in others])
    return 0


if __name__ == "__main__":
    sys.exit(main())
