// Frames as a limited store: how many there are, what a picture does that finds none free, and what the client's wish
// for speed leaves out.
#include "decoder/session/task_supplier.h"
#include "decoder/stream/seq_info.h"
#include "media/umc_default_memory_allocator.h"
#include "process/video_processing.h"
#include "tests/support/decode_helper.h"

#include <gmock/gmock.h>

namespace {

using namespace UMC;
using test::Bytes;
using test::CopySlice;
using test::PcmSlice;
using test::PicParamSet;
using test::SeqParamSet;
using test::SkipSlice;
using test::Slice;
using test::operator+;
using test::operator+=;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

const Bytes kDelimiter = test::NalUnit(0, 9, {0x10});

Slice At(uint32_t FrameNum, uint32_t PocLsb, uint32_t RefIdc = 1)
{
    return {.nal_ref_idc = RefIdc, .frame_num = FrameNum & 15, .poc_lsb = PocLsb & 255};
}
Slice Idr(uint32_t Id = 0) { return {.nal_unit_type = 5, .idr_pic_id = Id}; }

// A supplier on its own: input stays until it is taken, output only when it is asked for.
class Supplied : public testing::Test
{
protected:
    explicit Supplied(int32_t Threads = 1, uint32_t (*pProcessorCount)() = os_processor_count)
        : m_Threads(Threads), m_Supplier(&m_Shown, &m_pConverter, &m_Allocator, pProcessorCount)
    {
    }
    void SetUp() override
    {
        VideoDecoderParams Params;
        Params.m_NumThreads = m_Threads;
        ASSERT_EQ(m_Supplier.Init(Params), StatusOk);
        ASSERT_EQ(m_Out.Init(16, 16, YUV420, 8), StatusOk);
        ASSERT_EQ(m_Out.Alloc(), StatusOk);
        m_Out.SetDataSize(0);
    }
    // Consumes until the supplier wants nothing more before its output is taken. Bytes left over stay in front.
    void Give(const Bytes& More)
    {
        m_Data.erase(m_Data.begin(), m_Data.end() - static_cast<ptrdiff_t>(m_In.GetDataSize()));
        m_Data += More;
        m_In.SetBufferPointer(m_Data.data(), m_Data.size());
        m_In.SetDataSize(m_Data.size());
        while (m_Supplier.ConsumeSource(&m_In, &m_Out) != StatusOk &&
               (m_In.GetDataSize() > 4 || m_Supplier.HasKeptUnit()))
            m_MostFrames = std::max(m_MostFrames, m_Supplier.Dpb()->CountAll());
        m_MostFrames = std::max(m_MostFrames, m_Supplier.Dpb()->CountAll());
    }
    // Takes pictures as long as some leave; their values, -2 for one that was skipped.
    std::vector<int> Take()
    {
        std::vector<int> Values;
        for (;;) {
            if (m_Out.GetDataSize() == 0) m_Supplier.DeliverFrame(&m_Out, false);
            if (m_Out.GetDataSize() == 0) return Values;
            Values.push_back(m_Out.GetDataSize() == 1 ? -2 : m_Out.Plane(0)[0]);
            m_Out.SetDataSize(0);
            Give({});
        }
    }

    const int32_t m_Threads;
    DefaultMemoryAllocator m_Allocator;
    VideoData m_Shown;
    VideoProcessing m_Processing;
    BaseCodec* m_pConverter = &m_Processing;
    TaskSupplier m_Supplier;
    Bytes m_Data;
    MediaData m_In;
    VideoData m_Out;
    int32_t m_MostFrames = 0;
};

// Level 1 keeps four pictures of this size.
constexpr SeqParamSet kFourFrames{.level_idc = 10, .num_ref_frames = 4, .width_mbs = 11, .height_map_units = 9};
constexpr int kMbs = 99;

} // namespace

TEST_F(Supplied, SevenFramesServeABufferOfFour)
{
    const PicParamSet Pic;
    Give(Write(kFourFrames) + Write(Pic) + PcmSlice(kFourFrames, Pic, Idr(), 0, kMbs));
    EXPECT_EQ(m_Supplier.DpbSize(), 4);
    std::vector<int> Expected{0};
    for (uint32_t i = 1; i < 40; ++i) {
        Give(PcmSlice(kFourFrames, Pic, At(i, 2 * i), static_cast<uint8_t>(i), kMbs));
        Expected.push_back(static_cast<int>(i));
    }
    Give(kDelimiter);
    EXPECT_EQ(m_MostFrames, 7);
    EXPECT_THAT(Take(), ElementsAreArray(Expected));
    EXPECT_EQ(m_MostFrames, 7);
}

TEST_F(Supplied, AStreamThatKeepsMoreReferencesThanItsLevelHoldsGetsTheirFrames)
{
    SeqParamSet Seq = kFourFrames;
    Seq.num_ref_frames = 9;
    const PicParamSet Pic;
    Give(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, Idr(), 0, kMbs));
    for (uint32_t i = 1; i < 30; ++i) Give(PcmSlice(Seq, Pic, At(i, 2 * i), static_cast<uint8_t>(i), kMbs));
    Give(kDelimiter);
    EXPECT_EQ(Take().size(), 30u);
    EXPECT_EQ(m_MostFrames, 12);
}

namespace {

// A thread count of 0 on a machine of 64 processors: a picture for each of them waits before decoding begins.
class SuppliedByManyProcessors : public Supplied
{
protected:
    SuppliedByManyProcessors() : Supplied(0, [] { return 64u; }) {}
};

} // namespace

TEST_F(SuppliedByManyProcessors, EveryFrameHasAnIndexAndNoPictureIsLost)
{
    VideoDecoderParams Info;
    const SeqParamSet Seq{.num_ref_frames = 16};
    const PicParamSet Pic;
    Give(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, Idr(), 0));
    ASSERT_EQ(m_Supplier.GetInfo(Info), StatusOk);
    ASSERT_EQ(Info.m_NumThreads, 64);
    std::vector<int> Shown, Expected{0};
    for (uint32_t i = 1; i < 100; ++i) {
        Give(PcmSlice(Seq, Pic, At(i, 2 * i), static_cast<uint8_t>(i)));
        for (const H264DecoderFrame* p = m_Supplier.Dpb()->Head(); p; p = p->m_pNext) ASSERT_GE(p->m_Index, 0) << i;
        Expected.push_back(static_cast<int>(i));
        if (i % 40 == 0)
            for (const int Value : Take()) Shown.push_back(Value);
    }
    EXPECT_EQ(m_MostFrames, kMaxFrames);
    for (const int Value : Take()) Shown.push_back(Value);
    m_Supplier.ConsumeSource(nullptr, nullptr); // the end: what waits for more pictures is decoded
    for (const int Value : Take()) Shown.push_back(Value);
    EXPECT_THAT(Shown, ElementsAreArray(Expected));
}

TEST_F(Supplied, OutputThatIsTakenIsNeverOverwritten)
{
    const SeqParamSet Seq;
    const PicParamSet Pic;
    Give(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, Idr(), 10) + kDelimiter);
    ASSERT_EQ(m_Out.GetDataSize(), 0u) << "the picture was decoded behind the attempt to deliver";
    Give(PcmSlice(Seq, Pic, At(1, 2), 20) + kDelimiter);
    ASSERT_NE(m_Out.GetDataSize(), 0u);
    Give(PcmSlice(Seq, Pic, At(2, 4), 30) + kDelimiter);
    EXPECT_EQ(m_Out.Plane(0)[0], 10);
    EXPECT_THAT(Take(), ElementsAre(10, 20, 30));
}

TEST_F(Supplied, APictureBehindAGapWaitsForAFrame)
{
    SeqParamSet Seq = kFourFrames;
    Seq.gaps_allowed = true;
    const PicParamSet Pic{.num_ref_idx = {4, 1}};
    Give(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, Idr(), 10, kMbs));
    for (uint32_t i = 1; i < 7; ++i) // all frames wait to be shown when the gap comes
        Give(PcmSlice(Seq, Pic, At(i, 2 * i), static_cast<uint8_t>(10 + i), kMbs));
    Give(CopySlice(Seq, Pic, At(9, 18), 2, kMbs)); // behind the two of the gap
    Give(PcmSlice(Seq, Pic, At(10, 20), 22, kMbs) + kDelimiter);
    EXPECT_LE(m_MostFrames, 7);
    EXPECT_THAT(Take(), ElementsAre(10, 11, 12, 13, 14, 15, 16, 16, 22));
}

TEST_F(Supplied, GapsInEveryPictureLoseNone)
{
    SeqParamSet Seq = kFourFrames;
    Seq.gaps_allowed = true;
    const PicParamSet Pic{.num_ref_idx = {4, 1}};
    Give(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, Idr(), 0, kMbs));
    std::vector<int> Shown, Expected{0};
    for (uint32_t i = 1; i < 40; ++i) {
        Give(PcmSlice(Seq, Pic, At(7 * i, 2 * i), static_cast<uint8_t>(i), kMbs));
        Expected.push_back(static_cast<int>(i));
        if (i % 5 == 0)
            for (const int Value : Take()) Shown.push_back(Value);
    }
    Give(kDelimiter);
    for (const int Value : Take()) Shown.push_back(Value);
    EXPECT_THAT(Shown, ElementsAreArray(Expected));
    EXPECT_LE(m_MostFrames, 7);
}

TEST_F(Supplied, AnIdrPictureTakesTheRoomOfReferencesWithoutEnd)
{
    SeqParamSet Seq = kFourFrames;
    Seq.num_ref_frames = 1;
    const PicParamSet Pic;
    Give(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, Idr(), 0, kMbs));
    std::vector<int> Shown;
    for (uint32_t i = 1; i < 7; ++i) { // every one of the seven frames becomes a long-term picture
        Slice s = At(i, 2 * i);
        s.marking = {{4, 31}, {6, i}};
        Give(PcmSlice(Seq, Pic, s, static_cast<uint8_t>(i), kMbs));
        for (const int Value : Take()) Shown.push_back(Value);
    }
    Give(PcmSlice(Seq, Pic, Idr(1), 77, kMbs) + kDelimiter);
    for (const int Value : Take()) Shown.push_back(Value);
    EXPECT_THAT(Shown, ElementsAre(0, 1, 2, 3, 4, 5, 6, 77));
}

TEST_F(Supplied, APictureShownLastIsForgottenWithItsFrame)
{
    const SeqParamSet Seq, Wider{.width_mbs = 2};
    const PicParamSet Pic;
    Give(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, Idr(), 10) + kDelimiter);
    ASSERT_THAT(Take(), ElementsAre(10));
    ASSERT_EQ(m_Shown.Plane(0)[0], 10);
    Give(Write(Wider) + Write(Pic) + PcmSlice(Wider, Pic, Idr(1), 20, 2) + PcmSlice(Wider, Pic, At(1, 2), 30, 2));
    EXPECT_EQ(m_Shown.GetPlaneCount(), 0) << "frames of the old size have gone back";
    Give(kDelimiter);
    EXPECT_THAT(Take(), ElementsAre(20, 30));
    EXPECT_EQ(m_Shown.GetWidth(), 32);
}

TEST_F(Supplied, ResetForgetsThePicturesInHand)
{
    const SeqParamSet Seq;
    const PicParamSet Pic;
    Give(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, Idr(), 10) + kDelimiter);
    ASSERT_TRUE(m_Supplier.DeliverFrame(&m_Out, false));
    ASSERT_TRUE(m_Supplier.LastDisplayed());
    Give(PcmSlice(Seq, Pic, At(1, 2), 20) + PcmSlice(Seq, Pic, At(2, 4), 30)); // the last one is begun
    ASSERT_TRUE(m_Supplier.LastDisplayed());
    m_Supplier.Reset();
    EXPECT_FALSE(m_Supplier.LastDisplayed());
    for (const H264DecoderFrame* p = m_Supplier.Dpb()->Head(); p; p = p->m_pNext)
        EXPECT_TRUE(H264DBPList::IsDisposable(*p));
    m_Out.SetDataSize(0);
    Give(PcmSlice(Seq, Pic, Idr(1), 40) + kDelimiter);
    EXPECT_THAT(Take(), ElementsAre(40));
}

TEST_F(Supplied, ForcedOutputDoesNotPassAPictureInWork)
{
    const SeqParamSet Seq{.profile_idc = 77};
    const PicParamSet Pic;
    Give(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, Idr(), 10) + PcmSlice(Seq, Pic, At(1, 8), 30) +
         PcmSlice(Seq, Pic, At(2, 4, 0), 20)); // the picture of count 4 is being filled
    EXPECT_THAT(Take(), ElementsAre(10));
    EXPECT_FALSE(m_Supplier.DeliverFrame(&m_Out, true));
    EXPECT_FALSE(m_Supplier.DeliverFrame(nullptr, true));
    Give(kDelimiter);
    EXPECT_TRUE(m_Supplier.DeliverFrame(&m_Out, true));
    EXPECT_THAT(Take(), ElementsAre(20, 30));
}

TEST_F(Supplied, APictureParameterSetMayChangeBetweenTwoSlices)
{
    const SeqParamSet Seq{.width_mbs = 2};
    const PicParamSet Pic, Changed{.pic_init_qp = 30};
    Slice Right = Idr();
    Right.first_mb = 1;
    Give(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, Idr(), 10) + Write(Changed) + PcmSlice(Seq, Changed, Right, 20) +
         kDelimiter);
    ASSERT_THAT(Take(), ElementsAre(10)) << "one whole picture";
    EXPECT_EQ(m_Out.Plane(0)[15], 20);
}

TEST_F(Supplied, ASequenceParameterSetThatChangesEndsThePicture)
{
    const SeqParamSet Seq{.width_mbs = 2}, Wider{.width_mbs = 3};
    const PicParamSet Pic;
    Slice Right = Idr();
    Right.first_mb = 1;
    Give(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, Idr(), 10) + Write(Wider) + PcmSlice(Wider, Pic, Right, 20, 2) +
         PcmSlice(Wider, Pic, Idr(1), 30, 3) + kDelimiter);
    EXPECT_THAT(Take(), ElementsAre(30)) << "neither half is a picture";
}

// ---- Speed -----------------------------------------------------------------------------------------------------

namespace {

// Which of 24 non-reference pictures behind an IDR picture are decoded at a speed: a letter each, s for skipped.
class Speeds : public Supplied
{
protected:
    std::string Pattern(int32_t Speed)
    {
        const SeqParamSet Seq;
        const PicParamSet Pic;
        int32_t Step = Speed;
        m_Supplier.ChangeVideoDecodingSpeed(Step);
        EXPECT_EQ(Step, Speed);
        Give(Write(Seq) + Write(Pic) + PcmSlice(Seq, Pic, Idr(), 10) + kDelimiter);
        std::string Text;
        for (uint32_t i = 1; i <= 12; ++i) {
            Give(PcmSlice(Seq, Pic, At(1, 2 * i, 0), 20) + kDelimiter);
            for (const int Value : Take()) Text += Value == -2 ? 's' : Value == 20 ? '.' : 'I';
        }
        return Text;
    }
};

} // namespace

TEST_F(Speeds, EachLeavesOutItsShareOfThePicturesNobodyRefersTo)
{
    const char* const kPattern[] = {"I............", "Is...s...s...", "Is..s..s..s..", "Is.s.s.s.s.s.",
                                    "Is.ss.ss.ss.s", "Is.ss.ss.ss.s", "Issssssssssss", "Issssssssssss"};
    for (int32_t Speed = 0; Speed < 8; ++Speed) {
        VideoDecoderParams Params;
        Params.m_NumThreads = 1;
        ASSERT_EQ(m_Supplier.Init(Params), StatusOk);
        SCOPED_TRACE(Speed);
        int32_t Back = -7;
        m_Supplier.ChangeVideoDecodingSpeed(Back);
        EXPECT_EQ(Back, 0);
        EXPECT_EQ(Pattern(Speed), kPattern[Speed]);
        const std::string Expected = kPattern[Speed];
        EXPECT_EQ(m_Supplier.GetSkipInfo().IsDeblockingReduced, Speed == 5 || Speed == 7);
        EXPECT_EQ(m_Supplier.GetSkipInfo().SkippedFrames, std::count(Expected.begin(), Expected.end(), 's'));
        for (const H264DecoderFrame* p = m_Supplier.Dpb()->Head(); p; p = p->m_pNext)
            EXPECT_TRUE(!p->m_IsSkipped || H264DBPList::IsDisposable(*p));
    }
}
