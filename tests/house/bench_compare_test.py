#!/usr/bin/env python3
"""Figures that were kept of two commits are compared, and what stands in the way is told in one line.

Usage: bench_compare_test.py SOURCE_FOLDER
"""
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = pathlib.Path(sys.argv.pop(1)) / "scripts"
sys.path.insert(0, str(SCRIPTS))
from bench_compare import compare, figures  # noqa: E402


def line(commit, codec="quilvex", **values):
    return {"commit": commit, "what": "decode", "codec": codec, "stream": "1500 kb/s", **values}


class Figures(unittest.TestCase):
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


class CommandLine(unittest.TestCase):
    """bench.sh --compare in a repository of two commits, as somebody calls it."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        (self.root / "scripts").mkdir()
        (self.root / "build").mkdir()
        for name in ("bench.sh", "bench_compare.py"):
            shutil.copy(SCRIPTS / name, self.root / "scripts" / name)
        self.git("init", "--quiet")
        for text in ("first", "second"):
            self.git("-c", "user.name=Test", "-c", "user.email=test", "commit", "--quiet", "--allow-empty", "-m", text)
        self.commits = [self.git("rev-parse", "--short=12", name) for name in ("HEAD~1", "HEAD")]
        self.keep(line(self.commits[0], million_instructions=8.0), line(self.commits[1], million_instructions=6.0))

    def git(self, *words):
        return subprocess.run(["git", "-C", self.root, *words], check=True, capture_output=True, text=True).stdout.strip()

    def keep(self, *records):
        (self.root / "build" / "bench.jsonl").write_text("".join(json.dumps(r) + "\n" for r in records))

    def call(self, *words):
        return subprocess.run([self.root / "scripts" / "bench.sh", "--compare", *words], check=False, capture_output=True, text=True)

    def assert_refused(self, text, *words):
        done = self.call(*words)
        self.assertNotEqual(done.returncode, 0)
        self.assertEqual(done.stdout, "")
        self.assertRegex(done.stderr, rf"^bench_compare\.py: [^\n]*{text}[^\n]*\n$")

    def test_commits_go_by_any_name_of_theirs(self):
        done = self.call("HEAD~1", "HEAD")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertRegex(done.stdout, r"^decode quilvex 1500 kb/s +million_instructions +8\.000 +6\.000 +-25\.00 %\n$")

    def test_the_state_with_changes_on_top_is_a_side_of_its_own(self):
        self.keep(line(self.commits[1], kbps=100.0), line(self.commits[1] + "-dirty", kbps=101.0))
        self.assertIn("+1.00 %", self.call("HEAD", "HEAD-dirty").stdout)

    def test_a_commit_that_git_does_not_know(self):
        self.assert_refused("no commit nonesuch", "nonesuch", "HEAD")

    def test_a_commit_without_figures(self):
        self.keep(line(self.commits[0], kbps=1.0))
        self.assert_refused("has no figures of HEAD", "HEAD~1", "HEAD")

    def test_two_commits_that_share_no_figure(self):
        self.keep(line(self.commits[0], kbps=1.0), line(self.commits[1], psnr_y=40.0))
        self.assert_refused("both commits share", "HEAD~1", "HEAD")

    def test_a_file_that_is_not_there(self):
        (self.root / "build" / "bench.jsonl").unlink()
        self.assert_refused("cannot read .*bench.jsonl: No such file", "HEAD~1", "HEAD")

    def test_a_broken_line(self):
        for broken in ('{"commit": "a', '["commit"]', '{"commit": "a", "what": "decode"}', "7"):
            with (self.root / "build" / "bench.jsonl").open("a") as file:
                file.write(broken + "\n")
            self.assert_refused(r"bench\.jsonl:3: no line of figures", "HEAD~1", "HEAD")
            self.keep(line(self.commits[0]), line(self.commits[1]))

    def test_a_call_with_one_commit(self):
        self.assert_refused("required: after", "HEAD")


if __name__ == "__main__":
    unittest.main()
