// Reference numbers, lists and marking on frames without samples.
#include "encoder/picture/reference_lists.h"
#include "encoder/session/core_init.h"
#include "media/umc_default_memory_allocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;
using Frame = H264EncoderFrame<uint8_t>;

struct TestCore {
    TestCore()
    {
        UMC::H264EncoderParams p;
        p.m_Info.m_Width = 32;
        p.m_Info.m_Height = 32;
        EXPECT_EQ(InitCore(c, p, &Allocator), UMC::StatusOk);
        c.Job.picture_class = CLASS_REFERENCE;
    }
    Frame* Add(int32_t FrameNum, bool bReference = true)
    {
        auto* const p = new Frame(&Allocator);
        p->frame_num = FrameNum;
        p->picture_id = NextId += 2;
        p->is_reference = bReference ? 3 : 0;
        p->poc[0] = p->poc[1] = 2 * FrameNum;
        c.Sequence.ReconstructionList.Append(p);
        return p;
    }
    UMC::DefaultMemoryAllocator Allocator;
    Core8 c;
    int32_t NextId = 0;
};

// Numbers the references and builds the lists of the first slice.
void Update(Core8& c)
{
    UpdateRefLists(c.Sequence, *c.Job.pCurrent);
    BuildRefLists(c.Settings, c.Sequence, c.Job, c.Job.Slices[0].Facts);
}

TEST(ReferenceMarking, FrameNumbersWrap)
{
    TestCore t;
    Frame* const pOld = t.Add(250);
    Frame* const pNew = t.Add(1);
    t.c.Job.pCurrent = t.Add(2, false);
    t.c.Settings.Params.num_ref_frames = 2;
    auto& s = t.c.Job.Slices[0].Facts;
    s.slice_type = h264::SLICE_P;
    Update(t.c);
    EXPECT_EQ(pOld->frame_num_wrap, -6);
    EXPECT_EQ(pNew->frame_num_wrap, 1);
    ASSERT_EQ(s.num_ref_idx_l0, 2);
    EXPECT_EQ(s.ref_pic_lists.Pictures[0][0].pFrame, pNew); // falling pic_num
    EXPECT_EQ(s.ref_pic_lists.Pictures[0][1].pFrame, pOld);
    UpdateMarking(t.c.Settings, t.c.Job, t.c.Sequence);
    EXPECT_FALSE(pOld->is_reference); // the lowest number left the window
    EXPECT_TRUE(pNew->is_reference);
    EXPECT_TRUE(t.c.Job.pCurrent->is_reference);
}

TEST(ReferenceMarking, AnIPictureNumbersTheReferencesToo)
{
    TestCore t;
    Frame* const pOld = t.Add(254);
    Frame* const pNew = t.Add(255); // coded behind the one before it and never numbered
    pOld->frame_num_wrap = 254;
    t.c.Job.pCurrent = t.Add(0, false);
    t.c.Settings.Params.num_ref_frames = 2;
    auto& s = t.c.Job.Slices[0].Facts;
    s.slice_type = h264::SLICE_I;
    Update(t.c);
    EXPECT_EQ(pOld->frame_num_wrap, -2);
    EXPECT_EQ(pNew->frame_num_wrap, -1);
    EXPECT_EQ(s.ref_pic_lists.Count[0], 0);
    UpdateMarking(t.c.Settings, t.c.Job, t.c.Sequence);
    EXPECT_FALSE(pOld->is_reference);
    EXPECT_TRUE(pNew->is_reference);
}

TEST(ReferenceMarking, OneReferenceIsTheNewestPicture)
{
    TestCore t;
    Frame* const pOld = t.Add(4);
    t.c.Job.pCurrent = t.Add(5, false);
    t.c.Job.Slices[0].Facts.slice_type = h264::SLICE_P;
    Update(t.c);
    EXPECT_EQ(t.c.Job.Slices[0].Facts.num_ref_idx_l0, 1);
    UpdateMarking(t.c.Settings, t.c.Job, t.c.Sequence);
    EXPECT_TRUE(pOld->IsFree() || !pOld->was_encoded);
    EXPECT_EQ(pOld->is_reference, 0);
}

TEST(ReferenceMarking, AnIdrPictureUnmarksAllOthers)
{
    TestCore t;
    Frame *const a = t.Add(1), *const b = t.Add(2);
    b->is_long_term = 3;
    t.c.Job.pCurrent = t.Add(0, false);
    t.c.Job.pCurrent->is_idr = true;
    t.c.Job.picture_class = CLASS_IDR;
    UpdateMarking(t.c.Settings, t.c.Job, t.c.Sequence);
    EXPECT_EQ(a->is_reference | b->is_reference | b->is_long_term, 0);
    EXPECT_EQ(t.c.Job.pCurrent->is_reference, 3);
}

TEST(ReferenceMarking, LongTermPicturesCountInTheWindowAndStay)
{
    TestCore t;
    Frame *const pLong = t.Add(1), *const pShort = t.Add(2);
    pLong->is_long_term = 3;
    t.c.Job.pCurrent = t.Add(3, false);
    t.c.Settings.Params.num_ref_frames = 2;
    UpdateRefLists(t.c.Sequence, *t.c.Job.pCurrent);
    UpdateMarking(t.c.Settings, t.c.Job, t.c.Sequence);
    EXPECT_EQ(pShort->is_reference, 0);
    EXPECT_EQ(pLong->is_reference, 3);
}

// The window moves with the first field of a frame; the second joins the first.
TEST(ReferenceMarking, FieldsAreMarkedOneByOneAndTheWindowMovesWithTheFirst)
{
    TestCore t;
    Frame *const pOld = t.Add(1), *const pNew = t.Add(2);
    Frame* const pCurrent = t.c.Job.pCurrent = t.Add(3, false);
    t.c.Settings.Params.num_ref_frames = 2;
    UpdateRefLists(t.c.Sequence, *pCurrent);
    for (const auto Field : {STRUCTURE_TOP, STRUCTURE_BOTTOM}) {
        t.c.Job.Structure = Field;
        UpdateMarking(t.c.Settings, t.c.Job, t.c.Sequence);
        EXPECT_EQ(pOld->is_reference, 0);
        EXPECT_EQ(pNew->is_reference, 3);
        EXPECT_EQ(pCurrent->is_reference, Field == STRUCTURE_TOP ? 1 : 3);
    }
}

TEST(ReferenceLists, OfFieldsHoldTwiceTheNumberOfReferences)
{
    TestCore t;
    for (const int32_t FrameNum : {1, 2}) t.Add(FrameNum);
    t.c.Job.pCurrent = t.Add(3, false);
    t.c.Job.Structure = STRUCTURE_TOP;
    auto& s = t.c.Job.Slices[0].Facts;
    s.slice_type = h264::SLICE_P;
    for (const int32_t References : {0, 1, 2, 4}) {
        t.c.Settings.Params.num_ref_frames = References;
        Update(t.c);
        EXPECT_EQ(s.num_ref_idx_l0, std::min(2 * std::max(References, 1), 4));
    }
}

TEST(ReferenceLists, LongTermPicturesFollowByNumber)
{
    TestCore t;
    Frame *const a = t.Add(1), *const b = t.Add(2), *const d = t.Add(3);
    a->is_long_term = d->is_long_term = 3;
    a->long_term_frame_idx = 1;
    d->long_term_frame_idx = 0;
    t.c.Job.pCurrent = t.Add(4, false);
    t.c.Settings.Params.num_ref_frames = 3;
    auto& s = t.c.Job.Slices[0].Facts;
    s.slice_type = h264::SLICE_P;
    Update(t.c);
    ASSERT_EQ(s.ref_pic_lists.Count[0], 3);
    EXPECT_EQ(s.ref_pic_lists.Pictures[0][0].pFrame, b);
    EXPECT_EQ(s.ref_pic_lists.Pictures[0][1].pFrame, d);
    EXPECT_EQ(s.ref_pic_lists.Pictures[0][2].pFrame, a);
}

TEST(ReferenceLists, AreCutToTheNumberOfReferencesInEffect)
{
    TestCore t;
    for (const int32_t FrameNum : {3, 4, 5}) t.Add(FrameNum);
    Frame* const pSame = t.Add(6); // as high as the current picture's number, which is not above it
    t.c.Job.pCurrent = t.Add(6, false);
    auto& s = t.c.Job.Slices[0].Facts;
    s.slice_type = h264::SLICE_P;
    for (const int32_t References : {0, 1, 2, 4}) {
        t.c.Settings.Params.num_ref_frames = References;
        Update(t.c);
        EXPECT_EQ(s.num_ref_idx_l0, std::max(References, 1));
        EXPECT_EQ(s.ref_pic_lists.Pictures[0][0].pFrame, pSame);
        EXPECT_EQ(pSame->pic_num[0], 6);
    }
}

TEST(ReferenceLists, OfBSlicesGoByOrderCount)
{
    TestCore t;
    Frame *const p0 = t.Add(0), *const p2 = t.Add(2), *const p6 = t.Add(6), *const p8 = t.Add(8);
    t.c.Job.pCurrent = t.Add(4, false);
    t.c.Settings.Params.num_ref_frames = 4;
    auto& s = t.c.Job.Slices[0].Facts;
    s.slice_type = h264::SLICE_B;
    Update(t.c);
    const auto Listed = [&s](size_t List) {
        std::vector<const Frame*> Frames;
        for (size_t i = 0; i < 4; ++i) Frames.push_back(s.ref_pic_lists.Pictures[List][i].pFrame);
        return Frames;
    };
    EXPECT_EQ(Listed(0), (std::vector<const Frame*>{p2, p0, p6, p8}));
    EXPECT_EQ(Listed(1), (std::vector<const Frame*>{p6, p8, p2, p0}));
}

// Clause 8.4.2.1: each frame's field of the macroblock's own parity, then the other.
TEST(ReferenceLists, OfFieldMacroblocksInFramesHoldBothFieldsOfEachFrame)
{
    TestCore t;
    Frame *const p0 = t.Add(0), *const p2 = t.Add(2);
    p0->poc[1] = 1, p2->poc[1] = 5;
    t.c.Job.pCurrent = t.Add(4, false);
    t.c.Settings.Params.num_ref_frames = 2;
    auto& s = t.c.Job.Slices[0].Facts;
    s.slice_type = h264::SLICE_P;
    Update(t.c);
    for (const auto Parity : {STRUCTURE_TOP, STRUCTURE_BOTTOM}) {
        const auto pField = std::make_unique<SliceFacts<uint8_t>>();
        BuildFieldLists(s, Parity, *pField);
        ASSERT_EQ(pField->ref_pic_lists.Count[0], 4);
        EXPECT_EQ(pField->num_ref_idx_l0, 4);
        for (int32_t i = 0; i < 4; ++i) {
            const Reference<uint8_t>& r = pField->ref_pic_lists.Pictures[0][i];
            const Frame* const pFrame = i < 2 ? p2 : p0;
            const int32_t Part = Parity ^ (i & 1);
            EXPECT_EQ(r.pFrame, pFrame) << i;
            EXPECT_EQ(r.Poc, pFrame->poc[Part]) << i;
            EXPECT_EQ(r.Id, pFrame->picture_id + Part) << i;
            EXPECT_EQ(r.ChromaMvOffset, i % 2 == 0 ? 0 : Part ? -2 : 2) << i;
            EXPECT_EQ(r.View.LumaRowsAround, 0) << i;
            EXPECT_EQ(r.View.Pitch, 2 * s.ref_pic_lists.Pictures[0][i / 2].View.Pitch) << i;
        }
    }
}

TEST(ReferenceLists, EqualListsOfBSlicesSwapTheFirstTwo)
{
    TestCore t;
    Frame *const p0 = t.Add(0), *const p2 = t.Add(2);
    t.c.Job.pCurrent = t.Add(4, false);
    t.c.Settings.Params.num_ref_frames = 2;
    auto& s = t.c.Job.Slices[0].Facts;
    s.slice_type = h264::SLICE_B;
    Update(t.c);
    EXPECT_EQ(s.ref_pic_lists.Pictures[0][0].pFrame, p2);
    EXPECT_EQ(s.ref_pic_lists.Pictures[1][0].pFrame, p0);
    EXPECT_EQ(s.ref_pic_lists.Pictures[1][1].pFrame, p2);
}

} // namespace
