// The most bits of a macroblock in variable length codes without rate control, to the bit.
#include "tests/encoder/stream_check.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

namespace {

using namespace encoder_testing;
using namespace UMC_H264_ENCODER;

constexpr int32_t kMost = 2750; // bits of a macroblock that stands
constexpr int32_t kQp = 8;
constexpr int32_t kBitsOfDelta[3]{1, 3, 5}; // mb_qp_delta of 0, 1 and 2

// What became of a picture of one macroblock.
struct Coded {
    int64_t Bits; // of the slice
    MacroblockType Type;
    int32_t Qp;
};

UMC::H264EncoderParams ParamsOf(int32_t Method, int32_t Qp)
{
    UMC::H264EncoderParams p = SizedParams(16, 16);
    p.entropy_coding_mode = 0;
    p.rate_control_method = Method;
    p.quant_i = p.quant_p = static_cast<uint8_t>(Qp);
    return p;
}

Coded Code(const UMC::H264EncoderParams& p, int32_t Qp, const Picture& Source)
{
    CoreDriver<uint8_t> d(p);
    for (const int32_t Type : {FRAME_I, FRAME_P}) d.pCore->Sequence.Rate.SetQP(Type, Qp);
    EXPECT_EQ(d.Encode(Source), UMC::StatusOk);
    ExpectOurDecoderGivesTheReconstruction(d);
    // The last bit that is set ends the slice; the last bytes of a unit hold no emulation prevention here.
    const std::vector<NalUnit> Units = SplitNalUnits(d.Stream);
    std::vector<uint8_t> Payload;
    size_t Zeros = 0;
    for (const uint8_t Byte : Units.back().Payload) {
        if (Zeros < 2 || Byte != 3) Payload.push_back(Byte);
        Zeros = Byte == 0 ? Zeros + 1 : 0;
    }
    int64_t Bits = static_cast<int64_t>(8 * Payload.size()) - 1;
    for (uint8_t Last = Payload.back(); !(Last & 1); Last = static_cast<uint8_t>(Last >> 1)) --Bits;
    const GlobalMacroblock& mb = d.pLast->mb_global[0];
    return {Bits, static_cast<MacroblockType>(mb.Type), mb.Qp};
}

// A macroblock that costs nothing takes 8: its type 5, the mode of chroma, the QP and the DC coefficients a bit each.
int64_t HeaderBits()
{
    const Coded Grey = Code(ParamsOf(3, kQp), kQp, Picture(384, 128));
    EXPECT_EQ(Grey.Type, MB_INTRA16X16);
    return Grey.Bits - 8;
}

// A macroblock of noise that takes so many bits with the guard away: one sample after the other is changed where that
// leads no further away.
Picture NoiseOf(int64_t Bits, int32_t Qp)
{
    const int64_t Header = HeaderBits();
    std::mt19937 Rng(5);
    Picture Best(384);
    for (uint8_t& Sample : Best) Sample = static_cast<uint8_t>(96 + Rng() % 64);
    int64_t Off = INT64_MAX;
    for (int Try = 0; Try < 10000; ++Try) {
        Picture Source = Best;
        Source[Rng() % Source.size()] = static_cast<uint8_t>(Rng());
        const int64_t Now = std::abs(Code(ParamsOf(3, Qp), Qp, Source).Bits - Header - Bits);
        if (Now > Off) continue;
        Off = Now;
        Best = Source;
        if (Off == 0) return Best;
    }
    ADD_FAILURE() << "no macroblock of " << Bits << " bits";
    return Best;
}

TEST(SizeGuard, AMacroblockOf2750BitsStands)
{
    const Coded c = Code(ParamsOf(0, 0), kQp, NoiseOf(kMost, kQp));
    EXPECT_NE(c.Type, MB_PCM);
    EXPECT_EQ(c.Qp, kQp);
    EXPECT_EQ(c.Bits - HeaderBits(), kMost);
}

TEST(SizeGuard, AMacroblockOf2751BitsIsCodedAStepCoarser)
{
    const Coded c = Code(ParamsOf(0, 0), kQp, NoiseOf(kMost + 1, kQp));
    EXPECT_NE(c.Type, MB_PCM);
    EXPECT_EQ(c.Qp, kQp + 1);
    EXPECT_LE(c.Bits - HeaderBits(), kMost);
}

// The step of the QP is counted among the bits.
TEST(SizeGuard, AMacroblockOf2750BitsTwoStepsUpStands)
{
    const Coded c = Code(ParamsOf(0, 0), kQp, NoiseOf(kMost - kBitsOfDelta[2] + kBitsOfDelta[0], kQp + 2));
    EXPECT_NE(c.Type, MB_PCM);
    EXPECT_EQ(c.Qp, kQp + 2);
    EXPECT_EQ(c.Bits - HeaderBits(), kMost);
}

TEST(SizeGuard, AMacroblockOf2751BitsTwoStepsUpBecomesPcm)
{
    const Coded c = Code(ParamsOf(0, 0), kQp, NoiseOf(kMost + 1 - kBitsOfDelta[2] + kBitsOfDelta[0], kQp + 2));
    EXPECT_EQ(c.Type, MB_PCM);
}

TEST(SizeGuard, IsThereWithoutRateControlInVariableLengthCodesAlone)
{
    const Picture Source = NoiseOf(kMost + 400, kQp);
    EXPECT_EQ(Code(ParamsOf(0, 0), kQp, Source).Type, MB_PCM);
    for (const int32_t Method : {1, 2, 3}) {
        const Coded c = Code(ParamsOf(Method, kQp), kQp, Source);
        EXPECT_NE(c.Type, MB_PCM) << Method;
        EXPECT_EQ(c.Qp, kQp) << Method;
    }
    UMC::H264EncoderParams p = ParamsOf(0, 0);
    p.entropy_coding_mode = 1;
    const Coded c = Code(p, kQp, Source);
    EXPECT_NE(c.Type, MB_PCM);
    EXPECT_EQ(c.Qp, kQp);
}

// What was skipped ahead of a macroblock that is taken back is counted once.
TEST(SizeGuard, ARunOfSkipsAheadIsPutBack)
{
    UMC::H264EncoderParams p = ParamsOf(0, 0);
    p.m_Info.m_Width = 64;
    const std::vector<Picture> Still = MakeClip(Scene::Still, 64, 16, 1), Noise = MakeClip(Scene::Noise, 64, 16, 1);
    Picture Second = Still[0];
    for (size_t y = 0; y < 16; ++y) std::copy_n(&Noise[0][64 * y + 32], 16, &Second[64 * y + 32]);
    for (size_t y = 0; y < 16; ++y) std::copy_n(&Noise[0][1024 + 32 * y + 16], 8, &Second[1024 + 32 * y + 16]);
    CoreDriver<uint8_t> d(p);
    for (const int32_t Type : {FRAME_I, FRAME_P}) d.pCore->Sequence.Rate.SetQP(Type, kQp);
    d.EncodeAll({Still[0], Second});
    const GlobalMacroblock* const mb = d.pLast->mb_global;
    for (const int i : {0, 1, 3}) EXPECT_EQ(mb[i].Type, MB_SKIP_P) << i;
    EXPECT_EQ(mb[2].Type, MB_PCM);
    ExpectDecodesToReconstruction(d);
}

} // namespace
