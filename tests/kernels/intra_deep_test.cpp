// Intra prediction of samples of 2 bytes, and that of 8x16 chroma blocks of both widths: as the 8-bit kernels have it
// where samples hold 8 bits, in proportion above, with the mean and the limits of the depth.
#include "kernels/intra/intra_rows.h"
#include "tests/kernels/deep_block.h"

#include <algorithm>
#include <array>

namespace {

using namespace kernels;
using namespace kernel_testing;

constexpr unsigned kAll = kLeft | kTop | kTopRight | kTopLeft;
constexpr unsigned kCorner = kLeft | kTop | kTopLeft;

// What the modes need by Tables 8-2 to 8-5.
constexpr unsigned kBlockNeeds[9]{kTop, kLeft, 0, kTop, kCorner, kCorner, kCorner, kTop, kLeft};
constexpr unsigned k16x16Needs[4]{kTop, kLeft, 0, kCorner};
constexpr unsigned kChromaNeeds[4]{0, kLeft, kTop, kCorner};

// A picture with a block of Size at (16, 1) of it, and a target with guards.
constexpr ptrdiff_t kPitch = 48, kTargetPitch = 20;
Block Picture(TestRandom& Rng, Fill How) { return Rng.MakeBlock(How, 48, 17, kPitch, 0); }
std::vector<uint8_t> Target() { return std::vector<uint8_t>(kTargetPitch * 16, 0xA5); }

// Narrow(pAround, step, pDst, step) and Deep with the same give the same: into a block apart, and in place.
template <class Narrow, class Deep>
void ExpectSame(const Block& Around, const Narrow& RunNarrow, const Deep& RunDeep)
{
    const DeepBlock DeepAround(Around);
    std::vector<uint8_t> Want = Target();
    std::vector<uint16_t> Got(Want.begin(), Want.end());
    RunNarrow(Around.At(16, 1), kPitch, Want.data(), kTargetPitch);
    RunDeep(DeepAround.At(16, 1), 2 * kPitch, Got.data(), 2 * kTargetPitch);
    ASSERT_EQ(Got, std::vector<uint16_t>(Want.begin(), Want.end()));
    Block WantIn = Around;
    DeepBlock GotIn = DeepAround;
    RunNarrow(WantIn.At(16, 1), kPitch, WantIn.At(16, 1), kPitch);
    RunDeep(GotIn.At(16, 1), 2 * kPitch, GotIn.At(16, 1), 2 * kPitch);
    ASSERT_EQ(GotIn.Samples, DeepBlock(WantIn).Samples);
}

// Test(neighbours, picture) for every set of neighbours that has what is needed.
template <class F>
void ForNeighbours(unsigned Needed, const F& Test)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Fill How : kAllFills)
        for (unsigned Available = 0; Available < 16; ++Available) {
            if ((Available & Needed) != Needed) continue;
            SCOPED_TRACE(Available);
            ASSERT_NO_FATAL_FAILURE(Test(Available, Picture(Rng, How)));
        }
}

// Run(pFn, pAround, step, pDst, step, depth) of the variant and of the reference give the same at every depth: into a
// block apart, and in place.
template <class Sig, class F>
void ExpectReference(Sig* pFn, Sig* pReference, const F& Run)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : {8, 9, 10, 12, 14})
        for (const Fill How : kDeepFills) {
            SCOPED_TRACE(Depth);
            const DeepBlock Around = DeepBlock::Random(Rng, How, 48, 17, kPitch, Depth);
            std::vector<uint16_t> Want(kTargetPitch * 16, 0xA5A5), Got = Want;
            Run(pReference, Around.At(16, 1), 2 * kPitch, Want.data(), 2 * kTargetPitch, Depth);
            Run(pFn, Around.At(16, 1), 2 * kPitch, Got.data(), 2 * kTargetPitch, Depth);
            ASSERT_EQ(Got, Want);
            DeepBlock WantIn = Around, GotIn = Around;
            Run(pReference, WantIn.At(16, 1), 2 * kPitch, WantIn.At(16, 1), 2 * kPitch, Depth);
            Run(pFn, GotIn.At(16, 1), 2 * kPitch, GotIn.At(16, 1), 2 * kPitch, Depth);
            ASSERT_EQ(GotIn.Samples, WantIn.Samples);
        }
}

// The same for each of Count modes with every set of neighbours that has what it needs:
// Run(pFn, mode, available, pAround, step, pDst, step, depth).
template <size_t Count, class Sig, class F>
void ExpectReferenceOfModes(Sig* pFn, Sig* pReference, const unsigned (&Needs)[Count], const F& Run)
{
    for (unsigned Available = 0; Available < 16; ++Available)
        for (size_t Mode = 0; Mode < Count; ++Mode) {
            if ((Available & Needs[Mode]) != Needs[Mode]) continue;
            SCOPED_TRACE(testing::Message() << "mode " << Mode << ", neighbours " << Available);
            ASSERT_NO_FATAL_FAILURE(ExpectReference(pFn, pReference, [&](Sig* p, auto... Blocks) {
                Run(p, static_cast<int>(Mode), Available, Blocks...);
            }));
        }
}

// Of the kernels that take a mode alone.
constexpr auto kRunMode = [](PredictModeDeepSig* p, int Mode, unsigned Available, auto pAround, auto Step, auto pDst,
                             auto DstStep, int Depth) { p(Mode, pAround, Step, pDst, DstStep, Available, Depth); };

void CheckPredict16x16Deep(PredictModeDeepSig* pFn, PredictModeDeepSig* pReference)
{
    PredictIntraSig* const kNarrow[4]{Predict16x16Vertical_px, Predict16x16Horizontal_px, Predict16x16Dc_px,
                                      Predict16x16Plane_px};
    for (int Mode = 0; Mode < 4; ++Mode)
        ForNeighbours(k16x16Needs[Mode], [&](unsigned Available, const Block& Around) {
            ExpectSame(
                Around, [&](auto... Blocks) { kNarrow[Mode](Blocks..., Available); },
                [&](auto... Blocks) { pFn(Mode, Blocks..., Available, 8); });
        });
    ExpectReferenceOfModes(pFn, pReference, k16x16Needs, kRunMode);
}
KERNEL_TEST(Predict16x16Deep, CheckPredict16x16Deep);

void CheckPredictChromaDeep(PredictChromaDeepSig* pFn, PredictChromaDeepSig* pReference)
{
    PredictIntraSig* const kNarrow[4]{PredictChromaDc_px, PredictChromaHorizontal_px, PredictChromaVertical_px,
                                      PredictChromaPlane_px};
    for (int Mode = 0; Mode < 4; ++Mode)
        ForNeighbours(kChromaNeeds[Mode], [&](unsigned Available, const Block& Around) {
            ExpectSame(
                Around, [&](auto... Blocks) { kNarrow[Mode](Blocks..., Available); },
                [&](auto... Blocks) { pFn(Mode, 8, Blocks..., Available, 8); });
            ExpectSame(
                Around, [&](auto... Blocks) { PredictChroma422_px(Mode, Blocks..., Available); },
                [&](auto... Blocks) { pFn(Mode, 16, Blocks..., Available, 8); });
        });
    for (const int Height : {8, 16})
        ExpectReferenceOfModes(pFn, pReference, kChromaNeeds,
                               [=](auto p, int Mode, unsigned Available, auto pAround, auto Step, auto pDst,
                                   auto DstStep,
                                   int Depth) { p(Mode, Height, pAround, Step, pDst, DstStep, Available, Depth); });
}
KERNEL_TEST(PredictChromaDeep, CheckPredictChromaDeep);

void CheckPredictIntra4x4Deep(PredictIntra4x4DeepSig* pFn, PredictIntra4x4DeepSig* pReference)
{
    const std::vector<uint8_t> TopRight{3, 200, 17, 90};
    const std::vector<uint16_t> DeepTopRight(TopRight.begin(), TopRight.end());
    for (int Mode = 0; Mode < 9; ++Mode)
        ForNeighbours(kBlockNeeds[Mode], [&](unsigned Available, const Block& Around) {
            ExpectSame(
                Around,
                [&](auto pAround, auto Step, auto... Dst) {
                    PredictIntra4x4_px(Mode, pAround, Step, TopRight.data(), Dst..., Available);
                },
                [&](auto pAround, auto Step, auto... Dst) {
                    pFn(Mode, pAround, Step, DeepTopRight.data(), Dst..., Available, 8);
                });
        });
    ExpectReferenceOfModes(
        pFn, pReference, kBlockNeeds,
        [](auto p, int Mode, unsigned Available, auto pAround, auto Step, auto pDst, auto DstStep, int Depth) {
            const std::vector<uint16_t> TopRight(4, static_cast<uint16_t>((1 << Depth) - 1));
            p(Mode, pAround, Step, TopRight.data(), pDst, DstStep, Available, Depth);
        });
}
KERNEL_TEST(PredictIntra4x4Deep, CheckPredictIntra4x4Deep);

void CheckPredictIntra8x8Deep(PredictModeDeepSig* pFn, PredictModeDeepSig* pReference)
{
    for (int Mode = 0; Mode < 9; ++Mode)
        ForNeighbours(kBlockNeeds[Mode], [&](unsigned Available, const Block& Around) {
            ExpectSame(
                Around, [&](auto... Blocks) { PredictIntra8x8_px(Mode, Blocks..., Available); },
                [&](auto... Blocks) { pFn(Mode, Blocks..., Available, 8); });
        });
    ExpectReferenceOfModes(pFn, pReference, kBlockNeeds, kRunMode);
}
KERNEL_TEST(PredictIntra8x8Deep, CheckPredictIntra8x8Deep);

void CheckPredictAll4x4Deep(PredictAll4x4DeepSig* pFn, PredictAll4x4DeepSig* pReference)
{
    TestRandom Rng;
    ForNeighbours(0, [&](unsigned Available, const Block& Around) {
        const Block Source = Rng.MakeBlock(Fill::Random, 4, 4, 17, 0);
        const DeepBlock DeepSource(Source), DeepAround(Around);
        alignas(16) uint8_t Want[9][16];
        alignas(16) uint16_t Got[9][16];
        int32_t WantSad[9], GotSad[9];
        PredictAll4x4_px(Source.At(0, 0), 17, Around.At(16, 1), kPitch, Available, Want, WantSad);
        pFn(DeepSource.At(0, 0), 34, DeepAround.At(16, 1), 2 * kPitch, Available, Got, GotSad, 8);
        for (int Mode = 0; Mode < 9; ++Mode) {
            ASSERT_TRUE(std::equal(Want[Mode], Want[Mode] + 16, Got[Mode])) << Mode;
            ASSERT_EQ(GotSad[Mode], WantSad[Mode]) << Mode;
        }
    });
    for (const int Depth : {9, 10, 12, 14})
        for (const Fill How : kDeepFills)
            for (unsigned Available = 0; Available < 16; ++Available) {
                const DeepBlock Source = DeepBlock::Random(Rng, Fill::ZeroOrMax, 4, 4, 17, Depth);
                const DeepBlock Around = DeepBlock::Random(Rng, How, 48, 17, kPitch, Depth);
                alignas(16) std::array<uint16_t, 9 * 16> Want, Got;
                std::array<int32_t, 10> WantSad{}, GotSad{};
                const auto Run = [&](auto p, auto& Out, auto& Sad) {
                    p(Source.At(0, 0), 34, Around.At(16, 1), 2 * kPitch, Available,
                      reinterpret_cast<uint16_t(*)[16]>(Out.data()), Sad.data(), Depth);
                };
                Run(pReference, Want, WantSad);
                Run(pFn, Got, GotSad);
                ASSERT_EQ(Got, Want) << Depth << " bits, neighbours " << Available;
                ASSERT_EQ(GotSad, WantSad) << Depth << " bits, neighbours " << Available;
            }
}
KERNEL_TEST(PredictAll4x4Deep, CheckPredictAll4x4Deep);

// The upper half of vertical, horizontal and DC predictions is that of an 8x8 block; below, blocks have other sides.
void CheckPredictChroma422(PredictModeSig* pFn, PredictModeSig*)
{
    PredictIntraSig* const kNarrow[3]{PredictChromaDc_px, PredictChromaHorizontal_px, PredictChromaVertical_px};
    for (int Mode = 0; Mode < 3; ++Mode)
        ForNeighbours(kChromaNeeds[Mode], [&](unsigned Available, const Block& Around) {
            std::vector<uint8_t> Want = Target(), Got = Want;
            kNarrow[Mode](Around.At(16, 1), kPitch, Want.data(), kTargetPitch, Available);
            pFn(Mode, Around.At(16, 1), kPitch, Got.data(), kTargetPitch, Available);
            ASSERT_TRUE(std::equal(Want.begin(), Want.begin() + 8 * kTargetPitch, Got.begin())) << Mode;
            for (int y = 8; y < 16; ++y)
                for (int x = 0; x < kTargetPitch; ++x) {
                    const int Sample = Got[static_cast<size_t>(y * kTargetPitch + x)];
                    if (x >= 8) {
                        ASSERT_EQ(Sample, 0xA5);
                    }
                    if (x < 8 && Mode == 1) {
                        ASSERT_EQ(Sample, *Around.At(15, 1 + y));
                    }
                    if (x < 8 && Mode == 2) {
                        ASSERT_EQ(Sample, *Around.At(16 + x, 0));
                    }
                }
        });
}
KERNEL_TEST(PredictChroma422, CheckPredictChroma422);

// ---- The reference's own results ---------------------------------------------------------------------------

// Above 10 in the left half and 30 in the right, left 50 60 70 80 by quarter: clause 8.3.4.1 by chroma4x4BlkIdx.
TEST(PredictChroma422Reference, EachBlockTakesItsOwnSides)
{
    std::vector<uint8_t> Around(17 * 9, 0);
    for (size_t x = 1; x <= 8; ++x) Around[x] = x <= 4 ? 10 : 30;
    for (size_t y = 1; y <= 16; ++y) Around[y * 9] = static_cast<uint8_t>(50 + (y - 1) / 4 * 10);
    uint8_t Out[128];
    const auto Blocks = [&](unsigned Available) {
        PredictChroma422_px(0, &Around[10], 9, Out, 8, Available);
        std::vector<int> Means;
        for (int y = 0; y < 16; y += 4)
            for (int x = 0; x < 8; x += 4) Means.push_back(Out[y * 8 + x]);
        return Means;
    };
    EXPECT_EQ(Blocks(kTop | kLeft), (std::vector<int>{30, 30, 60, 45, 70, 50, 80, 55}));
    EXPECT_EQ(Blocks(kTop), (std::vector<int>{10, 30, 10, 30, 10, 30, 10, 30}));
    EXPECT_EQ(Blocks(kLeft), (std::vector<int>{50, 50, 60, 60, 70, 70, 80, 80}));
    EXPECT_EQ(Blocks(0), std::vector<int>(8, 128));
}

TEST(PredictChroma422Reference, APlaneGoesOnDownTheTallBlock)
{
    std::vector<uint8_t> Around(17 * 9);
    for (int y = 0; y < 17; ++y)
        for (int x = 0; x < 9; ++x) Around[static_cast<size_t>(y * 9 + x)] = static_cast<uint8_t>(20 + 4 * x + 8 * y);
    uint8_t Out[128];
    PredictChroma422_px(3, &Around[10], 9, Out, 8, kAll);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 8; ++x) ASSERT_EQ(Out[y * 8 + x], Around[static_cast<size_t>((y + 1) * 9 + x + 1)]);
}

// Without neighbours a block is the middle of its depth; a plane that leaves the range is cut to it.
TEST(PredictDeepReference, TheDepthSetsTheMiddleAndTheEnd)
{
    for (const int Depth : {9, 10, 12, 14}) {
        const int Middle = 1 << (Depth - 1), Max = (1 << Depth) - 1;
        std::vector<uint16_t> Out(256);
        Predict16x16Deep_px(2, nullptr, 0, Out.data(), 32, 0, Depth);
        EXPECT_EQ(Out, std::vector<uint16_t>(256, static_cast<uint16_t>(Middle)));
        PredictChromaDeep_px(0, 16, nullptr, 0, Out.data(), 16, 0, Depth);
        EXPECT_EQ(Out[127], Middle);
        PredictIntra4x4Deep_px(2, Out.data() + 64, 32, nullptr, Out.data() + 64, 32, 0, Depth);
        EXPECT_EQ(Out[64], Middle);
        std::vector<uint16_t> Around(17 * 17, static_cast<uint16_t>(Max));
        for (size_t i = 0; i < 8; ++i) Around[i] = Around[i * 17] = 0; // steep at the start
        Predict16x16Deep_px(3, &Around[18], 34, Out.data(), 32, kAll, Depth);
        EXPECT_EQ(*std::max_element(Out.begin(), Out.end()), Max);
        EXPECT_EQ(Out[0], 0);
    }
}

// A block of 12 bits whose neighbours are 16 times those of 8 bits is 16 times the block, but for the rounding.
TEST(PredictDeepReference, IsThatOf8BitsInProportion)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    const Block Around = Picture(Rng, Fill::Random);
    DeepBlock Scaled(Around);
    for (uint16_t& s : Scaled.Samples) s = static_cast<uint16_t>(16 * s);
    for (int Mode = 0; Mode < 9; ++Mode) {
        uint8_t Narrow[64];
        uint16_t Deep[64];
        PredictIntra8x8_px(Mode, Around.At(16, 1), kPitch, Narrow, 8, kAll);
        PredictIntra8x8Deep_px(Mode, Scaled.At(16, 1), 2 * kPitch, Deep, 16, kAll, 12);
        for (int i = 0; i < 64; ++i) EXPECT_NEAR(Deep[i], 16 * Narrow[i], 16) << Mode;
    }
}

} // namespace
