// An output that is too small for one picture of a stream with B pictures or fields: nothing is written behind its end,
// and all other pictures are delivered and decode.
#include "tests/encoder/stream_check.h"

#include <gtest/gtest.h>

namespace {

using namespace encoder_testing;
using UMC::H264EncoderParams;

constexpr int32_t kSide = 48;

struct LostCase {
    const char* Title;
    void (*pSet)(H264EncoderParams&);
};
void PrintTo(const LostCase& c, std::ostream* pOut) { *pOut << c.Title; }

#define LOST(Title, ...)                                                                                               \
    LostCase                                                                                                           \
    {                                                                                                                  \
#Title, [](H264EncoderParams & p) { __VA_ARGS__; }                                                             \
    }

class LostPicture : public testing::TestWithParam<LostCase>
{
protected:
    LostPicture()
    {
        m_Params.rate_control_method = 3;
        m_Params.quant_i = m_Params.quant_p = m_Params.quant_b = 28;
        m_Params.num_ref_frames = 3;
        GetParam().pSet(m_Params);
    }
    // All turns of a life, of which one has less room. @return how many pictures did not fit
    size_t Live(CoreDriver<uint8_t>& d, size_t SmallTurn, size_t Room)
    {
        size_t Failed = 0, Turn = 0;
        const auto RoomOf = [&] { return Turn++ == SmallTurn ? Room : SIZE_MAX; };
        const auto Note = [&](UMC::Status s) {
            const bool bSmall = Turn == SmallTurn + 1;
            EXPECT_TRUE(s == UMC::StatusOk || (bSmall && s == UMC::StatusNotEnoughBuffer)) << s;
            Failed += s == UMC::StatusNotEnoughBuffer;
        };
        for (const Picture& p : m_Clip) Note(d.Encode(p, 0, RoomOf()));
        for (;;) {
            const UMC::Status s = d.Flush(RoomOf());
            if (s == UMC::StatusEndOfSegment) return Failed;
            Note(s);
        }
    }

    H264EncoderParams m_Params = SizedParams(kSide, kSide);
    std::vector<Picture> m_Clip = MakeClip(Scene::Pan, kSide, kSide, 7);
};

TEST_P(LostPicture, LeavesAllOthersDecodable)
{
    CoreDriver<uint8_t> Whole(m_Params);
    ASSERT_EQ(Live(Whole, SIZE_MAX, 0), 0u);
    ASSERT_EQ(Whole.Reconstruction.size(), m_Clip.size());
    size_t Losses = 0;
    for (size_t Turn = 0; Turn < m_Clip.size() + 4; ++Turn)
        for (const size_t Room : {0u, 4u, 60u}) {
            SCOPED_TRACE(testing::Message() << "turn " << Turn << ", room " << Room);
            CoreDriver<uint8_t> d(m_Params);
            const size_t Failed = Live(d, Turn, Room);
            ASSERT_EQ(d.Reconstruction.size(), m_Clip.size() - Failed) << d.Order();
            Losses += Failed;
            if (Failed > 0 && Room == 60) ExpectDecodesToReconstruction(d);
        }
    EXPECT_GT(Losses, 2 * m_Clip.size());
}

const LostCase kLost[] = {
    LOST(OneB, p.num_b_frames = 1),
    LOST(TwoB, p.num_b_frames = 2),
    LOST(ThreeBForTwoAnchors, p.num_b_frames = 3; p.num_ref_to_start_b = 2),
    LOST(ReferenceB, p.num_b_frames = 2; p.b_ref_mode = 2; p.num_ref_frames = 4),
    LOST(IdrPictures, p.num_b_frames = 2; p.key_frame_interval = 4; p.idr_interval = 1),
    LOST(IPictures, p.num_b_frames = 2; p.key_frame_interval = 3),
    LOST(Fields, p.coding_type = 1),
    LOST(FieldsB, p.coding_type = 1; p.num_b_frames = 1; p.key_frame_interval = 5; p.idr_interval = 1)};
INSTANTIATE_TEST_SUITE_P(All, LostPicture, testing::ValuesIn(kLost));

// Of a pair of which one field alone fits, none is delivered.
TEST(LostField, TakesTheOtherOneWithIt)
{
    H264EncoderParams p = SizedParams(kSide, kSide);
    p.coding_type = 1;
    p.rate_control_method = 3;
    p.quant_i = p.quant_p = 28;
    const std::vector<Picture> Clip = MakeClip(Scene::Pan, kSide, kSide, 4);
    for (const size_t Lost : {size_t{0}, size_t{2}}) {
        SCOPED_TRACE(Lost);
        CoreDriver<uint8_t> Whole(p);
        for (size_t i = 0; i < Lost; ++i) Whole.Encode(Clip[i]);
        const size_t Before = Whole.Stream.size();
        ASSERT_EQ(Whole.Encode(Clip[Lost]), UMC::StatusOk);
        const size_t Size = Whole.Stream.size() - Before;
        const std::vector<uint8_t> Pair(Whole.Stream.end() - static_cast<ptrdiff_t>(Size), Whole.Stream.end());
        const std::vector<NalUnit> Units = SplitNalUnits(Pair);
        const size_t Second = Units.back().Payload.size() + (Units.back().bLongStartCode ? 5 : 4);
        for (const size_t Room : {Size - Second - 1, Size - Second, Size - Second + 1, Size - 1, Size}) {
            SCOPED_TRACE(testing::Message() << "room " << Room << " of " << Size);
            CoreDriver<uint8_t> d(p);
            for (size_t i = 0; i < Clip.size(); ++i) {
                const bool bFits = i != Lost || Room == Size;
                EXPECT_EQ(d.Encode(Clip[i], 0, i == Lost ? Room : SIZE_MAX),
                          bFits ? UMC::StatusOk : UMC::StatusNotEnoughBuffer);
            }
            EXPECT_EQ(d.Reconstruction.size(), Clip.size() - (Room < Size));
            ExpectDecodesToReconstruction(d);
        }
    }
}

// The key frame rule would end the run with an anchor, but there is nothing left to predict it from.
TEST(LostKeyPicture, IsMadeUpForHoweverManyAreLost)
{
    H264EncoderParams p = SizedParams(kSide, kSide);
    p.num_b_frames = 3;
    p.num_ref_frames = 2;
    p.key_frame_interval = 5;
    p.idr_interval = 3;
    p.keep_pattern_at_key = 1; // so that a key picture falls into a run
    for (const uint32_t Flags : {0u, uint32_t{UMC_H264_ENCODER::ENC_ANALYSE_FRAME_TYPE}})
        for (size_t Lost = 1; Lost < 8; ++Lost) {
            SCOPED_TRACE(testing::Message() << Lost << " with " << Flags);
            CoreDriver<uint8_t> d(p, Flags);
            const std::vector<Picture> Clip = MakeClip(Scene::Pan, kSide, kSide, 12);
            for (size_t i = 0; i < Clip.size(); ++i)
                ASSERT_EQ(d.Encode(Clip[i], 0, i < Lost ? 4 : SIZE_MAX),
                          i < Lost ? UMC::StatusNotEnoughBuffer : UMC::StatusOk);
            d.FlushAll();
            EXPECT_EQ(d.Order()[0], 'K');
            EXPECT_EQ(d.Reconstruction.size(), Clip.size() - Lost) << d.Order();
            ExpectDecodesToReconstruction(d);
        }
}

} // namespace
