// Members of the family on streams that are not filtered: deep samples, 4:2:2 and fields.
#include "decoder/entropy/mb_decoder.h"
#include "decoder/macroblock/inter_prediction.h"
#include "decoder/macroblock/intra_prediction.h"
#include "decoder/macroblock/mb_reconstructor.h"
#include "tests/decoder/unfiltered_stream.h"
#include "tests/support/ffmpeg_oracle.h"
#include "tests/support/random_macroblocks.h"

#include <algorithm>

namespace UMC {
namespace {

using test::operator+;
using test::operator+=;

template <class Sample, int color_format, bool is_field>
class Member : MBDecoder<typename CodecTraits<Sample>::Coeffs, Sample, Sample, color_format, is_field, true>,
               MBReconstructor<Sample, color_format, true>
{
public:
    using SampleType = Sample;
    static void Decode(SliceCursor& c)
    {
        if (c.Slice.pHeader->slice_type == SLICE_P)
            Run<SLICE_P>(c);
        else
            Run<SLICE_I>(c);
    }

private:
    template <SliceType kSlice>
    static void Run(SliceCursor& c)
    {
        const PictureView& Picture = c.Slice.Picture;
        const bool IsCabac = c.Slice.pPictureSet->entropy_coding_mode_flag != 0;
        MbPlace Place = PlaceOf<false>(0, Picture.MbWidth);
        for (int32_t i = 0; i < Picture.MbCount(); ++i, Place = NextPlace<false>(Place, Picture.MbWidth)) {
            c.BeginMacroblock<false>(i, Place.X, Place.Y);
            if (IsCabac)
                Member::template DecodeMbCABAC<kSlice>(c);
            else
                Member::template DecodeMbCAVLC<kSlice>(c);
            Member::ReconstructInter(c.Slice, c.Mb, c.Coeffs, c.Scratch);
            if (IsCabac) {
                ASSERT_EQ(c.Entropy.Cabac.m_Engine.Terminate(), i + 1u == static_cast<uint32_t>(Picture.MbCount()))
                    << i;
            }
        }
    }
};

template <class M>
void ExpectAsFfmpeg(const Bytes& Stream, const char* pPixelFormat)
{
    const auto Expected = ffmpeg_oracle::Decode(Stream, pPixelFormat);
    EXPECT_EQ(Expected.Messages, "");
    ASSERT_FALSE(Expected.Pictures.empty());
    const Bytes Ours = UnfilteredStream().Decode<M>(Stream);
    ASSERT_EQ(Ours.size(), Expected.Pictures.size());
    const auto First = std::mismatch(Ours.begin(), Ours.end(), Expected.Pictures.begin());
    EXPECT_EQ(First.first, Ours.end()) << "first at byte " << First.first - Ours.begin() << " of " << Ours.size();
}

class MemberOfAFormat : public testing::TestWithParam<const char*>
{
};

TEST_P(MemberOfAFormat, OfDeepSamplesGivesFfmpegsPictures)
{
    for (const char* const pQp : {" --qp 3", " --qp 30"})
        ExpectAsFfmpeg<Member<uint16_t, 1, false>>(
            EncodeUnfiltered(std::string("--output-depth 10") + pQp + GetParam(), false), "yuv420p10le");
}

TEST_P(MemberOfAFormat, Of422GivesFfmpegsPictures)
{
    for (const char* const pQp : {" --qp 12", " --qp 34 --chroma-qp-offset 5"})
        ExpectAsFfmpeg<Member<uint8_t, 2, false>>(
            EncodeUnfiltered(std::string("--output-depth 8") + pQp + GetParam(), true), "yuv422p");
}

TEST_P(MemberOfAFormat, OfDeep422GivesFfmpegsPictures)
{
    for (const char* const pQp : {" --qp 2", " --qp 36 --chroma-qp-offset -4"})
        ExpectAsFfmpeg<Member<uint16_t, 2, false>>(
            EncodeUnfiltered(std::string("--output-depth 10") + pQp + GetParam(), true), "yuv422p10le");
}

INSTANTIATE_TEST_SUITE_P(Codings, MemberOfAFormat, testing::Values(" --no-cabac --8x8dct", " --8x8dct", " --no-8x8dct"),
                         [](const auto& Info) {
                             return std::string(Info.index == 0 ? "Cavlc" : Info.index == 1 ? "Cabac" : "Cabac4x4");
                         });

// Random macroblocks of every inter type and intra ones, with levels all over, in two frames of two fields each.
TEST(FieldMember, GivesFfmpegsPictures)
{
    for (const bool Is8x8 : {false, true}) {
        const test::SeqParamSet Seq{.profile_idc = 100,
                                    .num_ref_frames = 2,
                                    .width_mbs = 4,
                                    .height_map_units = 3,
                                    .frame_mbs_only = false,
                                    .vui = test::ReorderVui(0, 2)};
        const test::PicParamSet Pic{.has_transform_extension = true, .transform_8x8_mode = Is8x8};
        test::RandomMacroblocks Random(8);
        Bytes Stream = test::Write(Seq) + test::Write(Pic);
        for (uint32_t i = 0; i < 4; ++i) {
            const test::Slice s{.nal_unit_type = i == 0 ? 5u : 1u,
                                .slice_type = i == 0 ? 7u : 5u,
                                .frame_num = i / 2,
                                .poc_lsb = i,
                                .field = true,
                                .bottom = i % 2 != 0};
            Stream += i == 0 ? Random.Intra(Seq, Pic, s) : Random.Inter(Seq, Pic, s, 12, {.intra = 4});
        }
        ExpectAsFfmpeg<Member<uint8_t, 1, true>>(Stream, "yuv420p");
    }
}

} // namespace
} // namespace UMC
