// The edge filter on whole intra pictures against ffmpeg, of samples of 2 bytes and of 4:2:2. Intra prediction reads
// samples from before the filter: without its own, ffmpeg gives what this one starts from.
#include "decoder/macroblock/deblocking.h"
#include "tests/decoder/picture_fixture.h"
#include "tests/decoder/sample_planes.h"
#include "tests/support/ffmpeg_oracle.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/whole_files.h"

#include <cmath>
#include <cstring>

namespace UMC {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr int kQp = 32, kFilterOffset = 2, kChromaOffset = -3;

// ffmpeg's are those that it decodes to, without a conversion: chroma that was not coded comes behind luma.
struct FormatNames {
    const char *pX264, *pFfmpeg;
};
constexpr FormatNames kNames[]{{"i400", "yuv420p"}, {"i420", "yuv420p"}, {"i422", "yuv422p"}};

class DeblockingAgainstFfmpeg : public PictureFixture
{
protected:
    static constexpr int kLumaWidth = kWidth * 16, kLumaHeight = kHeight * 16;

    // Soft shapes with noise on them: macroblocks of all intra kinds, and steps at the borders of blocks.
    static Bytes MakeSource(int color_format)
    {
        SamplePlanes<uint8_t> p(color_format, kWidth, kHeight);
        p.Fill(1);
        Bytes Source;
        for (int i = 0; i < 3; ++i)
            for (size_t n = 0; n < p.Plane[i].size(); ++n) {
                const auto Width = static_cast<size_t>(p.Width[i]);
                const double x = static_cast<double>(n % Width), y = static_cast<double>(n / Width);
                Source.push_back(static_cast<uint8_t>(128 + 60 * std::sin(x / (7 + i)) * std::cos(y / (5 + i)) +
                                                      p.Plane[i][n] / 11));
            }
        return Source;
    }
    static Bytes MakeStream(int color_format, int Depth, bool Transform8x8)
    {
        const TemporaryFolder Folder;
        const std::string In = Folder.File("in.yuv"), Out = Folder.File("out.264");
        const Bytes Source = MakeSource(color_format);
        test::WriteWholeFile(In, Source);
        const std::string Csp = kNames[color_format].pX264;
        const std::string Command =
            "x264 --quiet --threads 1 --no-psy --aq-mode 0 --keyint 1 --partitions all --ipratio 1 --input-csp " + Csp +
            " --output-csp " + Csp + " --input-res " + std::to_string(kLumaWidth) + "x" + std::to_string(kLumaHeight) +
            " --fps 25 --output-depth " + std::to_string(Depth) + // its QP begins at the lowest
            " --qp " + std::to_string(kQp + 6 * (Depth - 8)) + " --deblock 1:1 --chroma-qp-offset " +
            std::to_string(kChromaOffset) + (Transform8x8 ? " --8x8dct" : " --no-8x8dct") + " -o " + Out + " " + In +
            " > /dev/null 2>&1";
        EXPECT_EQ(test_system::RunCommand(Command), 0) << Command;
        return test::ReadWholeFile(Out);
    }
    template <class Sample>
    static SamplePlanes<Sample> Decode(const Bytes& Stream, int color_format, int Depth, const char* pOptions)
    {
        SamplePlanes<Sample> p(color_format, kWidth, kHeight);
        const std::string Format = kNames[color_format].pFfmpeg + std::string(Depth > 8 ? "10le" : "");
        const Bytes Picture = ffmpeg_oracle::Decode(Stream, Format, pOptions).Pictures;
        size_t At = 0;
        for (auto& Plane : p.Plane) {
            const size_t Size = Plane.size() * sizeof(Sample);
            EXPECT_LE(At + Size, Picture.size());
            if (Size && At + Size <= Picture.size()) std::memcpy(Plane.data(), Picture.data() + At, Size);
            At += Size;
        }
        return p;
    }

    // Which macroblocks have the 8x8 transform only the stream knows: luma is compared where none has.
    template <class Sample, int color_format>
    void ExpectAsFfmpeg(int Depth, bool Transform8x8)
    {
        const Bytes Stream = MakeStream(color_format, Depth, Transform8x8);
        auto Got = Decode<Sample>(Stream, color_format, Depth, "-skip_loop_filter all");
        const auto Before = Got, Want = Decode<Sample>(Stream, color_format, Depth, "");
        m_Sequence.bit_depth_luma = m_Sequence.bit_depth_chroma = static_cast<uint8_t>(Depth);
        m_Slice.m_Header.slice_type = SLICE_I;
        m_Slice.m_Header.slice_alpha_c0_offset = m_Slice.m_Header.slice_beta_offset = kFilterOffset;
        for (int32_t& Offset : m_pPicture->chroma_qp_index_offset) Offset = kChromaOffset;
        for (int Mb = 0; Mb < kMbs; ++Mb) {
            SetIntra(Mb);
            m_LocalInfo[static_cast<size_t>(Mb)].Qp = kQp;
            if (Transform8x8) m_Global[static_cast<size_t>(Mb)].MbFlags = MBFLAG_TRANSFORM8x8;
        }
        PictureView View = m_pCursor->Slice.Picture;
        Got.ShowIn(View);
        const H264Deblocker<Sample, color_format> Deblocker(View, m_Slice);
        for (int Mb = 0; Mb < kMbs; ++Mb) Deblocker.Filter(Mb % kWidth, Mb / kWidth);
        for (int i = Transform8x8 ? 1 : 0; i < (color_format == 0 ? 1 : 3); ++i) {
            EXPECT_FALSE(HaveEqualSamples(Before, Want, i)) << "plane " << i << " has no edge to filter";
            EXPECT_TRUE(HaveEqualSamples(Got, Want, i))
                << "format " << color_format << ", " << Depth << " bits, 8x8 " << Transform8x8 << ", plane " << i;
        }
    }
};

TEST_F(DeblockingAgainstFfmpeg, OfDeepSamplesIsTheSame)
{
    ExpectAsFfmpeg<uint16_t, 0>(10, false);
    ExpectAsFfmpeg<uint16_t, 1>(10, false);
}

TEST_F(DeblockingAgainstFfmpeg, Of422IsTheSame)
{
    ExpectAsFfmpeg<uint8_t, 2>(8, false);
    ExpectAsFfmpeg<uint16_t, 2>(10, false);
}

TEST_F(DeblockingAgainstFfmpeg, OfChromaAsksForNo8x8Transform)
{
    ExpectAsFfmpeg<uint8_t, 2>(8, true);
    ExpectAsFfmpeg<uint16_t, 2>(10, true);
}

} // namespace
} // namespace UMC
