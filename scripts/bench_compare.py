#!/usr/bin/env python3
"""Compares the figures that bench.sh kept of two commits, line by line.

Usage: bench_compare.py BEFORE AFTER [--file FILE]      commits as git names them; FILE: build/bench.jsonl
"""
import argparse
import json
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FIGURES = ("million_instructions", "frames_per_second", "kbps", "psnr_y")


def commit_of(name):
    """As bench_codecs.py writes it; NAME-dirty is the state with changes on top of a commit."""
    name, dirty, _ = name.partition("-dirty")
    found =  subprocess.run(["git", "-C", ROOT, "rev-parse", "--verify", "--short=12", name + "^{commit}"], check=True, capture_output=True,
                          text=True).stdout.strip()
    return found + dirty


def figures(lines, commit):
    """{(what, codec, stream): record} of a commit; of several runs the last counts."""
    return {(r["what"], r["codec"], r["stream"]): r for r in lines if r["commit"] == commit}


def compare(before, after):
    """Rows of text: each figure that both have, and its change."""
    for key in sorted(before.keys() & after.keys()):
        for figure in FIGURES:
            a, b = before[key].get(figure), after[key].get(figure)
            if a and b:
                yield f"{' '.join(key):40} {figure:22} {a:12.3f} {b:12.3f} {100 * (b / a - 1):+8.2f} %"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("before")
    parser.add_argument("after")
    parser.add_argument("--file", type=pathlib.Path, default=ROOT / "build" / "bench.jsonl")
    args = parser.parse_args()
    lines = [json.loads(line) for line in args.file.read_text().splitlines()]
    rows = list(compare(figures(lines, commit_of(args.before)), figures(lines, commit_of(args.after))))
    print("\n".join(rows) if rows else f"{args.file} has no figures that both commits share")
    return 0 if rows else 1


if __name__ == "__main__":
    sys.exit(main())
