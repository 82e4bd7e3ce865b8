// A picture's planes and tables.
#include "encoder/state/encoder_frame.h"
#include "media/umc_default_memory_allocator.h"

#include <gtest/gtest.h>

namespace {

using namespace UMC_H264_ENCODER;
using Frame = H264EncoderFrame<uint8_t>;

TEST(EncoderFrame, PlanesHaveRoomAndAlignment)
{
    UMC::DefaultMemoryAllocator Allocator;
    const FrameLayout l = MakeLayout(178, 146, 1, 8, 8, true, false);
    EXPECT_EQ(l.AlignedWidth, 192);
    EXPECT_EQ(l.AlignedHeight, 160);
    EXPECT_EQ(l.MbCount, 120);
    EXPECT_EQ(l.Pitch, 384);
    EXPECT_EQ(MakeLayout(178, 146, 1, 8, 8, false, false).AlignedHeight, 160);
    EXPECT_EQ(MakeLayout(178, 130, 1, 8, 8, false, false).AlignedHeight, 160);
    Frame f(&Allocator);
    ASSERT_EQ(f.Allocate(l), UMC::StatusOk);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(f.m_pY) % 64, 0u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(f.m_pU) % 64, 0u);
    EXPECT_EQ(f.m_pV, f.m_pU + 192);
    EXPECT_EQ(f.GetWidth(), 178);
    EXPECT_EQ(f.Pitch(1), 384);
    const uint8_t* const pOld = f.m_pY;
    ASSERT_EQ(f.Allocate(l), UMC::StatusOk);
    EXPECT_EQ(f.m_pY, pOld); // kept for the same size
    for (const void* p : {static_cast<void*>(f.mb_motion[0]), static_cast<void*>(f.mb_motion[1]),
                          static_cast<void*>(f.mb_reference[0]), static_cast<void*>(f.mb_global)})
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 8, 0u);
}

} // namespace
