// Slices in variable length codes, which no setting of a client reaches yet: the core is told to write them.
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"
#include "tests/support/decode_helper.h"
#include "tests/support/ffmpeg_oracle.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

// Codes a clip in variable length codes and has it decoded.
class CavlcClip : public testing::Test
{
protected:
    static constexpr int32_t kWidth = 112, kHeight = 80;

    static UMC::H264EncoderParams AtQp(int32_t Qp)
    {
        UMC::H264EncoderParams p = SizedParams(kWidth, kHeight);
        p.rate_control_method = 3;
        p.quant_i = p.quant_p = static_cast<uint8_t>(Qp);
        return p;
    }
    void Encode(const UMC::H264EncoderParams& p, std::vector<Picture> Clip)
    {
        ASSERT_EQ(InitCore(c, p, &m_Allocator), UMC::StatusOk);
        c.Settings.Params.entropy_coding_mode = 0;
        for (Picture& Source : Clip) EncodePicture(Source);
        ASSERT_FALSE(c.Sequence.Pps.entropy_coding_mode_flag);
    }
    void ExpectDecoded() const
    {
        std::vector<uint8_t> Ours;
        for (const auto& Decoded : test::DecodeAll(m_Stream)) Ours.insert(Ours.end(), Decoded.begin(), Decoded.end());
        EXPECT_TRUE(Ours == m_Reconstruction) << "our decoder";
        if (!ffmpeg_oracle::IsInstalled()) return;
        const ffmpeg_oracle::Decoded Theirs = ffmpeg_oracle::Decode(m_Stream);
        EXPECT_EQ(Theirs.Messages, "");
        EXPECT_TRUE(Theirs.Pictures == m_Reconstruction) << "ffmpeg";
    }

    UMC::DefaultMemoryAllocator m_Allocator;
    EncoderCore<uint8_t> c;

private:
    void EncodePicture(Picture& Source)
    {
        UMC::VideoData Input;
        Input.Init(kWidth, kHeight, UMC::YUV420, 8);
        Input.SetBufferPointer(Source.data(), Source.size());
        UMC::MediaData Output(1 << 20);
        ASSERT_EQ(FrameStep(c, &Input, &Output), UMC::StatusOk);
        const auto* const pData = static_cast<const uint8_t*>(Output.GetDataPointer());
        m_Stream.insert(m_Stream.end(), pData, pData + Output.GetDataSize());
        Append(c.Job.pCurrent->m_pY, kWidth, kHeight);
        Append(c.Job.pCurrent->m_pU, kWidth / 2, kHeight / 2);
        Append(c.Job.pCurrent->m_pV, kWidth / 2, kHeight / 2);
    }
    void Append(const uint8_t* pPlane, int32_t Width, int32_t Height)
    {
        for (int32_t y = 0; y < Height; ++y, pPlane += c.Job.pCurrent->m_Pitch)
            m_Reconstruction.insert(m_Reconstruction.end(), pPlane, pPlane + Width);
    }

    std::vector<uint8_t> m_Stream, m_Reconstruction;
};

// Macroblocks of black and white by turns: luma DC levels of Intra 16x16 far beyond level_prefix 15, which the High
// profile allows.
TEST_F(CavlcClip, LevelsBeyondTheLongestPrefixOfTheMainProfile)
{
    UMC::H264EncoderParams p = AtQp(0);
    p.profile_idc = 100;
    Picture Board(kWidth * kHeight * 3 / 2, 128);
    for (int32_t i = 0; i < kWidth * kHeight; ++i)
        Board[static_cast<size_t>(i)] = (i % kWidth / 16 + i / kWidth / 16) % 2 ? 255 : 0;
    Encode(p, {Board, Board});
    ExpectDecoded();
}

struct CavlcCase {
    const char* Title;
    Scene What;
    int32_t Qp;
    std::function<void(UMC::H264EncoderParams&)> Set = {};
};
void PrintTo(const CavlcCase& c, std::ostream* pOut) { *pOut << c.Title << " at QP " << c.Qp; }

class CavlcSlices : public CavlcClip, public testing::WithParamInterface<CavlcCase>
{
};
TEST_P(CavlcSlices, DecodeToTheReconstruction)
{
    UMC::H264EncoderParams p = AtQp(GetParam().Qp);
    if (GetParam().Set) GetParam().Set(p);
    Encode(p, MakeClip(GetParam().What, kWidth, kHeight, 6));
    ExpectDecoded();
}

INSTANTIATE_TEST_SUITE_P(
    Contents, CavlcSlices,
    testing::Values(CavlcCase{"pan", Scene::Pan, 28}, CavlcCase{"many levels", Scene::Noise, 14},
                    CavlcCase{"the largest levels", Scene::Noise, 0}, CavlcCase{"few levels", Scene::Noise, 51},
                    CavlcCase{"runs of skips", Scene::Still, 34}, CavlcCase{"intra in P", Scene::Cut, 26},
                    CavlcCase{"three slices", Scene::Mixed, 24, [](auto& p) { p.num_slices = 3; }},
                    CavlcCase{"slice ends in skips", Scene::Still, 36, [](auto& p) { p.num_slices = 5; }},
                    CavlcCase{"two references", Scene::Turns, 26, [](auto& p) { p.num_ref_frames = 2; }},
                    CavlcCase{"three references", Scene::Turns, 22, [](auto& p) { p.num_ref_frames = 3; }},
                    CavlcCase{"High profile", Scene::Pan, 20, [](auto& p) { p.profile_idc = 100; }}));

} // namespace
