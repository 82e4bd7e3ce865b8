#!/usr/bin/env python3
"""Compares the library's types that need more alignment than 8 bytes with the list of those that the tests make.

The compiler says what every class needs, those included that only contain another. A type that is not in the list, or
that has left the library, is a failure. Closures are not asked for: nobody can name one, and what stores one goes by the
same operators. Compiled are the sources with types of their own, and as many others as it takes to see every header.

Usage: check_aligned_types.py LIST ROOT COMPILER [OPTION...] -- SOURCE...
"""
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys
import tempfile

PROMISED = 8  # of a block of the 32-bit heap
CLASS = re.compile(r"^Class (.+)\n   size=\d+ align=(\d+)$", re.MULTILINE)
OURS = re.compile(r"(kernels|UMC\w*|platform)::|[A-Z]\w*(::|$)")
ENTRY = re.compile(r"^(LOCAL_ALIGNED_TYPE|ALIGNED_TYPE|ALIGNED_TYPE_FROM|ALIGNED_BASE)\((.*)\)$", re.MULTILINE)
DEFINITION = r"\b(?:struct|class|union)\s+(?:alignas\([^)]*\)\s+)?{}\b[^;(){{}}]*\{{"
OWN_TYPE = re.compile(DEFINITION.format(r"\w+"))
INCLUDE = re.compile(r'^#include "(.+)"', re.MULTILINE)
# Parsed once for all sources.
STANDARD = ("algorithm", "array", "atomic", "condition_variable", "cstdint", "cstdlib", "cstring", "memory", "mutex",
            "string", "vector", "smmintrin.h")


class Tree:
    def __init__(self, root):
        self.root = root
        self.text = {}
        self.reached = {}

    def read(self, name):
        if name not in self.text:
            path = self.root / name
            self.text[name] = path.read_text() if path.exists() else ""
        return self.text[name]

    def headers(self, name):
        """Those that the file includes, directly or not."""
        if name not in self.reached:
            self.reached[name] = set()
            for header in INCLUDE.findall(self.read(name)):
                self.reached[name] |= {header} | self.headers(header)
        return self.reached[name]

    def choose(self, sources):
        chosen = [s for s in sources if OWN_TYPE.search(self.read(s))]
        unseen = set().union(*map(self.headers, sources)) - set().union(*map(self.headers, chosen))
        while unseen:
            best = max(sources, key=lambda s: len(self.headers(s) & unseen))
            chosen.append(best)
            unseen -= self.headers(best)
        return chosen

    def place(self, source, name):
        """The file that defines a type which a source knows."""
        pattern = re.compile(DEFINITION.format(re.escape(name.split("::")[-1])))
        return next((f for f in [source, *sorted(self.headers(source))] if pattern.search(self.read(f))), source)


def plain(name):
    """Without template arguments and unnamed namespaces."""
    name = name.replace("{anonymous}::", "")
    while (shorter := re.sub(r"<[^<>]*>", "", name)) != name:
        name = shorter
    return name


def aligned(dump):
    names = (name for name, alignment in CLASS.findall(dump) if int(alignment) > PROMISED)
    names = (plain(name) for name in names if "<lambda" not in name and "<unnamed" not in name)
    return {name for name in names if OURS.match(name)}


def find(tree, sources, compiler):
    """Pairs of a type and the file that defines it."""
    with tempfile.TemporaryDirectory() as folder:
        standard = os.path.join(folder, "standard.h")
        pathlib.Path(standard).write_text("".join(f"#include <{name}>\n" for name in STANDARD))
        # Whichever tier a source is for: the highest one's types have the alignment that they have everywhere.
        compiler = [*compiler, "-w", "-msse4.1"]
        subprocess.run([*compiler, "-x", "c++-header", standard, "-o", standard + ".gch"], check=True)

        def look(source):
            dump = os.path.join(folder, source.replace("/", "_") + ".class")
            subprocess.run([*compiler, "-include", standard, "-fsyntax-only", f"-fdump-lang-class={dump}", source],
                           cwd=tree.root, check=True)
            return {(name, tree.place(source, name)) for name in aligned(pathlib.Path(dump).read_text())}

        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            return set().union(*pool.map(look, tree.choose(sources)))


def main():
    split = sys.argv.index("--")
    listed, tree = pathlib.Path(sys.argv[1]), Tree(pathlib.Path(sys.argv[2]).resolve())
    sources = sorted(os.path.relpath(s, tree.root) for s in sys.argv[split + 1:] if s.endswith(".cpp"))
    known, local = set(), set()
    for kind, arguments in ENTRY.findall(listed.read_text()):
        if kind == "LOCAL_ALIGNED_TYPE":
            local.add(tuple(reversed(arguments.split(", ", 1))))
        else:
            known.add(plain(re.sub(r"^\(.*?\), ", "", arguments)))
    found = find(tree, sources, sys.argv[3:split])

    missing = {(name, file) for name, file in found if name not in known} - local
    gone = {(name, "") for name in known - {name for name, file in found}} | local - found
    for name, file in sorted(missing):
        print(f"not in {listed.name}: {name} of {file}")
    for name, file in sorted(gone):
        print(f"only in {listed.name}: {name} {file}")
    return 1 if missing or gone or not found else 0


sys.exit(main())
