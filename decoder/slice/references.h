// What inter prediction reads of a slice's reference lists: the pictures' samples, their weights, and the distances and
// weights that B slices derive.
#pragma once

#include "decoder/picture/direct_tables.h"
#include "decoder/picture/picture_view.h"
#include "decoder/picture/ref_pic_list.h"
#include "decoder/stream/headers.h"

#include <cstddef>
#include <cstdint>

namespace UMC {

// One entry of a reference list. A missing picture is a plane of one grey sample, which every block lies outside of, so
// that no test for it stands in the macroblock loop.
struct ReferencePlanes {
    const uint8_t* pPlane[3];
    ptrdiff_t PitchLuma, PitchChroma; // bytes, doubled for a field
    int32_t Width, Height;            // luma samples
    int32_t ChromaWidth, ChromaHeight;
    int32_t ChromaMvOffset; // added to vertical chroma vectors between fields of different parity (Table 8-9)
};

// The entries of both lists as macroblocks of one kind know them, by reference index.
struct ReferenceSet {
    ReferencePlanes Planes[2][32];
    PredWeight Weights[2][32]; // of the slice header, where it has some
    H264DirectTables Tables;   // B slices
};

enum ReferenceKind { REFERENCES_PICTURE = 0 }; // of the macroblocks of a frame or of a field picture

struct SliceReferences {
    bool ExplicitWeights = false; // weights of the slice header apply
    bool ImplicitWeights = false;
    ReferenceSet Sets[1];
};

// A list entry of a picture. What cannot be predicted from is one grey sample.
ReferencePlanes DescribeReference(const H264DecoderFrame* pFrame, const H264DecoderFrame& Current);

} // namespace UMC
