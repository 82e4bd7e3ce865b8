// How pictures leave the software engine: one a call, none lost, whatever a call brings.
#include "front/VCodec_H264.h"
#include "tests/support/h264_stream_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using test::Bytes;
using test::PcmSlice;
using test::operator+;
using test::operator+=;
using testing::ElementsAreArray;

class OpenCodec : public CVCodec_H264
{
public:
    using CVCodec_H264::m_Unread;
};

constexpr int kUnwritten = -2; // the type of the black picture that stands in for a missing first one

// Level 1 keeps four pictures of this size, and seven frames serve it.
class SoftwareDelivery : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(m_pCodec->InitDecoder(176, 144), 1);
        m_Picture.resize(176 * 144 * 3 / 2);
    }
    void TearDown() override { m_pCodec->Release(); }

    // The value of the picture that a call gives, -1 for none.
    int Decode(const Bytes& Data)
    {
        int32_t Type = kUnwritten;
        const int32_t Result =
            m_pCodec->Decode(Data.data(), static_cast<int32_t>(Data.size()), m_Picture.data(), &Type);
        return Result == 1 && Type != kUnwritten ? m_Picture[0] : -1;
    }
    void Feed(const Bytes& Data)
    {
        if (const int Value = Decode(Data); Value >= 0) m_Values.push_back(Value);
    }
    void Drain()
    {
        for (int Value = Decode(m_Delimiter); Value >= 0; Value = Decode(m_Delimiter)) m_Values.push_back(Value);
    }
    Bytes ParameterSets() const { return Write(m_Seq) + Write(m_Pic); }
    Bytes Pictures(uint32_t From, uint32_t To) const
    {
        Bytes Data;
        for (uint32_t i = From; i < To; ++i) Data += Picture(i);
        return Data;
    }
    Bytes Picture(uint32_t Index) const // an I picture of one value, in two slices
    {
        test::Slice Slice{.nal_unit_type = Index == 0 ? 5u : 1u, .frame_num = Index & 15, .poc_lsb = Index * 2 & 255};
        Bytes Data = PcmSlice(m_Seq, m_Pic, Slice, static_cast<uint8_t>(Index), 50);
        Slice.first_mb = 50;
        Data += PcmSlice(m_Seq, m_Pic, Slice, static_cast<uint8_t>(Index), 49);
        return Data;
    }
    static std::vector<int> UpTo(int Count)
    {
        std::vector<int> Values;
        for (int i = 0; i < Count; ++i) Values.push_back(i);
        return Values;
    }

    OpenCodec* const m_pCodec = new OpenCodec;
    const test::SeqParamSet m_Seq{.level_idc = 10, .num_ref_frames = 4, .width_mbs = 11, .height_map_units = 9};
    const test::PicParamSet m_Pic;
    const Bytes m_Delimiter = test::NalUnit(0, 9, {0xF0});
    Bytes m_Picture;
    std::vector<int> m_Values;
};

// How pictures are spread over calls: so many in the first one, then one a call.
struct Spread {
    const char* pName;
    uint32_t First, All;
    int GivenFirst, GivenBeforeDrain; // pictures that have come out
    bool bUnread;                     // whether the first call leaves input: seven frames hold no more pictures
};
void PrintTo(const Spread& Case, std::ostream* pOut) { *pOut << Case.pName; }

class SoftwareDeliveryOf : public SoftwareDelivery, public testing::WithParamInterface<Spread>
{
};

} // namespace

TEST_P(SoftwareDeliveryOf, EveryPictureLeavesInTurn)
{
    const Spread& Case = GetParam();
    Feed(ParameterSets() + Pictures(0, Case.First));
    EXPECT_THAT(m_Values, ElementsAreArray(UpTo(Case.GivenFirst)));
    EXPECT_EQ(m_pCodec->m_Unread.Size() > 0, Case.bUnread);
    for (uint32_t i = Case.First; i < Case.All; ++i) Feed(Picture(i));
    EXPECT_THAT(m_Values, ElementsAreArray(UpTo(Case.GivenBeforeDrain)));
    Drain();
    EXPECT_THAT(m_Values, ElementsAreArray(UpTo(static_cast<int>(Case.All))));
    EXPECT_EQ(m_pCodec->m_Unread.Size(), 0u);
}
INSTANTIATE_TEST_SUITE_P(Spreads, SoftwareDeliveryOf,
                         testing::Values(Spread{"OneACall", 1, 12, 0, 11, false},
                                         Spread{"AllInOneCall", 30, 30, 1, 1, true},
                                         Spread{"WhatIsUnreadComesBeforeTheNextCall", 20, 30, 1, 11, true}),
                         [](const auto& Info) { return Info.param.pName; });

TEST_F(SoftwareDelivery, WhatStandsBehindABadUnitIsNotLost)
{
    const Bytes Bad = Write(test::SeqParamSet{.profile_idc = 244, .id = 1});
    Feed(ParameterSets() + Picture(0));
    EXPECT_EQ(Decode(Bad), -1);
    Feed(Bad + Picture(1));
    Feed(Bad + Picture(2) + Bad + Picture(3));
    Feed(Bad + Picture(4));
    Drain();
    EXPECT_THAT(m_Values, ElementsAreArray(UpTo(5)));
}

TEST_F(SoftwareDelivery, InputThatAClientPilesUpStaysBounded)
{
    constexpr size_t kLimit = size_t{16} << 20;
    uint32_t Index = 0;
    Feed(ParameterSets());
    size_t Largest = 0;
    for (int Call = 0; Call < 60; ++Call) {
        Feed(Pictures(Index, Index + 12));
        Index += 12;
        Largest = std::max(Largest, m_pCodec->m_Unread.Size());
    }
    EXPECT_GT(Largest, kLimit / 2);
    EXPECT_LE(Largest, kLimit);
    Drain();
    EXPECT_EQ(m_Values.back(), static_cast<int>((Index - 1) & 255)) << "the newest picture still comes";
}

TEST_F(SoftwareDelivery, ASecondInitForgetsWhatWasUnread)
{
    Feed(ParameterSets() + Pictures(0, 30));
    ASSERT_EQ(m_pCodec->InitDecoder(176, 144), 1);
    EXPECT_EQ(m_pCodec->m_Unread.Size(), 0u);
    EXPECT_EQ(Decode(m_Delimiter), -1);
}
