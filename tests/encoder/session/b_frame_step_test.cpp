// Orders of whole streams with B pictures: what waits for what, what the end of the stream and a client's own types
// change.
#include "tests/encoder/stream_check.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace encoder_testing;

constexpr int32_t kSide = 48;

UMC::H264EncoderParams Runs(int32_t BPictures)
{
    UMC::H264EncoderParams p = SizedParams(kSide, kSide);
    p.num_b_frames = BPictures;
    p.num_ref_frames = 3;
    return p;
}

// Types and places in display order, from 'a' on, of what has been coded so far: "Ia Pd Bb Bc".
class Coded
{
public:
    explicit Coded(const UMC::H264EncoderParams& p) : d(p) { EXPECT_EQ(d.InitResult(), UMC::StatusOk); }

    /// @param Asked  a letter for each picture: its type, or '-' for what the rule gives
    Coded& Put(const std::string& Asked)
    {
        std::vector<Picture> Clip = MakeClip(Scene::Pan, kSide, kSide, static_cast<int>(Asked.size()));
        for (size_t i = 0; i < Asked.size(); ++i) {
            const int32_t Type = Asked[i] == 'I'   ? UMC::I_PICTURE
                                 : Asked[i] == 'P' ? UMC::P_PICTURE
                                 : Asked[i] == 'B' ? UMC::B_PICTURE
                                                   : 0;
            Note(d.Encode(Clip[i], Type));
        }
        return *this;
    }
    Coded& Flush()
    {
        while (Note(d.Flush())) {
        }
        return *this;
    }
    const std::string& Order() const { return m_Order; }

    Driver d;

private:
    bool Note(const AccessUnit& u)
    {
        EXPECT_TRUE(u.Result == UMC::StatusOk || u.Result == UMC::StatusEndOfSegment) << u.Result;
        if (u.Bytes.empty()) return false;
        m_Order += (m_Order.empty() ? "" : " ") + std::string(1, "?IPB"[u.Type]);
        m_Order += static_cast<char>('a' + d.Places.back());
        return true;
    }

    std::string m_Order;
};

TEST(BFrameStep, TwoBPicturesFollowTheirAnchor)
{
    Coded c(Runs(2));
    EXPECT_EQ(c.Put("---").Order(), "Ia");
    EXPECT_EQ(Coded(Runs(2)).Put("----").Order(), "Ia Pd");
    EXPECT_EQ(Coded(Runs(2)).Put("-----").Order(), "Ia Pd Bb");
    EXPECT_EQ(Coded(Runs(2)).Put("----").Flush().Order(), "Ia Pd Bb Bc");
}

TEST(BFrameStep, TheLastPictureTurnsIntoPAtTheEnd)
{
    EXPECT_EQ(Coded(Runs(2)).Put("--").Flush().Order(), "Ia Pb");
    EXPECT_EQ(Coded(Runs(2)).Put("---").Flush().Order(), "Ia Pc Bb");
    EXPECT_EQ(Coded(Runs(3)).Put("-------").Flush().Order(), "Ia Pe Bb Bc Bd Pg Bf");
    Coded c(Runs(3));
    c.Put("-------").Flush();
    ExpectDecodesToReconstruction(c.d);
}

// Two anchors are asked for while pictures come, one from the end on.
TEST(BFrameStep, TheEndAsksForOneAnchorOnly)
{
    UMC::H264EncoderParams p = Runs(1);
    p.num_ref_to_start_b = 2;
    EXPECT_EQ(Coded(p).Put("-----").Order(), "Ia Pc Pe");
    Coded c(p);
    EXPECT_EQ(c.Put("-----").Flush().Order(), "Ia Pc Pe Bb Bd");
    ExpectDecodesToReconstruction(c.d);
    EXPECT_EQ(Coded(p).Put("---").Flush().Order(), "Ia Pc Bb");
}

// Every end is one: what comes behind it waits for one anchor again until the next IDR picture.
TEST(BFrameStep, AnEndInTheMidstLeavesOneAnchorInForce)
{
    UMC::H264EncoderParams p = Runs(1);
    p.num_ref_to_start_b = 2;
    Coded c(p);
    c.Put("---").Flush();
    EXPECT_EQ(c.Put("----").Order(), "Ia Pc Bb Pe Bd Pg");
    EXPECT_EQ(c.Flush().Order(), "Ia Pc Bb Pe Bd Pg Bf");
    ExpectDecodesToReconstruction(c.d);
}

TEST(BFrameStep, WithoutBPicturesThereIsNothingToTurn)
{
    Coded c(Runs(0));
    c.Put("---");
    EXPECT_EQ(c.d.Flush().Result, UMC::StatusEndOfSegment);
    EXPECT_EQ(c.Order(), "Ia Pb Pc");
}

TEST(BFrameStep, AnIdrPictureInsideARunEndsItWithAPFirst)
{
    UMC::H264EncoderParams p = Runs(2);
    p.key_frame_interval = 5;
    p.idr_interval = 1;
    Coded c(p);
    EXPECT_EQ(c.Put("---------").Flush().Order(), "Ia Pd Bb Bc Pf Be Pg Ih Pi");
    EXPECT_EQ(c.d.Tools.pictures_idr, 2);
    ExpectDecodesToReconstruction(c.d);
}

// And what waits for two anchors gets one.
TEST(BFrameStep, ARunThatIsEndedForAnIdrPictureWaitsForOneAnchor)
{
    UMC::H264EncoderParams p = Runs(2);
    p.num_ref_to_start_b = 2;
    p.key_frame_interval = 5;
    p.idr_interval = 1;
    Coded c(p);
    EXPECT_EQ(c.Put("------").Order(), "Ia Pd Bb");
    EXPECT_EQ(Coded(p).Put("---------").Flush().Order(), "Ia Pd Bb Bc Pf Be Pg Ih Pi");
}

// Of a run that waits for two anchors, one of which is an IDR picture, none is coded behind it.
TEST(BFrameStep, AnIdrPictureIsNotWaitedFor)
{
    UMC::H264EncoderParams p = Runs(2);
    p.num_ref_to_start_b = 2;
    p.key_frame_interval = 4;
    p.idr_interval = 1;
    Coded c(p);
    EXPECT_EQ(c.Put("----------").Flush().Order(), "Ia Pd Bb Bc Ie Ph Bf Bg Ii Pj");
    ExpectDecodesToReconstruction(c.d);
}

TEST(BFrameStep, AnIdrPictureOfTheClientEndsARunWithAPToo)
{
    Coded c(Runs(2));
    EXPECT_EQ(c.Put("---I-I----").Flush().Order(), "Ia Pc Bb Id Pe If Pi Bg Bh Pj");
    ExpectDecodesToReconstruction(c.d);
}

// The countdown to the next key picture goes by the pictures whose type the rule gives.
TEST(BFrameStep, TypesOfTheClientDoNotCount)
{
    UMC::H264EncoderParams p = Runs(0);
    p.key_frame_interval = 3;
    EXPECT_EQ(Coded(p).Put("-------").Order(), "Ia Pb Pc Id Pe Pf Ig");
    EXPECT_EQ(Coded(p).Put("-PPPP-----").Order(), "Ia Pb Pc Pd Pe Pf Pg Ih Pi Pj");
    EXPECT_EQ(Coded(p).Put("-PIP---").Order(), "Ia Pb Ic Pd Pe Pf Ig");
}

// Nor do they move the pattern on.
TEST(BFrameStep, TypesOfTheClientLeaveThePatternWhereItIs)
{
    EXPECT_EQ(Coded(Runs(1)).Put("-P-----").Flush().Order(), "Ia Pb Pd Bc Pf Be Pg");
    EXPECT_EQ(Coded(Runs(1)).Put("-B--").Flush().Order(), "Ia Pd Bb Bc");
    Coded c(Runs(1));
    c.Put("-BBP-PB").Flush();
    EXPECT_EQ(c.Order(), "Ia Pd Bb Bc Pf Be Pg");
    ExpectDecodesToReconstruction(c.d);
}

// Order counts begin anew at an IDR picture and places do not; a bottom field is one behind its top field.
TEST(BFrameStep, OrderCountsGoByPeriodsAndPlacesByTheStream)
{
    CoreDriver<uint8_t> d(Runs(0));
    int32_t Place = 0;
    for (const Picture& p : MakeClip(Scene::Still, kSide, kSide, 7)) {
        ASSERT_EQ(d.Encode(p, Place == 3 || Place == 5 ? UMC::I_PICTURE : 0), UMC::StatusOk);
        const int32_t Since = Place < 3 ? Place : (Place - 3) % 2;
        EXPECT_EQ(d.pLast->poc[0], 2 * Since) << Place;
        EXPECT_EQ(d.pLast->poc[1], 2 * Since + 1) << Place;
        EXPECT_EQ(d.pLast->display_order, 2 * Place) << Place;
        EXPECT_EQ(d.pLast->frame_num, Since) << Place;
        ++Place;
    }
    EXPECT_EQ(d.Order(), "Ka Pb Pc Kd Pe Kf Pg");
}

// By its place in the pattern: of two the first, of three and four the second, of five the third. That a run of one has
// none is deliberate.
TEST(BFrameStep, TheMiddlePictureOfARunIsAReferenceInMode1)
{
    for (const auto& [BPictures, Wanted] : {std::pair{1, "Ia Pc Bb"},
                                            {2, "Ia Pd Bb Bc"},
                                            {3, "Ia Pe Bc Bb Bd"},
                                            {4, "Ia Pf Bc Bb Bd Be"},
                                            {5, "Ia Pg Bd Bb Bc Be Bf"}}) {
        UMC::H264EncoderParams p = Runs(BPictures);
        p.b_ref_mode = 1;
        Coded c(p);
        EXPECT_EQ(c.Put(std::string(static_cast<size_t>(BPictures) + 2, '-')).Flush().Order(), Wanted);
        int References = 0;
        for (const NalUnit& n : SplitNalUnits(c.d.Stream)) References += IsSlice(n) && n.RefIdc != 0;
        EXPECT_EQ(References, BPictures == 1 ? 2 : 3) << BPictures;
    }
}

// Any value passes the check, and no other than these makes references.
TEST(BFrameStep, OtherReferenceModesMakeNoBPictureAReference)
{
    for (const int32_t Mode : {-1, 3}) {
        UMC::H264EncoderParams p = Runs(2);
        p.b_ref_mode = Mode;
        Coded c(p);
        EXPECT_EQ(c.Put("----").Flush().Order(), "Ia Pd Bb Bc");
        for (const NalUnit& n : SplitNalUnits(c.d.Stream))
            EXPECT_EQ(n.RefIdc, IsSlice(n) && n.Payload[0] >> 4 == 0b1010 ? 0 : 1) << n.Type;
    }
}

// Numbers of pictures have 8 bits and those of IDR pictures 4: both are used up.
TEST(LongStream, GoesOnWhereItsNumbersBeginAnew)
{
    UMC::H264EncoderParams p = SizedParams(16, 16);
    p.key_frame_interval = 0;
    p.rate_control_method = 3;
    p.quant_i = p.quant_p = 30;
    p.num_ref_frames = 2;
    Driver d(p);
    std::vector<Picture> Clip = MakeClip(Scene::Turns, 16, 16, 600);
    for (size_t i = 0; i < Clip.size(); ++i)
        ASSERT_EQ(d.Encode(Clip[i], i < 40 ? UMC::I_PICTURE : 0).Result, UMC::StatusOk);
    EXPECT_EQ(d.Tools.pictures_idr, 40);
    EXPECT_EQ(d.Tools.pictures_i, 41); // the first that the rule decides is a key picture
    EXPECT_EQ(d.Tools.pictures_p, 559);
    ExpectDecodesToReconstruction(d);
}

} // namespace
