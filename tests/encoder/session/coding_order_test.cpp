// Which picture is coded next.
#include "encoder/session/coding_order.h"
#include "media/umc_default_memory_allocator.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace UMC_H264_ENCODER;
using Frame = H264EncoderFrame<uint8_t>;
using List = H264EncoderFrameList<uint8_t>;

// The frame step without the coding: pictures enter by type and leave in the order in which they would be coded.
template <class Sample>
class ReorderingOf
{
public:
    using Frame = H264EncoderFrame<Sample>;
    ReorderingOf(int32_t BRefMode, int32_t AnchorsNeeded) : m_BRefMode(BRefMode), m_Anchors(AnchorsNeeded) {}

    /// @param Types  a letter for each picture, b for a B picture that others refer to
    void PutAll(const std::string& Types)
    {
        for (const char t : Types) t == 'b' ? Put('B', true) : Put(t);
    }
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
    H264EncoderFrameList<Sample> m_Input, m_Done;
    int32_t m_BRefMode, m_Anchors, m_Count = 0;
    std::string m_Order;
};
using Reordering = ReorderingOf<uint8_t>;

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

TEST(CodingOrder, APictureWithoutATypeIsPassedOver)
{
    UMC::DefaultMemoryAllocator Allocator;
    List Input, Done;
    for (const bool bWaits : {true, false}) {
        auto* const p = new Frame(&Allocator);
        p->frame_type = FRAME_P;
        p->awaits_type = bWaits;
        p->poc[0] = p->poc[1] = bWaits ? 0 : 2;
        Input.Append(p);
    }
    EXPECT_EQ(FindNextToCode(Input, Done, 1, 0), Input.Head()->next);
    Input.Head()->awaits_type = false;
    EXPECT_EQ(FindNextToCode(Input, Done, 1, 0), Input.Head());
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

TEST(CodingOrder, ReferenceBPicturesThatWaitForAnAnchorMayBeTheHighest)
{
    Reordering r(2, 2);
    r.PutAll("IbbPbbP"); // pictures 4 and 5 have but one anchor behind them
    EXPECT_EQ(r.Order(), "0361524");
}

// What the turns go by belongs to the process, which is deliberate. Each test begins it anew with a P picture.

TEST(TurnsOfReferenceBPictures, EndAtTheLastPPictureWhateverAnchorsFollow)
{
    Reordering r(2, 1);
    r.PutAll("IPbbbI");
    EXPECT_EQ(r.Order(), "015234");
}

TEST(TurnsOfReferenceBPictures, AreSharedByAllEncoders)
{
    Reordering First(2, 1), Second(2, 1);
    First.PutAll("IPbbbP");
    EXPECT_EQ(First.Order(), "015243"); // three turns are taken, and the last anchor is at 10
    Second.PutAll("IbbbI");
    EXPECT_EQ(Second.Order(), "04312");
}

TEST(TurnsOfReferenceBPictures, AreNotTakenByBPicturesWithoutOneToChoose)
{
    Reordering First(2, 1), Second(2, 1);
    First.PutAll("IPPPPPBI");
    Second.PutAll("IbbbI");
    EXPECT_EQ(Second.Order(), "04132");
}

TEST(TurnsOfReferenceBPictures, AreLeftAloneByEncodersWithoutThem)
{
    Reordering First(2, 1), Without(0, 1), Second(2, 1);
    First.PutAll("IP");
    Without.PutAll("IBBBP");
    Second.PutAll("IbbbI");
    EXPECT_EQ(Second.Order(), "04123");
}

TEST(TurnsOfReferenceBPictures, OfDeepSamplesAreOthers)
{
    ReorderingOf<uint16_t> Deep(2, 1);
    Deep.PutAll("IP");
    Reordering(2, 1).PutAll("IPbbbP");
    Deep.PutAll("bbbI");
    EXPECT_EQ(Deep.Order(), "015234");
}

TEST(TurnsOfReferenceBPictures, StayInThePeriodOfThePictureThatIsDue)
{
    Reordering(2, 1).PutAll("IPPPPP"); // the last anchor is at 10
    UMC::DefaultMemoryAllocator Allocator;
    List Input, Done;
    for (const int32_t Epoch : {1, 0}) {
        auto* const p = new Frame(&Allocator);
        p->frame_type = FRAME_B;
        p->b_is_reference = 1;
        p->idr_epoch[0] = p->idr_epoch[1] = Epoch;
        p->poc[0] = p->poc[1] = Epoch ? 4 : 2;
        Input.Append(p);
    }
    EXPECT_EQ(FindNextToCode(Input, Done, 0, 2)->Epoch(), 1); // although the other is lower
}

} // namespace
