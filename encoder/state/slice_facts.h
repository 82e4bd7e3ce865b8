// What a slice is: fixed before its first macroblock is coded.
#pragma once

#include "encoder/state/encoder_frame.h"
#include "encoder/state/neighbour_cache.h"
#include "encoder/state/syntax_of_slice.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

// A picture to predict from.
template <class Sample>
struct Reference {
    const H264EncoderFrame<Sample>* pFrame = nullptr; // that it is, or is a field of
    PictureView<const Sample> View;
    const MotionVector* pVectors[2] = {}; // of its lists, 16 for each macroblock of the view, as are the references
    const int8_t* pReferences[2] = {};
    const int32_t (*pIds)[kMaxReferences] = nullptr; // the pictures that these are
    const GlobalMacroblock* pGlobal = nullptr;       // its macroblocks, numbered as are the vectors
    int32_t Poc = 0;
    int32_t Id = 0;             // picture_id of the frame or field
    int32_t ChromaMvOffset = 0; // quarter samples, of vertical vectors in 4:2:0 between fields of unlike parity
};

// Reference picture lists 0 and 1 of a slice (clause 8.2.4).
template <class Sample>
struct RefPicLists {
    Reference<Sample> Pictures[2][kMaxReferences];
    int32_t Count[2] = {};
};

inline constexpr int32_t kNotScaled = 9999; // more than any DistScaleFactor: the vector is taken as it is

// What a B slice derives from its references.
struct BSliceFacts {
    bool direct_spatial_mv_pred;
    bool HasImplicitWeights;
    int16_t ImplicitWeight[kMaxReferences]
                          [kMaxReferences]; // of list 1, by index in list 0 and 1; list 0 has 64 less it
    // Temporal direct prediction: DistScaleFactor by index in list 0, and that index by list and index in the slices of
    // the co-located picture, kRefNone for a picture that is no reference any more.
    int32_t DistScale[kMaxReferences];
    // In frames of pairs both sides are frames, whatever kind a macroblock is of.
    int8_t RefOfCol[2][kMaxReferences];
    int32_t ColField; // frames of pairs: which field of the co-located frame is the nearer one
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
    RefPicLists<Sample> ref_pic_lists;
    BSliceFacts B; // of a B slice
    NeighbourTables Neighbours;
    SyntaxOfSlice Syntax;
    uint8_t MbFlags; // that its macroblocks begin with: kFlagField in a field
    bool IsField, IsBottom;
    // A frame whose macroblocks are coded, and numbered, in pairs. What of it is told of fields differs between facts:
    // there are those of frame macroblocks and of field macroblocks of either parity.
    bool IsAdaptive;

    int32_t ChromaHeight() const { return h264::kChromaGeometry[Syntax.chroma_format_idc].MbHeight; } // of a macroblock
};

} // namespace UMC_H264_ENCODER
