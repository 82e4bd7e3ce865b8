#!/usr/bin/env python3
"""Floods: streams that ask for much work or memory with few bytes. Counts instructions and bytes, never seconds.

Usage: floods.py FLOOD_DRIVER work|memory

The rule: work is at most a constant for each byte of the stream plus a constant for each macroblock of every picture
opened or made up; memory is the frames that the stream's buffer size asks for plus a constant.
"""
import json
import re
import subprocess
import sys

# The two constants of work, in instructions. The dearest bytes are those of small units: a parameter set of nine bytes
# fills its tables like any other. The dearest macroblock is a damaged slice of its own.
PER_BYTE = 600
PER_MACROBLOCK = 100000
START = 500000  # whatever the stream is
# Memory: a unit is copied once; a macroblock has samples and records in its frame, records while its picture is in
# work, and may have a slice and a reference list of its own.
BYTES_PER_BYTE = 1.2
BYTES_PER_MACROBLOCK = 1200

MIB = 1 << 20
# Peaks in bytes. A frame of 4096x2304 is 20.3 MB with its records; level 5.1 has room for five of them, and three more
# are in work or on their way out.
FRAME = 36864 * (384 + 168)
# The planes of 4:4:4 have twice the room for chroma that they need. Sixteen frames, and three more.
FRAME_444 = 4096 * (256 + 4 * 256 + 168)
PEAKS = {
    "36864 slices": 2 * FRAME + 16 * MIB,
    "100000 slices": 2 * FRAME + 16 * MIB,
    "90000 macroblocks": MIB,
    "largest parameter sets": 24 * MIB,
    "long slices": 2 * FRAME // 9 + 8 * MIB,
    "lists of their own": 8 * FRAME + 24 * MIB,
    "many sizes": 8 * FRAME + 8 * MIB,
    "references in 4:4:4": 19 * FRAME_444 + 8 * MIB,
    "a small size behind a large one": 8 * FRAME + 8 * MIB,
}
LEFT = {"a small size behind a large one": 4 * MIB}  # when the stream is over: the large frames have gone back


def report(command):
    result = subprocess.run(command, check=True, capture_output=True, text=True)
    return json.loads(result.stdout.splitlines()[-1]), result.stderr


def instructions(driver, name, count):
    cost, messages = report(["valgrind", "--tool=callgrind", "--toggle-collect=DecodeFlood", "--callgrind-out-file=/dev/null",
                             driver, name, str(count)])
    return cost, int(re.search(r"Collected : (\d+)", messages).group(1))


def check_work(driver):
    faults = 0
    for line in subprocess.run([driver], check=True, capture_output=True, text=True).stdout.splitlines():
        count, name = line.split(" ", 1)
        (small, few), (large, many) = (instructions(driver, name, int(count) * n) for n in (1, 10))
        allowed = START + PER_BYTE * large["bytes"] + PER_MACROBLOCK * large["macroblocks"]
        good = 0 < many <= min(allowed, 11 * few + START)
        print(f"{name}: {few} instructions, for ten times as much {many} of {allowed}{'' if good else ' FAILED'}")
        more = {key: large[key] - small[key] for key in ("bytes", "macroblocks", "peak")}
        held = BYTES_PER_BYTE * more["bytes"] + BYTES_PER_MACROBLOCK * more["macroblocks"] + MIB // 16
        if more["peak"] > held:
            print(f"{name}: {more['peak']} bytes more are held, {held} are allowed FAILED")
        faults += not good or more["peak"] > held
    return faults


def check_memory(driver):
    faults = 0
    for name, allowed in PEAKS.items():
        cost, _ = report([driver, name])
        good = cost["peak"] <= allowed and cost["left"] <= LEFT.get(name, allowed)
        print(f"{name}: {cost['peak']} bytes of {allowed}, {cost['left']} at the end{'' if good else ' FAILED'}")
        faults += not good
    return faults


if __name__ == "__main__":
    sys.exit(1 if {"work": check_work, "memory": check_memory}[sys.argv[2]](sys.argv[1]) else 0)
