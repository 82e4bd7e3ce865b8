// The decoder object's state across calls: Init twice, Reset in mid-stream, starts that are no IDR picture.
#include "tests/decoder/session/fed_decoder.h"
#include "tests/decoder/session/grey_stream.h"

#include <gmock/gmock.h>

namespace {

using namespace test;
using testing::ElementsAre;
using UMC::StatusNotEnoughData;
using UMC::StatusOk;

const SeqParamSet kSeq{.num_ref_frames = 4};
const PicParamSet kPic{.num_ref_idx = {2, 1}};
const Bytes kSets = Write(kSeq) + Write(kPic);

Bytes Idr(uint8_t Value, uint32_t Id = 0)
{
    return PcmSlice(kSeq, kPic, {.nal_unit_type = 5, .idr_pic_id = Id}, Value);
}
Bytes Intra(uint8_t Value, uint32_t FrameNum) { return PcmSlice(kSeq, kPic, Numbered(FrameNum, 2 * FrameNum), Value); }
Bytes Copy(uint32_t RefIdx, uint32_t FrameNum)
{
    return CopySlice(kSeq, kPic, Numbered(FrameNum, 2 * FrameNum), RefIdx);
}

TEST(DecoderSession, TwoInitsLeaveOneWorkingDecoder)
{
    FedDecoder s;
    s.Give(kSets + Idr(10));
    s.Give(Copy(0, 1));
    ASSERT_EQ(s.Start(), StatusOk); // with two pictures in flight
    EXPECT_THAT(s.DrainValues(), ElementsAre(10)) << "what the first one had shown";
    EXPECT_EQ(s.Give(kSets + Idr(20)), StatusNotEnoughData);
    EXPECT_EQ(s.Give(Copy(0, 1)), StatusOk);
    EXPECT_THAT(s.DrainValues(), ElementsAre(20, 20));
    ASSERT_EQ(s.Decoder().Close(), StatusOk);
    ASSERT_EQ(s.Decoder().Close(), StatusOk);
    ASSERT_EQ(s.Start(), StatusOk);
    s.Give(kSets + Idr(30));
    EXPECT_THAT(s.DrainValues(), ElementsAre(30));
}

// In the middle of a stream whose frame numbers, order counts and references have gone on far from zero.
class AfterReset : public testing::Test
{
protected:
    AfterReset()
    {
        m_Session.Give(kSets + Idr(10));
        for (uint32_t i = 1; i < 12; ++i) m_Session.Give(i % 3 ? Copy(0, i) : Intra(static_cast<uint8_t>(10 + i), i));
        Slice Long = Numbered(12, 24);
        Long.marking = {{4, 2}, {6, 1}};
        m_Session.Give(PcmSlice(kSeq, kPic, Long, 60));
        EXPECT_EQ(m_Session.Decoder().Reset(), StatusOk);
        m_Session.DrainValues();
    }
    FedDecoder m_Session;
};

TEST_F(AfterReset, AnIdrPictureStartsAsAtFirst)
{
    m_Session.Give(Idr(20));
    for (uint32_t i = 1; i < 4; ++i) m_Session.Give(Copy(i > 1, i));
    EXPECT_THAT(m_Session.DrainValues(), ElementsAre(20, 20, 20, 20));
}

TEST_F(AfterReset, AnIPictureThatIsNoIdrPictureStartsToo)
{
    EXPECT_EQ(m_Session.Give(Copy(0, 4)), StatusNotEnoughData) << "nothing to start with";
    m_Session.Give(Intra(30, 5));
    m_Session.Give(Copy(0, 6));
    m_Session.Give(Copy(1, 7)); // both of its references are of the new start
    EXPECT_THAT(m_Session.DrainValues(), ElementsAre(30, 30, 30));
}

TEST_F(AfterReset, ARecoveryPointStartsAgainstGrey)
{
    m_Session.Give(kRecoveryPoint + Copy(0, 13));
    m_Session.Give(Intra(40, 14));
    m_Session.Give(Copy(0, 15));
    EXPECT_THAT(m_Session.DrainValues(), ElementsAre(128, 40, 40));
}

TEST_F(AfterReset, ARecoveryPointServesOneStartOnly)
{
    m_Session.Give(kRecoveryPoint + Copy(0, 13));
    EXPECT_EQ(m_Session.Decoder().Reset(), StatusOk);
    m_Session.DrainValues();
    m_Session.Give(Copy(0, 14));
    EXPECT_TRUE(m_Session.DrainValues().empty());
}

TEST_F(AfterReset, ASliceCutInHalfByItIsForgotten)
{
    Bytes Half = Intra(50, 3);
    Half.resize(Half.size() / 2);
    m_Session.Give(Half);
    EXPECT_EQ(m_Session.Decoder().Reset(), StatusOk);
    m_Session.Give(Idr(70));
    EXPECT_THAT(m_Session.DrainValues(), ElementsAre(70));
}

TEST_F(AfterReset, TheSpeedIsNormalAgain)
{
    int32_t Speed = 7;
    m_Session.Decoder().ChangeVideoDecodingSpeed(&Speed);
    EXPECT_EQ(m_Session.Decoder().Reset(), StatusOk);
    m_Session.Give(Idr(20));
    m_Session.Give(PcmSlice(kSeq, kPic, Numbered(1, 2, 0), 30)); // no reference
    EXPECT_THAT(m_Session.DrainValues(), ElementsAre(20, 30));
}

TEST(DecoderSession, RepeatedParameterSetsChangeNothing)
{
    // Before each picture, between its slices, and in front of the delimiter behind it.
    const SeqParamSet Seq{.width_mbs = 2};
    const PicParamSet Pic;
    const Bytes Sets = Write(Seq) + Write(Pic);
    Bytes Once = Sets, Often;
    for (uint32_t i = 0; i < 5; ++i) {
        Slice s = Numbered(i, 2 * i);
        if (i == 0) s.nal_unit_type = 5;
        for (s.first_mb = 0; s.first_mb < 2; ++s.first_mb) {
            const Bytes Unit =
                i == 0 ? PcmSlice(Seq, Pic, s, static_cast<uint8_t>(10 + s.first_mb)) : CopySlice(Seq, Pic, s, 0);
            Once += Unit;
            Often += Sets + Unit;
        }
        Often += Sets + kDelimiter;
    }
    const auto Expected = DecodeAll(Once);
    ASSERT_EQ(Expected.size(), 5u);
    EXPECT_EQ(DecodeAll(Often), Expected);
}

TEST(DecoderSession, SwitchingSlicesVanishWithoutAStatus)
{
    FedDecoder s;
    s.Give(kSets + Idr(10));
    EXPECT_EQ(s.Give(Copy(0, 1)), StatusOk) << "the first picture";
    for (const uint32_t Type : {3u, 4u, 8u, 9u}) {
        Slice Switching = Numbered(2, 4);
        Switching.slice_type = Type;
        EXPECT_EQ(s.Give(SkipSlice(kSeq, kPic, Switching)), StatusNotEnoughData) << Type;
    }
    EXPECT_EQ(s.Give(Intra(30, 2)), StatusOk);
    EXPECT_THAT(s.DrainValues(), ElementsAre(10, 10, 30));
}

} // namespace
