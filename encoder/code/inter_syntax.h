// Types and motion of an inter macroblock (mb_pred and sub_mb_pred of clauses 7.3.5.1 and 7.3.5.2), for the walk over a
// macroblock's syntax.
#pragma once

#include "Common/h264/slice_type.h"
#include "encoder/code/macroblock_syntax.h"

#include <span>

namespace UMC_H264_ENCODER {

// Where the quadrants begin, in raster order of 4x4 blocks.
inline constexpr uint8_t kQuadrantBlock[4]{0, 2, 8, 10};

// Partitions by the quadrant that each starts with.
inline constexpr uint8_t kPartsOf16x16[1]{0}, kPartsOf16x8[2]{0, 2}, kPartsOf8x16[2]{0, 1}, kPartsOf8x8[4]{0, 1, 2, 3};

// Parts of a quadrant by SubShape: their 4x4 blocks, from the quadrant's own.
struct SubParts {
    uint8_t Count, Block[4];
};
inline constexpr SubParts kSubParts[4]{{1, {0}}, {2, {0, 4}}, {2, {0, 1}}, {4, {0, 1, 4, 5}}};

// The lists of a partition: bit 0 list 0, bit 1 list 1.
template <class LevelType>
uint32_t ListsOf(const MacroblockSyntax<LevelType>& m, uint32_t Quadrant)
{
    const uint32_t Block = kQuadrantBlock[Quadrant];
    return (m.pReferences[0][Block] >= 0 ? 1u : 0u) | (m.pReferences[1][Block] >= 0 ? 2u : 0u);
}

template <class LevelType>
bool IsDirect(const MacroblockSyntax<LevelType>& m, uint32_t Quadrant)
{
    return (m.Local.Direct >> Quadrant & 1) != 0;
}

// mb_type of P slices, Table 7-13.
template <class Policy>
uint32_t InterMbTypeP(uint32_t Type)
{
    if (Policy::kCabac && Type == MB_INTER8X8_REF0) Type = MB_INTER8X8; // P_8x8ref0 is no type of CABAC
    return Type - MB_INTER16X16;
}

// mb_type of B slices, Table 7-14.
template <class LevelType>
uint32_t InterMbTypeB(const MacroblockSyntax<LevelType>& m)
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
uint32_t SubMbTypeB(const MacroblockSyntax<LevelType>& m, uint32_t Quadrant)
{
    static constexpr uint8_t kTypes[4][4]{{0, 1, 2, 3}, {0, 4, 6, 8}, {0, 5, 7, 9}, {0, 10, 11, 12}};
    return IsDirect(m, Quadrant) ? 0 : kTypes[m.Local.SubTypes[Quadrant]][ListsOf(m, Quadrant)];
}

// ref_idx of the partitions in one list.
template <class LevelType, class Policy>
void WriteReferences(const MacroblockSyntax<LevelType>& m, Policy& p, uint32_t List, std::span<const uint8_t> Parts)
{
    const int32_t Count = m.num_ref_idx[List];
    if (Count <= 1) return;
    p.StartReferences(List, m.pReferences[List], m.Local.Direct);
    for (const uint8_t q : Parts) {
        const int8_t Ref = m.pReferences[List][kQuadrantBlock[q]];
        if (Ref >= 0 && !IsDirect(m, q)) p.RefIdx(q, static_cast<uint32_t>(Ref), static_cast<uint32_t>(Count));
    }
}

// mvd of partitions that are not divided, in one list.
template <class LevelType, class Policy>
void WriteDifferences(const MacroblockSyntax<LevelType>& m, Policy& p, uint32_t List, std::span<const uint8_t> Parts)
{
    for (const uint8_t q : Parts)
        if (m.pReferences[List][kQuadrantBlock[q]] >= 0) p.Difference(List, kQuadrantBlock[q], m.pDifferences[List]);
}

// mvd of quadrants by their shapes, in one list.
template <class LevelType, class Policy>
void WriteSubDifferences(const MacroblockSyntax<LevelType>& m, Policy& p, uint32_t List)
{
    for (uint32_t q = 0; q < 4; ++q) {
        const uint32_t First = kQuadrantBlock[q];
        if (IsDirect(m, q) || m.pReferences[List][First] < 0) continue;
        const SubParts& Sub = kSubParts[m.Local.SubTypes[q]];
        for (uint32_t i = 0; i < Sub.Count; ++i) p.Difference(List, First + Sub.Block[i], m.pDifferences[List]);
    }
}

// Clause 7.3.5.2, of a macroblock in quadrants.
template <class LevelType, class Policy>
void WriteSubPrediction(const MacroblockSyntax<LevelType>& m, Policy& p, uint32_t Lists)
{
    for (uint32_t q = 0; q < 4; ++q) {
        if (m.Slice.slice_type == h264::SLICE_B)
            p.SubMbTypeB(SubMbTypeB(m, q));
        else
            p.SubMbTypeP(m.Local.SubTypes[q]);
    }
    if (Policy::kCabac || m.Type != MB_INTER8X8_REF0)
        for (uint32_t List = 0; List < Lists; ++List) WriteReferences(m, p, List, kPartsOf8x8);
    for (uint32_t List = 0; List < Lists; ++List) WriteSubDifferences(m, p, List);
}

// Clause 7.3.5.1, of a macroblock of which some motion may be written.
template <class LevelType, class Policy>
void WriteInterPrediction(const MacroblockSyntax<LevelType>& m, Policy& p)
{
    if (m.Type == MB_DIRECT) return;
    const uint32_t Lists = m.Slice.slice_type == h264::SLICE_B ? 2 : 1;
    if (m.Type >= MB_INTER8X8) return WriteSubPrediction(m, p, Lists);
    const std::span<const uint8_t> Parts = m.Type == MB_INTER16X16  ? std::span<const uint8_t>(kPartsOf16x16)
                                           : m.Type == MB_INTER16X8 ? std::span<const uint8_t>(kPartsOf16x8)
                                                                    : std::span<const uint8_t>(kPartsOf8x16);
    for (uint32_t List = 0; List < Lists; ++List) WriteReferences(m, p, List, Parts);
    for (uint32_t List = 0; List < Lists; ++List) WriteDifferences(m, p, List, Parts);
}

// noSubMbPartSizeLessThan8x8Flag and the like of clause 7.3.5: whether the 8x8 transform may serve the macroblock.
template <class LevelType>
bool MayTransform8x8(const MacroblockSyntax<LevelType>& m)
{
    if (m.Type < MB_INTER8X8) return true;
    if (m.Type == MB_DIRECT) return m.Slice.direct_8x8_inference_flag;
    for (uint32_t q = 0; q < 4; ++q)
        if (IsDirect(m, q) ? !m.Slice.direct_8x8_inference_flag : m.Local.SubTypes[q] != SUB_8X8) return false;
    return true;
}

} // namespace UMC_H264_ENCODER
