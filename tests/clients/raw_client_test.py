#!/usr/bin/env python3
"""Runs the client without headers and asks ffmpeg about its stream: no message, the pictures that the library decoded, bit for bit, and
key pictures where the client forced one and where it set the rate.

Usage: raw_client_test.py LIBRARY [EMULATOR...] CLIENT
"""
import pathlib
import subprocess
import sys
import tempfile

KEY_PICTURES = [0, 8, 16]
PICTURES = 24


def main():
    library, *client = sys.argv[1:]
    with tempfile.TemporaryDirectory(dir=pathlib.Path(library).parent) as folder:
        stream, own = pathlib.Path(folder) / "client.264", pathlib.Path(folder) / "client.yuv"
        subprocess.run([*client, library, str(stream), str(own)], check=True)
        decoded = subprocess.run(["ffmpeg", "-v", "warning", "-f", "h264", "-i", str(stream), "-f", "rawvideo", "-pix_fmt", "yuv420p",
                                  "-"], check=True, capture_output=True)
        frames = subprocess.run(["ffprobe", "-v", "error", "-f", "h264", "-show_entries", "frame=key_frame", "-of", "csv=p=0",
                                 str(stream)], check=True, capture_output=True, text=True).stdout.split()
        same = decoded.stdout == own.read_bytes()
    keys = [index for index, frame in enumerate(frames) if frame.startswith("1")]
    print(f"{len(frames)} pictures, keys {keys}, {'the same' if same else 'other'} pictures in ffmpeg")
    print(decoded.stderr.decode(), end="")
    return 0 if same and not decoded.stderr and keys == KEY_PICTURES and len(frames) == PICTURES else 1


if __name__ == "__main__":
    sys.exit(main())
