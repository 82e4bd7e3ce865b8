#include "encoder/state/picture_view.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using namespace UMC_H264_ENCODER;

TEST(PictureView, AFieldIsEverySecondLine)
{
    std::array<uint8_t, 4 * 8> Y{}, U{}, V{};
    const PictureView<uint8_t> Frame{Y.data(), U.data(), V.data(), 8};
    for (const bool bBottom : {false, true}) {
        const PictureView<uint8_t> Field = FieldOf(Frame, bBottom);
        for (size_t y = 0; y < 2; ++y) {
            const size_t Line = 2 * y + bBottom;
            const auto At = static_cast<ptrdiff_t>(y) * Field.Pitch;
            EXPECT_EQ(Field.pY + At, Y.data() + 8 * Line);
            EXPECT_EQ(Field.pU + At, U.data() + 8 * Line);
            EXPECT_EQ(Field.pV + At, V.data() + 8 * Line);
        }
    }
}

} // namespace
