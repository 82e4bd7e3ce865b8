// Blocks that reach to the end of the padding and beyond it are those of a picture whose edges go on for ever.
#include "encoder/code/compensation.h"
#include "encoder/picture/padding.h"
#include "encoder/session/core_init.h"
#include "kernels/interpolation/interpolation.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

constexpr int32_t kSide = 32;

class Compensation : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(InitCore(c, SizedParams(kSide, kSide), &m_Allocator), UMC::StatusOk);
        ASSERT_EQ(m_Frame.Allocate(c.Settings.Layout), UMC::StatusOk);
        std::mt19937 Rng(9);
        for (int32_t y = 0; y < kSide; ++y)
            for (int32_t x = 0; x < kSide; ++x) {
                m_Frame.m_pY[y * m_Frame.m_Pitch + x] = static_cast<uint8_t>(50 + Rng() % 200);
                if (x >= kSide / 2 || y >= kSide / 2) continue;
                m_Frame.m_pU[y * m_Frame.m_Pitch + x] = static_cast<uint8_t>(50 + Rng() % 200);
                m_Frame.m_pV[y * m_Frame.m_Pitch + x] = static_cast<uint8_t>(50 + Rng() % 200);
            }
    }
    void Refer(PictureStructure Structure)
    {
        PadPicture(PartOf(m_Frame.View(), Structure), c.Settings.Layout.ChromaFormat);
        m_Ref = ReadOnly(PartOf(m_Frame.View(), Structure));
    }
    template <int32_t Side>
    std::array<uint8_t, Side * Side> Clamped(const uint8_t* pPlane, int32_t Width, int32_t Height, int32_t x,
                                             int32_t y) const
    {
        std::array<uint8_t, Side * Side> Out;
        for (int32_t i = 0; i < Side * Side; ++i)
            Out[static_cast<size_t>(i)] =
                pPlane[std::clamp(y + i / Side, 0, Height - 1) * m_Ref.Pitch + std::clamp(x + i % Side, 0, Width - 1)];
        return Out;
    }
    void Check(int32_t vx, int32_t vy)
    {
        const MotionVector v{static_cast<int16_t>(vx), static_cast<int16_t>(vy)};
        alignas(16) uint8_t Got[256], Want[256];
        CompensateLuma(c.Job.Slices[0].work_area, m_Ref, v, 0, 0, 16, 16, Got, 16, 8);
        const auto Luma = Clamped<21>(m_Ref.pY, kSide, m_Ref.Height, (vx >> 2) - 2, (vy >> 2) - 2);
        kernels::InterpolateLuma16_px(Luma.data() + 2 * 21 + 2, 21, Want, 16, vx & 3, vy & 3, 16);
        ASSERT_TRUE(std::equal(Got, Got + 256, Want)) << "luma " << vx << ' ' << vy;
        CompensateChroma(c.Job.Slices[0].work_area, m_Ref, v, 0, 0, 16, 16, 1, Got, 16);
        const auto u = Clamped<9>(m_Ref.pU, kSide / 2, m_Ref.Height / 2, vx >> 3, vy >> 3),
                   r = Clamped<9>(m_Ref.pV, kSide / 2, m_Ref.Height / 2, vx >> 3, vy >> 3);
        kernels::InterpolateChroma8_px(u.data(), r.data(), 9, Want, Want + 8, 16, vx & 7, vy & 7, 8);
        ASSERT_TRUE(std::equal(Got, Got + 128, Want)) << "chroma " << vx << ' ' << vy;
    }
    void CheckAllReaches()
    {
        for (int32_t v = -320; v <= 480; ++v) { // quarter samples; the padding ends 48 samples out
            Check(v, 5);
            Check(6, v);
            Check(v, v);
            if (HasFatalFailure()) return;
        }
    }

    UMC::DefaultMemoryAllocator m_Allocator;
    Core8 c;
    H264EncoderFrame<uint8_t> m_Frame{&m_Allocator};
    PictureView<const uint8_t> m_Ref;
};

TEST_F(Compensation, RepeatsTheEdgesHoweverFarAVectorReaches)
{
    Refer(STRUCTURE_FRAME);
    CheckAllReaches();
}

TEST_F(Compensation, RepeatsTheEdgesOfAFieldThatIsAReference)
{
    Refer(STRUCTURE_BOTTOM);
    CheckAllReaches();
}

// Of frames of pairs the rows around are the frame's: a field's own lines end at the picture.
TEST_F(Compensation, RepeatsTheEdgesOfAFieldWithoutRowsAround)
{
    Refer(STRUCTURE_FRAME);
    m_Ref = ReadOnly(PartOf(m_Frame.View(), STRUCTURE_TOP));
    m_Ref.LumaRowsAround = m_Ref.ChromaRowsAround = 0;
    CheckAllReaches();
}

} // namespace
