#!/usr/bin/env python3
"""Makes streams with x264 on the spot and compares every picture that h264_decode gives with ffmpeg's.

usage: stream_matrix.py H264_DECODE [NAME_PART]
"""
import os
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "support"))
from oracle import digest_difference, ffmpeg_digests, our_digests, run  # noqa: E402

FRAMES = 14

# name, x264 options, size, pictures may be reordered by more than one
CASES = [
    ("baseline", "--profile baseline", None, False),
    ("baseline_qp0_intra", "--profile baseline --qp 1 --keyint 1", None, False),
    ("cavlc_main", "--profile main --no-cabac --bframes 0", None, False),
    ("cabac_p", "--profile main --bframes 0", None, False),
    ("cabac_1b", "--profile main --bframes 1 --b-adapt 0", None, False),
    ("cavlc_1b", "--profile main --bframes 1 --b-adapt 0 --no-cabac", None, False),
    ("cabac_3b", "--profile main --bframes 3 --b-adapt 0 --b-pyramid none", None, True),
    ("cabac_pyramid", "--profile high --bframes 5 --b-adapt 0 --b-pyramid normal", None, True),
    ("cabac_pyramid_strict", "--profile main --bframes 4 --b-adapt 0 --b-pyramid strict", None, True),
    ("direct_spatial", "--profile main --bframes 3 --b-adapt 0 --direct spatial", None, True),
    ("direct_temporal", "--profile main --bframes 3 --b-adapt 0 --direct temporal", None, True),
    ("direct_temporal_cavlc", "--profile main --bframes 3 --b-adapt 0 --direct temporal --no-cabac", None, True),
    ("direct_none", "--profile main --bframes 2 --b-adapt 0 --direct none", None, True),
    ("direct_auto", "--profile high --bframes 3 --b-adapt 0 --direct auto --ref 4", None, True),
    ("direct_small_blocks", "--profile high --bframes 2 --b-adapt 0 --partitions all --direct temporal --level 1.2", None, True),
    ("weightp1", "--profile main --bframes 0 --weightp 1 --ref 3", None, False),
    ("weightp2", "--profile main --bframes 0 --weightp 2 --ref 3", None, False),
    ("weightp2_cavlc", "--profile main --bframes 0 --weightp 2 --ref 4 --no-cabac", None, False),
    ("weightb", "--profile main --bframes 2 --b-adapt 0 --weightb --ref 4", None, True),
    ("no_weightb", "--profile main --bframes 2 --b-adapt 0 --no-weightb --ref 4", None, True),
    ("dct8x8_cabac", "--profile high --8x8dct --bframes 0", None, False),
    ("dct8x8_cavlc", "--profile high --8x8dct --bframes 0 --no-cabac", None, False),
    ("dct8x8_intra", "--profile high --8x8dct --keyint 1 --partitions all --qp 20", None, False),
    ("no_8x8dct_high", "--profile high --no-8x8dct --bframes 0", None, False),
    ("cqm_jvt", "--profile high --cqm jvt --bframes 0", None, False),
    ("cqm_jvt_cavlc", "--profile high --cqm jvt --bframes 2 --b-adapt 0 --no-cabac", None, True),
    ("cqm_own", "--profile high --cqm4 " + ",".join(str(8 + 3 * i) for i in range(16)) +
     " --cqm8 " + ",".join(str(8 + i) for i in range(64)), None, True),
    ("ref1", "--profile main --bframes 0 --ref 1", None, False),
    ("ref4", "--profile main --bframes 0 --ref 4", None, False),
    ("ref8_b", "--profile high --bframes 3 --b-adapt 0 --ref 8 --level 5.1", None, True),
    ("ref16", "--profile high --bframes 0 --ref 16 --level 5.1", None, False),
    ("slices4", "--profile main --slices 4 --bframes 1 --b-adapt 0", None, False),
    ("slices_rows", "--profile high --slice-max-mbs 11 --bframes 0", None, False),
    ("slices_odd", "--profile baseline --slice-max-mbs 7", None, False),
    ("slices_bytes", "--profile high --slice-max-size 300 --bframes 2 --b-adapt 0", None, True),
    ("slices_cavlc_b", "--profile main --slices 3 --no-cabac --bframes 1 --b-adapt 0", None, False),
    ("constrained_intra", "--profile main --constrained-intra --bframes 0", None, False),
    ("constrained_intra_b", "--profile high --constrained-intra --bframes 1 --b-adapt 0 --no-cabac", None, False),
    ("intra_refresh", "--profile main --intra-refresh --keyint 8 --bframes 0", None, False),
    ("no_deblock", "--profile main --no-deblock", None, True),
    ("deblock_strong", "--profile main --deblock 6:6 --bframes 0", None, False),
    ("deblock_weak", "--profile high --deblock -6:-6 --bframes 0", None, False),
    ("chroma_qp_up", "--profile high --chroma-qp-offset 12 --bframes 0", None, False),
    ("chroma_qp_down", "--profile main --chroma-qp-offset -12 --bframes 0", None, False),
    ("aq_strong", "--profile high --aq-mode 2 --aq-strength 2.0 --crf 30", None, True),
    ("open_gop", "--profile high --open-gop --keyint 6 --bframes 2 --b-adapt 0", None, True),
    ("short_gops", "--profile main --keyint 3 --min-keyint 1 --bframes 1 --b-adapt 0", None, False),
    ("aud_hrd", "--profile main --aud --nal-hrd vbr --vbv-maxrate 300 --vbv-bufsize 300 --bitrate 200 --bframes 1", None, True),
    ("odd_size", "--profile main --bframes 1 --b-adapt 0", (170, 134), False),
    ("odd_size_high", "--profile high", (34, 18), True),
    ("one_column", "--profile high --bframes 2 --b-adapt 0", (16, 144), True),
    ("one_macroblock", "--profile main --bframes 0", (16, 16), False),
    ("wide", "--profile high --bframes 1 --b-adapt 0 --slices 2", (400, 48), False),
    ("me_far", "--profile high --me esa --merange 64 --subme 9 --bframes 2 --b-adapt 0 --no-fast-pskip", None, True),
    ("i4x4_only", "--profile main --partitions i4x4 --keyint 2", None, False),
    ("p4x4", "--profile main --partitions all --subme 7 --bframes 0 --ref 2", None, False),
    ("p4x4_cavlc", "--profile main --partitions all --subme 7 --bframes 0 --ref 2 --no-cabac", None, False),
    ("i422", "--profile high422 --output-csp i422 --bframes 2 --b-adapt 0", None, True),
    ("i422_cavlc", "--profile high422 --output-csp i422 --no-cabac --bframes 1 --b-adapt 0", None, False),
    ("i422_weights", "--profile high422 --output-csp i422 --bframes 2 --b-adapt 0 --weightp 2 --weightb --ref 4 --direct temporal", None, True),
    ("i422_scaling", "--profile high422 --output-csp i422 --cqm jvt --chroma-qp-offset 7 --partitions all --slices 3", None, True),
    ("i422_intra", "--profile high422 --output-csp i422 --keyint 1 --partitions all --constrained-intra --qp 18", None, False),
    ("i422_odd_size", "--profile high422 --output-csp i422 --no-8x8dct --bframes 1", (34, 18), False),
    ("deep", "--profile high10 --output-depth 10 --bframes 2 --b-adapt 0", None, True),
    ("deep_cavlc", "--profile high10 --output-depth 10 --no-cabac --bframes 1 --b-adapt 0 --direct temporal", None, False),
    ("deep_weights", "--profile high10 --output-depth 10 --bframes 2 --b-adapt 0 --weightp 2 --weightb --ref 4", None, True),
    ("deep_scaling", "--profile high10 --output-depth 10 --cqm jvt --chroma-qp-offset -7 --partitions all --slices 3", None, True),
    ("deep_intra", "--profile high10 --output-depth 10 --keyint 1 --partitions all --constrained-intra --qp 9", None, False),
    ("deep_lowest_qp", "--profile high10 --output-depth 10 --qp 1 --bframes 1", None, False),
    ("deep_highest_qp", "--profile high10 --output-depth 10 --qp 63 --bframes 1 --deblock 6:6", None, False),
    ("deep_odd_size", "--profile high10 --output-depth 10 --no-8x8dct --bframes 1", (34, 18), False),
    ("deep_i422", "--profile high422 --output-depth 10 --output-csp i422 --bframes 2 --b-adapt 0", None, True),
    ("deep_i422_cavlc", "--profile high422 --output-depth 10 --output-csp i422 --no-cabac --bframes 1 --b-adapt 0 --weightp 2", None, False),
    ("deep_i422_intra", "--profile high422 --output-depth 10 --output-csp i422 --keyint 1 --partitions all --cqm jvt --qp 12", None, False),
    ("i400", "--profile high --output-csp i400 --bframes 2 --b-adapt 0", None, True),
    ("i400_cavlc", "--profile high --output-csp i400 --no-cabac --bframes 1 --b-adapt 0", None, False),
    # MBAFF. With constrained intra prediction x264 uses 8x8 blocks whose neighbours are not all there.
    ("mbaff_intra_cavlc", "--tff --keyint 1 --no-cabac --no-deblock", (176, 160), False),
    ("mbaff_intra_cabac", "--bff --keyint 1 --qp 18", (176, 160), False),
    ("mbaff_p_cavlc", "--tff --profile main --bframes 0 --no-cabac --partitions all --ref 4", (176, 160), False),
    ("mbaff_p_cabac", "--tff --profile main --bframes 0 --partitions all --weightp 2 --ref 4", (176, 160), False),
    ("mbaff_p_no_deblock", "--tff --bframes 0 --no-deblock --8x8dct", (176, 160), False),
    ("mbaff_spatial", "--tff --bframes 3 --b-adapt 0 --direct spatial --ref 4", (176, 160), True),
    ("mbaff_spatial_cavlc", "--bff --bframes 3 --b-adapt 0 --direct spatial --no-cabac --partitions all", (176, 160), True),
    ("mbaff_temporal", "--tff --bframes 3 --b-adapt 0 --direct temporal --ref 4 --b-pyramid normal", (176, 160), True),
    ("mbaff_temporal_cavlc", "--bff --bframes 2 --b-adapt 0 --direct temporal --no-cabac --no-weightb", (176, 160), True),
    ("mbaff_temporal_fields", "--tff --bframes 3 --b-adapt 0 --direct temporal --ref 4 --b-pyramid none --qp 30 --trellis 0 --weightp 0", (176, 160), True),
    ("mbaff_temporal_wide", "--bff --bframes 2 --b-adapt 0 --direct temporal --ref 6 --qp 26 --no-cabac --subme 7", (320, 192), True),
    ("mbaff_open_gop", "--tff --open-gop --keyint 4 --bframes 2 --b-adapt 0 --direct spatial --qp 24", (320, 192), True),
    ("mbaff_auto", "--tff --bframes 3 --direct auto --weightb --ref 4 --8x8dct --partitions all", (176, 160), True),
    ("mbaff_slices", "--tff --slices 3 --bframes 2 --b-adapt 0", (176, 160), True),
    ("mbaff_slices_cavlc", "--tff --slice-max-size 400 --no-cabac --bframes 1 --b-adapt 0 --deblock 3:-2", (176, 160), False),
    ("mbaff_constrained_intra", "--tff --constrained-intra --no-8x8dct --bframes 1 --b-adapt 0 --partitions all", (176, 160), False),
    ("mbaff_constrained_intra_cavlc", "--tff --constrained-intra --no-8x8dct --bframes 0 --no-cabac --qp 30", (176, 160), False),
    ("mbaff_qp1", "--tff --qp 1 --bframes 2 --b-adapt 0 --chroma-qp-offset 4", (176, 160), True),
    ("mbaff_qp51_cavlc", "--tff --qp 51 --bframes 2 --b-adapt 0 --no-cabac --chroma-qp-offset -6", (176, 160), True),
    ("mbaff_cqm_aq", "--tff --cqm jvt --aq-mode 2 --aq-strength 2.0 --bframes 1 --b-adapt 0", (176, 160), False),
    ("mbaff_monochrome", "--tff --output-csp i400 --bframes 2 --b-adapt 0", (176, 160), True),
    ("mbaff_monochrome_cavlc", "--bff --output-csp i400 --bframes 0 --no-cabac --qp 18", (176, 160), False),
    ("mbaff_odd_size", "--tff --bframes 1 --b-adapt 0", (170, 132), False),
    ("mbaff_one_column", "--tff --bframes 1 --b-adapt 0 --no-cabac", (16, 128), False),
    ("mbaff_one_pair", "--tff --bframes 0", (16, 32), False),
    ("fake_interlaced_off", "--profile high --pic-struct --bframes 0", None, False),
] + [(f"qp{qp}_{'cavlc' if qp % 2 else 'cabac'}", f"--profile high --qp {qp} --ipratio 1 --pbratio 1 --bframes 1 --b-adapt 0" +
      (" --no-cabac" if qp % 2 else ""), None, False) for qp in (1, 6, 11, 16, 23, 28, 33, 38, 43, 48, 51)]


def write_source(name, size):
    """I420: a gradient that drifts, a block that moves fast, noise in one corner, and a flash for weighted prediction."""
    width, height = size
    state = 12345
    with open(name, "wb") as file:
        for t in range(FRAMES):
            light = 40 if 5 <= t < 8 else 0
            luma = bytearray()
            for y in range(height):
                for x in range(width):
                    value = (x * 2 + y + t * 3) & 127
                    if (x - 9 * t) % width < 24 and (y - 5 * t) % height < 20:
                        value = 200 - (x * y) % 37
                    if x < width // 4 and y < height // 4:
                        state = (state * 1103515245 + 12345) & 0x7FFFFFFF
                        value += state >> 24
                    luma.append(min(255, value + light))
            file.write(luma)
            for plane in range(2):
                file.write(bytes((64 + 3 * x + (5 - 2 * plane) * y + t * (plane + 1)) & 255
                                 for y in range(height // 2) for x in range(width // 2)))


def make_stream(case, folder):
    """Makes the stream of one case with x264, its source beside it, and returns the path."""
    name, options, size, _ = case
    size = size or (176, 144)
    source = os.path.join(folder, f"{size[0]}x{size[1]}.yuv")
    if not os.path.exists(source):
        write_source(source, size)
    stream = os.path.join(folder, name + ".264")
    run("x264", "--quiet", "--threads", "1", "--input-res", f"{size[0]}x{size[1]}", "--fps", "25", *options.split(), "-o", stream, source)
    return stream


def main():
    tool, part = sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else ""
    faults = []
    cases = [case for case in CASES if part in case[0]]
    with tempfile.TemporaryDirectory() as work:
        for case in cases:
            name, _, _, reorders = case
            stream = make_stream(case, work)
            status, error, ours = our_digests(tool, stream, work)
            fault = digest_difference(ours, ffmpeg_digests(stream), not reorders)
            if status != 0 or fault:
                faults.append(f"{name}: status {status} {error} {fault}")
    print("\n".join(faults))
    print(f"{len(cases) - len(faults)} of {len(cases)} streams equal")
    return 1 if faults or not cases else 0


if __name__ == "__main__":
    sys.exit(main())
