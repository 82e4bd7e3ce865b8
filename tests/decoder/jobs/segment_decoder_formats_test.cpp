// Whole streams of the formats and depths for which no encoder is at hand: random macroblocks against ffmpeg, and where
// ffmpeg refuses the depths, plane by plane against streams that it takes.
#include "tests/decoder/random_stream.h"

#include <string>

namespace {

using namespace test;

struct Format {
    uint32_t chroma_format_idc, bit_depth, bit_depth_chroma;
};

SeqParamSet SequenceOf(const Format& f)
{
    return {.profile_idc = 122,
            .chroma_format_idc = f.chroma_format_idc,
            .bit_depth = f.bit_depth,
            .bit_depth_chroma = f.bit_depth_chroma};
}

// Pictures of all kinds of macroblocks, filtered. Equal for every format but for what the samples are.
RandomStream MakeStream(const Format& f, uint32_t Seed)
{
    RandomStream In(SequenceOf(f),
                    {.num_ref_idx = {3, 1},
                     .weighted_pred = true,
                     .weighted_bipred_idc = 1,
                     .pic_init_qp = 30,
                     .chroma_qp_index_offset = 3,
                     .has_transform_extension = true,
                     .transform_8x8_mode = true,
                     .second_chroma_qp_index_offset = -4},
                    Seed);
    const Weight Some{.luma = true,
                      .chroma = true,
                      .luma_weight = 29,
                      .luma_offset = -5,
                      .chroma_weight = {37, 30},
                      .chroma_offset = {4, -7}};
    In.Start(3);
    for (uint32_t i = 0; i < 3; ++i) {
        Slice p = Numbered(3 + i, 8 + 4 * i), b = Numbered(4 + i, 6 + 4 * i, 0);
        for (Slice* const s : {&p, &b}) {
            s->disable_deblocking = 0;
            s->luma_log2_weight_denom = s->chroma_log2_weight_denom = 5;
            s->weights[0] = {Some, {}, Some};
        }
        In.P(p).B(b);
    }
    return In;
}

std::string PixelFormat(const Format& f)
{
    return (f.chroma_format_idc == 1 ? "yuv420p" : "yuv422p") +
           (f.bit_depth > 8 ? std::to_string(f.bit_depth) + "le" : "");
}

class FormatOfAStream : public testing::TestWithParam<Format>
{
};

TEST_P(FormatOfAStream, GivesFfmpegsPictures)
{
    const RandomStream In = MakeStream(GetParam(), 61);
    ExpectAsFfmpeg(In.Data, In.Pictures, true, PixelFormat(GetParam()));
}

constexpr Format kDecodedByFfmpeg[]{{1, 8, 8}, {1, 9, 9}, {1, 10, 10}, {1, 12, 12}, {1, 14, 14},
                                    {2, 8, 8}, {2, 9, 9}, {2, 10, 10}, {2, 12, 12}, {2, 14, 14}};
INSTANTIATE_TEST_SUITE_P(Streams, FormatOfAStream, testing::ValuesIn(kDecodedByFfmpeg),
                         [](const auto& Info) { return PixelFormat(Info.param); });

// PCM macroblocks beside others of a QP that leaves much to filter: the mean of both goes by what PCM counts for.
TEST_P(FormatOfAStream, FiltersAtTheBordersOfPcmMacroblocks)
{
    RandomStream In(SequenceOf(GetParam()), {.chroma_qp_index_offset = 2}, 65);
    In.Start(1);
    for (uint32_t i = 1; i < 5; ++i) {
        Slice p = Numbered(i, 2 * i);
        p.slice_type = 5;
        p.disable_deblocking = 0;
        p.alpha = p.beta = 6;
        p.qp_delta = 10 + 4 * static_cast<int>(i % 3);
        MacroblockWriter Writer(In.Seq, In.Pic, p);
        for (int Mb = 0; Mb < RandomStream::kMbs; ++Mb) {
            Macroblock m = In.Random.Any(In.Seq, In.Pic, p, {.skip = 4, .intra = 0, .residual = false});
            if (In.Random.Upto(2) == 0) {
                m = {.intra = true, .mb_type = 25};
                for (uint8_t& Sample : m.pcm) Sample = static_cast<uint8_t>(100 + In.Random.Upto(12));
            }
            Writer.Put(m);
        }
        In.Data += Writer.Finish();
        ++In.Pictures;
    }
    ExpectAsFfmpeg(In.Data, In.Pictures, true, PixelFormat(GetParam()));
}

// Bytes as samples of either type.
std::vector<int> Numbers(const Bytes& Picture, bool IsDeep)
{
    std::vector<int> Samples;
    for (size_t i = 0; i < Picture.size(); i += IsDeep ? 2 : 1)
        Samples.push_back(IsDeep ? Picture[i] + 256 * Picture[i + 1] : Picture[i]);
    return Samples;
}

// Luma or both chroma planes of all pictures.
std::vector<int> SamplesOf(const std::vector<Bytes>& Pictures, bool IsDeep, bool OfLuma)
{
    constexpr ptrdiff_t kLuma = RandomStream::kMbs * 256;
    std::vector<int> Samples;
    for (const Bytes& Picture : Pictures) {
        const std::vector<int> All = Numbers(Picture, IsDeep);
        Samples.insert(Samples.end(), OfLuma ? All.begin() : All.begin() + kLuma,
                       OfLuma ? All.begin() + kLuma : All.end());
    }
    return Samples;
}

// Neither plane looks at the other's depth, so that each is that of a stream of its depth alone.
TEST(UnequalDepths, GiveThePlanesOfStreamsOfEachDepth)
{
    for (const uint32_t ChromaFormat : {1u, 2u})
        for (const auto& [Luma, Chroma] : {std::pair{8u, 10u}, {10u, 8u}, {9u, 14u}, {14u, 12u}}) {
            SCOPED_TRACE(testing::Message() << ChromaFormat << ": " << Luma << ", " << Chroma);
            const auto Decode = [&](uint32_t OfLuma, uint32_t OfChroma) {
                return DecodeAll(MakeStream({ChromaFormat, OfLuma, OfChroma}, 62).Data);
            };
            const auto Mixed = Decode(Luma, Chroma), AsLuma = Decode(Luma, Luma), AsChroma = Decode(Chroma, Chroma);
            ASSERT_EQ(Mixed.size(), 9u);
            EXPECT_EQ(SamplesOf(Mixed, true, true), SamplesOf(AsLuma, Luma > 8, true));
            EXPECT_EQ(SamplesOf(Mixed, true, false), SamplesOf(AsChroma, Chroma > 8, false));
        }
}

TEST(MonochromePictures, HaveTheirLumaAsIn420AndChromaOf128AtEveryDepth)
{
    for (const uint32_t Depth : {8u, 9u, 10u, 11u, 14u}) {
        SCOPED_TRACE(Depth);
        const RandomStream In = MakeStream({0, Depth, Depth}, 63);
        const auto Pictures = DecodeAll(In.Data);
        ASSERT_EQ(Pictures.size(), In.Pictures);
        const auto Chroma = SamplesOf(Pictures, Depth > 8, false);
        EXPECT_EQ(Chroma, std::vector<int>(In.Pictures * RandomStream::kMbs * 128, 128));
        if (Depth != 8 && Depth != 10) continue; // the others have no monochrome format with ffmpeg
        const std::string Grey = Depth > 8 ? "gray10le" : "gray";
        const auto Expected = ffmpeg_oracle::Decode(In.Data, Grey + " -vf extractplanes=y"); // no change of the range
        EXPECT_EQ(Expected.Messages, "");
        EXPECT_EQ(SamplesOf(Pictures, Depth > 8, true), Numbers(Expected.Pictures, Depth > 8)) << "luma";
    }
}

// At the depths that ffmpeg lacks too.
TEST(PcmSamples, ComeOutAtEveryDepth)
{
    for (uint32_t Depth = 8; Depth <= 14; ++Depth) {
        const SeqParamSet Seq = SequenceOf({2, Depth, 22 - Depth});
        const auto Pictures = DecodeAll(Write(Seq) + Write(PicParamSet{}) +
                                        PcmSlice(Seq, {}, {.nal_unit_type = 5}, static_cast<uint8_t>(100 + Depth)));
        ASSERT_EQ(Pictures.size(), 1u) << Depth;
        ASSERT_EQ(Pictures.front().size(), 512u * 2);
        for (size_t i = 0; i < 512; ++i) {
            ASSERT_EQ(Pictures.front()[2 * i], 100 + Depth) << Depth << " bits, " << i;
            ASSERT_EQ(Pictures.front()[2 * i + 1], 0) << Depth << " bits, " << i;
        }
    }
}

constexpr uint32_t kBypassPictures = 6; // frames or fields

// Macroblocks of the lowest QP, which bypass the transform, and between them some that do not. Samples keep away from
// the ends of their range, where ffmpeg's bypass wraps.
Bytes MixedBypass(const Format& f, bool Is8x8, bool IsField)
{
    const int Lowest = -6 * (static_cast<int>(f.bit_depth) - 8);
    SeqParamSet Seq = SequenceOf(f);
    Seq.transform_bypass = true;
    Seq.frame_mbs_only = !IsField;
    RandomStream In(
        Seq,
        {.num_ref_idx = {1, 1}, .pic_init_qp = Lowest, .has_transform_extension = true, .transform_8x8_mode = Is8x8},
        64);
    for (uint32_t i = 0; i < kBypassPictures; ++i) {
        Slice s = IsField ? Numbered(i / 2, i) : Numbered(i, 2 * i);
        s.nal_unit_type = i == 0 ? 5 : 1;
        s.field = IsField;
        s.bottom = IsField && i % 2;
        s.slice_type = i == 0 ? 7 : 5;
        s.disable_deblocking = 0;
        MacroblockWriter Writer(In.Seq, In.Pic, s);
        int Qp = Lowest;
        for (int Mb = 0; Mb < RandomStream::kMbs; ++Mb) {
            Macroblock m{.intra = true, .mb_type = 25};
            for (uint8_t& Sample : m.pcm) Sample = static_cast<uint8_t>(110 + In.Random.Upto(30));
            if (i != 0) m = In.Random.Any(In.Seq, In.Pic, s, {.intra = 4});
            const int Wanted = In.Random.Upto(3) ? Lowest : Lowest + 6 + In.Random.Upto(6);
            m.mb_qp_delta = Wanted - Qp;
            const bool IsSent = m.coded_block_pattern != 0 || (m.intra && m.mb_type != 0 && m.mb_type != 25);
            if (!m.skip && IsSent) Qp = Wanted;
            Writer.Put(m);
        }
        In.Data += Writer.Finish();
    }
    return In.Data;
}

class TransformBypass : public testing::TestWithParam<Format>
{
};

TEST_P(TransformBypass, GivesFfmpegsPictures)
{
    for (const bool IsField : {false, true})
        for (const bool Is8x8 : {false, true}) {
            SCOPED_TRACE(testing::Message() << IsField << Is8x8);
            const Bytes Stream = MixedBypass(GetParam(), Is8x8, IsField);
            ExpectAsFfmpeg(Stream, IsField ? kBypassPictures / 2 : kBypassPictures, true, PixelFormat(GetParam()));
        }
}

constexpr Format kBypassed[]{{1, 8, 8}, {2, 8, 8}, {1, 10, 10}, {2, 14, 14}};
INSTANTIATE_TEST_SUITE_P(Streams, TransformBypass, testing::ValuesIn(kBypassed),
                         [](const auto& Info) { return PixelFormat(Info.param); });

} // namespace
