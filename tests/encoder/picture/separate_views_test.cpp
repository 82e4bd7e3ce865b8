// Source and reconstruction are two views: pictures coded beside their source make the stream of those coded in place.
#include "encoder/picture/picture_loop.h"
#include "encoder/picture/reference_lists.h"
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

using Frame = H264EncoderFrame<uint8_t>;

// Whole macroblocks: beyond a smaller picture lies what a frame held before, and the two coders reuse theirs
// differently.
constexpr int32_t kWidth = 96, kHeight = 80;

// Whole macroblocks of a picture's three planes.
std::vector<uint8_t> SamplesOf(const Frame& f, const FrameLayout& l)
{
    std::vector<uint8_t> Samples;
    for (const uint8_t* const p : {f.m_pY, f.m_pU, f.m_pV}) {
        const int32_t Shift = p == f.m_pY ? 0 : 1;
        for (int32_t y = 0; y < l.AlignedHeight >> Shift; ++y)
            Samples.insert(Samples.end(), p + y * f.m_Pitch, p + y * f.m_Pitch + (l.AlignedWidth >> Shift));
    }
    return Samples;
}

// Codes pictures whose source lies apart, in planes of another pitch; what the reconstruction's memory holds before is
// 0x5A throughout.
class ApartCoder
{
public:
    explicit ApartCoder(const UMC::H264EncoderParams& Params)
    {
        EXPECT_EQ(InitCore(m_Core, Params, &m_Allocator), UMC::StatusOk);
    }

    /// @param Dropped  attempts that are made first and not committed
    void Code(UMC::VideoData& Input, bool bIdr, int32_t FrameNum, UMC::MediaData& Output, int Dropped = 0)
    {
        auto& q = m_Core.Sequence;
        const FrameLayout& l = m_Core.Settings.Layout;
        ASSERT_EQ(m_Source.Allocate(MakeLayout(kWidth + 64, kHeight, 1, 8, 8, true, false)), UMC::StatusOk);
        ASSERT_NE(m_Source.m_Pitch, l.Pitch);
        ASSERT_EQ(q.InputList.InsertFrame(Input, l, &m_Allocator, m_Core.Converter, m_pLast), UMC::StatusOk);
        MoveSamples();
        q.InputList.RemoveFrame(m_pLast);
        q.ReconstructionList.Append(m_pLast);
        m_pLast->frame_type = bIdr ? FRAME_I : FRAME_P;
        m_pLast->is_idr = bIdr;
        m_pLast->frame_num = FrameNum;
        m_pLast->poc[0] = 2 * FrameNum;
        m_pLast->poc[1] = 2 * FrameNum + 1;
        m_Core.Job.Begin(*m_pLast, {STRUCTURE_FRAME}, bIdr ? CLASS_IDR : CLASS_REFERENCE);
        m_Core.Job.KeepSourceIn(m_Source);
        const std::vector<uint8_t> Before = SamplesOf(m_Source, l);
        UpdateRefLists(q, *m_pLast);
        for (int i = 0; i < Dropped; ++i) Drop(i % 2 ? size_t{20} : SIZE_MAX);
        const PictureResult Result = Attempt(Output);
        ASSERT_EQ(Result.Status, UMC::StatusOk);
        Commit(Result, Output);
        EXPECT_EQ(SamplesOf(m_Source, l), Before);
    }
    std::vector<uint8_t> Reconstruction() const { return SamplesOf(*m_pLast, m_Core.Settings.Layout); }

private:
    PictureResult Attempt(UMC::MediaData& Output)
    {
        PictureResult Result = BeginResult(m_Core.Settings, m_Core.Sequence, m_Core.Job.picture_class, Output);
        EncodePicture(m_Core.Settings, m_Core.Sequence, m_Core.Job, Output, Result);
        return Result;
    }
    void Commit(const PictureResult& Result, UMC::MediaData& Output)
    {
        auto& q = m_Core.Sequence;
        Output.SetDataSize(Result.DataSize);
        q.Sps = Result.Sets.Sps;
        q.Pps = Result.Sets.Pps;
        q.idr_pic_id = Result.Sets.idr_pic_id;
        q.total_bits += Result.Bits;
        UpdateMarking(m_Core.Settings, m_Core.Job, q);
        q.Rate.PostFrame(m_pLast->frame_type, q.total_bits);
        ++q.frames_encoded;
    }
    // What lasts from picture to picture, byte by byte, with the marks and the numbers of all pictures.
    std::vector<uint8_t> State() const
    {
        std::vector<uint8_t> All;
        const auto Add = [&All](const auto& What) {
            const auto* const pBytes = reinterpret_cast<const uint8_t*>(&What);
            All.insert(All.end(), pBytes, pBytes + sizeof What);
        };
        const auto& q = m_Core.Sequence;
        Add(q);
        for (const auto* const pList : {&q.InputList, &q.ReconstructionList})
            for (const Frame* p = pList->Head(); p; p = p->next) {
                Add(p->is_reference), Add(p->is_long_term), Add(p->was_encoded);
                Add(p->frame_num), Add(p->frame_num_wrap), Add(p->pic_num), Add(p->long_term_pic_num), Add(p->poc);
            }
        return All;
    }
    // An attempt that comes to nothing.
    void Drop(size_t Room)
    {
        std::vector<uint8_t> Bytes(1 << 20);
        UMC::MediaData Output;
        Output.SetBufferPointer(Bytes.data(), std::min(Room, Bytes.size()));
        const std::vector<uint8_t> Before = State();
        const PictureResult Result = Attempt(Output);
        EXPECT_EQ(Result.Status, Room == SIZE_MAX ? UMC::StatusOk : UMC::StatusNotEnoughBuffer);
        EXPECT_EQ(Output.GetDataSize(), 0u);
        EXPECT_EQ(State(), Before);
    }
    void MoveSamples()
    {
        const FrameLayout& l = m_Core.Settings.Layout;
        uint8_t* const To[]{m_Source.m_pY, m_Source.m_pU, m_Source.m_pV};
        uint8_t* const From[]{m_pLast->m_pY, m_pLast->m_pU, m_pLast->m_pV};
        for (size_t Plane = 0; Plane < 3; ++Plane)
            for (int32_t y = 0; y < l.AlignedHeight >> (Plane ? 1 : 0); ++y) {
                uint8_t* const pRow = From[Plane] + y * l.Pitch;
                const int32_t Width = l.AlignedWidth >> (Plane ? 1 : 0);
                std::copy_n(pRow, Width, To[Plane] + y * m_Source.m_Pitch);
                std::fill_n(pRow, Width, uint8_t{0x5A});
            }
    }

    UMC::DefaultMemoryAllocator m_Allocator;
    Core8 m_Core;
    Frame m_Source{&m_Allocator};
    Frame* m_pLast = nullptr;
};

class SeparateViews : public testing::TestWithParam<Scene>
{
};

// The streams of pictures coded in place and of those coded from a source of their own, with dropped attempts ahead.
void ExpectSameStreams(Scene What, int Dropped)
{
    for (const int32_t Analysis : {0, 1}) {
        SCOPED_TRACE(Analysis);
        UMC::H264EncoderParams p = SizedParams(kWidth, kHeight);
        p.num_ref_frames = 2;
        p.num_slices = 2;
        p.analysis_level = Analysis;
        UMC::DefaultMemoryAllocator Allocator;
        Core8 InPlace;
        ASSERT_EQ(InitCore(InPlace, p, &Allocator), UMC::StatusOk);
        ApartCoder Apart(p);
        UMC::VideoData Input;
        Input.Init(kWidth, kHeight, UMC::YUV420, 8);
        std::vector<Picture> Clip = MakeClip(What, kWidth, kHeight, 4);
        for (size_t i = 0; i < Clip.size(); ++i) {
            SCOPED_TRACE(i);
            UMC::MediaData Wanted(1 << 20), Got(1 << 20);
            Input.SetBufferPointer(Clip[i].data(), Clip[i].size());
            ASSERT_EQ(FrameStep(InPlace, &Input, &Wanted), UMC::StatusOk);
            Apart.Code(Input, i == 0, static_cast<int32_t>(i), Got, Dropped);
            ASSERT_EQ(Got.GetDataSize(), Wanted.GetDataSize());
            const auto* const pGot = static_cast<const uint8_t*>(Got.GetDataPointer());
            EXPECT_TRUE(std::equal(pGot, pGot + Got.GetDataSize(), static_cast<uint8_t*>(Wanted.GetDataPointer())));
            EXPECT_EQ(Apart.Reconstruction(), SamplesOf(*InPlace.Job.pCurrent, InPlace.Settings.Layout));
        }
    }
}

TEST_P(SeparateViews, MakeTheStreamOfAPictureCodedInPlace) { ExpectSameStreams(GetParam(), 0); }

TEST_P(SeparateViews, LetAnAttemptThatIsNotCommittedLeaveNothing) { ExpectSameStreams(GetParam(), 3); }

INSTANTIATE_TEST_SUITE_P(Scenes, SeparateViews, testing::Values(Scene::Pan, Scene::Still, Scene::Cut, Scene::Mixed));

} // namespace
