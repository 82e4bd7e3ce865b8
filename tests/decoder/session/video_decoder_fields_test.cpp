// The decoder object between two fields: Reset, starts, sizes and sets that change, and what it tells of field
// pictures.
#include "tests/decoder/random_fields.h"
#include "tests/decoder/session/fed_decoder.h"
#include "tests/decoder/session/grey_stream.h"

#include <gmock/gmock.h>

namespace {

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using UMC::StatusNotEnoughData;
using UMC::StatusOk;

using Pair = std::array<int, 2>;
constexpr int kGrey = 128;

const SeqParamSet kSeq = Interlaced({.profile_idc = 77});
const PicParamSet kPic;
const Bytes kSets = Write(kSeq) + Write(kPic);

Slice FieldOf(bool IsBottom, uint32_t FrameNum, uint32_t PocLsb, uint32_t RefIdc = 1)
{
    Slice s = Numbered(FrameNum, PocLsb, RefIdc);
    s.field = true;
    s.bottom = IsBottom;
    return s;
}
Bytes Top(uint8_t Value, uint32_t FrameNum, uint32_t RefIdc = 1)
{
    return PcmSlice(kSeq, kPic, FieldOf(false, FrameNum, 2 * FrameNum, RefIdc), Value);
}
Bytes Bottom(uint8_t Value, uint32_t FrameNum, uint32_t RefIdc = 1)
{
    return PcmSlice(kSeq, kPic, FieldOf(true, FrameNum, 2 * FrameNum + 1, RefIdc), Value);
}
Bytes IdrTop(uint8_t Value, uint32_t Id = 0)
{
    Slice s = FieldOf(false, 0, 0);
    s.nal_unit_type = 5;
    s.idr_pic_id = Id;
    return PcmSlice(kSeq, kPic, s, Value);
}
Bytes CopyField(uint32_t RefIdx, bool IsBottom, uint32_t FrameNum, uint32_t Refs)
{
    Slice s = FieldOf(IsBottom, FrameNum, 2 * FrameNum + IsBottom);
    s.num_ref_idx[0] = Refs;
    return CopySlice(kSeq, kPic, s, RefIdx);
}

class Fields : public testing::Test
{
protected:
    std::vector<Pair> Values() { return GreyFields::ValuesOf(m_Session.Drain()); }

    FedDecoder m_Session;
};

// ---- Reset, and starts -----------------------------------------------------------------------------------------

TEST_F(Fields, ThatResetCutOffAreForgottenWithTheirPartners)
{
    m_Session.Give(kSets + IdrTop(10));
    m_Session.Give(Bottom(20, 0));
    m_Session.Give(Top(30, 1));
    ASSERT_EQ(m_Session.Decoder().Reset(), StatusOk);
    EXPECT_THAT(Values(), ElementsAre(Pair{10, 20})) << "what was shown before";
    m_Session.Give(Bottom(40, 1)); // an I field may start, and nothing waits for it
    m_Session.Give(Top(50, 2));
    m_Session.Give(Bottom(60, 2));
    EXPECT_THAT(Values(), ElementsAre(Pair{50, 40}, Pair{kGrey, 60}));
    ASSERT_EQ(m_Session.Decoder().Reset(), StatusOk);
    m_Session.Give(IdrTop(70, 1));
    m_Session.Give(CopyField(0, true, 0, 1));
    EXPECT_THAT(Values(), ElementsAre(Pair{70, 70}));
}

TEST_F(Fields, StartAtARecoveryPointWithoutWaiting)
{
    m_Session.Give(kSets + CopyField(0, false, 3, 1));
    EXPECT_THAT(Values(), IsEmpty()) << "nothing to start with";
    m_Session.Give(kRecoveryPoint + CopyField(0, false, 4, 1)); // of the grey frame that stands for what is missing
    EXPECT_EQ(m_Session.Give(CopyField(0, true, 4, 2)), StatusNotEnoughData);
    EXPECT_EQ(m_Session.Give(Top(50, 5)), StatusOk) << "the first pair is shown as soon as it is complete";
    m_Session.Give(CopyField(1, true, 5, 2)); // of its own frame's other field
    EXPECT_THAT(Values(), ElementsAre(Pair{kGrey, kGrey}, Pair{50, 50}));
}

TEST_F(Fields, OfASecondParityAloneStartAtARecoveryPointToo)
{
    m_Session.Give(kSets + kRecoveryPoint + CopyField(0, true, 4, 1));
    m_Session.Give(Top(50, 5));
    m_Session.Give(Bottom(60, 5));
    // The lone bottom field has taken the top field behind it: parity alone makes pairs.
    EXPECT_THAT(Values(), ElementsAre(Pair{50, kGrey}, Pair{kGrey, 60}));
}

// ---- What the decoder tells of them ----------------------------------------------------------------------------

TEST_F(Fields, AndMbaffFramesAreInterlacedForTheConverterAndOtherFramesAreNot)
{
    const SeqParamSet Mbaff = Interlaced({.profile_idc = 77, .id = 1, .mbaff = true});
    const PicParamSet MbaffPic{.id = 1, .seq_id = 1};
    m_Session.Give(kSets + IdrTop(10));
    m_Session.Give(Bottom(20, 0));
    m_Session.Give(PcmSlice(kSeq, kPic, Numbered(1, 2), 30, 2));
    m_Session.Give(Bottom(40, 2)); // and stays alone
    Slice s{.nal_unit_type = 5, .pps_id = 1, .idr_pic_id = 1};
    m_Session.Give(Write(Mbaff) + Write(MbaffPic));
    BitWriter Frame = Header(Mbaff, MbaffPic, s);
    Frame.U(1, 0); // mb_field_decoding_flag
    for (int Mb = 0; Mb < 2; ++Mb) {
        Frame.UE(25); // I_PCM
        Frame.Align();
        for (int i = 0; i < 384; ++i) Frame.U(8, 50);
    }
    m_Session.Give(Finish(Frame, s));
    EXPECT_EQ(m_Session.Drain().size(), 4u);
    EXPECT_THAT(m_Session.Structures(), ElementsAre(7, 3, 7, 7));
}

TEST_F(Fields, HaveTheUserDataInFrontOfTheirFrame)
{
    const auto UserData = [](uint8_t Value) { return NalUnit(0, 6, {4, 4, 0xB5, Value, 2, 1, 0x80}); };
    const auto First = [&]() -> int {
        UMC::MediaData User;
        if (m_Session.Decoder().GetUserData(&User) != StatusOk) return -1;
        EXPECT_EQ(User.GetDataSize(), 3u);
        return *static_cast<const uint8_t*>(User.GetDataPointer());
    };
    m_Session.Give(kSets + UserData(11) + IdrTop(10));
    m_Session.Give(UserData(22) + Bottom(20, 0)); // in mid-frame: the next frame takes it over
    EXPECT_EQ(m_Session.Give(Top(30, 1)), StatusOk);
    EXPECT_EQ(First(), 11);
    m_Session.Give(Bottom(40, 1));
    EXPECT_EQ(First(), -1) << "no picture left in this call";
    EXPECT_EQ(m_Session.Give(UserData(33) + UserData(44) + Top(50, 2)), StatusOk);
    EXPECT_EQ(First(), 22);
    EXPECT_EQ(m_Session.Flush(), StatusOk);
    EXPECT_EQ(First(), 44) << "the newest of several";
    m_Session.Give(IdrTop(60, 1));
    EXPECT_EQ(m_Session.Flush(), StatusOk);
    EXPECT_EQ(First(), -1) << "of this picture there is none";
}

// ---- Sets that change between two fields -----------------------------------------------------------------------

TEST_F(Fields, OfOneFrameMayHaveTheSameSetsBetweenThem)
{
    m_Session.Give(kSets + IdrTop(10));
    m_Session.Give(kSets + Bottom(20, 0));
    m_Session.Give(kSets + Top(30, 1));
    m_Session.Give(kSets + kSets + CopyField(1, true, 1, 2));
    EXPECT_THAT(Values(), ElementsAre(Pair{10, 20}, Pair{30, 30}));
}

TEST_F(Fields, OfOneFrameMayHaveAPictureSetEach)
{
    const PicParamSet Changed{.chroma_qp_index_offset = 3};
    m_Session.Give(kSets + IdrTop(10));
    m_Session.Give(Write(Changed) + PcmSlice(kSeq, Changed, FieldOf(true, 0, 1), 20));
    m_Session.Give(Write(kPic) + Top(30, 1));
    m_Session.Give(Bottom(40, 1));
    EXPECT_THAT(Values(), ElementsAre(Pair{10, 20}, Pair{30, 40}));
}

struct Change {
    const char* pName;
    SeqParamSet Seq;
};
void PrintTo(const Change& Case, std::ostream* pOut) { *pOut << Case.pName; }

// A sequence set of another picture form, in the middle of a frame. The field in front of it stays alone.
class FormChanges : public Fields, public testing::WithParamInterface<Change>
{
};

TEST_P(FormChanges, BetweenTwoFieldsMakeTwoFrames)
{
    const SeqParamSet Seq = Interlaced(GetParam().Seq);
    for (const bool IsIdr : {true, false}) {
        SCOPED_TRACE(IsIdr);
        ASSERT_EQ(m_Session.Start(), StatusOk);
        m_Session.Give(kSets + IdrTop(10));
        m_Session.Give(Bottom(20, 0));
        m_Session.Give(Top(30, 1));
        Slice s = FieldOf(true, IsIdr ? 0 : 1, IsIdr ? 0 : 3);
        s.nal_unit_type = IsIdr ? 5 : 1;
        s.idr_pic_id = 1;
        const auto Mbs = static_cast<int>(PictureMbs(Seq, s));
        m_Session.Give(Write(Seq) + Write(kPic) + PcmSlice(Seq, kPic, s, 40, Mbs));
        s.bottom = false;
        s.nal_unit_type = 1;
        ++s.poc_lsb;
        m_Session.Give(CopySlice(Seq, kPic, s, 0, Mbs));
        const std::vector<Bytes> Pictures = m_Session.Drain();
        ASSERT_EQ(Pictures.size(), 3u);
        EXPECT_THAT(GreyFields::ValuesOf({Pictures[0], Pictures[1]}), ElementsAre(Pair{10, 20}, Pair{30, kGrey}));
        const Bytes& New = Pictures[2];
        if (Seq.bit_depth > 8) {
            EXPECT_EQ(New[0] | New[1] << 8, 40);
        } else {
            EXPECT_EQ(New.size(),
                      Seq.width_mbs * Seq.height_map_units * 2 * (Seq.chroma_format_idc == 2 ? 512u : 384u));
            EXPECT_EQ(New.front(), 40);
            EXPECT_EQ(New[Seq.width_mbs * 16], 40);
        }
    }
}

constexpr Change kChanges[] = {{"Wider", {.profile_idc = 77, .width_mbs = 3}},
                               {"Higher", {.profile_idc = 77, .height_map_units = 2}},
                               {"Of422", {.profile_idc = 122, .chroma_format_idc = 2}},
                               {"OfTenBits", {.profile_idc = 110, .bit_depth = 10}}};
INSTANTIATE_TEST_SUITE_P(To, FormChanges, testing::ValuesIn(kChanges),
                         [](const auto& Info) { return Info.param.pName; });

} // namespace
