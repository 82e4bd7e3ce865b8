// Types and motion of an inter macroblock (mb_pred and sub_mb_pred of clauses 7.3.5.1 and 7.3.5.2), for the walk over a
// macroblock's syntax.
#pragma once

#include "Common/h264/slice_type.h"
#include "encoder/code/macroblock_syntax.h"
#include "encoder/state/macroblock_motion.h"

namespace UMC_H264_ENCODER {

// Where the quadrants begin, in raster order of 4x4 blocks.
inline constexpr uint8_t kQuadrantBlock[4]{0, 2, 8, 10};

// The lists of a partition: bit 0 list 0, bit 1 list 1.
template <class LevelType>
static uint32_t ListsOf(const MacroblockSyntax<LevelType>& m, uint32_t Quadrant)
{
    const uint32_t Block = kQuadrantBlock[Quadrant];
    return (m.pReferences[0][Block] >= 0 ? 1u : 0u) | (m.pReferences[1][Block] >= 0 ? 2u : 0u);
}

template <class LevelType>
static bool IsDirect(const MacroblockSyntax<LevelType>& m, uint32_t Quadrant)
{
    return (m.Local.Direct >> Quadrant & 1) != 0;
}

// mb_type of P slices, Table 7-13.
template <class Policy>
static uint32_t InterMbTypeP(uint32_t Type)
{
    if (Policy::kCabac && Type == MB_INTER8X8_REF0) Type = MB_INTER8X8; // P_8x8ref0 is no type of CABAC
    return Type - MB_INTER16X16;
}

// mb_type of B slices, Table 7-14.
template <class LevelType>
static uint32_t InterMbTypeB(const MacroblockSyntax<LevelType>& m)
{
    // Of halves one above the other, by the lists of the first and of the second; side by side it is one more.
    static constexpr uint8_t kHalves[4][4]{{}, {0, 4, 8, 12}, {0, 10, 6, 14}, {0, 16, 18, 20}};
    switch (m.Type) {
    case MB_DIRECT: return 0;
    case MB_INTER16X16: return ListsOf(m, 0);
    case MB_INTER16X8: return kHalves[ListsOf(m, 0)][ListsOf(m, 2)];
    case MB_INTER8X16: return kHalves[ListsOf(m, 0)][ListsOf(m, 1)] + 1u;
    default: return 22; // B_8x8
    }
}

// sub_mb_type of B slices, Table 7-18.
template <class LevelType>
static uint32_t SubMbTypeB(const MacroblockSyntax<LevelType>& m, uint32_t Quadrant)
{
    static constexpr uint8_t kTypes[4][4]{{0, 1, 2, 3}, {0, 4, 6, 8}, {0, 5, 7, 9}, {0, 10, 11, 12}};
    return IsDirect(m, Quadrant) ? 0 : kTypes[m.Local.SubTypes[Quadrant]][ListsOf(m, Quadrant)];
}

// ref_idx of a partition in one list.
template <class LevelType, class Policy>
static void WriteReference(const MacroblockSyntax<LevelType>& m, Policy& p, uint32_t List, uint32_t Quadrant)
{
    const int8_t Ref = m.pReferences[List][kQuadrantBlock[Quadrant]];
    if (Ref >= 0) p.RefIdx(Quadrant, static_cast<uint32_t>(Ref), static_cast<uint32_t>(m.num_ref_idx[List]));
}

// Clause 7.3.5.2, of a macroblock in quadrants.
template <class LevelType, class Policy>
[[gnu::noinline]] static void WriteSubPrediction(const MacroblockSyntax<LevelType>& m, Policy& p)
{
    const bool IsB = m.Slice.slice_type == h264::SLICE_B;
    for (uint32_t q = 0; q < 4; ++q) {
        if (IsB)
            p.SubMbTypeB(SubMbTypeB(m, q));
        else
            p.SubMbTypeP(m.Local.SubTypes[q]);
    }
    const bool HasReferences = Policy::kCabac || m.Type != MB_INTER8X8_REF0;
    for (uint32_t List = 0; List <= IsB; ++List) {
        if (m.num_ref_idx[List] <= 1 || !HasReferences) continue;
        p.StartReferences(List, m.pReferences[List], m.Local.Direct);
        for (uint32_t q = 0; q < 4; ++q)
            if (!IsDirect(m, q)) WriteReference(m, p, List, q);
    }
    for (uint32_t List = 0; List <= IsB; ++List)
        for (uint32_t q = 0; q < 4; ++q) {
            if (IsDirect(m, q) || m.pReferences[List][kQuadrantBlock[q]] < 0) continue;
            ForEachPartOf(static_cast<int>(q), m.Local.SubTypes[q], [&](MotionPart Part) {
                p.Difference(List, static_cast<uint32_t>(Part.Raster()), m.pDifferences[List]);
            });
        }
}

// Clause 7.3.5.1, of halves in P and B slices and of whole macroblocks in B slices.
template <class LevelType, class Policy>
[[gnu::noinline]] static void WriteParts(const MacroblockSyntax<LevelType>& m, Policy& p)
{
    const uint32_t Lists = m.Slice.slice_type == h264::SLICE_B ? 2 : 1;
    for (uint32_t List = 0; List < Lists; ++List) {
        if (m.num_ref_idx[List] <= 1) continue;
        p.StartReferences(List, m.pReferences[List], 0);
        ForEachPart(m.Type, nullptr,
                    [&](MotionPart Part) { WriteReference(m, p, List, static_cast<uint32_t>(Part.Quadrant())); });
    }
    for (uint32_t List = 0; List < Lists; ++List)
        ForEachPart(m.Type, nullptr, [&](MotionPart Part) {
            const auto Block = static_cast<uint32_t>(Part.Raster());
            if (m.pReferences[List][Block] >= 0) p.Difference(List, Block, m.pDifferences[List]);
        });
}

// P_L0_16x16, the most frequent of all.
template <class LevelType, class Policy>
static void WriteWholeP(const MacroblockSyntax<LevelType>& m, Policy& p)
{
    if (m.num_ref_idx[0] > 1) {
        p.StartReferences(0, m.pReferences[0], 0);
        WriteReference(m, p, 0, 0);
    }
    p.Difference(0, 0, m.pDifferences[0]);
}

template <class LevelType, class Policy>
static void WriteInterPrediction(const MacroblockSyntax<LevelType>& m, Policy& p)
{
    if (m.Type == MB_INTER16X16 && m.Slice.slice_type == h264::SLICE_P)
        WriteWholeP(m, p);
    else if (m.Type < MB_INTER8X8)
        WriteParts(m, p);
    else if (m.Type != MB_DIRECT)
        WriteSubPrediction(m, p);
}

// noSubMbPartSizeLessThan8x8Flag and the like of clause 7.3.5: whether the 8x8 transform may serve the macroblock.
template <class LevelType>
static bool MayTransform8x8(const MacroblockSyntax<LevelType>& m)
{
    if (m.Type < MB_INTER8X8) return true;
    if (m.Type == MB_DIRECT) return m.Slice.direct_8x8_inference_flag;
    for (uint32_t q = 0; q < 4; ++q)
        if (IsDirect(m, q) ? !m.Slice.direct_8x8_inference_flag : m.Local.SubTypes[q] != SUB_8X8) return false;
    return true;
}

} // namespace UMC_H264_ENCODER
