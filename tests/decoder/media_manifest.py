#!/usr/bin/env python3
"""Decodes every stream of the shared media folder and compares with what its manifest expects.

usage: media_manifest.py H264_DECODE FOLDER [NAME_PART]
Exit status 77: there is no such folder, nothing was tested.
"""
import json
import os
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "support"))
from oracle import digest_difference, our_digests  # noqa: E402

REFUSED_LEVEL = "5.2"           # not in the list of levels that the decoder takes
REFUSED_PROFILE = "High 4:4:4 Predictive"
REFUSAL = "-882"


def is_refused(entry):
    """Whether the decoder takes no stream of this profile and level."""
    return entry["level"] == REFUSED_LEVEL or entry["profile"] == REFUSED_PROFILE


def is_subsequence(wanted, pictures):
    left = iter(pictures)
    return all(picture in left for picture in wanted)


def check(entry, status, error, ours):
    """What is wrong with the result for one stream, or None."""
    if status < 0:
        return f"crash {status}"
    if is_refused(entry):
        return None if status == 1 and not ours and REFUSAL in error else "should have been refused"
    if entry["expected"] == "exact":
        return digest_difference(ours, entry["frame_md5"], in_order=True) or (error if status else None)
    if "must_appear" in entry and not is_subsequence(entry["must_appear"], ours):
        return f"pictures without damage are missing: {len(ours)} pictures came"
    return None


def results(tool, folder, part=""):
    """For each stream of a folder whose name has the part: its entry, how many pictures came, and what is wrong or None."""
    with open(os.path.join(folder, "manifest.json")) as file, tempfile.TemporaryDirectory() as work:
        for entry in json.load(file):
            name = entry["file"]
            if name.endswith(".yuv") or part not in name:
                continue
            more = ["--mp4"] if name.startswith("mp4/") else []
            status, error, ours = our_digests(tool, os.path.join(folder, name), work, *more)
            yield entry, len(ours), check(entry, status, error, ours)


def main():
    tool, folder = sys.argv[1:3]
    part = sys.argv[3] if len(sys.argv) > 3 else ""
    if not os.path.exists(os.path.join(folder, "manifest.json")):
        print(f"skipped: {folder} has no manifest")
        return 77
    done = list(results(tool, folder, part))
    faults = [f"{entry['file']}: {fault}" for entry, _, fault in done if fault]
    print("\n".join(faults))
    print(f"{len(done) - len(faults)} of {len(done)} streams as expected")
    return 1 if faults or not done else 0


if __name__ == "__main__":
    sys.exit(main())
