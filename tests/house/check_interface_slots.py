#!/usr/bin/env python3
"""Fails unless Microsoft's compiler, in whose place clang stands, gives both interfaces the slots that clients call: from the public
headers and from declarations with a virtual destructor, as a client may have its own.

Usage: check_interface_slots.py ROOT
"""
import pathlib
import re
import subprocess
import sys

SLOTS = {
    "IVCodec": ["DeletingDestructor", "GetFamilyTag", "AddRef", "Release", "Reset", "GetBackendTag", "InitEncoder", "Encode",
                "InitDecoder", "Decode", "SetBitrate"],
    "IVideoProcess": ["DeletingDestructor", "AddRef", "Release", "SetKeyingEnabled", "GetKeyingEnabled", "SetBackgroundImage",
                      "SetKeyColor", "GetKeyColor", "GetDefaultKeyColor", "SetKeyDistance", "GetKeyDistance",
                      "GetDefaultKeyDistance", "SetSmoothingEnabled", "GetSmoothingEnabled", "SetBrightness", "GetBrightness",
                      "ProcessFrame"],
}
TABLE = re.compile(r"VFTable indices for '(\w+)' \((\d+) entr(?:y|ies)\)\.\n((?: +\d+ \| .*\n)+)")


def tables(root, header):
    """The table of each interface, one declaration a slot, as the compiler lists it."""
    command = ["clang++", "-target", "i686-pc-windows-msvc", "-std=c++11", "-I", str(root / "include"),
               f'-DINTERFACE_HEADER="{header}"', "-S", "-emit-llvm", "-o", "/dev/null", "-Xclang", "-fdump-vtable-layouts",
               str(root / "tests" / "house" / "interface_slots.cpp")]
    listing = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return {name: [line.split("|", 1)[1].replace("[pure]", "").strip() for line in slots.splitlines()]
            for name, _, slots in TABLE.findall(listing)}


def operation(interface, declaration):
    """The bare name of a slot; a destructor counts as slot 0's operation only in the form that frees by a flag."""
    if declaration.endswith(f"::~{interface}() [scalar deleting]"):
        return "DeletingDestructor"
    found = re.search(rf"{interface}::(~?\w+)\(", declaration)
    return found.group(1) if found else declaration


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    headers = {"public headers": root / "include" / "quilvex" / "Quilvex.h", "a client's own": root / "tests/clients/foreign_interface.h"}
    found = {form: tables(root, header) for form, header in headers.items()}
    failed = False
    for interface, expected in SLOTS.items():
        for form in headers:
            slots = found[form].get(interface, [])
            names = [operation(interface, slot) for slot in slots]
            if names != expected:
                failed = True
                print(f"{interface}, {form}: {len(names)} slots {names}, expected {len(expected)}: {expected}")
            if slots[1:] != found["public headers"].get(interface, [])[1:]:
                failed = True
                print(f"{interface}: {form} takes other arguments: {slots}")
        print(f"{interface}: {len(expected)} slots")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
