#!/usr/bin/env python3
"""Every tool tells what it takes, and a call that it cannot take ends in one line with its name and a status other than 0.

Usage: command_lines_test.py TOOLS
"""
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from oracle import check, exit_with, fails, run  # noqa: E402

# A tool and its command; options that its help names; calls that are wrong, and what the line says of each.
TOOLS = (
    (("qvlx",), ("encode", "decode", "probe", "convert", "scale", "process"),
     (((), "A subcommand is required"), (("transmogrify",), "A subcommand is required"), (("--frames", "3"), "A subcommand is required"))),
    (("qvlx", "encode"), ("IN", "-o", "--size", "--fps", "--keyint", "--kbps", "--mode", "--frames", "--force-key", "--set-kbps", "--psnr",
                          "--json", "--quiet"),
     (((), "IN is required"), (("in",), "-o is required"), (("in", "-o"), "-o"), (("in", "-o", "out", "--fps", "0"), "--fps"),
      (("in", "-o", "out", "--kbps", "fast"), "--kbps"), (("in", "-o", "out", "--force-key", "1,x"), "--force-key"),
      (("in", "-o", "out", "--nonsense"), "--nonsense"), (("in", "-o", "out", "more"), "more"))),
    (("qvlx", "decode"), ("IN", "-o", "--mode", "--size", "--json", "--quiet"),
     (((), "IN is required"), (("in", "-o", "out", "--mode", "100"), "--mode"))),
    (("qvlx", "probe"), ("--json",), ((("more",), "more"),)),
    (("qvlx", "convert"), ("IN", "-o", "--size", "--from", "--to", "--frames", "--json", "--quiet"),
     (((), "IN is required"), (("in", "-o", "out", "--frames", "0"), "--frames"))),
    (("qvlx", "scale"), ("IN", "-o", "--to-size", "--size", "--from", "--to", "--frames", "--json", "--quiet"),
     ((("in", "-o", "out"), "--to-size is required"),)),
    (("qvlx", "process"), ("IN", "-o", "--background", "--key-color", "--key-distance", "--smooth", "--brightness", "--size", "--frames"),
     ((("in", "-o", "out", "--brightness", "2"), "--brightness"), (("in", "-o", "out", "--key-distance", "-1"), "--key-distance"))),
    (("h264_encode",), ("IN", "--size", "--chroma", "--depth", "--params", "--set", "-o", "--recon", "--compare", "--frames", "--loop",
                        "--no-output", "--tier", "--json"),
     (((), "IN is required"), (("in",), "--size is required"), (("in", "--size", "16x16"), "-o or --no-output is needed"),
      (("in", "--size", "16x16", "-o", "out", "--chroma", "444"), "--chroma"), (("in", "--size", "16x16", "-o", "out", "--loop", "0"), "--loop"),
      (("in", "--size", "16x16", "-o", "out", "--tier", "6"), "--tier"))),
    (("h264_decode",), ("IN", "-o", "--threads", "--mp4", "--framemd5", "--loop", "--no-output", "--tier", "--json"),
     (((), "IN is required"), (("in",), "--no-output is needed"), (("in", "--no-output", "--threads", "0"), "--threads"),
      (("in", "--no-output", "--tier", "x"), "--tier"))),
    (("h264_compare",), ("IN", "YUV"), (((), "IN is required"), (("in",), "YUV is required"), (("in", "yuv", "more"), "more"))),
    (("camera_scene",), ("-o", "--size", "--fps", "--frames", "--seed"),
     (((), "-o is required"), (("-o", "out", "--frames", "0"), "--frames"), (("-o", "out", "--size", "5x5"), "positive and even"))),
    (("green_screen",), ("-o", "--to", "--size", "--fps", "--first", "--frames", "--seed", "--still", "--landscape"),
     (((), "-o is required"), (("-o", "out", "--first", "-1"), "--first"), (("-o", "out"), "the name does not tell the format"))),
)


def main():
    folder = pathlib.Path(sys.argv[1])
    for (tool, *command), options, wrong in TOOLS:
        program = folder / tool
        told = run(program, *command, "--help")
        text = told.stdout.decode()
        words = text.replace(",", " ").split()
        check(not told.stderr and " ".join([tool, *command]) in text, f"{tool}: {text} {told.stderr}")
        check([] == [o for o in options if o not in words], f"{tool} --help lacks an option: {text}")
        for arguments, part in wrong:
            line = fails(program, *command, *arguments, text=part)
            check(line.startswith(f"{tool}: "), f"{tool} {command} {arguments}: {line}")


if __name__ == "__main__":
    exit_with(main)
