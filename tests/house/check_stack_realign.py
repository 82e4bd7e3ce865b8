#!/usr/bin/env python3
"""Fails unless every function of 32-bit objects that needs the stack aligned aligns it itself.

A client promises 4 bytes only, and so does every way in that a client does not take: load and unload, threads, exception
handlers, callbacks. A function that keeps a vector on the stack therefore aligns the pointer first, whoever calls it.

Usage: check_stack_realign.py OBJDUMP OBJECT...
"""
import re
import subprocess
import sys

FUNCTION = re.compile(r"^[0-9a-f]+ <(.+)>:$")
ALIGNS = re.compile(r"\band \s*\$0xf+[0-9a-f]0,%esp")
# A whole vector in memory has to be aligned but for these moves; scalars and halves have not.
WHOLE = re.compile(r"\t(?!(?:v?mov(?:ups|upd|dqu|ss|sd|d|q|lps|hps|lpd|hpd|ddup)|lddqu|pinsr.|pextr.|u?comis.|pmov.*|cvt.*|\w+(?:ss|sd))\s)"
                   r"\w+\s.*\((?:%esp|%ebp)[^)]*\).*%xmm|"
                   r"\t(?:movaps|movapd|movdqa|movntdq|movntps)\s.*%xmm\d,.*\((?:%esp|%ebp)")


def functions(objdump, objects):
    listing = subprocess.run([objdump, "-d", "--no-show-raw-insn", *objects], check=True, capture_output=True, text=True).stdout
    source, name, body = None, None, []
    for line in listing.splitlines():
        if ":     file format " in line:
            source = line.split(":")[0]
        elif match := FUNCTION.match(line):
            if name:
                yield source_of, name, body
            source_of, name, body = source, match[1], []
        elif name:
            body.append(line)
    if name:
        yield source_of, name, body


def main():
    seen = wrong = 0
    for source, name, body in functions(sys.argv[1], sys.argv[2:]):
        if name.endswith(".cold") or not any(WHOLE.search(line) for line in body):
            continue
        seen += 1
        if not any(ALIGNS.search(line) for line in body):
            wrong += 1
            print(f"{source}: {name} relies on its caller for the alignment of the stack")
    print(f"{seen} functions keep vectors on the stack")
    return 1 if wrong or not seen else 0


sys.exit(main())
