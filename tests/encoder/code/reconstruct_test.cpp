// What of an inter macroblock in 8x8 blocks is worth its bits, with loss and without.
#include "encoder/code/reconstruct.h"
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "kernels/transform/transform.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

// The last macroblock of a P picture, against a prediction that the test makes.
class BlocksOf8x8 : public testing::Test
{
protected:
    void Start(int32_t Qp)
    {
        UMC::H264EncoderParams p = SizedParams(32, 32);
        p.profile_idc = 144;
        p.transform_8x8_mode = 1;
        p.qpprime_y_zero_transform_bypass = 1;
        p.rate_control_method = 3;
        p.quant_i = p.quant_p = static_cast<uint8_t>(Qp);
        ASSERT_EQ(InitCore(c, p, &m_Allocator), UMC::StatusOk);
        UMC::VideoData Input;
        InitInput(p, Input);
        UMC::MediaData Output(1 << 20);
        Picture Grey(32 * 32 * 3 / 2, 100);
        for (int i = 0; i < 2; ++i) {
            Input.SetBufferPointer(Grey.data(), Grey.size());
            ASSERT_EQ(FrameStep(c, &Input, &Output), UMC::StatusOk);
        }
        Mb().pSrcY = m_Source;
        Mb().SrcPitch = 16;
        Mb().pSrcU = Mb().pSrcV = m_Grey;
        std::fill_n(m_Source, 256, uint8_t{100});
        std::fill_n(m_Grey, 128, uint8_t{100});
        auto& t = c.Job.Slices[0].work_area.Inter[0];
        std::fill_n(t.PredY, 256, uint8_t{100});
        std::fill_n(t.PredUV, 256, uint8_t{100});
    }
    CurrentMacroblock<uint8_t>& Mb() { return c.Job.Slices[0].cur_mb; }
    // Bits of the blocks that are coded.
    uint32_t Coded(uint16_t Emptied = 0)
    {
        Mb().Records.pGlobal->Flags = kFlagTransform8x8;
        *Mb().Records.pLocal = {};
        Reconstruct({.Cost = 0,
                     .Type = MB_INTER16X16,
                     .Ref = 0,
                     .Transform8x8 = true,
                     .Emptied = Emptied,
                     .AtHand = BLOCKS_PREDICTED},
                    Mb(), c.Job.Slices[0].work_area);
        return Mb().Records.pLocal->Coded & kCodedLuma;
    }
    // Makes the last quadrant differ by a wave that leaves one level of 1, behind all others or in front of them.
    bool MakeOneLevel(int32_t Frequency)
    {
        const auto Wave = [=](int i) { return std::cos((2 * i + 1) * Frequency * std::acos(-1.0) / 16); };
        for (double Height = 1.0; Height < 100.0; Height += 0.5) {
            uint8_t* const pQuadrant = m_Source + 8 * 16 + 8;
            for (int i = 0; i < 64; ++i)
                pQuadrant[i / 8 * 16 + i % 8] =
                    static_cast<uint8_t>(std::lround(100 + Height * Wave(i / 8) * Wave(i % 8)));
            alignas(16) int16_t Levels[64];
            const uint8_t* const pPred = c.Job.Slices[0].work_area.Inter[0].PredY + 8 * 16 + 8;
            kernels::ForwardQuant8x8_px(pQuadrant, 16, pPred, 16, Levels, Mb().pQuant->pLuma8x8);
            if (std::abs(Levels[9 * Frequency]) == 1 && std::count(Levels, Levels + 64, 0) == 63) return true;
        }
        return false;
    }

    UMC::DefaultMemoryAllocator m_Allocator;
    Core8 c;
    uint8_t m_Source[256], m_Grey[128];
};

TEST_F(BlocksOf8x8, BehindALongRunAreDropped)
{
    Start(28);
    ASSERT_TRUE(MakeOneLevel(7));
    EXPECT_EQ(Coded(), 0u);
    EXPECT_EQ(Mb().Records.pGlobal->Flags & kFlagTransform8x8, 0); // which stands only beside luma
    EXPECT_EQ(Mb().Records.pLocal->Pattern, 0);
    ASSERT_TRUE(MakeOneLevel(1));
    EXPECT_EQ(Coded(), 0xF000u);
    EXPECT_EQ(Mb().Records.pGlobal->Flags & kFlagTransform8x8, kFlagTransform8x8);
    EXPECT_EQ(Mb().Records.pLocal->Pattern, 8);
}

TEST_F(BlocksOf8x8, ThatAreEmptiedGetNoLevels)
{
    Start(28);
    ASSERT_TRUE(MakeOneLevel(1));
    EXPECT_EQ(Coded(0x0FFF), 0xF000u);
    EXPECT_EQ(Coded(0xF000), 0u);
    EXPECT_EQ(*(Mb().pRecY + 9 * Mb().pitch + 9), 100); // the prediction
}

TEST_F(BlocksOf8x8, WithoutLossAreKept)
{
    Start(0);
    ASSERT_TRUE(Mb().pQuant->IsLossless);
    EXPECT_EQ(Coded(), 0u);
    m_Source[255] = 101;
    EXPECT_EQ(Coded(), 0xF000u);
}

} // namespace
