#!/usr/bin/env python3
"""A matrix of the encoder's settings: every stream decodes, without a message, to the encoder's own reconstruction.

Usage: encoder_matrix.py BUILD [--fast] [--jobs N] [--part NAME_PART] [--table FILE]

BUILD holds h264_encode, h264_decode and camera_scene. The rows (encoder_rows.py) are corners chosen by hand and,
behind them, rows in which every two values of different settings meet. Values that the encoder does not have yet are
found by asking for each alone: they are listed, and no row of pairs is made of them. A row that it refuses all the same
counts as not built yet. Ends with 1 when any row is wrong.

--fast runs a fixed part of the rows, under a minute on two cores. --table writes the rows as Markdown.
"""
import argparse
import array
import collections
import concurrent.futures
import functools
import json
import pathlib
import re
import subprocess
import sys
import tempfile

from encoder_rows import CORNERS, DEFAULTS, FAST_CORNERS, FAST_PAIRS, paired_rows, values_alone

NOT_IMPLEMENTED = -878
EXACT, NOT_BUILT, REFUSED = "exact", "not built yet", "refused as it should be"

# What a row's reconstruction is compared with, beside h264_decode.
ORACLES = {
    "ffmpeg": "ffmpeg gives the reconstruction",
    "ffmpeg_no_nonref_filter": "pictures that none refers to stay unfiltered in the encoder: ffmpeg gives the "
                               "reconstruction when it leaves the filter out of them, and what h264_decode gives "
                               "when it does not",
    "luma_only": "as ffmpeg, but for the chroma that it makes up",
    "own_decoder_only": "h264_decode alone gives the reconstruction",
    "refused": "the encoder refuses the settings with the status expected",
}


class Fault(Exception):
    """A row that is not as it should be; the text says why."""


def run(*command):
    return subprocess.run([str(c) for c in command], capture_output=True, check=False)


def report_or_refusal(done):
    """The report of h264_encode and 0, or None and the status with which the encoder refuses the settings."""
    if done.returncode == 0:
        return json.loads(done.stdout), 0
    text = done.stderr.decode(errors="replace").strip()
    refusal = re.search(r"refuses these settings: status (-\d+)$", text)
    if not refusal or done.returncode < 0:
        raise Fault(f"exit status {done.returncode}: {text[:200]}")
    return None, int(refusal.group(1))


def oracle_of(row, report):
    """The row's own, or what the settings in force ask for."""
    settings = report["settings"]
    if row.oracle:
        return row.oracle
    if settings["coding_type"] == 1 and settings["deblocking_filter_idc"] == 2:
        # ffmpeg filters fields otherwise with the edges between slices left out, even where there is one slice
        return "own_decoder_only"
    has_disposable = report["tools"]["pictures_b"] and settings["b_ref_mode"] != 2
    is_unfiltered = has_disposable and settings["deblocking_filter_idc"] != 1
    if settings["chroma_format_idc"] == 0:
        return "luma_no_nonref_filter" if is_unfiltered else "luma_only"
    return "ffmpeg_no_nonref_filter" if is_unfiltered else "ffmpeg"


def converted(i420, size, chroma, depth):
    """Pictures of another format made of I420: chroma rows twice or not at all, and low bits that are no noise."""
    width, height = (int(n) for n in size.split("x"))
    luma, half = width * height, (width // 2) * (height // 2)
    planes = bytearray()
    for start in range(0, len(i420), luma + 2 * half):
        planes += i420[start:start + luma]
        for plane in range(2 if chroma != 400 else 0):
            first = start + luma + plane * half
            for row in range(first, first + half, width // 2):
                planes += i420[row:row + width // 2] * (2 if chroma == 422 else 1)
    if depth == 8:
        return bytes(planes)
    deep = array.array("H", (v << (depth - 8) | v >> (16 - depth) for v in planes))
    if sys.byteorder == "big":
        deep.byteswap()
    return deep.tobytes()


def with_alpha(pictures, picture, luma):
    """Each picture with an alpha plane behind it: its luma turned round."""
    whole = (pictures[i:i + picture] for i in range(0, len(pictures), picture))
    return b"".join(p + bytes(255 - v for v in p[:luma]) for p in whole)


def without_alpha(pictures, picture, luma):
    return b"".join(pictures[i:i + picture] for i in range(0, len(pictures), picture + luma))


def ffmpeg_pictures(stream, output, luma_only=False, skip_filter=False, flags="unaligned"):
    """What ffmpeg decodes, in the stream's own format; any message is a fault."""
    # cpuflags: its vector code for weights of deep samples gives other pictures than its plain code.
    # setts: field pictures would share a time stamp.
    skipped = ["-skip_loop_filter", "noref"] if skip_filter else []
    filters = ["-vf", "extractplanes=y"] if luma_only else []
    # strict: it waits for as many pictures as the level allows before it shows one, and so never in the wrong order
    done = run("ffmpeg", "-nostdin", "-y", "-v", "error", "-strict", "strict", "-flags", flags, "-threads", 1,
               "-cpuflags", 0, *skipped, "-f", "h264", "-i", stream, *filters, "-fps_mode", "passthrough",
               "-bsf:v", "setts=ts=N", "-f", "rawvideo", output)
    if done.returncode or done.stderr:
        raise Fault(f"ffmpeg complains: {done.stderr.decode(errors='replace').strip()[:200]}")
    return output.read_bytes()


def luma_of(pictures, luma, count):
    """The first luma bytes of each of so many pictures, which may have more planes."""
    picture = max(len(pictures) // count, luma)
    return b"".join(pictures[i:i + luma] for i in range(0, len(pictures), picture))


def same(expected, actual, picture, what):
    if expected != actual:
        first = next((i for i, (a, b) in enumerate(zip(expected, actual)) if a != b), min(len(expected), len(actual)))
        raise Fault(f"{what}: {len(actual) / picture:g} pictures of {len(expected) / picture:g}, "
                    f"the first difference in picture {first // picture} at byte {first % picture}")


def leaves_out_of_order(settings):
    """B pictures that wait for two anchors may be overtaken by the next IDR picture, and are then shown behind it."""
    return settings["num_b_frames"] > 0 and settings["num_ref_to_start_b"] > 1


def in_one_order(pictures, picture):
    return b"".join(sorted(pictures[i:i + picture] for i in range(0, len(pictures), picture)))


class Matrix:
    """The tools of one build, and a folder for what they make."""

    def __init__(self, build, folder):
        self.build, self.folder = build, folder
        self.source = functools.lru_cache(None)(self.render)

    def render(self, size, frames, seed, chroma, depth):
        """The file of a clip."""
        path = self.folder / f"{size}.{frames}.{seed}.yuv"
        if run(self.build / "camera_scene", "-o", path, "--size", size, "--frames", frames, "--seed", seed).returncode:
            raise Fault(f"no clip of {size}")
        if (chroma, depth) == (420, 8):
            return path
        other = path.with_suffix(f".{chroma}.{depth}.yuv")
        other.write_bytes(converted(path.read_bytes(), size, chroma, depth))
        return other

    def prepare(self, rows):
        """The clips of all rows, before any thread asks for one."""
        for row in rows:
            self.source(row.size, row.frames, row.seed, *row.format())

    def encode(self, row, *outputs):
        source = self.source(row.size, row.frames, row.seed, *row.format())
        if row.settings.get("aux_format_idc"):
            plain, source = source, source.with_suffix(".alpha.yuv")
            source.write_bytes(with_alpha(plain.read_bytes(), row.picture_bytes(), row.luma_bytes()))
        return report_or_refusal(run(self.build / "h264_encode", source, *row.of_tool(), *outputs, "--json"))

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
            self.compare(row, report, oracle, stream, shown.read_bytes(), coded.read_bytes())
            return EXACT, report, oracle

    def compare(self, row, report, oracle, stream, shown, coded):
        picture = row.picture_bytes()
        if row.settings.get("aux_format_idc"):
            shown, coded = (without_alpha(p, picture, row.luma_bytes()) for p in (shown, coded))
        if len(shown) != picture * row.frames:
            raise Fault(f"{len(shown)} bytes of {row.frames} pictures in the reconstruction")
        pictures = [collections.Counter(p[i:i + picture] for i in range(0, len(p), picture)) for p in (shown, coded)]
        if pictures[0] != pictures[1] or (report["tools"]["pictures_b"] == 0 and shown != coded):
            raise Fault("the reconstruction in coding order holds other pictures")
        output = stream.with_name("decoded.yuv")
        done = run(self.build / "h264_decode", stream, "-o", output)
        if done.returncode:
            raise Fault(f"h264_decode: {done.stderr.decode(errors='replace').strip()[:200]}")
        own = output.read_bytes()
        ordered = in_one_order if leaves_out_of_order(report["settings"]) else lambda pictures, _: pictures

        def equal(expected, actual, what, size=picture):
            same(ordered(expected, size), ordered(actual, size), size, what)

        if oracle == "ffmpeg_no_nonref_filter":
            equal(shown, ffmpeg_pictures(stream, output, skip_filter=True), "ffmpeg without the filter")
            equal(own, ffmpeg_pictures(stream, output), "ffmpeg against h264_decode")
            return
        if oracle == "luma_no_nonref_filter":
            luma = row.luma_bytes()
            decoded = ffmpeg_pictures(stream, output, luma_only=True, skip_filter=True)
            equal(luma_of(shown, luma, row.frames), decoded, "ffmpeg without the filter, luma", luma)
            decoded = ffmpeg_pictures(stream, output, luma_only=True)
            equal(luma_of(own, luma, row.frames), decoded, "ffmpeg against h264_decode, luma", luma)
            return
        if oracle == "luma_only":  # both decoders make up chroma of a picture that has none
            luma = row.luma_bytes()
            shown = luma_of(shown, luma, row.frames)
            equal(shown, luma_of(own, luma, row.frames), "h264_decode, luma", luma)
            equal(shown, ffmpeg_pictures(stream, output, luma_only=True), "ffmpeg, luma", luma)
            return
        if oracle == "own_decoder_only" and report["settings"]["chroma_format_idc"] == 0:
            luma = row.luma_bytes()
            return equal(luma_of(shown, luma, row.frames), luma_of(own, luma, row.frames), "h264_decode, luma", luma)
        equal(shown, own, "h264_decode")
        if oracle == "ffmpeg":
            equal(shown, ffmpeg_pictures(stream, output), "ffmpeg")

    def outcome(self, row):
        try:
            return self.try_row(row)
        except Fault as fault:
            return f"**{fault}**", None, row.oracle


def corrections(row, report):
    """What the record in force has made of the settings that were given: those that differ from them."""
    given = DEFAULTS | row.settings
    found = report["settings"]
    return {name: found[name] for name in given if name in found and found[name] != given[name]}


def used(report):
    """The tools that the stream has really used, with their numbers."""
    tools = dict(report["tools"])
    references = " ".join(str(i) for i, n in enumerate(tools.pop("references")) if n)
    counts = [f"{name} {n}" for name, n in tools.items() if n]
    return ", ".join(counts + [f"references {references}"] * bool(references))


def settings_text(pairs):
    return ", ".join(f"{name}={value}" for name, value in pairs) or "-"


TABLE_HEAD = """# Settings that the encoder was tried with

What `scripts/encoder_matrix.py BUILD --table FILE` writes. `exact` means that all pictures of the oracle are the
encoder's own reconstruction bit for bit, with not a word from ffmpeg; h264_decode gives them too.
"""


def table(rows, outcomes, missing):
    lines = [TABLE_HEAD, *(f"- `{name}`: {text}" for name, text in ORACLES.items()), "",
             f"Settings that the encoder does not have yet: {settings_text(sorted(missing))}.", "",
             "| row | pictures | settings that are no defaults | made of them | tools used | oracle | result |",
             "| --- | --- | --- | --- | --- | --- | --- |"]
    for row, (result, report, oracle) in zip(rows, outcomes):
        made, tools = (settings_text(corrections(row, report).items()), used(report)) if report else ("-", "-")
        given = settings_text(row.changed().items())
        cells = (row.name, f"{row.frames} of {row.size}", given, made, tools, oracle or "-", result)
        lines.append(f"| {' | '.join(cells)} |")
    return "\n".join(lines) + "\n"


def missing_values(matrix):
    """(name, value) of what the encoder refuses alone because it is not built yet."""
    rows = values_alone()
    matrix.prepare(rows)
    return {next(iter(row.settings.items())) for row in rows if matrix.encode(row, "--no-output")[1] == NOT_IMPLEMENTED}


def chosen_rows(missing, args):
    corners, pairs = list(CORNERS), paired_rows(missing)
    if args.fast:
        corners, pairs = corners[::FAST_CORNERS], pairs[:FAST_PAIRS]
    return [row for row in corners + pairs if args.part in row.name]


def summary(rows, results, missing):
    """Prints what is wrong and what is not there, and gives the exit status."""
    counts = collections.Counter(result if result in (EXACT, NOT_BUILT, REFUSED) else "wrong" for result in results)
    for row, result in zip(rows, results):
        if result.startswith("**"):
            given = settings_text(row.changed().items())
            print(f"{row.name}: {given}, {row.frames} of {row.size}: {result.strip('*')}")
    print(f"not built yet: {settings_text(sorted(missing))}")
    not_built = [row.name for row, result in zip(rows, results) if result == NOT_BUILT]
    print(f"rows that ask for it: {'; '.join(not_built) or '-'}")
    print(f"{len(rows)} rows: " + ", ".join(f"{n} {what}" for what, n in counts.items()))
    return 1 if counts["wrong"] or not rows else 0


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--fast", action="store_true")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--part", default="")
    parser.add_argument("--table", type=pathlib.Path)
    args = parser.parse_args()
    with tempfile.TemporaryDirectory() as name:
        matrix = Matrix(args.build.resolve(), pathlib.Path(name))
        missing = missing_values(matrix)
        rows = chosen_rows(missing, args)
        matrix.prepare(rows)
        with concurrent.futures.ThreadPoolExecutor(args.jobs) as pool:
            outcomes = list(pool.map(matrix.outcome, rows))
    if args.table:
        args.table.write_text(table(rows, outcomes, missing))
    return summary(rows, [result for result, _, _ in outcomes], missing)


if __name__ == "__main__":
    sys.exit(main())
