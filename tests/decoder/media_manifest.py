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


def is_subsequence(wanted, pictures):
    left = iter(pictures)
    return all(picture in left for picture in wanted)


def check(entry, status, error, ours):
    """What is wrong with the result for one stream, or None."""
    if status < 0:
        return f"crash {status}"
    if entry["level"] == REFUSED_LEVEL or entry["profile"] == REFUSED_PROFILE:
        return None if status == 1 and not ours else "should have been refused"
    if entry["expected"] == "exact":
        return digest_difference(ours, entry["frame_md5"], in_order=True) or (error if status else None)
    if "must_appear" in entry and not is_subsequence(entry["must_appear"], ours):
        return f"pictures without damage are missing: {len(ours)} pictures came"
    return None


def main():
    tool, folder = sys.argv[1:3]
    part = sys.argv[3] if len(sys.argv) > 3 else ""
    manifest = os.path.join(folder, "manifest.json")
    if not os.path.exists(manifest):
        print(f"skipped: {manifest} does not exist")
        return 77
    faults = []
    done = 0
    with open(manifest) as file, tempfile.TemporaryDirectory() as work:
        for entry in json.load(file):
            name = entry["file"]
            if name.endswith(".yuv") or part not in name:
                continue
            more = ["--mp4"] if name.startswith("mp4/") else []
            fault = check(entry, *our_digests(tool, os.path.join(folder, name), work, *more))
            if fault:
                faults.append(f"{name}: {fault}")
            done += 1
    print("\n".join(faults))
    print(f"{done - len(faults)} of {done} streams as expected")
    return 1 if faults or done == 0 else 0


sys.exit(main())
