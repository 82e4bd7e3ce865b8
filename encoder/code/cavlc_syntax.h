// The elements of a macroblock as Exp-Golomb codes and residual blocks (clauses 9.1 and 9.2), and the counts of levels
// that choose the codes of later blocks.
#pragma once

#include "Common/h264/h264_tables.h"
#include "encoder/state/neighbour_cache.h"
#include "encoder/write/cavlc_coder.h"

#include <algorithm>
#include <array>

namespace UMC_H264_ENCODER {

/// codeNum by coded_block_pattern: [0 with chroma, 1 monochrome][0 intra, 1 inter] (Table 9-4 turned round).
extern const std::array<std::array<std::array<uint8_t, 48>, 2>, 2> g_PatternCodes;

/// One macroblock's policy of WriteMacroblockSyntax.
template <class Output>
class CavlcSyntax
{
public:
    static constexpr bool kCabac = false;

    /// @param pCounts  kCountsPerMb counts of this macroblock, which it fills
    CavlcSyntax(BasicCavlcCoder<Output>& Coder, const NeighbourCache& Around, uint8_t* pCounts)
        : m_Coder(Coder), m_Around(Around), m_pCounts(pCounts)
    {
        std::fill_n(m_pCounts, kCountsPerMb, uint8_t{0});
    }

    void Skip(bool IsSkip, bool)
    {
        if (IsSkip)
            ++m_Coder.skip_run;
        else
            m_Coder.PutSkipRun();
    }
    void SkipBeside(bool IsSkip, bool IsB, uint8_t, uint8_t) { Skip(IsSkip, IsB); }
    /// mb_field_decoding_flag
    void FieldFlag(bool IsField, uint32_t) { Bits().PutBit(IsField); }
    void MbTypeI(uint32_t Type) { Bits().PutUE(Type); }
    void MbTypeP(uint32_t Type) { Bits().PutUE(Type); }
    void MbTypeB(uint32_t Type) { Bits().PutUE(Type); }
    void SubMbTypeP(uint32_t Type) { Bits().PutUE(Type); }
    void SubMbTypeB(uint32_t Type) { Bits().PutUE(Type); }
    /// The samples of I_PCM, whose blocks count as full.
    void Pcm(const uint16_t* pLuma, uint32_t LumaCount, int32_t LumaDepth, uint32_t ChromaCount, int32_t ChromaDepth)
    {
        Bits().AlignZero();
        PcmPlane(pLuma, LumaCount, LumaDepth);
        PcmPlane(pLuma + LumaCount, ChromaCount, ChromaDepth);
        std::fill_n(m_pCounts, kCountsPerMb, uint8_t{16});
    }
    /// transform_size_8x8_flag
    void Transform8x8(bool Is8x8) { Bits().PutBit(Is8x8); }
    /// rem_intra4x4_pred_mode, or -1 for prev_intra4x4_pred_mode_flag alone.
    void IntraMode(int32_t Rem)
    {
        if (Rem < 0)
            Bits().PutBit(1);
        else
            Bits().PutBits(static_cast<uint32_t>(Rem), 4);
    }
    void IntraChromaMode(uint32_t Mode) { Bits().PutUE(Mode); }
    void StartReferences(uint32_t, const int8_t*, uint32_t) {}
    /// Of Count active ones.
    void RefIdx(uint32_t, uint32_t Ref, uint32_t Count) { Bits().PutTE(Ref, Count - 1); }
    /// mvd of the partition that starts with a 4x4 block, in raster order as are the macroblock's own.
    void Difference(uint32_t, uint32_t Block, const MotionVector* pOwn)
    {
        Bits().PutSE(pOwn[Block].x);
        Bits().PutSE(pOwn[Block].y);
    }
    void CodedBlockPattern(uint32_t Pattern, bool IsIntraMb, bool HasChroma)
    {
        Bits().PutUE(g_PatternCodes[HasChroma ? 0 : 1][IsIntraMb ? 0 : 1][Pattern]);
    }
    void QpDelta(int32_t Delta) { Bits().PutSE(Delta); }
    void NoQpDelta() {}

    void StartResidual(bool) {}
    /// Takes the nC of block 0 and leaves no count.
    template <class LevelType>
    void LumaDc(const BlockLevels<LevelType>* pLevels)
    {
        m_Coder.Block(pLevels, FindNc<4>(0, 0), 16);
    }
    template <class LevelType>
    void ChromaDc(uint32_t, uint32_t Blocks, const BlockLevels<LevelType>* pLevels)
    {
        m_Coder.Block(pLevels, Blocks == 4 ? -1 : -2, Blocks);
    }
    void StartLuma(uint32_t) {}
    template <class LevelType>
    void Luma(h264::BlockCat Cat, uint32_t Index, const BlockLevels<LevelType>* pLevels)
    {
        Block<4>(0, h264::kBlockRaster[Index], pLevels, Cat == h264::CAT_LUMA_4x4 ? 16 : 15);
    }
    /// A quadrant's four interleaved lists.
    template <class LevelType>
    void Luma8x8(uint32_t Quadrant, const BlockLevels8x8<LevelType>*, const BlockLevels<LevelType>* pLists)
    {
        for (uint32_t Index = 4 * Quadrant; Index < 4 * Quadrant + 4; ++Index)
            Luma(h264::CAT_LUMA_4x4, Index, pLists[Index].Count ? &pLists[Index] : nullptr);
    }
    void StartChroma(uint32_t, uint32_t, uint32_t) {}
    template <class LevelType>
    void ChromaAc(uint32_t Plane, uint32_t Index, const BlockLevels<LevelType>* pLevels)
    {
        Block<2>(1 + Plane, Index, pLevels, 15);
    }

private:
    BasicBitWriter<Output>& Bits() { return m_Coder.Bits; }
    void PcmPlane(const uint16_t* pSamples, uint32_t Count, int32_t Depth)
    {
        for (uint32_t i = 0; i < Count; ++i) Bits().PutBits(pSamples[i], Depth);
    }

    // nC of a block of a plane that is Width blocks wide (clause 9.2.1).
    template <uint32_t Width>
    int32_t FindNc(uint32_t Plane, uint32_t Place) const
    {
        const uint8_t* const pCount = m_pCounts + kFirstCount[Plane] + Place;
        const uint32_t x = Place % Width, y = Place / Width;
        const int32_t Left = x > 0 ? pCount[-1] : m_Around.LeftCounts[Plane][y];
        const int32_t Top = y > 0 ? *(pCount - Width) : m_Around.TopCounts[Plane][x];
        return h264::FindNc(Left, Top);
    }
    template <uint32_t Width, class LevelType>
    void Block(uint32_t Plane, uint32_t Place, const BlockLevels<LevelType>* pLevels, uint32_t Positions)
    {
        m_Coder.Block(pLevels, FindNc<Width>(Plane, Place), Positions);
        m_pCounts[kFirstCount[Plane] + static_cast<int32_t>(Place)] = pLevels ? pLevels->Count : 0;
    }

    BasicCavlcCoder<Output>& m_Coder;
    const NeighbourCache& m_Around;
    uint8_t* m_pCounts;
};

} // namespace UMC_H264_ENCODER
