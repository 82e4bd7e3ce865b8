// What intra prediction may read beside macroblocks of MBAFF frames, and what it makes of it.
#include "decoder/macroblock/intra_neighbours.h"

#include "decoder/macroblock/intra_prediction.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace UMC {
namespace {

using namespace kernels;

// Two pairs in a row: 0 and 1 to the left of 2 and 3.
class IntraInPairs : public testing::Test
{
protected:
    static constexpr int kPitch = 32;

    IntraInPairs() : m_pCursor(std::make_unique<SliceCursor>())
    {
        SliceView& s = m_pCursor->Slice;
        s.pPictureSet = &m_PictureSet;
        s.Records.pGlobal = m_Global;
        s.Local.pLocal = m_Local;
        s.Picture.MbWidth = s.Picture.MbHeight = 2;
        s.Picture.pPlane[1] = m_Chroma[0];
        s.Picture.pPlane[2] = m_Chroma[1];
        s.Picture.PitchChroma = kPitch;
        for (int Parity = 0; Parity < 2; ++Parity) {
            s.Fields[Parity] = s.Picture;
            for (int i = 1; i < 3; ++i) s.Fields[Parity].pPlane[i] += Parity * kPitch;
            s.Fields[Parity].PitchChroma *= 2;
        }
        m_PictureSet.constrained_intra_pred_flag = 1;
    }

    // Goes to the upper or lower macroblock of the right pair. UpperIsIntra and LowerIsIntra say so of the left one,
    // which is of the other kind.
    const MbState& GoTo(bool IsLower, bool IsField, bool UpperIsIntra, bool LowerIsIntra)
    {
        for (int i = 0; i < 2; ++i) {
            m_Global[i].MbFlags = IsField ? 0 : MBFLAG_FIELD;
            m_Global[i].MbType = (i == 0 ? UpperIsIntra : LowerIsIntra) ? MBTYPE_INTRA16x16 : MBTYPE_INTER16x16;
        }
        m_pCursor->FindPair(2, 1, 0);
        if (IsLower) m_pCursor->BeginMacroblock<true>(2, 1, 0, IsField);
        m_pCursor->BeginMacroblock<true>(2 + IsLower, 1, IsLower, IsField);
        return m_pCursor->Mb;
    }
    IntraNeighbours<true> Find(bool IsLower, bool IsField, bool UpperIsIntra, bool LowerIsIntra)
    {
        return {m_pCursor->Slice, GoTo(IsLower, IsField, UpperIsIntra, LowerIsIntra)};
    }
    // Bits 0..3: the first blocks of the rows of 4x4 blocks for which Flag holds; of the others behind the first.
    static unsigned RowsWith(const IntraNeighbours<true>& Around, unsigned Flag, int FirstRow)
    {
        unsigned Rows = 0;
        for (int y = FirstRow; y < 4; ++y) Rows |= Around.OfBlock(0, y, 4) & Flag ? 1u << y : 0u;
        return Rows;
    }

    MbGlobalInfo m_Global[4]{};
    MbLocalInfo m_Local[4]{};
    H264PicParamSet m_PictureSet{};
    uint8_t m_Chroma[2][32 * kPitch]{};
    std::unique_ptr<SliceCursor> m_pCursor;
};

TEST_F(IntraInPairs, ReadsBesideFieldMacroblocksTheHalfThatIsIntra)
{
    for (const bool IsLower : {false, true}) {
        const IntraNeighbours<true> Upper = Find(IsLower, true, true, false);
        EXPECT_EQ(RowsWith(Upper, kLeft, 0), 0b0011u);
        EXPECT_EQ(RowsWith(Upper, kTopLeft, 1), 0b0110u) << "the last row of the upper macroblock is beside row 2";
        EXPECT_EQ(Upper.OfBlock(0, 0, 2) & kLeft, unsigned{kLeft});
        EXPECT_EQ(Upper.OfBlock(0, 1, 2) & (kLeft | kTopLeft), unsigned{kTopLeft});
        EXPECT_EQ(Upper.OfMacroblock() & kLeft, 0u);
        EXPECT_TRUE(Upper.HalvesDiffer());
        EXPECT_EQ(Upper.OfHalf(0) & kLeft, unsigned{kLeft});
        EXPECT_EQ(Upper.OfHalf(1) & kLeft, 0u);

        const IntraNeighbours<true> Lower = Find(IsLower, true, false, true);
        EXPECT_EQ(RowsWith(Lower, kLeft, 0), 0b1100u);
        EXPECT_EQ(RowsWith(Lower, kTopLeft, 1), 0b1000u);
        EXPECT_EQ(Lower.OfHalf(0) & kLeft, 0u);
        EXPECT_EQ(Lower.OfHalf(1) & kLeft, unsigned{kLeft});
    }
}

// Rows of both fields lie beside each block.
TEST_F(IntraInPairs, ReadsBesideFrameMacroblocksWhatIsIntraInBothFields)
{
    for (const bool IsLower : {false, true}) {
        for (const bool TopIsIntra : {false, true}) {
            const IntraNeighbours<true> One = Find(IsLower, false, TopIsIntra, !TopIsIntra);
            EXPECT_EQ(RowsWith(One, kLeft, 0), 0u);
            EXPECT_EQ(RowsWith(One, kTopLeft, 1), TopIsIntra ? 0u : 0b1110u) << "above-left is an odd line";
            EXPECT_EQ(One.OfMacroblock() & kLeft, 0u);
            EXPECT_FALSE(One.HalvesDiffer());
        }
        const IntraNeighbours<true> Both = Find(IsLower, false, true, true);
        EXPECT_EQ(RowsWith(Both, kLeft, 0), 0b1111u);
        EXPECT_EQ(Both.OfMacroblock() & kLeft, unsigned{kLeft});
        m_PictureSet.constrained_intra_pred_flag = 0;
        EXPECT_EQ(RowsWith(Find(IsLower, false, false, false), kLeft | kTopLeft, 0), 0b1111u);
        m_PictureSet.constrained_intra_pred_flag = 1;
    }
}

// Clause 8.3.4: each block of chroma goes by the samples beside itself.
TEST_F(IntraInPairs, PredictsTheChromaOfEachHalfFromWhatLiesBesideIt)
{
    const auto Check = [&](auto Predict, int Side) { // samples of a macroblock of chroma
        for (const bool UpperIsIntra : {false, true})
            for (const bool IsLower : {false, true}) {
                for (auto& Plane : m_Chroma)
                    for (int y = 0; y < 32; ++y) std::memset(Plane + y * kPitch, y < Side ? 40 : 90, kPitch);
                const MbState& Mb = GoTo(IsLower, true, UpperIsIntra, !UpperIsIntra);
                Mb.pLocal->SubBlockDirection[2] = 0; // DC
                Predict(m_pCursor->Slice, Mb);
                for (const auto& Plane : m_Chroma)
                    for (int y = 0; y < 2 * Side; ++y) {
                        const int Beside = y < Side ? 40 : 90, Own = (y < Side) == UpperIsIntra ? Beside : 128;
                        const int Want = y % 2 == IsLower ? Own : Beside;
                        EXPECT_EQ(Plane[y * kPitch + Side], Want) << Side << ", " << y << UpperIsIntra << IsLower;
                        EXPECT_EQ(Plane[y * kPitch + 2 * Side - 1], Want) << Side << ", " << y;
                    }
            }
    };
    Check(PredictIntraChroma<uint8_t, h264::CHROMA_420, true>, 8);
    Check(PredictIntraChroma<uint8_t, h264::CHROMA_444, true>, 16);
}

} // namespace
} // namespace UMC
