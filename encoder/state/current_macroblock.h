// The macroblock in hand: where it lies, its samples, what lies around it, and the records that it leaves.
#pragma once

#include "encoder/state/deep_pointer.h"
#include "encoder/state/encoder_types.h"
#include "encoder/state/macroblock_quant.h"
#include "encoder/state/slice_facts.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

/// A macroblock's entries in the tables of its picture. The start of the macroblock clears them, Commit writes what is
/// decided, reconstruction Coded and Pattern, and the syntax in variable length codes the counts.
struct MacroblockRecords {
    DeepPointer<GlobalMacroblock> pGlobal;
    DeepPointer<LocalMacroblock> pLocal;
    // Of list 0 and list 1, 16 each, raster order. Those of list 1 are written in B slices alone.
    DeepPointer<MotionVector> pVectors[2];
    DeepPointer<int8_t> pReferences[2];
    DeepPointer<MotionVector> pDifferences[2];
    DeepPointer<uint8_t> pIntraModes; // 16, raster order
    DeepPointer<uint8_t> pCounts;     // kCountsPerMb, with CAVLC
};

/// The slice's loop points it at a macroblock. Decisions have it const, with all that it points at; reconstruction
/// writes the samples. What the slice is and which quantisers serve is for all of them to read.
template <class Sample>
struct CurrentMacroblock {
    const SliceFacts<Sample>* pSlice;
    const MacroblockQuant* pQuant;
    int32_t mb_index;
    int32_t mb_x, mb_y;
    const Sample *pSrcY, *pSrcU, *pSrcV;     // the macroblock in the source
    DeepPointer<Sample> pRecY, pRecU, pRecV; // and in the reconstruction; both may be the same samples
    int32_t SrcPitch;                        // samples, of the source
    int32_t pitch;                           // of the reconstruction, which is that of all references
    NeighbourCache Around;
    const MacroblockPosition* pPosition;
    MacroblockRecords Records;
};

} // namespace UMC_H264_ENCODER
