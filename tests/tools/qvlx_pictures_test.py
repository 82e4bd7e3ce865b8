#!/usr/bin/env python3
"""The commands of qvlx that turn pictures into pictures, against ffmpeg and exact values, and one clear line for every failure.

Usage: qvlx_pictures_test.py TOOLS
"""
import os
import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from oracle import check, exit_with, fails, run, run_json  # noqa: E402

WIDTH, HEIGHT, FRAMES = 96, 64, 5
SIZE = f"{WIDTH}x{HEIGHT}"


def ffmpeg(*arguments):
    run("ffmpeg", "-nostdin", "-y", "-v", "error", *arguments)


def raw_of(picture, pixels, output):
    """The samples of any picture file by ffmpeg."""
    ffmpeg("-i", picture, "-f", "rawvideo", "-pix_fmt", pixels, output)
    return output.read_bytes()


def psnr(a, b):
    check(len(a) == len(b) and a, f"{len(a)} bytes and {len(b)} bytes")
    squares = sum((x - y) ** 2 for x, y in zip(a, b))
    return 255 * 255 * len(a) / squares if squares else float("inf")


def converting(qvlx, folder, source):
    report = run_json(qvlx, "convert", source, "-o", folder / "a.rgb24", "--json")
    check((report["frames"], report["width"], report["height"]) == (FRAMES, WIDTH, HEIGHT), f"{report}")
    rgb = (folder / "a.rgb24").read_bytes()
    check(len(rgb) == FRAMES * WIDTH * HEIGHT * 3, "the size of the pictures")
    ours = raw_of(source, "bgr24", folder / "f.rgb24")
    check(psnr(rgb, ours) > 10 ** 3.5, "I420 to RGB differs from ffmpeg's by more than 35 dB")
    # A fourth byte of 255 and back: nothing is lost.
    run(qvlx, "convert", folder / "a.rgb24", "--size", SIZE, "-o", folder / "a.rgb32", "--quiet")
    with_alpha = (folder / "a.rgb32").read_bytes()
    check(with_alpha[3::4] == b"\xff" * (len(rgb) // 3) and with_alpha[0::4] == rgb[0::3] and with_alpha[2::4] == rgb[2::3], "RGB32")
    run(qvlx, "convert", folder / "a.rgb32", "--size", SIZE, "-o", folder / "b", "--to", "rgb24", "--quiet")
    check((folder / "b").read_bytes() == rgb, "RGB32 to RGB24")
    # RGB to planes and the rate of the source in the header.
    run(qvlx, "convert", folder / "a.rgb32", "--size", SIZE, "-o", folder / "b.yuv", "--quiet")
    planes = (folder / "b.yuv").read_bytes()
    check(psnr(planes, raw_of(source, "yuv420p", folder / "f.yuv")) > 10 ** 3.8, "RGB to I420 is not the source again within 38 dB")
    run(qvlx, "convert", source, "-o", folder / "c.y4m", "--frames", 2, "--quiet")
    check((folder / "c.y4m").read_bytes().startswith(b"YUV4MPEG2 W96 H64 F24:1 "), "the header")
    check(raw_of(folder / "c.y4m", "yuv420p", folder / "f.yuv") == raw_of(source, "yuv420p", folder / "g.yuv")[:2 * WIDTH * HEIGHT * 3 // 2],
          "y4m to y4m is a copy")
    text = run(qvlx, "convert", source, "-o", folder / "c.y4m").stdout.decode()
    check(text.startswith(f"converted {FRAMES} pictures, {SIZE}, "), text)


def png_files(qvlx, folder):
    """PNG is red first and raw RGB blue first; odd sizes are whole; ffmpeg reads and writes the same."""
    pixels = bytes(i * 7 % 256 for i in range(7 * 5 * 3))
    (folder / "p.rgb24").write_bytes(pixels)
    run(qvlx, "convert", folder / "p.rgb24", "--size", "7x5", "-o", folder / "p.png", "--quiet")
    check(raw_of(folder / "p.png", "bgr24", folder / "f.raw") == pixels, "PNG as ffmpeg reads it")
    ffmpeg("-f", "rawvideo", "-pix_fmt", "bgr24", "-s", "7x5", "-i", folder / "p.rgb24", folder / "q.png")
    run(qvlx, "convert", folder / "q.png", "-o", folder / "q.rgb24", "--quiet")
    check((folder / "q.rgb24").read_bytes() == pixels, "PNG as ffmpeg writes it")
    for pixel_format in ("gray", "pal8", "rgba", "rgb48be"):  # every kind of PNG is read
        ffmpeg("-i", folder / "p.png", "-pix_fmt", pixel_format, folder / "k.png")
        run(qvlx, "convert", folder / "k.png", "-o", folder / "k.rgb24", "--quiet")
        check((folder / "k.rgb24").stat().st_size == len(pixels), pixel_format)
    deep = (folder / "k.rgb24").read_bytes()
    check(max(abs(a - b) for a, b in zip(deep, pixels)) <= 1, "16 bits a sample, which ffmpeg makes of 8")


def scaling(qvlx, folder, source):
    run(qvlx, "scale", source, "-o", folder / "s.y4m", "--to-size", "48x32", "--quiet")
    ours = raw_of(folder / "s.y4m", "yuv420p", folder / "f.yuv")
    check(len(ours) == FRAMES * 48 * 32 * 3 // 2, "the size of the scaled pictures")
    ffmpeg("-i", source, "-vf", "scale=48:32:flags=area", "-f", "rawvideo", "-pix_fmt", "yuv420p", folder / "g.yuv")
    check(psnr(ours, (folder / "g.yuv").read_bytes()) > 10 ** 3.2, "scaled planes differ from ffmpeg's by more than 32 dB")
    run(qvlx, "scale", source, "-o", folder / "s.png", "--to-size", "48x32", "--frames", 1, "--quiet")
    picture = folder / "flat.rgb24"
    picture.write_bytes(bytes((10, 200, 77)) * 99)
    run(qvlx, "scale", picture, "--size", "11x9", "-o", folder / "flat2.rgb24", "--to-size", "23x5", "--quiet")
    check((folder / "flat2.rgb24").read_bytes() == bytes((10, 200, 77)) * 115, "a flat picture stays flat")
    run(qvlx, "convert", source, "-o", folder / "one.png", "--frames", 1, "--quiet")
    report = run_json(qvlx, "scale", folder / "one.png", "-o", folder / "two.png", "--to-size", "191x127", "--json")
    check((report["width"], report["height"]) == (191, 127), f"{report}")
    ffmpeg("-i", folder / "one.png", "-vf", "format=gbrp,scale=191:127:flags=bicubic", folder / "g.png")
    check(psnr(raw_of(folder / "two.png", "bgr24", folder / "f.raw"), raw_of(folder / "g.png", "bgr24", folder / "g.raw")) > 10 ** 4.2,
          "a cubic enlargement differs from ffmpeg's, which is a little sharper, by more than 42 dB")


def processing(qvlx, folder):
    green, back = folder / "green.rgb24", folder / "back.png"
    key, other = bytes((92, 250, 69)), bytes((30, 40, 200))
    half = WIDTH // 2
    green.write_bytes((key * half + other * half) * HEIGHT)  # the left half is the key
    (folder / "back.rgb24").write_bytes(bytes(i * 5 % 251 for i in range(WIDTH * HEIGHT * 3)))
    run(qvlx, "convert", folder / "back.rgb24", "--size", SIZE, "-o", back, "--quiet")
    process = (qvlx, "process", green, "--size", SIZE, "-o", folder / "out.rgb24")
    background, source = (folder / "back.rgb24").read_bytes(), green.read_bytes()
    result = lambda: (folder / "out.rgb24").read_bytes()
    row = lambda picture, y, begin, end: picture[(y * WIDTH + begin) * 3:(y * WIDTH + end) * 3]

    run(*process, "--quiet")
    check(result() == source, "with all off nothing changes")
    report = run_json(*process, "--background", back, "--json")
    check(report["frames"] == 1 and report["width"] == WIDTH, f"{report}")
    for y in range(HEIGHT):
        check(row(result(), y, 0, half - 2) == row(background, y, 0, half - 2), "the key shows the background")
        check(max(abs(a - b) for a, b in zip(row(result(), y, half + 2, WIDTH), row(source, y, half + 2, WIDTH))) <= 3, "the rest stays")
    run(*process, "--background", back, "--key-color", "200,40,30", "--key-distance", 30, "--quiet")
    check(row(result(), 9, half + 2, WIDTH) == row(background, 9, half + 2, WIDTH), "another key colour")
    run(*process, "--key-distance", 60, "--quiet")
    check(max(abs(a - b) for a, b in zip(result(), source)) <= 3, "keying without a background is a round trip")

    grey = folder / "grey.rgb24"
    grey.write_bytes(bytes((120, 120, 120)) * WIDTH * HEIGHT)
    for brightness, expected in (("0.5", 188), ("-0.5", 50)):  # luma 119 is 178 or 60: (178 - 16) * 1.164 and so on
        run(qvlx, "process", grey, "--size", SIZE, "-o", folder / "g.rgb24", "--brightness", brightness, "--quiet")
        level = (folder / "g.rgb24").read_bytes()
        check(max(abs(v - expected) for v in level) <= 2, f"brightness {brightness}: {level[0]}")
    noisy = folder / "noisy.rgb24"
    noisy.write_bytes(bytes(v for i in range(WIDTH * HEIGHT) for v in [100 + (i * 2654435761 >> 16) % 9] * 3))
    run(qvlx, "process", noisy, "--size", SIZE, "-o", folder / "n.rgb24", "--smooth", "--quiet")
    spread = lambda p: sum(abs(p[3 * (y * WIDTH + x)] - 104) for y in range(8, HEIGHT - 8) for x in range(8, WIDTH - 8))
    check(spread((folder / "n.rgb24").read_bytes()) < spread(noisy.read_bytes()) * 0.7, "--smooth does not smooth")


def sequences(tools, qvlx, folder):
    run(tools / "green_screen", "-o", folder / "g.y4m", "--size", SIZE, "--frames", 3)
    run(tools / "green_screen", "-o", folder / "g.png", "--size", SIZE)
    run(tools / "green_screen", "-o", folder / "land.png", "--size", "64x64", "--landscape")
    run(qvlx, "process", folder / "g.y4m", "-o", folder / "k.y4m", "--background", folder / "land.png", "--smooth", "--brightness", "0.2",
        "--quiet")
    keyed = raw_of(folder / "k.y4m", "bgr24", folder / "f.raw")
    check(len(keyed) == 3 * WIDTH * HEIGHT * 3, "every picture is treated")
    corner = keyed[:3]
    check(not (corner[1] > 200 and corner[2] < 110), f"the screen is gone from the corner: {tuple(corner)}")
    first = (folder / "g.png").read_bytes()
    run(tools / "green_screen", "-o", folder / "h.png", "--size", SIZE)
    check((folder / "h.png").read_bytes() == first, "the scene is the same each time")


def failures(tools, qvlx, folder, source):
    out = folder / "out.y4m"
    one = lambda *command, text: fails(qvlx, *command, text=text)
    raw, empty, png = folder / "cut.rgb24", folder / "empty.rgb24", folder / "p.png"
    raw.write_bytes(bytes(100))
    empty.write_bytes(b"")
    junk = folder / "junk.png"
    junk.write_bytes(b"\x89PNG\r\n\x1a\nnothing")
    damaged = folder / "damaged.png"
    damaged.write_bytes((folder / "one.png").read_bytes()[:600])
    for command in (("convert",), ("scale", "--to-size", "16x16"), ("process",)):
        one(*command, folder / "none.y4m", "-o", out, text="cannot open")
        one(*command, source, "-o", folder / "no" / "folder.y4m", text="cannot write")
        one(*command, source, "-o", "/dev/full", "--to", "y4m", text="cannot write")
        one(*command, source, "-o", folder / "out", text="the name does not tell the format")
        one(*command, folder / "empty", "-o", out, text="the name does not tell the format")
        one(*command, source, "-o", out, "--from", "bmp", text="not a format")
        one(*command, source, "-o", out, "--size", "10x10", text="--size differs")
        one(*command, raw, "-o", out, text="raw pictures need --size")
        one(*command, raw, "-o", out, "--size", "16x16", text="cut short")
        one(*command, raw, "-o", out, "--size", "big", text="not a size")
        one(*command, empty, "-o", out, "--size", "16x16", text="no picture")
        one(*command, junk, "-o", out, text="not a PNG file")
        one(*command, damaged, "-o", out, text="damaged PNG file")
        one(*command, png, "-o", out, "--size", "9x9", text="--size differs")
        one(*command, source, "-o", folder / "many.png", text="a PNG file holds one picture")
        one(*command, raw, "-o", out, "--from", "i420", "--size", "3x5", text="I420 pictures need an even width and height")
    one("convert", png, "-o", out, text="I420 pictures need an even width and height, not 7x5")
    one("scale", source, "-o", out, "--to-size", "15x16", text="I420 pictures need an even")
    one("scale", source, "-o", out, "--to-size", "0x16", text="not a size")
    one("process", source, "-o", out, "--key-color", "1,2", text="not a colour")
    one("process", source, "-o", out, "--key-color", "1,2,256", text="not a colour")
    one("process", source, "-o", out, "--background", folder / "none.png", text="cannot open")
    one("process", source, "-o", out, "--background", source, text="not a PNG file")
    fails(tools / "green_screen", "-o", folder / "x.y4m", "--size", "5x5", text="green_screen: I420 pictures need an even")


def main():
    tools = pathlib.Path(sys.argv[1])
    qvlx = tools / "qvlx"
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        os.environ["XDG_DATA_HOME"] = name
        source = folder / "source.y4m"
        run(tools / "camera_scene", "-o", source, "--size", SIZE, "--frames", FRAMES, "--fps", 24)
        converting(qvlx, folder, source)
        png_files(qvlx, folder)
        scaling(qvlx, folder, source)
        processing(qvlx, folder)
        sequences(tools, qvlx, folder)
        failures(tools, qvlx, folder, source)


if __name__ == "__main__":
    exit_with(main)
