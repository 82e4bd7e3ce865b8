// Picture order counts of every type. Implicit weights and temporal direct prediction make the samples of B pictures
// depend on them, so that a wrong count is seen in ffmpeg's pictures as well as in the order of output.
#include "tests/decoder/random_stream.h"

#include <utility>

namespace {

using namespace test;

constexpr MacroblockMix kDirect{.skip = 2, .direct = 2, .inter = 4, .intra = 0};

struct OrderCase {
    const char* Name;
    uint32_t Type;
    bool HasBottom; // counts of the bottom field of their own
};

class OrderCounts : public testing::TestWithParam<OrderCase>
{
protected:
    static constexpr uint32_t kMaxFrameNum = 16;

    OrderCounts() : m_In(MakeSeq(), MakePic(), 21) {}

    static SeqParamSet MakeSeq()
    {
        const OrderCase& c = GetParam();
        SeqParamSet Seq{.profile_idc = 77, .poc_type = c.Type, .log2_max_poc_lsb = 6};
        Seq.delta_pic_order_always_zero = false;
        Seq.offset_for_ref_frame = {4, 9, 6};
        Seq.offset_for_non_ref_pic = -3;
        Seq.offset_for_top_to_bottom = c.HasBottom ? -1 : 0;
        Seq.num_ref_frames = 2;
        Seq.gaps_allowed = true;
        Seq.vui = ReorderVui(c.Type == 2 ? 0 : 1, 4);
        return Seq;
    }
    static PicParamSet MakePic()
    {
        return {.pic_order_present = GetParam().HasBottom, .num_ref_idx = {2, 1}, .weighted_bipred_idc = 2};
    }

    // The next picture: a reference, or one that is none and is shown before the last reference where the type allows.
    Slice Next(bool IsReference)
    {
        Slice s;
        s.nal_ref_idc = IsReference;
        s.frame_num = m_FrameNum % kMaxFrameNum;
        s.spatial_direct = m_Count++ % 2;
        if (IsReference) {
            ++m_FrameNum;
            m_Lsb += 5 + 2 * (m_Count % 3);
        }
        s.poc_lsb = (IsReference ? m_Lsb : m_Lsb - 2) & 63;
        s.delta_pic_order_cnt[0] = static_cast<int>(m_Count % 3) - 1;
        if (GetParam().HasBottom) {
            s.delta_poc_bottom = static_cast<int>(m_Count % 4) - 2;
            s.delta_pic_order_cnt[1] = static_cast<int>(m_Count % 2);
        }
        return s;
    }
    void AddPairs(int Count)
    {
        for (int i = 0; i < Count; ++i) {
            m_In.P(Next(true));
            m_In.B(Next(false), kDirect);
        }
    }
    void Start()
    {
        m_FrameNum = 0;
        m_Lsb = 0;
        Slice Idr{.nal_unit_type = 5, .idr_pic_id = m_IdrId++};
        m_In.Intra(Idr);
        ++m_FrameNum;
        m_In.Intra(Next(true));
    }

    RandomStream m_In;
    uint32_t m_FrameNum = 0, m_Lsb = 0, m_Count = 0, m_IdrId = 0;
};

TEST_P(OrderCounts, AreFfmpegsOverSeveralWraps)
{
    Start();
    AddPairs(20); // frame_num wraps once, poc_lsb twice
    Start();
    AddPairs(3);
    m_In.ExpectAsFfmpeg();
}

TEST_P(OrderCounts, GoOnBehindAGapInFrameNum)
{
    Start();
    AddPairs(2);
    for (const uint32_t Gap : {1u, 3u, 9u}) { // the second and third go beyond a wrap
        m_FrameNum += Gap;
        for (int i = 0; i < 3; ++i) m_In.Intra(Next(true)); // nothing of the gap is left to refer to
        AddPairs(3);
    }
    m_In.ExpectAsFfmpeg();
}

TEST_P(OrderCounts, BeginAnewAtAMemoryReset)
{
    Start();
    AddPairs(2);
    for (int Times = 0; Times < 2; ++Times) {
        Slice s = Next(true);
        s.marking = {{5}};
        m_In.P(s);
        m_FrameNum = 1; // the picture counts as frame 0
        m_Lsb = 4;
        // ffmpeg leaves the picture's own count as it was: nothing refers to it.
        for (int i = 0; i < 2; ++i) m_In.Intra(Next(true));
        AddPairs(3);
    }
    m_In.ExpectAsFfmpeg();
}

INSTANTIATE_TEST_SUITE_P(Types, OrderCounts,
                         testing::Values(OrderCase{"Lsb", 0, false}, OrderCase{"LsbAndBottom", 0, true},
                                         OrderCase{"Cycle", 1, false}, OrderCase{"CycleAndBottom", 1, true},
                                         OrderCase{"FrameNum", 2, false}),
                         [](const auto& Info) { return Info.param.Name; });

TEST(MemoryReset, LeavesItsPictureWithTheDifferenceOfItsFields)
{
    const SeqParamSet Seq{.profile_idc = 77, .log2_max_poc_lsb = 4};
    const PicParamSet Pic{.pic_order_present = true, .weighted_bipred_idc = 2};
    Slice Reset{.frame_num = 1, .poc_lsb = 12, .delta_poc_bottom = -2};
    Reset.marking = {{5}}; // its counts are 2 and 0 from now on, and 2 is what poc_lsb goes on from
    const Slice Ahead{.frame_num = 1, .poc_lsb = 10};
    Slice b{.nal_ref_idc = 0, .slice_type = 6, .frame_num = 2, .poc_lsb = 4};
    MacroblockWriter Writer(Seq, Pic, b);
    Writer.Put({.mb_type = 3});
    const Bytes Stream = Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, {.nal_unit_type = 5}, 20) +
                         PcmSlice(Seq, Pic, Reset, 40) + PcmSlice(Seq, Pic, Ahead, 200) + Writer.Finish();
    // Distances 4 of 10: DistScaleFactor is 4 * 1638 + 32 >> 6 = 102, the weights are 39 and 25.
    EXPECT_EQ(DecodeValues(Stream), (std::vector<int>{20, 40, (40 * 39 + 200 * 25 + 32) >> 6, 200}));
}

// The frames of a gap have counts like coded ones of their numbers (clause 8.2.5.2); poc_lsb gives them none, and they
// keep the one before. Frames 0 and 1, 2 and 3 made up in grey, 4, and a B picture of frames 2 and 4 behind them.
TEST(GapFrames, AreWeightedByTheirOrderCounts)
{
    // Distances 12 and 8 of counts 8, 16, 20 give 96 for the weight of frame 4; 5 and 4 of counts 4, 8, 9 give 80.
    const int ByEight = (128 * -32 + 200 * 96 + 32) >> 6, ByFour = (128 * -16 + 200 * 80 + 32) >> 6;
    for (const auto& [Type, Expected] : {std::pair{0u, ByEight}, {1u, ByEight}, {2u, ByFour}}) {
        SCOPED_TRACE(Type);
        const SeqParamSet Seq{.profile_idc = 77,
                              .poc_type = Type,
                              .offset_for_ref_frame = {4},
                              .offset_for_non_ref_pic = 4,
                              .num_ref_frames = 4,
                              .gaps_allowed = true};
        const PicParamSet Pic{.weighted_bipred_idc = 2};
        Slice b = Numbered(5, 20, 0);
        b.slice_type = 6;
        b.reordering[0] = {{0, 2}};
        b.reordering[1] = {{0, 0}};
        MacroblockWriter Writer(Seq, Pic, b);
        Writer.Put({.mb_type = 3});
        EXPECT_EQ(DecodeValues(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, {.nal_unit_type = 5}, 10) +
                               PcmSlice(Seq, Pic, Numbered(1, 8), 20) + PcmSlice(Seq, Pic, Numbered(4, 16), 200) +
                               Writer.Finish()),
                  (std::vector<int>{10, 20, 200, Expected}));
    }
}

TEST(ResetDecoder, CountsAnewFromAPictureThatIsNoIdrPicture)
{
    const SeqParamSet Seq{.profile_idc = 77, .log2_max_poc_lsb = 8, .vui = ReorderVui(1, 4)};
    const PicParamSet Pic;
    std::vector<int> Values;
    tools::StreamDecoder Decoder([&](const UMC::VideoData& p) { Values.push_back(SamplesOf(p).front()); }, 1, false);
    Decoder.Feed(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, {.nal_unit_type = 5}, 10) +
                 PcmSlice(Seq, Pic, Numbered(1, 100), 20) + PcmSlice(Seq, Pic, Numbered(2, 200), 30));
    Decoder.Drain();
    ASSERT_EQ(Decoder.Decoder().Reset(), UMC::StatusOk);
    Values.clear();
    // Behind 200 the second one's 60 would be 316.
    Decoder.Feed(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, Numbered(3, 100, 0), 40) +
                 PcmSlice(Seq, Pic, Numbered(3, 60), 50));
    Decoder.Drain();
    EXPECT_EQ(Values, (std::vector<int>{50, 40}));
}

} // namespace
