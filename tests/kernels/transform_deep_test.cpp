// Transforms and quantisation of samples of 2 bytes.
#include "kernels/transform/transform_rows.h"
#include "tests/kernels/deep_block.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace {

using namespace kernels;
using namespace kernel_testing;

constexpr uint16_t kFactors[6][3]{{13107, 5243, 8066}, {11916, 4660, 7490}, {10082, 4194, 6554},
                                  {9362, 3647, 5825},  {8192, 3355, 5243},  {7282, 2893, 4559}};
constexpr int kMostQp = 75; // of 12 bits: 51 + 6 * 4
constexpr Fill kFills[]{Fill::Random, Fill::AllZero, Fill::AllMax, Fill::ZeroOrMax};

QuantParams ParamsAt(int Qp, bool Intra)
{
    QuantParams Quant;
    for (size_t i = 0; i < 16; ++i) {
        const bool OddRow = i & 4, OddColumn = i & 1;
        Quant.Factor[i] = kFactors[Qp % 6][OddRow && OddColumn ? 1 : OddRow || OddColumn ? 2 : 0];
    }
    Quant.Shift = 15 + Qp / 6;
    Quant.Rounding = (1u << Quant.Shift) / (Intra ? 3 : 6);
    return Quant;
}

// The parameters of a QP, and every fourth time whatever a matrix may give.
QuantParams RandomParams(TestRandom& Rng)
{
    QuantParams Quant = ParamsAt(Rng.Range(0, kMostQp), Rng.Range(0, 1));
    if (Rng.Range(0, 3)) return Quant;
    Quant.Shift = Rng.Range(11, 27);
    Quant.Rounding = static_cast<uint32_t>(Rng.Range(0, (1 << Quant.Shift) - 1));
    for (uint16_t& Factor : Quant.Factor) Factor = static_cast<uint16_t>(Rng.Range(1, 65535));
    return Quant;
}

template <size_t Count>
struct Coefficients {
    alignas(16) std::array<int32_t, Count + 8> Values; // with a guard at both ends

    explicit Coefficients(int32_t Value = 0)
    {
        Values.fill(-21);
        std::fill_n(At(), Count, Value);
    }
    int32_t* At(size_t i = 0) { return Values.data() + 4 + i; }
    const int32_t* At(size_t i = 0) const { return Values.data() + 4 + i; }
    bool operator==(const Coefficients&) const = default;
};

// Source and prediction of Size x Size at every depth and of every kind: Test(source, prediction, parameters, depth).
template <int Size, class F>
void ForBlocks(const F& Test)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 4; ++Round)
        for (const int Depth : {8, 9, 10, 12})
            for (const Fill How : kFills)
                for (const Fill Other : kFills) {
                    const DeepBlock a = DeepBlock::Random(Rng, How, Size, Size, 41 + Round, Depth);
                    const DeepBlock b = DeepBlock::Random(Rng, Other, Size, Size, 16, Depth);
                    ASSERT_NO_FATAL_FAILURE(Test(a, b, RandomParams(Rng)));
                }
}

// ---- Variants ----------------------------------------------------------------------------------------------

template <int Size>
void CheckForwardQuant(ForwardQuantDeepSig* pFn, ForwardQuantDeepSig* pReference)
{
    ForBlocks<Size>([&](const DeepBlock& a, const DeepBlock& b, const QuantParams& Quant) {
        Coefficients<Size * Size> Want, Got;
        const uint32_t Mask = pReference(a.At(0, 0), a.Step(), b.At(0, 0), b.Step(), Want.At(), &Quant);
        ASSERT_EQ(pFn(a.At(0, 0), a.Step(), b.At(0, 0), b.Step(), Got.At(), &Quant), Mask);
        ASSERT_EQ(Got, Want);
    });
}
KERNEL_TEST(ForwardQuant16x16Deep, CheckForwardQuant<16>);
KERNEL_TEST(ForwardQuant4x4Deep, CheckForwardQuant<4>);

template <int Size>
void CheckForwardQuantAc(ForwardQuantAcDeepSig* pFn, ForwardQuantAcDeepSig* pReference)
{
    ForBlocks<Size>([&](const DeepBlock& a, const DeepBlock& b, const QuantParams& Quant) {
        Coefficients<Size * Size> Want, Got;
        Coefficients<Size * Size / 16> WantDc, GotDc;
        const uint32_t Mask = pReference(a.At(0, 0), a.Step(), b.At(0, 0), b.Step(), Want.At(), WantDc.At(), &Quant);
        ASSERT_EQ(pFn(a.At(0, 0), a.Step(), b.At(0, 0), b.Step(), Got.At(), GotDc.At(), &Quant), Mask);
        ASSERT_EQ(Got, Want);
        ASSERT_EQ(GotDc, WantDc);
    });
}
KERNEL_TEST(ForwardQuantAc16x16Deep, CheckForwardQuantAc<16>);
KERNEL_TEST(ForwardQuantAc8x8Deep, CheckForwardQuantAc<8>);

template <size_t Count>
void CheckForwardDc(ForwardDcDeepSig* pFn, ForwardDcDeepSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 400; ++Round) {
        const QuantParams Quant = RandomParams(Rng);
        const int Most = Round % 3 ? 4095 * 16 : 60; // the largest DC of a 4x4 block, and ones near to nothing
        Coefficients<Count> Want;
        for (size_t i = 0; i < Count; ++i)
            *Want.At(i) = Round % 5 ? Rng.Range(-Most, Most) : Rng.Range(0, 1) ? Most : -Most;
        auto Got = Want;
        const bool Any = pReference(Want.At(), Quant.Factor[0], Quant.Rounding, Quant.Shift) != 0;
        ASSERT_EQ(pFn(Got.At(), Quant.Factor[0], Quant.Rounding, Quant.Shift) != 0, Any);
        ASSERT_EQ(Got, Want);
    }
}
KERNEL_TEST(ForwardLumaDcDeep, CheckForwardDc<16>);
KERNEL_TEST(ForwardChromaDc420Deep, CheckForwardDc<4>);
KERNEL_TEST(ForwardChromaDc422Deep, CheckForwardDc<8>);

void CheckDequantBlocksDeep(DequantBlocksDeepSig* pFn, DequantBlocksDeepSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 60; ++Round)
        for (int QpPer = 0; QpPer <= 12; ++QpPer)
            for (const int FirstIndex : {0, 1}) {
                alignas(16) int16_t Scale[16]; // flat lists give multiples of 16, matrices anything
                for (int16_t& s : Scale)
                    s = static_cast<int16_t>(Round & 1 ? 16 * Rng.Range(10, 29) : Rng.Range(10, 29 * 255));
                const int Most = Round % 3 ? 100000 : 5;
                Coefficients<256> Want;
                for (size_t i = 0; i < 256; ++i) *Want.At(i) = Rng.Range(-Most, Most);
                auto Got = Want;
                const int Count = Round & 2 ? 16 : 4;
                const auto Bits = static_cast<uint32_t>(Round < 4 ? 0xFFFF : Rng.Range(0, 0xFFFF));
                pReference(Want.At(), Bits, Count, Scale, QpPer, FirstIndex);
                pFn(Got.At(), Bits, Count, Scale, QpPer, FirstIndex);
                ASSERT_EQ(Got, Want) << "QP / 6 " << QpPer << ", first " << FirstIndex;
            }
}
KERNEL_TEST(DequantBlocksDeep, CheckDequantBlocksDeep);

// BlockSize values a block, the bits of the blocks BitStep apart.
template <int Size, size_t BlockSize, int BitStep>
void CheckAddResidualBlocks(AddResidualLumaDeepSig* pFn, AddResidualLumaDeepSig* pReference)
{
    constexpr int kBlocks = Size * Size / static_cast<int>(BlockSize);
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 60; ++Round)
        for (const int Depth : {8, 10, 12, 14}) {
            uint32_t Bits = 0;
            Coefficients<Size * Size> Want;
            for (int b = 0; b < kBlocks; ++b) {
                if (Round && Rng.Range(0, 1)) continue; // the first round has all blocks
                Bits |= 1u << BitStep * b;
                const int Most = Round % 4 == 3 ? INT32_MAX : 1 << (Depth + 6 + Round % 4);
                for (size_t i = 0; i < BlockSize; ++i)
                    *Want.At(static_cast<size_t>(b) * BlockSize + i) = Rng.Range(0, 2) ? Rng.Range(-Most, Most) : 0;
            }
            auto Got = Want;
            DeepBlock WantDst = DeepBlock::Random(Rng, kFills[Round % 4], Size + 8, Size, Size + 8, Depth);
            DeepBlock GotDst = WantDst;
            pReference(Want.At(), WantDst.At(3, 0), WantDst.Step(), Bits, Depth);
            pFn(Got.At(), GotDst.At(3, 0), GotDst.Step(), Bits, Depth);
            ASSERT_EQ(GotDst.Samples, WantDst.Samples) << "bits " << Bits;
            ASSERT_EQ(Got, Want) << "bits " << Bits;
        }
}
KERNEL_TEST(AddResidualLuma4x4Deep, (CheckAddResidualBlocks<16, 16, 1>));
KERNEL_TEST(AddResidualLuma8x8Deep, (CheckAddResidualBlocks<16, 64, 4>));
KERNEL_TEST(AddResidualChromaDeep, (CheckAddResidualBlocks<8, 16, 1>));

// ---- The reference's own results ---------------------------------------------------------------------------

// Luma4x4BlkIdx of a block by its place (6.4.3).
size_t BlockIndex(int x, int y) { return static_cast<size_t>((y / 8) * 8 + (x / 8) * 4 + (y / 4 % 2) * 2 + x / 4 % 2); }

// The coefficient of the core transform by its matrix.
int64_t Coefficient(const DeepBlock& a, const DeepBlock& b, int Left, int Top, int Row, int Column)
{
    constexpr int kCore[4][4]{{1, 1, 1, 1}, {2, 1, -1, -2}, {1, -1, -1, 1}, {1, -2, 2, -1}};
    int64_t Sum = 0;
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            Sum += int64_t{kCore[Row][y]} * kCore[Column][x] * (*a.At(Left + x, Top + y) - *b.At(Left + x, Top + y));
    return Sum;
}

int64_t Level(int64_t c, uint64_t Factor, uint64_t Rounding, int Shift)
{
    const auto Magnitude = static_cast<int64_t>((static_cast<uint64_t>(std::abs(c)) * Factor + Rounding) >> Shift);
    return c < 0 ? -Magnitude : Magnitude;
}

TEST(ForwardQuantDeepReference, IsTheMatrixAndTheQuantiser)
{
    ForBlocks<16>([](const DeepBlock& a, const DeepBlock& b, const QuantParams& q) {
        Coefficients<256> Levels, AcLevels;
        Coefficients<16> Dc;
        const uint32_t Mask = ForwardQuant16x16Deep_px(a.At(0, 0), a.Step(), b.At(0, 0), b.Step(), Levels.At(), &q);
        const uint32_t AcMask =
            ForwardQuantAc16x16Deep_px(a.At(0, 0), a.Step(), b.At(0, 0), b.Step(), AcLevels.At(), Dc.At(), &q);
        for (int y = 0; y < 16; y += 4)
            for (int x = 0; x < 16; x += 4) {
                const size_t Block = BlockIndex(x, y);
                bool Any = false, AnyAc = false;
                for (int i = 0; i < 16; ++i) {
                    const int64_t c = Coefficient(a, b, x, y, i / 4, i % 4);
                    const int64_t Want = Level(c, q.Factor[i], q.Rounding, q.Shift);
                    const size_t At = 16 * Block + static_cast<size_t>(i);
                    ASSERT_EQ(*Levels.At(At), Want) << "block " << Block << ", coefficient " << i;
                    ASSERT_EQ(*AcLevels.At(At), i ? Want : 0);
                    if (i == 0) {
                        ASSERT_EQ(*Dc.At(static_cast<size_t>(y + x / 4)), c);
                    }
                    Any |= Want != 0;
                    AnyAc |= i && Want != 0;
                }
                ASSERT_EQ(Mask >> Block & 1, Any ? 1u : 0u);
                ASSERT_EQ(AcMask >> Block & 1, AnyAc ? 1u : 0u);
            }
    });
}

TEST(ForwardQuantDeepReference, SmallerAreasAreTheirPart)
{
    ForBlocks<16>([](const DeepBlock& a, const DeepBlock& b, const QuantParams& q) {
        Coefficients<256> All, AllAc;
        Coefficients<64> Chroma;
        Coefficients<16> One, Dc;
        Coefficients<4> ChromaDc;
        const uint32_t Mask = ForwardQuant16x16Deep_px(a.At(0, 0), a.Step(), b.At(0, 0), b.Step(), All.At(), &q);
        ForwardQuantAc16x16Deep_px(a.At(0, 0), a.Step(), b.At(0, 0), b.Step(), AllAc.At(), Dc.At(), &q);
        ASSERT_EQ(ForwardQuant4x4Deep_px(a.At(12, 0), a.Step(), b.At(12, 0), b.Step(), One.At(), &q), Mask >> 5 & 1);
        ASSERT_TRUE(std::equal(One.At(), One.At(16), All.At(16 * 5)));
        ForwardQuantAc8x8Deep_px(a.At(8, 8), a.Step(), b.At(8, 8), b.Step(), Chroma.At(), ChromaDc.At(), &q);
        ASSERT_TRUE(std::equal(Chroma.At(), Chroma.At(64), AllAc.At(16 * 12)));
        for (size_t i = 0; i < 4; ++i) ASSERT_EQ(*ChromaDc.At(i), *Dc.At(10 + i / 2 * 4 + i % 2));
    });
}

// Forms of 8 bits and deep ones agree wherever both can be asked.
TEST(ForwardDcDeepReference, IsThatOf8BitsAndGoesFurther)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    constexpr struct {
        ForwardDcSig* pNarrow;
        ForwardDcDeepSig* pDeep;
        size_t Count;
    } kForms[]{{ForwardLumaDc_px, ForwardLumaDcDeep_px, 16},
               {ForwardChromaDc420_px, ForwardChromaDc420Deep_px, 4},
               {ForwardChromaDc422_px, ForwardChromaDc422Deep_px, 8}};
    for (const auto& Form : kForms)
        for (int Round = 0; Round < 200; ++Round) {
            const QuantParams q = ParamsAt(Rng.Range(0, 51), Round & 1);
            alignas(16) int16_t Narrow[16];
            for (int16_t& c : Narrow) c = static_cast<int16_t>(Rng.Range(-4080, 4080));
            alignas(16) int32_t Deep[16];
            std::copy_n(Narrow, 16, Deep);
            ASSERT_EQ(Form.pDeep(Deep, q.Factor[0], q.Rounding, q.Shift),
                      Form.pNarrow(Narrow, q.Factor[0], q.Rounding, q.Shift));
            ASSERT_TRUE(std::equal(Narrow, Narrow + Form.Count, Deep));
        }
    // Every block at the most that 12 bits give: the sums have 24 bits with their factor 38.
    alignas(16) int32_t Dc[16];
    const QuantParams q = ParamsAt(0, true);
    std::fill_n(Dc, 16, 65520);
    ForwardLumaDcDeep_px(Dc, q.Factor[0], q.Rounding, q.Shift);
    EXPECT_EQ(Dc[0], (int64_t{65520} * 8 * 13107 + 2 * 10922) >> 16);
    std::fill_n(Dc, 8, -65520);
    ForwardChromaDc422Deep_px(Dc, q.Factor[0], q.Rounding, q.Shift);
    EXPECT_EQ(Dc[0], -((int64_t{65520} * 8 * 13107 + 2 * 10922) >> 16));
}

// Clause 8.5.11.1 backwards: the levels lie where the inverse looks for them, and at a step of about 1 the DC of every
// block comes back four times, as coefficients do.
TEST(ForwardChromaDc422Reference, TheInverseBringsEveryBlockBack)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 100; ++Round) {
        const QuantParams q = ParamsAt(4, true); // of QP'c 1 and the 3 above it: a step of 1
        alignas(16) int16_t Dc[8], Levels[8];
        for (int16_t& c : Dc) c = static_cast<int16_t>(Rng.Range(-4080, 4080));
        std::copy_n(Dc, 8, Levels);
        EXPECT_NE(ForwardChromaDc422_px(Levels, q.Factor[0], q.Rounding, q.Shift), 0u);
        alignas(16) int16_t Coeffs[128]{};
        InverseChromaDc422_px(Levels, 16 * 16, 0, Coeffs);
        for (int i = 0; i < 8; ++i) ASSERT_NEAR(Coeffs[16 * i], 4 * Dc[i], 12) << "block " << i;
    }
}

// Only the DC of all, a step down the blocks, and a step across them, by hand.
TEST(ForwardChromaDc422Reference, LevelsAreInTheOrderOfTheirCoding)
{
    const auto LevelsOf = [](std::array<int16_t, 8> Dc) {
        ForwardChromaDc422_px(Dc.data(), 16384, 0, 14); // |h| / 2
        return Dc;
    };
    EXPECT_EQ(LevelsOf({2, 2, 2, 2, 2, 2, 2, 2}), (std::array<int16_t, 8>{8, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(LevelsOf({2, 2, 2, 2, -2, -2, -2, -2}), (std::array<int16_t, 8>{0, 8, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(LevelsOf({2, -2, 2, -2, 2, -2, 2, -2}), (std::array<int16_t, 8>{0, 0, 8, 0, 0, 0, 0, 0}));
    EXPECT_EQ(LevelsOf({2, 2, -2, -2, -2, -2, 2, 2}), (std::array<int16_t, 8>{0, 0, 0, 8, 0, 0, 0, 0}));
    EXPECT_EQ(LevelsOf({2, 2, -2, -2, 2, 2, -2, -2}), (std::array<int16_t, 8>{0, 0, 0, 0, 8, 0, 0, 0}));
    EXPECT_EQ(LevelsOf({2, -2, 2, -2, -2, 2, -2, 2}), (std::array<int16_t, 8>{0, 0, 0, 0, 0, 8, 0, 0}));
    EXPECT_EQ(LevelsOf({2, -2, -2, 2, -2, 2, 2, -2}), (std::array<int16_t, 8>{0, 0, 0, 0, 0, 0, 8, 0}));
    EXPECT_EQ(LevelsOf({2, -2, -2, 2, 2, -2, -2, 2}), (std::array<int16_t, 8>{0, 0, 0, 0, 0, 0, 0, 8}));
    EXPECT_EQ(LevelsOf({1, 0, 0, 0, 0, 0, 0, 0}), (std::array<int16_t, 8>{}));
}

TEST(DequantDeepReference, BelowQp24TheProductIsRounded)
{
    alignas(16) int32_t Levels[16]{3, -3, 70000};
    alignas(16) int16_t Scale[16];
    std::fill_n(Scale, 16, int16_t{10 * 13});
    DequantBlocksDeep_px(Levels, 1, 1, Scale, 1, 1);
    EXPECT_EQ(Levels[0], 3); // left as it is
    EXPECT_EQ(Levels[1], (-390 + 4) >> 3);
    EXPECT_EQ(Levels[2], (9100000 + 4) >> 3);
    DequantBlocksDeep_px(Levels, 1, 1, Scale, 12, 0);
    EXPECT_EQ(Levels[0], 3 * 130 * 256);
}

TEST(AddResidualDeepReference, BlocksLieWhereTheirBitSays)
{
    alignas(16) int32_t c[256]{};
    c[6 * 16] = 64;
    DeepBlock Dst(16, 16, 16, 4000);
    AddResidualLuma4x4Deep_px(c, Dst.At(0, 0), Dst.Step(), 1u << 6, 12);
    for (int y = 0; y < 16; ++y) // block 6 is the lower left one of the upper right quadrant
        for (int x = 0; x < 16; ++x) ASSERT_EQ(*Dst.At(x, y), x / 4 == 2 && y / 4 == 1 ? 4001 : 4000);
    c[2 * 64] = 64 * 200;
    AddResidualLuma8x8Deep_px(c, Dst.At(0, 0), Dst.Step(), 1u << 8, 12);
    for (int y = 8; y < 16; ++y)
        for (int x = 0; x < 16; ++x) ASSERT_EQ(*Dst.At(x, y), x < 8 ? 4095 : 4000);
    c[2 * 16] = -64;
    AddResidualChromaDeep_px(c, Dst.At(8, 8), Dst.Step(), 1u << 2, 12);
    for (int y = 8; y < 16; ++y)
        for (int x = 8; x < 16; ++x) ASSERT_EQ(*Dst.At(x, y), x < 12 && y >= 12 ? 3999 : 4000);
}

} // namespace
