// Every stream decodes without a message to exactly the encoder's own pictures.
#include "tests/encoder/stream_check.h"

#include <gtest/gtest.h>

namespace {

using namespace encoder_testing;
using UMC::H264EncoderParams;

struct StreamCase {
    const char* Title;
    int32_t Width, Height;
    Scene What;
    int Pictures;
    void (*pSet)(H264EncoderParams&);
};
void PrintTo(const StreamCase& c, std::ostream* pOut) { *pOut << c.Title; }

class EncodedStream : public testing::TestWithParam<StreamCase>
{
};
TEST_P(EncodedStream, DecodesToTheReconstruction)
{
    const StreamCase& c = GetParam();
    H264EncoderParams p = SizedParams(c.Width, c.Height);
    c.pSet(p);
    Driver d(p);
    ASSERT_EQ(d.InitResult(), UMC::StatusOk);
    for (Picture& Source : MakeClip(c.What, c.Width, c.Height, c.Pictures))
        ASSERT_EQ(d.Encode(Source).Result, UMC::StatusOk);
    ASSERT_EQ(d.Reconstruction.size(), static_cast<size_t>(c.Pictures));
    ExpectDecodesToReconstruction(d);
}

#define STREAM(Title, Width, Height, What, Pictures, ...)                                                              \
    StreamCase                                                                                                         \
    {                                                                                                                  \
#Title, Width, Height, Scene::What, Pictures, [](H264EncoderParams& p) { (void)p; __VA_ARGS__; }                       \
    }
#define RATE(Kbps, Fps) p.m_Info.m_Bitrate = (Kbps)*1000, p.m_Info.m_FrameRate = (Fps)
#define CONSTANT(I, P) p.rate_control_method = 3, p.quant_i = (I), p.quant_p = (P)

const StreamCase kSizes[] = {
    STREAM(Small, 16, 16, Pan, 8, CONSTANT(28, 28)),      STREAM(OneRow, 176, 16, Pan, 8, CONSTANT(24, 26)),
    STREAM(OneColumn, 16, 144, Pan, 8, CONSTANT(24, 26)), STREAM(Qcif64, 176, 144, Pan, 30, RATE(64, 15)),
    STREAM(Qcif6000, 176, 144, Pan, 10, RATE(6000, 60)),  STREAM(Cropped, 178, 146, Pan, 20, RATE(300, 30)),
    STREAM(Tiny, 18, 34, Mixed, 12, RATE(100, 30)),       STREAM(Cif, 352, 288, Mixed, 20, RATE(500, 25)),
    STREAM(Wide, 640, 360, Pan, 8, RATE(1000, 30)),       STREAM(Hd, 1280, 720, Mixed, 4, RATE(1500, 30)),
    STREAM(Hd4000, 1280, 720, Pan, 3, RATE(4000, 50))};
INSTANTIATE_TEST_SUITE_P(Sizes, EncodedStream, testing::ValuesIn(kSizes));

const StreamCase kSettings[] = {
    STREAM(IntraOnly, 176, 144, Mixed, 6, p.key_frame_interval = 1),
    STREAM(NoKey, 176, 144, Pan, 12, p.key_frame_interval = 0),
    STREAM(Key15Idr, 176, 144, Pan, 40, p.key_frame_interval = 15; p.idr_interval = 1; RATE(200, 30)),
    STREAM(Key7Idr2, 176, 144, Cut, 40, p.key_frame_interval = 7; p.idr_interval = 2; RATE(200, 30)),
    STREAM(LongerThanFrameNum, 48, 48, Pan, 300, RATE(30, 30)),
    STREAM(BestQuality, 96, 80, Noise, 3, CONSTANT(0, 0)),
    STREAM(WorstQuality, 96, 80, Noise, 4, CONSTANT(51, 51)),
    STREAM(GoodNoise, 96, 80, Noise, 4, CONSTANT(12, 14)),
    STREAM(IntraInP, 176, 144, Cut, 8, CONSTANT(30, 30)),
    STREAM(FourSlices, 176, 144, Mixed, 8, p.num_slices = 4),
    STREAM(SliceForEachRow, 176, 144, Pan, 8, p.num_slices = 9; CONSTANT(30, 30)),
    STREAM(FilterInsideSlices, 176, 144, Pan, 8, p.num_slices = 3; p.deblocking_filter_idc = 2; CONSTANT(34, 34)),
    STREAM(NoFilter, 176, 144, Pan, 8, p.deblocking_filter_idc = 1; CONSTANT(34, 34)),
    STREAM(OddFilterOffsets, 176, 144, Pan, 8, p.deblocking_alpha_offset = -5; p.deblocking_beta_offset = 7;
           CONSTANT(34, 34)),
    STREAM(StrongFilter, 176, 144, Pan, 8, p.deblocking_alpha_offset = 12; p.deblocking_beta_offset = 12;
           CONSTANT(34, 34)),
    STREAM(Delimiters, 176, 144, Pan, 4, p.write_access_unit_delimiters = 1),
    STREAM(ShortWindows, 176, 144, Cut, 30, p.rate_control_method = 1; RATE(150, 30)),
    STREAM(NoRateControl, 176, 144, Cut, 6, p.rate_control_method = 0),
    STREAM(Baseline, 176, 144, Pan, 3, p.profile_idc = 88),
    STREAM(High, 176, 144, Pan, 5, p.profile_idc = 100),
    STREAM(ScalingMatrix, 176, 144, Pan, 5, p.use_default_scaling_matrix = 1),
    STREAM(Idc0, 176, 144, Pan, 6, p.cabac_init_idc = 0),
    STREAM(Idc2, 176, 144, Pan, 6, p.cabac_init_idc = 2),
    STREAM(ThreeReferences, 176, 144, Mixed, 12, p.num_ref_frames = 3; CONSTANT(24, 24)),
    STREAM(TwoReferencesAndIPictures, 96, 80, Turns, 24, p.num_ref_frames = 2; p.key_frame_interval = 5;
           CONSTANT(28, 28)),
    STREAM(FourReferencesAndIPictures, 96, 80, Mixed, 24, p.num_ref_frames = 4; p.key_frame_interval = 3;
           p.idr_interval = 3; CONSTANT(28, 28)),
    STREAM(IPicturesWhereFrameNumWraps, 48, 48, Turns, 300, p.num_ref_frames = 2; p.key_frame_interval = 16;
           CONSTANT(30, 30)),
    STREAM(Satd, 176, 144, Pan, 8, p.analysis_level = 1; CONSTANT(28, 28)),
    STREAM(SatdReferences, 176, 144, Cut, 8, p.analysis_level = 1; p.num_ref_frames = 2; CONSTANT(28, 28))};
INSTANTIATE_TEST_SUITE_P(Settings, EncodedStream, testing::ValuesIn(kSettings));

const StreamCase kSearchMethods[] = {
    STREAM(Full, 96, 80, Pan, 6, p.search_method = 0; p.search_x = 5; p.search_y = 3; CONSTANT(26, 26)),
    STREAM(CrossLog, 176, 144, Pan, 6, p.search_method = 1; CONSTANT(26, 26)),
    STREAM(HexagonLog, 176, 144, Pan, 6, p.search_method = 3; CONSTANT(26, 26)),
    STREAM(Cross, 176, 144, Pan, 6, p.search_method = 4; CONSTANT(26, 26)),
    STREAM(AxisBisection, 176, 144, Pan, 6, p.search_method = 5; CONSTANT(26, 26)),
    STREAM(Walk, 176, 144, Pan, 6, p.search_method = 6; CONSTANT(26, 26)),
    STREAM(Umbrella, 176, 144, Pan, 6, p.search_method = 8; p.search_x = 16; CONSTANT(26, 26)),
    STREAM(WideLog, 176, 144, Pan, 6, p.search_x = 64; p.search_y = 64; CONSTANT(26, 26)),
    STREAM(NarrowLog, 176, 144, Pan, 6, p.search_x = 8; p.search_y = 2; CONSTANT(26, 26)),
    STREAM(NoRange, 176, 144, Pan, 6, p.search_x = 0; p.search_y = -4; CONSTANT(26, 26))};
INSTANTIATE_TEST_SUITE_P(SearchMethods, EncodedStream, testing::ValuesIn(kSearchMethods));

// A vector that was found for one place is taken over by skipped macroblocks, far beyond the picture's edge.
TEST(EncodedStreamEdges, VectorsCarriedBeyondThePadding)
{
    const int32_t Width = 384, Height = 64;
    H264EncoderParams p = SizedParams(Width, Height);
    p.search_x = p.search_y = 64;
    CONSTANT(40, 40);
    Driver d(p);
    for (int i = 0; i < 10; ++i) {
        // A ramp on the left that is flat on the right moves a long way in each picture.
        Picture Source(static_cast<size_t>(Width * Height * 3 / 2), 128);
        for (int32_t y = 0; y < Height; ++y)
            for (int32_t x = 0; x < Width; ++x) {
                const int32_t At = x + 60 * i;
                Source[static_cast<size_t>(y * Width + x)] =
                    static_cast<uint8_t>(At < 300 ? 40 + (At * 37 + y * 11) % 160 : 90);
            }
        ASSERT_EQ(d.Encode(Source).Result, UMC::StatusOk);
    }
    ExpectDecodesToReconstruction(d);
}

} // namespace
