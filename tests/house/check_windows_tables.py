#!/usr/bin/env python3
"""Fails unless the Windows library exports and imports what the list says, and unless the programs need nothing but the system's
libraries and ours.

Usage: check_windows_tables.py OBJDUMP LIST LIBRARY PROGRAM...    UPDATE_TABLES=1 writes the list anew
"""
import os
import pathlib
import re
import subprocess
import sys

EXPORTED = ["CreateVCodec", "CreateVideoProcess", "IPP_RGB24ToRGB32", "IPP_RGB24ToYUV420", "IPP_RGB24_Scale", "IPP_RGB32ToRGB24",
            "IPP_YUV420ToRGB24", "IPP_YUV420_Scale"]
# Part of every Windows of the last twenty years.
SYSTEM = {"advapi32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll", "oleaut32.dll", "shell32.dll", "user32.dll"}
OF_PROGRAMS = {"quilvex.dll", "ws2_32.dll"}  # the second for libgcrypt's random numbers
HEADING = ("# What quilvex.dll exports, and what it takes from the system's libraries. UPDATE_TABLES=1 before the test writes it anew.\n"
           "# A new line here is a new demand on the client's machine.\n")


def dump(objdump, binary):
    return subprocess.run([objdump, "-p", binary], check=True, capture_output=True, text=True).stdout


def imports(text):
    """Each library with the functions taken from it; one without a name shows its ordinal."""
    found = {}
    for block in text.split("DLL Name: ")[1:]:
        name, *lines = block.splitlines()
        rows = [line.split() for line in lines[1:]]
        members = [row for row in rows[:rows.index([])]]
        found[name.strip()] = sorted({row[2] if len(row) > 2 and row[2] != "<none>" else f"ordinal {row[1]}" for row in members})
    return found


def exports(text):
    """The exported names, and how many functions there are, those without a name included."""
    names = re.search(r"\[Ordinal/Name Pointer\] Table.*\n((?:\t\[.*\n)*)", text)
    count = re.search(r"\tExport Address Table \t\t([0-9a-f]+)\n", text)
    return [line.split()[-1] for line in names.group(1).splitlines()], int(count.group(1), 16)


def listing(text):
    lines = ["exports"] + [f"    {name}" for name in exports(text)[0]]
    for library, functions in sorted(imports(text).items(), key=lambda item: item[0].lower()):
        lines += [f"imports from {library}"] + [f"    {name}" for name in functions]
    return lines


def flat(lines):
    """The lines of a list, each with its heading in front."""
    heading, entries = "", []
    for line in lines:
        if line.startswith(" "):
            entries.append(f"{heading}: {line.strip()}")
        elif line and not line.startswith("#"):
            heading = line
    return entries


def foreign_libraries(name, text, allowed):
    """What a client's machine would lack."""
    for library in imports(text):
        if library.lower() not in allowed:
            yield f"{name} needs {library}, which is no library of the system"


def library_faults(text, list_path):
    names, count = exports(text)
    if names != EXPORTED or count != len(EXPORTED):
        yield f"quilvex.dll exports {count} functions by the names {names}, not just the eight: {EXPORTED}"
    found = listing(text)
    if os.environ.get("UPDATE_TABLES") == "1":
        list_path.write_text(HEADING + "\n".join(found) + "\n", encoding="utf-8")
    listed = set(flat(list_path.read_text(encoding="utf-8").splitlines()))
    for entry in sorted(set(flat(found)) - listed):
        yield f"not in {list_path.name}: {entry}"
    for entry in sorted(listed - set(flat(found))):
        yield f"in {list_path.name} and no longer in quilvex.dll: {entry}"


def main():
    objdump, list_name, library, *programs = sys.argv[1:]
    text = dump(objdump, library)
    print("\n".join(listing(text)))
    faults = [*library_faults(text, pathlib.Path(list_name)), *foreign_libraries("quilvex.dll", text, SYSTEM)]
    for program in programs:
        faults += foreign_libraries(pathlib.Path(program).name, dump(objdump, program), SYSTEM | OF_PROGRAMS)
    print("\n".join(faults) if faults else f"the tables are those of the list, and {len(programs)} programs need no other library")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
