"""What the Python tests share: running tools, ffmpeg as the oracle, source pictures."""
import collections
import json
import pathlib
import re
import subprocess
import sys


class TestFailure(Exception):
    """A contract that does not hold; the text says which."""


def check(condition, text):
    if not condition:
        raise TestFailure(text)


def exit_with(test):
    """Runs a test program's main function and ends with its exit status: 0 also for none, 1 for a contract that does not hold."""
    try:
        status = test() or 0
    except TestFailure as failure:
        print(f"FAILED: {failure}")
        status = 1
    if status == 0:
        print("OK")
    sys.exit(status)


def run(*command, expect=0):
    """Runs a command and returns its standard output; its exit status must be as expected (None: any)."""
    result = subprocess.run([str(c) for c in command], capture_output=True, check=False)
    if expect is not None and result.returncode != expect:
        raise TestFailure(f"{' '.join(str(c) for c in command)}: exit status {result.returncode}\n"
                          f"{result.stderr.decode(errors='replace')[-2000:]}")
    return result


def run_json(*command):
    return json.loads(run(*command).stdout)


def ffmpeg_pictures(stream, output):
    """Decodes with ffmpeg into raw pictures; any message is a failure."""
    result = run("ffmpeg", "-nostdin", "-y", "-v", "warning", "-flags", "unaligned", "-threads", "1", "-f", "h264", "-i", stream,
                 "-fps_mode", "passthrough", "-f", "rawvideo", output)
    check(not result.stderr, f"ffmpeg has something to say about {stream}: {result.stderr.decode(errors='replace')[:500]}")


def ffmpeg_headers(stream):
    """The syntax elements of every header unit as ffmpeg's trace has them: a list of (unit, {element: value}).

    ffmpeg shows the parameter sets in front of the first slice once more ahead of everything; that copy is left out.
    """
    trace = run("ffmpeg", "-nostdin", "-v", "info", "-f", "h264", "-i", stream, "-c", "copy", "-bsf:v", "trace_headers", "-f", "null",
                "-").stderr.decode(errors="replace")
    units = []
    for line in trace.splitlines():
        line = re.sub(r"^\[trace_headers @ [^\]]*\] ", "", line)
        element = re.match(r"\d+\s+(\S+)\s+[01]+ = (-?\d+)$", line)
        if element and units:
            units[-1][1].setdefault(element.group(1), int(element.group(2)))
        elif line in ("Sequence Parameter Set", "Picture Parameter Set", "Slice Header", "Access Unit Delimiter",
                      "Supplemental Enhancement Information"):
            units.append((line, {}))
    first_slice = next((i for i, (unit, _) in enumerate(units) if unit == "Slice Header"), 0)
    return units[first_slice // 2:]


def same_pictures(expected, actual, size, what):
    """Compares two files of raw I420 pictures and names the first wrong macroblock."""
    a, b = pathlib.Path(expected).read_bytes(), pathlib.Path(actual).read_bytes()
    if a == b:
        return
    width, height = size
    luma, frame = width * height, width * height + 2 * ((width + 1) // 2) * ((height + 1) // 2)
    check(len(a) == len(b), f"{what}: {len(b)} bytes instead of {len(a)} ({len(a) // frame} pictures)")
    index = next(i for i in range(len(a)) if a[i] != b[i])
    offset = index % frame
    if offset < luma:
        place = f"luma macroblock ({offset % width // 16}, {offset // width // 16})"
    else:
        place = f"chroma byte {offset - luma}"
    raise TestFailure(f"{what}: picture {index // frame} differs first in {place}")


def our_digests(h264_decode, stream, folder, *more):
    """Exit status, error text and the MD5 of every picture that h264_decode gives. A negative status is a crash."""
    listing = pathlib.Path(folder) / "pictures.md5"
    listing.unlink(missing_ok=True)
    done = run(h264_decode, stream, "--framemd5", listing, *more, expect=None)
    return done.returncode, done.stderr.decode(errors="replace").strip(), listing.read_text().split() if listing.exists() else []


def ffmpeg_digests(stream, demuxer=("-f", "h264")):
    """The MD5 of every picture that ffmpeg gives; any message is a failure."""
    done = run("ffmpeg", "-v", "error", "-nostdin", "-flags", "unaligned", "-threads", "1", *demuxer, "-i", stream, "-map", "0:v",
               "-autoscale", "0", "-fps_mode", "passthrough", "-f", "framehash", "-hash", "md5", "-")
    check(not done.stderr, f"{stream}: ffmpeg complains: {done.stderr.decode(errors='replace')}")
    lines = done.stdout.decode().splitlines()
    return [line.rsplit(",", 1)[1].strip() for line in lines if not line.startswith("#")]


def digest_difference(ours, expected, in_order):
    """What is wrong, or None. Streams that reorder by more than one picture are compared as sets of pictures."""
    if ours == expected or (not in_order and collections.Counter(ours) == collections.Counter(expected)):
        return None
    first = next((i for i, (a, b) in enumerate(zip(ours, expected)) if a != b), min(len(ours), len(expected)))
    return f"{len(ours)} pictures of {len(expected)}, the first difference at picture {first}"


def fails(*command, text):
    """The line of a failure: an exit status other than 0, no crash, and one line of the program's own on standard error, the
    last, which holds the text. Drivers that are looked for may have complained before."""
    result = run(*command, expect=None)
    lines = result.stderr.decode(errors="replace").splitlines()
    check(result.returncode > 0, f"{command}: exit status {result.returncode}")
    program = pathlib.Path(command[0]).name
    own = [line for line in lines if line.startswith(program) or text in line]
    check(len(own) == 1 and own == lines[-1:] and text in own[0], f"{command}: {lines}")
    return own[0]


def reconstruction(tools, raw, size, fps, kbps, keyint, stream):
    """What the encoder saw of a stream that qvlx made of raw pictures: the encoder's own class makes the same stream again."""
    again, recon = stream.with_name("again.264"), stream.with_name("recon.yuv")
    sets = [f"frame_rate={fps}", f"bitrate={kbps * 1000}"]
    if keyint:
        sets += [f"key_frame_interval={keyint}", "idr_interval=1"]
    run(tools / "h264_encode", raw, "--size", size, *[a for s in sets for a in ("--set", s)], "-o", again, "--recon", recon)
    check(stream.read_bytes() == again.read_bytes(), f"{raw}: h264_encode writes another stream than the product")
    return recon


def decoders_agree(tools, stream, recon, size, what):
    """ffmpeg and both decoders of the tree give the reconstruction."""
    out = stream.with_name("decoded.yuv")
    ffmpeg_pictures(stream, out)
    same_pictures(recon, out, size, f"{what}: ffmpeg against the reconstruction")
    run(tools / "h264_decode", stream, "-o", out)
    same_pictures(recon, out, size, f"{what}: h264_decode against the reconstruction")
    run(tools / "qvlx", "decode", stream, "-o", out, "--mode", 0, "--quiet")
    same_pictures(recon, out, size, f"{what}: qvlx decode against the reconstruction")
