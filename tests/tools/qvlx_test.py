#!/usr/bin/env python3
"""The command line of qvlx: options, reports, and one clear line for every failure.

Usage: qvlx_test.py TOOLS
"""
import os
import pathlib
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from oracle import check, exit_with, fails, ffmpeg_headers, ffmpeg_pictures, run, run_json, same_pictures  # noqa: E402


def failures(qvlx, folder, source):
    out = folder / "out"
    one = lambda *command, text: fails(qvlx, *command, text=text)
    one("encode", folder / "none.y4m", "-o", out, text="cannot open")
    one("encode", source, "-o", folder / "no" / "folder", text="cannot write")
    one("encode", source, "-o", out, "--size", "10x10", text="--size differs")
    one("encode", source, "-o", out, "--size", "x10", text="not a size")
    one("encode", source, "-o", "/dev/full", text="cannot write")
    one("encode", source, "-o", out, "--set-kbps", "1", text="FRAME:KBPS")
    one("encode", source, "-o", out, "--mode", "11", text="no engine serves request 11")
    raw = folder / "raw.yuv"
    raw.write_bytes(bytes(100))
    one("encode", raw, "-o", out, text="raw pictures need --size")
    one("encode", raw, "-o", out, "--size", "16x16", text="cut short")
    empty = folder / "empty"
    empty.write_bytes(b"")
    one("encode", empty, "-o", out, "--size", "16x16", text="no picture")
    one("decode", empty, "-o", out, text="the stream is empty")
    one("decode", raw, "-o", out, text="no sequence parameter set")
    one("decode", raw, "-o", out, "--size", "16x16", text="no picture came out")
    cut = folder / "cut.y4m"
    cut.write_bytes(source.read_bytes()[:-7])
    one("encode", cut, "-o", out, text="cut short")
    header = folder / "header.y4m"
    header.write_bytes(b"YUV4MPEG2 W16 H16 C444\nFRAME\n" + bytes(768))
    one("encode", header, "-o", out, text="only 8-bit 4:2:0")
    header.write_bytes(b"YUV4MPEG2 W16\n")
    one("encode", header, "-o", out, text="no usable size")


def encoding(qvlx, folder, source, frames):
    stream = folder / "a.264"
    report = run_json(qvlx, "encode", source, "-o", stream, "--kbps", 300, "--keyint", 100, "--force-key", "5,9", "--json", "--mode", 0)
    check(report["frames"] == frames and report["keys"] == 3 and report["bytes"] == stream.stat().st_size, f"{report}")
    types = [e["slice_type"] for u, e in ffmpeg_headers(stream) if u == "Slice Header"]
    check([i for i, t in enumerate(types) if t == 2] == [0, 5, 9], f"key pictures {types}")
    # A change of rate starts a new stream: parameter sets and an IDR picture.
    run(qvlx, "encode", source, "-o", stream, "--kbps", 300, "--keyint", 100, "--set-kbps", "7:150", "--mode", 0, "--quiet")
    units = [u for u, _ in ffmpeg_headers(stream)]
    check([i for i, u in enumerate(units) if u == "Sequence Parameter Set"] == [0, 9], f"units {units}")
    ffmpeg_pictures(stream, folder / "a.yuv")
    quiet = run(qvlx, "encode", source, "-o", stream, "--frames", 4, "--quiet", "--mode", 0)
    check(not quiet.stdout and not quiet.stderr, "--quiet is not")
    check(len([u for u, _ in ffmpeg_headers(stream) if u == "Slice Header"]) == 4, "--frames is not heeded")
    # Raw pictures and y4m give the same stream.
    raw = folder / "raw.yuv"
    run("ffmpeg", "-nostdin", "-y", "-v", "error", "-i", source, "-f", "rawvideo", raw)
    run(qvlx, "encode", raw, "--size", "176x144", "--fps", 30, "-o", folder / "raw.264", "--frames", 4, "--quiet", "--mode", 0)
    check((folder / "raw.264").read_bytes() == stream.read_bytes(), "raw and y4m differ")
    text = run(qvlx, "encode", source, "-o", stream, "--psnr", "--mode", 0).stdout.decode()
    check("engine IPP, 176x144, 12 frames" in text and "PSNR Y" in text, text)


def decoding(qvlx, folder, source):
    stream = folder / "a.264"
    report = run_json(qvlx, "decode", stream, "-o", folder / "a.y4m", "--json", "--mode", 0)
    check((report["width"], report["height"], report["frames"]) == (176, 144, 12), f"{report}")
    ffmpeg_pictures(stream, folder / "f.yuv")
    run("ffmpeg", "-nostdin", "-y", "-v", "error", "-i", folder / "a.y4m", "-f", "rawvideo", folder / "y.yuv")
    same_pictures(folder / "f.yuv", folder / "y.yuv", (176, 144), "y4m output")
    # A stream that begins on a P picture shows nothing before the next key picture, and the tool says so.
    run(qvlx, "encode", source, "-o", folder / "keys.264", "--keyint", 5, "--quiet", "--mode", 0)
    whole = (folder / "keys.264").read_bytes()
    codes = [i for i in range(len(whole) - 4) if whole[i:i + 4] == b"\0\0\0\1"]
    idr = next(i for i, at in enumerate(codes) if whole[at + 4] & 31 == 5)
    late = folder / "late.264"
    late.write_bytes(whole[:codes[idr]] + whole[codes[idr + 1]:])
    told = run(qvlx, "decode", late, "-o", folder / "late.yuv", "--json", "--mode", 0)
    check(told.stderr.decode().strip() == "qvlx: 7 of 11 pictures came out", f"{told.stderr}")
    check(not run(qvlx, "decode", late, "-o", folder / "late.yuv", "--quiet", "--mode", 0).stderr, "--quiet is not")
    check(not run(qvlx, "decode", stream, "-o", folder / "a.yuv", "--mode", 0).stderr, "a whole stream is no loss")
    scaled = run_json(qvlx, "decode", stream, "-o", folder / "s.yuv", "--size", "88x72", "--json", "--mode", 0)
    check((folder / "s.yuv").stat().st_size == 12 * 88 * 72 * 3 // 2 and scaled["width"] == 88, "--size is not heeded")


def probing(qvlx, tools):
    report = run_json(qvlx, "probe", "--json")
    check({r["id"]: r["engine"] for r in report}[0] == "IPP", f"{report}")
    folder = tools / "tesselog"
    environment = dict(os.environ, LD_LIBRARY_PATH=str(folder), WINEPATH=f"Z:{folder}")
    log = subprocess.run([qvlx, "probe"], env=environment, capture_output=True, check=True).stderr.decode()
    check("[ 4] qvlx - CreateVCodec(0) IPP" in log.splitlines() and "[ 4] qvlx - CVCodecH264AMD::Init() res=" in log, log)


def main():
    tools = pathlib.Path(sys.argv[1])
    qvlx = tools / "qvlx"
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        os.environ["XDG_DATA_HOME"] = name
        source = folder / "source.y4m"
        run(tools / "camera_scene", "-o", source, "--size", "176x144", "--frames", 12)
        failures(qvlx, folder, source)
        encoding(qvlx, folder, source, 12)
        decoding(qvlx, folder, source)
        probing(qvlx, tools)


if __name__ == "__main__":
    exit_with(main)
