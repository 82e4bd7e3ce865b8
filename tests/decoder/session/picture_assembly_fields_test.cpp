// Fields become frames: pairs of any parity, fields that stay alone, and what is shown in place of the other one.
#include "tests/decoder/random_fields.h"
#include "tests/decoder/session/grey_stream.h"

#include <gmock/gmock.h>

namespace {

using namespace test;
using testing::ElementsAre;

using Pair = std::array<int, 2>;
constexpr int kGrey = 128;

Slice Idr() { return {.nal_unit_type = 5}; }

TEST(FieldPairs, AreOneFrameInWhicheverOrderTheyCome)
{
    for (const bool BottomFirst : {false, true}) {
        GreyFields In;
        In.Field(10, BottomFirst, Idr()).Field(20, !BottomFirst, Numbered(0, 1));
        In.Field(30, BottomFirst, Numbered(1, 2)).Field(40, !BottomFirst, Numbered(1, 3));
        if (BottomFirst)
            EXPECT_THAT(In.Values(), ElementsAre(Pair{20, 10}, Pair{40, 30}));
        else
            EXPECT_THAT(In.Values(), ElementsAre(Pair{10, 20}, Pair{30, 40}));
        ExpectAsFfmpeg(In.Data, 2);
    }
}

// Parity alone makes the pair.
TEST(FieldPairs, MayDifferInFrameNum)
{
    GreyFields In;
    In.Field(10, false, Idr()).Field(20, true, Numbered(1, 1)).Field(30, false, Numbered(2, 2));
    EXPECT_THAT(In.Values(), ElementsAre(Pair{10, 20}, Pair{30, kGrey}));
}

TEST(FieldPairs, AreReferencesOrNotTogether)
{
    GreyFields In;
    In.Field(10, false, Idr()).Field(20, true, Numbered(1, 1, 0)).Field(30, false, Numbered(1, 2, 0));
    In.Field(40, true, Numbered(1, 3));
    EXPECT_THAT(In.Values(), ElementsAre(Pair{10, kGrey}, Pair{30, 20}, Pair{kGrey, 40}));
}

TEST(FieldsAlone, OfOneParityAreAFrameEach)
{
    GreyFields In;
    In.Field(10, false, Idr()).Field(20, false, Numbered(1, 2)).Field(30, true, Numbered(2, 4));
    In.Field(40, true, Numbered(3, 6)).Field(50, false, Numbered(3, 7));
    EXPECT_THAT(In.Values(), ElementsAre(Pair{10, kGrey}, Pair{20, 30}, Pair{50, 40}));
}

TEST(FieldsAlone, InFrontOfAFrameAreWholeReferences)
{
    for (const bool IsBottom : {false, true}) {
        GreyFields In;
        In.Field(10, IsBottom, Idr()).Frame(30, Numbered(1, 2)).CopyFrame(1, [] {
            Slice s = Numbered(2, 4);
            s.num_ref_idx[0] = 2;
            return s;
        }());
        const Pair Alone = IsBottom ? Pair{kGrey, 10} : Pair{10, kGrey};
        EXPECT_THAT(In.Values(), ElementsAre(Alone, Pair{30, 30}, Alone));
    }
}

TEST(FieldsAlone, LendTheirGreyPartnerToFieldsAsAReference)
{
    GreyFields In;
    In.Field(10, false, Idr()).Field(20, false, Numbered(1, 2)).Field(30, true, Numbered(1, 3));
    Slice p = Numbered(2, 5);
    p.num_ref_idx[0] = 4; // the bottom fields of both frames by turns with the top fields
    In.CopyField(1, false, p).CopyField(2, true, p);
    EXPECT_THAT(In.Values(), ElementsAre(Pair{10, kGrey}, Pair{20, 30}, Pair{30, kGrey}));
}

TEST(FieldsAlone, AreSettledByTheEndOfTheStreamAndNotByADelimiter)
{
    GreyFields In;
    In.Field(10, false, Idr()).Field(20, true, Numbered(0, 1)).Field(30, true, Numbered(1, 2));
    std::vector<Bytes> Pictures;
    tools::StreamDecoder Decoder([&](const UMC::VideoData& p) { Pictures.push_back(SamplesOf(p)); }, 1, false);
    Decoder.Feed(In.Data);
    for (int i = 0; i < 4; ++i) Decoder.Feed(kDelimiter);
    EXPECT_THAT(GreyFields::ValuesOf(Pictures), ElementsAre(Pair{10, 20}));
    Decoder.Drain();
    EXPECT_THAT(GreyFields::ValuesOf(Pictures), ElementsAre(Pair{10, 20}, Pair{kGrey, 30}));
}

TEST(FieldsAlone, WaitBehindADelimiterForTheOther)
{
    GreyFields In;
    In.Field(10, false, Idr());
    In.Data += kDelimiter;
    In.Field(20, true, Numbered(0, 1));
    In.Data += kDelimiter + kDelimiter;
    EXPECT_THAT(In.Values(), ElementsAre(Pair{10, 20}));
}

// The frame that lost its second field is shown in its place, and so is what refers to it.
TEST(LostFields, LeaveTheFirstOneOfTheirFrame)
{
    GreyFields In;
    In.Field(10, false, Idr()).Field(20, true, Numbered(0, 1)).Field(30, false, Numbered(1, 2));
    Slice p = Numbered(2, 4);
    In.CopyField(0, false, p);
    p.poc_lsb = 5;
    In.CopyField(0, true, p);
    EXPECT_THAT(In.Values(), ElementsAre(Pair{10, 20}, Pair{30, kGrey}, Pair{30, kGrey}));
}

// Parity alone makes pairs: a lost first field lets the fields behind it pair up anew.
TEST(LostFields, MayBeFirstOnesToo)
{
    GreyFields In;
    In.Field(10, false, Idr()).Field(20, true, Numbered(0, 1)).Field(40, true, Numbered(1, 3));
    In.Field(50, false, Numbered(2, 4)).Field(60, true, Numbered(2, 5));
    EXPECT_THAT(In.Values(), ElementsAre(Pair{10, 20}, Pair{50, 40}, Pair{kGrey, 60}));
}

// A frame of noise, one whose field of a parity lost its last macroblocks, and one that shows what that has become.
class LostFieldSlices : public testing::TestWithParam<bool>
{
protected:
    static constexpr int kWidth = 3, kMbs = 9, kReceived = 5; // macroblocks of a field
    static constexpr uint8_t kDamaged = 77, kWhole = 88;

    LostFieldSlices()
    {
        Bytes Data = Write(m_Seq) + Write(m_Pic);
        RandomMacroblocks Noise(91);
        for (const bool IsBottom : {false, true}) {
            Slice s = Numbered(0, IsBottom);
            s.field = true;
            s.bottom = IsBottom;
            s.nal_unit_type = IsBottom ? 1 : 5;
            Data += Noise.Intra(m_Seq, m_Pic, s);
        }
        for (const uint32_t FrameNum : {1u, 2u})
            for (const bool IsBottom : {false, true}) {
                const bool IsLost = IsBottom == GetParam();
                Slice s = Numbered(FrameNum, 2 * FrameNum + IsBottom);
                s.field = true;
                s.bottom = IsBottom;
                Data += FrameNum == 2
                            ? CopySlice(m_Seq, m_Pic, s, 0, kMbs)
                            : PcmSlice(m_Seq, m_Pic, s, IsLost ? kDamaged : kWhole, IsLost ? kReceived : kMbs);
            }
        m_Pictures = DecodeAll(Data);
    }
    // Compares the field of a parity with Expected(macroblock, sample of the first frame); below 0 for any.
    template <class F>
    void ExpectField(bool IsBottom, F&& Expected)
    {
        ASSERT_EQ(m_Pictures.size(), 2u) << "the damaged frame is not shown, its copy is";
        size_t i = 0;
        for (int Plane = 0; Plane < 3; ++Plane) {
            const int Side = Plane == 0 ? 16 : 8;
            for (int y = 0; y < 2 * kMbs / kWidth * Side; ++y)
                for (int x = 0; x < kWidth * Side; ++x, ++i) {
                    if (y % 2 != IsBottom) continue;
                    const int Value = Expected(y / 2 / Side * kWidth + x / Side, int{m_Pictures[0][i]});
                    if (Value < 0) continue;
                    ASSERT_EQ(m_Pictures[1][i], Value) << Plane << ": " << x << ", " << y;
                }
        }
    }

    const SeqParamSet m_Seq = Interlaced({.profile_idc = 77, .width_mbs = kWidth, .height_map_units = kMbs / kWidth});
    const PicParamSet m_Pic;
    std::vector<Bytes> m_Pictures;
};

TEST_P(LostFieldSlices, AreRestoredInTheirFieldAlone)
{
    ExpectField(!GetParam(), [](int, int) { return int{kWhole}; });
    ExpectField(GetParam(), [](int Mb, int Noise) {
        if (Mb < kReceived) return int{kDamaged};
        return !GetParam() || Mb == kReceived ? Noise : -1; // of a bottom field half of the range
    });
}

INSTANTIATE_TEST_SUITE_P(Parity, LostFieldSlices, testing::Bool(),
                         [](const auto& Info) { return Info.param ? "Bottom" : "Top"; });

} // namespace
