// The elements of a macroblock as Exp-Golomb codes and residual blocks (clauses 9.1 and 9.2), and the counts of levels
// that choose the codes of later blocks.
#pragma once

#include "Common/h264/h264_tables.h"
#include "encoder/state/neighbour_cache.h"
#include "encoder/write/cavlc_coder.h"

#include <algorithm>
#include <array>

namespace UMC_H264_ENCODER {

/// codeNum by coded_block_pattern, for 4:2:0 and 4:2:2: [0 intra, 1 inter] (Table 9-4 turned round).
extern const std::array<std::array<uint8_t, 48>, 2> g_PatternCodes;

/// One macroblock's policy of WriteMacroblockSyntax.
template <class Output>
class CavlcSyntax
{
public:
    /// @param pCounts  kCountsPerMb counts of this macroblock, which it fills
    CavlcSyntax(BasicCavlcCoder<Output>& Coder, const NeighbourCache& Around, uint8_t* pCounts)
        : m_Coder(Coder), m_Around(Around), m_pCounts(pCounts)
    {
        std::fill_n(m_pCounts, kCountsPerMb, uint8_t{0});
    }

    void Skip(bool IsSkip)
    {
        if (IsSkip)
            ++m_Coder.skip_run;
        else
            m_Coder.PutSkipRun();
    }
    void MbTypeI(uint32_t Type) { Bits().PutUE(Type); }
    void MbTypeP(uint32_t Type) { Bits().PutUE(Type); }
    /// rem_intra4x4_pred_mode, or -1 for prev_intra4x4_pred_mode_flag alone.
    void IntraMode(int32_t Rem)
    {
        if (Rem < 0)
            Bits().PutBit(1);
        else
            Bits().PutBits(static_cast<uint32_t>(Rem), 4);
    }
    void IntraChromaMode(uint32_t Mode) { Bits().PutUE(Mode); }
    void RefIdx(uint32_t Ref, uint32_t Count) { Bits().PutTE(Ref, Count - 1); }
    void Difference(MotionVector d)
    {
        Bits().PutSE(d.x);
        Bits().PutSE(d.y);
    }
    void CodedBlockPattern(uint32_t Pattern, bool IsIntraMb)
    {
        Bits().PutUE(g_PatternCodes[IsIntraMb ? 0 : 1][Pattern]);
    }
    void QpDelta(int32_t Delta) { Bits().PutSE(Delta); }
    void NoQpDelta() {}

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
    void StartChroma(uint32_t, uint32_t, uint32_t) {}
    template <class LevelType>
    void ChromaAc(uint32_t Plane, uint32_t Index, const BlockLevels<LevelType>* pLevels)
    {
        Block<2>(1 + Plane, Index, pLevels, 15);
    }

private:
    BasicBitWriter<Output>& Bits() { return m_Coder.Bits; }

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
