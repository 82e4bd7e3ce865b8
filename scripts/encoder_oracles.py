"""Other decoders' pictures of a stream, and what is compared with them."""
import pathlib
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests" / "support"))
from nal_units import annex_b, first_mb, split, unit_type  # noqa: E402

# What a row's reconstruction is compared with.
ORACLES = {
    "ffmpeg": "h264_decode and ffmpeg give the reconstruction",
    "ffmpeg_no_nonref_filter": "pictures that none refers to stay unfiltered in the encoder: ffmpeg gives the "
                               "reconstruction when it leaves the filter out of them, and what h264_decode gives "
                               "when it does not",
    "own_decoder_only": "h264_decode alone gives the reconstruction, as ffmpeg does not know such streams",
    "pinned": "no decoder can give the reconstruction: the stream's size and digest, and what the encoder makes of the "
              "settings, are those that were kept",
    "refused": "the encoder refuses the settings with the status expected",
}
PRIMARY, IDR, SEQUENCE, PICTURE, AUXILIARY = 1, 5, 7, 8, 19  # types of units
FROM_ANY_PICTURE = "unaligned+output_corrupt"  # ffmpeg: show pictures that no IDR picture comes before


class Fault(Exception):
    """A row that is not as it should be; the text says why."""


def run(*command):
    return subprocess.run([str(c) for c in command], capture_output=True, check=False)


def oracle_of(row, report):
    """The row's own, or what the settings in force ask for."""
    settings, form = report["settings"], row.format()
    if row.oracle:
        return row.oracle
    if form.luma == 11 or (form.chroma != 400 and form.other != form.luma):
        return "own_decoder_only"
    if settings["coding_type"] == 1 and settings["deblocking_filter_idc"] == 2:
        # ffmpeg filters fields otherwise with the edges between slices left out, even where there is one slice
        return "own_decoder_only"
    has_disposable = report["tools"]["pictures_b"] and settings["b_ref_mode"] != 2
    return "ffmpeg_no_nonref_filter" if has_disposable and settings["deblocking_filter_idc"] != 1 else "ffmpeg"


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


def own_pictures(h264_decode, stream, output):
    done = run(h264_decode, stream, "-o", output)
    if done.returncode:
        raise Fault(f"h264_decode: {done.stderr.decode(errors='replace').strip()[:200]}")
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


def without_auxiliary(stream):
    """The stream without its auxiliary pictures. The encoder puts a delimiter in front of each, and parameter sets at
    key pictures, which make access units without a primary picture of them: ffmpeg complains of one at the end."""
    kept, ahead = [], []
    for unit in split(stream):
        if unit_type(unit) in (PRIMARY, IDR):
            kept += [*ahead, unit]
            ahead = []
        elif unit_type(unit) == AUXILIARY:
            ahead = []
        else:
            ahead.append(unit)
    return annex_b(kept)


def alpha_streams(stream, grey):
    """The auxiliary pictures of a stream as streams of their own, one for each IDR period.

    Decoders leave units of type 19 out. But for that type their slices are those of monochrome pictures that are no IDR
    pictures: they get the sequence parameter set of a monochrome stream of the same settings, and the type 1.
    """
    sequence = next(u for u in split(grey) if unit_type(u) == SEQUENCE)
    periods, picture_set = [], b""
    for unit in split(stream):
        if unit_type(unit) == PICTURE:
            picture_set = unit
        elif unit_type(unit) == IDR and first_mb(unit) == 0:
            periods.append([sequence, picture_set])
        elif unit_type(unit) == AUXILIARY:
            periods[-1].append(bytes([unit[0] & 0xE0 | PRIMARY]) + unit[1:])
    return [annex_b(units) for units in periods]
