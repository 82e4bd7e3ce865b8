// The forward factors against the scales that they undo.
#include "Common/h264/h264_tables.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace h264;

// Each row of the forward transforms times that of the inverse (clauses 8.5.12.2 and 8.5.13.2), of which the latter has
// rows 1 and 3 in halves for 4x4 blocks.
constexpr double kNorm4[4]{4, 5, 4, 5};
constexpr double kNorm8[8]{8, 578. / 64, 5, 578. / 64, 8, 578. / 64, 5, 578. / 64};

// A level times its scale is the coefficient again, times what the inverse expects: factor * scale * lengths is the
// same at every position, but for the rounding of the factor and of the scale, which the standard rounded for itself.
TEST(QuantFactors, UndoTheScalesOfTheStandard)
{
    for (size_t m = 0; m < 6; ++m) {
        for (size_t i = 0; i < 16; ++i) {
            const double Lengths = kNorm4[i / 4] * kNorm4[i % 4];
            EXPECT_NEAR(kQuantFactor4x4[m][i], std::exp2(21) / (kNormAdjust4x4[m][i] * Lengths), 1) << m << ", " << i;
        }
        for (size_t i = 0; i < 64; ++i) {
            const double Lengths = kNorm8[i / 8] * kNorm8[i % 8];
            EXPECT_NEAR(kQuantFactor8x8[m][i], std::exp2(24) / (kNormAdjust8x8[m][i] * Lengths), 1) << m << ", " << i;
        }
    }
    constexpr uint16_t kClasses[6]{13107, 11428, 20972, 12222, 16777, 15481};
    constexpr size_t kFirstOf[6]{0, 9, 18, 1, 2, 10};
    for (size_t c = 0; c < 6; ++c) EXPECT_EQ(kQuantFactor8x8[0][kFirstOf[c]], kClasses[c]);
}

} // namespace
