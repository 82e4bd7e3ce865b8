#!/usr/bin/env python3
"""One line for each stream and kernel tier: a digest of what the codec's tools make of it. What a change that may not
alter any output compares: run it on the build before and on the build behind, and compare the two files.

Usage: output_digests.py BUILD OUTPUT [--media FOLDER] [--tiers N,N] [--runner PROGRAM] [--part NAME_PART]

BUILD holds h264_decode and h264_encode. Streams are made by x264, whole, cut and with flipped bytes; --media adds the
files of a folder. Pictures to encode are rendered by build/release/camera_scene. --runner starts each tool, as
scripts/wine.sh does.
"""
import argparse
import concurrent.futures
import hashlib
import os
import pathlib
import random
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "decoder"))
from stream_matrix import CASES, make_stream  # noqa: E402

STREAM_SUFFIXES = {".264", ".h264", ".avc", ".jsv", ".mp4"}
DAMAGED_COPIES = 2
SIZE = "320x176"

# Settings beside which every other field has its default.
ENCODER_SETTINGS = (
    [f"search_method={m}" for m in range(9)] + [f"rate_control_method={m}" for m in range(4)] +
    [f"num_slices={n}" for n in (2, 3, 8)] + [f"num_ref_frames={n} analysis_level=1" for n in (1, 2, 4)] +
    [f"rate_control_method=3 quant_i={q} quant_p={q}" for q in (0, 1, 8, 20, 30, 40, 51)] +
    [f"deblocking_filter_idc={n} num_slices=3" for n in (1, 2)] +
    ["deblocking_alpha_offset=-6 deblocking_beta_offset=6", "cabac_init_idc=0", "cabac_init_idc=2", "key_frame_interval=3",
     "key_frame_interval=4 idr_interval=2", "write_access_unit_delimiters=1", "search_x=24 search_y=3", "profile_idc=100",
     "use_default_scaling_matrix=1 profile_idc=100", "bitrate=64000", "bitrate=6000000"])


def damaged(data, seed):
    """The stream with a few bytes changed behind its parameter sets, or cut."""
    rng, copy = random.Random(seed), bytearray(data)
    for _ in range(1 + len(copy) // 4000):
        copy[rng.randrange(min(120, len(copy) - 1), len(copy))] ^= 1 << rng.randrange(8)
    return bytes(copy[:rng.randrange(len(copy) // 2, len(copy))]) if seed % 2 else bytes(copy)


def make_streams(folder, part):
    for case in CASES:
        if part not in case[0]:
            continue
        stream = make_stream(case, folder)
        data = pathlib.Path(stream).read_bytes()
        for seed in range(DAMAGED_COPIES):
            (folder / f"{case[0]}.damaged{seed}.264").write_bytes(damaged(data, seed))


def digest(*parts):
    total = hashlib.sha256()
    for part in parts:
        total.update(len(part).to_bytes(8, "little") + part)
    return total.hexdigest()[:24]


def read_and_remove(path):
    data = path.read_bytes() if path.exists() else b""
    path.unlink(missing_ok=True)
    return data


class Tools:
    def __init__(self, args, work):
        self.work, self.tier_option = work, lambda tier: ["--tier", str(tier)]
        suffix = ".exe" if (args.build / "h264_decode.exe").exists() else ""
        self.decoder, self.encoder = ([*args.runner, str(args.build / (name + suffix))] for name in ("h264_decode", "h264_encode"))

    def decode(self, name, path, tier):
        out = self.work / f"{hashlib.sha1(name.encode()).hexdigest()}.{tier}"
        more = ["--mp4"] if path.suffix == ".mp4" else []
        ran = subprocess.run([*self.decoder, str(path), "--framemd5", str(out), "--tier", str(tier), *more], capture_output=True)
        return digest(b"%d" % (ran.returncode & 255), ran.stderr.replace(str(path).encode(), b"").replace(b"\r", b""),
                      read_and_remove(out).replace(b"\r", b""))

    def encode(self, setting, source, tier):
        name = hashlib.sha1(setting.encode()).hexdigest()
        stream, recon = (self.work / f"{name}.{tier}.{kind}" for kind in ("264", "yuv"))
        sets = [option for field in setting.split() for option in ("--set", field)]
        ran = subprocess.run([*self.encoder, str(source), "--size", SIZE, *sets, "-o", str(stream), "--recon", str(recon),
                              "--tier", str(tier)], capture_output=True)
        return digest(b"%d" % (ran.returncode & 255), ran.stderr.replace(b"\r", b""), read_and_remove(stream), read_and_remove(recon))


def jobs(args, tools, folder):
    paths = {p.name: p for p in folder.glob("*.264")}
    if args.media:
        paths |= {str(p.relative_to(args.media)): p for p in args.media.rglob("*") if p.suffix in STREAM_SUFFIXES}
    for name, path in sorted(paths.items()):
        if args.part in name:
            yield from ((f"decode {name} tier {tier}", tools.decode, (name, path, tier)) for tier in args.tiers)
    source = folder / "scene.yuv"
    for setting in ENCODER_SETTINGS:
        if args.part in setting:
            yield from ((f"encode {setting} tier {tier}", tools.encode, (setting, source, tier)) for tier in args.tiers)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("output", type=pathlib.Path)
    parser.add_argument("--media", type=pathlib.Path)
    parser.add_argument("--tiers", type=lambda text: [int(t) for t in text.split(",")], default=list(range(6)))
    parser.add_argument("--runner", type=str.split, default=[])
    parser.add_argument("--part", default="")
    args = parser.parse_args()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        make_streams(folder, args.part)
        scene = ROOT / "build" / "release" / "camera_scene"
        subprocess.run([str(scene), "-o", str(folder / "scene.y4m"), "--size", SIZE, "--frames", "12"], check=True,
                       capture_output=True)
        subprocess.run(["ffmpeg", "-v", "error", "-i", str(folder / "scene.y4m"), "-f", "rawvideo", str(folder / "scene.yuv")], check=True)
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            running = [(line, pool.submit(work, *given)) for line, work, given in jobs(args, Tools(args, folder), folder)]
            lines = [f"{done.result()}  {line}\n" for line, done in running]
        args.output.write_text("".join(lines))
    print(f"{len(lines)} digests in {args.output}")


if __name__ == "__main__":
    main()
