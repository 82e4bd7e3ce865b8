// What Init makes of the settings, and a change of rate, which belongs to the sequence: the settings stay.
#include "encoder/session/core_init.h"

#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

TEST(RateChange, LeavesTheSettingsOfInitAlone)
{
    UMC::H264EncoderParams p = SizedParams(32, 32);
    p.m_Info.m_Bitrate = 100000;
    p.m_Info.m_FrameRate = 20.0;
    UMC::DefaultMemoryAllocator Allocator;
    Core8 c;
    ASSERT_EQ(InitCore(c, p, &Allocator), UMC::StatusOk);
    p.m_Info.m_Bitrate = 200000;
    p.m_Info.m_FrameRate = 10.0;
    ASSERT_EQ(SetCoreRate(c.Settings, c.Sequence, p), UMC::StatusOk);
    EXPECT_EQ(c.Settings.Params.m_Info.m_Bitrate, 100000);
    EXPECT_EQ(c.Settings.Params.m_Info.m_FrameRate, 20.0);
    EXPECT_EQ(c.Sequence.Rate.GetQP(FRAME_P), RateController::InitialQp(200000, 10.0, 32, 32, 8, 1, false, 51));
}

UMC::H264EncoderParams Rated(int32_t Method)
{
    UMC::H264EncoderParams p = SizedParams(32, 32);
    p.m_Info.m_Bitrate = 300000;
    p.m_Info.m_FrameRate = 10.0;
    p.rate_control_method = Method;
    return p;
}

// The sum goes on and the budget begins anew, with the windows of the method.
TEST(RateChange, KeepsTheSumOfBits)
{
    for (const int32_t Method : {1, 2}) {
        UMC::H264EncoderParams p = Rated(Method);
        CoreDriver<uint8_t> d(p);
        d.EncodeAll(MakeClip(Scene::Pan, 32, 32, 3));
        auto& q = d.pCore->Sequence;
        ASSERT_GT(q.total_bits, 0);
        p.m_Info.m_Bitrate = 100000;
        ASSERT_EQ(SetCoreRate(d.pCore->Settings, q, p), UMC::StatusOk);
        EXPECT_EQ(q.Rate.BitsEncoded(), q.total_bits);
        EXPECT_EQ(q.Rate.BitsDesired(), 0);
        EXPECT_DOUBLE_EQ(q.Rate.AverageFrameBits(), 10000.0);
        q.Rate.PostFrame(FRAME_P, q.total_bits + 50000);
        EXPECT_DOUBLE_EQ(q.Rate.AverageFrameBits(), 10000.0 + 40000.0 / (Method == 1 ? 4 : 30));
    }
}

// What a core is started with steers as windows of so many pictures do.
TEST(RateControl, HasTheWindowsOfTheMethod)
{
    for (const int32_t Method : {1, 2}) {
        UMC::DefaultMemoryAllocator Allocator;
        Core8 c;
        ASSERT_EQ(InitCore(c, Rated(Method), &Allocator), UMC::StatusOk);
        RateController Wanted;
        const bool IsShort = Method == 1;
        Wanted.Init(IsShort ? 8 : 100, IsShort ? 4 : 30, IsShort ? 8 : 100, 300000, 10.0, 32, 32, 8, 1, false);
        int64_t Total = 0;
        for (int i = 0; i < 200; ++i) {
            Total += i % 3 == 0 ? 60000 : 10000 + 100 * i;
            c.Sequence.Rate.PostFrame(i % 20 == 0 ? FRAME_I : FRAME_P, Total);
            Wanted.PostFrame(i % 20 == 0 ? FRAME_I : FRAME_P, Total);
            ASSERT_EQ(c.Sequence.Rate.GetQP(FRAME_P), Wanted.GetQP(FRAME_P)) << Method << ", picture " << i;
            ASSERT_DOUBLE_EQ(c.Sequence.Rate.AverageFrameBits(), Wanted.AverageFrameBits());
            ASSERT_DOUBLE_EQ(c.Sequence.Rate.AverageInverseQp(), Wanted.AverageInverseQp());
        }
    }
}

// The first QP is that of all the samples of a picture and of the deepest of them.
TEST(RateControl, CountsChromaAndAlphaAndTheirDepths)
{
    const struct {
        int32_t Chroma, Luma, Cb, Aux, HasAlpha, Deepest;
    } kCases[]{{0, 8, 8, 8, 0, 8},   {1, 8, 8, 8, 0, 8},   {2, 8, 8, 8, 0, 8},
               {1, 8, 8, 8, 1, 8},   {1, 10, 8, 8, 0, 10}, {1, 8, 12, 8, 0, 12},
               {1, 8, 8, 10, 1, 10}, {1, 8, 8, 10, 0, 10}}; // whether or not there is an alpha plane
    for (const auto& k : kCases) {
        UMC::H264EncoderParams p = Rated(2);
        p.chroma_format_idc = k.Chroma;
        p.bit_depth_luma = k.Luma;
        p.bit_depth_chroma = k.Cb;
        p.bit_depth_aux = k.Aux;
        p.aux_format_idc = k.HasAlpha;
        const int32_t Offset = 6 * (k.Deepest - 8);
        const int32_t Wanted =
            RateController::InitialQp(300000, 10.0, 32, 32, k.Deepest, k.Chroma, k.HasAlpha != 0, 51 + Offset);
        UMC::DefaultMemoryAllocator Allocator;
        const auto QpOf = [&](auto&& c) {
            EXPECT_EQ(InitCore(c, p, &Allocator), UMC::StatusOk);
            return c.Sequence.Rate.GetQP(FRAME_P);
        };
        const bool IsDeep = k.Luma > 8 || k.Cb > 8 || (k.HasAlpha && k.Aux > 8);
        EXPECT_EQ(IsDeep ? QpOf(Core16()) : QpOf(Core8()), Wanted - Offset)
            << k.Chroma << ' ' << k.Luma << ' ' << k.Cb << ' ' << k.Aux;
    }
}

std::vector<int32_t> SliceLengths(int32_t Width, int32_t Height, int32_t CodingType, int16_t Slices)
{
    UMC::H264EncoderParams p = SizedParams(Width, Height);
    p.coding_type = CodingType;
    p.num_slices = Slices;
    UMC::DefaultMemoryAllocator Allocator;
    Core8 c;
    EXPECT_EQ(InitCore(c, p, &Allocator), UMC::StatusOk);
    std::vector<int32_t> Lengths;
    for (int i = 0; i < Slices; ++i) Lengths.push_back(c.Job.Slices[static_cast<size_t>(i)].Facts.MbLimit);
    return Lengths;
}

TEST(Slices, DivideAPictureEquallyAndTheLastTakesTheRest)
{
    using Lengths = std::vector<int32_t>;
    EXPECT_EQ(SliceLengths(176, 144, CODING_FRAMES, 4), (Lengths{24, 24, 24, 27}));
    EXPECT_EQ(SliceLengths(16, 48, CODING_FIELDS, 3), (Lengths{0, 0, 2})); // 16x64 coded
    EXPECT_EQ(SliceLengths(48, 64, CODING_ADAPTIVE, 4), (Lengths{2, 2, 2, 6})) << "whole pairs";
    EXPECT_EQ(SliceLengths(16, 32, CODING_ADAPTIVE, 2), (Lengths{0, 2}));
}

} // namespace
