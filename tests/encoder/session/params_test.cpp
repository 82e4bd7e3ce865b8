#include "encoder/session/params_check.h"

#include "encoder/state/encoder_types.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

using namespace UMC_H264_ENCODER;
using UMC::H264EncoderParams;

H264EncoderParams Sized(int32_t Width = 640, int32_t Height = 480)
{
    H264EncoderParams p;
    p.m_Info.m_Width = Width;
    p.m_Info.m_Height = Height;
    return p;
}

TEST(EncoderParams, Defaults)
{
    const H264EncoderParams p;
    EXPECT_EQ(p.m_Info.m_Bitrate, 2222222);
    EXPECT_EQ(p.m_Info.m_FrameRate, 30.0);
    EXPECT_EQ(p.profile_idc, 77);
    EXPECT_EQ(p.level_idc, 0);
    EXPECT_EQ(p.num_ref_frames, 1);
    EXPECT_EQ(p.rate_control_method, 2);
    EXPECT_EQ(p.quant_i, 20);
    EXPECT_EQ(p.search_method, 2);
    EXPECT_EQ(p.search_x, 8);
    EXPECT_EQ(p.deblocking_alpha_offset, 2);
    EXPECT_EQ(p.entropy_coding_mode, 1);
    EXPECT_EQ(p.cabac_init_idc, 1);
    EXPECT_EQ(p.key_frame_interval, 100);
    EXPECT_EQ(p.idr_interval, 0);
    EXPECT_EQ(p.direct_8x8_inference, 1);
    EXPECT_EQ(p.analysis_level, 0);
    EXPECT_EQ(p.tuning.Word3, 37);
    EXPECT_EQ(p.tuning.Value2, 2.0);
    EXPECT_NE(UMC::DynamicCast<UMC::VideoEncoderParams>(&p), nullptr);
}

TEST(EncoderParams, TheDefaultsPassTheCheckUnchanged)
{
    H264EncoderParams p = Sized();
    EXPECT_EQ(CheckParams(p), UMC::StatusOk);
    EXPECT_EQ(p.profile_idc, 77);
    EXPECT_EQ(p.level_idc, 30);
    EXPECT_EQ(p.num_ref_frames, 1);
    EXPECT_EQ(p.m_NumThreads, 1);
    EXPECT_EQ(AnalysisFlags(p), 1155u + 64u);
}

struct Correction {
    const char* Title;
    void (*pSet)(H264EncoderParams&);
    bool (*pHolds)(const H264EncoderParams&);
};
void PrintTo(const Correction& c, std::ostream* pOut) { *pOut << c.Title; }

class EncoderParamsCorrection : public testing::TestWithParam<Correction>
{
};
TEST_P(EncoderParamsCorrection, IsMade)
{
    H264EncoderParams p = Sized();
    GetParam().pSet(p);
    ASSERT_EQ(CheckParams(p), UMC::StatusOk);
    EXPECT_TRUE(GetParam().pHolds(p));
}

#define CASE(Set, Holds)                                                                                               \
    Correction                                                                                                         \
    {                                                                                                                  \
#Set, [](H264EncoderParams & p) { Set; }, [](const H264EncoderParams& p) { return Holds; }                     \
    }
const Correction kCorrections[]{
    CASE((p.key_frame_interval = 1, p.num_b_frames = 2, p.num_ref_frames = 5),
         p.num_b_frames == 0 && p.num_ref_frames == 1),
    CASE(p.key_frame_method = 0, p.key_frame_method == 1),
    CASE(p.key_frame_method = 7, p.key_frame_method == 1),
    CASE(p.key_frame_interval = -1, p.key_frame_interval == 250),
    CASE(p.key_frame_interval = 0, p.key_frame_interval == 0),
    CASE(p.idr_interval = -1, p.idr_interval == 4),
    CASE(p.num_b_frames = -3, p.num_b_frames == 0),
    CASE(p.b_ref_mode = 77, p.b_ref_mode == 77),
    CASE(p.b_ref_mode = -1, p.b_ref_mode == -1),
    CASE(p.num_ref_frames = 17, p.num_ref_frames == 2),
    CASE(p.num_ref_frames = -1, p.num_ref_frames == 2),
    CASE((p.num_b_frames = 2, p.num_ref_frames = 1), p.num_ref_frames == 2 && p.num_ref_to_start_b == 1),
    CASE((p.num_b_frames = 2, p.num_ref_frames = 4, p.num_ref_to_start_b = 0),
         p.num_ref_frames == 2 && p.num_ref_to_start_b == 1),
    CASE((p.num_b_frames = 2, p.num_ref_frames = 2, p.num_ref_to_start_b = 3),
         p.num_ref_frames == 4 && p.num_ref_to_start_b == 3),
    CASE((p.num_b_frames = 2, p.num_ref_frames = 4, p.num_ref_to_start_b = 3),
         p.num_ref_frames == 4 && p.num_ref_to_start_b == 3),
    CASE(p.m_NumThreads = 8, p.m_NumThreads == 1),
    CASE(p.num_slices = 0, p.num_slices == 1),
    CASE(p.num_slices = 31, p.num_slices == 30),
    CASE(p.num_slices = 30, p.num_slices == 30),
    CASE(p.level_idc = 33, p.level_idc == 30),
    CASE(p.level_idc = 51, p.level_idc == 51),
    CASE((p.profile_idc = 66, p.num_b_frames = 2), p.profile_idc == 77),
    CASE((p.profile_idc = 66, p.transform_8x8_mode = 1), p.profile_idc == 100),
    CASE((p.profile_idc = 66, p.num_b_frames = 2, p.transform_8x8_mode = 1), p.profile_idc == 100),
    CASE(p.profile_idc = 66, p.profile_idc == 66),
    CASE(p.profile_idc = 88, p.profile_idc == 88),
    CASE(p.use_default_scaling_matrix = 1, p.profile_idc == 100),
    CASE(p.alpha_opaque_value = 1, p.profile_idc == 100),
    CASE(p.chroma_format_idc = 0, p.profile_idc == 100),
    CASE(p.chroma_format_idc = 2, p.profile_idc == 110),
    CASE(p.bit_depth_chroma = 10, p.profile_idc == 110),
    CASE((p.profile_idc = 100, p.qpprime_y_zero_transform_bypass = 1), p.profile_idc == 144),
    CASE((p.profile_idc = 122, p.qpprime_y_zero_transform_bypass = 1), p.profile_idc == 144),
    CASE(p.qpprime_y_zero_transform_bypass = 1, p.profile_idc == 77),
    CASE(p.profile_idc = 122, p.profile_idc == 122),
    CASE(p.rate_control_method = 4, p.rate_control_method == 2),
    CASE(p.rate_control_method = -1, p.rate_control_method == 2),
    CASE(p.rate_control_method = 0, p.rate_control_method == 0),
    CASE(p.quant_i = 52, p.quant_i == 0),
    CASE(p.quant_p = 51, p.quant_p == 51),
    CASE(p.quant_b = 255, p.quant_b == 0),
    CASE(p.search_method = 9, p.search_method == 3),
    CASE(p.search_method = 8, p.search_method == 8),
    CASE(p.search_method = -1, p.search_method == 3),
    CASE(p.partition_level = 4, p.partition_level == 1),
    CASE(p.partition_level = 3, p.partition_level == 3),
    CASE(p.use_weighted_pred = 2, p.use_weighted_pred == 0),
    CASE(p.use_weighted_bipred = -1, p.use_weighted_bipred == 0),
    CASE(p.use_implicit_weighted_bipred = 1, p.use_implicit_weighted_bipred == 1),
    CASE(p.direct_pred_mode = 3, p.direct_pred_mode == 2),
    CASE(p.direct_8x8_inference = 2, p.direct_8x8_inference == 0),
    CASE(p.deblocking_filter_idc = 3, p.deblocking_filter_idc == 0),
    CASE(p.deblocking_filter_idc = 2, p.deblocking_filter_idc == 2),
    CASE(p.deblocking_alpha_offset = 13, p.deblocking_alpha_offset == 6),
    CASE(p.deblocking_beta_offset = -13, p.deblocking_beta_offset == 6),
    CASE(p.deblocking_beta_offset = -12, p.deblocking_beta_offset == -12),
    CASE(p.entropy_coding_mode = 2, p.entropy_coding_mode == 0),
    CASE(p.cabac_init_idc = 3, p.cabac_init_idc == 0),
    CASE(p.coding_type = 3, p.coding_type == 0),
    CASE(p.coding_type = 2, p.coding_type == 2)};
#undef CASE
INSTANTIATE_TEST_SUITE_P(Table, EncoderParamsCorrection, testing::ValuesIn(kCorrections));

TEST(EncoderParams, FailsOnlyForSizeProfileAndFormat)
{
    const auto Check = [](void (*pSet)(H264EncoderParams&)) {
        H264EncoderParams p = Sized();
        pSet(p);
        return CheckParams(p);
    };
    EXPECT_EQ(Check([](H264EncoderParams& p) { p.m_Info.m_Width = 0; }), UMC::StatusInitFailed);
    EXPECT_EQ(Check([](H264EncoderParams& p) { p.m_Info.m_Height = -16; }), UMC::StatusInitFailed);
    EXPECT_EQ(Check([](H264EncoderParams& p) { p.profile_idc = 244; }), UMC::StatusInvalidParams);
    EXPECT_EQ(Check([](H264EncoderParams& p) { p.bit_depth_luma = 13; }), UMC::StatusInvalidParams);
    EXPECT_EQ(Check([](H264EncoderParams& p) { p.bit_depth_chroma = 7; }), UMC::StatusInvalidParams);
    EXPECT_EQ(Check([](H264EncoderParams& p) { p.chroma_format_idc = 3; }), UMC::StatusNotImplemented);
}

TEST(EncoderParams, HeightOfOneRowHasOneSlice)
{
    H264EncoderParams p = Sized(640, 16);
    p.num_slices = 3;
    ASSERT_EQ(CheckParams(p), UMC::StatusOk);
    EXPECT_EQ(p.num_slices, 1);
}

TEST(EncoderParams, TheLevelLimitsTheReferences)
{
    H264EncoderParams p = Sized(1920, 1088);
    p.level_idc = 31;
    p.num_ref_frames = 16;
    EXPECT_EQ(ReferenceLimit(p), 2);
    ASSERT_EQ(CheckParams(p), UMC::StatusOk);
    EXPECT_EQ(p.num_ref_frames, 2);
    const auto LimitAt = [](uint8_t Level, int32_t Width, int32_t Height) {
        H264EncoderParams q = Sized(Width, Height);
        q.level_idc = Level;
        return ReferenceLimit(q);
    };
    EXPECT_EQ(LimitAt(10, 176, 144), 4);
    EXPECT_EQ(LimitAt(11, 352, 288), 2);
    EXPECT_EQ(LimitAt(13, 352, 288), 6);
    EXPECT_EQ(LimitAt(40, 1920, 1080), 4); // rows are rounded up to 1088
    EXPECT_EQ(LimitAt(51, 176, 144), 16);
}

struct LevelCase {
    int32_t Width, Height;
    double FrameRate;
    int Level;
};
class EncoderLevel : public testing::TestWithParam<LevelCase>
{
};
TEST_P(EncoderLevel, IsTheFirstThatHoldsSizeAndRate)
{
    const LevelCase& c = GetParam();
    EXPECT_EQ(ChooseLevel(c.Width, c.Height, c.FrameRate), c.Level);
}
const LevelCase kLevels[]{{176, 144, 15.0, 10},   {176, 144, 15.01, 10}, {176, 144, 15.02, 11},  {176, 144, 30.0, 11},
                          {352, 288, 7.5, 11},    {352, 288, 15.0, 12},  {352, 288, 29.97, 20},  {352, 288, 30.0, 20},
                          {352, 288, 30.1, 21},   {352, 576, 25.0, 21},  {640, 480, 15.0, 22},   {640, 480, 30.0, 30},
                          {1280, 720, 30.0, 31},  {1280, 720, 60.0, 32}, {1920, 1080, 30.0, 40}, {1920, 1080, 60.0, 42},
                          {2560, 1440, 30.0, 50}, {4096, 2304, 60.0, 51}};
INSTANTIATE_TEST_SUITE_P(Table, EncoderLevel, testing::ValuesIn(kLevels));

TEST(EncoderParams, AnalysisLevelsAddUp)
{
    H264EncoderParams p = Sized();
    p.analysis_level = 1;
    EXPECT_EQ(AnalysisFlags(p), 1155u + 512u);
    p.analysis_level = 2;
    EXPECT_EQ(AnalysisFlags(p), 1155u + 512u + 65536u + 4096u);
    p.analysis_level = 4;
    p.partition_level = 2;
    p.direct_pred_mode = 2;
    EXPECT_EQ(AnalysisFlags(p), 1155u + 512u + 65536u + 131072u + 4096u + 256u + 60u + 8192u);
    p.entropy_coding_mode = 0;
    p.partition_level = 1;
    EXPECT_EQ(AnalysisFlags(p), 1155u + 512u + 256u + 40u + 8192u);
}

// ---- Parameter file ----------------------------------------------------------------------------------------

class ParamFile : public testing::Test
{
protected:
    void SetUp() override
    {
        m_Path = testing::TempDir() + "quilvex_params_" +
                 testing::UnitTest::GetInstance()->current_test_info()->name() + ".txt";
    }
    void TearDown() override { std::remove(m_Path.c_str()); }
    UMC::Status Read(const std::string& Text, H264EncoderParams& p)
    {
        std::ofstream(m_Path) << Text;
        return p.ReadParamFile(m_Path.c_str());
    }
    std::string m_Path;
};

const char* const kWholeFile =
    "one\ntwo\nthree\n300 frames\n1 50 2\n3 1\n4 2 5\n100 31\n640\n480\n6\n1 9 10\n1 9 257 3 4\n"
    "3 21 22 279 500000\n8 2 16 12\n1 1 1\n1 0\n2 -3 5\n1 1 0\n";

TEST_F(ParamFile, LinesWithTooFewValuesEndTheRead)
{
    H264EncoderParams p;
    EXPECT_EQ(Read(std::string(kWholeFile).append("ignored? 7\n"), p),
              UMC::StatusInvalidParams); // line 20 does not start with a number
    EXPECT_EQ(p.num_frames, 300);
    EXPECT_EQ(p.use_default_scaling_matrix, 1);
    EXPECT_EQ(p.entropy_coding_mode, 1);
    H264EncoderParams q;
    EXPECT_EQ(Read("\n\n\n5\n1 50\n", q), UMC::StatusInvalidParams);
    EXPECT_EQ(q.num_frames, 5);
    EXPECT_EQ(q.key_frame_interval, 100);
}

TEST_F(ParamFile, EveryLineLandsInItsFields)
{
    const std::string Text = std::string(kWholeFile).append("7\n8\n0 2\n1\n3\n");
    H264EncoderParams p;
    ASSERT_EQ(Read(Text, p), UMC::StatusOk);
    EXPECT_EQ(p.key_frame_interval, 50);
    EXPECT_EQ(p.idr_interval, 2);
    EXPECT_EQ(p.num_b_frames, 3);
    EXPECT_EQ(p.b_ref_mode, 1);
    EXPECT_EQ(p.num_ref_frames, 4);
    EXPECT_EQ(p.num_ref_to_start_b, 2);
    EXPECT_EQ(p.num_slices, 5);
    EXPECT_EQ(p.profile_idc, 100);
    EXPECT_EQ(p.level_idc, 31);
    EXPECT_EQ(p.m_Info.m_Width, 640);
    EXPECT_EQ(p.m_Info.m_Height, 480);
    EXPECT_EQ(p.m_Info.m_FrameRate, 50.0);
    EXPECT_EQ(p.bit_depth_luma, 9);
    EXPECT_EQ(p.bit_depth_chroma, 10);
    EXPECT_EQ(p.aux_format_idc, 1);
    EXPECT_EQ(p.alpha_incr_flag, 1); // the low byte of 257
    EXPECT_EQ(p.alpha_transparent_value, 4);
    EXPECT_EQ(p.rate_control_method, 3);
    EXPECT_EQ(p.quant_b, 23); // the low byte of 279
    EXPECT_EQ(p.m_Info.m_Bitrate, 500000);
    EXPECT_EQ(p.search_method, 8);
    EXPECT_EQ(p.search_y, 12);
    EXPECT_EQ(p.use_implicit_weighted_bipred, 1);
    EXPECT_EQ(p.direct_pred_mode, 1);
    EXPECT_EQ(p.direct_8x8_inference, 0);
    EXPECT_EQ(p.deblocking_filter_idc, 2);
    EXPECT_EQ(p.deblocking_alpha_offset, -4); // bit 0 is cleared
    EXPECT_EQ(p.deblocking_beta_offset, 4);
    EXPECT_EQ(p.transform_8x8_mode, 1);
    EXPECT_EQ(p.entropy_coding_mode, 0);
    EXPECT_EQ(p.cabac_init_idc, 2);
    EXPECT_EQ(p.coding_type, 1);
    EXPECT_EQ(p.analysis_level, 3);
}

TEST_F(ParamFile, FrameRateCodes)
{
    const double kRates[]{30.0, 15.0, 24.0, 25.0, 30.0, 30.0, 50.0, 60.0, 60.0, 30.0};
    for (int Code = 0; Code < 10; ++Code) {
        H264EncoderParams p;
        std::string Text = "\n\n\n1\n1 1 1\n0 0\n1 1 1\n77 0\n16\n16\n";
        Text.append(std::to_string(Code)).append("\n");
        Read(Text, p);
        EXPECT_EQ(p.m_Info.m_FrameRate, kRates[Code]) << Code;
    }
}

TEST(ParamFileOpen, AMissingFileIsSaidSo)
{
    H264EncoderParams p;
    EXPECT_EQ(p.ReadParamFile("/no/such/file"), UMC::StatusOpenFailed);
    EXPECT_EQ(p.ReadParamFile(nullptr), UMC::StatusNullPointer);
}

} // namespace
