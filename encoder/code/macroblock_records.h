// The records of the macroblock in hand: as it begins, and as its syntax is written from them.
#pragma once

#include "encoder/code/macroblock_quantisers.h"
#include "encoder/code/macroblock_syntax.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

// Clears what the decision does not always write.
template <class Sample>
void StartRecords(CurrentMacroblock<Sample>& mb, int32_t Qp)
{
    LocalMacroblock Local{};
    Local.Qp = static_cast<int8_t>(Qp);
    // The quantisers mostly serve again, as the QP seldom changes.
    Local.QpChroma =
        static_cast<int8_t>(mb.pQuant->Qp == Qp ? mb.pQuant->QpChroma : ChromaQp(Qp, mb.pSlice->Syntax.BitDepthChroma));
    *mb.Records.pLocal = Local;
    *mb.Records.pGlobal = {static_cast<uint16_t>(mb.pSlice->slice_id), MB_INTER16X16, Local.Qp, Local.QpChroma,
                           mb.pSlice->MbFlags};
}

/// What is to be written of a macroblock that is reconstructed.
template <class Sample>
MacroblockSyntax<typename CodecTraits<Sample>::Level> SyntaxOf(const CurrentMacroblock<Sample>& mb, int32_t SliceQp,
                                                               const WorkArea<Sample>& w)
{
    const MacroblockRecords& r = mb.Records;
    const SliceFacts<Sample>& Slice = *mb.pSlice;
    return {.Slice = Slice.Syntax,
            .num_ref_idx = {Slice.num_ref_idx_l0, Slice.num_ref_idx_l1},
            .Type = r.pGlobal->Type,
            .Flags = r.pGlobal->Flags,
            .QpDelta = r.pLocal->Qp - SliceQp,
            .Local = *r.pLocal,
            .Around = mb.Around,
            .pReferences = {r.pReferences[0], r.pReferences[1]},
            .pDifferences = {r.pDifferences[0], r.pDifferences[1]},
            .pIntraModes = r.pIntraModes,
            .pLuma = r.pGlobal->Type == MB_INTRA4X4 ? w.Intra4x4Levels : w.LumaLevels,
            .pLuma8x8 = w.Luma8x8Levels,
            .LumaDc = w.LumaDcLevels,
            .pChromaDc = w.ChromaDcLevels,
            .pChromaAc = w.ChromaAcLevels,
            .pPcm = w.Pcm};
}

} // namespace UMC_H264_ENCODER
