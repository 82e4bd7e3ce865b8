#!/usr/bin/env python3
"""No picture is lost between decoder and client: what the wrapper delivers is what h264_decode writes.

usage: delivery.py FOLDER_OF_TOOLS [CORPUS [NAME_PART]]
Without a corpus: streams made on the spot. A corpus is a folder with a manifest.json; of it every stream of 8 bits in 4:2:0
whose pictures are known to be exact. The wrapper is asked through the library's exported functions (qvlx decode): one access
unit a call, then delimiters until nothing comes.
"""
import concurrent.futures
import hashlib
import json
import os
import pathlib
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "support"))
from oracle import check, exit_with, our_digests, run  # noqa: E402
import stream_matrix  # noqa: E402

EIGHT_BITS_420 = ("yuv420p", "yuvj420p", "gray")
ON_THE_SPOT = ("cavlc_1b", "cabac_pyramid", "ref16", "slices_rows", "slices_bytes", "slices_odd", "intra_refresh", "open_gop", "aud_hrd",
               "odd_size", "one_macroblock", "mbaff_spatial", "mbaff_slices", "mbaff_odd_size")


def delivered(tools, stream, folder):
    """The size of the pictures that the wrapper gives, and their MD5s."""
    raw = folder / "delivered.yuv"
    done = run(tools / "qvlx", "decode", stream, "-o", raw, "--mode", 0, "--json", "--quiet", expect=None)
    if done.returncode == 1 and b"no picture came out" in done.stderr:
        return (0, 0), []
    check(done.returncode == 0, f"{stream}: {done.stderr}")
    report = json.loads(done.stdout)
    width, height = report["width"], report["height"]
    digests = []
    with open(raw, "rb") as file:
        while picture := file.read(width * height * 3 // 2):
            digests.append(hashlib.md5(picture).hexdigest())
    check(len(digests) == report["frames"], f"{stream}: {len(digests)} pictures written of {report['frames']}")
    return (width, height), digests


def coded_sizes(stream):
    """The size of every picture in output order."""
    told = run("ffprobe", "-v", "error", "-f", "h264", "-select_streams", "v", "-show_entries", "frame=width,height", "-of", "csv=p=0",
               stream).stdout.decode()
    return [tuple(int(number) for number in line.split(",")[:2]) for line in told.splitlines() if line]


def difference(tools, stream, changes_size=False):
    """What is wrong with the delivery of a stream, or None. Pictures of another size than the first one's come scaled."""
    with tempfile.TemporaryDirectory() as folder:
        _, _, decoded = our_digests(tools / "h264_decode", stream, folder)
        size, given = delivered(tools, stream, pathlib.Path(folder))
    if changes_size and len(given) == len(decoded):
        sizes = coded_sizes(stream)
        check(len(sizes) == len(given), f"{stream}: ffprobe tells {len(sizes)} sizes")
        given = [ours if at == size else wanted for ours, wanted, at in zip(given, decoded, sizes)]
    if given == decoded:
        return None
    first = next((i for i, (a, b) in enumerate(zip(given, decoded)) if a != b), min(len(given), len(decoded)))
    return f"{len(given)} pictures delivered of {len(decoded)}, the first difference at picture {first}"


def differences(tools, streams):
    """Of (path, changes size): one line for each stream that is not delivered whole."""
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        found = list(pool.map(lambda stream: (stream[0], difference(tools, *stream)), streams))
    return [f"{path}: {fault}" for path, fault in found if fault]


def corpus_streams(corpus, part):
    for entry in json.loads((corpus / "manifest.json").read_text()):
        if entry["expected"] == "exact" and entry["pix_fmt"] in EIGHT_BITS_420 and part in entry["file"] and not entry["file"].endswith(
                (".yuv", ".mp4")):
            yield corpus / entry["file"], "resolution-change" in entry["class"]


def main():
    tools = pathlib.Path(sys.argv[1])
    with tempfile.TemporaryDirectory() as folder:
        if len(sys.argv) > 2:
            streams = list(corpus_streams(pathlib.Path(sys.argv[2]), sys.argv[3] if len(sys.argv) > 3 else ""))
        else:
            streams = [(stream_matrix.make_stream(case, folder), False) for case in stream_matrix.CASES if case[0] in ON_THE_SPOT]
            check(len(streams) == len(ON_THE_SPOT), "a case has gone from the stream matrix")
        faults = differences(tools, streams)
    print("\n".join(faults))
    print(f"{len(streams) - len(faults)} of {len(streams)} streams delivered whole")
    check(streams and not faults, "pictures are lost")


exit_with(main)
