#!/usr/bin/env python3
"""Figures that were kept of two commits are compared.

Usage: bench_compare_test.py SOURCE_FOLDER
"""
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(sys.argv.pop(1)) / "scripts"))
from bench_compare import compare, figures  # noqa: E402


def line(commit, codec="quilvex", **values):
    return {"commit": commit, "what": "decode", "codec": codec, "stream": "1500 kb/s", **values}


class BenchCompare(unittest.TestCase):
    LINES = [line("a", million_instructions=9.0), line("a", million_instructions=10.0), line("b", million_instructions=9.0, kbps=5.0),
             line("b", codec="openh264", million_instructions=30.0)]

    def test_the_last_run_of_a_commit_counts(self):
        (record,) = figures(self.LINES, "a").values()
        self.assertEqual(record["million_instructions"], 10.0)

    def test_what_both_have_is_compared(self):
        (row,) = compare(figures(self.LINES, "a"), figures(self.LINES, "b"))
        self.assertRegex(row, r"^decode quilvex 1500 kb/s +million_instructions +10\.000 +9\.000 +-10\.00 %$")

    def test_nothing_is_compared_with_a_commit_without_figures(self):
        self.assertEqual(list(compare(figures(self.LINES, "a"), figures(self.LINES, "c"))), [])


if __name__ == "__main__":
    unittest.main()
