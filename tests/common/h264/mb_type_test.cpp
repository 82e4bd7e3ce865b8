#include "Common/h264/mb_type.h"

#include <gtest/gtest.h>

namespace h264 {
namespace {

// Table 7-11 counts the modes of a chroma pattern, then the chroma patterns, then again with luma AC levels.
TEST(MbType, Intra16x16FillsTheNumbersBetweenINxNAndIPcm)
{
    uint32_t Type = kIntraNxNType;
    for (const bool HasLumaAc : {false, true})
        for (uint32_t Chroma = 0; Chroma < 3; ++Chroma)
            for (uint32_t Mode = 0; Mode < 4; ++Mode) EXPECT_EQ(Intra16x16Type(Mode, Chroma, HasLumaAc), ++Type);
    EXPECT_EQ(Type + 1, kIntraPcmType);
    EXPECT_EQ(kIntraPcmType, 25u);
}

TEST(MbType, IntraTypesFollowThoseOfTheSliceType)
{
    EXPECT_EQ(kFirstIntraTypeP, 5u);  // P_L0_16x16 to P_8x8ref0
    EXPECT_EQ(kFirstIntraTypeB, 23u); // B_Direct_16x16 to B_8x8
}

} // namespace
} // namespace h264
