// What lasts from picture to picture.
#pragma once

#include "encoder/picture/direct_choice.h"
#include "encoder/picture/rate_controller.h"
#include "encoder/state/frame_list.h"
#include "encoder/write/parameter_sets.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

/// The frame step and the picture loop write it; nothing below the picture can see it.
template <class Sample>
struct SequenceState {
    // The key frame rule.
    int32_t gop_index = 0; // the next place in gop_pattern
    bool make_key_next = true;
    bool make_idr_next = true;
    uint32_t key_countdown = 0, idr_countdown = 0; // go on below 0, where they mean nothing
    int32_t b_anchors_needed = 1;

    int32_t frames_encoded = 0;
    int32_t frame_num = 0;
    int32_t poc_frame_count = 0, poc_base = 0; // pictures since the last IDR picture, and before it
    int32_t idr_pic_id = 0;
    int32_t next_picture_id = 0;
    int64_t total_bits = 0; // of all slices so far

    DirectChoice Direct; // of ENC_ANALYSE_DIRECT_AUTO
    H264EncoderFrameList<Sample> InputList, ReconstructionList;
    SeqParamSet Sps{};
    PicParamSet Pps{};
    RateController Rate;
    // In force: those of the settings until SetParams asks for others.
    int32_t bitrate = 0; // bits per second
    double frame_rate = 0.0;
};

} // namespace UMC_H264_ENCODER
