// Counts of coding tools, on records made by hand and on streams whose tools are known.
#include "encoder/session/core_init.h"
#include "encoder/session/tool_counts.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

// The counts that are not 0, by name.
std::map<std::string, int64_t> Found(const ToolCounts& n)
{
    std::map<std::string, int64_t> Out;
    for (const ToolName& t : kToolNames)
        if (n.*t.pCount != 0) Out[t.pName] = n.*t.pCount;
    return Out;
}

// A picture of 4x3 macroblocks whose records a test writes.
class ToolCount : public testing::Test
{
protected:
    void SetUp() override
    {
        UMC::H264EncoderParams p = SizedParams(64, 48);
        p.num_slices = 3;
        ASSERT_EQ(InitCore(*m_pCore, p, &m_Allocator), UMC::StatusOk);
        ASSERT_EQ(m_pFrame->Allocate(m_pCore->Settings.Layout), UMC::StatusOk);
        m_pCore->Job.pCurrent = m_pFrame.get();
        for (int i = 0; i < 12; ++i) SetType(i, MB_SKIP_P);
        m_pFrame->frame_type = FRAME_P;
    }
    void SetType(int i, MacroblockType Type) { m_pFrame->mb_global[i].Type = Type; }
    LocalMacroblock& Local(size_t i) { return m_pCore->Job.LocalMacroblocks[i]; }
    ToolCounts Count() const
    {
        ToolCounts n;
        AddToolCounts(*m_pCore, n);
        return n;
    }

    UMC::DefaultMemoryAllocator m_Allocator;
    std::unique_ptr<Core8> m_pCore = std::make_unique<Core8>();
    std::unique_ptr<H264EncoderFrame<uint8_t>> m_pFrame = std::make_unique<H264EncoderFrame<uint8_t>>(&m_Allocator);
};

TEST_F(ToolCount, EveryTypeHasItsCount)
{
    const MacroblockType Types[]{MB_INTRA4X4,      MB_PCM,    MB_INTER16X16, MB_INTER16X8, MB_INTER8X16, MB_INTER8X8,
                                 MB_INTER8X8_REF0, MB_DIRECT, MB_SKIP_P,     MB_SKIP_P,    MB_SKIP_P,    MB_SKIP_B};
    for (int i = 0; i < 12; ++i) SetType(i, Types[i]);
    EXPECT_EQ(Found(Count()), (std::map<std::string, int64_t>{{"pictures_p", 1},
                                                              {"slices", 3},
                                                              {"intra_4x4", 1},
                                                              {"pcm", 1},
                                                              {"inter_16x16", 1},
                                                              {"inter_16x8", 1},
                                                              {"inter_8x16", 1},
                                                              {"inter_8x8", 2},
                                                              {"direct", 1},
                                                              {"skip_p", 3},
                                                              {"skip_b", 1},
                                                              {"sub_8x8", 8}}));
}

TEST_F(ToolCount, Intra16x16ByMode)
{
    m_pFrame->frame_type = FRAME_I;
    m_pFrame->is_idr = true;
    for (int i = 0; i < 12; ++i) SetType(i, MB_INTRA16X16);
    const uint8_t Modes[]{0, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 3};
    for (size_t i = 0; i < 12; ++i) Local(i).Intra16Mode = Modes[i];
    m_pFrame->mb_motion[0][0] = {1, 1}; // what an earlier picture left
    EXPECT_EQ(Found(Count()), (std::map<std::string, int64_t>{{"pictures_i", 1},
                                                              {"pictures_idr", 1},
                                                              {"slices", 3},
                                                              {"intra_16x16_vertical", 1},
                                                              {"intra_16x16_horizontal", 2},
                                                              {"intra_16x16_dc", 4},
                                                              {"intra_16x16_plane", 5}}));
    EXPECT_EQ(Count().References[0], 0);
}

TEST_F(ToolCount, CoefficientsVectorsAndReferences)
{
    m_pFrame->frame_type = FRAME_B;
    Local(1).Coded = 1u << 31;
    Local(2).CodedDc = kCodedCrDc;
    Local(3).Coded = Local(3).CodedDc = 1;
    m_pFrame->mb_motion[0][16 * 4 + 15] = {4, -3};
    m_pFrame->mb_motion[0][16 * 5] = m_pFrame->mb_motion[0][16 * 5 + 1] = {-2, 8};
    m_pFrame->mb_motion[0][16 * 6] = {-8, 120};
    int8_t* const pReferences = m_pFrame->mb_reference[0] + 16 * 7;
    pReferences[2] = pReferences[3] = 1; // quadrants by their first blocks
    pReferences[8] = 15;
    pReferences[10] = -1;
    int8_t* const pOfList1 = m_pFrame->mb_reference[1];
    std::fill_n(pOfList1, 12 * 16, int8_t{-1});
    pOfList1[16 * 8 + 10] = 0;
    pOfList1[16 * 7 + 10] = 1; // a quadrant that list 0 is not used for
    const ToolCounts n = Count();
    EXPECT_EQ(Found(n), (std::map<std::string, int64_t>{{"pictures_b", 1},
                                                        {"slices", 3},
                                                        {"skip_p", 12},
                                                        {"with_coefficients", 3},
                                                        {"with_fractional_vectors", 2},
                                                        {"from_list_1", 2},
                                                        {"from_both_lists", 1}}));
    EXPECT_EQ(n.References[0], 48 - 3);
    EXPECT_EQ(n.References[1], 1);
    EXPECT_EQ(n.References[15], 1);
}

TEST(ToolCounts, AddUpOverAStream)
{
    UMC::H264EncoderParams p = SizedParams(96, 80);
    p.key_frame_interval = 3;
    p.num_ref_frames = 2;
    p.num_slices = 2;
    p.analysis_level = 1;
    Driver d(p);
    ToolCounts n;
    d.Encoder().AddToolCounts(n); // before the first picture
    EXPECT_TRUE(Found(n).empty());
    for (Picture& Source : MakeClip(Scene::Turns, 96, 80, 7)) {
        ASSERT_EQ(d.Encode(Source).Result, UMC::StatusOk);
        d.Encoder().AddToolCounts(n);
    }
    EXPECT_EQ(n.pictures_i, 3);
    EXPECT_EQ(n.pictures_p, 4);
    EXPECT_EQ(n.pictures_b, 0);
    EXPECT_EQ(n.pictures_idr, 1);
    EXPECT_EQ(n.slices, 14);
    const int64_t Intra =
        n.intra_4x4 + n.intra_16x16_vertical + n.intra_16x16_horizontal + n.intra_16x16_dc + n.intra_16x16_plane;
    EXPECT_EQ(Intra + n.inter_16x16 + n.skip_p, 7 * 30);
    EXPECT_GE(Intra, 3 * 30);
    EXPECT_EQ(n.References[0] + n.References[1], 4 * (n.inter_16x16 + n.skip_p));
    EXPECT_GT(n.References[1], 0); // the picture before the last is the one to predict from
    EXPECT_GT(n.with_coefficients, 0);
    EXPECT_GT(n.with_fractional_vectors, 0);
    ToolCounts None;
    UMC::H264VideoEncoder().AddToolCounts(None); // before Init
    EXPECT_TRUE(Found(None).empty());
}

} // namespace
