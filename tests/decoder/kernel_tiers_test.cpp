// Whole streams decoded with the kernels of every tier: each gives ffmpeg's pictures.
#include "kernels/dispatch/kernels.h"
#include "tests/decoder/random_stream.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/whole_files.h"

#include <cstdlib>

namespace {

using namespace test;

constexpr int kWidth = 80, kHeight = 64, kFrames = 8;

// I420: a gradient that drifts by fractions of a sample, a block that jumps, a corner of noise, and a flash of light.
Bytes MakeSource()
{
    Bytes Source;
    uint32_t Noise = 12345;
    for (int t = 0; t < kFrames; ++t)
        for (int Plane = 0; Plane < 3; ++Plane) {
            const int Shift = Plane != 0;
            for (int y = 0; y < kHeight >> Shift; ++y)
                for (int x = 0; x < kWidth >> Shift; ++x) {
                    int Value = (2 * x + y + (5 * t) / 2 + 30 * Plane) & 127;
                    if ((x + 90 - 9 * t) % 40 < 18 && (y + 5 * t) % 48 < 20) Value = 210 - x * y % 37;
                    if (x < kWidth / 5 && y < kHeight / 5)
                        Value += static_cast<int>((Noise = Noise * 1103515245 + 12345) >> 26);
                    if (Plane == 0 && t >= 3 && t < 6) Value += 30;
                    Source.push_back(static_cast<uint8_t>(std::min(Value, 255)));
                }
        }
    return Source;
}

Bytes EncodeByX264(const std::string& Options)
{
    const TemporaryFolder Folder;
    const std::string In = Folder.File("in.yuv"), Out = Folder.File("out.264");
    const Bytes Source = MakeSource();
    test::WriteWholeFile(In, Source);
    const std::string Command = "x264 --quiet --threads 1 --input-res " + std::to_string(kWidth) + "x" +
                                std::to_string(kHeight) + " --fps 25 --b-adapt 0 " + Options + " -o " + Out + " " + In +
                                " > /dev/null 2>&1";
    EXPECT_EQ(test_system::RunCommand(Command), 0) << Command;
    return test::ReadWholeFile(Out);
}

class KernelTiers : public testing::Test
{
protected:
    KernelTiers() : m_Before(kernels::g_BoundTier) {}
    ~KernelTiers() override { kernels::InitKernelsForTier(m_Before); }

    void ExpectAsFfmpegAtEach(const Bytes& Stream)
    {
        const auto Expected = ffmpeg_oracle::Decode(Stream);
        EXPECT_EQ(Expected.Messages, "");
        ASSERT_FALSE(Expected.Pictures.empty());
        kernels::InitKernelsWaterfall();
        for (int Tier = kernels::g_BoundTier; Tier >= 0; --Tier) { // the processor's, and all below
            kernels::InitKernelsForTier(Tier);
            Bytes All;
            for (const Bytes& Picture : DecodeAll(Stream)) All += Picture;
            EXPECT_TRUE(All == Expected.Pictures) << "tier " << Tier;
        }
    }

private:
    int32_t m_Before;
};

TEST_F(KernelTiers, CavlcWithoutBPictures)
{
    ExpectAsFfmpegAtEach(EncodeByX264("--profile baseline --crf 18 --partitions all --subme 7 --ref 2"));
}

TEST_F(KernelTiers, CabacWithBPicturesAndImplicitWeights)
{
    ExpectAsFfmpegAtEach(EncodeByX264("--profile main --crf 20 --bframes 1 --weightb --ref 4 --direct temporal"));
}

TEST_F(KernelTiers, IntraMacroblocksOfEverySize)
{
    ExpectAsFfmpegAtEach(EncodeByX264("--profile high --8x8dct --keyint 2 --partitions all --qp 16 --bframes 0"));
}

TEST_F(KernelTiers, ExplicitWeightsAndOwnScalingLists)
{
    ExpectAsFfmpegAtEach(EncodeByX264("--profile high --weightp 2 --ref 3 --cqm jvt --no-cabac --bframes 1 --crf 26"));
}

TEST_F(KernelTiers, CoarseQuantisersAndTheStrongFilter)
{
    ExpectAsFfmpegAtEach(
        EncodeByX264("--profile high --qp 44 --deblock 6:6 --bframes 1 --slices 2 --chroma-qp-offset 6"));
}

TEST_F(KernelTiers, WeightsOfBothListsAtTheirBounds)
{
    RandomStream In({.profile_idc = 77}, {.num_ref_idx = {3, 2}, .weighted_pred = true, .weighted_bipred_idc = 1}, 41);
    In.Start(4);
    for (uint32_t i = 0; i < 8; ++i) {
        Slice p = Numbered(4 + i, 10 + 4 * i), b = Numbered(5 + i, 8 + 4 * i, 0);
        for (Slice* const s : {&p, &b}) {
            s->luma_log2_weight_denom = i;
            s->chroma_log2_weight_denom = 7 - i;
            const int Most = s == &p ? 127 : 63; // two weights together may be no more than 127
            for (auto& List : s->weights)
                for (const int Weight : {Most, -Most - 1, i > 5 ? 0 : 1 << i})
                    List.push_back({true, true, Weight, In.Random.Upto(255) - 128, {Weight, ~Weight}, {63, -64}});
        }
        In.P(p).B(b);
    }
    ExpectAsFfmpegAtEach(In.Data);
}

} // namespace
