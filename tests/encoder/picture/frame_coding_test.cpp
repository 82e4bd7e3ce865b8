// Further attempts at a picture that did not fit, coarser by a step each.
#include "tests/encoder/stream_check.h"

#include <gtest/gtest.h>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;
using UMC::H264EncoderParams;

constexpr int32_t kSide = 64, kQp = 20;

struct FormCase {
    const char* Title;
    void (*pSet)(H264EncoderParams&);
};
void PrintTo(const FormCase& c, std::ostream* pOut) { *pOut << c.Title; }

H264EncoderParams Tried(int32_t AnalysisLevel)
{
    H264EncoderParams p = SizedParams(kSide, kSide);
    p.analysis_level = AnalysisLevel; // from 2 on there are further attempts
    p.m_Info.m_Bitrate = 400000;
    p.num_ref_frames = 2;
    return p;
}

// Codes the pictures of a clip up to one, which is coded from a QP on and with so much room, and all that follow.
class Attempts
{
public:
    Attempts(const H264EncoderParams& p, size_t Which, int32_t Qp, size_t Room = SIZE_MAX) : d(p)
    {
        const std::vector<Picture> Clip = MakeClip(Scene::Mixed, kSide, kSide, 5);
        for (size_t i = 0; i < Clip.size(); ++i) {
            if (i == Which) d.pCore->Sequence.Rate.SetQP(FRAME_P, Qp);
            const size_t Before = d.Stream.size();
            const UMC::Status s = d.Encode(Clip[i], 0, i == Which ? Room : SIZE_MAX);
            if (i != Which) {
                EXPECT_EQ(s, UMC::StatusOk);
                continue;
            }
            Status = s;
            Size = d.Stream.size() - Before;
            QpBehind = d.pCore->Sequence.Rate.GetQP(FRAME_P);
        }
        d.FlushAll();
    }

    CoreDriver<uint8_t> d;
    UMC::Status Status = UMC::StatusOk;
    size_t Size = 0;
    int32_t QpBehind = 0;
};

class FurtherAttemptsAt : public testing::TestWithParam<FormCase>
{
};

// As if the picture had been coded at the first QP that fits, and nothing before.
TEST_P(FurtherAttemptsAt, LeaveNothingButTheOneThatFits)
{
    H264EncoderParams p = Tried(2);
    GetParam().pSet(p);
    for (const size_t Which : {size_t{0}, size_t{3}}) {
        const size_t Room = Attempts(p, Which, kQp + 4).Size + 8; // so much is asked for beyond what is written
        int32_t Fits = kQp;
        while (Attempts(p, Which, Fits, Room).Size != Attempts(p, Which, Fits).Size) ++Fits;
        ASSERT_GT(Fits, kQp + 1) << Which;
        const Attempts Wanted(p, Which, Fits), Got(p, Which, kQp, Room);
        EXPECT_EQ(Got.Status, UMC::StatusOk) << Which;
        EXPECT_TRUE(Got.d.Stream == Wanted.d.Stream) << Which;
        EXPECT_TRUE(Got.d.Reconstruction == Wanted.d.Reconstruction) << Which;
        ExpectDecodesToReconstruction(Got.d);
    }
}

const FormCase kForms[]{{"Frames", [](H264EncoderParams&) {}},
                        {"Slices", [](H264EncoderParams& p) { p.num_slices = 3; }},
                        {"ShortWindows", [](H264EncoderParams& p) { p.rate_control_method = 1; }},
                        {"Fields", [](H264EncoderParams& p) { p.coding_type = 1; }},
                        {"Pairs", [](H264EncoderParams& p) { p.coding_type = 2; }}};
INSTANTIATE_TEST_SUITE_P(Forms, FurtherAttemptsAt, testing::ValuesIn(kForms));

TEST(FurtherAttempts, EndAtTheCoarsestQp)
{
    const H264EncoderParams p = Tried(2);
    const size_t Coarsest = Attempts(p, 0, 51).Size + 8;
    EXPECT_EQ(Attempts(p, 0, kQp, Coarsest).Status, UMC::StatusOk);
    const Attempts Lost(p, 0, kQp, 60);
    EXPECT_EQ(Lost.Status, UMC::StatusNotEnoughBuffer);
    EXPECT_EQ(Lost.QpBehind, kQp); // as if they had not been
    EXPECT_EQ(Lost.d.Reconstruction.size(), 4u);
    ExpectDecodesToReconstruction(Lost.d);
}

TEST(FurtherAttempts, AreMadeWithTrialsAndWithARateAlone)
{
    H264EncoderParams p = Tried(1);
    const size_t Room = Attempts(p, 0, kQp).Size - 1;
    EXPECT_EQ(Attempts(p, 0, kQp, Room).Status, UMC::StatusNotEnoughBuffer);
    p = Tried(2);
    p.rate_control_method = 3;
    EXPECT_EQ(Attempts(p, 0, kQp, Attempts(p, 0, kQp).Size - 1).Status, UMC::StatusNotEnoughBuffer);
    p = Tried(2);
    p.entropy_coding_mode = 0; // in which there are no trials
    EXPECT_EQ(Attempts(p, 0, kQp, Attempts(p, 0, kQp).Size - 1).Status, UMC::StatusNotEnoughBuffer);
}

// A slice that outgrows its buffer asks for one as well, and no key picture has to follow.
TEST(FurtherAttempts, AreMadeOfASliceThatOutgrewItsBuffer)
{
    const std::vector<Picture> Clip = MakeClip(Scene::Mixed, kSide, kSide, 2);
    for (const bool HasTrials : {false, true}) {
        CoreDriver<uint8_t> d(Tried(HasTrials ? 2 : 1));
        d.pCore->Sequence.Rate.SetQP(FRAME_I, kQp);
        auto& Writer = d.pCore->Job.Slices[0].bitstream;
        Writer.SetBuffer(d.pCore->Job.SliceBuffers.get(), Attempts(Tried(2), 0, kQp + 3).Size);
        ASSERT_EQ(d.Encode(Clip[0]), UMC::StatusOk);
        EXPECT_EQ(d.pCore->Sequence.make_key_next, !HasTrials);
        EXPECT_EQ(d.pLast->mb_global[0].Qp > kQp, HasTrials);
        if (HasTrials) ExpectDecodesToReconstruction(d);
    }
}

TEST(FurtherAttempts, AtASliceThatOutgrowsItsBufferAtAnyQpLoseThePicture)
{
    const std::vector<Picture> Clip = MakeClip(Scene::Mixed, kSide, kSide, 2);
    CoreDriver<uint8_t> d(Tried(2));
    const int32_t First = d.pCore->Sequence.Rate.GetQP(FRAME_I);
    auto& Writer = d.pCore->Job.Slices[0].bitstream;
    const size_t Size = Writer.BufferSize();
    Writer.SetBuffer(d.pCore->Job.SliceBuffers.get(), 20);
    EXPECT_EQ(d.Encode(Clip[0]), UMC::StatusNotEnoughBuffer);
    EXPECT_EQ(d.pCore->Sequence.Rate.GetQP(FRAME_I), First);
    Writer.SetBuffer(d.pCore->Job.SliceBuffers.get(), Size);
    EXPECT_EQ(d.Encode(Clip[1]), UMC::StatusOk);
    EXPECT_EQ(d.Order(), "Kb");
}

} // namespace
