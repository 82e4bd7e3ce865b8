#!/usr/bin/env python3
"""Costs of functions are read from profiles and compared between builds that inline differently.

Usage: function_costs_test.py SOURCE_FOLDER
"""
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(sys.argv.pop(1)) / "scripts"))
from function_costs import Profile, excess, plain_name  # noqa: E402

# Run costs 10 itself and calls Step, which calls a helper of its own and the copy of the C library.
ONE = """
fn=(1) Run(unsigned int)
5 10
cfn=(2) ns::Step(int, void (*)(int)) const
calls=3 0
+1 140

fn=(2)
* 50
cfn=(3) (anonymous namespace)::Helper(int)
calls=3 0
* 60
cfn=(4) __memcpy_ssse3
calls=1 0
-2 30

fn=(3)
0 60

fn=(4)
0 30
"""
# The helper is part of Step, and another one, that Run calls, is a function.
OTHER = """
fn=(1) Run(unsigned long)
5 8
cfn=(2) ns::Step(long, void (*)(int)) const [clone .isra.0]
calls=3 0
+1 90
cfn=(5) Start()
calls=1 0
+1 5

fn=(2)
* 70
cfn=(4) __memcpy_avx_unaligned_erms
calls=1 0
-2 20

fn=(4)
0 20

fn=(5)
0 5
"""


class FunctionCosts(unittest.TestCase):
    def test_names_lose_what_differs_between_builds(self):
        self.assertEqual(plain_name("ns::Step(int, void (*)(int)) const"), "ns::Step")
        self.assertEqual(plain_name("(anonymous namespace)::A<(B)2>::Read(long) [clone .isra.0]"),
                         "(anonymous namespace)::A<(B)2>::Read")
        self.assertEqual(plain_name("A::operator()(int)'2"), "A::operator()")
        self.assertEqual(plain_name("main"), "main")
        self.assertEqual(plain_name("__memcpy_avx_unaligned_erms"), "memcpy")

    def test_a_call_is_no_cost_of_the_caller_itself(self):
        profile = Profile(ONE)
        self.assertEqual(dict(profile.own), {"Run": 10, "ns::Step": 50, "(anonymous namespace)::Helper": 60, "memcpy": 30})
        self.assertEqual(profile.calls["ns::Step", "memcpy"], 30)

    # What is compared: one profile, another, the rows of both.
    COMPARED = {
        "a function of one build counts as its callers":
            (ONE, OTHER, [("ns::Step", 110, 70), ("memcpy", 30, 20), ("Run", 10, 13)]),
        "two callers share by what they called for":
            ("fn=(1) A()\n0 1\ncfn=(3) C()\ncalls=1 0\n0 30\nfn=(2) B()\n0 1\ncfn=(3)\ncalls=1 0\n0 10\nfn=(3)\n0 40\n",
             "fn=(1) A()\n0 1\nfn=(2) B()\n0 1\n", [("A", 31, 1), ("B", 11, 1)]),
        "what a function calls itself for is its callers' too":
            ("fn=(1) A()\n0 1\ncfn=(2) B()\ncalls=1 0\n0 40\nfn=(2)\n0 40\ncfn=(2)\ncalls=3 0\n0 90\n",
             "fn=(1) A()\n0 1\n", [("A", 41, 1)])}

    def test_builds_that_inline_differently_are_compared_function_by_function(self):
        for name, (one, other, rows) in self.COMPARED.items():
            with self.subTest(name):
                self.assertEqual(excess(Profile(one), Profile(other)), rows)

    def test_functions_that_call_each_other_end(self):
        one = Profile("fn=(1) A()\n0 4\ncfn=(2) B()\ncalls=1 0\n0 9\nfn=(2)\n0 5\ncfn=(1)\ncalls=1 0\n0 4\n")
        self.assertEqual(sum(cost for _, cost, _ in excess(one, Profile("fn=(1) C()\n0 1\n"))), 9)


if __name__ == "__main__":
    unittest.main()
