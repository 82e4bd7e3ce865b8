#!/usr/bin/env python3
"""qvlx with hardware engines over substitutes of their drivers, in the shipped library: streams, pictures, reports, and what
happens when an engine refuses or dies.

Usage: engines_test.py TOOLS LIBRARY DRIVERS CONTROL [EMULATOR]
       DRIVERS is the folder of the substitutes, CONTROL the library that they share
"""
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from oracle import check, exit_with, ffmpeg_pictures, run  # noqa: E402

ENGINES = {  # by their tags: the drivers' files, the mode, and an operation with a status that ends an encoder, a decoder
    "NVDA": (("libcuda.so.1", "libnvcuvid.so.1", "libnvidia-encode.so.1"), ("nvcuda.dll", "nvcuvid.dll", "nvEncodeAPI.dll"), 11,
             "nvEncEncodePicture 10 0 20", "cuvidParseVideoData 4 0 999"),
    "AMD": (("libamfrt64.so.1",), ("amfrt32.dll",), 11, "Component.SubmitInput 4 0 1", None),
    "QSVH": (("dispatcher/libmfx.so.1",), ("libmfxhw32.dll",), 11, "MFXVideoENCODE_EncodeFrameAsync 4 0 -17",
             "MFXVideoDECODE_DecodeFrameAsync 4 0 -17"),
    "QSVS": (("dispatcher/libmfx.so.1",), ("libmfxsw32.dll",), 2, "MFXVideoENCODE_EncodeFrameAsync 4 0 -17", None),
}
TAKES_OVER = b"the software codec takes over"
TOLD_LEAKS = "leak:CH264hwDec::MakeSurfaces\n"  # the records of a closed decoder's surfaces, deliberately


class Program:
    """qvlx in a folder of its own, where it finds the drivers of one engine and no others."""

    def __init__(self, folder, tools, library, drivers, control, emulator, names):
        self.folder = folder
        folder.mkdir()
        files = [drivers / name for name in names] + [control]
        if emulator:
            for file in (library.parent / "qvlx.exe", library, *files):
                shutil.copy(file, folder)
            self.command = [*emulator, folder / "qvlx.exe"]
        else:
            for file in files:
                (folder / file.name).symlink_to(file)
            self.command = [tools / "qvlx"]

    def __call__(self, *options, script="", expect=0):
        leaks = self.folder / "told_leaks"
        leaks.write_text(TOLD_LEAKS)
        own = (f"LD_LIBRARY_PATH={self.folder}", f"XDG_DATA_HOME={self.folder}", f"QUILVEX_DRIVER_SCRIPT={script}",
               f"LSAN_OPTIONS=suppressions={leaks}:print_suppressions=0")
        return run("env", *own, *self.command, *options, expect=expect)


def pictures_in(stream):
    """How many pictures ffmpeg gives, whatever it has to say: a stream that changes its encoder changes its sequence."""
    done = subprocess.run(["ffmpeg", "-v", "quiet", "-nostdin", "-f", "h264", "-i", str(stream), "-f", "framemd5", "-"],
                          capture_output=True, check=True)
    return sum(not line.startswith(b"#") for line in done.stdout.splitlines())


def decode(qvlx, tag, stream, mode, script=""):
    """What qvlx has to say; its pictures have to be ffmpeg's."""
    pictures, wanted = qvlx.folder / "pictures.yuv", qvlx.folder / "wanted.yuv"
    ffmpeg_pictures(stream, wanted)
    done = qvlx("decode", stream, "-o", pictures, "--mode", mode, "--json", script=script)
    check(pictures.read_bytes() == wanted.read_bytes(), f"{tag}: its pictures are not ffmpeg's")
    return done


def check_engine(tag, qvlx, mode, source, frames):
    stream = qvlx.folder / "stream.264"
    report = json.loads(qvlx("encode", source, "-o", stream, "--mode", mode, "--keyint", 5, "--kbps", 300, "--json").stdout)
    check(report["engine"] == tag and report["frames"] == frames and report["keys"] == 2, f"{tag}: {report}")
    report = json.loads(decode(qvlx, tag, stream, mode).stdout)
    check(report["engine"] == tag and report["frames"] == frames, f"{tag}: {report}")


def check_deaths(tag, qvlx, mode, encoder_dies, decoder_dies, source, frames):
    """In modes where there is something to take over."""
    stream = qvlx.folder / "stream.264"
    done = qvlx("encode", source, "-o", stream, "--mode", mode, "--kbps", 300, script=encoder_dies)
    check(TAKES_OVER in done.stderr, f"{tag}: {done.stderr}")
    check(pictures_in(stream) == frames, f"{tag}: pictures are lost when its encoder dies")
    if decoder_dies:
        qvlx("encode", source, "-o", stream, "--mode", 0, "--kbps", 300)
        check(TAKES_OVER in decode(qvlx, tag, stream, mode, decoder_dies).stderr, f"{tag}: its decoder does not die")


def main():
    tools, library, drivers, control, *emulator = map(pathlib.Path, sys.argv[1:])
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        source, frames = folder / "source.y4m", 10
        run(tools / "camera_scene", "-o", source, "--size", "176x144", "--fps", 15, "--frames", frames)
        for tag, (on_linux, on_windows, mode, encoder_dies, decoder_dies) in ENGINES.items():
            names = on_windows if emulator else on_linux
            qvlx = Program(folder / tag, tools, library, drivers, control, emulator, names)
            if tag == "QSVH" and "AuthenticAMD" in pathlib.Path("/proc/cpuinfo").read_text(): # never beside such a processor
                done = qvlx("encode", source, "-o", folder / "none", "--mode", mode, expect=1)
                check(b"no engine serves request 11" in done.stderr, f"{tag}: {done.stderr}")
                continue
            check_engine(tag, qvlx, mode, source, frames)
            check_deaths(tag, qvlx, 2 if mode == 2 else 1, encoder_dies, decoder_dies, source, frames)


exit_with(main)
