#include "decoder/slice/references.h"

#include "media/umc_default_memory_allocator.h"

#include <gtest/gtest.h>

#include <memory>

namespace UMC {
namespace {

constexpr PictureSize kSize{32, 64};

// Three frames and the current one, whose fields are shown 2 * i and 2 * i + 1 after frame i comes.
class ReferenceSets : public testing::Test
{
protected:
    explicit ReferenceSets(int32_t ChromaFormat = 1) : m_pReferences(std::make_unique<SliceReferences>())
    {
        for (int i = 0; i < 4; ++i) {
            H264DecoderFrame& Frame = m_Frames[i];
            Frame.SetAllocator(&m_Allocator);
            EXPECT_EQ(Frame.Allocate(PictureFormat::Make(kSize, ChromaFormat, 8, 8)), StatusOk);
            for (int Field = 0; Field < 2; ++Field) Frame.m_PicOrderCnt[Field] = kOrderCounts[i] + Field;
        }
        m_Header.slice_type = SLICE_B;
        m_Header.num_ref_idx_l0_active = 2;
        m_Header.num_ref_idx_l1_active = 1;
        m_Lists.List[0].Frame[0] = &m_Frames[0];
        m_Lists.List[0].Frame[1] = &m_Frames[1];
        m_Lists.List[1].Frame[0] = &m_Frames[2];
        for (H264RefList& List : m_Lists.List)
            for (uint8_t& Flag : List.Flag) Flag = kRefFlagShortTerm | 7;
    }
    ReferenceSource Source() { return {m_Header, m_PictureSet, &m_Lists, m_Frames[3]}; }
    void FillAll()
    {
        FillPictureReferences(Source(), *m_pReferences);
        FillFieldReferences(Source(), kOrderCounts[3], *m_pReferences);
    }
    const ReferenceSet& Set(int Kind) const { return m_pReferences->Sets[Kind]; }

    static constexpr int32_t kOrderCounts[4] = {4, 12, 32, 20};
    DefaultMemoryAllocator m_Allocator;
    H264DecoderFrame m_Frames[4];
    SliceHeaderFields m_Header{};
    H264PicParamSet m_PictureSet{};
    H264DecoderRefPicList m_Lists{};
    std::unique_ptr<SliceReferences> m_pReferences;
};

TEST_F(ReferenceSets, OfAFrameAreWholeFrames)
{
    FillPictureReferences(Source(), *m_pReferences);
    EXPECT_EQ(m_pReferences->Active[0], 2);
    EXPECT_EQ(m_pReferences->Active[1], 1);
    const ReferencePlanes& p = Set(REFERENCES_PICTURE).Planes[0][1];
    EXPECT_EQ(p.pPlane[0], m_Frames[1].m_pPlaneY);
    EXPECT_EQ(p.pPlane[2], m_Frames[1].m_pPlaneV);
    EXPECT_EQ(p.PitchLuma, m_Frames[1].m_PitchLuma);
    EXPECT_EQ(p.Height, 64);
    EXPECT_EQ(p.ChromaHeight, 32);
    EXPECT_EQ(p.ChromaMvOffset, 0);
}

TEST_F(ReferenceSets, OfAFieldPictureAreTheFieldsOfItsList)
{
    m_Header.field_pic_flag = 1;
    m_Header.bottom_field_flag = 1;
    m_Lists.List[0].Frame[1] = &m_Frames[0];
    m_Lists.List[0].Flag[0] = kRefFlagShortTerm | 1;
    m_Lists.List[0].Flag[1] = kRefFlagShortTerm | 0;
    FillPictureReferences(Source(), *m_pReferences);
    const auto& Planes = Set(REFERENCES_PICTURE).Planes[0];
    EXPECT_EQ(Planes[0].pPlane[1], m_Frames[0].m_pPlaneU + m_Frames[0].m_PitchChroma);
    EXPECT_EQ(Planes[0].PitchLuma, 2 * m_Frames[0].m_PitchLuma);
    EXPECT_EQ(Planes[0].Height, 32);
    EXPECT_EQ(Planes[0].ChromaMvOffset, 0);
    EXPECT_EQ(Planes[1].pPlane[0], m_Frames[0].m_pPlaneY);
    EXPECT_EQ(Planes[1].ChromaMvOffset, 2) << "a top field seen from a bottom field";
}

TEST_F(ReferenceSets, OfFieldMacroblocksAreTheFieldsOfTheFramesWithTheirOwnParityFirst)
{
    FillAll();
    for (int Parity = 0; Parity < 2; ++Parity)
        for (int i = 0; i < 4; ++i) {
            SCOPED_TRACE(testing::Message() << Parity << ": " << i);
            const H264DecoderFrame& Frame = m_Frames[i >> 1];
            const int Field = i % 2 == 0 ? Parity : 1 - Parity;
            const ReferencePlanes& p = Set(REFERENCES_TOP_FIELD + Parity).Planes[0][i];
            EXPECT_EQ(p.pPlane[0], Frame.m_pPlaneY + Field * Frame.m_PitchLuma);
            EXPECT_EQ(p.pPlane[1], Frame.m_pPlaneU + Field * Frame.m_PitchChroma);
            EXPECT_EQ(p.PitchChroma, 2 * Frame.m_PitchChroma);
            EXPECT_EQ(p.Height, 32);
            EXPECT_EQ(p.Width, 32);
            EXPECT_EQ(p.ChromaHeight, 16);
            EXPECT_EQ(p.ChromaMvOffset, Field == Parity ? 0 : Parity == 0 ? -2 : 2);
        }
}

TEST_F(ReferenceSets, OfFieldMacroblocksReachThirtyTwoEntries)
{
    m_Header.num_ref_idx_l0_active = 16;
    for (int i = 0; i < 16; ++i) m_Lists.List[0].Frame[i] = &m_Frames[i % 3];
    FillAll();
    const ReferencePlanes& Last = Set(REFERENCES_TOP_FIELD).Planes[0][31];
    EXPECT_EQ(Last.pPlane[0], m_Frames[15 % 3].m_pPlaneY + m_Frames[0].m_PitchLuma);
}

TEST_F(ReferenceSets, OfFieldMacroblocksHaveTheWeightsOfTheirFrame)
{
    for (int i = 0; i < 2; ++i)
        m_pReferences->Sets[REFERENCES_PICTURE].Weights[0][i].luma_weight = static_cast<int16_t>(10 + i);
    FillAll();
    for (const int Kind : {REFERENCES_TOP_FIELD, REFERENCES_BOTTOM_FIELD})
        for (int i = 0; i < 4; ++i) EXPECT_EQ(Set(Kind).Weights[0][i].luma_weight, 10 + i / 2);
}

// DiffPicOrderCnt of the fields themselves: the distances 20 - 4 of 32 - 4 and so on, each parity with its own. Those
// of the frame may have lost what memory command 5 takes off.
class ReferenceSetsAfterMarking : public ReferenceSets, public testing::WithParamInterface<bool>
{
};
INSTANTIATE_TEST_SUITE_P(MemoryReset, ReferenceSetsAfterMarking, testing::Bool());

TEST_P(ReferenceSetsAfterMarking, OfFieldMacroblocksHaveTheDistancesOfTheirFields)
{
    m_PictureSet.weighted_bipred_idc = 2;
    if (GetParam())
        for (int32_t& Count : m_Frames[3].m_PicOrderCnt) Count -= kOrderCounts[3];
    FillAll();
    const auto Factor = [](int Current, int Count0, int Count1) {
        const int tb = Current - Count0, td = Count1 - Count0, tx = (16384 + td / 2) / td;
        return (tb * tx + 32) >> 6;
    };
    for (int Parity = 0; Parity < 2; ++Parity) {
        const H264DirectTables& Tables = Set(REFERENCES_TOP_FIELD + Parity).Tables;
        for (int i = 0; i < 4; ++i) {
            const int Field0 = i % 2 == 0 ? Parity : 1 - Parity, Count0 = kOrderCounts[i / 2] + Field0;
            EXPECT_EQ(Tables.DistScaleFactor[i], Factor(20 + Parity, Count0, 32 + Parity)) << Parity << ": " << i;
            for (int j = 0; j < 2; ++j) {
                const int Field1 = j == 0 ? Parity : 1 - Parity;
                EXPECT_EQ(Tables.ImplicitWeight[i][j], Factor(20 + Parity, Count0, 32 + Field1) >> 2)
                    << Parity << ": " << i << ", " << j;
            }
        }
    }
}

TEST_F(ReferenceSets, ThatAreMissingAreOneGreySample)
{
    m_Lists.List[0].Frame[0] = nullptr;
    FillAll();
    for (const int Kind : {REFERENCES_PICTURE, REFERENCES_TOP_FIELD, REFERENCES_BOTTOM_FIELD}) {
        const ReferencePlanes& p = Set(Kind).Planes[0][0];
        EXPECT_EQ(*p.pPlane[0], 128);
        EXPECT_EQ(p.Width, 1);
        EXPECT_EQ(p.PitchLuma, 0);
        EXPECT_GT(Set(Kind).Planes[1][0].Width, 1);
    }
}

TEST_F(ReferenceSets, ThatAreMissingFromDeepPicturesAreTheMiddleOfTheirSamples)
{
    m_Lists.List[0].Frame[0] = nullptr;
    for (const auto& [Luma, Chroma] : {std::pair{10, 10}, {14, 9}, {8, 11}, {9, 8}}) {
        m_Frames[3].m_Format = PictureFormat::Make(kSize, 1, Luma, Chroma);
        FillAll();
        const ReferencePlanes& p = Set(REFERENCES_PICTURE).Planes[0][0];
        const auto Sample = [&](int i) { return *reinterpret_cast<const uint16_t*>(p.pPlane[i]); };
        EXPECT_EQ(Sample(0), 1 << (Luma - 1));
        EXPECT_EQ(Sample(1), 1 << (Chroma - 1));
        EXPECT_EQ(Sample(2), 1 << (Chroma - 1));
    }
}

class ReferenceSetsIn422 : public ReferenceSets
{
protected:
    ReferenceSetsIn422() : ReferenceSets(2) {}
};

TEST_F(ReferenceSetsIn422, HaveChromaAsHighAsLumaAndNoOffset)
{
    FillAll();
    const ReferencePlanes& p = Set(REFERENCES_BOTTOM_FIELD).Planes[0][1];
    EXPECT_EQ(p.ChromaWidth, 16);
    EXPECT_EQ(p.ChromaHeight, 32);
    EXPECT_EQ(p.ChromaMvOffset, 0);
}

} // namespace
} // namespace UMC
