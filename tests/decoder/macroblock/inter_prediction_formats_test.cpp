// Inter prediction of samples of either type in every chroma format: macroblocks with motion at random against the
// formulas of clause 8.4.2, sample by sample.
#include "decoder/macroblock/inter_prediction.h"
#include "decoder/macroblock/mb_reconstructor.h"
#include "tests/decoder/picture_fixture.h"
#include "tests/decoder/sample_planes.h"
#include "tests/support/inter_reference.h"

#include <algorithm>

namespace UMC {
namespace {

template <class Sample, int color_format>
struct Reconstructor : MBReconstructor<Sample, color_format, true> {
    using MBReconstructor<Sample, color_format, true>::ReconstructInter;
};

enum class Weighting { None, Explicit, Implicit };
constexpr Weighting kAllWeightings[]{Weighting::None, Weighting::Explicit, Weighting::Implicit};
constexpr int kRefs = 3, kMissing = 2; // entries of either list; the last one is a picture that is not there

class InterPredictionOfFormats : public PictureFixture
{
protected:
    static constexpr int kLumaWidth = kWidth * 16, kLumaHeight = kHeight * 16;

    void SetDepths(int Luma, int Chroma)
    {
        m_Sequence.bit_depth_luma = static_cast<uint8_t>(Luma);
        m_Sequence.bit_depth_chroma = static_cast<uint8_t>(Chroma);
    }

    int Upto(int Limit) { return static_cast<int>(m_Random() >> 4) % (Limit + 1); }
    int Within(int Limit) { return Upto(2 * Limit) - Limit; }

    // ---- What the macroblocks are, the same for every format -----------------------------------------------

    // Near its own place, mostly, so that both the inner blocks and those across a border come up.
    h264::MotionVector AnyVector()
    {
        if (Upto(3) == 0) return {0, 0};
        const int Limit = Upto(7) ? 60 : 4000;
        return {static_cast<int16_t>(Within(Limit)), static_cast<int16_t>(Within(Limit))};
    }
    // One motion for Width x Height 4x4 blocks of a macroblock from First on.
    void SetPart(int Mb, int First, int Width, int Height)
    {
        const int Lists = 1 + Upto(2);
        for (int List = 0; List < 2; ++List) {
            const bool IsUsed = Lists >> List & 1;
            const int RefIdx = IsUsed ? Upto(kRefs - 1) : h264::kRefNone;
            const h264::MotionVector Mv = IsUsed ? AnyVector() : h264::MotionVector{0, 0};
            for (int y = 0; y < Height; ++y)
                for (int x = 0; x < Width; ++x) SetBlock(Mb, First + y * 4 + x, RefIdx, Mv, List);
        }
    }
    void SetParts(int Mb, MbGlobalInfo& Global)
    {
        constexpr int8_t kTypes[] = {MBTYPE_BIDIRECTIONAL, MBTYPE_INTER16x8, MBTYPE_INTER8x16, MBTYPE_INTER8x8};
        Global.MbType = kTypes[Upto(3)];
        switch (Global.MbType) {
        case MBTYPE_BIDIRECTIONAL: Global.MbFlags = MBFLAG_ONE_MOTION; return SetPart(Mb, 0, 4, 4);
        case MBTYPE_INTER16x8: return SetPart(Mb, 0, 4, 2), SetPart(Mb, 8, 4, 2);
        case MBTYPE_INTER8x16: return SetPart(Mb, 0, 2, 4), SetPart(Mb, 2, 2, 4);
        default: break;
        }
        for (int q = 0; q < 4; ++q) {
            const int First = (q & 1) * 2 + (q & 2) * 4, Shape = Upto(3);
            const int Width = Shape & SHAPE_COLUMNS ? 1 : 2, Height = Shape & SHAPE_ROWS ? 1 : 2;
            Global.SubBlockType[q] = static_cast<uint8_t>(Shape);
            for (int y = 0; y < 2; y += Height)
                for (int x = 0; x < 2; x += Width) SetPart(Mb, First + y * 4 + x, Width, Height);
        }
    }
    void SetWeights(SliceReferences& References, Weighting How)
    {
        References.ExplicitWeights = How == Weighting::Explicit;
        References.ImplicitWeights = How == Weighting::Implicit;
        m_Slice.m_Header.luma_log2_weight_denom = static_cast<uint32_t>(Upto(6));
        m_Slice.m_Header.chroma_log2_weight_denom = static_cast<uint32_t>(Upto(6));
        const auto Weight = [&](bool IsSent, uint32_t Denominator) {
            return static_cast<int16_t>(IsSent ? Within(63) : 1 << Denominator);
        };
        ReferenceSet& Set = References.Sets[REFERENCES_PICTURE];
        for (auto& List : Set.Weights)
            for (int i = 0; i < kRefs; ++i) {
                PredWeight& w = List[i] = {};
                w.luma_weight_flag = Upto(2) != 0;
                w.chroma_weight_flag = Upto(2) != 0;
                w.luma_weight = Weight(w.luma_weight_flag, m_Slice.m_Header.luma_log2_weight_denom);
                if (w.luma_weight_flag) w.luma_offset = static_cast<int8_t>(Within(127));
                for (int Plane = 0; Plane < 2; ++Plane) {
                    w.chroma_weight[Plane] = Weight(w.chroma_weight_flag, m_Slice.m_Header.chroma_log2_weight_denom);
                    if (w.chroma_weight_flag) w.chroma_offset[Plane] = static_cast<int8_t>(Within(127));
                }
            }
        for (auto& Row : Set.Tables.ImplicitWeight)
            for (int16_t& w : Row) w = static_cast<int16_t>(Upto(2) ? Upto(192) - 64 : 32);
    }

    // ---- Prediction by the library -------------------------------------------------------------------------

    // The fixture's macroblocks with two references and one that is missing.
    template <class Sample, int color_format>
    struct Pictures {
        using Planes = SamplePlanes<Sample>;
        Planes Picture{color_format, kWidth, kHeight};
        Planes Ref[2]{{color_format, kWidth, kHeight}, {color_format, kWidth, kHeight}};
        Sample Grey[2]; // luma and chroma of the missing one
    };
    template <class Sample, int color_format>
    Pictures<Sample, color_format> Predict(Weighting How, uint32_t Seed)
    {
        const int LumaDepth = m_Sequence.bit_depth_luma, ChromaDepth = m_Sequence.bit_depth_chroma;
        m_Random.seed(Seed);
        SliceCursor& c = *m_pCursor;
        c.View(m_Slice);
        Pictures<Sample, color_format> p;
        p.Picture.ShowIn(c.Slice.Picture);
        for (const int i : {0, 1}) {
            p.Ref[i].Fill(Seed * 2 + static_cast<uint32_t>(i), LumaDepth, ChromaDepth);
            p.Grey[i] = static_cast<Sample>(1 << ((i == 0 ? LumaDepth : ChromaDepth) - 1));
        }
        const auto* const pGrey = reinterpret_cast<const uint8_t*>(p.Grey);
        const uint8_t* const pChromaGrey = pGrey + sizeof(Sample);
        for (auto& List : c.Slice.References.Sets[REFERENCES_PICTURE].Planes) {
            for (const int i : {0, 1}) List[i] = p.Ref[i].AsReference(ChromaMvOffset(color_format, i));
            List[kMissing] = {{pGrey, pChromaGrey, pChromaGrey}, 0, 0, 1, 1, 1, 1, 0};
        }
        SetWeights(c.Slice.References, How);
        for (int Mb = 0; Mb < kMbs; ++Mb) {
            c.BeginMacroblock<false>(Mb, Mb % kWidth, Mb / kWidth);
            SetParts(Mb, *c.Mb.pGlobal);
            Reconstructor<Sample, color_format>::ReconstructInter(c.Slice, c.Mb, c.Coeffs, c.Scratch);
        }
        return p;
    }
    // Table 8-9, as if the second entry were a field of the other parity.
    static int ChromaMvOffset(int color_format, int RefIdx)
    {
        return color_format == h264::CHROMA_420 && RefIdx == 1 ? -2 : 0;
    }

    // ---- And by the standard -------------------------------------------------------------------------------

    // One sample of plane i before any weights, with the motion of 4x4 block Block of a list.
    template <class Sample, int color_format>
    int Predicted(const Pictures<Sample, color_format>& p, int i, int x, int y, size_t Block, int List) const
    {
        const int RefIdx = m_Ref[List][Block];
        if (RefIdx == kMissing) return p.Grey[i != 0];
        const SamplePlanes<Sample>& Ref = p.Ref[RefIdx];
        h264::MotionVector Mv = m_Mv[List][Block];
        const auto Full = [&](int X, int Y) {
            X = std::clamp(X, 0, Ref.Width[i] - 1);
            Y = std::clamp(Y, 0, Ref.Height[i] - 1);
            return int{Ref.Plane[i][static_cast<size_t>(Y * Ref.Width[i] + X)]};
        };
        const auto From = [&](int X, int Y) { return [=](int dx, int dy) { return Full(X + dx, Y + dy); }; };
        if (i == 0)
            return test::LumaSample(From(x + (Mv.x >> 2), y + (Mv.y >> 2)), Mv.x & 3, Mv.y & 3,
                                    m_Sequence.bit_depth_luma);
        const int MvY = Mv.y + ChromaMvOffset(color_format, RefIdx), xFrac = Mv.x & 7;
        if (color_format == h264::CHROMA_444)
            return test::ChromaSample(From(x + (Mv.x >> 2), y + (Mv.y >> 2)), (Mv.x & 3) * 2, (Mv.y & 3) * 2);
        if (color_format == h264::CHROMA_420)
            return test::ChromaSample(From(x + (Mv.x >> 3), y + (MvY >> 3)), xFrac, MvY & 7);
        return test::ChromaSample(From(x + (Mv.x >> 3), y + (MvY >> 2)), xFrac, (MvY & 3) * 2);
    }
    template <class Sample, int color_format>
    int Expected(const Pictures<Sample, color_format>& p, int i, int x, int y) const
    {
        const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[color_format];
        const int LumaX = i == 0 ? x : x << Chroma.ShiftX, LumaY = i == 0 ? y : y << Chroma.ShiftY;
        const auto Block =
            static_cast<size_t>((LumaY / 16 * kWidth + LumaX / 16) * 16 + LumaY % 16 / 4 * 4 + LumaX % 16 / 4);
        const int Ref0 = m_Ref[0][Block], Ref1 = m_Ref[1][Block];
        const int Depth = i == 0 ? m_Sequence.bit_depth_luma : m_Sequence.bit_depth_chroma;
        const int p0 = Ref0 < 0 ? 0 : Predicted(p, i, x, y, Block, 0),
                  p1 = Ref1 < 0 ? 0 : Predicted(p, i, x, y, Block, 1);
        const SliceReferences& References = m_pCursor->Slice.References;
        const ReferenceSet& Set = References.Sets[REFERENCES_PICTURE];
        const auto Sent = [&](int List, int RefIdx) {
            const PredWeight& w = Set.Weights[List][RefIdx];
            return i == 0 ? test::SampleWeight{w.luma_weight, w.luma_offset}
                          : test::SampleWeight{w.chroma_weight[i - 1], w.chroma_offset[i - 1]};
        };
        const auto logWD = static_cast<int>(i == 0 ? m_Slice.m_Header.luma_log2_weight_denom
                                                   : m_Slice.m_Header.chroma_log2_weight_denom);
        if (Ref0 < 0 || Ref1 < 0) {
            const int List = Ref0 < 0 ? 1 : 0, Sample1 = List == 0 ? p0 : p1;
            if (!References.ExplicitWeights) return Sample1;
            return test::WeightedSample(Sample1, logWD, Sent(List, List == 0 ? Ref0 : Ref1), Depth);
        }
        if (References.ExplicitWeights) return test::WeightedSample(p0, p1, logWD, Sent(0, Ref0), Sent(1, Ref1), Depth);
        if (!References.ImplicitWeights) return (p0 + p1 + 1) >> 1;
        const int w1 = Set.Tables.ImplicitWeight[Ref0][Ref1];
        return test::WeightedSample(p0, p1, 5, {64 - w1, 0}, {w1, 0}, Depth);
    }

    template <class Sample, int color_format>
    void ExpectAsTheStandardHasIt(int LumaDepth, int ChromaDepth)
    {
        SetDepths(LumaDepth, ChromaDepth);
        for (const Weighting How : kAllWeightings)
            for (uint32_t Seed = 1; Seed <= 3; ++Seed) {
                const auto p = Predict<Sample, color_format>(How, Seed);
                SCOPED_TRACE(testing::Message() << "format " << color_format << ", " << LumaDepth << " and "
                                                << ChromaDepth << " bits, weights " << static_cast<int>(How));
                for (int i = 0; i < 3; ++i)
                    for (int y = 0; y < p.Picture.Height[i]; ++y)
                        for (int x = 0; x < p.Picture.Width[i]; ++x)
                            ASSERT_EQ(p.Picture.Plane[i][static_cast<size_t>(y * p.Picture.Width[i] + x)],
                                      Expected(p, i, x, y))
                                << "plane " << i << ": " << x << ", " << y;
            }
    }

    std::minstd_rand m_Random;
};

TEST_F(InterPredictionOfFormats, OfEightBitsIsAsTheStandardHasIt)
{
    ExpectAsTheStandardHasIt<uint8_t, 0>(8, 8);
    ExpectAsTheStandardHasIt<uint8_t, 1>(8, 8);
    ExpectAsTheStandardHasIt<uint8_t, 2>(8, 8);
    ExpectAsTheStandardHasIt<uint8_t, 3>(8, 8);
}

// Depths that differ between luma and chroma too.
TEST_F(InterPredictionOfFormats, OfDeepSamplesIsAsTheStandardHasIt)
{
    for (const auto& [LumaDepth, ChromaDepth] : {std::pair{10, 10}, {14, 14}, {8, 9}, {12, 8}}) {
        ExpectAsTheStandardHasIt<uint16_t, 0>(LumaDepth, ChromaDepth);
        ExpectAsTheStandardHasIt<uint16_t, 1>(LumaDepth, ChromaDepth);
        ExpectAsTheStandardHasIt<uint16_t, 2>(LumaDepth, ChromaDepth);
        ExpectAsTheStandardHasIt<uint16_t, 3>(LumaDepth, ChromaDepth);
    }
}

template <int color_format, class F>
void ExpectSameForBothSampleTypes(F&& Predict)
{
    for (const Weighting How : kAllWeightings)
        for (uint32_t Seed = 1; Seed <= 10; ++Seed) {
            const auto Narrow = Predict.template operator()<uint8_t>(How, Seed);
            const auto Deep = Predict.template operator()<uint16_t>(How, Seed);
            for (int i = 0; i < 3; ++i)
                ASSERT_TRUE(HaveEqualSamples(Narrow.Picture, Deep.Picture, i))
                    << "format " << color_format << ", weights " << static_cast<int>(How) << ", plane " << i;
        }
}

TEST_F(InterPredictionOfFormats, IsTheSameForBothSampleTypes)
{
    SetDepths(8, 8);
    const auto Check = [&]<int color_format>(std::integral_constant<int, color_format>) {
        ExpectSameForBothSampleTypes<color_format>(
            [&]<class Sample>(Weighting How, uint32_t Seed) { return Predict<Sample, color_format>(How, Seed); });
    };
    Check(std::integral_constant<int, 0>{});
    Check(std::integral_constant<int, 1>{});
    Check(std::integral_constant<int, 2>{});
    Check(std::integral_constant<int, 3>{});
}

TEST_F(InterPredictionOfFormats, TakesTheResidualOnTop)
{
    constexpr int kMb = 5, kLast[3] = {15, 7, 7}; // the last block of every plane
    SetDepths(10, 10);
    auto p = Predict<uint16_t, 2>(Weighting::None, 1);
    SliceCursor& c = *m_pCursor;
    c.View(m_Slice);
    p.Picture.ShowIn(c.Slice.Picture);
    std::fill(std::begin(c.Coeffs.Coefficients), std::end(c.Coeffs.Coefficients), uint8_t{0});
    c.BeginMacroblock<false>(kMb, kMb % kWidth, kMb / kWidth);
    SetMotion(kMb, 0, {0, 0});
    SetMotion(kMb, h264::kRefNone, {0, 0}, 1);
    for (int i = 0, First = 0; i < 3; First += ++i == 1 ? 16 : 8) {
        c.Coeffs.Bits[i] = 1u << kLast[i];
        c.Coeffs.As<int32_t>()[(First + kLast[i]) * 16] = 640;
    }
    Reconstructor<uint16_t, 2>::ReconstructInter(c.Slice, c.Mb, c.Coeffs, c.Scratch);
    for (int i = 0; i < 3; ++i) {
        const int Width = i == 0 ? 16 : 8;
        for (int y = 0; y < 16; ++y)
            for (int x = 0; x < Width; ++x) {
                const auto At = static_cast<size_t>((16 + y) * p.Picture.Width[i] + Width + x);
                const int Residual = x >= Width - 4 && y >= 12 ? 10 : 0;
                ASSERT_EQ(p.Picture.Plane[i][At], std::min(p.Ref[0].Plane[i][At] + Residual, 1023))
                    << "plane " << i << ": " << x << ", " << y;
            }
    }
}

} // namespace
} // namespace UMC
