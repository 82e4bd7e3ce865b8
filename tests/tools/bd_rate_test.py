#!/usr/bin/env python3
"""The arithmetic of the BD-rate against numbers worked by hand, and the tables that the script makes.

Usage: bd_rate_test.py TOOLS
"""
import pathlib
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests" / "support"), str(ROOT / "scripts")]
from bd_curve import Curve, bd_rate  # noqa: E402
from bd_rate import PRODUCT, TABLES, TOOLS, cells, percentage, table, timed, write_between  # noqa: E402
from oracle import check, exit_with, run  # noqa: E402


def close(value, wanted, what, by=1e-9):
    check(abs(value - wanted) <= by, f"{what}: {value}, not {wanted}")


def slopes():
    # Inside: the weighted harmonic mean, 6 / (3 / 1 + 3 / 2), and 0 at a flat part. At the ends: (3 * 1 - 2) / 2, and
    # 0 where the end would rise against its interval.
    for found, wanted in zip(Curve([(0, 0), (1, 1), (2, 3), (3, 3)]).slopes, (0.5, 4 / 3, 0, 0)):
        close(found, wanted, "a slope")
    # Widths of 1 and 3, slopes of 1 and 3: inside 12 / (7 / 1 + 5 / 3), ends (5 * 1 - 3) / 4 and (7 * 3 - 3) / 4.
    for found, wanted in zip(Curve([(0, 0), (1, 1), (4, 10)]).slopes, (0.5, 12 / (7 + 5 / 3), 4.5)):
        close(found, wanted, "a slope of unequal widths")
    # Up and down: a peak is flat, and an end is no steeper than three times its interval.
    for found, wanted in zip(Curve([(0, 0), (1, 1), (2, -9)]).slopes, (3, 0, -15.5)):
        close(found, wanted, "a slope at a peak")


def integrals():
    curve = Curve([(0, 0), (1, 1), (2, 3), (3, 3)])
    # Of a cubic piece: width * mean of the ends + width squared * (difference of the slopes) / 12.
    first, second, third = 0.5 + (0.5 - 4 / 3) / 12, 2 + (4 / 3) / 12, 3
    close(curve.integral(0, 1), first, "the first piece")
    close(curve.integral(1, 2), second, "the second piece")
    close(curve.integral(0, 3), first + second + third, "all pieces")
    # The first is t / 2 + 2 t^2 / 3 - t^3 / 6, which is 1 with the slope 4 / 3 at 1.
    half = 1 / 2 / 8 + 2 / 3 / 24 - 1 / 6 / 64
    close(curve.integral(0, 0.5), half, "half a piece")
    close(curve.integral(0.5, 2.5), first + second + third - half - 1.5, "from the middle to the middle")
    # x^2 is no piecewise cubic of this kind, but a line is: exactly.
    close(Curve([(0, 1), (1, 3), (4, 9), (5, 11)]).integral(0.5, 4.5), 0.5 * (2 + 10) * 4, "a line")


def rates():
    points = [(100, 30.0), (210, 33.1), (400, 36.4), (900, 39.2)]
    close(bd_rate(points, points), 0, "a curve over itself")
    close(bd_rate(points, [(rate * 1.1, psnr) for rate, psnr in points]), 10, "a tenth more rate")
    close(bd_rate(points, [(rate / 2, psnr) for rate, psnr in reversed(points)]), -50, "half the rate, reversed")
    # Lines: the logarithms 0.1 p - 1 and 0.12 p - 1.6 differ by 0.02 p - 0.6; over 30..36 that is 0.06 in the mean.
    anchor = [(10**(0.1 * p - 1), p) for p in (30, 32, 34, 36)]
    for places, mean in (((30, 31, 35, 36), 0.06), ((33, 35, 37, 39), 0.09)):  # and where they overlap, 33..36
        other = [(10**(0.12 * p - 1.6), p) for p in places]
        close(bd_rate(anchor, other), (10**mean - 1) * 100, f"lines to {places}", 1e-6)
    for other in ([(1, 40), (2, 41), (3, 42), (4, 43)], [(1, 30), (2, 30), (3, 31), (4, 32)], [(1, 30), (2, 31)]):
        check(isinstance(percentage(points, other), str), f"a number for {other}")


def rows():
    found = cells("a", [1.0, -2.04], "x 2")
    check(found == ("a", "+1.0 %", "-2.0 %", "-0.5 %", "x 2"), f"{found}")
    check(cells("b", ["not built yet"], "-") == ("b", "not built yet", "-", "-"), "a row of what is not built")
    check(percentage([(1, 2)], None) == "not built yet", "a setting that is not built")
    points = [(100, 30.0), (210, 33.1), (400, 36.4), (900, 39.2)]
    tenth = [(rate * 1.1, psnr) for rate, psnr in points]
    curves = {PRODUCT: [(points, 2.0), (points, 2.0)], "t": [(tenth, 3.0), (points, 4.0)], "none": [(None, 0)] * 2}
    lines = table("Title:", ["x", "y"], curves, [("t", PRODUCT, "t"), ("none", PRODUCT, "none")]).splitlines()
    check(lines[4:6] == ["| t | +10.0 % | +0.0 % | +5.0 % | x 1.75 |",
                         "| none | not built yet | not built yet | - | - |"], f"{lines}")
    check("4.0 seconds" in lines[-1], lines[-1])


def tables_in_a_file():
    with tempfile.NamedTemporaryFile("w+", suffix=".md") as file:
        path = pathlib.Path(file.name)
        path.write_text(f"before\n{TABLES[0]}\nold\n{TABLES[1]}\nbehind\n")
        for _ in range(2):
            write_between(path, TABLES, "new")
        check(path.read_text() == f"before\n{TABLES[0]}\n\nnew\n\n{TABLES[1]}\nbehind\n", path.read_text())


def time_of_a_program():
    work = "import sys\nfor i in range(2000000): pass\nprint('out'); print('err', file=sys.stderr); sys.exit(3)"
    done, seconds = timed(sys.executable, "-c", work)
    check((done.returncode, done.stdout, done.stderr) == (3, b"out\n", b"err\n"), f"{done}")
    check(0 < seconds < 60, f"{seconds} seconds")


def the_script(tools):
    def lines(*options):
        done = run(sys.executable, ROOT / "scripts" / "bd_rate.py", tools, *options)
        rows = [line.strip("| ").split(" | ") for line in done.stdout.decode().splitlines() if line.startswith("| ")]
        return {name: found for name, *found in rows}

    with tempfile.TemporaryDirectory() as name:
        clip = pathlib.Path(name) / "clip.y4m"
        run(tools / "camera_scene", "-o", clip, "--size", "176x144", "--frames", 14)
        settings, peers = lines(clip, "--tools", "--frames", 12), lines(clip, "--frames", 12)
    check(len(settings) == len(TOOLS) + 2, f"{settings}")
    cavlc = settings["CAVLC (`entropy_coding_mode=0`)"][0].removesuffix(" %")
    check(float(cavlc) > 1, f"CAVLC needs {cavlc} % more")
    check("over x264 superfast" in peers and peers["over x264 superfast"][0].endswith(" %"), f"{peers}")
    scene = lines("--clips", 1, "--frames", 4)
    check(scene["over x264 superfast"][0].endswith(" %"), f"{scene}")


def main():
    slopes()
    integrals()
    rates()
    rows()
    tables_in_a_file()
    time_of_a_program()
    the_script(pathlib.Path(sys.argv[1]))


if __name__ == "__main__":
    exit_with(main)
