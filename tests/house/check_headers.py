#!/usr/bin/env python3
"""Fails when a public header does not compile, alone or with the others, for a compiler that clients use.

Usage: check_headers.py COMPILER ROOT

Besides COMPILER these are clang in the place of Microsoft's compiler and, where it is installed, the cross compiler for Windows.
"""
import pathlib
import shutil
import subprocess
import sys

CROSS = "i686-w64-mingw32-g++-posix"


def compilers(own):
    yield "this build's", [own]
    yield "Microsoft's", ["clang++", "-target", "i686-pc-windows-msvc"]
    if shutil.which(CROSS):
        yield "mingw's", [CROSS]


def main():
    include = pathlib.Path(sys.argv[2]) / "include"
    headers = sorted((include / "quilvex").glob("*.h"))
    failed = 0
    for name, compiler in compilers(sys.argv[1]):
        for group in [[header] for header in headers] + [headers, headers[::-1]]:
            command = [*compiler, "-std=c++11", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-fsyntax-only", "-I", str(include)]
            for header in group:
                command += ["-include", str(header)]
            result = subprocess.run([*command, "-x", "c++", "/dev/null"]).returncode
            print(f"{name}: {' '.join(header.name for header in group)}: {'fails' if result else 'compiles'}")
            failed |= result
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
