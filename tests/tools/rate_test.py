#!/usr/bin/env python3
"""The encoder holds its rate: over 300 pictures of steady content the mean is within 10 % of the target.

Usage: rate_test.py TOOLS
"""
import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from oracle import check, exit_with, run, run_json  # noqa: E402

# size, frames a second, targets that the range of QP allows for this content
CASES = (("352x288", 30, (200, 500, 1000)), ("640x360", 30, (400, 1500)), ("176x144", 15, (64, 150)))


def main():
    tools = pathlib.Path(sys.argv[1])
    worst = 0.0
    with tempfile.TemporaryDirectory() as folder:
        for size, fps, targets in CASES:
            source = pathlib.Path(folder) / f"{size}.y4m"
            run(tools / "camera_scene", "-o", source, "--size", size, "--fps", fps, "--frames", 300)
            for kbps in targets:
                report = run_json(tools / "qvlx", "encode", source, "-o", pathlib.Path(folder) / "out.264", "--kbps", kbps, "--fps", fps,
                                  "--mode", 0, "--json")
                error = report["kbps"] / kbps - 1
                worst = max(worst, abs(error))
                print(f"{size} at {kbps} kb/s: {report['kbps']:.1f} ({error:+.1%})")
    check(worst <= 0.10, f"off by {worst:.1%}")


if __name__ == "__main__":
    exit_with(main)
