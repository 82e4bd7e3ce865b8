#!/usr/bin/env python3
"""Fails unless the decoder's dumps are in developer builds, and in no other.

Usage: check_dumps.py ARCHIVE ON|OFF
"""
import subprocess
import sys

NAMES = ("UMC::DumpBuffer(", "UMC::DumpTasks(", "UMC::DecodingStatistics::")


def main():
    listing = subprocess.run(["nm", "-C", "--defined-only", sys.argv[1]], check=True, capture_output=True, text=True).stdout
    if "UMC::H264DBPList::" not in listing:
        print("no symbols of the decoder at all")
        return 1
    wrong = [name for name in NAMES if (name in listing) != (sys.argv[2] == "ON")]
    for name in wrong:
        print(f"{name}: {'missing' if sys.argv[2] == 'ON' else 'not in a build for users'}")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
