#!/usr/bin/env python3
"""try.sh finds the tests of a folder, and tells in one line when there is no such folder or no test.

Usage: try_test.py SOURCE_FOLDER
"""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(sys.argv.pop(1)) / "scripts" / "try.sh"

# A tree of sources and tests, and the suites that each test file makes.
SOURCES = ["decoder/entropy/a.cpp", "decoder/stream/b.cpp", "kernels/filter/filter_w7.cpp", "kernels/filter/wide.cpp", "tools/x.cpp",
           "Common/h264/t.cpp", "process/p.cpp", "platform/linux/paths.cpp"]
SUITES = {"tests/decoder/entropy/a_test.cpp": ["A", "Values/A"], "tests/decoder/stream/b_test.cpp": ["B"],
          "tests/decoder/whole_test.cpp": ["Whole"], "tests/kernels/filter_test.cpp": ["Filter"], "tests/kernels/wide.def": ["Table"],
          "tests/kernels/wide_test.cpp": [], "tests/kernels/other_test.cpp": ["Other"], "tests/common/t_test.cpp": ["T"],
          "tests/platform/chain_linux_test.cpp": ["Chain"], "tests/platform/paths_test.cpp": ["Paths"],
          "tests/process/p_win32_test.cpp": [], "tests/tools/x_test.py": []}

# Stands for a test program: lists its tests as they do, and tells how it is called.
PROGRAM = """#!/usr/bin/env python3
import json, os, sys
options = dict(o.partition("=")[::2] for o in sys.argv[1:])
if "--gtest_list_tests" in options:
    open(options["--gtest_output"].removeprefix("json:"), "w").write(json.dumps({suites}))
else:
    share = os.environ["GTEST_SHARD_INDEX"]
    words = json.dumps([share + " of " + os.environ["GTEST_TOTAL_SHARDS"], *sys.argv[1:]])
    sys.stdout.write(words + "\\n") # at once: shares may write at the same time
    sys.exit(share == os.environ.get("FAILING_SHARE"))
"""
NINJA = """#!/bin/sh
echo "built $3"
exit ${NINJA_STATUS:-0}
"""


class Try(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for name in SOURCES + list(SUITES):
            self.write(name, '#include "tests/kernels/wide.def"\n' if name.endswith("wide_test.cpp") else "")
        (self.root / "scripts").mkdir()
        shutil.copy(SCRIPT, self.root / "scripts" / "try.sh")
        self.write("bin/ninja", NINJA)
        for program in {name.split("/")[1] for name in SUITES}:
            suites = [{"name": s, "testsuite": [{"name": "Test", "file": "../../" + name}]} for name, each in SUITES.items()
                      for s in each if name.startswith(f"tests/{program}/")]
            self.write(f"build/release/tests/test_{program}", PROGRAM.replace("{suites}", repr({"testsuites": suites})))

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        path.chmod(0o755)

    def call(self, *words, **environment):
        path = f"{self.root / 'bin'}:{os.environ['PATH']}"
        return subprocess.run([self.root / "scripts" / "try.sh", *words], check=False, capture_output=True, text=True,
                              env={**os.environ, "PRESET": "release", "PATH": path, **environment})

    def suites(self, folder):
        done = self.call(folder)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        options = json.loads(done.stdout.splitlines()[-1])
        return [f.removesuffix(".*") for f in options[-1].removeprefix("--gtest_filter=").split(":")]

    def assert_refused(self, text, *words):
        done = self.call(*words)
        self.assertNotEqual(done.returncode, 0)
        self.assertRegex(done.stderr, rf"^try\.sh: [^\n]*{text}[^\n]*\n$")
        self.assertNotIn("gtest", done.stdout)

    def test_a_folder_of_sources_or_of_tests(self):
        for name in ("decoder/entropy", "decoder/entropy/", "tests/decoder/entropy"):
            self.assertEqual(self.suites(name), ["A", "Values/A"])
        self.assertEqual(self.suites("decoder"), ["A", "Values/A", "B", "Whole"])

    def test_a_folder_whose_tests_lie_in_the_one_above(self):
        self.assertEqual(self.suites("kernels/filter"), ["Filter", "Table"])
        self.assertEqual(self.suites("platform/linux"), ["Chain", "Paths"])

    def test_a_folder_that_is_spelt_otherwise_in_the_tests(self):
        self.assertEqual(self.suites("Common/h264"), ["T"])

    def test_further_options_reach_the_program(self):
        self.assertEqual(json.loads(self.call("decoder", "--gtest_repeat=2").stdout.splitlines()[-1])[-1], "--gtest_repeat=2")

    def test_every_processor_runs_a_share(self):
        count = len(os.sched_getaffinity(0))
        shares = [json.loads(line)[0] for line in self.call("decoder").stdout.splitlines()[1:]]
        self.assertEqual(sorted(shares), sorted(f"{i} of {count}" for i in range(count)))

    def test_a_share_that_fails_is_a_failure(self):
        for share in range(len(os.sched_getaffinity(0))):
            self.assertEqual(self.call("decoder", FAILING_SHARE=str(share)).returncode, 1)

    def test_a_misspelt_folder(self):
        self.assert_refused("no folder decoder/entrpy", "decoder/entrpy")

    def test_a_folder_without_tests(self):
        self.assert_refused("tools has no tests", "tools")

    def test_a_folder_whose_tests_are_for_another_system(self):
        self.assert_refused("process has no tests for this system", "process")

    def test_no_folder(self):
        self.assert_refused("a folder is needed")

    def test_a_build_that_fails_shows_why_and_runs_nothing(self):
        done = self.call("decoder", NINJA_STATUS="1")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (1, "", "built test_decoder\n"))


if __name__ == "__main__":
    unittest.main()
