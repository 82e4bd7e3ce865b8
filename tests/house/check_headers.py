#!/usr/bin/env python3
"""Fails when a public header does not compile alone.

Usage: check_headers.py COMPILER ROOT
"""
import pathlib
import subprocess
import sys


def main():
    compiler, root = sys.argv[1], pathlib.Path(sys.argv[2])
    failed = 0
    for header in sorted((root / "include" / "quilvex").glob("*.h")):
        command = [compiler, "-std=c++11", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-fsyntax-only", "-I", str(root / "include"),
                   "-include", str(header), "-x", "c++", "/dev/null"]
        failed |= subprocess.run(command).returncode
        print(f"{header.name}: {'fails' if failed else 'compiles'}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
