// The bounds by which a transform is left out: no block below them has levels, and one unit above them some block has.
#include "encoder/session/core_init.h"
#include "kernels/transform/transform.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <numeric>

namespace {

using namespace UMC_H264_ENCODER;
using namespace encoder_testing;

constexpr int kBasis[4][4]{
    {1, 1, 1, 1}, {2, 1, -1, -2}, {1, -1, -1, 1}, {1, -2, 2, -1}}; // rows of the forward transform

// A 4x4 block and its prediction that differ by Sum in all, where it counts most for one coefficient.
struct WorstBlock {
    alignas(16) uint8_t Source[16]{}, Prediction[16]{};

    WorstBlock(int Row, int Column, int Sum)
    {
        const auto Weight = [=](int i) { return kBasis[Row][i / 4] * kBasis[Column][i % 4]; };
        std::array<int, 16> Order;
        std::iota(Order.begin(), Order.end(), 0);
        std::stable_sort(Order.begin(), Order.end(),
                         [&](int a, int b) { return std::abs(Weight(a)) > std::abs(Weight(b)); });
        for (const int i : Order) {
            const int Part = std::min(Sum, 255);
            (Weight(i) > 0 ? Source : Prediction)[i] = static_cast<uint8_t>(Part);
            Sum -= Part;
        }
    }
};

class ZeroSads : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(InitCore(c, SizedParams(16, 16), &m_Allocator), UMC::StatusOk); }

    UMC::DefaultMemoryAllocator m_Allocator;
    Core8 c;
};

TEST_F(ZeroSads, AreTheLargestThatLeaveNoLumaLevels)
{
    for (size_t Qp = 0; Qp < 52; ++Qp) {
        const int32_t Bound = c.Settings.Quant.LumaZeroSad[Qp];
        for (const int Above : {0, 1}) {
            uint32_t Any = 0;
            for (int i = 0; i < 16; ++i) {
                alignas(16) int16_t Levels[16];
                const WorstBlock b(i / 4, i % 4, Bound + Above);
                Any |= kernels::ForwardQuant4x4_px(b.Source, 4, b.Prediction, 4, Levels, &c.Settings.Quant.Inter[Qp]);
            }
            EXPECT_EQ(Any, static_cast<uint32_t>(Above)) << "QP " << Qp << ", bound " << Bound;
        }
    }
}

// Four such blocks make a chroma plane, whose DC coefficients are transformed once more.
TEST_F(ZeroSads, AreTheLargestThatLeaveNoChromaLevels)
{
    for (size_t Qp = 0; Qp < 52; ++Qp) {
        const int32_t Bound = c.Settings.Quant.ChromaZeroSad[Qp];
        const kernels::QuantParams& q = c.Settings.Quant.Inter[Qp];
        for (const int Above : {0, 1}) {
            uint32_t Any = 0;
            for (int i = 0; i < 16; ++i) {
                const WorstBlock b(i / 4, i % 4, Bound + Above);
                uint8_t Source[64], Prediction[64];
                for (int y = 0; y < 8; ++y)
                    for (int x = 0; x < 8; ++x) {
                        Source[8 * y + x] = b.Source[4 * (y & 3) + (x & 3)];
                        Prediction[8 * y + x] = b.Prediction[4 * (y & 3) + (x & 3)];
                    }
                alignas(16) int16_t Levels[64], Dc[4];
                Any |= kernels::ForwardQuantAc8x8_px(Source, 8, Prediction, 8, Levels, Dc, &q);
                Any |= kernels::ForwardChromaDc420_px(Dc, q.Factor[0], q.Rounding, q.Shift);
            }
            EXPECT_EQ(Any != 0, Above != 0) << "QP " << Qp << ", bound " << Bound;
        }
    }
}

} // namespace
