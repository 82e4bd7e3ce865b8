"""What a run of the matrix of the encoder's settings tells: its summary, and the table of all rows."""
import collections

from encoder_oracles import ORACLES
from encoder_rows import DEFAULTS

EXACT, NOT_BUILT, REFUSED = "exact", "not built yet", "refused as it should be"
PINNED, ALIKE = "as it was kept", "the same in both builds"
ADAPTIVE_FRAMES = ("coding_type", 2)  # without them no macroblock of a frame is a field macroblock


def corrections(row, report):
    """What the record in force has made of the settings that were given: those that differ from them."""
    given = DEFAULTS | row.settings
    found = report["settings"]
    return {name: found[name] for name in given if name in found and found[name] != given[name]}


def used(report):
    """The tools that the stream has really used, with their numbers."""
    tools = dict(report["tools"])
    references = " ".join(str(i) for i, n in enumerate(tools.pop("references")) if n)
    counts = [f"{name} {n}" for name, n in tools.items() if n]
    return ", ".join(counts + [f"references {references}"] * bool(references))


def never_used(reports, missing):
    """The tools that no stream has used."""
    sums = collections.Counter()
    for report in reports:
        sums.update({name: n for name, n in report["tools"].items() if name != "references"})
    return [name for name, n in sums.items() if not n and not ("field" in name and ADAPTIVE_FRAMES in missing)]


def settings_text(pairs):
    return ", ".join(f"{name}={value}" for name, value in pairs) or "-"


def asked_text(row):
    types = [("types", row.types.replace(",", " "))] if row.types else []
    return settings_text([*row.changed().items(), *types])


TABLE_HEAD = """# Settings that the encoder was tried with

Made by

```sh
scripts/encoder_matrix.py build/release --table docs/encoder_settings.md
```

`exact` means that all pictures of the oracle are the encoder's own reconstruction bit for bit, with not a word from
ffmpeg. An alpha plane is compared as well: its pictures, made primary ones of a monochrome stream, decode to it. Of
pictures without chroma luma alone is compared, as decoders make the rest up. What is unusual about a row stands behind
its name.
"""


def table(rows, outcomes, missing):
    lines = [TABLE_HEAD, *(f"- `{name}`: {text}" for name, text in ORACLES.items()), "",
             f"Settings that the encoder does not have yet: {settings_text(sorted(missing))}.", "",
             "| row | pictures | settings that are no defaults | made of them | tools used | oracle | result |",
             "| --- | --- | --- | --- | --- | --- | --- |"]
    for row, (result, report, oracle) in zip(rows, outcomes):
        made, tools = (settings_text(corrections(row, report).items()), used(report)) if report else ("-", "-")
        name = f"{row.name}: {row.note}" if row.note else row.name
        cells = (name, f"{row.frames} of {row.size}", asked_text(row), made, tools, oracle or "-", result)
        lines.append(f"| {' | '.join(cells)} |")
    return "\n".join(lines) + "\n"


def summary(rows, results, missing):
    """Prints what is wrong and what is not there, and gives the exit status."""
    good = (EXACT, NOT_BUILT, REFUSED, PINNED, ALIKE)
    counts = collections.Counter(result if result in good else "wrong" for result in results)
    for row, result in zip(rows, results):
        if result not in good:
            print(f"{row.name}: {asked_text(row)}, {row.frames} of {row.size}: {result.strip('*')}")
    print(f"not built yet: {settings_text(sorted(missing))}")
    not_built = [row.name for row, result in zip(rows, results) if result == NOT_BUILT]
    print(f"rows that ask for it: {'; '.join(not_built) or '-'}")
    print(f"{len(rows)} rows: " + ", ".join(f"{n} {what}" for what, n in counts.items()))
    return 1 if counts["wrong"] or not rows else 0
