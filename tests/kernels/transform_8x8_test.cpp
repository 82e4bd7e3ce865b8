// The forward 8x8 transform with its quantiser, and the scaling of 8x8 levels, of samples of both widths.
#include "kernels/transform/transform_rows.h"
#include "tests/kernels/deep_block.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace {

using namespace kernels;
using namespace kernel_testing;

// The factors and scales of QP % 6 by the six classes of positions (clause 8.5.9).
constexpr uint16_t kFactors[6][6]{
    {13107, 11428, 20972, 12222, 16777, 15481}, {11916, 10826, 19174, 11058, 14980, 14290},
    {10082, 8943, 15978, 9675, 12710, 11985},   {9362, 8228, 14913, 8931, 11984, 11259},
    {8192, 7346, 13159, 7740, 10486, 9777},     {7282, 6428, 11570, 6830, 9118, 8640}};
constexpr int kNorms[6][6]{{20, 18, 32, 19, 25, 24}, {22, 19, 35, 21, 28, 26}, {26, 23, 42, 24, 33, 31},
                           {28, 25, 45, 26, 35, 33}, {32, 28, 51, 30, 40, 38}, {36, 32, 58, 34, 46, 43}};

size_t ClassOf(size_t i)
{
    const size_t Row = i / 8, Column = i % 8;
    if (Row % 4 == 0 && Column % 4 == 0) return 0;
    if (Row % 2 && Column % 2) return 1;
    if (Row % 4 == 2 && Column % 4 == 2) return 2;
    if ((Row % 4 == 0 && Column % 2) || (Row % 2 && Column % 4 == 0)) return 3;
    if (Row % 2 == 0 && Column % 2 == 0) return 4;
    return 5;
}

QuantParams8x8 ParamsAt(int Qp, bool Intra)
{
    QuantParams8x8 Quant;
    for (size_t i = 0; i < 64; ++i) Quant.Factor[i] = kFactors[Qp % 6][ClassOf(i)];
    Quant.Shift = 16 + Qp / 6;
    Quant.Rounding = (1u << Quant.Shift) / (Intra ? 3 : 6);
    return Quant;
}

// The parameters of a QP, and every fourth time those of a matrix, to the end of what keeps levels of 8-bit samples in
// 16 bits: a coefficient has less than 2^14.
QuantParams8x8 RandomParams(TestRandom& Rng, int MostQp)
{
    QuantParams8x8 Quant = ParamsAt(Rng.Range(0, MostQp), Rng.Range(0, 1));
    if (Rng.Range(0, 3)) return Quant;
    Quant.Shift = Rng.Range(12, 16 + MostQp / 6);
    Quant.Rounding = static_cast<uint32_t>(Rng.Range(0, (1 << Quant.Shift) - 1));
    for (uint16_t& Factor : Quant.Factor)
        Factor = static_cast<uint16_t>(Rng.Range(1, Quant.Shift > 14 ? 65535 : 2 << Quant.Shift));
    return Quant;
}

template <class Value, size_t Count>
struct Coefficients {
    alignas(16) std::array<Value, Count + 16> Values; // with a guard at both ends

    Coefficients()
    {
        Values.fill(-21);
        std::fill_n(At(), Count, Value{0});
    }
    Value* At(size_t i = 0) { return Values.data() + 8 + i; }
    bool operator==(const Coefficients&) const = default;
};

// ---- Variants ----------------------------------------------------------------------------------------------

template <int Size>
void CheckForward(ForwardQuant8x8Sig* pFn, ForwardQuant8x8Sig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 24; ++Round)
        for (const Fill How : kAllFills)
            for (const Fill Other : kAllFills) {
                const QuantParams8x8 Quant = RandomParams(Rng, 51);
                const Block a = Rng.MakeBlock(How, Size, Size, 41, kShifts[Round % 4]);
                const Block b = Rng.MakeBlock(Other, Size, Size, 16, kShifts[Rng.Range(0, 3)]);
                Coefficients<int16_t, Size * Size> Want, Got;
                const uint32_t Mask = pReference(a.At(0, 0), a.Step, b.At(0, 0), b.Step, Want.At(), &Quant);
                ASSERT_EQ(pFn(a.At(0, 0), a.Step, b.At(0, 0), b.Step, Got.At(), &Quant), Mask);
                ASSERT_EQ(Got, Want) << "shift " << Quant.Shift;
            }
}
KERNEL_TEST(ForwardQuant8x8, CheckForward<8>);
KERNEL_TEST(ForwardQuant8x8Of16x16, CheckForward<16>);

template <int Size>
void CheckForwardDeep(ForwardQuant8x8DeepSig* pFn, ForwardQuant8x8DeepSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 8; ++Round)
        for (const int Depth : {9, 10, 12})
            for (const Fill How : kDeepFills)
                for (const Fill Other : kDeepFills) {
                    const QuantParams8x8 Quant = RandomParams(Rng, 75);
                    const DeepBlock a = DeepBlock::Random(Rng, How, Size, Size, 41, Depth);
                    const DeepBlock b = DeepBlock::Random(Rng, Other, Size, Size, 16, Depth);
                    Coefficients<int32_t, Size * Size> Want, Got;
                    const uint32_t Mask = pReference(a.At(0, 0), a.Step(), b.At(0, 0), b.Step(), Want.At(), &Quant);
                    ASSERT_EQ(pFn(a.At(0, 0), a.Step(), b.At(0, 0), b.Step(), Got.At(), &Quant), Mask);
                    ASSERT_EQ(Got, Want) << "shift " << Quant.Shift;
                }
}
KERNEL_TEST(ForwardQuant8x8Deep, CheckForwardDeep<8>);
KERNEL_TEST(ForwardQuant8x8Of16x16Deep, CheckForwardDeep<16>);

// Most is the largest level.
template <class Value, class Sig>
void CheckDequant(Sig* pFn, Sig* pReference, int Most)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 40; ++Round)
        for (int QpPer = 0; QpPer <= 12; ++QpPer) {
            alignas(16) int16_t Scale[64]; // flat lists give multiples of 16, matrices anything
            for (int16_t& s : Scale)
                s = static_cast<int16_t>(Round & 1 ? 16 * Rng.Range(18, 58) : Rng.Range(18, 58 * 255));
            const int Reach = Round % 3 ? Most : 5;
            Coefficients<Value, 256> Want;
            for (size_t i = 0; i < 256; ++i) *Want.At(i) = static_cast<Value>(Rng.Range(-Reach, Reach));
            auto Got = Want;
            const auto Bits = static_cast<uint32_t>(Round < 4 ? 15 : Rng.Range(0, 15));
            const int Count = Round % 5 ? 4 : 1;
            pReference(Want.At(), Bits, Count, Scale, QpPer);
            pFn(Got.At(), Bits, Count, Scale, QpPer);
            ASSERT_EQ(Got, Want) << "QP / 6 " << QpPer;
        }
}
void CheckDequantBlocks8x8(DequantBlocks8x8Sig* pFn, DequantBlocks8x8Sig* pReference)
{
    CheckDequant<int16_t>(pFn, pReference, 32767); // words wrap
    CheckDequant<int16_t>(pFn, pReference, 3000);
}
KERNEL_TEST(DequantBlocks8x8, CheckDequantBlocks8x8);
void CheckDequantBlocks8x8Deep(DequantBlocks8x8DeepSig* pFn, DequantBlocks8x8DeepSig* pReference)
{
    CheckDequant<int32_t>(pFn, pReference, 100000);
}
KERNEL_TEST(DequantBlocks8x8Deep, CheckDequantBlocks8x8Deep);

// ---- The reference's own results ---------------------------------------------------------------------------

constexpr int kMatrix[8][8]{{8, 8, 8, 8, 8, 8, 8, 8},     {12, 10, 6, 3, -3, -6, -10, -12},
                            {8, 4, -4, -8, -8, -4, 4, 8}, {10, -3, -12, -6, 6, 12, 3, -10},
                            {8, -8, -8, 8, 8, -8, -8, 8}, {6, -12, 3, 10, -10, -3, 12, -6},
                            {4, -8, 8, -4, -4, 8, -8, 4}, {3, -6, 10, -12, 12, -10, 6, -3}};

// Coefficients as they are, without a quantiser.
QuantParams8x8 Unit()
{
    QuantParams8x8 Quant;
    std::fill_n(Quant.Factor, 64, uint16_t{32768});
    Quant.Rounding = 0;
    Quant.Shift = 15;
    return Quant;
}

// 64 times the coefficient by the matrix of clause 8.5.13.2, of which the transform takes the halves down.
template <class Picture>
int64_t Exact(const Picture& a, const Picture& b, int Row, int Column)
{
    int64_t Sum = 0;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) Sum += int64_t{kMatrix[Row][y]} * kMatrix[Column][x] * (*a.At(x, y) - *b.At(x, y));
    return Sum;
}

// Differences that are multiples of 64 leave nothing to round; others stay near.
TEST(ForwardQuant8x8Reference, IsTheMatrixOfTheStandard)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    const QuantParams8x8 Quant = Unit();
    for (int Round = 0; Round < 60; ++Round) {
        Block a = Rng.MakeBlock(Round & 1 ? Fill::Random : Fill::ZeroOrMax, 8, 8, 8, 0);
        Block b = Rng.MakeBlock(Fill::Random, 8, 8, 8, 0);
        const bool IsExact = Round & 2;
        if (IsExact)
            for (Block* const p : {&a, &b})
                for (uint8_t& s : p->Bytes) s &= 0xC0;
        Coefficients<int16_t, 64> c;
        ForwardQuant8x8_px(a.At(0, 0), 8, b.At(0, 0), 8, c.At(), &Quant);
        for (int i = 0; i < 64; ++i) {
            const int64_t Want = Exact(a, b, i / 8, i % 8);
            if (IsExact) {
                ASSERT_EQ(int64_t{*c.At(static_cast<size_t>(i))} * 64, Want) << i;
            } else {
                ASSERT_NEAR(*c.At(static_cast<size_t>(i)), static_cast<double>(Want) / 64, 9) << i;
            }
        }
    }
}

TEST(ForwardQuant8x8Reference, RowsComeBeforeColumns)
{
    // Differences of 1 in the first two columns of row 0: the row pass makes 2 of coefficient 0, and the column pass 2
    // and 2 + (2 >> 1) of that. Columns first would round the halves of two 1s off.
    std::vector<uint8_t> a(64, 10), b = a;
    a[0] = a[1] = 11;
    const QuantParams8x8 Quant = Unit();
    Coefficients<int16_t, 64> c;
    EXPECT_EQ(ForwardQuant8x8_px(a.data(), 8, b.data(), 8, c.At(), &Quant), 1u);
    constexpr int kColumn[8]{2, 3, 2, 2, 2, 2, 1, 0};
    for (size_t i = 0; i < 8; ++i) EXPECT_EQ(*c.At(8 * i), kColumn[i]);
}

TEST(ForwardQuant8x8Reference, RoundingOfIntraAndInterDiffer)
{
    // A flat difference of 1 is a DC of 64, (64 * 13107 + f) >> 16: 12.8 is 13 in both; one sample of 4 is 0.8.
    std::vector<uint8_t> a(64, 101), b(64, 100);
    Coefficients<int16_t, 64> c;
    const QuantParams8x8 Intra = ParamsAt(0, true), Inter = ParamsAt(0, false);
    EXPECT_EQ(ForwardQuant8x8_px(a.data(), 8, b.data(), 8, c.At(), &Intra), 1u);
    EXPECT_EQ(*c.At(), 13);
    EXPECT_EQ(std::count(c.At(1), c.At(64), 0), 63);
    std::fill(a.begin(), a.end(), uint8_t{100});
    a[0] = 104;
    ForwardQuant8x8_px(a.data(), 8, b.data(), 8, c.At(), &Intra);
    EXPECT_EQ(*c.At(), (4 * 13107 + 21845) >> 16);
    EXPECT_EQ(*c.At(), 1);
    ForwardQuant8x8_px(a.data(), 8, b.data(), 8, c.At(), &Inter);
    EXPECT_EQ(*c.At(), 0);
}

TEST(ForwardQuant8x8Reference, OfAMacroblockIsThatOfItsQuadrants)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 40; ++Round) {
        const QuantParams8x8 Quant = RandomParams(Rng, 51);
        Block a = Rng.MakeBlock(Fill::Random, 16, 16, 41, 0);
        const Block b = Rng.MakeBlock(Fill::Smooth, 16, 16, 29, 0);
        const int Empty = Round % 5; // that quadrant is predicted
        for (int y = 0; y < 8 && Empty < 4; ++y)
            for (int x = 0; x < 8; ++x) {
                const int Left = (Empty & 1) * 8 + x, Top = (Empty >> 1) * 8 + y;
                *a.At(Left, Top) = *b.At(Left, Top);
            }
        Coefficients<int16_t, 256> All;
        const uint32_t Mask = ForwardQuant8x8Of16x16_px(a.At(0, 0), 41, b.At(0, 0), 29, All.At(), &Quant);
        for (int q = 0; q < 4; ++q) {
            Coefficients<int16_t, 64> One;
            const uint32_t Any = ForwardQuant8x8_px(a.At((q & 1) * 8, (q >> 1) * 8), 41,
                                                    b.At((q & 1) * 8, (q >> 1) * 8), 29, One.At(), &Quant);
            ASSERT_EQ(Mask >> q & 1, Any);
            ASSERT_TRUE(std::equal(One.At(), One.At(64), All.At(static_cast<size_t>(64 * q)))) << q;
        }
        if (Empty < 4) {
            ASSERT_EQ(Mask >> Empty & 1, Quant.Rounding >> Quant.Shift);
        }
    }
}

TEST(ForwardQuant8x8Reference, DeepIsThatOf8BitsAndTheMatrixAbove)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 60; ++Round) {
        const QuantParams8x8 Quant = ParamsAt(Rng.Range(0, 51), Round & 1);
        const Block a = Rng.MakeBlock(Fill::Random, 16, 16, 17, 0), b = Rng.MakeBlock(Fill::Random, 16, 16, 23, 0);
        const DeepBlock DeepA(a), DeepB(b);
        Coefficients<int16_t, 256> Narrow;
        Coefficients<int32_t, 256> Deep;
        ASSERT_EQ(ForwardQuant8x8Of16x16Deep_px(DeepA.At(0, 0), 34, DeepB.At(0, 0), 46, Deep.At(), &Quant),
                  ForwardQuant8x8Of16x16_px(a.At(0, 0), 17, b.At(0, 0), 23, Narrow.At(), &Quant));
        ASSERT_TRUE(std::equal(Narrow.At(), Narrow.At(256), Deep.At()));
        // 12 bits, multiples of 64, at the factor of a list's least weight: more than 32 bits of a product.
        DeepBlock c = DeepBlock::Random(Rng, Round & 1 ? Fill::AllMax : Fill::Random, 8, 8, 8, 12);
        for (uint16_t& s : c.Samples) s &= 0xFC0;
        const DeepBlock None(8, 8, 8);
        QuantParams8x8 Fine = Unit();
        std::fill_n(Fine.Factor, 64, uint16_t{60000});
        Coefficients<int32_t, 64> Got;
        ForwardQuant8x8Deep_px(c.At(0, 0), 16, None.At(0, 0), 16, Got.At(), &Fine);
        for (int i = 0; i < 64; ++i) {
            const int64_t x = Exact(c, None, i / 8, i % 8) / 64, Level = std::abs(x) * 60000 >> 15;
            ASSERT_EQ(*Got.At(static_cast<size_t>(i)), x < 0 ? -Level : Level) << i;
        }
    }
}

// Forward, scaled and back at the finest step: what a sample loses is 1 at most.
TEST(ForwardQuant8x8Reference, ComesBackThroughTheInverse)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 200; ++Round) {
        const int Qp = Round % 6;
        const QuantParams8x8 Quant = ParamsAt(Qp, true);
        alignas(16) int16_t Scale[64];
        for (size_t i = 0; i < 64; ++i) Scale[i] = static_cast<int16_t>(16 * kNorms[Qp][ClassOf(i)]);
        const Block a = Rng.MakeBlock(kAllFills[Round % 5], 8, 8, 8, 0);
        Block b = Rng.MakeBlock(Round & 1 ? Fill::Random : Fill::Smooth, 8, 8, 8, 0);
        Coefficients<int16_t, 64> c;
        ForwardQuant8x8_px(a.At(0, 0), 8, b.At(0, 0), 8, c.At(), &Quant);
        DequantBlocks8x8_px(c.At(), 1, 1, Scale, 0);
        AddResidual8x8_px(c.At(), b.At(0, 0), 8);
        for (size_t i = 0; i < 64; ++i) ASSERT_NEAR(b.Bytes[i], a.Bytes[i], 1) << "QP " << Qp;
    }
}

// Clause 8.5.13.1.
TEST(Dequant8x8Reference, BelowQp36TheProductIsRounded)
{
    const auto Scaled = [](int16_t Level, int QpPer) {
        alignas(16) int16_t Levels[64]{Level}, Scale[64];
        alignas(16) int32_t Deep[64]{Level};
        std::fill_n(Scale, 64, int16_t{16 * 20 + 3});
        DequantBlocks8x8_px(Levels, 1, 1, Scale, QpPer);
        DequantBlocks8x8Deep_px(Deep, 1, 1, Scale, QpPer);
        EXPECT_EQ(Levels[0], Deep[0]);
        EXPECT_EQ(Levels[63], 0);
        return int{Levels[0]};
    };
    EXPECT_EQ(Scaled(7, 0), (7 * 323 + 32) >> 6);
    EXPECT_EQ(Scaled(-7, 0), (-7 * 323 + 32) >> 6);
    EXPECT_EQ(Scaled(7, 5), (7 * 323 + 1) >> 1);
    EXPECT_EQ(Scaled(7, 6), 7 * 323);
    EXPECT_EQ(Scaled(-7, 8), -7 * 323 * 4);
}

TEST(Dequant8x8Reference, OnlyBlocksWithTheirBitChange)
{
    alignas(16) int16_t Levels[256], Scale[64];
    std::fill_n(Levels, 256, int16_t{2});
    std::fill_n(Scale, 64, int16_t{320});
    DequantBlocks8x8_px(Levels, 5, 2, Scale, 6);
    for (int i = 0; i < 256; ++i) ASSERT_EQ(Levels[i], i < 64 ? 640 : 2) << i; // bit 2 is beyond the count
}

} // namespace
