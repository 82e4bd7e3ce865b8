// Pictures that stand still leave slices of a few bytes, many of them zeros. The rates are chosen so that some of these
// units end in what would be a start code without emulation prevention to the last byte.
#include "tests/encoder/stream_check.h"
#include "tools/common/camera_scene.h"

#include <gtest/gtest.h>

namespace {

using namespace encoder_testing;

// A rendered room, or squares of noise and of one grey by turns.
enum class Content { Room, Noise };

Picture NoisePicture(int32_t Width, int32_t Height)
{
    Picture p;
    std::mt19937 Rng(3);
    for (int Plane = 0; Plane < 3; ++Plane) {
        const int32_t w = Plane ? Width / 2 : Width, h = Plane ? Height / 2 : Height;
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x) p.push_back((x / 32 + y / 32) % 2 ? static_cast<uint8_t>(Rng()) : 128);
    }
    return p;
}

struct StillCase {
    Content What;
    int32_t Width, Height, Kbps;
    bool bFrozen; // one picture again and again; else the scene goes on
};
void PrintTo(const StillCase& c, std::ostream* pOut)
{
    *pOut << (c.What == Content::Room ? "room " : "noise ") << c.Width << 'x' << c.Height << " at " << c.Kbps;
}

class StillStream : public testing::TestWithParam<StillCase>
{
};
TEST_P(StillStream, DecodesToTheReconstruction)
{
    const StillCase& c = GetParam();
    UMC::H264EncoderParams p = SizedParams(c.Width, c.Height);
    p.m_Info.m_Bitrate = c.Kbps * 1000;
    Driver d(p);
    const CameraScene Room({c.Width, c.Height}, 30);
    Picture Source;
    for (int i = 0; i < 60; ++i) {
        if (i == 0 || !c.bFrozen) {
            if (c.What == Content::Noise)
                Source = NoisePicture(c.Width, c.Height);
            else
                Room.Render(i, Source);
        }
        ASSERT_EQ(d.Encode(Source).Result, UMC::StatusOk);
    }
    ExpectDecodesToReconstruction(d);
}

INSTANTIATE_TEST_SUITE_P(
    Rates, StillStream,
    testing::Values(StillCase{Content::Noise, 352, 288, 100, true}, StillCase{Content::Noise, 352, 288, 300, true},
                    StillCase{Content::Noise, 640, 360, 500, true}, StillCase{Content::Room, 640, 360, 100, true},
                    StillCase{Content::Room, 640, 480, 500, true}, StillCase{Content::Noise, 1280, 720, 1000, true},
                    StillCase{Content::Room, 640, 360, 80, false}, StillCase{Content::Room, 640, 360, 87, false}));

} // namespace
