#include "encoder/picture/padding.h"
#include "encoder/state/encoder_frame.h"
#include "media/umc_default_memory_allocator.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace UMC_H264_ENCODER;
using Frame = H264EncoderFrame<uint8_t>;

TEST(Padding, RepeatsTheEdges)
{
    UMC::DefaultMemoryAllocator Allocator;
    const FrameLayout l = MakeLayout(32, 16, 1, 8, 8, true, false);
    Frame f(&Allocator);
    ASSERT_EQ(f.Allocate(l), UMC::StatusOk);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 32; ++x) f.m_pY[y * l.Pitch + x] = static_cast<uint8_t>(y * 10 + x);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 16; ++x) {
            f.m_pU[y * l.Pitch + x] = static_cast<uint8_t>(y * 20 + x);
            f.m_pV[y * l.Pitch + x] = static_cast<uint8_t>(y * 21 + x);
        }
    PadPicture(f.View(), l.ChromaFormat);
    const auto Check = [&](const uint8_t* p, int Width, int Height, int Padding, int Factor) {
        for (int y = -Padding; y < Height + Padding; ++y)
            for (int x = -Padding; x < Width + Padding; ++x)
                ASSERT_EQ(p[y * l.Pitch + x],
                          static_cast<uint8_t>(std::clamp(y, 0, Height - 1) * Factor + std::clamp(x, 0, Width - 1)))
                    << x << ' ' << y;
    };
    Check(f.m_pY, 32, 16, 48, 10);
    Check(f.m_pU, 16, 8, 32, 20);
    Check(f.m_pV, 16, 8, 32, 21);
}

} // namespace
