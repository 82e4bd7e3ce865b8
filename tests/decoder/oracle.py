"""Decoding with h264_decode and with ffmpeg, for the tests that compare the two."""
import collections
import os
import subprocess

ORACLE = ["ffmpeg", "-v", "error", "-nostdin", "-flags", "unaligned", "-threads", "1"]


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **options)


def our_pictures(tool, stream, work, more=()):
    """Exit status, error text and the MD5 of every picture in output order. A negative status is a crash."""
    list_name = os.path.join(work, "pictures.md5")
    if os.path.exists(list_name):
        os.remove(list_name)
    done = run([tool, stream, "--framemd5", list_name, *more])
    with open(list_name) as file:
        return done.returncode, done.stderr.strip(), file.read().split()


def oracle_pictures(stream):
    done = run(ORACLE + ["-f", "h264", "-i", stream, "-autoscale", "0", "-fps_mode", "passthrough",
                         "-f", "framehash", "-hash", "md5", "-"])
    if done.returncode != 0 or done.stderr:
        raise RuntimeError(f"{stream}: the oracle complains: {done.stderr}")
    return [line.rsplit(",", 1)[1].strip() for line in done.stdout.splitlines() if not line.startswith("#")]


def difference(ours, expected, in_order):
    """What is wrong, or None. Streams that reorder by more than one picture are compared as sets of pictures."""
    if ours == expected:
        return None
    if not in_order and collections.Counter(ours) == collections.Counter(expected):
        return None
    first = next((i for i, (a, b) in enumerate(zip(ours, expected)) if a != b), min(len(ours), len(expected)))
    return f"{len(ours)} pictures of {len(expected)}, the first difference at picture {first}"
