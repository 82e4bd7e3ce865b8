#!/usr/bin/env python3
"""BD-rates over clips, at four rates each: the encoder against its peers, or its settings one by one.

Usage: bd_rate.py BUILD [SOURCE..] [--tools] [--clips N] [--frames N] [--table FILE]

BUILD holds h264_encode, camera_scene and, for openh264, codec_bench. SOURCES are videos that ffmpeg reads, coded again
after decoding; without any, scenes are rendered. Each number is the rate in percent that is needed more for the same
luma PSNR (piecewise cubic curves of the logarithm of the rate over the PSNR), measured on the streams as they are, not
on the rates that were asked for, and on the pictures that ffmpeg decodes. Time is that of the processor in the encoding
program, all clips and rates together. --tools measures single settings; one that the encoder does not have is listed as
not built yet. --table writes both tables into a file, between its two lines that speak of tables.
"""
import argparse
import concurrent.futures
import fractions
import functools
import json
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

from bd_curve import bd_rate
from bench_codecs import available
from encoder_matrix import NOT_IMPLEMENTED, report_or_refusal
from encoder_oracles import run

# Name, size, frames a second, seed of the textures and the noise, kilobits a second. At 10 frames a second the same
# scene moves three times as far from picture to picture.
SCENES = [
    ("360p", "640x360", 30, 1, (75, 150, 300, 600)),
    ("360p, fast", "640x360", 10, 2, (50, 100, 200, 400)),
    ("CIF", "352x288", 30, 3, (50, 100, 200, 400)),
    ("720p", "1280x720", 30, 4, (200, 400, 800, 1600)),
]
BITS_OF_A_SAMPLE = (0.025, 0.05, 0.1, 0.2)  # of luma: the rates of other clips
TOOLS = {
    "8x8 partitions": "partition_level=1",
    "partitions below 8x8": "partition_level=2",
    "SATD": "analysis_level=1",
    "RD mode": "analysis_level=2",
    "RD everywhere": "analysis_level=3",
    "3 references": "num_ref_frames=3",
    "3 references, all partitions": "num_ref_frames=3 partition_level=1",
    "3 references, all partitions, all searched": "num_ref_frames=3 partition_level=1 analysis_level=4",
    "1 B picture": "num_b_frames=1 num_ref_frames=2",
    "2 B pictures": "num_b_frames=2 num_ref_frames=2",
    "3 B pictures": "num_b_frames=3 num_ref_frames=2",
    "2 B pictures, spatial": "num_b_frames=2 num_ref_frames=2 direct_pred_mode=1",
    "2 B pictures, spatial, searches over 24 samples":
        "num_b_frames=2 num_ref_frames=2 direct_pred_mode=1 search_x=24 search_y=24",
    "8x8 transform": "transform_8x8_mode=1",
    "8x8 transform, RD mode": "transform_8x8_mode=1 analysis_level=2",
    "CAVLC": "entropy_coding_mode=0",
    "full search": "search_method=0",
    "searches over 24 samples": "search_x=24 search_y=24",
    "together": "partition_level=1 analysis_level=3 transform_8x8_mode=1 num_b_frames=2 num_ref_frames=2",
}
# By name: preset, and what the encoder is tuned for. Of itself it spends bits for the eye that a PSNR does not see.
PRESETS = {"superfast": "zerolatency", "superfast, tuned for PSNR": "zerolatency,psnr", "ultrafast": "zerolatency"}
PRODUCT = "product"  # its curves' name
TABLES = ("<!-- tables, as scripts/bd_rate.py --table writes them -->", "<!-- end of the tables -->")


class NotBuilt(Exception):
    """The encoder does not have what is asked for."""


class Clip:
    """The pictures of a clip as both kinds of file, and what streams of them come to."""

    def __init__(self, name, size, fps, rates, file):
        self.name, self.size, self.fps, self.rates = name, size, fps, rates
        self.raw, self.y4m = (file.with_suffix(suffix) for suffix in (".yuv", ".y4m"))

    def count(self):
        width, height = (int(n) for n in self.size.split("x"))
        self.frames = self.raw.stat().st_size // (width * height * 3 // 2)
        return self

    def point(self, stream):
        """(kilobits a second, luma PSNR)"""
        rate = stream.stat().st_size * 8 * self.fps / self.frames / 1000
        raw = ["-f", "rawvideo", "-pix_fmt", "yuv420p", "-video_size", self.size]
        with tempfile.NamedTemporaryFile(dir=stream.parent) as decoded:
            # strict: it waits for as many pictures as the level allows before it shows one, and so keeps their order
            checked("ffmpeg", "-nostdin", "-y", "-v", "error", "-strict", "strict", "-flags", "unaligned", "-f", "h264",
                    "-i", stream, "-fps_mode", "passthrough", *raw[:2], decoded.name)
            if pathlib.Path(decoded.name).stat().st_size != self.raw.stat().st_size:
                raise SystemExit(f"{self.name}: another number of pictures")
            text = run("ffmpeg", "-nostdin", *raw, "-i", decoded.name, *raw, "-i", self.raw, "-lavfi", "psnr", "-f",
                       "null", "-").stderr.decode()
        return rate, float(re.search(r"PSNR y:([\d.]+|inf)", text).group(1))


def rendered(build, folder, scene, frames):
    name, size, fps, seed, rates = scene
    clip = Clip(name, size, fps, rates, folder / f"{size}.{fps}.{seed}")
    for file in (clip.raw, clip.y4m):
        checked(build / "camera_scene", "-o", file, "--size", size, "--fps", fps, "--frames", frames, "--seed", seed)
    return clip.count()


def filmed(folder, source, frames):
    found = json.loads(checked("ffprobe", "-v", "error", "-select_streams", "v", "-show_entries",
                               "stream=width,height,r_frame_rate", "-of", "json", source).stdout)["streams"][0]
    width, height = found["width"] & ~1, found["height"] & ~1
    fps = round(fractions.Fraction(found["r_frame_rate"]))
    rates = [round(width * height * fps * bits / 1000) for bits in BITS_OF_A_SAMPLE]
    clip = Clip(source.stem, f"{width}x{height}", fps, rates, folder / source.stem)
    for file in (clip.raw, clip.y4m):
        checked("ffmpeg", "-nostdin", "-y", "-v", "error", "-i", source, "-frames:v", frames, "-r", fps, "-vf",
                f"crop={width}:{height}:0:0", "-pix_fmt", "yuv420p", file)
    return clip.count()


def timed(*command):
    """The finished command, and the seconds that it has kept the processor busy."""
    with tempfile.TemporaryFile() as errors:
        with subprocess.Popen([str(c) for c in command], stdout=subprocess.PIPE, stderr=errors) as process:
            output = process.stdout.read()
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
        errors.seek(0)
        done = subprocess.CompletedProcess(command, process.returncode, output, errors.read())
    return done, usage.ru_utime


def checked(*command):
    return subprocess.run([str(c) for c in command], check=True, capture_output=True)


def checked_time(*command):
    done, seconds = timed(*command)
    done.check_returncode()
    return seconds


# Each encoder writes a stream and gives the seconds that it took.
def ours(build, settings, clip, kbps, stream):
    fields = [f"bitrate={kbps * 1000}", f"frame_rate={clip.fps}", *settings.split()]
    sets = [option for field in fields for option in ("--set", field)]
    done, seconds = timed(build / "h264_encode", clip.raw, "--size", clip.size, *sets, "-o", stream, "--json")
    _, status = report_or_refusal(done)
    if status == NOT_IMPLEMENTED:
        raise NotBuilt
    if status:
        raise SystemExit(f"h264_encode refuses {settings} with status {status}")
    return seconds


def x264(preset, tune, clip, kbps, stream):
    return checked_time("x264", "--quiet", "--preset", preset, "--tune", tune, "--threads", 1, "--ref", 1, "--bframes",
                        0, "--bitrate", kbps, "--keyint", 100, "-o", stream, clip.y4m)


def openh264(build, clip, kbps, stream):
    return checked_time(build / "codec_bench", "encode", "openh264", clip.y4m, "--fps", clip.fps, "--kbps", kbps, "-o",
                        stream)


def openh264_of_ffmpeg(clip, kbps, stream):
    return checked_time("ffmpeg", "-nostdin", "-y", "-v", "error", "-i", clip.y4m, "-c:v", "libopenh264", "-b:v",
                        f"{kbps}k", "-g", 100, "-f", "h264", stream)


def curve(encode, clip, folder):
    """Four points and the seconds for all, or None and 0 for what is not built."""
    points, seconds = [], 0
    for kbps in clip.rates:
        with tempfile.NamedTemporaryFile(dir=folder, suffix=".264") as stream:
            try:
                seconds += encode(clip, kbps, pathlib.Path(stream.name))
            except NotBuilt:
                return None, 0
            points.append(clip.point(pathlib.Path(stream.name)))
    return points, seconds


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


def cells(name, results, time):
    """A row of the table: a clip each, and the mean of those that have a number."""
    numbers = [r for r in results if not isinstance(r, str)]
    texts = [r if isinstance(r, str) else f"{r:+.1f} %" for r in results]
    return (name, *texts, f"{statistics.mean(numbers):+.1f} %" if numbers else "-", time)


def measured(encoders, clips, folder, jobs):
    """{name: [(points, seconds) of a clip, ..]}"""
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        running = {name: [pool.submit(curve, encode, clip, folder) for clip in clips]
                   for name, encode in encoders.items()}
        return {name: [done.result() for done in each] for name, each in running.items()}


def table(title, names, curves, pairs):
    """@param pairs  (row's name, anchor, other) of the curves' names"""
    def seconds(name):
        return sum(each for _, each in curves[name])

    rows = [("", *names, "mean", "time"), ("---", *("---:" for _ in names), "---:", "---:")]
    for name, anchor, other in pairs:
        results = [percentage(*both) for both in zip(*([points for points, _ in curves[n]] for n in (anchor, other)))]
        built = seconds(anchor) and seconds(other)
        rows.append(cells(name, results, f"x {seconds(other) / seconds(anchor):.2f}" if built else "-"))
    lines = ["| " + " | ".join(row) + " |" for row in rows]
    time = f"The product's settings took {seconds(PRODUCT):.1f} seconds of processor time for all clips and rates."
    return "\n".join([title, "", *lines, "", time])


def peers_table(build, clips, folder, jobs):
    others = peers(build, clips[0].y4m)
    curves = measured({PRODUCT: functools.partial(ours, build, "")} | others, clips, folder, jobs)
    return table("Rate and time of the product over another encoder's, at the same luma PSNR:",
                 [clip.name for clip in clips], curves, [(f"over {other}", other, PRODUCT) for other in others])


def tools_table(build, clips, folder, jobs):
    settings = {f"{name} (`{text}`)": functools.partial(ours, build, text) for name, text in TOOLS.items()}
    curves = measured({PRODUCT: functools.partial(ours, build, "")} | settings, clips, folder, jobs)
    return table("Rate and time of a setting over the product's, at the same luma PSNR:",
                 [clip.name for clip in clips], curves, [(name, PRODUCT, name) for name in settings])


def write_between(file, lines, text):
    """Replaces what stands between two lines of a file."""
    before, _, rest = file.read_text().partition(lines[0] + "\n")
    _, end, after = rest.partition(lines[1])
    if not end:
        raise SystemExit(f"{file} has no line {' or '.join(lines)}")
    file.write_text(f"{before}{lines[0]}\n\n{text}\n\n{end}{after}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("sources", type=pathlib.Path, nargs="*")
    parser.add_argument("--tools", action="store_true")
    parser.add_argument("--clips", type=int, default=len(SCENES))
    parser.add_argument("--frames", type=int, default=90)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--table", type=pathlib.Path)
    args = parser.parse_intermixed_args()  # sources may stand behind options
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        clips = [filmed(folder, source, args.frames) for source in args.sources] or \
                [rendered(args.build, folder, scene, args.frames) for scene in SCENES[:args.clips]]
        wanted = (peers_table, tools_table) if args.table else (tools_table if args.tools else peers_table,)
        texts = [make(args.build, clips, folder, args.jobs) for make in wanted]
    print("\n\n".join(texts))
    if args.table:
        write_between(args.table, TABLES, "\n\n".join(texts))
    return 0


if __name__ == "__main__":
    sys.exit(main())
