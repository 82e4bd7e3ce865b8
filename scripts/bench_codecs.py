#!/usr/bin/env python3
"""Whole codecs side by side on one core: frames a second, rate, quality and instructions a picture.

Usage: bench_codecs.py BUILD [--source FILE.y4m] [--frames N] [--rates K,K] [--rounds N] [--no-callgrind] [--record FILE]
                       [--field-stream FILE.264]

The streams of the decoders are made on the spot, but for one of field pictures, which no peer writes: without
--field-stream it is left out. Of an interlaced stream a picture is a frame, both of its fields.

Every row is also kept as a line of JSON with the commit, in build/bench.jsonl unless --record says otherwise:
bench_compare.py compares two commits.
"""
import argparse
import json
import pathlib
import re
import shutil
import statistics
import subprocess
import tempfile

ENCODERS = ("quilvex", "x264-superfast", "x264-ultrafast", "openh264")
DECODERS = ("quilvex", "libavcodec", "openh264")
# The streams that the decoders are compared on, by what they hold.
STREAMS = {
    "Main profile, CABAC, one reference, no B pictures": "--profile main --ref 1 --bframes 0",
    "Baseline profile, CAVLC, four slices": "--profile baseline --ref 1 --slices 4",
    "High profile, CABAC, three references, B pictures, 8x8 transform": "--profile high --ref 3 --bframes 2 --b-adapt 0",
    "Main profile, CAVLC, three references, B pictures, temporal direct":
        "--profile main --no-cabac --ref 3 --bframes 2 --b-adapt 0 --direct temporal",
}
# At its own size and rate.
PAIRS = ("High profile, 1080 lines in pairs of frame and field macroblocks, CABAC, B pictures",
         "--profile high --tff --ref 3 --bframes 2 --b-adapt 0", "1920x1080", 8000)
ROOT = pathlib.Path(__file__).resolve().parent.parent


def run(*command):
    return subprocess.run([str(c) for c in command], check=True, capture_output=True, text=True)


def pinned(command):
    """The command on one core, where that can be asked for."""
    return (["taskset", "-c", "0"] if shutil.which("taskset") else []) + [str(c) for c in command]


def interleaved(commands, rounds):
    """Runs every command once a round, so that a machine whose speed drifts treats all alike; the median of each."""
    speeds = {name: [] for name in commands}
    reports = {}
    for _ in range(rounds):
        for name, command in commands.items():
            report = json.loads(run(*pinned(command)).stdout.splitlines()[-1])
            speeds[name].append(report["frames_per_second"])
            reports[name] = report
    for name in commands:
        reports[name]["frames_per_second"] = statistics.median(speeds[name])
    return reports


def callgrind(output, *command):
    """A command that counts the instructions inside the codec's calls of another one, by function, into a file."""
    return ["valgrind", "--tool=callgrind", "--collect-atstart=no", f"--callgrind-out-file={output}", *command]


def instructions(command, frames):
    """Millions of instructions a picture, counted inside the codec's calls only."""
    with tempfile.NamedTemporaryFile() as output:
        text = run(*callgrind(output.name, *command)).stderr
    return int(re.search(r"Collected : (\d+)", text).group(1)) / frames / 1e6


def luma_psnr(stream, source, fps):
    text = run("ffmpeg", "-nostdin", "-r", fps, "-i", stream, "-r", fps, "-i", source, "-lavfi", "psnr", "-f", "null", "-").stderr
    return float(re.search(r"PSNR y:([\d.]+|inf)", text).group(1))


def render(build, source, fps, frames, size="1280x720"):
    """The scene that the codecs are compared on."""
    run(build / "camera_scene", "-o", source, "--size", size, "--fps", fps, "--frames", frames)


def peer_stream(source, kbps, stream, options=next(iter(STREAMS.values()))):
    """A stream that decoders are compared on."""
    run("x264", "--quiet", "--preset", "fast", "--tune", "zerolatency", "--threads", 1, *options.split(), "--bitrate", kbps, "--keyint",
        300, "-o", stream, source)


def available(bench, kind, names, sample):
    found = []
    for name in names:
        if subprocess.run([bench, kind, name, sample, "--warm-up", "1000000"], capture_output=True, check=False).returncode == 0:
            found.append(name)
    return found


def row(*cells):
    print("| " + " | ".join(str(c) for c in cells) + " |")


def this_commit():
    commit = run("git", "-C", ROOT, "rev-parse", "--short=12", "HEAD").stdout.strip()
    return commit + ("-dirty" if run("git", "-C", ROOT, "status", "--porcelain", "--untracked-files=no").stdout else "")


class Bench:
    """Runs programs of one build, prints a row each and keeps it as a line of JSON."""

    def __init__(self, args):
        self.program, self.rounds, self.record = args.build / "codec_bench", args.rounds, args.record
        self.count = not args.no_callgrind and shutil.which("valgrind")
        self.commit = this_commit()

    def keep(self, **figures):
        with self.record.open("a") as file:
            file.write(json.dumps({"commit": self.commit, **figures}) + "\n")

    def instructions(self, command, report):
        return instructions(command, report["frames"]) if self.count else None

    def encode(self, source, fps, kbps, folder):
        print(f"\nEncoding at {kbps} kb/s, one core\n")
        row("encoder", "frames/s", "kb/s", "PSNR Y dB", "million instructions a picture")
        row("---", "---:", "---:", "---:", "---:")
        commands = {e: [self.program, "encode", e, source, "--fps", fps, "--kbps", kbps, "-o", folder / f"{e}.264"]
                    for e in available(self.program, "encode", ENCODERS, source)}
        for e, report in interleaved(commands, self.rounds).items():
            rate = report["bytes"] * 8 * fps / (report["frames"] + 5) / 1000
            psnr = luma_psnr(folder / f"{e}.264", source, fps)
            count = self.instructions(commands[e], report)
            row(e, f"{report['frames_per_second']:.0f}", f"{rate:.0f}", f"{psnr:.2f}", f"{count:.1f}" if count else "-")
            self.keep(what="encode", codec=e, stream=f"{kbps} kb/s", frames_per_second=report["frames_per_second"], kbps=rate,
                      psnr_y=psnr, million_instructions=count)

    def decode(self, name, stream):
        print(f"\nDecoding {name}, one core\n")
        row("decoder", "frames/s", "million instructions a picture")
        row("---", "---:", "---:")
        commands = {d: [self.program, "decode", d, stream] for d in available(self.program, "decode", DECODERS, stream)}
        for d, report in interleaved(commands, self.rounds).items():
            count = self.instructions(commands[d], report)
            row(d, f"{report['frames_per_second']:.0f}", f"{count:.1f}" if count else "-")
            self.keep(what="decode", codec=d, stream=name, frames_per_second=report["frames_per_second"],
                      million_instructions=count)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--source", type=pathlib.Path)
    parser.add_argument("--frames", type=int, default=100)
    parser.add_argument("--rates", default="1500,4000")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--no-callgrind", action="store_true")
    parser.add_argument("--field-stream", type=pathlib.Path)
    parser.add_argument("--record", type=pathlib.Path, default=ROOT / "build" / "bench.jsonl")
    args = parser.parse_args()
    bench, fps = Bench(args), 30
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        source = args.source or folder / "scene.y4m"
        if not args.source:
            render(args.build, source, fps, args.frames)
        for kbps in (int(r) for r in args.rates.split(",")):
            bench.encode(source, fps, kbps, folder)
            for kind, options in STREAMS.items():
                stream = folder / "peer.264"
                peer_stream(source, kbps, stream, options)
                bench.decode(f"{kbps} kb/s, {kind}", stream)
        kind, options, size, kbps = PAIRS
        render(args.build, folder / "pairs.y4m", fps, args.frames, size)
        peer_stream(folder / "pairs.y4m", kbps, folder / "pairs.264", options)
        bench.decode(f"{kbps} kb/s, {kind}", folder / "pairs.264")
    if args.field_stream:
        bench.decode(f"field pictures, {args.field_stream.name}", args.field_stream)


if __name__ == "__main__":
    main()
