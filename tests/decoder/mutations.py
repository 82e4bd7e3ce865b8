#!/usr/bin/env python3
"""Damages streams in every way and looks what the decoder makes of them (mutation_driver says what has to hold).

usage: mutations.py MUTATION_DRIVER WRITTEN_STREAMS [COUNT [FOLDER_OR_FILE...]]

COUNT mutations (10) of the streams that WRITTEN_STREAMS, a program, writes and of some that x264 makes on the spot, or of
those in the folders. The long form, 200 for every stream at hand, takes an hour or two with a sanitized build:
mutations.py build/asan/tests/mutation_driver build/asan/tests/written_streams 200 FOLDER...
"""
import os
import subprocess
import sys
import tempfile

import stream_matrix

SEED = 1
SIZE = (96, 96)
MADE = {"baseline", "cabac_3b", "cavlc_1b", "weightp2", "slices_odd", "slices_bytes", "slices_cavlc_b", "intra_refresh", "i4x4_only",
        "short_gops", "open_gop", "deep_i422", "i422_cavlc", "i400", "mbaff_slices", "mbaff_temporal", "mbaff_slices_cavlc",
        "mbaff_monochrome"}
STREAMS = {".264", ".h264", ".26l", ".avc", ".jsv", ".jvt", ".bit", ".bits"}


def streams_of(arguments):
    for argument in arguments:
        if os.path.isfile(argument):
            yield argument
        for folder, _, names in sorted(os.walk(argument)):
            yield from (os.path.join(folder, name) for name in sorted(names) if os.path.splitext(name)[1].lower() in STREAMS)


def make_streams(writer, work):
    written = os.path.join(work, "written")
    os.mkdir(written)
    subprocess.run([writer, written], check=True)
    for name, options, _, reorders in stream_matrix.CASES:
        if name in MADE:
            stream_matrix.make_stream((name, options, SIZE, reorders), work)


def main():
    driver, writer = sys.argv[1:3]
    count = sys.argv[3] if len(sys.argv) > 3 else "10"
    with tempfile.TemporaryDirectory() as work:
        if len(sys.argv) <= 4:
            make_streams(writer, work)
        streams = list(streams_of(sys.argv[4:] or [work]))
        faults = 0
        for stream in streams:  # a process each: all that a crash hides is the rest of one stream
            result = subprocess.run([driver, count, str(SEED), stream], capture_output=True, text=True, check=False)
            faults += result.returncode != 0
            if result.returncode != 0 or len(sys.argv) > 3:
                print((result.stdout + result.stderr[-6000:]).rstrip(), flush=True)
    print(f"{len(streams) - faults} of {len(streams)} streams survive {count} mutations")
    return 1 if faults or not streams else 0


if __name__ == "__main__":
    sys.exit(main())
