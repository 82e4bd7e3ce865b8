// Streams of the core itself: macroblocks that no decision codes as they are, and 8-bit samples in 16 bits each.
#include "tests/encoder/stream_check.h"

#include <gtest/gtest.h>

namespace {

using namespace encoder_testing;
using UMC::H264EncoderParams;

H264EncoderParams Constant(int32_t Qp)
{
    H264EncoderParams p = SizedParams(96, 80);
    p.rate_control_method = 3;
    p.quant_i = p.quant_p = p.quant_b = static_cast<uint8_t>(Qp);
    return p;
}

struct CoreCase {
    const char* Title;
    void (*pSet)(H264EncoderParams&);
};
void PrintTo(const CoreCase& c, std::ostream* pOut) { *pOut << c.Title; }

#define CORE(Title, ...)                                                                                               \
    CoreCase                                                                                                           \
    {                                                                                                                  \
#Title, [](H264EncoderParams& p) { (void)p; __VA_ARGS__; }                                                             \
    }
#define HIGH(Chroma, Depth)                                                                                            \
    p.profile_idc = 100, p.chroma_format_idc = (Chroma), p.bit_depth_luma = p.bit_depth_chroma = (Depth)

// ---- I_PCM -------------------------------------------------------------------------------------------------

// Every third macroblock is sent as it is, between others that take their contexts and predictions from it.
template <class Sample>
void ExpectPcmStreams(const H264EncoderParams& p)
{
    CoreDriver<Sample> d(p);
    d.pCore->Settings.PcmEvery = 3;
    const std::vector<Picture> Clip = MakeClip(Scene::Pan, 96, 80, 4, d.Format());
    d.EncodeAll(Clip);
    ASSERT_EQ(d.Reconstruction.size(), 4u);
    for (int32_t Mb = 0; Mb < 30; ++Mb)
        ASSERT_EQ(d.pLast->mb_global[Mb].Type == UMC_H264_ENCODER::MB_PCM, Mb % 3 == 0) << Mb;
    ExpectDecodesToReconstruction(d);
}

class PcmStream : public testing::TestWithParam<CoreCase>
{
};
TEST_P(PcmStream, DecodesToTheReconstruction)
{
    H264EncoderParams p = Constant(30);
    GetParam().pSet(p);
    FormatOf(p).SampleBytes() == 2 ? ExpectPcmStreams<uint16_t>(p) : ExpectPcmStreams<uint8_t>(p);
}

const CoreCase kPcm[] = {
    CORE(Cabac),
    CORE(Cavlc, p.entropy_coding_mode = 0),
    CORE(CabacSlices, p.num_slices = 4),
    CORE(CavlcSlices, p.num_slices = 4; p.entropy_coding_mode = 0),
    CORE(CabacB, p.num_b_frames = 1; p.num_ref_frames = 2),
    CORE(CavlcB, p.num_b_frames = 1; p.num_ref_frames = 2; p.entropy_coding_mode = 0),
    CORE(Cabac8x8, HIGH(1, 8); p.transform_8x8_mode = 1),
    CORE(Cavlc8x8, HIGH(1, 8); p.transform_8x8_mode = 1; p.entropy_coding_mode = 0),
    CORE(CabacOf422, HIGH(2, 8)),
    CORE(CavlcOf422, HIGH(2, 8); p.entropy_coding_mode = 0),
    CORE(CabacMonochrome, HIGH(0, 8)),
    CORE(CavlcMonochrome, HIGH(0, 8); p.entropy_coding_mode = 0),
    CORE(CabacDeep, HIGH(1, 10)),
    CORE(CavlcDeep, HIGH(2, 12); p.entropy_coding_mode = 0),
    CORE(Lossless, p.profile_idc = 144; p.qpprime_y_zero_transform_bypass = 1; p.quant_i = 0; p.quant_p = 0)};
INSTANTIATE_TEST_SUITE_P(All, PcmStream, testing::ValuesIn(kPcm));

// ---- The core for samples of two bytes -----------------------------------------------------------------------

class WideCore : public testing::TestWithParam<CoreCase>
{
};
TEST_P(WideCore, MakesTheStreamOfTheNarrowOneAt8Bits)
{
    for (const int32_t Qp : {12, 26, 40}) {
        SCOPED_TRACE(Qp);
        H264EncoderParams p = Constant(Qp);
        GetParam().pSet(p);
        CoreDriver<uint8_t> Narrow(p);
        CoreDriver<uint16_t> Wide(p);
        const std::vector<Picture> Clip = MakeClip(Scene::Mixed, 96, 80, 7, Narrow.Format());
        Narrow.EncodeAll(Clip);
        Wide.EncodeAll(Clip);
        ASSERT_EQ(Narrow.Reconstruction.size(), 7u);
        EXPECT_TRUE(Wide.Stream == Narrow.Stream);
    }
}

const CoreCase kWide[] = {
    CORE(Defaults),
    CORE(Satd, p.analysis_level = 1; p.num_ref_frames = 2),
    CORE(Cavlc, p.entropy_coding_mode = 0; p.partition_level = 2),
    CORE(B, p.num_b_frames = 2; p.num_ref_frames = 3; p.partition_level = 2),
    CORE(BImplicit, p.num_b_frames = 2; p.num_ref_frames = 3; p.use_implicit_weighted_bipred = 1;
         p.direct_pred_mode = 1),
    CORE(Transform8x8, HIGH(1, 8); p.transform_8x8_mode = 1; p.partition_level = 1),
    CORE(Matrix, HIGH(1, 8); p.transform_8x8_mode = 1; p.use_default_scaling_matrix = 1),
    CORE(Monochrome, HIGH(0, 8)),
    CORE(Chroma422, HIGH(2, 8); p.analysis_level = 1),
    CORE(Lossless, p.profile_idc = 144; p.qpprime_y_zero_transform_bypass = 1; p.quant_i = 0; p.quant_p = 0),
    CORE(Rate, p.rate_control_method = 2; p.m_Info.m_Bitrate = 200000),
    CORE(GuardedNoise, p.rate_control_method = 0; p.entropy_coding_mode = 0),
    CORE(Umbrella, p.search_method = 8; p.search_x = 16),
    CORE(FullSearch, p.search_method = 0; p.search_x = 4)};
INSTANTIATE_TEST_SUITE_P(All, WideCore, testing::ValuesIn(kWide));

} // namespace
