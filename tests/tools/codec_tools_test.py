#!/usr/bin/env python3
"""The command lines of h264_encode and h264_decode: what they give each other, and one clear line for every failure.

Usage: codec_tools_test.py TOOLS
"""
import pathlib
import re
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from oracle import check, exit_with, fails, our_digests, run, run_json, same_pictures  # noqa: E402


def encoder_failures(encode, folder, source):
    out, empty = folder / "out", folder / "empty"
    empty.write_bytes(b"")
    good = (encode, source, "--size", "176x144")
    fails(encode, folder / "none", "--size", "16x16", "-o", out, text="cannot open")
    fails(encode, empty, "--size", "16x16", "-o", out, text="no whole picture")
    fails(encode, source, "--size", "172x144", "-o", out, text="cut short")
    fails(encode, source, "--size", "1x", "-o", out, text="not a size")
    fails(*good, "-o", "/dev/full", text="cannot write")
    fails(*good, "-o", out, "--recon-coded", "/dev/full", text="cannot write")
    fails(*good, "-o", out, "--set", "nonsense=1", text="unknown field")
    fails(*good, "-o", out, "--set", "width=32", text="unknown field")
    fails(*good, "-o", out, "--params", folder / "none", text="cannot open")
    fails(*good, "-o", out, "--set", "profile_idc=1", text="refuses these settings")
    for wrong in ("1:X", "1", "-1:I", "1:II", ":I", "I:1"):
        fails(*good, "-o", out, f"--types={wrong}", text="PICTURE:I")
    fails(*good, "-o", out, "--types", "0:P", text="picture 0: status -996")


def decoder_failures(decode, folder, stream):
    out, junk = folder / "out", folder / "junk"
    junk.write_bytes(bytes(range(2, 250)))
    fails(decode, folder / "none", "-o", out, text="cannot open")
    fails(decode, folder / "empty", "-o", out, text="the stream is empty")
    fails(decode, junk, "-o", out, text="decoder status -897")
    fails(decode, stream, "-o", "/dev/full", text="cannot write")
    fails(decode, stream, text="is needed")


def report_of_the_encoder(report):
    """The settings are those in force, all of them by name; the tools are those of the whole stream."""
    header = (pathlib.Path(__file__).resolve().parents[2] / "encoder" / "state" / "encoder_params.h").read_text()
    record = header.split("};", 1)[1]  # behind that of the tuning block
    fields = set(re.findall(r"(\w+) = -?\d+[,;]", record)) - {"reserved0", "reserved1"}
    fields |= {"tuning", "bitrate", "frame_rate", "width", "height", "threads", "quality"}
    settings, tools = report["settings"], report["tools"]
    check(set(settings) == fields and len(fields) > 40, f"{fields ^ set(settings)}: in the record or in the report alone")
    wanted = {"num_slices": 3, "search_method": 3, "level_idc": 11, "width": 176, "height": 144, "frame_rate": 30, "bitrate": 300000,
              "tuning": [51, 0, 2, 37, 0, 0.5, 2, 2]}
    for name, value in wanted.items():
        check(settings[name] == value, f"{name} is {settings[name]}, not {value}")
    pictures = {name: n for name, n in tools.items() if name.startswith("pictures_")}
    check(pictures == {"pictures_i": 1, "pictures_p": 5, "pictures_b": 0, "pictures_idr": 1}, f"{pictures}")
    check(tools["slices"] == 18, f"{tools['slices']} slices")
    types = re.compile("intra_|inter_|pcm|skip_|direct")
    check(sum(n for name, n in tools.items() if types.match(name)) == 6 * 99, f"a macroblock is not counted once: {tools}")
    check(tools["references"][0] == 4 * (tools["inter_16x16"] + tools["skip_p"]) > 0, f"{tools}")


def asked_types(encode, source):
    """Pictures have the types that they are asked to have, and an I picture begins an IDR period."""
    def pictures(*options):
        tools = run_json(encode, source, "--size", "176x144", "--no-output", "--json", *options)["tools"]
        return [tools[f"pictures_{name}"] for name in ("i", "p", "b", "idr")]

    runs = ("--set", "num_b_frames=2")
    check(pictures("--types", "2:I,4:I") == [3, 3, 0, 3], f"{pictures('--types', '2:I,4:I')}")
    check(pictures(*runs) == [1, 2, 3, 1] and pictures("--types", "2:B") == [1, 4, 1, 1], "a B picture")
    check(pictures(*runs, "--types", "1:P,2:P") == [1, 3, 2, 1], f"{pictures(*runs, '--types', '1:P,2:P')}")


def comparing(encode, compare, folder, source, stream, recon):
    check(run(compare, stream, recon).stdout.splitlines() == [b"6 pictures are equal"], "h264_compare sees a difference")
    good, other = recon.read_bytes(), folder / "other.yuv"
    frame, luma = 176 * 144 * 3 // 2, 176 * 144
    spoilt = bytearray(good)
    spoilt[frame + 100 * 176 + 50] ^= 1         # picture 1: luma (50, 100), macroblock (3, 6)
    spoilt[frame + luma + 5 * 88 + 70] ^= 1     # and Cb (70, 5) of the earlier macroblock (8, 0)
    other.write_bytes(spoilt)
    place = "picture 1, macroblock (8, 0), plane Cb, sample (70, 5): "
    found = run(compare, stream, other, expect=1).stdout.decode()
    check(found.startswith(place) and found.count("\n") == 1, found)
    fails(encode, source, "--size", "176x144", "--no-output", "--set", "num_slices=3", "--compare", other, text=place)
    run(encode, source, "--size", "176x144", "--no-output", "--set", "num_slices=3", "--compare", recon)
    other.write_bytes(good[:-1])
    check(b"picture 5: the other decoder has no more" in run(compare, stream, other, expect=1).stdout, "a cut file")
    other.write_bytes(good + b"x")
    check(b"6 pictures, and the other decoder has more" in run(compare, stream, other, expect=1).stdout, "a long file")
    check(run(compare, stream, folder / "none", expect=None).returncode == 2, "a missing file")


def main():
    tools = pathlib.Path(sys.argv[1])
    encode, decode = tools / "h264_encode", tools / "h264_decode"
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        source, stream, recon, out = (folder / n for n in ("s.yuv", "s.264", "recon.yuv", "out.yuv"))
        run(tools / "camera_scene", "-o", source, "--size", "176x144", "--frames", 6)
        coded = folder / "coded.yuv"
        given = ("num_slices=3", "search_method=77", "bitrate=300000")
        report_of_the_encoder(run_json(encode, source, "--size", "176x144", "--no-output", "--loop", 2,
                                       *(option for field in given for option in ("--set", field)), "--json"))
        report = run_json(encode, source, "--size", "176x144", "-o", stream, "--recon", recon, "--recon-coded", coded, "--set",
                          "num_slices=3", "--json")
        check(report["frames"] == 6 and report["bytes"] == stream.stat().st_size, f"{report}")
        check(coded.read_bytes() == recon.read_bytes(), "without B pictures both orders are one")
        report = run_json(decode, stream, "-o", out, "--json")
        check(report["frames"] == 6 and report["status"] == 0, f"{report}")
        same_pictures(recon, out, (176, 144), "h264_decode against the reconstruction")
        asked_types(encode, source)
        comparing(encode, tools / "h264_compare", folder, source, stream, recon)
        check(run_json(decode, stream, "--no-output", "--loop", 3, "--json")["frames"] == 18, "--loop is not heeded")
        check(len(our_digests(decode, stream, folder)[2]) == 6, "--framemd5 does not list every picture")
        encoder_failures(encode, folder, source)
        decoder_failures(decode, folder, stream)


if __name__ == "__main__":
    exit_with(main)
