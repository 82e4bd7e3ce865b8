// Ten encoded streams by their digests, at every kernel tier: a change of any decision or of any tier is seen.
//
// The digests stand in stream_digests.txt. After a change that is meant to alter streams, write them anew with
//     UPDATE_DIGESTS=1 build/release/tests/test_encoder --gtest_filter='*StreamDigest*'
// and say in the commit why they moved.
#include "kernels/dispatch/kernels.h"
#include "tests/encoder/encoder_testing.h"
#include "tests/support/kernel_testing.h"
#include "tools/common/camera_scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

namespace {

using namespace encoder_testing;
using UMC::H264EncoderParams;

const std::string kFile = std::string(QUILVEX_SOURCE_DIR) + "/tests/encoder/stream_digests.txt";

// Pictures made with integers alone, the same on every machine.
std::vector<Picture> RoomPictures(int32_t Width, int32_t Height, int Count, int Step)
{
    const CameraScene Scene({Width, Height}, 30);
    std::vector<Picture> Clip(static_cast<size_t>(Count));
    for (int i = 0; i < Count; ++i) Scene.Render(i * Step, Clip[static_cast<size_t>(i)]);
    return Clip;
}

// A texture that moves by whole and half samples, turns to another in the middle, and has a corner that never repeats.
std::vector<Picture> TexturePictures(int32_t Width, int32_t Height, int Count)
{
    constexpr int kSide = 256;
    std::mt19937 Rng(11);
    std::vector<int> Noise(kSide * kSide), Smooth(kSide * kSide);
    for (int& v : Noise) v = static_cast<int>(Rng() & 255);
    const auto At = [](const std::vector<int>& p, int x, int y) {
        return p[static_cast<size_t>((y & (kSide - 1)) * kSide + (x & (kSide - 1)))];
    };
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x) {
            int Sum = 0;
            for (int j = 0; j < 4; ++j)
                for (int i = 0; i < 4; ++i) Sum += At(Noise, x + i, y + j);
            Smooth[static_cast<size_t>(y * kSide + x)] = std::clamp(Sum / 8 - 127, 0, 255);
        }
    std::vector<Picture> Clip;
    for (int n = 0; n < Count; ++n) {
        Picture p;
        const int Jump = n < Count / 2 ? 0 : 100, x2 = 5 * n, y2 = 3 * n; // half samples
        for (int Plane = 0; Plane < 3; ++Plane) {
            const int w = Plane ? Width / 2 : Width, h = Plane ? Height / 2 : Height;
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    if (x < w / 6 && y < h / 6) {
                        p.push_back(static_cast<uint8_t>(Rng()));
                        continue;
                    }
                    const int fx = x + Jump + 40 * Plane + (x2 >> 1), fy = y + (y2 >> 1);
                    p.push_back(
                        static_cast<uint8_t>((At(Smooth, fx, fy) + At(Smooth, fx + (x2 & 1), fy + (y2 & 1))) / 2));
                }
        }
        Clip.push_back(std::move(p));
    }
    return Clip;
}

struct DigestCase {
    const char* Title;
    std::vector<Picture> (*pMake)();
    int32_t Width, Height;
    void (*pSet)(H264EncoderParams&);
};
void PrintTo(const DigestCase& c, std::ostream* pOut) { *pOut << c.Title; }

std::string Encode(const DigestCase& c, std::vector<Picture>& Clip)
{
    H264EncoderParams p = SizedParams(c.Width, c.Height);
    c.pSet(p);
    Driver d(p);
    EXPECT_EQ(d.InitResult(), UMC::StatusOk);
    for (Picture& Source : Clip) EXPECT_EQ(d.Encode(Source).Result, UMC::StatusOk);
    uint64_t Digest = 0xCBF29CE484222325; // FNV-1a
    for (const uint8_t Byte : d.Stream) Digest = (Digest ^ Byte) * 0x100000001B3;
    std::ostringstream Text;
    Text << d.Stream.size() << ' ' << std::hex << Digest;
    return Text.str();
}

using DigestList = std::map<std::string, std::string>; // by title: bytes and digest

DigestList ReadDigests()
{
    DigestList List;
    std::ifstream File(kFile);
    std::string Title, Size, Digest;
    while (File >> Title >> Size >> Digest) List[Title] = Size + ' ' + Digest;
    return List;
}

void UpdateDigest(const char* pTitle, const std::string& Digest)
{
    DigestList List = ReadDigests();
    List[pTitle] = Digest;
    std::ofstream File(kFile);
    for (const auto& [Title, Value] : List) File << Title << ' ' << Value << '\n';
}

class StreamDigest : public testing::TestWithParam<DigestCase>
{
protected:
    ~StreamDigest() override { kernels::InitKernelsForTier(m_TierBefore); }

private:
    const int32_t m_TierBefore = kernels::g_BoundTier;
};
TEST_P(StreamDigest, IsTheSameAtEveryTier)
{
    const DigestCase& c = GetParam();
    std::vector<Picture> Clip = c.pMake();
    if (std::getenv("UPDATE_DIGESTS")) UpdateDigest(c.Title, Encode(c, Clip));
    const std::string Wanted = ReadDigests()[c.Title];
    for (const kernels::Tier t : kernels::kAllTiers) {
        if (t > kernel_testing::CpuTier()) continue;
        kernels::InitKernelsForTier(static_cast<int>(t));
        EXPECT_EQ(Encode(c, Clip), Wanted) << kernels::kTierNames[static_cast<size_t>(t)];
    }
}

std::vector<Picture> Room() { return RoomPictures(176, 144, 8, 4); }
std::vector<Picture> FastRoom() { return RoomPictures(112, 96, 8, 30); }
std::vector<Picture> Textures() { return TexturePictures(112, 80, 8); }
std::vector<Picture> OddTextures() { return TexturePictures(90, 70, 6); }

#define CONSTANT(I, P) p.rate_control_method = 3, p.quant_i = (I), p.quant_p = (P)
#define DIGEST(Title, Pictures, Width, Height, ...)                                                                    \
    DigestCase                                                                                                         \
    {                                                                                                                  \
#Title, Pictures, Width, Height, [](H264EncoderParams & p) { __VA_ARGS__; }                                    \
    }
INSTANTIATE_TEST_SUITE_P(
    Ten, StreamDigest,
    testing::Values(DIGEST(ProductLowRate, Room, 176, 144, p.m_Info.m_Bitrate = 40000),
                    DIGEST(ProductHighRate, Room, 176, 144, p.m_Info.m_Bitrate = 2000000),
                    DIGEST(ProductFastMotion, FastRoom, 112, 96, p.m_Info.m_Bitrate = 300000; p.key_frame_interval = 5;
                           p.idr_interval = 1),
                    DIGEST(Textures, Textures, 112, 80, CONSTANT(22, 24)),
                    DIGEST(CoarseTextures, Textures, 112, 80, CONSTANT(38, 40)),
                    DIGEST(CroppedFine, OddTextures, 90, 70, CONSTANT(10, 12)),
                    DIGEST(ThreeReferencesInSlices, Textures, 112, 80, p.num_ref_frames = 3; p.num_slices = 3;
                           p.key_frame_interval = 3; p.deblocking_filter_idc = 2; CONSTANT(28, 30)),
                    DIGEST(Satd, Textures, 112, 80, p.analysis_level = 1; p.num_ref_frames = 2; CONSTANT(26, 28)),
                    DIGEST(UmbrellaShortWindows, FastRoom, 112, 96, p.search_method = 8; p.rate_control_method = 1;
                           p.m_Info.m_Bitrate = 200000),
                    DIGEST(FullSearch, OddTextures, 90, 70, p.search_method = 0; p.search_x = 6; p.search_y = 4;
                           p.cabac_init_idc = 2; CONSTANT(30, 32))));

} // namespace
