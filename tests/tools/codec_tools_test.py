#!/usr/bin/env python3
"""The command lines of h264_encode and h264_decode: what they give each other, and one clear line for every failure.

Usage: codec_tools_test.py TOOLS
"""
import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from oracle import TestFailure, check, fails, our_digests, run, run_json, same_pictures  # noqa: E402


def one_line(*command, text):
    check(len(fails(*command, text=text)) == 1, f"{command}: more than one line")


def encoder_failures(encode, folder, source):
    out, empty = folder / "out", folder / "empty"
    empty.write_bytes(b"")
    good = (encode, source, "--size", "176x144")
    one_line(encode, folder / "none", "--size", "16x16", "-o", out, text="cannot open")
    one_line(encode, empty, "--size", "16x16", "-o", out, text="no whole picture")
    one_line(encode, source, "--size", "172x144", "-o", out, text="cut short")
    one_line(encode, source, "--size", "1x", "-o", out, text="--size must be WxH")
    one_line(*good, "-o", "/dev/full", text="cannot write")
    one_line(*good, "-o", out, "--set", "nonsense=1", text="unknown field")
    one_line(*good, "-o", out, "--params", folder / "none", text="cannot open")
    one_line(*good, "-o", out, "--set", "profile_idc=1", text="refuses these settings")


def decoder_failures(decode, folder, stream):
    out, junk = folder / "out", folder / "junk"
    junk.write_bytes(bytes(range(2, 250)))
    one_line(decode, folder / "none", "-o", out, text="cannot be opened")
    one_line(decode, folder / "empty", "-o", out, text="the stream is empty")
    one_line(decode, junk, "-o", out, text="decoder status -897")
    one_line(decode, stream, "-o", "/dev/full", text="cannot be written")
    one_line(decode, stream, text="is needed")


def main():
    tools = pathlib.Path(sys.argv[1])
    encode, decode = tools / "h264_encode", tools / "h264_decode"
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        source, stream, recon, out = (folder / n for n in ("s.yuv", "s.264", "recon.yuv", "out.yuv"))
        run(tools / "camera_scene", "-o", source, "--size", "176x144", "--frames", 6)
        report = run_json(encode, source, "--size", "176x144", "-o", stream, "--recon", recon, "--set", "num_slices=3", "--json")
        check(report["frames"] == 6 and report["bytes"] == stream.stat().st_size, f"{report}")
        report = run_json(decode, stream, "-o", out, "--json")
        check(report["frames"] == 6 and report["status"] == 0, f"{report}")
        same_pictures(recon, out, (176, 144), "h264_decode against the reconstruction")
        run(tools / "h264_compare", stream, recon)
        recon.write_bytes(recon.read_bytes()[:30000] + b"?" + recon.read_bytes()[30001:])
        check(run(tools / "h264_compare", stream, recon, expect=None).returncode == 1, "h264_compare sees no difference")
        check(run_json(decode, stream, "--no-output", "--loop", 3, "--json")["frames"] == 18, "--loop is not heeded")
        check(len(our_digests(decode, stream, folder)[2]) == 6, "--framemd5 does not list every picture")
        encoder_failures(encode, folder, source)
        decoder_failures(decode, folder, stream)


if __name__ == "__main__":
    try:
        main()
    except TestFailure as failure:
        print(f"FAILED: {failure}")
        sys.exit(1)
    print("OK")
