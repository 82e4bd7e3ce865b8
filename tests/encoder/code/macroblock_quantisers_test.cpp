// Which of the tables serve a macroblock, by slice type, format, depth and the bypass of transforms.
#include "encoder/code/macroblock_quantisers.h"

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/h264_tables.h"
#include "Common/h264/slice_type.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace UMC_H264_ENCODER;

class Quantisers : public testing::Test
{
protected:
    MacroblockQuant At(int32_t Qp)
    {
        MacroblockQuant q{};
        SetQuantisers(*m_pSettings, m_Slice, Qp, q);
        return q;
    }

    std::unique_ptr<EncoderSettings> m_pSettings = std::make_unique<EncoderSettings>();
    SyntaxOfSlice m_Slice{.slice_type = h264::SLICE_P,
                          .chroma_format_idc = h264::CHROMA_420,
                          .entropy_coding_mode_flag = true,
                          .transform_8x8_mode_flag = true,
                          .direct_8x8_inference_flag = true,
                          .BitDepthLuma = 8,
                          .BitDepthChroma = 8};
};

TEST_F(Quantisers, RoundByTheSliceAndNotTheMacroblock)
{
    const QuantTables& t = m_pSettings->Quant;
    for (const int32_t Type : {h264::SLICE_I, h264::SLICE_P, h264::SLICE_B}) {
        m_Slice.slice_type = Type;
        const MacroblockQuant q = At(40);
        const bool IsI = Type == h264::SLICE_I;
        EXPECT_EQ(q.pLuma, &(IsI ? t.Intra : t.Inter)[40]);
        EXPECT_EQ(q.pLuma8x8, &(IsI ? t.Intra8x8 : t.Inter8x8)[40]);
        EXPECT_EQ(q.pChroma, &(IsI ? t.Intra : t.Inter)[36]); // QPC of QPY 40
        EXPECT_EQ(q.pChromaDc, q.pChroma);
        EXPECT_EQ(q.pLumaIntra, &t.Intra[40]); // the DC of Intra 16x16, in every slice
    }
}

TEST_F(Quantisers, OfTheChromaDcOf422AreThreeStepsUp)
{
    m_Slice.chroma_format_idc = h264::CHROMA_422;
    for (const int32_t Qp : {0, 28, 30, 51}) {
        const auto Chroma = static_cast<size_t>(h264::kChromaQp[static_cast<size_t>(Qp)]);
        const MacroblockQuant q = At(Qp);
        EXPECT_EQ(q.pChroma, &m_pSettings->Quant.Inter[Chroma]);
        EXPECT_EQ(q.pChromaDc, &m_pSettings->Quant.Inter[Chroma + 3]);
        EXPECT_EQ(q.ChromaDcPer, static_cast<int32_t>(Chroma + 3) / 6);
        EXPECT_EQ(q.pChromaDcScale, m_pSettings->Quant.Scale[(Chroma + 3) % 6]);
        EXPECT_EQ(q.ChromaPer, static_cast<int32_t>(Chroma) / 6);
    }
}

TEST_F(Quantisers, OfDeepSamplesCountFromTheLowestQp)
{
    m_Slice.BitDepthLuma = 10;
    m_Slice.BitDepthChroma = 12;
    const MacroblockQuant q = At(-12);
    EXPECT_EQ(q.pLuma, &m_pSettings->Quant.Inter[0]);
    EXPECT_EQ(q.QpChroma, -12);
    EXPECT_EQ(q.pChroma, &m_pSettings->Quant.Inter[12]);
    EXPECT_EQ(At(51).pLuma, &m_pSettings->Quant.Inter[63]);
    EXPECT_EQ(At(51).pChroma, &m_pSettings->Quant.Inter[39 + 24]);
    m_Slice.BitDepthChroma = 8; // whose QP does not go below 0
    EXPECT_EQ(At(-12).QpChroma, 0);
    EXPECT_EQ(At(-12).pChroma, &m_pSettings->Quant.Inter[0]);
}

TEST_F(Quantisers, BypassTheTransformAtQp0Of8BitsWhereAskedTo)
{
    EXPECT_FALSE(At(0).IsLossless);
    m_pSettings->Params.qpprime_y_zero_transform_bypass = 1;
    EXPECT_TRUE(At(0).IsLossless);
    EXPECT_FALSE(At(1).IsLossless);
    m_Slice.BitDepthLuma = 10;
    EXPECT_FALSE(At(0).IsLossless);
}

} // namespace
