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


class Refusal(Exception):
    """What stands in the way of a comparison."""


class Parser(argparse.ArgumentParser):
    def error(self, message):
        raise Refusal(f"{message} (bench.sh --compare COMMIT COMMIT)")


def commit_of(name):
    """As bench_codecs.py writes it; NAME-dirty is the state with changes on top of a commit."""
    plain, dirty, _ = name.partition("-dirty")
    found = subprocess.run(["git", "-C", ROOT, "rev-parse", "--verify", "--quiet", "--short=12", plain + "^{commit}"], check=False,
                           capture_output=True, text=True)
    if found.returncode != 0:
        raise Refusal(f"git knows no commit {plain}")
    return found.stdout.strip() + dirty


def read(path):
    """The records of a file of figures."""
    try:
        lines = path.read_text().splitlines()
    except (OSError, UnicodeDecodeError) as error:
        raise Refusal(f"cannot read {path}: {getattr(error, 'strerror', None) or 'not a text'}") from error
    records = []
    for number, line in enumerate(lines, 1):
        try:
            record = json.loads(line)
            record["commit"], record["what"], record["codec"], record["stream"]
        except (ValueError, KeyError, TypeError) as error:
            raise Refusal(f"{path}:{number}: no line of figures") from error
        records.append(record)
    return records


def figures(records, commit):
    """{(what, codec, stream): record} of a commit; of several runs the last counts."""
    return {(r["what"], r["codec"], r["stream"]): r for r in records if r["commit"] == commit}


def compare(before, after):
    """Rows of text: each figure that both have, and its change."""
    for key in sorted(before.keys() & after.keys()):
        for figure in FIGURES:
            a, b = before[key].get(figure), after[key].get(figure)
            if a and b:
                yield f"{' '.join(key):40} {figure:22} {a:12.3f} {b:12.3f} {100 * (b / a - 1):+8.2f} %"


def main():
    parser = Parser(description="Compares the figures that bench.sh kept of two commits.")
    parser.add_argument("before")
    parser.add_argument("after")
    parser.add_argument("--file", type=pathlib.Path, default=ROOT / "build" / "bench.jsonl")
    try:
        args = parser.parse_args()
        records = read(args.file)
        sides = []
        for name in (args.before, args.after):
            sides.append(figures(records, commit_of(name)))
            if not sides[-1]:
                raise Refusal(f"{args.file} has no figures of {name}")
        rows = list(compare(*sides))
        if not rows:
            raise Refusal(f"{args.file} has no figures that both commits share")
    except Refusal as refusal:
        print(f"bench_compare.py: {refusal}", file=sys.stderr)
        return 1
    print("\n".join(rows))
    return 0


if __name__ == "__main__":
    sys.exit(main())
