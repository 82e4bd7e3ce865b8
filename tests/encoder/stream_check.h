// What every stream must stand: its units hold no start code, and two decoders, ffmpeg's and ours, give exactly the
// encoder's own pictures.
#pragma once

#include "tests/encoder/encoder_testing.h"
#include "tests/support/decode_helper.h"
#include "tests/support/ffmpeg_oracle.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>

namespace encoder_testing {

// Names the first macroblock, in coding order, at which two pictures differ.
inline std::string FirstDifference(const Picture& a, const Picture& b, int32_t Width, int32_t Height)
{
    int32_t First = INT32_MAX, FirstPlane = 0;
    const int32_t MbWidth = (Width + 15) / 16;
    size_t i = 0;
    for (int Plane = 0; Plane < 3; ++Plane) {
        const int32_t w = Plane ? (Width + 1) / 2 : Width, h = Plane ? (Height + 1) / 2 : Height, Size = Plane ? 8 : 16;
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x, ++i) {
                const int32_t Mb = y / Size * MbWidth + x / Size;
                if (a[i] == b[i] || Mb >= First) continue;
                First = Mb;
                FirstPlane = Plane;
            }
    }
    std::ostringstream Text;
    Text << "macroblock " << First % MbWidth << ',' << First / MbWidth << ", plane " << FirstPlane;
    return Text.str();
}

/// Two zeros and a byte below 3 stand nowhere inside a unit (clause 7.4.1), and there are as many slices as were coded:
/// a start code inside one would make two of it.
inline void ExpectNoStartCodeInsideUnits(const Driver& d)
{
    size_t Slices = 0;
    for (const NalUnit& n : SplitNalUnits(d.Stream)) {
        const bool bSlice = n.Type == 1 || n.Type == 5;
        ASSERT_TRUE(bSlice || n.Type == 7 || n.Type == 8 || n.Type == 9) << n.Type;
        Slices += bSlice;
        for (size_t i = 2; i < n.Payload.size(); ++i)
            ASSERT_FALSE(n.Payload[i - 2] == 0 && n.Payload[i - 1] == 0 && n.Payload[i] < 3) << "byte " << i;
    }
    EXPECT_EQ(Slices, d.Reconstruction.size() * static_cast<size_t>(d.Params().num_slices));
}

inline void ExpectSamePictures(const char* pDecoder, const std::vector<Picture>& Got, const Driver& d)
{
    const UMC::VideoStreamInfo& Info = d.Params().m_Info;
    ASSERT_EQ(Got.size(), d.Reconstruction.size()) << pDecoder;
    for (size_t i = 0; i < Got.size(); ++i) {
        ASSERT_EQ(Got[i].size(), d.Reconstruction[i].size()) << pDecoder;
        ASSERT_TRUE(Got[i] == d.Reconstruction[i])
            << pDecoder << ", picture " << i << ", "
            << FirstDifference(Got[i], d.Reconstruction[i], Info.m_Width, Info.m_Height);
    }
}

inline void ExpectFfmpegGivesTheReconstruction(const Driver& d)
{
    const ffmpeg_oracle::Decoded Got = ffmpeg_oracle::Decode(d.Stream);
    EXPECT_EQ(Got.Messages, "");
    ASSERT_FALSE(d.Reconstruction.empty());
    const size_t Size = d.Reconstruction[0].size();
    ASSERT_EQ(Got.Pictures.size() % Size, 0u);
    std::vector<Picture> Pictures;
    for (auto p = Got.Pictures.begin(); p != Got.Pictures.end(); p += static_cast<ptrdiff_t>(Size))
        Pictures.emplace_back(p, p + static_cast<ptrdiff_t>(Size));
    ExpectSamePictures("ffmpeg", Pictures, d);
}

inline void ExpectDecodesToReconstruction(const Driver& d)
{
    ExpectNoStartCodeInsideUnits(d);
    ExpectSamePictures("our decoder", test::DecodeAll(d.Stream), d);
    if (ffmpeg_oracle::IsInstalled()) ExpectFfmpegGivesTheReconstruction(d);
}

} // namespace encoder_testing
