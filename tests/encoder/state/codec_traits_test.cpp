// Both sample types have the kernels under the same names: what a template asks of one it can ask of the other, with
// steps in samples, and of samples that hold 8 bits both give the same.
#include "Common/h264/h264_tables.h"
#include "encoder/state/codec_traits.h"
#include "encoder/state/encoder_types.h"
#include "tests/support/kernel_testing.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;
using kernel_testing::Fill;
using kernel_testing::TestRandom;

constexpr int kPitch = 64, kOther = 72, kDepth = 8;
constexpr unsigned kAll = kernels::kLeft | kernels::kTop | kernels::kTopRight | kernels::kTopLeft;

// What a call left: values of either type as numbers.
struct Result {
    std::string Of;
    std::vector<int64_t> Values;
    bool operator==(const Result&) const = default;
};

template <class Sample>
struct Stage {
    using Coeff = typename CodecTraits<Sample>::Coeff;
    static constexpr auto& k = Kernels<Sample>;

    TestRandom Rng; // from the same seed for either type
    const std::vector<Sample> a = Picture(kPitch), b = Picture(kOther);
    const Sample *pA = &a[24 * kPitch + 24], *pB = &b[24 * kOther + 24];
    std::vector<Sample> Target = a;
    alignas(16) Coeff Levels[256], Dc[16];
    kernels::QuantParams Quant;
    kernels::QuantParams8x8 Quant8x8;
    std::vector<Result> Results;

    Stage()
    {
        std::copy_n(h264::kQuantFactor4x4[2], 16, Quant.Factor);
        std::copy_n(h264::kQuantFactor8x8[2], 64, Quant8x8.Factor);
        Quant.Shift = 16, Quant8x8.Shift = 17;
        Quant.Rounding = Quant8x8.Rounding = 20000;
    }
    // A surface that rises to the right, rough enough for levels and smooth enough for the edge filter.
    std::vector<Sample> Picture(int Pitch)
    {
        const std::vector<uint8_t> Bytes = Rng.Bytes(Fill::Random, static_cast<size_t>(64 * Pitch));
        std::vector<Sample> Samples(Bytes.begin(), Bytes.end());
        for (size_t i = 0; i < Samples.size(); ++i)
            Samples[i] = static_cast<Sample>(90 + i % static_cast<size_t>(Pitch) + (Samples[i] & 7));
        return Samples;
    }
    template <class T>
    void Keep(const char* pOf, const T& Values)
    {
        Results.push_back({pOf, std::vector<int64_t>(std::begin(Values), std::end(Values))});
    }
    // A call that writes to samples of a picture.
    template <class F>
    void Write(const char* pOf, const F& Call)
    {
        Target = a;
        Call(&Target[24 * kPitch + 24]);
        Keep(pOf, Target);
    }
    // One that gives a number from levels, or makes levels.
    template <class F>
    void Code(const char* pOf, const F& Call)
    {
        for (size_t i = 0; i < 256; ++i) Levels[i] = static_cast<Coeff>(i * 37 % 41) - 20;
        for (size_t i = 0; i < 16; ++i) Dc[i] = static_cast<Coeff>(i * 977 % 300) - 150;
        const uint32_t Mask = Call();
        Keep(pOf, Levels);
        Keep(pOf, Dc);
        Keep(pOf, std::vector<uint32_t>{Mask});
    }
};

template <class Sample>
void RunDistances(Stage<Sample>& s)
{
    constexpr auto& k = Kernels<Sample>;
    int32_t (*const kForms[])(const Sample*, ptrdiff_t, const Sample*, ptrdiff_t){k.Sad16x16,
                                                                                  k.Sad16x8,
                                                                                  k.Sad8x16,
                                                                                  k.Sad8x8,
                                                                                  k.Sad8x4,
                                                                                  k.Sad4x8,
                                                                                  k.Sad4x4,
                                                                                  k.Satd16x16,
                                                                                  k.Satd16x8,
                                                                                  k.Satd8x16,
                                                                                  k.Satd8x8,
                                                                                  k.Satd8x4,
                                                                                  k.Satd4x8,
                                                                                  k.Satd4x4,
                                                                                  k.Satd8x8By8,
                                                                                  k.LargestSad4x4Of16x16,
                                                                                  k.LargestSad4x4Of8x8};
    std::vector<int32_t> Distances;
    for (const auto pForm : kForms) Distances.push_back(pForm(s.pA, kPitch, s.pB, kOther));
    s.Keep("distances", Distances);
    int32_t Sum[4];
    const Sample* const pFour[4]{s.pB, s.pB + 1, s.pB + kOther, s.pB - 3};
    k.Sad16x16x4(s.pA, kPitch, pFour, kOther, Sum);
    s.Keep("Sad16x16x4", Sum);
    s.Keep("SadAverage16x16", std::vector{k.SadAverage16x16(s.pA, kPitch, s.pB, kOther, s.pA + 2, kPitch)});
    s.Keep("CountEdges16x16", std::vector{k.CountEdges16x16(s.pA, kPitch, 2)});
}

template <class Sample>
void RunForward(Stage<Sample>& s)
{
    constexpr auto& k = Kernels<Sample>;
    const auto Blocks = [&](auto&& pForm, const auto& Params) {
        return pForm(s.pA, kPitch, s.pB, kOther, s.Levels, &Params);
    };
    s.Code("ForwardQuant16x16", [&] { return Blocks(k.ForwardQuant16x16, s.Quant); });
    s.Code("ForwardQuant4x4", [&] { return Blocks(k.ForwardQuant4x4, s.Quant); });
    s.Code("ForwardQuant8x8", [&] { return Blocks(k.ForwardQuant8x8, s.Quant8x8); });
    s.Code("ForwardQuant8x8Of16x16", [&] { return Blocks(k.ForwardQuant8x8Of16x16, s.Quant8x8); });
    s.Code("ForwardQuantAc16x16",
           [&] { return k.ForwardQuantAc16x16(s.pA, kPitch, s.pB, kOther, s.Levels, s.Dc, &s.Quant); });
    s.Code("ForwardQuantAc8x8",
           [&] { return k.ForwardQuantAc8x8(s.pA, kPitch, s.pB, kOther, s.Levels, s.Dc, &s.Quant); });
    s.Code("ForwardLumaDc", [&] { return k.ForwardLumaDc(s.Dc, 10082, 20000, 16); });
    s.Code("ForwardChromaDc420", [&] { return k.ForwardChromaDc420(s.Dc, 10082, 20000, 16); });
    s.Code("ForwardChromaDc422", [&] { return k.ForwardChromaDc422(s.Dc, 10082, 20000, 16); });
}

template <class Sample>
void RunInverse(Stage<Sample>& s)
{
    constexpr auto& k = Kernels<Sample>;
    alignas(16) int16_t Scale[64];
    std::fill_n(Scale, 64, int16_t{16 * 20});
    s.Code("DequantBlocks", [&] { return k.DequantBlocks(s.Levels, 0x5555, 16, Scale, 2, 1), 0u; });
    s.Code("DequantBlocks8x8", [&] { return k.DequantBlocks8x8(s.Levels, 10, 4, Scale, 2), 0u; });
    s.Code("InverseLumaDc", [&] { return k.InverseLumaDc(s.Dc, 160, 1, s.Levels), 0u; });
    s.Code("InverseChromaDc420", [&] { return k.InverseChromaDc420(s.Dc, 160, 1, s.Levels), 0u; });
    s.Code("InverseChromaDc422", [&] { return k.InverseChromaDc422(s.Dc, 160, 1, s.Levels), 0u; });
    const auto Add = [&](const char* pOf, uint32_t Bits, auto&& Call) {
        s.Write(pOf, [&](Sample* pDst) {
            std::fill_n(s.Levels, 256, 0);
            for (size_t i = 0; i < 256; ++i)
                if (Bits >> i / 16 & 1) s.Levels[i] = static_cast<typename Stage<Sample>::Coeff>(i * 37 % 641);
            Call(s.Levels, pDst);
        });
        s.Keep(pOf, s.Levels);
    };
    Add("AddResidual4x4", 1, [&](auto* p, auto* pDst) { k.AddResidual4x4(p, pDst, kPitch, kDepth); });
    Add("AddResidual8x8", 15, [&](auto* p, auto* pDst) { k.AddResidual8x8(p, pDst, kPitch, kDepth); });
    Add("Luma4x4", 0x8421, [&](auto* p, auto* pDst) { k.AddResidualLuma4x4(p, pDst, kPitch, 0x8421, kDepth); });
    Add("Luma8x8", 0xF0F0, [&](auto* p, auto* pDst) { k.AddResidualLuma8x8(p, pDst, kPitch, 0x1010, kDepth); });
    Add("Chroma", 13, [&](auto* p, auto* pDst) { k.AddResidualChroma(p, pDst, kPitch, 13, kDepth); });
}

template <class Sample>
void RunIntra(Stage<Sample>& s)
{
    constexpr auto& k = Kernels<Sample>;
    for (int Mode = 0; Mode < 4; ++Mode) {
        s.Write("Predict16x16", [&](Sample* p) { k.Predict16x16(Mode, s.pB, kOther, p, kPitch, kAll, kDepth); });
        for (const int Height : {8, 16})
            s.Write("PredictChroma",
                    [&](Sample* p) { k.PredictChroma(Mode, Height, s.pB, kOther, p, kPitch, kAll, kDepth); });
    }
    for (int Mode = 0; Mode < 9; ++Mode) {
        s.Write("PredictIntra4x4",
                [&](Sample* p) { k.PredictIntra4x4(Mode, s.pB, kOther, s.pB - kOther + 4, p, kPitch, kAll, kDepth); });
        s.Write("PredictIntra8x8", [&](Sample* p) { k.PredictIntra8x8(Mode, s.pB, kOther, p, kPitch, kAll, kDepth); });
    }
    alignas(16) Sample Predictions[9][16];
    int32_t Sad[9];
    k.PredictAll4x4(s.pA, kPitch, s.pB, kOther, kAll, Predictions, Sad, kDepth);
    for (const auto& Mode : Predictions) s.Keep("PredictAll4x4", Mode);
    s.Keep("PredictAll4x4", Sad);
}

template <class Sample>
void RunInter(Stage<Sample>& s)
{
    constexpr auto& k = Kernels<Sample>;
    for (const int Width : {16, 8, 4}) {
        s.Write("InterpolateLuma",
                [&](Sample* p) { k.InterpolateLuma(s.pB, kOther, p, kPitch, 1, 3, Width, 8, kDepth); });
        s.Write("InterpolateChroma",
                [&](Sample* p) { k.InterpolateChroma(s.pB, s.pB + 9, kOther, p, p + 16, kPitch, 3, 5, Width / 2, 4); });
    }
    for (const int Width : {16, 8, 4, 2})
        s.Write("AverageBlock", [&](Sample* p) { k.AverageBlock(s.pB, kOther, p, kPitch, Width, 8); });
    s.Write("CopyClamped", [&](Sample* p) { k.CopyClamped(s.b.data(), kOther, 64, 64, -5, 60, p, kPitch, 21, 13); });
    s.Write("CopyBlock16", [&](Sample* p) { k.CopyBlock16(s.pB, kOther, p, kPitch, 12); });
    s.Write("CopyBlock8", [&](Sample* p) { k.CopyBlock8(s.pB, kOther, p, kPitch, 12); });
    s.Write("HalfPlaneRight", [&](Sample* p) { k.HalfPlaneRight(s.pB, kOther, p, kPitch, kDepth); });
    s.Write("HalfPlaneDown", [&](Sample* p) { k.HalfPlaneDown(s.pB, kOther, p, kPitch, kDepth); });
    s.Write("HalfPlaneBoth", [&](Sample* p) { k.HalfPlaneBoth(s.pB, kOther, p, kPitch, kDepth); });
}

template <class Sample>
void RunFilter(Stage<Sample>& s)
{
    constexpr auto& k = Kernels<Sample>;
    kernels::EdgeParams Params{{60, 50}, {15, 12}, {{0, 1, 2, 4}, {0, 1, 2, 3}}, {}};
    for (size_t i = 0; i < 16; ++i) Params.Strength[i] = static_cast<uint8_t>(i < 4 ? 4 : i % 4);
    for (const bool IsVertical : {true, false}) {
        s.Write("FilterLuma", [&](Sample* p) { k.FilterLuma(IsVertical, p, kPitch, &Params, kDepth); });
        for (const int Height : {8, 16})
            s.Write("FilterChroma", [&](Sample* p) {
                k.FilterChroma(IsVertical, Height, p, p + 12, kPitch, &Params, &Params, kDepth);
            });
    }
}

template <class Sample>
std::vector<Result> ResultsOf()
{
    Stage<Sample> s;
    RunDistances(s);
    RunForward(s);
    RunInverse(s);
    RunIntra(s);
    RunInter(s);
    RunFilter(s);
    return s.Results;
}

TEST(CodecTraits, BothSampleTypesHaveTheSameKernels)
{
    const std::vector<Result> Narrow = ResultsOf<uint8_t>(), Deep = ResultsOf<uint16_t>();
    ASSERT_EQ(Narrow.size(), Deep.size());
    for (size_t i = 0; i < Narrow.size(); ++i) EXPECT_EQ(Narrow[i].Values, Deep[i].Values) << Narrow[i].Of;
}

// Nothing above compares a call that did nothing.
TEST(CodecTraits, EveryCallThatWritesChangesThePicture)
{
    Stage<uint8_t> s;
    for (const Result& r : ResultsOf<uint8_t>())
        EXPECT_FALSE(r.Values.size() == s.a.size() && std::equal(s.a.begin(), s.a.end(), r.Values.begin())) << r.Of;
}

// The depth reaches the kernels: the middle and the largest sample are those of 12 bits.
TEST(CodecTraits, DepthIsThatOfTheCall)
{
    static_assert(CodecTraits<uint16_t>::kMaxBitDepth == 12);
    constexpr auto& k = Kernels<uint16_t>;
    std::vector<uint16_t> Samples(32 * 32, 4000);
    uint16_t* const p = &Samples[8 * 32 + 8];
    k.Predict16x16(INTRA16_DC, p, 32, p, 32, 0, 12);
    EXPECT_EQ(*p, 2048);
    k.PredictChroma(CHROMA_DC, 8, p, 32, p, 32, 0, 10);
    EXPECT_EQ(*p, 512);
    alignas(16) int32_t c[16]{64 * 5000};
    k.AddResidual4x4(c, p, 32, 12);
    EXPECT_EQ(*p, 4095);
}

} // namespace
