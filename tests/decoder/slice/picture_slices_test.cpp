// Slices in their picture and in the pool that owns them.
#include "decoder/slice/picture_slices.h"

#include <gtest/gtest.h>

namespace {

using namespace UMC;

class PictureSlices : public testing::Test
{
protected:
    H264Slice& Add(int Field)
    {
        EXPECT_EQ(ReserveSlice(m_Frame, Field), StatusOk);
        m_Frame.m_RefPicLists.Spare() = {};
        H264Slice* const pSlice = m_Pool.Allocate();
        pSlice->m_FirstMbNumber = 7;
        AddSlice(m_Frame, Field, *pSlice);
        return *pSlice;
    }

    SlicePool m_Pool;
    H264DecoderFrame m_Frame;
};

TEST_F(PictureSlices, NumbersRunOnInTheSecondField)
{
    EXPECT_EQ(Add(0).m_SliceNumber, 1);
    EXPECT_EQ(Add(0).m_SliceNumber, 2);
    const H264Slice& Third = Add(1);
    EXPECT_EQ(Third.m_SliceNumber, 3);
    EXPECT_EQ(Third.m_pRefPicList, m_Frame.RefPicListOf(3));
    EXPECT_EQ(m_Frame.m_Au[0].m_Slices.size(), 2u);
    EXPECT_EQ(m_Frame.m_Au[1].m_Slices.size(), 1u);
}

TEST_F(PictureSlices, FirstOfEachFieldStaysWhenDecodingIsOver)
{
    const H264Slice *const pFirst = &Add(0), *const pDropped = &Add(0), *const pSecondField = &Add(1);
    ReleaseSlices(m_Frame, m_Pool);
    ASSERT_EQ(m_Frame.m_Au[0].m_Slices.size(), 1u);
    EXPECT_EQ(m_Frame.m_Au[0].m_Slices[0], pFirst);
    EXPECT_EQ(m_Frame.m_Au[1].m_Slices[0], pSecondField);
    EXPECT_EQ(pFirst->m_FirstMbNumber, 7) << "it is compared with the next picture's";
    EXPECT_EQ(pFirst->m_pRefPicList, nullptr);
    EXPECT_EQ(m_Frame.m_Au[0].m_Status, AuStatus::Finished);
    EXPECT_EQ(m_Pool.Allocate(), pDropped) << "back in the pool";
}

TEST_F(PictureSlices, AllGoBackWithTheirFrame)
{
    const H264Slice* const pOnly = &Add(1);
    ResetFrame(m_Frame, m_Pool);
    EXPECT_TRUE(m_Frame.m_Au[1].m_Slices.empty());
    EXPECT_EQ(m_Frame.RefPicListOf(1), nullptr);
    EXPECT_EQ(m_Pool.Allocate(), pOnly);
}

// An object that counts those alive.
struct Counted {
    Counted() { ++s_Alive; }
    ~Counted() { --s_Alive; }
    void Reset() { ++m_Resets; }
    int m_Resets = 0;
    static int s_Alive;
};
int Counted::s_Alive = 0;

TEST(SlicePool, OwnsWhatItHasLent)
{
    {
        H264_Heap_Objects<Counted> Pool;
        Counted* const pFree = Pool.Allocate();
        Counted* const pLent = Pool.Allocate();
        Pool.Free(pFree);
        Pool.Free(nullptr);
        EXPECT_EQ(pFree->m_Resets, 1);
        EXPECT_EQ(Counted::s_Alive, 2);
        Pool.Reset();
        EXPECT_EQ(Counted::s_Alive, 1) << "only what is free";
        EXPECT_EQ(pLent->m_Resets, 0);
    }
    EXPECT_EQ(Counted::s_Alive, 0);
}

TEST(SlicePool, KeepsALimitedNumberOfFreeOnes)
{
    H264_Heap_Objects<Counted> Pool;
    std::vector<Counted*> All;
    for (uint32_t i = 0; i < Pool.kMaxFree + 3; ++i) All.push_back(Pool.Allocate());
    for (Counted* const p : All) Pool.Free(p);
    EXPECT_EQ(Counted::s_Alive, static_cast<int>(Pool.kMaxFree));
    Counted* const pLast = Pool.Allocate();
    EXPECT_EQ(pLast, All[Pool.kMaxFree - 1]) << "the one that came back last among those kept";
}

} // namespace
