#!/usr/bin/env python3
"""One sequence through CreateVCodec: ffmpeg, both decoders of the tree and the encoder's own reconstruction agree on every
picture bit for bit, and the headers say what the product's streams always say.

Usage: encode_matrix_test.py TOOLS CASE
"""
import os
import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))
from oracle import check, decoders_agree, exit_with, ffmpeg_headers, reconstruction, run, run_json  # noqa: E402

# name: width, height, frames a second, kilobits a second, key interval, pictures, level chosen
CASES = {
    "176x144": (176, 144, 15, 64, 0, 60, 10),
    "178x146": (178, 146, 30, 128, 1, 20, 12),
    "352x288": (352, 288, 30, 384, 15, 60, 20),
    "640x360": (640, 360, 25, 800, 75, 90, 30),
    "640x360-low": (640, 360, 60, 100, 0, 120, 31),
    "1280x720": (1280, 720, 30, 1500, 75, 40, 31),
    "1280x720-high": (1280, 720, 30, 6000, 15, 20, 31),
    "1920x1080": (1920, 1080, 30, 4000, 75, 10, 40),
}


def encode(tools, folder, case):
    """The raw pictures of a case, and the stream that the product makes of them."""
    width, height, fps, kbps, keyint, frames, _ = case
    raw, source, stream = folder / "source.yuv", folder / "source.y4m", folder / "stream.264"
    # The generator renders even sizes; 178x146 is one too, with cropping in both directions.
    for file in (raw, source):
        run(tools / "camera_scene", "-o", file, "--size", f"{width}x{height}", "--fps", fps, "--frames", frames)
    report = run_json(tools / "qvlx", "encode", source, "-o", stream, "--fps", fps, "--keyint", keyint, "--kbps", kbps,
                      "--mode", 0, "--psnr", "--json")
    check(report["frames"] == frames and report["engine"] == "IPP", f"unexpected report {report}")
    check(report["psnr"]["y"] > 24, f"poor pictures: {report['psnr']}")
    return raw, stream


def check_headers(stream, case):
    width, height, _, _, keyint, frames, level = case
    units = ffmpeg_headers(stream)
    sps = next(e for u, e in units if u == "Sequence Parameter Set")
    mbs = (width + 15) // 16, (height + 15) // 16
    crop = (mbs[0] * 16 - width) // 2, (mbs[1] * 16 - height) // 2
    expected_sps = {
        "profile_idc": 77, "constraint_set0_flag": 0, "constraint_set1_flag": 1, "constraint_set2_flag": 0,
        "constraint_set3_flag": 0, "level_idc": level, "seq_parameter_set_id": 0, "log2_max_frame_num_minus4": 4,
        "pic_order_cnt_type": 2, "max_num_ref_frames": 1, "gaps_in_frame_num_allowed_flag": 0,
        "pic_width_in_mbs_minus1": mbs[0] - 1, "pic_height_in_map_units_minus1": mbs[1] - 1, "frame_mbs_only_flag": 1,
        "direct_8x8_inference_flag": 1, "frame_cropping_flag": int(crop != (0, 0)), "vui_parameters_present_flag": 1,
        "aspect_ratio_info_present_flag": 1, "aspect_ratio_idc": 1, "overscan_info_present_flag": 0,
        "video_signal_type_present_flag": 0, "chroma_loc_info_present_flag": 0, "timing_info_present_flag": 0,
        "nal_hrd_parameters_present_flag": 0, "vcl_hrd_parameters_present_flag": 0, "pic_struct_present_flag": 0,
        "bitstream_restriction_flag": 0}
    if crop != (0, 0):
        expected_sps |= {"frame_crop_left_offset": 0, "frame_crop_right_offset": crop[0], "frame_crop_top_offset": 0,
                         "frame_crop_bottom_offset": crop[1]}
    expected_pps = {
        "pic_parameter_set_id": 0, "seq_parameter_set_id": 0, "entropy_coding_mode_flag": 1,
        "bottom_field_pic_order_in_frame_present_flag": 0, "num_slice_groups_minus1": 0,
        "num_ref_idx_l0_default_active_minus1": 0, "num_ref_idx_l1_default_active_minus1": 0, "weighted_pred_flag": 0,
        "weighted_bipred_idc": 0, "pic_init_qs_minus26": 0, "chroma_qp_index_offset": 0,
        "deblocking_filter_control_present_flag": 1, "constrained_intra_pred_flag": 0, "redundant_pic_cnt_present_flag": 0}
    pps = next(e for u, e in units if u == "Picture Parameter Set")
    for name, expected, found in (("SPS", expected_sps, sps), ("PPS", expected_pps, pps)):
        for element, value in expected.items():
            check(found.get(element) == value, f"{name} {element} is {found.get(element)}, not {value}")
    slices = [e for u, e in units if u == "Slice Header"]
    check(len(slices) == frames, f"{len(slices)} slices for {frames} pictures")
    check(not any(u in ("Access Unit Delimiter", "Supplemental Enhancement Information") for u, _ in units),
          "a delimiter or SEI in the stream")
    interval, idr_count, frame_num = keyint or 100, 0, 0
    for i, header in enumerate(slices):
        key = i % interval == 0
        idr = key if keyint else i == 0
        frame_num = 0 if idr else (frame_num + 1) % 256
        expected = {"nal_unit_type": 5 if idr else 1, "nal_ref_idc": 1, "first_mb_in_slice": 0, "slice_type": 2 if key else 0,
                    "pic_parameter_set_id": 0, "frame_num": frame_num, "disable_deblocking_filter_idc": 0,
                    "slice_alpha_c0_offset_div2": 1, "slice_beta_offset_div2": 1}
        if not key:
            expected |= {"num_ref_idx_active_override_flag": 0, "ref_pic_list_modification_flag_l0": 0, "cabac_init_idc": 1}
        if idr:
            idr_count += 1
            check(header.get("idr_pic_id") == slices[0]["idr_pic_id"] + (idr_count - 1)
                  if idr_count < 15 - slices[0]["idr_pic_id"] else True, f"picture {i}: idr_pic_id {header.get('idr_pic_id')}")
            expected |= {"no_output_of_prior_pics_flag": 0, "long_term_reference_flag": 0}
        else:
            expected |= {"adaptive_ref_pic_marking_mode_flag": 0}
        for element, value in expected.items():
            check(header.get(element) == value, f"picture {i}: {element} is {header.get(element)}, not {value}")


def main():
    tools, case = pathlib.Path(sys.argv[1]), CASES[sys.argv[2]]
    if os.environ.get("TEST_BRIEF"):
        case = (*case[:5], max(case[5] // 10, 3), case[6])
    width, height, fps, kbps, keyint, *_ = case
    with tempfile.TemporaryDirectory() as name:
        raw, stream = encode(tools, pathlib.Path(name), case)
        recon = reconstruction(tools, raw, f"{width}x{height}", fps, kbps, keyint, stream)
        decoders_agree(tools, stream, recon, (width, height), sys.argv[2])
        check_headers(stream, case)


if __name__ == "__main__":
    exit_with(main)
