// Every stream decodes without a message to exactly the encoder's own pictures.
#include "tests/encoder/stream_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>

namespace {

using namespace encoder_testing;
using UMC::H264EncoderParams;

struct StreamCase {
    const char* Title;
    int32_t Width, Height;
    Scene What;
    int Pictures;
    void (*pSet)(H264EncoderParams&);
    const char* pTools = ""; // names of those that the stream has to use, each with a space behind it
};
void PrintTo(const StreamCase& c, std::ostream* pOut) { *pOut << c.Title; }

void ExpectUsed(const Driver& d, const std::string& Names)
{
    for (size_t At = 0; At < Names.size(); At = Names.find(' ', At) + 1) {
        const std::string Name = Names.substr(At, Names.find(' ', At) - At);
        const auto* const pTool =
            std::find_if(std::begin(UMC_H264_ENCODER::kToolNames), std::end(UMC_H264_ENCODER::kToolNames),
                         [&](const auto& t) { return t.pName == Name; });
        ASSERT_NE(pTool, std::end(UMC_H264_ENCODER::kToolNames)) << Name;
        EXPECT_GT(d.Tools.*pTool->pCount, 0) << Name;
    }
}

class EncodedStream : public testing::TestWithParam<StreamCase>
{
protected:
    void Encode(const StreamCase& c)
    {
        H264EncoderParams p = SizedParams(c.Width, c.Height);
        c.pSet(p);
        m_pDriver = std::make_unique<Driver>(p);
        ASSERT_EQ(m_pDriver->InitResult(), UMC::StatusOk);
        m_pDriver->EncodeAll(MakeClip(c.What, c.Width, c.Height, c.Pictures, FormatOf(p)));
        ASSERT_EQ(m_pDriver->Reconstruction.size(), static_cast<size_t>(c.Pictures));
        ExpectUsed(*m_pDriver, c.pTools);
    }

    std::unique_ptr<Driver> m_pDriver;
};
TEST_P(EncodedStream, DecodesToTheReconstruction)
{
    Encode(GetParam());
    if (!HasFatalFailure()) ExpectDecodesToReconstruction(*m_pDriver);
}

// Of depths that ffmpeg does not know.
using DeepStream = EncodedStream;
TEST_P(DeepStream, DecodesToTheReconstructionInOurDecoder)
{
    Encode(GetParam());
    if (!HasFatalFailure()) ExpectOurDecoderGivesTheReconstruction(*m_pDriver);
}

#define STREAM(Title, Width, Height, What, Pictures, ...)                                                              \
    StreamCase                                                                                                         \
    {                                                                                                                  \
#Title, Width, Height, Scene::What, Pictures, [](H264EncoderParams& p) { (void)p; __VA_ARGS__; }                       \
    }
#define STREAM_WITH(Tools, Title, Width, Height, What, Pictures, ...)                                                  \
    StreamCase                                                                                                         \
    {                                                                                                                  \
#Title, Width, Height, Scene::What, Pictures, [](H264EncoderParams& p) { (void)p; __VA_ARGS__; }, Tools " "            \
    }
#define RATE(Kbps, Fps) p.m_Info.m_Bitrate = (Kbps)*1000, p.m_Info.m_FrameRate = (Fps)
#define CONSTANT(I, P) p.rate_control_method = 3, p.quant_i = (I), p.quant_p = (P)
#define CONSTANT_B(I, P, B) CONSTANT(I, P), p.quant_b = (B)
#define PARTS(Level, References) p.partition_level = (Level), p.num_ref_frames = (References)
#define B_PICTURES(Count, References) p.num_b_frames = (Count), p.num_ref_frames = (References)
#define FORMAT(Chroma, Depth)                                                                                          \
    p.profile_idc = 100, p.chroma_format_idc = (Chroma), p.bit_depth_luma = p.bit_depth_chroma = (Depth)

const StreamCase kSizes[] = {
    STREAM(Small, 16, 16, Pan, 8, CONSTANT(28, 28)),      STREAM(OneRow, 176, 16, Pan, 8, CONSTANT(24, 26)),
    STREAM(OneColumn, 16, 144, Pan, 8, CONSTANT(24, 26)), STREAM(Qcif64, 176, 144, Pan, 30, RATE(64, 15)),
    STREAM(Qcif6000, 176, 144, Pan, 10, RATE(6000, 60)),  STREAM(Cropped, 178, 146, Pan, 20, RATE(300, 30)),
    STREAM(Tiny, 18, 34, Mixed, 12, RATE(100, 30)),       STREAM(Cif, 352, 288, Mixed, 20, RATE(500, 25)),
    STREAM(Wide, 640, 360, Pan, 8, RATE(1000, 30)),       STREAM(Hd, 1280, 720, Mixed, 4, RATE(1500, 30)),
    STREAM(Hd4000, 1280, 720, Pan, 3, RATE(4000, 50))};
INSTANTIATE_TEST_SUITE_P(Sizes, EncodedStream, testing::ValuesIn(kSizes));

const StreamCase kSettings[] = {
    STREAM(IntraOnly, 176, 144, Mixed, 6, p.key_frame_interval = 1),
    STREAM(NoKey, 176, 144, Pan, 12, p.key_frame_interval = 0),
    STREAM(Key15Idr, 176, 144, Pan, 40, p.key_frame_interval = 15; p.idr_interval = 1; RATE(200, 30)),
    STREAM(Key7Idr2, 176, 144, Cut, 40, p.key_frame_interval = 7; p.idr_interval = 2; RATE(200, 30)),
    STREAM(LongerThanFrameNum, 48, 48, Pan, 300, RATE(30, 30)),
    STREAM(BestQuality, 96, 80, Noise, 3, CONSTANT(0, 0)),
    STREAM(WorstQuality, 96, 80, Noise, 4, CONSTANT(51, 51)),
    STREAM(GoodNoise, 96, 80, Noise, 4, CONSTANT(12, 14)),
    STREAM(IntraInP, 176, 144, Cut, 8, CONSTANT(30, 30)),
    STREAM(FourSlices, 176, 144, Mixed, 8, p.num_slices = 4),
    STREAM(SliceForEachRow, 176, 144, Pan, 8, p.num_slices = 9; CONSTANT(30, 30)),
    STREAM(FilterInsideSlices, 176, 144, Pan, 8, p.num_slices = 3; p.deblocking_filter_idc = 2; CONSTANT(34, 34)),
    STREAM(NoFilter, 176, 144, Pan, 8, p.deblocking_filter_idc = 1; CONSTANT(34, 34)),
    STREAM(OddFilterOffsets, 176, 144, Pan, 8, p.deblocking_alpha_offset = -5; p.deblocking_beta_offset = 7;
           CONSTANT(34, 34)),
    STREAM(StrongFilter, 176, 144, Pan, 8, p.deblocking_alpha_offset = 12; p.deblocking_beta_offset = 12;
           CONSTANT(34, 34)),
    STREAM(Delimiters, 176, 144, Pan, 4, p.write_access_unit_delimiters = 1),
    STREAM(ShortWindows, 176, 144, Cut, 30, p.rate_control_method = 1; RATE(150, 30)),
    STREAM(NoRateControl, 176, 144, Cut, 6, p.rate_control_method = 0),
    STREAM(Baseline, 176, 144, Pan, 3, p.profile_idc = 88),
    STREAM(High, 176, 144, Pan, 5, p.profile_idc = 100),
    STREAM(ScalingMatrix, 176, 144, Pan, 5, p.use_default_scaling_matrix = 1),
    STREAM(Idc0, 176, 144, Pan, 6, p.cabac_init_idc = 0),
    STREAM(Idc2, 176, 144, Pan, 6, p.cabac_init_idc = 2),
    STREAM(ThreeReferences, 176, 144, Mixed, 12, p.num_ref_frames = 3; CONSTANT(24, 24)),
    STREAM(TwoReferencesAndIPictures, 96, 80, Turns, 24, p.num_ref_frames = 2; p.key_frame_interval = 5;
           CONSTANT(28, 28)),
    STREAM(FourReferencesAndIPictures, 96, 80, Mixed, 24, p.num_ref_frames = 4; p.key_frame_interval = 3;
           p.idr_interval = 3; CONSTANT(28, 28)),
    STREAM(IPicturesWhereFrameNumWraps, 48, 48, Turns, 300, p.num_ref_frames = 2; p.key_frame_interval = 16;
           CONSTANT(30, 30)),
    STREAM(Satd, 176, 144, Pan, 8, p.analysis_level = 1; CONSTANT(28, 28)),
    STREAM(SatdReferences, 176, 144, Cut, 8, p.analysis_level = 1; p.num_ref_frames = 2; CONSTANT(28, 28))};
INSTANTIATE_TEST_SUITE_P(Settings, EncodedStream, testing::ValuesIn(kSettings));

const StreamCase kSearchMethods[] = {
    STREAM(Full, 96, 80, Pan, 6, p.search_method = 0; p.search_x = 5; p.search_y = 3; CONSTANT(26, 26)),
    STREAM(CrossLog, 176, 144, Pan, 6, p.search_method = 1; CONSTANT(26, 26)),
    STREAM(HexagonLog, 176, 144, Pan, 6, p.search_method = 3; CONSTANT(26, 26)),
    STREAM(Cross, 176, 144, Pan, 6, p.search_method = 4; CONSTANT(26, 26)),
    STREAM(AxisBisection, 176, 144, Pan, 6, p.search_method = 5; CONSTANT(26, 26)),
    STREAM(Walk, 176, 144, Pan, 6, p.search_method = 6; CONSTANT(26, 26)),
    STREAM(Umbrella, 176, 144, Pan, 6, p.search_method = 8; p.search_x = 16; CONSTANT(26, 26)),
    STREAM(WideLog, 176, 144, Pan, 6, p.search_x = 64; p.search_y = 64; CONSTANT(26, 26)),
    STREAM(NarrowLog, 176, 144, Pan, 6, p.search_x = 8; p.search_y = 2; CONSTANT(26, 26)),
    STREAM(NoRange, 176, 144, Pan, 6, p.search_x = 0; p.search_y = -4; CONSTANT(26, 26))};
INSTANTIATE_TEST_SUITE_P(SearchMethods, EncodedStream, testing::ValuesIn(kSearchMethods));

#define ALL_PARTS "inter_16x16 inter_16x8 inter_8x16 inter_8x8"

const StreamCase kParts[] = {
    STREAM_WITH(ALL_PARTS, Level1, 112, 96, Pan, 6, PARTS(1, 1); CONSTANT(24, 24)),
    STREAM_WITH(ALL_PARTS, Level2, 112, 96, Pan, 6, PARTS(2, 1); CONSTANT(18, 18)),
    STREAM_WITH("inter_16x16 inter_8x8", Level3, 112, 96, Mixed, 6, PARTS(3, 2); CONSTANT(18, 18)),
    STREAM_WITH("inter_16x16 inter_8x8", ThreeReferences, 112, 96, Turns, 8, PARTS(2, 3); CONSTANT(18, 18)),
    STREAM_WITH("inter_16x16 inter_8x8", FourReferencesSatd, 96, 80, Turns, 8, PARTS(1, 4); p.analysis_level = 1;
                CONSTANT(18, 18)),
    STREAM_WITH("inter_16x16 inter_8x8", FiveReferences, 96, 80, Turns, 10, PARTS(2, 5); CONSTANT(18, 18)),
    STREAM_WITH(ALL_PARTS, Cavlc, 112, 96, Pan, 6, PARTS(2, 1); p.entropy_coding_mode = 0; CONSTANT(18, 18)),
    STREAM_WITH("inter_16x16 inter_8x8", CavlcReferences, 96, 80, Turns, 8, PARTS(2, 3); p.entropy_coding_mode = 0;
                CONSTANT(20, 20)),
    STREAM_WITH(ALL_PARTS, Slices, 112, 96, Pan, 6, PARTS(2, 2); p.num_slices = 3; CONSTANT(18, 18)),
    STREAM_WITH(ALL_PARTS, Full, 96, 80, Pan, 4, PARTS(2, 2); p.search_method = 0; p.search_x = 4; p.search_y = 3;
                CONSTANT(18, 18)),
    STREAM_WITH("inter_8x8", CroppedHardFilter, 90, 70, Pan, 6, PARTS(2, 2); p.deblocking_alpha_offset = 12;
                p.deblocking_beta_offset = 12; CONSTANT(30, 30))};
INSTANTIATE_TEST_SUITE_P(Parts, EncodedStream, testing::ValuesIn(kParts));

const StreamCase kCavlc[] = {STREAM(Defaults, 112, 96, Mixed, 8, p.entropy_coding_mode = 0),
                             STREAM(Finest, 96, 80, Noise, 3, p.entropy_coding_mode = 0; CONSTANT(0, 0)),
                             STREAM(Coarsest, 96, 80, Pan, 4, p.entropy_coding_mode = 0; CONSTANT(51, 51)),
                             STREAM(SliceForEachRow, 96, 80, Pan, 6, p.entropy_coding_mode = 0; p.num_slices = 5),
                             STREAM_WITH("pcm", GuardedNoise, 96, 80, Noise, 3, p.entropy_coding_mode = 0;
                                         p.rate_control_method = 0; FORMAT(1, 8)),
                             STREAM_WITH("pcm", GuardedNoise422, 96, 80, Noise, 3, p.entropy_coding_mode = 0;
                                         p.rate_control_method = 0; FORMAT(2, 8)),
                             STREAM(Baseline, 96, 80, Pan, 4, p.entropy_coding_mode = 0; p.profile_idc = 66)};
INSTANTIATE_TEST_SUITE_P(Cavlc, EncodedStream, testing::ValuesIn(kCavlc));

#define B_TYPES "pictures_b direct inter_16x16"

const StreamCase kBPictures[] = {
    STREAM_WITH(B_TYPES, One, 112, 96, Pan, 8, B_PICTURES(1, 2); CONSTANT_B(22, 22, 24)),
    STREAM_WITH(B_TYPES " skip_b", Two, 112, 96, Mixed, 10, B_PICTURES(2, 2); CONSTANT_B(22, 22, 24)),
    STREAM_WITH(B_TYPES, Three, 112, 96, Pan, 12, B_PICTURES(3, 3); CONSTANT_B(24, 24, 26)),
    STREAM_WITH(B_TYPES " skip_b", Seven, 96, 80, Mixed, 12, B_PICTURES(7, 3); CONSTANT_B(22, 24, 26)),
    STREAM_WITH(B_TYPES, Spatial, 112, 96, Pan, 10, B_PICTURES(2, 3); p.direct_pred_mode = 1; CONSTANT_B(22, 22, 24)),
    STREAM_WITH(B_TYPES, SpatialBy4x4, 112, 96, Pan, 10, B_PICTURES(2, 3); p.direct_pred_mode = 1;
                p.direct_8x8_inference = 0; PARTS(2, 3); CONSTANT_B(18, 18, 20)),
    STREAM_WITH(B_TYPES, TemporalBy4x4, 112, 96, Pan, 10, B_PICTURES(2, 3); p.direct_8x8_inference = 0; PARTS(2, 3);
                CONSTANT_B(18, 18, 20)),
    STREAM_WITH(B_TYPES " " ALL_PARTS, Parts, 112, 96, Pan, 10, B_PICTURES(2, 3); PARTS(1, 3); CONSTANT_B(18, 18, 18)),
    STREAM_WITH(B_TYPES " " ALL_PARTS, SmallParts, 112, 96, Pan, 10, B_PICTURES(2, 3); PARTS(2, 3);
                CONSTANT_B(18, 18, 18)),
    STREAM_WITH(B_TYPES " " ALL_PARTS, SmallPartsCavlc, 112, 96, Pan, 10, B_PICTURES(2, 3); PARTS(2, 3);
                p.entropy_coding_mode = 0; p.direct_pred_mode = 1; CONSTANT_B(18, 18, 18)),
    STREAM_WITH(B_TYPES " skip_b", Cavlc, 112, 96, Mixed, 10, B_PICTURES(2, 2); p.entropy_coding_mode = 0;
                CONSTANT_B(22, 22, 24)),
    STREAM_WITH(B_TYPES, Implicit, 112, 96, Pan, 12, B_PICTURES(3, 4); p.use_implicit_weighted_bipred = 1;
                CONSTANT_B(22, 22, 24)),
    STREAM_WITH(B_TYPES, ImplicitParts, 96, 80, Turns, 12, B_PICTURES(3, 5); PARTS(2, 5);
                p.use_implicit_weighted_bipred = 1; p.direct_pred_mode = 1; CONSTANT_B(18, 18, 18)),
    STREAM_WITH(B_TYPES, Satd, 112, 96, Pan, 8, B_PICTURES(2, 2); PARTS(1, 2); p.analysis_level = 1;
                CONSTANT_B(20, 20, 20)),
    STREAM_WITH(B_TYPES " skip_b", Slices, 112, 96, Mixed, 8, B_PICTURES(2, 2); p.num_slices = 3;
                CONSTANT_B(22, 22, 24)),
    STREAM_WITH("pictures_b intra_4x4", Noise, 96, 80, Noise, 6, B_PICTURES(2, 2); CONSTANT_B(22, 22, 24)),
    STREAM_WITH(B_TYPES " skip_b pictures_idr", ShortPeriods, 96, 80, Mixed, 17, B_PICTURES(2, 3);
                p.key_frame_interval = 5; p.idr_interval = 1; CONSTANT_B(24, 24, 26)),
    STREAM_WITH(B_TYPES " skip_b", KeyPicturesInRuns, 96, 80, Mixed, 17, B_PICTURES(2, 3); p.key_frame_interval = 5;
                p.keep_pattern_at_key = 1; CONSTANT_B(24, 24, 26)),
    STREAM_WITH(B_TYPES, Unfiltered, 96, 80, Pan, 8, B_PICTURES(2, 2); p.deblocking_filter_idc = 1;
                CONSTANT_B(28, 28, 28)),
    STREAM_WITH(B_TYPES, Transform8x8, 112, 96, Pan, 8, B_PICTURES(2, 2); PARTS(2, 2); p.transform_8x8_mode = 1;
                CONSTANT_B(22, 22, 22)),
    STREAM_WITH(B_TYPES, Rate, 112, 96, Pan, 16, B_PICTURES(2, 2); RATE(150, 30))};
INSTANTIATE_TEST_SUITE_P(BPictures, EncodedStream, testing::ValuesIn(kBPictures));

const StreamCase kHighProfile[] = {
    STREAM(Transform8x8, 112, 96, Pan, 6, p.transform_8x8_mode = 1; CONSTANT(26, 26)),
    STREAM(Transform8x8Finest, 96, 80, Noise, 3, p.transform_8x8_mode = 1; CONSTANT(0, 0)),
    STREAM(Transform8x8Parts, 112, 96, Pan, 6, p.transform_8x8_mode = 1; PARTS(2, 2); CONSTANT(18, 18)),
    STREAM(Transform8x8Cavlc, 112, 96, Pan, 6, p.transform_8x8_mode = 1; p.entropy_coding_mode = 0; PARTS(1, 1);
           CONSTANT(22, 22)),
    STREAM(Transform8x8Satd, 96, 80, Cut, 6, p.transform_8x8_mode = 1; p.analysis_level = 1; CONSTANT(24, 24)),
    STREAM(Matrix, 112, 96, Pan, 6, p.use_default_scaling_matrix = 1; CONSTANT(24, 24)),
    STREAM(Matrix8x8, 112, 96, Pan, 6, p.use_default_scaling_matrix = 1; p.transform_8x8_mode = 1; CONSTANT(24, 24)),
    STREAM(Matrix8x8Cavlc, 96, 80, Mixed, 6, p.use_default_scaling_matrix = 1; p.transform_8x8_mode = 1;
           p.entropy_coding_mode = 0; CONSTANT(14, 16)),
    STREAM(Monochrome, 112, 96, Mixed, 6, FORMAT(0, 8); CONSTANT(24, 24)),
    STREAM(MonochromeCavlc, 96, 80, Pan, 6, FORMAT(0, 8); p.entropy_coding_mode = 0; PARTS(2, 2); CONSTANT(20, 20)),
    STREAM(MonochromeB, 96, 80, Pan, 8, FORMAT(0, 8); B_PICTURES(2, 2); p.transform_8x8_mode = 1;
           CONSTANT_B(22, 22, 22)),
    STREAM(Chroma422, 112, 96, Mixed, 6, FORMAT(2, 8); CONSTANT(22, 24)),
    STREAM(Chroma422Cavlc, 96, 80, Pan, 6, FORMAT(2, 8); p.entropy_coding_mode = 0; PARTS(2, 2); CONSTANT(18, 18)),
    STREAM(Chroma422Finest, 96, 80, Noise, 3, FORMAT(2, 8); CONSTANT(0, 0)),
    STREAM(Chroma422Coarsest, 96, 80, Pan, 4, FORMAT(2, 8); CONSTANT(51, 51)),
    STREAM(Chroma422B, 96, 80, Pan, 8, FORMAT(2, 8); B_PICTURES(2, 3); PARTS(2, 3); p.transform_8x8_mode = 1;
           p.analysis_level = 1; CONSTANT_B(20, 20, 20)),
    STREAM(Chroma422HardFilter, 90, 70, Pan, 6, FORMAT(2, 8); p.transform_8x8_mode = 1; p.deblocking_alpha_offset = 12;
           p.deblocking_beta_offset = 12; CONSTANT(34, 34))};
INSTANTIATE_TEST_SUITE_P(HighProfile, EncodedStream, testing::ValuesIn(kHighProfile));

#define LOSSLESS p.profile_idc = 144, p.qpprime_y_zero_transform_bypass = 1, CONSTANT_B(0, 0, 0)

const StreamCase kLossless[] = {
    STREAM(Texture, 96, 80, Pan, 4, LOSSLESS),
    STREAM(Noise, 96, 80, Noise, 3, LOSSLESS),
    STREAM(Transform8x8, 96, 80, Pan, 4, LOSSLESS; p.transform_8x8_mode = 1),
    STREAM(Cavlc, 96, 80, Mixed, 4, LOSSLESS; p.entropy_coding_mode = 0; p.transform_8x8_mode = 1),
    STREAM(Parts, 96, 80, Pan, 4, LOSSLESS; PARTS(2, 2)),
    STREAM(Satd422, 96, 80, Pan, 4, LOSSLESS; p.chroma_format_idc = 2; p.analysis_level = 1),
    STREAM(Monochrome, 96, 80, Pan, 4, LOSSLESS; p.chroma_format_idc = 0),
    STREAM_WITH("pictures_b", BPictures, 96, 80, Pan, 7, LOSSLESS; B_PICTURES(2, 2); PARTS(1, 2))};
INSTANTIATE_TEST_SUITE_P(Lossless, EncodedStream, testing::ValuesIn(kLossless));

const StreamCase kDeep[] = {
    STREAM(Bits9, 96, 80, Pan, 5, FORMAT(1, 9); CONSTANT(24, 24)),
    STREAM(Bits10, 112, 96, Mixed, 5, FORMAT(1, 10); CONSTANT(24, 24)),
    STREAM(Bits12, 96, 80, Pan, 5, FORMAT(1, 12); CONSTANT(24, 24)),
    STREAM(Bits10Rate, 112, 96, Pan, 8, FORMAT(1, 10); RATE(200, 30)),
    STREAM(Bits10Finest, 96, 80, Noise, 3, FORMAT(1, 10); CONSTANT(0, 0)),
    STREAM(Bits12Finest, 96, 80, Noise, 3, FORMAT(1, 12); CONSTANT(0, 0)),
    STREAM(Bits12Coarsest, 96, 80, Noise, 3, FORMAT(1, 12); CONSTANT(51, 51)),
    STREAM(Bits9Cavlc, 96, 80, Mixed, 5, FORMAT(1, 9); p.entropy_coding_mode = 0; PARTS(2, 2); CONSTANT(16, 16)),
    STREAM(Bits12Cavlc, 96, 80, Noise, 3, FORMAT(1, 12); p.entropy_coding_mode = 0; CONSTANT(8, 8)),
    STREAM_WITH("pcm", Bits10GuardedNoise, 96, 80, Noise, 3, FORMAT(1, 10); p.entropy_coding_mode = 0;
                p.rate_control_method = 0),
    STREAM(Bits10Parts, 96, 80, Pan, 6, FORMAT(1, 10); PARTS(2, 3); CONSTANT(16, 16)),
    STREAM(Bits10Transform8x8, 96, 80, Pan, 5, FORMAT(1, 10); p.transform_8x8_mode = 1; CONSTANT(22, 22)),
    STREAM(Bits12Matrix, 96, 80, Pan, 5, FORMAT(1, 12); p.transform_8x8_mode = 1; p.use_default_scaling_matrix = 1;
           CONSTANT(18, 18)),
    STREAM(Bits10Satd, 96, 80, Cut, 6, FORMAT(1, 10); p.analysis_level = 1; CONSTANT(22, 22)),
    STREAM(Bits10Of422, 96, 80, Mixed, 5, FORMAT(2, 10); CONSTANT(22, 22)),
    STREAM(Bits12Of422Cavlc, 96, 80, Pan, 5, FORMAT(2, 12); p.entropy_coding_mode = 0; p.transform_8x8_mode = 1;
           CONSTANT(18, 18)),
    STREAM_WITH(B_TYPES, Bits10B, 96, 80, Pan, 8, FORMAT(1, 10); B_PICTURES(2, 3); PARTS(2, 3);
                p.use_implicit_weighted_bipred = 1; CONSTANT_B(18, 18, 18)),
    STREAM_WITH(B_TYPES, Bits9Of422Spatial, 96, 80, Pan, 8, FORMAT(2, 9); B_PICTURES(2, 2); p.direct_pred_mode = 1;
                CONSTANT_B(22, 22, 22)),
    STREAM(Bits10Monochrome, 96, 80, Mixed, 5, FORMAT(0, 10); CONSTANT(22, 22))};
INSTANTIATE_TEST_SUITE_P(Deep, EncodedStream, testing::ValuesIn(kDeep));

#define DEPTHS(Chroma, Luma, Cb) FORMAT(Chroma, Luma), p.bit_depth_chroma = (Cb)

const StreamCase kOddDepths[] = {
    STREAM(Bits11, 96, 80, Pan, 5, FORMAT(1, 11); CONSTANT(22, 22)),
    STREAM(Bits11Of422Cavlc, 96, 80, Mixed, 5, FORMAT(2, 11); p.entropy_coding_mode = 0; CONSTANT(18, 18)),
    STREAM(Luma10, 96, 80, Pan, 5, DEPTHS(1, 10, 8); CONSTANT(22, 22)),
    STREAM(Chroma10, 96, 80, Pan, 5, DEPTHS(1, 8, 10); CONSTANT(22, 22)),
    STREAM(Luma12Chroma9Of422, 96, 80, Mixed, 5, DEPTHS(2, 12, 9); p.transform_8x8_mode = 1; CONSTANT(18, 18)),
    STREAM(Luma8Chroma12, 96, 80, Pan, 5, DEPTHS(1, 8, 12); p.analysis_level = 1; CONSTANT(30, 30)),
    // The rate would have QPs below the least of 8 and 9 bits.
    STREAM(Luma8Chroma10AtAHighRate, 96, 80, Pan, 5, DEPTHS(1, 8, 10); p.m_Info.m_Bitrate = 50000000),
    STREAM(Luma9Chroma12AtAHighRate, 96, 80, Pan, 5, DEPTHS(1, 9, 12); p.m_Info.m_Bitrate = 50000000),
    STREAM_WITH("pcm", GuardedNoise, 96, 80, Noise, 3, DEPTHS(1, 11, 9); p.entropy_coding_mode = 0;
                p.rate_control_method = 0)};
INSTANTIATE_TEST_SUITE_P(Odd, DeepStream, testing::ValuesIn(kOddDepths));

#define PAIRS p.coding_type = 2

const StreamCase kPairs[] = {
    STREAM_WITH("in_fields", Defaults, 112, 96, Pan, 6, PAIRS; CONSTANT(26, 26)),
    STREAM_WITH("in_fields skip_p", Cavlc, 112, 96, Mixed, 6, PAIRS; p.entropy_coding_mode = 0; CONSTANT(28, 28)),
    STREAM_WITH("in_fields", NoWholeNumberOfPairs, 92, 72, Pan, 6, PAIRS; PARTS(2, 2); CONSTANT(24, 24)),
    STREAM_WITH("in_fields", Parts, 112, 96, Pan, 6, PAIRS; PARTS(2, 3); CONSTANT(18, 18)),
    STREAM_WITH("in_fields", PartsCavlc, 112, 96, Pan, 6, PAIRS; PARTS(3, 2); p.entropy_coding_mode = 0;
                CONSTANT(18, 18)),
    STREAM_WITH("in_fields", Slices, 112, 96, Pan, 6, PAIRS; p.num_slices = 4; p.deblocking_filter_idc = 2;
                CONSTANT(26, 26)),
    STREAM_WITH("in_fields", Transform8x8Satd, 96, 80, Cut, 6, PAIRS; p.transform_8x8_mode = 1; p.analysis_level = 1;
                CONSTANT(24, 24)),
    STREAM_WITH("in_fields skip_b direct", Spatial, 96, 80, Mixed, 10, PAIRS; B_PICTURES(2, 3); PARTS(2, 3);
                p.direct_pred_mode = 1; CONSTANT_B(22, 22, 24)),
    STREAM_WITH("in_fields direct", TemporalImplicit, 96, 80, Pan, 10, PAIRS; B_PICTURES(2, 3); PARTS(2, 3);
                p.use_implicit_weighted_bipred = 1; p.direct_pred_mode = 0; CONSTANT_B(22, 22, 24)),
    STREAM_WITH("in_fields direct", BCavlc, 96, 80, Pan, 10, PAIRS; B_PICTURES(3, 3); p.entropy_coding_mode = 0;
                CONSTANT_B(22, 22, 24)),
    STREAM_WITH("in_fields", Chroma422, 96, 80, Pan, 5, PAIRS; FORMAT(2, 8); CONSTANT(24, 24)),
    STREAM_WITH("in_fields", Bits10Of422Cavlc, 96, 80, Pan, 5, PAIRS; FORMAT(2, 10); p.entropy_coding_mode = 0;
                CONSTANT(20, 20)),
    STREAM_WITH("in_fields", Monochrome, 96, 80, Mixed, 5, PAIRS; FORMAT(0, 8); CONSTANT(24, 24)),
    STREAM_WITH("in_fields pcm", GuardedNoise, 96, 80, Noise, 3, PAIRS; p.entropy_coding_mode = 0;
                p.rate_control_method = 0),
    STREAM_WITH("in_fields", Woven, 112, 96, Woven, 8, PAIRS; PARTS(2, 3); CONSTANT(24, 24)),
    STREAM_WITH("in_fields", WovenHardFilter, 112, 96, Woven, 8, PAIRS; PARTS(2, 1); p.deblocking_alpha_offset = 12;
                p.deblocking_beta_offset = 12; CONSTANT(36, 36)),
    STREAM_WITH("in_fields", WovenTemporal, 112, 96, Woven, 14, PAIRS; B_PICTURES(2, 3); p.direct_pred_mode = 0;
                CONSTANT_B(24, 24, 30)),
    STREAM_WITH("in_fields", WovenSpatialCavlc, 112, 96, Woven, 14, PAIRS; B_PICTURES(2, 3); p.direct_pred_mode = 1;
                p.entropy_coding_mode = 0; CONSTANT_B(24, 24, 30)),
    STREAM(Still, 96, 80, Still, 6, PAIRS; CONSTANT(30, 30))};
INSTANTIATE_TEST_SUITE_P(Pairs, EncodedStream, testing::ValuesIn(kPairs));

// A still texture in which single samples differ by one: nothing of that is dropped without loss.
class LosslessStream : public testing::TestWithParam<std::pair<int32_t, int32_t>>
{
};
TEST_P(LosslessStream, KeepsSingleSamplesThatDifferByOne)
{
    H264EncoderParams p = SizedParams(48, 48);
    LOSSLESS;
    p.transform_8x8_mode = static_cast<uint8_t>(GetParam().first);
    p.entropy_coding_mode = static_cast<uint8_t>(GetParam().second);
    Driver d(p);
    std::vector<Picture> Clip = MakeClip(Scene::Still, 48, 48, 5);
    for (size_t i = 1; i < Clip.size();
         ++i) // in a corner of each kind of block: of a macroblock, of a quadrant, of chroma
        for (const size_t At : std::initializer_list<size_t>{47 * 48 + 47 - i, 24 * 48 + 23 + i,
                                                             48 * 48 + 23 * 24 + 23 - i, 60 * 48 + 7 * 24 + 7})
            Clip[i][At] ^= 1;
    d.EncodeAll(Clip);
    EXPECT_TRUE(d.Displayed() == Clip);
    ExpectDecodesToReconstruction(d);
}
INSTANTIATE_TEST_SUITE_P(Tools, LosslessStream,
                         testing::Values(std::pair{0, 1}, std::pair{1, 1}, std::pair{0, 0}, std::pair{1, 0}));

// A vector that was found for one place is taken over by skipped macroblocks, far beyond the picture's edge.
TEST(EncodedStreamEdges, VectorsCarriedBeyondThePadding)
{
    const int32_t Width = 384, Height = 64;
    H264EncoderParams p = SizedParams(Width, Height);
    p.search_x = p.search_y = 64;
    CONSTANT(40, 40);
    Driver d(p);
    for (int i = 0; i < 10; ++i) {
        // A ramp on the left that is flat on the right moves a long way in each picture.
        Picture Source(static_cast<size_t>(Width * Height * 3 / 2), 128);
        for (int32_t y = 0; y < Height; ++y)
            for (int32_t x = 0; x < Width; ++x) {
                const int32_t At = x + 60 * i;
                Source[static_cast<size_t>(y * Width + x)] =
                    static_cast<uint8_t>(At < 300 ? 40 + (At * 37 + y * 11) % 160 : 90);
            }
        ASSERT_EQ(d.Encode(Source).Result, UMC::StatusOk);
    }
    ExpectDecodesToReconstruction(d);
}

} // namespace
