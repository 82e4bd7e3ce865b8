// What a slice is: fixed before its first macroblock is coded.
#pragma once

#include "encoder/state/encoder_frame.h"
#include "encoder/state/neighbour_cache.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

inline constexpr int kMaxReferences = 32;

// A picture to predict from.
template <class Sample>
struct Reference {
    const H264EncoderFrame<Sample>* pFrame = nullptr; // that it is, or is a field of
    PictureView<const Sample> View;
    const MotionVector* pVectors = nullptr; // of its list 0, 16 for each macroblock of the view
};

// Reference picture lists 0 and 1 of a slice (clause 8.2.4).
template <class Sample>
struct RefPicLists {
    Reference<Sample> Pictures[2][kMaxReferences];
    int32_t Count[2] = {};
};

/// The picture loop and the start of the slice write it; whoever codes the slice's macroblocks reads it.
template <class Sample>
struct SliceFacts {
    int32_t slice_type;
    int32_t slice_id;
    int32_t first_mb;
    int32_t MbLimit; // macroblocks that belong to the slice
    int32_t slice_qp_delta;
    int32_t cabac_init_idc;
    int32_t deblock_idc, deblock_alpha, deblock_beta;
    int32_t num_ref_idx_l0, num_ref_idx_l1;
    int32_t BitDepthLuma, BitDepthChroma; // of a sample
    RefPicLists<Sample> ref_pic_lists;
    NeighbourTables Neighbours;
};

} // namespace UMC_H264_ENCODER
