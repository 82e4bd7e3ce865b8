#!/usr/bin/env python3
"""Makes the corpora of the fuzz targets from the streams of written_streams and from small ones that x264 encodes, and
the encoder's by dice.

usage: make_corpus.py STREAMS_FOLDER CORPUS_FOLDER     (a folder for each target is made in the latter)
"""
import os
import random
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, "support"))
sys.path.insert(0, os.path.join(ROOT, "decoder"))
from nal_units import annex_b, split, unescaped  # noqa: E402
from oracle import run  # noqa: E402

SOURCE_SIZE, FRAMES = (32, 32), 4
SETTINGS = 300
ENCODED = {
    "baseline": "--profile baseline --ref 2",
    "cavlc_b": "--profile main --no-cabac --bframes 1 --b-adapt 0 --direct temporal",
    "cabac_b": "--profile high --bframes 1 --b-adapt 0 --cqm jvt --slices 2",
    "mbaff_cavlc": "--tff --no-cabac --bframes 1 --b-adapt 0",
    "mbaff_cabac": "--bff --bframes 1 --b-adapt 0 --direct temporal --qp 20",
    "deep": "--profile high10 --output-depth 10 --bframes 1 --b-adapt 0",
    "deep_422": "--profile high422 --output-depth 10 --output-csp i422 --no-cabac",
    "mbaff_422": "--profile high422 --output-csp i422 --tff --bframes 0",
    "monochrome": "--profile high --output-csp i400",
}
MP4, WHOLE, PIECES = b"\x01", b"\x00", b"\x02"  # first byte of an input: how it is cut
SETS = {6, 7, 8, 13}
# What slice_header_fuzz takes for the parameter sets: frames, then field sequences, with everything that adds to a header.
SHORT_SETS = [bytes.fromhex(text) for text in ("2a400840080000ff", "0a40087f5d0c4021", "02440fe9fd18017e", "92408841091b0300")]


def write(folder, name, data):
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as file:
        file.write(data)


def encoded_streams(work):
    source = os.path.join(work, "source.yuv")
    width, height = SOURCE_SIZE
    with open(source, "wb") as file:
        for t in range(FRAMES):
            file.write(bytes((7 * x + 3 * y * (x // 8) + 31 * t) & 255 for y in range(height) for x in range(width)))
            file.write(bytes((64 + 9 * x + 5 * y + t) & 255 for y in range(height) for x in range(width // 2)))
    for name, options in ENCODED.items():
        stream = os.path.join(work, name + ".encoded")
        run("x264", "--quiet", "--threads", "1", "--input-res", f"{width}x{height}", "--fps", "25", "--qp", "34", *options.split(),
            "-o", stream, source)
        with open(stream, "rb") as file:  # the encoder's description of itself is most of such a stream
            yield name, [unit for unit in split(file.read()) if unit[0] & 31 != 6]


def samples(units, length_size):
    """The stream as an MP4 file has it: the configuration record, then a sample for each slice, each behind its length."""
    seq = [unit for unit in units if unit[0] & 31 == 7][:31]
    pic = [unit for unit in units if unit[0] & 31 == 8]
    if not seq:
        return b""
    record = b"\x01" + seq[0][1:4] + bytes([0xFC | length_size - 1, 0xE0 | len(seq)])
    record += b"".join(len(unit).to_bytes(2, "big") + unit for unit in seq) + bytes([len(pic)])
    record += b"".join(len(unit).to_bytes(2, "big") + unit for unit in pic)
    pieces = [record] + [len(unit).to_bytes(length_size, "big") + unit for unit in units
                         if unit[0] & 31 not in (7, 8) and len(unit) < 256 ** length_size]
    return b"".join(len(piece).to_bytes(2, "big") + piece for piece in pieces)


def settings():
    """Choices of encoder_fuzz: half of the bytes leave a field as it is, hardly one makes it anything at all."""
    dice = random.Random(12)
    for _ in range(SETTINGS):
        yield bytes(dice.choice((0, dice.randrange(240), dice.randrange(240), dice.randrange(256))) for _ in range(120))


def main():
    streams, corpus = sys.argv[1:3]
    units_of = {}
    for name in sorted(os.listdir(streams)):
        if name.endswith(".264"):
            with open(os.path.join(streams, name), "rb") as file:
                units_of[name[:-4]] = split(file.read())
    units_of.update(encoded_streams(streams))
    for number, (name, units) in enumerate(units_of.items()):
        stream = annex_b(units)
        for target in ("decoder_fuzz", "splitter_fuzz"):
            folder = os.path.join(corpus, target)
            write(folder, name, (PIECES if number % 2 else WHOLE) + stream)
            if number % 4 == 0:
                write(folder, name + "_mp4", MP4 + samples(units, (1, 2, 4)[number // 4 % 3]))
        write(os.path.join(corpus, "parameter_sets_fuzz"), name,
              bytes([number & 255]) + annex_b([unit for unit in units if unit[0] & 31 in SETS]))
        slices = [unit for unit in units if unit[0] & 31 in (1, 5)]
        for i, unit in enumerate(slices[:3]):
            write(os.path.join(corpus, "slice_header_fuzz"), f"{name}_{i}", SHORT_SETS[(number + i) % 4] + unescaped(unit)[:40])
    for number, choices in enumerate(settings()):
        write(os.path.join(corpus, "encoder_fuzz"), str(number), choices)
    print(f"{len(units_of)} streams")


if __name__ == "__main__":
    main()
