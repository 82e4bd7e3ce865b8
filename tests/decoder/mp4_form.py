#!/usr/bin/env python3
"""MP4 files of length fields of 1 to 4 bytes through h264_decode --mp4: the pictures are those of the byte stream, and ffmpeg's.

usage: mp4_form.py H264_DECODE
"""
import os
import pathlib
import struct
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "support"))
from oracle import check, digest_difference, exit_with, fails, ffmpeg_digests, our_digests, run  # noqa: E402
import stream_matrix  # noqa: E402

EVERY_PICTURE = ("-f", "mp4", "-ignore_editlist", "1")  # a list made without timestamps leaves some out
CONTAINERS = (b"moov", b"trak", b"mdia", b"minf", b"stbl")
# Units of less than 256 bytes; the last one has B pictures and slices, and the others are in display order.
CASES = [
    ("cavlc_slices", "--profile baseline --slice-max-size 200", (64, 48), False),
    ("cabac_slices_b", "--profile high --bframes 2 --b-adapt 0 --slice-max-size 200", (176, 144), True),
]


def boxes(data, begin, end):
    """Type, begin and end of every box and of those within, headers included."""
    while begin < end:
        size, kind = struct.unpack_from(">I4s", data, begin)
        check(8 <= size <= end - begin, "a box that ffmpeg wrote")
        yield kind, begin, begin + size
        if kind in CONTAINERS:
            yield from boxes(data, begin + 8, begin + size)
        begin += size


def shorter_units(sample, size):
    """A sample with length fields of a smaller size. What it cannot tell the length of must be no slice."""
    result, at = bytearray(), 0
    while at < len(sample):
        length = struct.unpack_from(">I", sample, at)[0]
        unit = sample[at + 4:at + 4 + length]
        at += 4 + length
        if length >> 8 * size:
            check(unit[0] & 31 == 6, f"a unit of {length} bytes and type {unit[0] & 31}")
            continue
        result += length.to_bytes(size, "big") + unit
    return bytes(result)


def with_length_size(mp4, size):
    """The same file with length fields of another size, its one track's tables told of it."""
    at = {kind: (begin, end) for kind, begin, end in boxes(mp4, 0, len(mp4))}
    result = bytearray(mp4)
    record = mp4.index(b"avcC", at[b"stsd"][0]) + 4
    check(mp4[record + 4] & 3 == 3, "ffmpeg writes length fields of 4 bytes")
    result[record + 4] = mp4[record + 4] & ~3 | size - 1
    sizes, chunks, runs = (at[kind][0] + 8 for kind in (b"stsz", b"stco", b"stsc"))
    check(struct.unpack_from(">I", mp4, sizes + 4)[0] == 0, "a size for each sample")
    counts = [struct.unpack_from(">III", mp4, runs + 8 + 12 * i)[:2] for i in range(struct.unpack_from(">I", mp4, runs + 4)[0])]
    place, sample = at[b"mdat"][0] + 8, 0
    for chunk in range(struct.unpack_from(">I", mp4, chunks + 4)[0]):
        begin = struct.unpack_from(">I", mp4, chunks + 8 + 4 * chunk)[0]
        struct.pack_into(">I", result, chunks + 8 + 4 * chunk, place)
        for _ in range([count for first, count in counts if first <= chunk + 1][-1]):
            length = struct.unpack_from(">I", mp4, sizes + 12 + 4 * sample)[0]
            data = shorter_units(mp4[begin:begin + length], size)
            begin += length
            struct.pack_into(">I", result, sizes + 12 + 4 * sample, len(data))
            result[place:place + len(data)] = data
            place += len(data)
            sample += 1
    return bytes(result)


def check_stream(decode, case, folder):
    stream = pathlib.Path(stream_matrix.make_stream(case, folder))
    _, _, expected = our_digests(decode, stream, folder)
    check(len(expected) == stream_matrix.FRAMES, f"{case[0]}: {len(expected)} pictures of the byte stream")
    made = stream.with_suffix(".mp4")
    run("ffmpeg", "-nostdin", "-v", "error", "-f", "h264", "-i", stream, "-c", "copy", made)
    with_sound = stream.with_name("sound.mp4")  # another track's samples in between, the tables in front
    run("ffmpeg", "-nostdin", "-y", "-v", "error", "-f", "lavfi", "-i", "sine=duration=0.5", "-f", "h264", "-i", stream, "-c:a",
        "aac", "-c:v", "copy", "-movflags", "faststart", with_sound)
    for size in (0, 4, 3, 2, 1):
        name = with_sound if size == 0 else stream.with_name(f"{size}.mp4")
        if size > 0:
            name.write_bytes(with_length_size(made.read_bytes(), size))
        status, error, ours = our_digests(decode, name, folder, "--mp4")
        what = f"{case[0]}, length fields of {size or 4} bytes"
        check(status == 0 and ours == expected, f"{what}: status {status} {error} {digest_difference(ours, expected, True)}")
        fault = digest_difference(ours, ffmpeg_digests(name, EVERY_PICTURE), not case[3])
        check(not fault, f"{what}, ffmpeg: {fault}")
    return made


def check_failures(decode, mp4):
    data = mp4.read_bytes()
    cut = mp4.with_name("cut.mp4")
    for size in (4, 20, len(data) // 2, len(data) - 1):
        cut.write_bytes(data[:size])
        fails(decode, cut, "--mp4", "--no-output", text="not an MP4 file with an H.264 track")
    cut.write_bytes(data.replace(b"avcC", b"free"))
    fails(decode, cut, "--mp4", "--no-output", text="not an MP4 file with an H.264 track")


def main():
    with tempfile.TemporaryDirectory() as folder:
        for case in CASES:
            made = check_stream(sys.argv[1], case, folder)
        check_failures(sys.argv[1], made)


exit_with(main)
