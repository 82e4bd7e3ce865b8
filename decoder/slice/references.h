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

// The macroblocks that a set is for: those of a frame or of a field picture, and the field macroblocks of an MBAFF
// frame by their parity.
enum ReferenceKind { REFERENCES_PICTURE = 0, REFERENCES_TOP_FIELD = 1, REFERENCES_BOTTOM_FIELD = 2 };

struct SliceReferences {
    int32_t Active[2] = {};       // of REFERENCES_PICTURE; the other sets have twice as many
    bool ExplicitWeights = false; // weights of the slice header apply
    bool ImplicitWeights = false;
    ReferenceSet Sets[3];
};

// What the sets are made of. The lists may be null.
struct ReferenceSource {
    const SliceHeaderFields& Header;
    const H264PicParamSet& PictureSet;
    const H264DecoderRefPicList* pLists;
    const H264DecoderFrame& Frame; // the one that the slice belongs to
};

// The counts, the kind of weights and the planes of REFERENCES_PICTURE. Weights and tables are the caller's.
void FillPictureReferences(const ReferenceSource& From, SliceReferences& References);

// The sets of both parities, complete, from REFERENCES_PICTURE (clause 8.4.2.1): index i is a field of frame i / 2, of
// the macroblock's parity when i is even. The lists must be there. PicOrderCnt is that of the frame before its
// reference marking.
void FillFieldReferences(const ReferenceSource& From, int32_t PicOrderCnt, SliceReferences& References);

} // namespace UMC
