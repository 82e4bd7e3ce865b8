#!/usr/bin/env python3
"""Prints a table of streams, what they use and what h264_decode makes of them: docs/streams.md.

Usage: stream_table.py H264_DECODE FOLDER...

Each folder holds a manifest.json that says what the pictures are.
"""
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "decoder"))
from media_manifest import REFUSAL, is_refused, results  # noqa: E402

OF_ORIGIN = {"conformance", "realworld", "derived", "generated", "damaged", "unsupported", "clip", "mp4", "raw-i420"}

HEAD = """# Streams that the decoder was tried on

Every picture of a stream is compared with the one that another decoder, or the way the stream was made, gives for it: by digest and in
order. `exact` means that all are equal. The streams are not part of this repository. The table is what this prints:

```sh
scripts/stream_table.py build/release/h264_decode FOLDER...
```

| stream | profile, level | size | what it uses | pictures | result |
| --- | --- | --- | --- | ---: | --- |"""


def result(entry, fault):
    if fault:
        return f"**{fault}**"
    if is_refused(entry):
        return f"refused with {REFUSAL}"
    if entry["expected"] == "exact":
        return "exact"
    if entry["expected"] == "unsupported":
        return "no picture that can be shown"
    return "the pictures without damage are there" if "must_appear" in entry else "decoded; nothing to compare with"


def main():
    print(HEAD)
    faults = 0
    for folder in sys.argv[2:]:
        for entry, pictures, fault in results(sys.argv[1], folder):
            faults += fault is not None
            tools = ", ".join(tag for tag in entry["class"] if tag not in OF_ORIGIN)
            print(f"| {entry['file']} | {entry['profile']}, {entry['level']} | {entry['width']}x{entry['height']} | {tools} "
                  f"| {pictures} | {result(entry, fault)} |")
    return 1 if faults else 0


sys.exit(main())
