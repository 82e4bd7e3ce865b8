// Macroblocks of every type in every kind of slice. In variable length codes the encoder's syntax gives the bits of an
// independent writer; in CABAC the stream has the same syntax elements, so that it decodes to the same pictures.
#include "tests/encoder/code/written_twice.h"

namespace {

using namespace encoder_testing;

struct Format {
    const char* pTitle;
    uint32_t profile_idc, chroma_format_idc, bit_depth, bit_depth_chroma;
    bool transform_8x8, direct_8x8_inference;
    const char* pPixelFormat; // ffmpeg's, null for one that it lacks
};
constexpr Format kFormats[]{
    {"Main420", 77, 1, 8, 8, false, true, "yuv420p"},
    {"Main420WithoutInference", 77, 1, 8, 8, false, false, "yuv420p"},
    {"High420", 100, 1, 8, 8, true, true, "yuv420p"},
    {"High420WithoutInference", 100, 1, 8, 8, true, false, "yuv420p"},
    {"HighMonochrome", 100, 0, 8, 8, true, true, "gray -vf extractplanes=y"}, // no change of the range
    {"High422", 122, 2, 8, 8, true, true, "yuv422p"},
    {"High10", 110, 1, 10, 10, true, true, "yuv420p10le"},
    {"High422Deep", 122, 2, 10, 10, true, true, "yuv422p10le"},
    {"High422OfTwoDepths", 122, 2, 9, 10, true, true, nullptr}};

constexpr test::MacroblockMix kIntraOnly{.skip = 0, .direct = 0, .inter = 0, .intra = 1};
constexpr test::MacroblockMix kMixed{.skip = 3, .direct = 2, .inter = 10, .intra = 4};

test::SeqParamSet SetOf(const Format& f, bool FramesOnly)
{
    test::SeqParamSet s{.profile_idc = f.profile_idc,
                        .chroma_format_idc = f.chroma_format_idc,
                        .bit_depth = f.bit_depth,
                        .bit_depth_chroma = f.bit_depth_chroma,
                        .num_ref_frames = 3,
                        .width_mbs = 5,
                        .height_map_units = 4,
                        .frame_mbs_only = FramesOnly,
                        .direct_8x8_inference = f.direct_8x8_inference || !FramesOnly};
    s.vui = test::ReorderVui(1, 3);
    return s;
}
test::PicParamSet PicOf(const Format& f, uint32_t Refs)
{
    return {.num_ref_idx = {Refs, Refs},
            .has_transform_extension = f.profile_idc >= 100,
            .transform_8x8_mode = f.transform_8x8};
}

// As many I pictures as there are references, P, P and a B picture between the last two.
template <class LevelType>
void CheckFrames(const Format& f, uint32_t Seed)
{
    const uint32_t Refs = 1 + Seed % 3;
    WrittenTwice<LevelType> w(SetOf(f, true), PicOf(f, Refs), 100 * Seed);
    w.Add({.nal_unit_type = 5}, kIntraOnly, {0, 7});
    w.Add({.slice_type = 7, .frame_num = 1, .poc_lsb = 2}, kIntraOnly, {0});
    w.Add({.slice_type = 7, .frame_num = 2, .poc_lsb = 4}, kIntraOnly, {0, 1});
    w.Add({.slice_type = 5, .frame_num = 3, .poc_lsb = 6}, kMixed, {0, 9, 11});
    w.Add({.slice_type = 5, .frame_num = 4, .poc_lsb = 10}, kMixed, {0});
    w.Add({.nal_ref_idc = 0, .slice_type = 6, .frame_num = 5, .poc_lsb = 8}, kMixed, {0, 13});
    w.ExpectSamePictures(6, f.pPixelFormat);
}
// The same as fields.
template <class LevelType>
void CheckFields(const Format& f, uint32_t Seed)
{
    WrittenTwice<LevelType> w(SetOf(f, false), PicOf(f, 1 + Seed % 2), 100 * Seed + 50);
    for (uint32_t i = 0; i < 2; ++i) {
        const bool Bottom = i == 1;
        w.Add({.nal_unit_type = Bottom ? 1u : 5u, .poc_lsb = i, .field = true, .bottom = Bottom}, kIntraOnly, {0, 8});
    }
    for (const uint32_t Frame : {1u, 2u, 3u})
        for (uint32_t i = 0; i < 2; ++i) {
            const bool IsB = Frame == 3;
            w.Add({.nal_ref_idc = IsB ? 0u : 1u,
                   .slice_type = IsB                    ? 6u
                                 : Frame == 1 && i == 0 ? 7u
                                                        : 5u,
                   .frame_num = Frame,
                   .poc_lsb = (IsB          ? 6
                               : Frame == 2 ? 8
                                            : 4) +
                              i,
                   .field = true,
                   .bottom = i == 1},
                  Frame == 1 && i == 0 ? kIntraOnly : kMixed, {0, 6});
        }
    w.ExpectSamePictures(4, f.pPixelFormat);
}

constexpr uint32_t kSeeds = 3;

// Pairs in slices of their own, whose contexts ask for nothing outside: mb_field_decoding_flag between mb_skip_flag and
// mb_type, references of fields, and the contexts of frame and field side by side.
template <class LevelType>
void CheckPairs(const Format& f, uint32_t Seed)
{
    test::SeqParamSet Seq = SetOf(f, false);
    Seq.mbaff = true;
    WrittenTwice<LevelType> w(Seq, PicOf(f, 1 + Seed % 2), 100 * Seed + 7);
    w.AddPairs({.nal_unit_type = 5}, kIntraOnly);
    w.AddPairs({.slice_type = 7, .frame_num = 1, .poc_lsb = 2}, kIntraOnly);
    w.AddPairs({.slice_type = 5, .frame_num = 2, .poc_lsb = 6}, kMixed);
    w.AddPairs({.nal_ref_idc = 0, .slice_type = 6, .frame_num = 3, .poc_lsb = 4}, kMixed);
    w.ExpectSamePictures(4, f.pPixelFormat);
}

class SyntaxOfAFormat : public testing::TestWithParam<Format>
{
};

TEST_P(SyntaxOfAFormat, OfFramesIsTheSameInBothCodings)
{
    for (uint32_t Seed = 0; Seed < kSeeds && !HasFailure(); ++Seed) {
        SCOPED_TRACE(Seed);
        if (GetParam().bit_depth == 8)
            CheckFrames<int16_t>(GetParam(), Seed);
        else
            CheckFrames<int32_t>(GetParam(), Seed);
    }
}

TEST_P(SyntaxOfAFormat, OfFieldsIsTheSameInBothCodings)
{
    for (uint32_t Seed = 0; Seed < kSeeds && !HasFailure(); ++Seed) {
        SCOPED_TRACE(Seed);
        if (GetParam().bit_depth == 8)
            CheckFields<int16_t>(GetParam(), Seed);
        else
            CheckFields<int32_t>(GetParam(), Seed);
    }
}

TEST_P(SyntaxOfAFormat, OfPairsIsTheSameInBothCodings)
{
    for (uint32_t Seed = 0; Seed < kSeeds && !HasFailure(); ++Seed) {
        SCOPED_TRACE(Seed);
        if (GetParam().bit_depth == 8)
            CheckPairs<int16_t>(GetParam(), Seed);
        else
            CheckPairs<int32_t>(GetParam(), Seed);
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, SyntaxOfAFormat, testing::ValuesIn(kFormats),
                         [](const auto& Info) { return std::string(Info.param.pTitle); });

} // namespace
