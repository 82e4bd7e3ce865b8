#!/usr/bin/env python3
"""Fails unless the shared library exports exactly the eight names.

Usage: check_exports.py LIBRARY
"""
import subprocess
import sys

EXPECTED = {"CreateVCodec", "CreateVideoProcess", "IPP_RGB24ToYUV420", "IPP_YUV420ToRGB24", "IPP_RGB24ToRGB32",
            "IPP_RGB32ToRGB24", "IPP_YUV420_Scale", "IPP_RGB24_Scale"}


def main():
    listing = subprocess.run(["nm", "-D", "--defined-only", sys.argv[1]], check=True, capture_output=True, text=True).stdout
    exported = {line.split()[-1].split("@")[0] for line in listing.splitlines() if line.split()[-2] != "A"}
    for name in sorted(EXPECTED - exported):
        print(f"missing: {name}")
    for name in sorted(exported - EXPECTED):
        print(f"not to be exported: {name}")
    return 0 if exported == EXPECTED else 1


if __name__ == "__main__":
    sys.exit(main())
