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
from encoder_clips import Format, converted  # noqa: E402
from encoder_matrix import Matrix  # noqa: E402
from encoder_oracles import Fault, alpha_streams, ffmpeg_pictures, luma_of, oracle_of, without_auxiliary  # noqa: E402
from encoder_rows import CORNERS, FIELDS, ODD_DEPTHS, UNUSUAL, Row, corner, odd_depth_rows, paired_rows  # noqa: E402
from encoder_table import (  # noqa: E402
    ALIKE, EXACT, NOT_BUILT, PINNED, REFUSED, corrections, never_used, summary, table, used)
from nal_units import split, unit_type  # noqa: E402
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
    wanted = {(name, v) for name, values in FIELDS.items() for v in values} - missing
    check(found == wanted, f"{found ^ wanted}")
    fields = [row for row in paired_rows(set()) if row.settings["coding_type"]]
    check(fields and all(int(row.size.split("x")[1]) % 4 == 0 for row in fields), "fields that cannot be cropped")
    odd = odd_depth_rows(missing)
    depths = {(row.settings["depth"], row.settings["chroma_depth"]) for row in odd}
    check(depths == set(ODD_DEPTHS["depths"]) and all(row.settings["coding_type"] == 0 for row in odd), f"{depths}")
    names = [row.name for row in CORNERS]
    check(len(names) == len(set(names)), "two corners of one name")
    check(all(row.note for row in UNUSUAL if row.kept), "a stream that nobody decodes, and nobody knows why")


def pictures_of_other_formats():
    picture = bytes([0, 1, 2, 3, 128, 255, 6, 7, 10, 20, 30, 40])  # 4x2, then 2x1 twice
    check(converted(picture * 2, "4x2", Format(400)) == bytes([0, 1, 2, 3, 128, 255, 6, 7] * 2), "luma alone")
    rows_twice = picture[:8] + bytes([10, 20, 10, 20, 30, 40, 30, 40])
    check(converted(picture, "4x2", Format(422)) == rows_twice, "chroma rows twice")
    deep = converted(picture, "4x2", Format(420, 10, 10))
    check(len(deep) == 24 and deep[8:12] == bytes([2, 2, 255, 3]), "128 is 514 of 1023, and 255 is 1023")
    unequal = converted(picture, "4x2", Format(420, 8, 9))
    check(unequal[8:12] == bytes([128, 0, 255, 0]) and unequal[16:18] == bytes([20, 0]), "9 bits beside 8")
    alpha = bytes([255, 254, 253, 252, 127, 0, 249, 248])
    check(converted(picture * 2, "4x2", Format(420, 8, 8, 8)) == (picture + alpha) * 2, "luma turned round behind each")
    check(converted(picture, "4x2", Format(400, 8, 8, 10))[16:18] == bytes([255, 3]), "an alpha plane of 10 bits")


def parts_of_a_reconstruction():
    picture, alpha = bytes(range(12)), bytes(range(100, 108))
    row = Row("", {"aux_format_idc": 1}, "4x2")
    check(row.parted((picture + alpha) * 2) == (picture * 2, alpha * 2), "an alpha plane")
    check(Row("", {}, "4x2").parted(picture * 2) == (picture * 2, b""), "none")
    wide = b"".join(bytes([v, 1]) for v in picture + alpha)
    row = Row("", {"aux_format_idc": 1, "bit_depth_aux": 10}, "4x2")
    check(row.parted(wide * 2) == (picture * 2, wide[24:] * 2), "8 bits beside an alpha plane of 10")
    row = Row("", {"aux_format_idc": 1, "depth": 12}, "4x2")
    check(row.parted(wide) == (wide[:24], alpha), "12 bits beside an alpha plane of 8")


def oracles():
    def of(b_pictures=0, oracle="", row=None, **settings):
        force = {"b_ref_mode": 0, "deblocking_filter_idc": 0, "coding_type": 0} | settings
        return oracle_of(Row("", row or {}, oracle=oracle), {"settings": force, "tools": {"pictures_b": b_pictures}})

    check(of() == of(row={"chroma": 422, "depth": 10}) == of(row={"chroma": 400}) == "ffmpeg", "formats")
    check(of(3) == of(3, b_ref_mode=1) == "ffmpeg_no_nonref_filter", "B pictures that none refers to")
    check(of(3, b_ref_mode=2) == of(3, deblocking_filter_idc=1) == "ffmpeg", "B pictures that serve, or no filter")
    check(of(coding_type=1) == "ffmpeg", "fields")
    check(of(coding_type=1, deblocking_filter_idc=2) == "own_decoder_only", "fields that ffmpeg filters otherwise")
    check(of(row={"depth": 11}) == of(row={"depth": 10, "chroma_depth": 8}) == "own_decoder_only", "odd depths")
    check(of(3, oracle="own_decoder_only") == "own_decoder_only", "a row's own")


def tools_that_are_never_used():
    reports = [{"tools": {"a": n, "b": 0, "field_pairs": 0, "references": [0]}} for n in (0, 2)]
    check(never_used(reports, {("coding_type", 2)}) == ["b"], "a tool that one stream uses, and one that none does")
    check(never_used(reports, set()) == ["b", "field_pairs"], "a tool of adaptive frames, once they are there")


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


def another_build_is_seen(tools, folder):
    """With the encoder that what_is_wrong_is_seen has left, which spoils a stream of two slices."""
    with tempfile.TemporaryDirectory() as name:
        matrix = Matrix(tools, pathlib.Path(name))
        plain, spoilt = (matrix.outcome(corner("", "64x48", 4, num_slices=n), folder)[0] for n in (1, 2))
        refused = matrix.outcome(corner("", "16x16", 2, profile_idc=99), folder)[0]
    check(plain == refused == ALIKE and spoilt == "**the other build has another stream**", f"{plain}, {spoilt}")


def alpha_planes(tools, folder):
    row = corner("", "64x48", 6, aux_format_idc=1, key_frame_interval=3, idr_interval=1, write_access_unit_delimiters=1)
    stream, shown = folder / "alpha.264", folder / "alpha.yuv"
    matrix = Matrix(tools, folder)
    report, _ = matrix.encode(row, "-o", stream, "--recon", shown)
    whole, pictures = stream.read_bytes(), shown.read_bytes()
    matrix.compare(row, report, "ffmpeg", stream, pictures, pictures)
    for data, at, what in ((pictures, -1, "the last alpha sample"), (pictures, 64 * 48 * 3 // 2, "the first")):
        spoilt = bytearray(data)
        spoilt[at] ^= 1
        stream.write_bytes(whole)
        fails_to_compare(matrix, row, report, "ffmpeg", stream, bytes(spoilt), what)
    types = [unit_type(u) for u in split(without_auxiliary(whole))]
    check(types == [9, 7, 13, 8, 5, 9, 1, 9, 1] * 2, f"{types}")
    types = [[unit_type(u) for u in split(period)] for period in alpha_streams(whole, whole)]
    check(types == [[7, 8, 1, 1, 1]] * 2, f"{types}")


def kept_streams(tools):
    lossless = {"size": "16x16", "frames": 3, "qpprime_y_zero_transform_bypass": 1, "rate_control_method": 3,
                "quant_i": 0, "quant_p": 0}
    with tempfile.TemporaryDirectory() as name:
        matrix = Matrix(tools, pathlib.Path(name))

        def outcome(kept, **settings):
            return matrix.outcome(corner("", oracle="pinned", kept=kept, **settings))[0]

        kept = next(row.kept for row in UNUSUAL if row.name == "lossless at profile 77")
        found = outcome(kept, **lossless)
        check(found.startswith("**{'bytes': ") and "instead of" in found, found)
        size, digest = found.split("'")[2].strip(": ,"), found.split("'")[5]
        known = {"bytes": int(size), "digest": digest}
        check(outcome(known | {"profile_idc": 77}, **lossless) == PINNED, "a stream that is as it was kept")
        check(outcome(known | {"profile_idc": 66}, **lossless) != PINNED, "another profile")
        plain = {"size": "16x16", "frames": 3}
        found = outcome({}, **plain)
        known = {"bytes": int(found.split("'")[2].strip(": ,")), "digest": found.split("'")[5]}
        check("after all" in outcome(known, **plain), "a stream that decoders know after all")


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
    settings = {"num_b_frames": 2, "num_ref_to_start_b": 1}
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
        fails_to_compare(matrix, row, report, oracle, stream, shown, oracle)
    gray = corner("", "64x48", 9, chroma=400)
    luma = b"".join(plain[i:i + 64 * 48] for i in range(0, len(plain), 64 * 72))
    check(ffmpeg_pictures(stream, output, luma_only=True) == luma, "extractplanes changes samples")
    run("x264", "--quiet", "--output-csp", "i400", "--qp", 30, "--input-res", row.size, "-o", stream, source)
    run(tools / "h264_decode", stream, "-o", output)
    shown = luma_of(output.read_bytes(), 64 * 48, 9)
    matrix.compare(gray, report, "ffmpeg", stream, shown, shown)
    fails_to_compare(matrix, gray, report, "ffmpeg", stream, bytes([shown[0] ^ 1]) + shown[1:], "luma alone")


def fails_to_compare(matrix, row, report, oracle, stream, shown, what):
    try:
        matrix.compare(row, report, oracle, stream, shown, shown)
    except Fault:
        return
    check(False, f"{what}: other pictures are taken for the reconstruction")


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
    asked = corner("an I picture", "16x16", 4, types="1:I,3:P", note="and a word on it")
    line = table([asked], [(EXACT, None, "ffmpeg")], set()).splitlines()[-1]
    check(line.startswith("| an I picture: and a word on it | 4 of 16x16 | types=1:I 3:P | - |"), line)


def main():
    tools = pathlib.Path(sys.argv[1])
    every_pair_is_there()
    rows_leave_out_what_is_missing()
    pictures_of_other_formats()
    parts_of_a_reconstruction()
    oracles()
    tools_that_are_never_used()
    refusals(tools)
    kept_streams(tools)
    the_table(tools)
    with tempfile.TemporaryDirectory() as name:
        what_is_wrong_is_seen(tools, pathlib.Path(name))
        another_build_is_seen(tools, pathlib.Path(name))
        alpha_planes(tools, pathlib.Path(name))
        oracles_of_other_streams(tools, pathlib.Path(name))


if __name__ == "__main__":
    exit_with(main)
