#include "encoder/session/params_check.h"

#include "encoder/state/encoder_types.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;
using UMC::H264EncoderParams;
using Values = std::vector<int64_t>;

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
    const UMC::H264EncoderParams::Tuning& t = p.tuning;
    EXPECT_EQ((Values{t.Word0, t.Word1, t.Word2, t.Word3, t.Word4}), (Values{51, 0, 2, 37, 0}));
    EXPECT_EQ((std::vector{t.Value0, t.Value1, t.Value2}), (std::vector{0.5, 2.0, 2.0}));
    EXPECT_EQ((Values{p.profile_idc, p.level_idc, p.chroma_format_idc, p.coding_type}), (Values{77, 0, 1, 0}));
    EXPECT_EQ((Values{p.num_b_frames, p.b_ref_mode, p.num_ref_frames, p.num_ref_to_start_b}), (Values{0, 0, 1, 1}));
    EXPECT_EQ((Values{p.rate_control_method, p.quant_i, p.quant_p, p.quant_b}), (Values{2, 20, 20, 20}));
    EXPECT_EQ((Values{p.num_slices, p.keep_pattern_at_key, p.write_access_unit_delimiters}), (Values{1, 0, 0}));
    EXPECT_EQ((Values{p.deblocking_filter_idc, p.deblocking_alpha_offset, p.deblocking_beta_offset}),
              (Values{0, 2, 2}));
    EXPECT_EQ((Values{p.search_method, p.partition_level, p.search_x, p.search_y}), (Values{2, 0, 8, 8}));
    EXPECT_EQ((Values{p.use_weighted_pred, p.use_weighted_bipred, p.use_implicit_weighted_bipred}), (Values{0, 0, 0}));
    EXPECT_EQ((Values{p.direct_pred_mode, p.direct_8x8_inference}), (Values{0, 1}));
    EXPECT_EQ((Values{p.entropy_coding_mode, p.cabac_init_idc}), (Values{1, 1}));
    EXPECT_EQ((Values{p.key_frame_method, p.key_frame_interval, p.idr_interval}), (Values{1, 100, 0}));
    EXPECT_EQ((Values{p.transform_8x8_mode, p.qpprime_y_zero_transform_bypass, p.use_default_scaling_matrix}),
              (Values{0, 0, 0}));
    EXPECT_EQ((Values{p.aux_format_idc, p.alpha_incr_flag, p.alpha_opaque_value, p.alpha_transparent_value}),
              (Values{0, 0, 0, 0}));
    EXPECT_EQ((Values{p.bit_depth_aux, p.bit_depth_luma, p.bit_depth_chroma}), (Values{8, 8, 8}));
    EXPECT_EQ((Values{p.num_frames, p.analysis_level}), (Values{0, 0}));
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
    CASE(p.alpha_transparent_value = 1, p.profile_idc == 100),
    CASE(p.alpha_incr_flag = 1, p.profile_idc == 100),
    CASE(p.aux_format_idc = 1, p.profile_idc == 100),
    CASE(p.transform_8x8_mode = 1, p.profile_idc == 100),
    CASE((p.profile_idc = 88, p.transform_8x8_mode = 1), p.profile_idc == 100),
    CASE(p.chroma_format_idc = 0, p.profile_idc == 100),
    CASE(p.chroma_format_idc = 2, p.profile_idc == 110),
    CASE(p.bit_depth_chroma = 10, p.profile_idc == 110),
    CASE(p.bit_depth_luma = 9, p.profile_idc == 110),
    CASE(p.bit_depth_aux = 12, p.profile_idc == 110),
    CASE((p.profile_idc = 100, p.bit_depth_luma = 10), p.profile_idc == 110),
    CASE((p.bit_depth_luma = 10, p.qpprime_y_zero_transform_bypass = 1), p.profile_idc == 144),
    CASE((p.profile_idc = 110, p.qpprime_y_zero_transform_bypass = 1), p.profile_idc == 144),
    CASE((p.profile_idc = 144, p.chroma_format_idc = 2, p.bit_depth_luma = 12), p.profile_idc == 144),
    CASE((p.profile_idc = 110, p.chroma_format_idc = 2), p.profile_idc == 110),
    CASE((p.profile_idc = 100, p.qpprime_y_zero_transform_bypass = 1), p.profile_idc == 144),
    CASE((p.profile_idc = 122, p.qpprime_y_zero_transform_bypass = 1), p.profile_idc == 144),
    CASE(p.qpprime_y_zero_transform_bypass = 1, p.profile_idc == 77),
    CASE(p.profile_idc = 122, p.profile_idc == 122),
    CASE(p.rate_control_method = 4, p.rate_control_method == 2),
    CASE(p.rate_control_method = -1, p.rate_control_method == 2),
    CASE(p.rate_control_method = 0, p.rate_control_method == 0),
    CASE(p.quant_i = 52, p.quant_i == 0),
    CASE(p.quant_p = 51, p.quant_p == 51),
    CASE(p.quant_p = 52, p.quant_p == 0),
    CASE(p.quant_b = 255, p.quant_b == 0),
    CASE(p.search_method = 9, p.search_method == 3),
    CASE(p.search_method = 8, p.search_method == 8),
    CASE(p.search_method = -1, p.search_method == 3),
    CASE(p.partition_level = 4, p.partition_level == 1),
    CASE(p.partition_level = -1, p.partition_level == 1),
    CASE(p.partition_level = 3, p.partition_level == 3),
    CASE(p.use_weighted_pred = 2, p.use_weighted_pred == 0),
    CASE(p.use_weighted_bipred = -1, p.use_weighted_bipred == 0),
    CASE(p.use_implicit_weighted_bipred = 1, p.use_implicit_weighted_bipred == 1),
    CASE(p.use_implicit_weighted_bipred = 2, p.use_implicit_weighted_bipred == 0),
    CASE(p.direct_pred_mode = 3, p.direct_pred_mode == 2),
    CASE(p.direct_8x8_inference = 2, p.direct_8x8_inference == 0),
    CASE(p.deblocking_filter_idc = 3, p.deblocking_filter_idc == 0),
    CASE(p.deblocking_filter_idc = 2, p.deblocking_filter_idc == 2),
    CASE(p.deblocking_alpha_offset = 13, p.deblocking_alpha_offset == 6),
    CASE(p.deblocking_alpha_offset = -13, p.deblocking_alpha_offset == 6),
    CASE(p.deblocking_alpha_offset = -12, p.deblocking_alpha_offset == -12),
    CASE(p.deblocking_beta_offset = 13, p.deblocking_beta_offset == 6),
    CASE(p.deblocking_beta_offset = 12, p.deblocking_beta_offset == 12),
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
    for (const int32_t Profile : {100, 110, 122, 144}) {
        H264EncoderParams p = Sized();
        p.profile_idc = Profile;
        p.bit_depth_aux = 13;
        EXPECT_EQ(CheckParams(p), UMC::StatusInvalidParams) << Profile;
        p.bit_depth_aux = 8;
        p.chroma_format_idc = 3;
        EXPECT_EQ(CheckParams(p), UMC::StatusNotImplemented) << Profile;
    }
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
    H264EncoderParams Fields = Sized(176, 144);
    Fields.level_idc = 10;
    for (const int32_t CodingType : {1, 2}) { // rows are rounded up to 160
        Fields.coding_type = CodingType;
        EXPECT_EQ(ReferenceLimit(Fields), 3);
    }
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

TEST(EncoderLevels, EndWhereTheirSizeAndTheirRateDo)
{
    const struct {
        int Level;
        int32_t Macroblocks, Rate;
    } kRows[]{{10, 99, 1485},
              {11, 396, 3000},
              {12, 396, 6000},
              {20, 396, 11880},
              {21, 792, 19800},
              {22, 1620, 20250},
              {30, 1620, 40500},
              {31, 3600, 108000},
              {32, 5120, 216000},
              {40, 8192, 245760},
              {42, 8704, 522240},
              {50, 22080, 589824},
              {51, INT32_MAX / 32, INT32_MAX}};
    const auto First = [&](int32_t Macroblocks, int32_t Rate) {
        const auto* const p = std::find_if(std::begin(kRows), std::end(kRows), [=](const auto& r) {
            return Macroblocks <= r.Macroblocks && Rate <= r.Rate;
        });
        return p->Level;
    };
    for (const auto& r : kRows)
        for (const int32_t More : {0, 1}) {
            if (r.Level == 51) continue;
            const int32_t Macroblocks = r.Macroblocks + More, Rate = r.Rate + More;
            EXPECT_EQ(ChooseLevel(16 * Macroblocks, 16, 1.0), First(Macroblocks, Macroblocks)) << Macroblocks;
            EXPECT_EQ(ChooseLevel(16 * 99, 16, (Rate + 0.5) / 99), First(99, Rate)) << Rate; // truncated
        }
}

TEST(EncoderParams, AnalysisLevelsAddUp)
{
    H264EncoderParams p = Sized();
    p.analysis_level = 1;
    EXPECT_EQ(AnalysisFlags(p), 1155u + 512u);
    p.analysis_level = 2;
    EXPECT_EQ(AnalysisFlags(p), 1155u + 512u + 65536u + 4096u);
    p.analysis_level = 3;
    EXPECT_EQ(AnalysisFlags(p), 1155u + 512u + 65536u + 131072u + 4096u);
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
    "one\ntwo\nthree\n300 frames\n6 50 2\n3 1\n4 2 5\n100 31\n640\n480\n6\n2 9 10\n3 11 257 255 16\n"
    "3 21 22 279 500000\n8 2 16 12\n4 5 6\n1 0\n2 -3 5\n1 2 3\n";

TEST_F(ParamFile, LinesWithTooFewValuesEndTheRead)
{
    H264EncoderParams p;
    EXPECT_EQ(Read(std::string(kWholeFile).append("ignored? 7\n"), p),
              UMC::StatusInvalidParams); // line 20 does not start with a number
    EXPECT_EQ(p.num_frames, 300);
    EXPECT_EQ(p.use_default_scaling_matrix, 2);
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
    EXPECT_EQ(p.num_frames, 300);
    EXPECT_EQ((Values{p.key_frame_method, p.key_frame_interval, p.idr_interval}), (Values{6, 50, 2}));
    EXPECT_EQ((Values{p.num_b_frames, p.b_ref_mode}), (Values{3, 1}));
    EXPECT_EQ((Values{p.num_ref_frames, p.num_ref_to_start_b, p.num_slices}), (Values{4, 2, 5}));
    EXPECT_EQ((Values{p.profile_idc, p.level_idc}), (Values{100, 31}));
    EXPECT_EQ((Values{p.m_Info.m_Width, p.m_Info.m_Height}), (Values{640, 480}));
    EXPECT_EQ(p.m_Info.m_FrameRate, 50.0);
    EXPECT_EQ((Values{p.chroma_format_idc, p.bit_depth_luma, p.bit_depth_chroma}), (Values{2, 9, 10}));
    EXPECT_EQ((Values{p.aux_format_idc, p.bit_depth_aux}), (Values{3, 11}));
    // Bytes keep the low one of what is read: of 257, and further down of 279.
    EXPECT_EQ((Values{p.alpha_incr_flag, p.alpha_opaque_value, p.alpha_transparent_value}), (Values{1, 255, 16}));
    EXPECT_EQ((Values{p.rate_control_method, p.quant_i, p.quant_p, p.quant_b}), (Values{3, 21, 22, 23}));
    EXPECT_EQ(p.m_Info.m_Bitrate, 500000);
    EXPECT_EQ((Values{p.search_method, p.partition_level, p.search_x, p.search_y}), (Values{8, 2, 16, 12}));
    EXPECT_EQ((Values{p.use_weighted_pred, p.use_weighted_bipred, p.use_implicit_weighted_bipred}), (Values{4, 5, 6}));
    EXPECT_EQ((Values{p.direct_pred_mode, p.direct_8x8_inference}), (Values{1, 0}));
    // Bit 0 of both offsets is cleared.
    EXPECT_EQ((Values{p.deblocking_filter_idc, p.deblocking_alpha_offset, p.deblocking_beta_offset}),
              (Values{2, -4, 4}));
    EXPECT_EQ((Values{p.transform_8x8_mode, p.use_default_scaling_matrix, p.qpprime_y_zero_transform_bypass}),
              (Values{1, 2, 3}));
    EXPECT_EQ((Values{p.entropy_coding_mode, p.cabac_init_idc, p.coding_type, p.analysis_level}), (Values{0, 2, 1, 3}));
}

// At every line that is not there, and at every one that is short of a value.
TEST_F(ParamFile, EveryLineHasToBeThereWithAllItsValues)
{
    const std::string Text = std::string(kWholeFile).append("7\n8\n0 2\n1\n3\n");
    int Line = 0;
    for (size_t At = 0; At < Text.size(); At = Text.find('\n', At) + 1) {
        if (++Line <= 3) continue;
        H264EncoderParams p;
        EXPECT_EQ(Read(Text.substr(0, At), p), UMC::StatusInvalidParams) << "ends ahead of line " << Line;
        const size_t End = Text.find('\n', At), Last = Text.rfind(' ', End);
        const size_t Cut = Last != std::string::npos && Last > At && Line != 4 ? Last : At;
        EXPECT_EQ(Read(std::string(Text).erase(Cut, End - Cut), p), UMC::StatusInvalidParams) << "line " << Line;
    }
    EXPECT_EQ(Line, 24);
}

// A longer line goes on as the next.
TEST_F(ParamFile, LinesHold254Characters)
{
    const std::string Rest = std::string(kWholeFile).substr(std::string("one\ntwo\nthree\n").size());
    const auto Status = [&](size_t Length) {
        H264EncoderParams p;
        return Read(
            std::string("one\ntwo\n").append(Length - 1, '3').append("\n").append(Rest).append("7\n8\n0 2\n1\n3\n"), p);
    };
    EXPECT_EQ(Status(254), UMC::StatusOk);
    EXPECT_EQ(Status(255), UMC::StatusInvalidParams); // its end is a line of its own, without a number
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
