// Blocks of field pictures, and of field macroblocks in MBAFF frames, written bin by bin and bit by bit; and PCM
// samples.
#include "decoder/entropy/residual_cabac.h"
#include "decoder/entropy/residual_cavlc.h"
#include "decoder/entropy/residual_pcm.h"
#include "tests/decoder/picture_fixture.h"
#include "tests/support/cabac_encoder.h"

#include <algorithm>

namespace UMC {
namespace {

template <bool is_field>
struct Cabac : ResidualDecoderCABAC<int32_t, 1, is_field> {
    template <bool kMbaff>
    using Of = typename ResidualDecoderCABAC<int32_t, 1, is_field>::template CabacResidual<kMbaff>;
};
template <bool is_field>
struct Cavlc : ResidualDecoderCAVLC<int32_t, 1, is_field> {
    template <bool kMbaff>
    using Of = typename ResidualDecoderCAVLC<int32_t, 1, is_field>::template CavlcResidual<kMbaff>;
};

class BlocksOfFields : public PictureFixture
{
protected:
    BlocksOfFields() { std::fill_n(m_Scale, 64, int16_t{16}); }

    void Begin(bool IsFieldMb)
    {
        m_pCursor->Mb.pGlobal = m_Global.data();
        m_Global[0].MbType = MBTYPE_INTER16x16;
        m_Global[0].MbFlags = IsFieldMb ? MBFLAG_FIELD : 0;
        std::fill_n(m_Coeffs, 64, 0);
    }
    void Read(const std::vector<bool>& Bits)
    {
        m_Words.assign(Bits.size() / 32 + 1 + H264Bitstream::kReadPadding / 4, 0);
        for (size_t i = 0; i < Bits.size(); ++i)
            if (Bits[i]) m_Words[i / 32] |= 1u << (31 - i % 32);
        m_pCursor->Entropy.Bits.Reset(m_Words.data(), static_cast<uint32_t>(m_Words.size() * 4));
        m_pCursor->Entropy.Cabac.m_Contexts = m_Contexts;
        m_pCursor->Entropy.Cabac.Start(m_pCursor->Entropy.Bits);
    }
    // Table 9-34 and Table 9-40: contexts of a 4x4 block's map, levels -1 and 3 at places 1 and 5.
    template <class Residual>
    void ExpectCabac4x4(bool IsFieldMb, int Significant, int Last, int FirstPlace, int SecondPlace)
    {
        test::CabacEncoder Coder(m_Contexts);
        Coder.Decide(85 + 8, 1); // coded_block_flag
        for (int i = 0; i < 6; ++i) {
            Coder.Decide(Significant + 29 + i, i == 1 || i == 5);
            if (i == 1 || i == 5) Coder.Decide(Last + 29 + i, i == 5);
        }
        constexpr int kAbs = 227 + 20;
        Coder.Decide(kAbs + 1, 1);
        Coder.Decide(kAbs + 5, 1);
        Coder.Decide(kAbs + 5, 0);
        Coder.Bypass(0);
        Coder.Decide(kAbs + 0, 0);
        Coder.Bypass(1);
        Coder.Terminate(1);
        Begin(IsFieldMb);
        Read(Coder.m_Bits);
        CountCache Counts{};
        EXPECT_TRUE(Residual::Luma4x4(m_pCursor->Entropy, m_pCursor->Mb, Counts, 0, {m_Scale, 0}, m_Coeffs));
        ExpectCoefficients({{FirstPlace, -1}, {SecondPlace, 3}});
        EXPECT_EQ(m_pCursor->Entropy.Cabac.m_Engine.Terminate(), 1u);
    }
    // A level of 1 at place 2 of an 8x8 block, whose context Inc the kind decides (Table 9-43).
    template <class Residual>
    void ExpectCabac8x8(bool IsFieldMb, int Significant, int Last, int Inc, int Place)
    {
        test::CabacEncoder Coder(m_Contexts);
        Coder.Decide(Significant, 0);
        Coder.Decide(Significant + 1, 0);
        Coder.Decide(Significant + Inc, 1);
        Coder.Decide(Last + 1, 1);
        Coder.Decide(426 + 1, 0);
        Coder.Bypass(0);
        Coder.Terminate(1);
        Begin(IsFieldMb);
        Read(Coder.m_Bits);
        CountCache Counts{};
        std::fill_n(m_Scale, 64, int16_t{64});
        EXPECT_TRUE(Residual::Luma8x8(m_pCursor->Entropy, m_pCursor->Mb, Counts, 0, {m_Scale, 0}, m_Coeffs));
        std::fill_n(m_Scale, 64, int16_t{16});
        ExpectCoefficients({{Place, 1}});
        EXPECT_EQ(m_pCursor->Entropy.Cabac.m_Engine.Terminate(), 1u);
    }
    // One level of 1 behind one zero: coeff_token 01, its sign, total_zeros 011.
    template <class Residual>
    void ExpectCavlc(bool IsFieldMb, int Place)
    {
        Begin(IsFieldMb);
        Read({false, true, false, false, true, true});
        m_pCursor->Entropy.Bits.SetBitPosition(0);
        CountCache Counts{};
        EXPECT_TRUE(Residual::Luma4x4(m_pCursor->Entropy, m_pCursor->Mb, Counts, 0, {m_Scale, 0}, m_Coeffs));
        ExpectCoefficients({{Place, 1}});
    }
    void ExpectCoefficients(const std::vector<std::pair<int, int32_t>>& Places)
    {
        int32_t Want[64] = {};
        for (const auto& [Place, Level] : Places) Want[Place] = Level;
        for (int i = 0; i < 64; ++i) EXPECT_EQ(m_Coeffs[i], Want[i]) << i;
    }

    h264::CabacContexts m_Contexts = [] {
        h264::CabacContexts Contexts;
        h264::InitCabacContexts(Contexts, h264::kContextInit[h264::ContextInitRow(true, 0)], 30);
        return Contexts;
    }();
    std::vector<uint32_t> m_Words;
    int16_t m_Scale[64];
    alignas(16) int32_t m_Coeffs[64];
};

TEST_F(BlocksOfFields, TakeTheContextsAndTheScanOfFieldsInCabac)
{
    ExpectCabac4x4<Cabac<false>::Of<false>>(false, 105, 166, 1, 2);
    ExpectCabac4x4<Cabac<true>::Of<false>>(false, 277, 338, 4, 5);
    ExpectCabac4x4<Cabac<false>::Of<true>>(false, 105, 166, 1, 2);
    ExpectCabac4x4<Cabac<false>::Of<true>>(true, 277, 338, 4, 5);
}

TEST_F(BlocksOfFields, OfTheLargeTransformTakeTheContextsAndTheScanOfFields)
{
    ExpectCabac8x8<Cabac<false>::Of<false>>(false, 402, 417, 2, 8);
    ExpectCabac8x8<Cabac<true>::Of<false>>(false, 436, 451, 1, 16);
    ExpectCabac8x8<Cabac<false>::Of<true>>(false, 402, 417, 2, 8);
    ExpectCabac8x8<Cabac<false>::Of<true>>(true, 436, 451, 1, 16);
}

TEST_F(BlocksOfFields, TakeTheScanOfFieldsInCavlc)
{
    ExpectCavlc<Cavlc<false>::Of<false>>(false, 1);
    ExpectCavlc<Cavlc<true>::Of<false>>(false, 4);
    ExpectCavlc<Cavlc<false>::Of<true>>(false, 1);
    ExpectCavlc<Cavlc<false>::Of<true>>(true, 4);
}

struct Pcm422 : ResidualDecoderPCM<uint16_t, uint16_t, 2> {
    using ResidualDecoderPCM<uint16_t, uint16_t, 2>::ReadPcm;
};

TEST(PcmSamples, Of422HaveTheDepthOfTheirPlanes)
{
    test::BitWriter Bits;
    Bits.U(3, 5); // up to the next byte nothing counts
    Bits.Align(1);
    for (uint32_t i = 0; i < 256; ++i) Bits.U(14, i * 61 & 0x3FFF);
    for (uint32_t i = 0; i < 256; ++i) Bits.U(9, i * 7 & 0x1FF);
    const test::Bytes& Data = Bits.Data();
    std::vector<uint32_t> Words(Data.size() / 4 + 1 + H264Bitstream::kReadPadding / 4);
    for (size_t i = 0; i < Data.size(); ++i) Words[i / 4] |= static_cast<uint32_t>(Data[i]) << (24 - i % 4 * 8);
    H264Bitstream Reader;
    Reader.Reset(Words.data(), static_cast<uint32_t>(Data.size()));
    Reader.GetBits(3);
    const auto pResidual = std::make_unique<MbResidual>();
    Pcm422::ReadPcm(Reader, 14, 9, *pResidual);
    const uint16_t* const pSamples = pResidual->As<uint16_t>();
    for (uint32_t i = 0; i < 256; ++i) {
        ASSERT_EQ(pSamples[i], i * 61 & 0x3FFF) << i;
        ASSERT_EQ(pSamples[256 + i], i * 7 & 0x1FF) << i; // 128 of each plane
    }
}

} // namespace
} // namespace UMC
