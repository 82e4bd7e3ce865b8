#!/usr/bin/env python3
"""The matrix of the encoder's settings sees what is wrong, and its rows of pairs hold every pair.

Usage: encoder_matrix_test.py TOOLS
"""
import itertools
import pathlib
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests" / "support"), str(ROOT / "scripts")]
from all_pairs import all_pairs, pairs_of  # noqa: E402
from encoder_matrix import (  # noqa: E402
    EXACT, NOT_BUILT, REFUSED, Fault, Matrix, converted, corrections, ffmpeg_pictures, luma_of, oracle_of, summary,
    table, used)
from encoder_rows import CORNERS, FIELDS, Row, corner, paired_rows  # noqa: E402
from oracle import check, exit_with, run  # noqa: E402

# An encoder that does what the real one does, and then spoils a file that it wrote, or says something else.
SPOILER = """#!{python}
import pathlib, subprocess, sys
done = subprocess.run([{encode!r}, *sys.argv[1:]], capture_output=True)
if "{option}" in sys.argv and "num_slices=2" in sys.argv:
    path = pathlib.Path(sys.argv[sys.argv.index("{option}") + 1])
    data = bytearray(path.read_bytes())
    {spoil}
    path.write_bytes(data)
sys.stdout.buffer.write(done.stdout)
sys.stderr.buffer.write(done.stderr)
sys.exit(done.returncode)
"""


def every_pair_is_there():
    fields = {"a": [1, 2, 3], "b": [True, False], "c": ["x", "y", "z", "w"], "d": [0], "e": [1, 2]}
    rows = all_pairs(fields)
    covered = set().union(*(pairs_of(row) for row in rows))
    for (a, b) in itertools.combinations(fields, 2):
        for pair in itertools.product(((a, v) for v in fields[a]), ((b, v) for v in fields[b])):
            check(pair in covered, f"{pair} is in no row")
    check(len(rows) <= 16, f"{len(rows)} rows, where 12 are the least")
    check(rows == all_pairs(fields), "the rows differ from run to run")
    check(all(list(row) == list(fields) for row in rows), "a field is missing, or out of its order")


def rows_leave_out_what_is_missing():
    missing = {("coding_type", 1), ("coding_type", 2), ("chroma", 400), ("search_method", 8)}
    rows = paired_rows(missing)
    found = {item for row in rows for item in row.settings.items()}
    check(not found & missing, f"{found & missing} is in a row")
    wanted = {(name, v) for name, values in FIELDS.items() for v in values if name != "aux_format_idc"} - missing
    check(found == wanted, f"{found ^ wanted}")
    fields = [row for row in paired_rows(set()) if row.settings["coding_type"]]
    check(fields and all(int(row.size.split("x")[1]) % 4 == 0 for row in fields), "fields that cannot be cropped")
    names = [row.name for row in CORNERS]
    check(len(names) == len(set(names)), "two corners of one name")


def pictures_of_other_formats():
    picture = bytes([0, 1, 2, 3, 128, 255, 6, 7, 10, 20, 30, 40])  # 4x2, then 2x1 twice
    check(converted(picture * 2, "4x2", 400, 8) == bytes([0, 1, 2, 3, 128, 255, 6, 7] * 2), "luma alone")
    rows_twice = picture[:8] + bytes([10, 20, 10, 20, 30, 40, 30, 40])
    check(converted(picture, "4x2", 422, 8) == rows_twice, "chroma rows twice")
    deep = converted(picture, "4x2", 420, 10)
    check(len(deep) == 24 and deep[8:12] == bytes([2, 2, 255, 3]), "128 is 514 of 1023, and 255 is 1023")


def oracles():
    def of(b_pictures=0, oracle="", **settings):
        force = {"chroma_format_idc": 1, "b_ref_mode": 0, "deblocking_filter_idc": 0, "coding_type": 0} | settings
        return oracle_of(Row("", {}, oracle=oracle), {"settings": force, "tools": {"pictures_b": b_pictures}})

    check(of() == of(chroma_format_idc=2) == "ffmpeg" and of(chroma_format_idc=0) == "luma_only", "formats")
    check(of(3) == of(3, b_ref_mode=1) == "ffmpeg_no_nonref_filter", "B pictures that none refers to")
    check(of(3, b_ref_mode=2) == of(3, deblocking_filter_idc=1) == "ffmpeg", "B pictures that serve, or no filter")
    check(of(3, chroma_format_idc=0) == "luma_no_nonref_filter", "such pictures without chroma")
    check(of(coding_type=1) == "ffmpeg", "fields")
    check(of(coding_type=1, deblocking_filter_idc=2) == "own_decoder_only", "fields that ffmpeg filters otherwise")
    check(of(3, oracle="own_decoder_only") == "own_decoder_only", "a row's own")


def what_is_wrong_is_seen(tools, folder):
    row = corner("two slices", "64x48", 4, num_slices=2)
    plain = corner("plain", "64x48", 4)
    for tool in ("h264_decode", "camera_scene"):
        (folder / tool).symlink_to((tools / tool).resolve())
    spoilt = {
        "--recon": "data[100] ^= 1", "--recon-coded": "data[-1] ^= 1", "-o": "data[-40] ^= 255",
    }
    for option, spoil in spoilt.items():
        encode = folder / "h264_encode"
        real = str((tools / "h264_encode").resolve())
        encode.write_text(SPOILER.format(python=sys.executable, encode=real, option=option, spoil=spoil))
        encode.chmod(0o755)
        with tempfile.TemporaryDirectory() as name:
            matrix = Matrix(folder, pathlib.Path(name))
            outcomes = [matrix.outcome(plain), matrix.outcome(row)]
        check(outcomes[0][0] == EXACT, f"{option}: {outcomes[0]}")
        check(outcomes[1][0].startswith("**") and summary([plain, row], [o[0] for o in outcomes], set()) == 1,
              f"a file of {option} that is wrong is not seen: {outcomes[1]}")


def refusals(tools):
    unknown = {"size": "16x16", "frames": 2, "profile_idc": 99}
    with tempfile.TemporaryDirectory() as name:
        matrix = Matrix(tools, pathlib.Path(name))
        expected = matrix.outcome(corner("as expected", oracle="refused", status=-882, **unknown))
        check(expected[0] == REFUSED, f"{expected}")
        for wrong in (corner("another status", oracle="refused", status=-883, **unknown),
                      corner("unexpected", **unknown), corner("no value", "16x16", 2, num_slices="x"),
                      corner("taken after all", "16x16", 2, "refused", -882)):
            outcome = matrix.outcome(wrong)
            check(outcome[0].startswith("**"), f"{wrong.name}: {outcome}")
        missing = matrix.outcome(corner("not there", "16x16", 2, chroma_format_idc=3, profile_idc=100))
        check(missing[0] == NOT_BUILT, f"{missing}")
    rows = [corner(name, "16x16", 2) for name in "ab"]
    check(summary(rows, [EXACT, NOT_BUILT], {("x", 1)}) == 0 and summary([], [], set()) == 1, "the exit status")


def oracles_of_other_streams(tools, folder):
    """Streams of another encoder: pictures that none refers to without the filter, and luma alone."""
    settings = {"num_b_frames": 2, "num_ref_to_start_b": 1, "chroma_format_idc": 1}
    row, report = corner("", "64x48", 9), {"tools": {"pictures_b": 6}, "settings": settings}
    source, stream, output = (folder / n for n in ("s.yuv", "s.264", "o.yuv"))
    run(tools / "camera_scene", "-o", source, "--size", row.size, "--frames", row.frames)
    run("x264", "--quiet", "--bframes", 2, "--b-adapt", 0, "--b-pyramid", "none", "--qp", 40, "--input-res", row.size,
        "-o", stream, source)
    matrix = Matrix(tools, folder)
    plain, unfiltered = ffmpeg_pictures(stream, output), ffmpeg_pictures(stream, output, skip_filter=True)
    check(plain != unfiltered, "the filter does nothing")
    matrix.compare(row, report, "ffmpeg_no_nonref_filter", stream, unfiltered, unfiltered)
    matrix.compare(row, report, "ffmpeg", stream, plain, plain)
    matrix.compare(row, report, "own_decoder_only", stream, plain, plain)
    for oracle, shown in (("ffmpeg_no_nonref_filter", plain), ("ffmpeg", unfiltered), ("own_decoder_only", unfiltered)):
        fails_to_compare(matrix, row, report, oracle, stream, shown)
    gray = corner("", "64x48", 9, chroma=400)
    luma = b"".join(plain[i:i + 64 * 48] for i in range(0, len(plain), 64 * 72))
    check(ffmpeg_pictures(stream, output, luma_only=True) == luma, "extractplanes changes samples")
    run("x264", "--quiet", "--output-csp", "i400", "--qp", 30, "--input-res", row.size, "-o", stream, source)
    run(tools / "h264_decode", stream, "-o", output)
    shown = luma_of(output.read_bytes(), 64 * 48, 9)
    matrix.compare(gray, report, "luma_only", stream, shown, shown)
    fails_to_compare(matrix, gray, report, "luma_only", stream, bytes([shown[0] ^ 1]) + shown[1:])


def fails_to_compare(matrix, row, report, oracle, stream, shown):
    try:
        matrix.compare(row, report, oracle, stream, shown, shown)
    except Fault:
        return
    check(False, f"{oracle} takes other pictures for the reconstruction")


def the_table(tools):
    row = corner("slices", "64x48", 4, num_slices=9, search_method=3)
    with tempfile.TemporaryDirectory() as name:
        outcome = Matrix(tools, pathlib.Path(name)).outcome(row)
    check(outcome[0] == EXACT and outcome[2] == "ffmpeg", f"{outcome}")
    check(corrections(row, outcome[1]) == {"num_slices": 3, "level_idc": 10}, f"{corrections(row, outcome[1])}")
    check("slices 12" in used(outcome[1]) and used(outcome[1]).endswith("references 0"), used(outcome[1]))
    line = table([row], [outcome], {("depth", 10)}).splitlines()[-1]
    start = "| slices | 4 of 64x48 | num_slices=9, search_method=3 | level_idc=10, num_slices=3 | "
    check(line.startswith(start) and line.endswith(" | ffmpeg | exact |"), line)


def main():
    tools = pathlib.Path(sys.argv[1])
    every_pair_is_there()
    rows_leave_out_what_is_missing()
    pictures_of_other_formats()
    oracles()
    refusals(tools)
    the_table(tools)
    with tempfile.TemporaryDirectory() as name:
        what_is_wrong_is_seen(tools, pathlib.Path(name))
        oracles_of_other_streams(tools, pathlib.Path(name))


if __name__ == "__main__":
    exit_with(main)
