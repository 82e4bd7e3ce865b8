#include "tests/support/test_pictures.h"

#include <gtest/gtest.h>

namespace test_pictures {

using UMC::StatusOk;

UMC::VideoData& Fill(UMC::VideoData& Picture, int32_t Width, int32_t Height, UMC::ColorFormat Format, int32_t Depth,
                     uint32_t Seed)
{
    EXPECT_EQ(Picture.Init(Width, Height, Format, Depth), StatusOk);
    EXPECT_EQ(Picture.Alloc(), StatusOk);
    auto* const pBytes = static_cast<uint8_t*>(Picture.GetDataPointer());
    for (size_t i = 0; i < Picture.GetMappingSize(); ++i)
        pBytes[i] = static_cast<uint8_t>((Seed = Seed * 1103515245 + 12345) >> 16);
    return Picture;
}

std::vector<uint8_t> PlaneBytes(const UMC::VideoData& Picture, int32_t Index)
{
    UMC::PlaneInfo Info{};
    EXPECT_EQ(Picture.GetPlaneInfo(&Info, Index), StatusOk);
    std::vector<uint8_t> Bytes;
    for (int32_t y = 0; y < Info.m_Height; ++y) {
        const uint8_t* const pRow = Info.m_pPlane + ptrdiff_t{y} * Info.m_Pitch;
        Bytes.insert(Bytes.end(), pRow, pRow + Info.m_Width * Info.m_Samples * Info.m_SampleBytes);
    }
    return Bytes;
}

} // namespace test_pictures
