#!/usr/bin/env python3
"""Auxiliary pictures, rewritten as primary ones under the sets of a monochrome stream, decode to the coded alpha planes.

Usage: auxiliary_pictures_test.py TOOLS

Decoders leave units of type 19 out. But for that type their slices are those of pictures that are no IDR pictures.
"""
import pathlib
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests" / "support"), str(ROOT / "scripts")]
from encoder_clips import Format, converted  # noqa: E402
from encoder_oracles import AUXILIARY, FROM_ANY_PICTURE, Fault, alpha_streams, ffmpeg_pictures, same  # noqa: E402
from nal_units import split, unit_type  # noqa: E402
from oracle import TestFailure, check, exit_with, run  # noqa: E402

SIZE, FRAMES = "96x80", 8
LUMA = 96 * 80
# Options beside an alpha plane, and the units that each picture has.
CASES = [
    (8, "quant_i=20 quant_p=20", 1),
    (8, "entropy_coding_mode=0", 1),
    (8, "partition_level=3 num_ref_frames=3 analysis_level=2", 1),
    (8, "transform_8x8_mode=1 analysis_level=4 use_default_scaling_matrix=1", 1),
    (8, "num_slices=3 deblocking_filter_idc=1", 3),
    (8, "num_b_frames=2 num_ref_frames=2 quant_b=24", 1),
    (8, "coding_type=1 num_ref_frames=2", 2),
    (8, "coding_type=1 num_b_frames=1 num_ref_frames=2", 2),
    (10, "quant_i=14 quant_p=14", 1),
]


def planes(pictures, picture, first, size):
    return [pictures[i + first:i + first + size] for i in range(0, len(pictures), picture)]


def monochrome(encode, alphas, depth, settings, folder):
    """A stream of the same settings without chroma and without an alpha plane."""
    (folder / "grey.yuv").write_bytes(b"".join(alphas))
    run(*encode, folder / "grey.yuv", "--chroma", 400, "--depth", depth, *settings, "-o", folder / "grey.264")
    return (folder / "grey.264").read_bytes()


def try_case(tools, i420, depth, text, units_of_picture, folder):
    sample = 2 if depth > 8 else 1
    picture, luma = LUMA * 3 // 2 * sample, LUMA * sample
    plain = converted(i420, SIZE, Format(420, depth, depth))
    alphas = planes(plain, picture, 0, luma)[::-1]  # the scene backwards
    (folder / "source.yuv").write_bytes(b"".join(p + a for p, a in zip(planes(plain, picture, 0, picture), alphas)))
    encode = [tools / "h264_encode", "--size", SIZE]
    settings = [word for s in ("profile_idc=100", "rate_control_method=3", *text.split()) for word in ("--set", s)]
    stream, recon = folder / "s.264", folder / "recon.yuv"
    run(*encode, folder / "source.yuv", "--depth", depth, *settings, "--set", "aux_format_idc=1", "--set",
        f"bit_depth_aux={depth}", "-o", stream, "--recon", recon)
    found = [u for u in split(stream.read_bytes()) if unit_type(u) == AUXILIARY]
    check(len(found) == FRAMES * units_of_picture, f"{text}: {len(found)} auxiliary units")
    periods = alpha_streams(stream.read_bytes(), monochrome(encode, alphas, depth, settings, folder))
    check(len(periods) == 1, f"{text}: {len(periods)} IDR periods")
    stream.write_bytes(periods[0])
    try:
        decoded = ffmpeg_pictures(stream, folder / "decoded.yuv", luma_only=True, skip_filter="num_b_frames" in text,
                                  flags=FROM_ANY_PICTURE)
        same(b"".join(planes(recon.read_bytes(), picture + luma, picture, luma)), decoded, luma, "ffmpeg")
    except Fault as fault:
        raise TestFailure(f"{depth} bits, {text}: {fault}") from fault


def main():
    tools = pathlib.Path(sys.argv[1])
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        clip = folder / "clip.yuv"
        run(tools / "camera_scene", "-o", clip, "--size", SIZE, "--frames", FRAMES)
        for depth, text, units in CASES:
            try_case(tools, clip.read_bytes(), depth, text, units, folder)


if __name__ == "__main__":
    exit_with(main)
