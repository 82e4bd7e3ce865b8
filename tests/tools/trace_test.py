#!/usr/bin/env python3
"""What --trace lists of a macroblock: the same from the codec that wrote it and from the one that read it.

Usage: trace_test.py TOOLS ON|OFF     whether the build has the listing
"""
import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from oracle import check, exit_with, fails, run  # noqa: E402

MBS_WIDE, MBS_HIGH, PICTURES = 11, 9, 3
SETTINGS = [word for setting in ("rate_control_method=3", "quant_i=20", "quant_p=20", "num_ref_frames=2") for word in ("--set", setting)]


def listing(*command):
    return run(*command).stderr.decode().splitlines()


def names(lines):
    return {line.split()[0] for line in lines}


def same_from_both(encode, decode, source, stream):
    """Macroblocks all over three pictures; together they must show every element that the encoder has."""
    seen = set()
    for picture in range(PICTURES):
        places = [f"{picture}:{x},{y}" for x in range(0, MBS_WIDE, 3) for y in range(0, MBS_HIGH, 3)]
        for place in places:
            written = listing(encode, source, "--size", "176x144", *SETTINGS, "--no-output", "--trace", place)
            check(written == listing(decode, stream, "--no-output", "--trace", place), f"macroblock {place} differs")
            check(written, f"macroblock {place} has no elements")
            seen |= names(written)
    wanted = {"mb_skip_flag", "mb_type", "rem_intra_pred_mode", "intra_chroma_pred_mode", "ref_idx", "mvd",
              "coded_block_pattern", "mb_qp_delta", "luma", "luma_dc", "chroma_dc", "chroma_ac", "level"}
    check(seen >= wanted, f"never listed: {wanted - seen}")


def codes_of_other_encoders(decode, source, folder):
    """The same pictures with either entropy coding, 8x8 transform and B pictures."""
    for option, wanted in (("cabac=0", {"luma_8x8", "transform_size_8x8_flag", "sub_mb_type", "level"}),
                           ("cabac=1", {"luma_8x8", "transform_size_8x8_flag", "sub_mb_type", "level"})):
        stream, seen = folder / f"{option}.264", set()
        run("ffmpeg", "-nostdin", "-y", "-v", "error", "-f", "rawvideo", "-s", "176x144", "-i", source, "-c:v", "libx264",
            "-x264-params", f"{option}:bframes=2:8x8dct=1:partitions=all:qp=20", stream)
        for picture in range(PICTURES):
            for x in range(0, MBS_WIDE, 2):
                seen |= names(listing(decode, stream, "--no-output", "--trace", f"{picture}:{x},4"))
        check(seen >= wanted, f"{option}: never listed: {wanted - seen}")


def main():
    tools, is_built = pathlib.Path(sys.argv[1]), sys.argv[2] == "ON"
    encode, decode = tools / "h264_encode", tools / "h264_decode"
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        source, stream = folder / "s.yuv", folder / "s.264"
        run(tools / "camera_scene", "-o", source, "--size", "176x144", "--frames", PICTURES)
        run(encode, source, "--size", "176x144", *SETTINGS, "-o", stream)
        fails(decode, stream, "--no-output", "--trace", "1:2", text="not a place PICTURE:X,Y: 1:2")
        fails(decode, stream, "--no-output", "--trace", "1:2,-1", text="not a place")
        if not is_built:
            for command in ((encode, source, "--size", "176x144"), (decode, stream)):
                fails(*command, "--no-output", "--trace", "0:0,0", text="needs a build with QUILVEX_TRACE")
            return
        check(not listing(decode, stream, "--no-output", "--trace", f"{PICTURES}:0,0"), "a picture that is not there")
        same_from_both(encode, decode, source, stream)
        codes_of_other_encoders(decode, source, folder)


if __name__ == "__main__":
    exit_with(main)
