// Pictures on their way into and out of NV12, beside the conversions of the library that they are built on.
#include "front/client_pictures.h"

#include <gtest/gtest.h>
#include <libyuv.h>

#include <vector>

namespace {

constexpr uint8_t kUntouched = 0xA5;

std::vector<uint8_t> Picture(int32_t Width, int32_t Height)
{
    std::vector<uint8_t> Samples(
        static_cast<size_t>(PictureBytes(Width, Height))); // exact, so that a read past it shows
    for (size_t i = 0; i < Samples.size(); ++i) Samples[i] = static_cast<uint8_t>(i * 7 + i / 251);
    return Samples;
}

} // namespace

TEST(ClientPictures, RoomGrowsWithThePicture)
{
    EXPECT_EQ(PictureBytes(640, 480), 640u * 480 * 3 / 2);
    EXPECT_EQ(AccessUnitRoom(640, 480), 640u * 480 * 3);
    EXPECT_EQ(PictureBytes(3, 3), 9u + 2 + 2);
    EXPECT_EQ(AccessUnitRoom(65535, 65535), 65535ull * 65535 * 3);
    for (const int32_t Bad : {0, -1, INT32_MIN}) {
        EXPECT_EQ(PictureBytes(Bad, 16), 0u);
        EXPECT_EQ(AccessUnitRoom(16, Bad), 0u);
    }
}

TEST(ClientPictures, GoIntoNv12AsTheLibraryPutsThem)
{
    constexpr int32_t kWidth = 38, kHeight = 22, kPitch = 64;
    const std::vector<uint8_t> In = Picture(kWidth, kHeight);
    std::vector<uint8_t> Got(kPitch * kHeight * 3 / 2, kUntouched), Want = Got;
    const uint8_t *const pCb = &In[kWidth * kHeight], *const pCr = pCb + kWidth * kHeight / 4;
    libyuv::I420ToNV12(In.data(), kWidth, pCb, kWidth / 2, pCr, kWidth / 2, Want.data(), kPitch,
                       &Want[kPitch * kHeight], kPitch, kWidth, kHeight);
    I420ToNv12(In.data(), kWidth, kHeight, Got.data(), kPitch, &Got[kPitch * kHeight], kPitch);
    EXPECT_EQ(Got, Want);

    std::vector<uint8_t> Back(In.size() + 1, kUntouched);
    Nv12ToI420(Got.data(), kPitch, &Got[kPitch * kHeight], kPitch, kWidth, kHeight, Back.data());
    EXPECT_EQ(Back.back(), kUntouched);
    Back.pop_back();
    EXPECT_EQ(Back, In);
}

TEST(ClientPictures, OfOddSizesStayWithinTheirBytes)
{
    constexpr int32_t kWidth = 7, kHeight = 5, kPitch = 8;
    const std::vector<uint8_t> In = Picture(kWidth, kHeight);
    std::vector<uint8_t> Nv12(kPitch * kHeight + kPitch * 3, kUntouched);
    I420ToNv12(In.data(), kWidth, kHeight, Nv12.data(), kPitch, &Nv12[kPitch * kHeight], kPitch);
    EXPECT_EQ(Nv12[kPitch * kHeight + 6], kUntouched); // the pair without chroma of its own
    std::vector<uint8_t> Back(In.size());
    Nv12ToI420(Nv12.data(), kPitch, &Nv12[kPitch * kHeight], kPitch, kWidth, kHeight, Back.data());
    for (int i = 0; i < kWidth * kHeight; ++i) ASSERT_EQ(Back[static_cast<size_t>(i)], In[static_cast<size_t>(i)]) << i;
}
