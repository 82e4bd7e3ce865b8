// Frame store, order of coding, reference marking and the key frame rule on the core itself.
#include "encoder/picture/padding.h"
#include "encoder/picture/reference_lists.h"
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "media/umc_default_memory_allocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using namespace UMC_H264_ENCODER;
using Frame = H264EncoderFrame<uint8_t>;
using List = H264EncoderFrameList<uint8_t>;

TEST(EncoderFrame, PlanesHaveRoomAndAlignment)
{
    UMC::DefaultMemoryAllocator Allocator;
    const FrameLayout l = MakeLayout(178, 146, 1, 8, true, false);
    EXPECT_EQ(l.AlignedWidth, 192);
    EXPECT_EQ(l.AlignedHeight, 160);
    EXPECT_EQ(l.MbCount, 120);
    EXPECT_EQ(l.Pitch, 384);
    EXPECT_EQ(MakeLayout(178, 146, 1, 8, false, false).AlignedHeight, 160);
    EXPECT_EQ(MakeLayout(178, 130, 1, 8, false, false).AlignedHeight, 160);
    Frame f(&Allocator);
    ASSERT_EQ(f.Allocate(l), UMC::StatusOk);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(f.m_pY) % 64, 0u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(f.m_pU) % 64, 0u);
    EXPECT_EQ(f.m_pV, f.m_pU + 192);
    EXPECT_EQ(f.GetWidth(), 178);
    EXPECT_EQ(f.Pitch(1), 384);
    const uint8_t* const pOld = f.m_pY;
    ASSERT_EQ(f.Allocate(l), UMC::StatusOk);
    EXPECT_EQ(f.m_pY, pOld); // kept for the same size
    for (const void* p : {static_cast<void*>(f.mb_motion[0]), static_cast<void*>(f.mb_motion[1]),
                          static_cast<void*>(f.mb_reference[0]), static_cast<void*>(f.mb_global)})
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 8, 0u);
}

TEST(EncoderFrame, PaddingRepeatsTheEdges)
{
    UMC::DefaultMemoryAllocator Allocator;
    const FrameLayout l = MakeLayout(32, 16, 1, 8, true, false);
    Frame f(&Allocator);
    ASSERT_EQ(f.Allocate(l), UMC::StatusOk);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 32; ++x) f.m_pY[y * l.Pitch + x] = static_cast<uint8_t>(y * 10 + x);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 16; ++x) {
            f.m_pU[y * l.Pitch + x] = static_cast<uint8_t>(y * 20 + x);
            f.m_pV[y * l.Pitch + x] = static_cast<uint8_t>(y * 21 + x);
        }
    PadPicture(f.View(), l);
    const auto Check = [&](const uint8_t* p, int Width, int Height, int Padding, int Factor) {
        for (int y = -Padding; y < Height + Padding; ++y)
            for (int x = -Padding; x < Width + Padding; ++x)
                ASSERT_EQ(p[y * l.Pitch + x],
                          static_cast<uint8_t>(std::clamp(y, 0, Height - 1) * Factor + std::clamp(x, 0, Width - 1)))
                    << x << ' ' << y;
    };
    Check(f.m_pY, 32, 16, 48, 10);
    Check(f.m_pU, 16, 8, 32, 20);
    Check(f.m_pV, 16, 8, 32, 21);
}

// ---- Order of coding ---------------------------------------------------------------------------------------

// The frame step without the coding: pictures enter by type and leave in the order in which they would be coded.
class Reordering
{
public:
    Reordering(int32_t BRefMode, int32_t AnchorsNeeded) : m_BRefMode(BRefMode), m_Anchors(AnchorsNeeded) {}

    void Put(char Type, bool bReference = false)
    {
        auto* const p = new Frame(&m_Allocator);
        p->frame_type = Type == 'I' ? FRAME_I : Type == 'P' ? FRAME_P : FRAME_B;
        p->b_is_reference = bReference;
        p->poc[0] = 2 * m_Count;
        p->poc[1] = 2 * m_Count + 1;
        p->display_order = 2 * m_Count++;
        m_Input.Append(p);
        while (Take()) {
        }
    }
    // One picture, or false when all that are left wait.
    bool Take()
    {
        Frame* const p = FindNextToCode(m_Input, m_Done, m_Anchors, m_BRefMode);
        if (!p) return false;
        m_Order += static_cast<char>('0' + p->display_order / 2);
        p->was_encoded = true;
        if (p->frame_type != FRAME_B || p->b_is_reference) p->is_reference = 3;
        m_Input.RemoveFrame(p);
        m_Done.Append(p);
        return true;
    }
    const std::string& Order() const { return m_Order; }

private:
    UMC::DefaultMemoryAllocator m_Allocator;
    List m_Input, m_Done;
    int32_t m_BRefMode, m_Anchors, m_Count = 0;
    std::string m_Order;
};

TEST(CodingOrder, WithoutBPicturesIsThatOfTheInput)
{
    Reordering r(0, 1);
    for (const char t : {'I', 'P', 'P', 'I', 'P'}) r.Put(t);
    EXPECT_EQ(r.Order(), "01234");
}

TEST(CodingOrder, BPicturesWaitForTheirAnchor)
{
    Reordering r(0, 1);
    r.Put('I');
    r.Put('B');
    r.Put('B');
    EXPECT_EQ(r.Order(), "0");
    r.Put('P');
    EXPECT_EQ(r.Order(), "0312");
    r.Put('B');
    r.Put('P');
    EXPECT_EQ(r.Order(), "031254");
}

TEST(CodingOrder, TwoAnchorsMayBeAskedFor)
{
    Reordering r(0, 2);
    for (const char t : {'I', 'B', 'P'}) r.Put(t);
    EXPECT_EQ(r.Order(), "02");
    r.Put('B');
    r.Put('P');
    EXPECT_EQ(r.Order(), "0241"); // picture 3 has one anchor behind it
}

TEST(CodingOrder, AnOlderIdrPeriodComesFirst)
{
    UMC::DefaultMemoryAllocator Allocator;
    List Input, Done;
    for (const int32_t Epoch : {0, 1}) {
        auto* const p = new Frame(&Allocator);
        p->frame_type = FRAME_P;
        p->idr_epoch[0] = p->idr_epoch[1] = Epoch;
        p->poc[0] = p->poc[1] = Epoch ? 90 : 0;
        Input.Append(p);
    }
    EXPECT_EQ(FindNextToCode(Input, Done, 1, 0)->Epoch(), 1);
}

TEST(CodingOrder, ReferenceBPicturesTakeTurnsFromBothEnds)
{
    Reordering r(2, 1);
    r.Put('I');
    r.Put('B', true);
    r.Put('B', true);
    r.Put('B', true);
    r.Put('P');                    // display limit of the anchor
    EXPECT_EQ(r.Order(), "04132"); // lowest, highest, and the one that is left
}

// ---- Marking and numbers -----------------------------------------------------------------------------------

struct TestCore {
    TestCore()
    {
        UMC::H264EncoderParams p;
        p.m_Info.m_Width = 32;
        p.m_Info.m_Height = 32;
        EXPECT_EQ(InitCore(c, p, &Allocator), UMC::StatusOk);
    }
    Frame* Add(int32_t FrameNum, bool bReference = true)
    {
        auto* const p = new Frame(&Allocator);
        p->frame_num = FrameNum;
        p->is_reference = bReference ? 3 : 0;
        p->poc[0] = p->poc[1] = 2 * FrameNum;
        c.sequence.reconstruction_list.Append(p);
        return p;
    }
    UMC::DefaultMemoryAllocator Allocator;
    Core8 c;
};

TEST(ReferenceMarking, FrameNumbersWrap)
{
    TestCore t;
    Frame* const pOld = t.Add(250);
    Frame* const pNew = t.Add(1);
    t.c.job.current = t.Add(2, false);
    t.c.settings.params.num_ref_frames = 2;
    auto& s = t.c.job.slices[0];
    s.slice_type = SLICE_P;
    UpdateRefLists(t.c.settings, t.c.sequence, t.c.job, s);
    EXPECT_EQ(pOld->frame_num_wrap, -6);
    EXPECT_EQ(pNew->frame_num_wrap, 1);
    ASSERT_EQ(s.num_ref_idx_l0, 2);
    EXPECT_EQ(s.ref_pic_lists.Pictures[0][0], pNew); // falling pic_num
    EXPECT_EQ(s.ref_pic_lists.Pictures[0][1], pOld);
    UpdateMarking(t.c.settings, t.c.sequence, *t.c.job.current);
    EXPECT_FALSE(pOld->is_reference); // the lowest number left the window
    EXPECT_TRUE(pNew->is_reference);
    EXPECT_TRUE(t.c.job.current->is_reference);
}

TEST(ReferenceMarking, AnIPictureNumbersTheReferencesToo)
{
    TestCore t;
    Frame* const pOld = t.Add(254);
    Frame* const pNew = t.Add(255); // coded behind the one before it and never numbered
    pOld->frame_num_wrap = 254;
    t.c.job.current = t.Add(0, false);
    t.c.settings.params.num_ref_frames = 2;
    auto& s = t.c.job.slices[0];
    s.slice_type = SLICE_I;
    UpdateRefLists(t.c.settings, t.c.sequence, t.c.job, s);
    EXPECT_EQ(pOld->frame_num_wrap, -2);
    EXPECT_EQ(pNew->frame_num_wrap, -1);
    EXPECT_EQ(s.ref_pic_lists.Count[0], 0);
    UpdateMarking(t.c.settings, t.c.sequence, *t.c.job.current);
    EXPECT_FALSE(pOld->is_reference);
    EXPECT_TRUE(pNew->is_reference);
}

TEST(ReferenceMarking, OneReferenceIsTheNewestPicture)
{
    TestCore t;
    Frame* const pOld = t.Add(4);
    t.c.job.current = t.Add(5, false);
    t.c.job.slices[0].slice_type = SLICE_P;
    UpdateRefLists(t.c.settings, t.c.sequence, t.c.job, t.c.job.slices[0]);
    EXPECT_EQ(t.c.job.slices[0].num_ref_idx_l0, 1);
    UpdateMarking(t.c.settings, t.c.sequence, *t.c.job.current);
    EXPECT_TRUE(pOld->IsFree() || !pOld->was_encoded);
    EXPECT_EQ(pOld->is_reference, 0);
}

TEST(ReferenceMarking, AnIdrPictureUnmarksAllOthers)
{
    TestCore t;
    Frame *const a = t.Add(1), *const b = t.Add(2);
    b->is_long_term = 3;
    t.c.job.current = t.Add(0, false);
    t.c.job.current->is_idr = true;
    UpdateMarking(t.c.settings, t.c.sequence, *t.c.job.current);
    EXPECT_EQ(a->is_reference | b->is_reference | b->is_long_term, 0);
    EXPECT_EQ(t.c.job.current->is_reference, 3);
}

TEST(ReferenceLists, LongTermPicturesFollowByNumber)
{
    TestCore t;
    Frame *const a = t.Add(1), *const b = t.Add(2), *const d = t.Add(3);
    a->is_long_term = d->is_long_term = 3;
    a->long_term_frame_idx = 1;
    d->long_term_frame_idx = 0;
    t.c.job.current = t.Add(4, false);
    t.c.settings.params.num_ref_frames = 3;
    auto& s = t.c.job.slices[0];
    s.slice_type = SLICE_P;
    UpdateRefLists(t.c.settings, t.c.sequence, t.c.job, s);
    ASSERT_EQ(s.ref_pic_lists.Count[0], 3);
    EXPECT_EQ(s.ref_pic_lists.Pictures[0][0], b);
    EXPECT_EQ(s.ref_pic_lists.Pictures[0][1], d);
    EXPECT_EQ(s.ref_pic_lists.Pictures[0][2], a);
}

TEST(ReferenceLists, AreCutToTheNumberOfReferencesInEffect)
{
    TestCore t;
    for (const int32_t FrameNum : {3, 4, 5}) t.Add(FrameNum);
    Frame* const pSame = t.Add(6); // as high as the current picture's number, which is not above it
    t.c.job.current = t.Add(6, false);
    auto& s = t.c.job.slices[0];
    s.slice_type = SLICE_P;
    for (const int32_t References : {0, 1, 2, 4}) {
        t.c.settings.params.num_ref_frames = References;
        UpdateRefLists(t.c.settings, t.c.sequence, t.c.job, s);
        EXPECT_EQ(s.num_ref_idx_l0, std::max(References, 1));
        EXPECT_EQ(s.ref_pic_lists.Pictures[0][0], pSame);
        EXPECT_EQ(pSame->pic_num[0], 6);
    }
}

TEST(ReferenceLists, OfBSlicesGoByOrderCount)
{
    TestCore t;
    Frame *const p0 = t.Add(0), *const p2 = t.Add(2), *const p6 = t.Add(6), *const p8 = t.Add(8);
    t.c.job.current = t.Add(4, false);
    t.c.settings.params.num_ref_frames = 4;
    auto& s = t.c.job.slices[0];
    s.slice_type = SLICE_B;
    UpdateRefLists(t.c.settings, t.c.sequence, t.c.job, s);
    const auto Lists = s.ref_pic_lists.Pictures;
    EXPECT_EQ((std::vector<Frame*>{Lists[0], Lists[0] + 4}), (std::vector<Frame*>{p2, p0, p6, p8}));
    EXPECT_EQ((std::vector<Frame*>{Lists[1], Lists[1] + 4}), (std::vector<Frame*>{p6, p8, p2, p0}));
}

TEST(ReferenceLists, EqualListsOfBSlicesSwapTheFirstTwo)
{
    TestCore t;
    Frame *const p0 = t.Add(0), *const p2 = t.Add(2);
    t.c.job.current = t.Add(4, false);
    t.c.settings.params.num_ref_frames = 2;
    auto& s = t.c.job.slices[0];
    s.slice_type = SLICE_B;
    UpdateRefLists(t.c.settings, t.c.sequence, t.c.job, s);
    EXPECT_EQ(s.ref_pic_lists.Pictures[0][0], p2);
    EXPECT_EQ(s.ref_pic_lists.Pictures[1][0], p0);
    EXPECT_EQ(s.ref_pic_lists.Pictures[1][1], p2);
}

// ---- Key frame rule ----------------------------------------------------------------------------------------

// Types that the rule gives Count pictures; an IDR picture is 'K'.
std::string Types(int32_t NumB, int32_t KeyInterval, int32_t IdrInterval, int Count, bool bKeepPattern = false)
{
    TestCore t;
    Core8& c = t.c;
    c.settings.params.num_b_frames = NumB;
    c.settings.params.key_frame_interval = KeyInterval;
    c.settings.params.idr_interval = IdrInterval;
    c.settings.params.keep_pattern_at_key = bKeepPattern;
    c.settings.gop_length = NumB + 1;
    c.settings.gop_pattern.assign(static_cast<size_t>(NumB) + 1, FRAME_B);
    c.settings.gop_pattern[0] = FRAME_P;
    c.sequence.key_countdown = static_cast<uint32_t>(KeyInterval) + 1;
    c.sequence.idr_countdown = static_cast<uint32_t>(IdrInterval) + 1;
    std::string s;
    for (int i = 0; i < Count; ++i) {
        const int32_t Type = NextFrameType(c.settings, c.sequence);
        const bool bIdr = Type == FRAME_I && c.sequence.make_idr_next;
        s += bIdr ? 'K' : Type == FRAME_I ? 'I' : Type == FRAME_P ? 'P' : 'B';
        if (bIdr) c.sequence.make_idr_next = false;
        ++c.sequence.poc_frame_count;
    }
    return s;
}

TEST(KeyFrameRule, PatternsWithoutBPictures)
{
    EXPECT_EQ(Types(0, 4, 1, 10), "KPPPKPPPKP");
    EXPECT_EQ(Types(0, 4, 0, 10), "KPPPIPPPIP");
    EXPECT_EQ(Types(0, 3, 2, 13), "KPPIPPKPPIPPK");
    EXPECT_EQ(Types(0, 1, 1, 3), "KKK");
    EXPECT_EQ(Types(0, 0, 0, 6), "KPPPPP");
}

TEST(KeyFrameRule, PatternsWithBPictures)
{
    EXPECT_EQ(Types(2, 100, 0, 9), "KBBPBBPBB");
    EXPECT_EQ(Types(2, 6, 0, 13), "KBBPBBIBBPBBI");
    // The pattern starts again at a key picture, unless it is kept.
    EXPECT_EQ(Types(2, 5, 0, 10), "KBBPBIBBPB");
    EXPECT_EQ(Types(2, 5, 0, 10, true), "KBBPBIPBBP");
}

TEST(KeyFrameRule, AnIdrPictureInsideARunWaitsForItsAnchor)
{
    // Picture 5 would be the key, in the middle of a run: it ends the run as P. The next place of the pattern is an
    // anchor that is P as well, and the key picture follows it.
    EXPECT_EQ(Types(2, 5, 1, 9), "KBBPBPPKB");
}

} // namespace
