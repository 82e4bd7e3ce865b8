#!/usr/bin/env python3
"""Fails when the generated H.264 tables are not what their CSV files give.

Usage: check_tables.py ROOT
"""
import filecmp
import pathlib
import subprocess
import sys
import tempfile


def main():
    root = pathlib.Path(sys.argv[1])
    with tempfile.TemporaryDirectory() as folder:
        made = pathlib.Path(folder) / "h264_tables.cpp"
        subprocess.run([sys.executable, root / "scripts" / "make_h264_tables.py", made], check=True)
        same = filecmp.cmp(made, root / "Common" / "h264" / "h264_tables.cpp", shallow=False)
    print("the tables are up to date" if same else "Common/h264/h264_tables.cpp differs: run scripts/make_h264_tables.py")
    return 0 if same else 1


if __name__ == "__main__":
    sys.exit(main())
