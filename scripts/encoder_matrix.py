#!/usr/bin/env python3
"""A matrix of the encoder's settings: every stream decodes, without a message, to the encoder's own reconstruction.

Usage: encoder_matrix.py BUILD [--fast] [--jobs N] [--part NAME_PART] [--table FILE] [--compare BUILD]

BUILD holds h264_encode, h264_decode and camera_scene. The rows (encoder_rows.py) are corners chosen by hand and,
behind them, rows in which every two values of different settings meet. Values that the encoder does not have yet are
found by asking for each alone: they are listed, and no row of pairs is made of them. A row that it refuses all the
same counts as not built yet. Ends with 1 when any row is wrong, or when all rows together leave a coding tool out.

--fast runs a fixed part of the rows. --table writes the rows as Markdown. --compare decodes nothing: the encoder of
another build has to give the same streams, reconstructions and reports.
"""
import argparse
import collections
import concurrent.futures
import functools
import hashlib
import json
import pathlib
import re
import sys
import tempfile

from encoder_clips import converted
from encoder_oracles import (
    FROM_ANY_PICTURE, Fault, alpha_streams, ffmpeg_pictures, luma_of, oracle_of, own_pictures, run, same,
    without_auxiliary)
from encoder_rows import CORNERS, FAST_CORNERS, FAST_PAIRS, odd_depth_rows, paired_rows, values_alone
from encoder_table import ALIKE, EXACT, NOT_BUILT, PINNED, REFUSED, never_used, summary, table

NOT_IMPLEMENTED = -878


def report_or_refusal(done):
    """The report of h264_encode and 0, or None and the status with which the encoder refuses the settings."""
    if done.returncode == 0:
        return json.loads(done.stdout), 0
    text = done.stderr.decode(errors="replace").strip()
    refusal = re.search(r"refuses these settings: status (-\d+)$", text)
    if not refusal or done.returncode < 0:
        raise Fault(f"exit status {done.returncode}: {text[:200]}")
    return None, int(refusal.group(1))


def leaves_in_another_order(row, settings):
    """B pictures that wait for two anchors may be overtaken by the next IDR picture, and are then shown behind it, and
    so may those whose run a picture ends that the caller wants otherwise."""
    return bool(row.types) or (settings["num_b_frames"] > 0 and settings["num_ref_to_start_b"] > 1)


def in_one_order(pictures, picture):
    return b"".join(sorted(pictures[i:i + picture] for i in range(0, len(pictures), picture)))


def counted(pictures, picture):
    return collections.Counter(pictures[i:i + picture] for i in range(0, len(pictures), picture))


class Pictures:
    """Pictures of a stream, which other decoders' have to equal; where they may leave in another order, in any."""

    def __init__(self, row, report):
        self.picture = row.luma_bytes() if row.format().chroma == 400 else row.picture_bytes()
        self.row, self.any_order = row, leaves_in_another_order(row, report["settings"])

    def equal(self, expected, actual, what):
        """Of pictures without chroma the luma alone is compared: decoders make the rest up."""
        if self.row.format().chroma == 400:
            expected, actual = (luma_of(p, self.picture, self.row.frames) for p in (expected, actual))
        if self.any_order:
            expected, actual = (in_one_order(p, self.picture) for p in (expected, actual))
        same(expected, actual, self.picture, what)

    def ffmpeg(self, stream, output, skip_filter=False):
        return ffmpeg_pictures(stream, output, luma_only=self.row.format().chroma == 400, skip_filter=skip_filter)


class Matrix:
    """The tools of one build, and a folder for what they make."""

    def __init__(self, build, folder):
        self.build, self.folder = build, folder
        self.source = functools.lru_cache(None)(self.render)

    def render(self, size, frames, seed, form):
        """The file of a clip."""
        plain = self.folder / f"{size}.{frames}.{seed}.yuv"
        path = plain.with_suffix(f".{form.chroma}.{form.luma}.{form.other}.{form.alpha}.yuv")
        if run(self.build / "camera_scene", "-o", plain, "--size", size, "--frames", frames, "--seed", seed).returncode:
            raise Fault(f"no clip of {size}")
        path.write_bytes(converted(plain.read_bytes(), size, form))
        return path

    def prepare(self, rows):
        """The clips of all rows, before any thread asks for one."""
        for row in rows:
            for each in (row, row.grey()) if row.format().alpha else (row,):
                self.source(each.size, each.frames, each.seed, each.format())

    def encode(self, row, *options, build=None):
        source = self.source(row.size, row.frames, row.seed, row.format())
        return report_or_refusal(run((build or self.build) / "h264_encode", source, *row.of_tool(), *options, "--json"))

    def try_row(self, row):
        """(result, report or None, oracle); a fault is raised."""
        with tempfile.TemporaryDirectory(dir=self.folder) as name:
            folder = pathlib.Path(name)
            stream, shown, coded = (folder / n for n in ("stream.264", "shown.yuv", "coded.yuv"))
            report, status = self.encode(row, "-o", stream, "--recon", shown, "--recon-coded", coded)
            if row.oracle == "refused" and status == row.status:
                return REFUSED, None, "refused"
            if status == NOT_IMPLEMENTED:
                return NOT_BUILT, None, ""
            if status or row.oracle == "refused":
                raise Fault(f"status {status} instead of {row.status}")
            if report["frames"] != row.frames:
                raise Fault(f"{report['frames']} pictures of {row.frames}")
            oracle = oracle_of(row, report)
            if oracle == "pinned":
                self.compare_with_kept(row, report, stream, shown.read_bytes())
                return PINNED, report, oracle
            self.compare(row, report, oracle, stream, shown.read_bytes(), coded.read_bytes())
            return EXACT, report, oracle

    def compare(self, row, report, oracle, stream, shown, coded):
        size = row.coded_bytes()
        if len(shown) != size * row.frames:
            raise Fault(f"{len(shown)} bytes of {row.frames} pictures in the reconstruction")
        if counted(shown, size) != counted(coded, size) or (report["tools"]["pictures_b"] == 0 and shown != coded):
            raise Fault("the reconstruction in coding order holds other pictures")
        pictures, output = Pictures(row, report), stream.with_name("decoded.yuv")
        shown, alpha = row.parted(shown)
        own = own_pictures(self.build / "h264_decode", stream, output)
        whole = stream.read_bytes()
        if alpha:
            stream.write_bytes(without_auxiliary(whole))
        if oracle == "ffmpeg_no_nonref_filter":
            pictures.equal(shown, pictures.ffmpeg(stream, output, skip_filter=True), "ffmpeg without the filter")
            pictures.equal(own, pictures.ffmpeg(stream, output), "ffmpeg against h264_decode")
        else:
            pictures.equal(shown, own, "h264_decode")
        if oracle == "ffmpeg":
            pictures.equal(shown, pictures.ffmpeg(stream, output), "ffmpeg")
        if alpha:
            self.compare_alpha(row, report, oracle, whole, alpha, stream.parent)

    def compare_alpha(self, row, report, oracle, whole, alpha, folder):
        """Auxiliary pictures as primary ones, each IDR period for itself."""
        grey, one, output = row.grey(), folder / "alpha.264", folder / "alpha.yuv"
        _, status = self.encode(grey, "-o", one, "--frames", 1)
        if status:
            raise Fault(f"a monochrome stream of the same settings: status {status}")
        decoded = b""
        for period in alpha_streams(whole, one.read_bytes()):
            one.write_bytes(period)
            decoded += self.alpha_pictures(grey, oracle, one, output)
        if leaves_in_another_order(row, report["settings"]):
            alpha, decoded = (in_one_order(p, grey.luma_bytes()) for p in (alpha, decoded))
        same(alpha, decoded, grey.luma_bytes(), "alpha")

    def alpha_pictures(self, grey, oracle, stream, output):
        if oracle != "own_decoder_only":
            return ffmpeg_pictures(stream, output, luma_only=True, skip_filter=oracle == "ffmpeg_no_nonref_filter",
                                   flags=FROM_ANY_PICTURE)
        pictures = own_pictures(self.build / "h264_decode", stream, output)
        count = len(pictures) // (grey.luma_bytes() * 3 // 2)  # it makes up chroma of 4:2:0
        return luma_of(pictures, grey.luma_bytes(), count)

    def compare_with_kept(self, row, report, stream, shown):
        """Of a stream that nobody decodes: what is known of it must stand, and it must go on being such a stream."""
        data = stream.read_bytes()
        found = {"bytes": len(data), "digest": hashlib.sha256(data).hexdigest()[:16]}
        found |= {name: report["settings"][name] for name in row.kept if name not in found}
        if found != row.kept:
            raise Fault(f"{found} instead of {row.kept}")
        pictures, output = Pictures(row, report), stream.with_name("decoded.yuv")
        for decoder in (lambda: pictures.ffmpeg(stream, output),
                        lambda: own_pictures(self.build / "h264_decode", stream, output)):
            try:
                pictures.equal(shown, decoder(), "")
            except Fault:
                continue
            raise Fault("a decoder gives the reconstruction after all")

    def try_both(self, other, row):
        """As try_row, but for the same stream, reconstruction and report from another build."""
        with tempfile.TemporaryDirectory(dir=self.folder) as name:
            made = []
            for build in (self.build, other):
                stream, shown = (pathlib.Path(name) / n for n in ("stream.264", "shown.yuv"))
                report, status = self.encode(row, "-o", stream, "--recon", shown, build=build)
                made.append((status, report and (report["settings"], report["tools"]),
                             *(file.exists() and file.read_bytes() for file in (stream, shown))))
                for file in (stream, shown):
                    file.unlink(missing_ok=True)
        for what, one, another in zip(("status", "report", "stream", "reconstruction"), *made):
            if one != another:
                raise Fault(f"the other build has another {what}")
        is_missing = made[0][0] == NOT_IMPLEMENTED and row.oracle != "refused"
        return NOT_BUILT if is_missing else ALIKE, None, ""

    def outcome(self, row, other=None):
        try:
            return self.try_both(other, row) if other else self.try_row(row)
        except Fault as fault:
            return f"**{fault}**", None, row.oracle


def missing_values(matrix):
    """(name, value) of what the encoder refuses alone because it is not built yet."""
    rows = values_alone()
    matrix.prepare(rows)
    return {next(iter(row.settings.items())) for row in rows if matrix.encode(row, "--no-output")[1] == NOT_IMPLEMENTED}


def chosen_rows(missing, args):
    corners, pairs, odd = list(CORNERS), paired_rows(missing), odd_depth_rows(missing)
    if args.fast:
        corners, pairs, odd = corners[::FAST_CORNERS], pairs[:FAST_PAIRS], odd[:1]
    return [row for row in corners + pairs + odd if args.part in row.name]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--fast", action="store_true")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--part", default="")
    parser.add_argument("--table", type=pathlib.Path)
    parser.add_argument("--compare", type=pathlib.Path)
    args = parser.parse_args()
    other = args.compare and args.compare.resolve()
    for build in filter(None, (args.build, other)):
        if not (build / "h264_encode").exists():
            parser.error(f"{build} holds no h264_encode")
    with tempfile.TemporaryDirectory() as name:
        matrix = Matrix(args.build.resolve(), pathlib.Path(name))
        missing = missing_values(matrix)
        rows = chosen_rows(missing, args)
        matrix.prepare(rows)
        with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
            outcomes = list(pool.map(lambda row: matrix.outcome(row, other), rows))
    if args.table:
        args.table.write_text(table(rows, outcomes, missing))
    status = summary(rows, [result for result, _, _ in outcomes], missing)
    if args.fast or args.part or args.compare:
        return status
    unused = never_used([report for _, report, _ in outcomes if report], missing)
    print(f"tools that no stream used: {', '.join(unused) or '-'}")
    return 1 if unused else status


if __name__ == "__main__":
    sys.exit(main())
