// What becomes of a picture that comes to nothing: no output, a slice that outgrew its buffer, an output too small.
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/stream_check.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

constexpr int32_t kWidth = 96, kHeight = 80, kMacroblocks = 30;

class PictureLoop : public testing::Test
{
protected:
    void Start(const UMC::H264EncoderParams& p)
    {
        ASSERT_EQ(InitCore(c, p, &m_Allocator), UMC::StatusOk);
        m_Input.Init(kWidth, kHeight, UMC::YUV420, 8);
        m_Clip = MakeClip(Scene::Pan, kWidth, kHeight, 8);
    }
    UMC::Status Encode()
    {
        Picture& Source = m_Clip[m_Next++];
        m_Input.SetBufferPointer(Source.data(), Source.size());
        m_Output.Reset();
        return FrameStep(c, &m_Input, &m_Output);
    }

    UMC::DefaultMemoryAllocator m_Allocator;
    Core8 c;
    UMC::VideoData m_Input;
    UMC::MediaData m_Output{1 << 20};
    std::vector<Picture> m_Clip;
    size_t m_Next = 0;
};

TEST_F(PictureLoop, AnEmptyOutputMakesTheNextPictureAKeyPicture)
{
    Start(SizedParams(kWidth, kHeight));
    EXPECT_EQ(Encode(), UMC::StatusOk);
    EXPECT_EQ(Encode(), UMC::StatusOk);
    EXPECT_EQ(c.Job.pCurrent->frame_type, FRAME_P);
    const int32_t Coded = c.Sequence.frames_encoded, FrameNum = c.Sequence.frame_num;
    c.Settings.Params.num_slices = 0; // nothing to pack
    EXPECT_EQ(Encode(), UMC::StatusFailed);
    EXPECT_EQ(m_Output.GetDataSize(), 0u);
    EXPECT_EQ(c.Sequence.frames_encoded, Coded);
    EXPECT_EQ(c.Sequence.frame_num, FrameNum);
    EXPECT_EQ(c.Job.pCurrent->is_reference, 0); // no decoder has it
    c.Settings.Params.num_slices = 1;
    EXPECT_EQ(Encode(), UMC::StatusOk);
    EXPECT_EQ(c.Job.pCurrent->frame_type, FRAME_I);
    EXPECT_EQ(Encode(), UMC::StatusOk);
    EXPECT_EQ(c.Job.pCurrent->frame_type, FRAME_P);
}

TEST_F(PictureLoop, IdrPicturesAreNumberedModulo16)
{
    UMC::H264EncoderParams p = SizedParams(kWidth, kHeight);
    p.key_frame_interval = p.idr_interval = 1;
    Start(p);
    for (int32_t i = 0; i < 36; ++i) {
        m_Next = 0;
        EXPECT_EQ(Encode(), UMC::StatusOk);
        EXPECT_TRUE(c.Job.pCurrent->is_idr);
        EXPECT_EQ(c.Sequence.idr_pic_id, (i + 1) % 16);
    }
}

// The bits of the fallback are in no unit; the units packed before it stand, cut short.
TEST_F(PictureLoop, ASliceThatOutgrewItsBufferIsMadeUpForByAKeyPicture)
{
    for (const int32_t Type : {FRAME_I, FRAME_P})
        for (const bool bDelimiter : {false, true}) {
            SCOPED_TRACE(testing::Message() << Type << ' ' << bDelimiter);
            Core8 Fresh;
            UMC::H264EncoderParams p = SizedParams(kWidth, kHeight);
            p.rate_control_method = 3;
            p.quant_i = p.quant_p = 10;
            p.write_access_unit_delimiters = bDelimiter;
            ASSERT_EQ(InitCore(Fresh, p, &m_Allocator), UMC::StatusOk);
            m_Input.Init(kWidth, kHeight, UMC::YUV420, 8);
            auto Clip = MakeClip(Scene::Noise, kWidth, kHeight, 4);
            const auto Code = [&](size_t i) {
                m_Input.SetBufferPointer(Clip[i].data(), Clip[i].size());
                m_Output.Reset();
                EXPECT_EQ(FrameStep(Fresh, &m_Input, &m_Output), UMC::StatusOk);
            };
            size_t Next = 0;
            if (Type == FRAME_P) Code(Next++);
            auto& Writer = Fresh.Job.Slices[0].bitstream;
            const size_t Size = Writer.BufferSize();
            Writer.SetBuffer(Fresh.Job.SliceBuffers.get(), 300);
            Code(Next++);
            ASSERT_EQ(Fresh.Job.pCurrent->frame_type, Type);
            EXPECT_LT(Fresh.Job.Slices[0].Progress.mb_count, kMacroblocks);
            EXPECT_GT(m_Output.GetDataSize(), 300u);
            const int64_t Ahead = bDelimiter ? 8 : 0; // primary_pic_type and trailing bits
            EXPECT_EQ(Writer.Bits(), Ahead + kMacroblocks * (Type == FRAME_I ? 5 : 1));
            const uint8_t* const pBits = Fresh.Job.SliceBuffers.get() + Ahead / 8;
            EXPECT_EQ(pBits[0], Type == FRAME_I ? 0b10011100 : 0xFF);
            EXPECT_EQ(pBits[1], Type == FRAME_I ? 0b11100111 : 0xFF);
            if (bDelimiter) {
                EXPECT_EQ(Fresh.Job.SliceBuffers[0], Type == FRAME_I ? 0b00010000 : 0b00110000);
            }
            EXPECT_TRUE(Fresh.Sequence.make_key_next);
            Writer.SetBuffer(Fresh.Job.SliceBuffers.get(), Size);
            Code(Next++);
            EXPECT_EQ(Fresh.Job.pCurrent->frame_type, FRAME_I);
            EXPECT_EQ(Fresh.Job.Slices[0].Progress.mb_count, kMacroblocks);
        }
}

// There is room for one macroblock more behind the end of a buffer, or for a pair.
TEST(OutgrownSlice, EndsWithTheMacroblockThatOutgrowsIt)
{
    for (const int32_t CodingType : {0, 1, 2})
        for (const bool IsCabac : {false, true}) {
            SCOPED_TRACE(testing::Message() << CodingType << ' ' << IsCabac);
            UMC::H264EncoderParams p = SizedParams(kWidth, kHeight);
            p.coding_type = CodingType;
            p.entropy_coding_mode = IsCabac;
            p.rate_control_method = 3;
            p.quant_i = p.quant_p = 10;
            CoreDriver<uint8_t> d(p);
            auto& Writer = d.pCore->Job.Slices[0].bitstream;
            const size_t Size = Writer.BufferSize();
            Writer.SetBuffer(d.pCore->Job.SliceBuffers.get(), 300);
            const std::vector<Picture> Clip = MakeClip(Scene::Noise, kWidth, kHeight, 2);
            ASSERT_EQ(d.Encode(Clip[0]), UMC::StatusOk);
            EXPECT_LE(d.pCore->Job.Slices[0].Progress.mb_count, 2); // a macroblock of noise takes more than half of it
            EXPECT_TRUE(d.pCore->Sequence.make_key_next);
            Writer.SetBuffer(d.pCore->Job.SliceBuffers.get(), Size);
            ASSERT_EQ(d.Encode(Clip[1]), UMC::StatusOk);
            EXPECT_EQ(d.pLast->frame_type, FRAME_I);
            EXPECT_FALSE(d.pCore->Sequence.make_key_next);
        }
}

TEST_F(PictureLoop, ASliceThatFillsItsBufferToTheByteStands)
{
    UMC::H264EncoderParams p = SizedParams(kWidth, kHeight);
    p.rate_control_method = 3;
    p.quant_i = p.quant_p = 20;
    Start(p);
    EXPECT_EQ(Encode(), UMC::StatusOk);
    auto& Writer = c.Job.Slices[0].bitstream;
    const size_t Bytes = Writer.Bytes();
    for (const size_t Room : {Bytes, Bytes - 1}) {
        Core8 Again;
        ASSERT_EQ(InitCore(Again, p, &m_Allocator), UMC::StatusOk);
        Again.Job.Slices[0].bitstream.SetBuffer(Again.Job.SliceBuffers.get(), Room);
        m_Output.Reset();
        m_Input.SetBufferPointer(m_Clip[0].data(), m_Clip[0].size());
        EXPECT_EQ(FrameStep(Again, &m_Input, &m_Output), UMC::StatusOk);
        EXPECT_EQ(Again.Sequence.make_key_next, Room < Bytes);
    }
}

// ---- The QP of a picture -------------------------------------------------------------------------------------------

constexpr int32_t kSide = 48;

UMC::H264EncoderParams WithB(int32_t Method)
{
    UMC::H264EncoderParams p = SizedParams(kSide, kSide);
    p.num_b_frames = 1;
    p.rate_control_method = Method;
    p.quant_i = 21;
    p.quant_p = 24;
    p.quant_b = 29;
    return p;
}

// The QP of the last picture's slices, which that of the macroblock in its first corner is too.
int32_t LastQp(const CoreDriver<uint8_t>& d) { return d.pLast->mb_global[0].Qp; }

TEST(PictureQp, IsThatOfTheTypeWithConstantQps)
{
    CoreDriver<uint8_t> d(WithB(3));
    const std::vector<Picture> Clip = MakeClip(Scene::Pan, kSide, kSide, 3);
    for (const Picture& p : Clip) ASSERT_EQ(d.Encode(p), UMC::StatusOk);
    EXPECT_EQ(d.Order(), "Ka Pc");
    EXPECT_EQ(LastQp(d), 24);
    d.FlushAll();
    EXPECT_EQ(d.Order(), "Ka Pc bb");
    EXPECT_EQ(LastQp(d), 29);
    ASSERT_EQ(d.Encode(Clip[0], UMC::I_PICTURE), UMC::StatusOk);
    EXPECT_EQ(LastQp(d), 21);
    EXPECT_EQ(d.pCore->Sequence.Pps.pic_init_qp, 24); // that of P
}

TEST(PictureQp, StaysWhereItBeganWithoutRateControl)
{
    CoreDriver<uint8_t> d(WithB(0));
    const int32_t First = d.pCore->Sequence.Rate.GetQP(FRAME_I);
    ASSERT_NE(d.pCore->Sequence.Rate.GetQP(FRAME_B), First);
    for (const Picture& p : MakeClip(Scene::Noise, kSide, kSide, 5)) {
        ASSERT_EQ(d.Encode(p), UMC::StatusOk);
        EXPECT_EQ(LastQp(d), First) << d.Order();
    }
    EXPECT_EQ(d.Order(), "Ka Pc bb Pe");
}

// pic_init_qp is that of the first picture: later IDR pictures repeat the set.
TEST(PictureQp, IsToldAgainstThatOfTheFirstPicture)
{
    UMC::H264EncoderParams p = SizedParams(kSide, kSide);
    p.m_Info.m_Bitrate = 20000;
    p.key_frame_interval = 3;
    p.idr_interval = 1;
    CoreDriver<uint8_t> d(p);
    const int32_t First = d.pCore->Sequence.Rate.GetQP(FRAME_I);
    for (const Picture& Source : MakeClip(Scene::Noise, kSide, kSide, 7)) {
        ASSERT_EQ(d.Encode(Source), UMC::StatusOk);
        EXPECT_EQ(d.pCore->Sequence.Pps.pic_init_qp, First);
    }
    EXPECT_NE(LastQp(d), First);
    EXPECT_EQ(d.Order(), "Ka Pb Pc Kd Pe Pf Kg");
}

TEST(PictureQp, FollowsOneUpdateForEachFrameWhereThereIsARate)
{
    for (const int32_t Method : {0, 1, 2, 3})
        for (const int32_t CodingType : {0, 1, 2}) {
            UMC::H264EncoderParams p = WithB(Method);
            p.coding_type = CodingType;
            CoreDriver<uint8_t> d(p);
            d.EncodeAll(MakeClip(Scene::Pan, kSide, kSide, 5));
            const RateController& Rate = d.pCore->Sequence.Rate;
            const bool HasRate = Method == 1 || Method == 2;
            EXPECT_EQ(Rate.BitsDesired(), HasRate ? 5 * (p.m_Info.m_Bitrate / 30) : 0) << Method << ' ' << CodingType;
            EXPECT_EQ(Rate.BitsEncoded(), HasRate ? d.pCore->Sequence.total_bits : 0) << Method << ' ' << CodingType;
        }
}

// Of a frame with an auxiliary picture the rate control is told the bits of that one alone, which is deliberate.
TEST(PictureBits, AreThoseOfThePictureCodedLast)
{
    UMC::H264EncoderParams p = SizedParams(kSide, kSide);
    UMC::DefaultMemoryAllocator Allocator;
    for (const int32_t Aux : {0, 1}) {
        p.aux_format_idc = Aux;
        Core8 c;
        ASSERT_EQ(InitCore(c, p, &Allocator), UMC::StatusOk);
        UMC::VideoData Input;
        Input.Init(kSide, kSide, Aux ? UMC::YUVA420 : UMC::YUV420, 8);
        Picture Source = MakeClip(Scene::Noise, kSide, kSide, 1)[0];
        Source.resize(Input.GetMappingSize(), 128);
        Input.SetBufferPointer(Source.data(), Source.size());
        UMC::MediaData Output(1 << 20);
        ASSERT_EQ(FrameStep(c, &Input, &Output), UMC::StatusOk);
        EXPECT_EQ(c.Sequence.total_bits, c.Job.Slices[0].bitstream.Bits());
        EXPECT_EQ(c.Sequence.total_bits < 1000, Aux != 0) << "the alpha plane is flat";
    }
}

// ---- A B picture that none refers to -------------------------------------------------------------------------------

TEST(DisposablePicture, IsNeitherPaddedNorMarked)
{
    CoreDriver<uint8_t> d(WithB(3));
    std::vector<Picture> Clip = MakeClip(Scene::Pan, kSide, kSide, 3);
    for (Picture& p : Clip)
        for (uint8_t& Sample : p) Sample |= 64; // nothing is 0, which the room around a fresh picture is
    const auto IsPadded = [&d] {
        const auto& f = *d.pLast;
        return std::array{f.m_pY[-1] != 0, f.m_pY[-f.m_Pitch] != 0, f.m_pU[-1] != 0, f.m_pV[8 * f.m_Pitch - 1] != 0};
    };
    for (const Picture& p : Clip) ASSERT_EQ(d.Encode(p), UMC::StatusOk);
    EXPECT_EQ(IsPadded(), (std::array{true, true, true, true}));
    EXPECT_EQ(d.pLast->is_reference, 3);
    ASSERT_EQ(d.Flush(), UMC::StatusOk);
    ASSERT_EQ(d.Order(), "Ka Pc bb");
    EXPECT_EQ(IsPadded(), (std::array{false, false, false, false}));
    EXPECT_EQ(d.pLast->is_reference, 0);
}

// first_mb_in_slice 0 takes a bit, slice_type one (0) or three (2), the parameter set's number a bit; eight bits
// follow.
int32_t FrameNumOf(const NalUnit& Slice)
{
    const int32_t Head = Slice.Payload[0] << 16 | Slice.Payload[1] << 8 | Slice.Payload[2];
    const int32_t Ahead = Head >> 22 & 1 ? 3 : 5;
    return Head >> (24 - Ahead - 8) & 0xFF;
}

// frame_num counts the pictures that were delivered, so that a decoder sees no gap.
TEST(GivenUpPicture, LeavesNoGapInFrameNumAndNoReference)
{
    for (const size_t Lost : {size_t{1}, size_t{4}, size_t{6}}) {
        UMC::H264EncoderParams p = SizedParams(kWidth, kHeight);
        p.num_ref_frames = 2;
        p.key_frame_interval = 6; // the last of the lost ones
        p.idr_interval = 1;
        p.rate_control_method = 3;
        Driver d(p);
        auto Clip = MakeClip(Scene::Turns, kWidth, kHeight, 12);
        for (size_t i = 0; i < Clip.size(); ++i) {
            const AccessUnit u = d.Encode(Clip[i], 0, i == Lost ? 100 : SIZE_MAX);
            EXPECT_EQ(u.Result, i == Lost ? UMC::StatusNotEnoughBuffer : UMC::StatusOk);
            EXPECT_EQ(u.Bytes.empty(), i == Lost);
            if (i == 7) {
                EXPECT_EQ(u.Type, Lost == 6 ? UMC::I_PICTURE : UMC::P_PICTURE); // the key picture that was lost
            }
        }
        ExpectDecodesToReconstruction(d);
        int32_t Expected = 0;
        for (const NalUnit& n : SplitNalUnits(d.Stream)) {
            if (n.Type != 1 && n.Type != 5) continue;
            Expected = n.Type == 5 ? 0 : Expected + 1;
            EXPECT_EQ(FrameNumOf(n), Expected);
        }
    }
}

} // namespace
