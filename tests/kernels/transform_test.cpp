#include "kernels/transform/transform_rows.h"

#include <algorithm>
#include <array>

#include "tests/support/kernel_testing.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

// Coefficients between guards, aligned as the contract has them.
template <size_t Count>
struct Coefficients {
    alignas(16) std::array<int16_t, Count + 16> Values;

    Coefficients()
    {
        Values.fill(0);
        std::fill_n(Values.begin(), 8, int16_t{-21});
        std::fill_n(Values.end() - 8, 8, int16_t{-21});
    }
    int16_t* At(size_t i = 0) { return Values.data() + 8 + i; }
    bool operator==(const Coefficients&) const = default;
};

// How far coefficients reach: what a picture gives, the DC alone, all that 16 bits hold, and their ends.
enum class Reach { Small, DcOnly, Stream, Any, Ends };
constexpr Reach kReaches[]{Reach::Small, Reach::DcOnly, Reach::Stream, Reach::Any, Reach::Ends};

int16_t Coefficient(TestRandom& Rng, Reach How, size_t Index)
{
    int Value = 0;
    switch (How) {
    case Reach::Small: Value = Rng.Range(0, 2) ? 0 : Rng.Range(-400, 400); break;
    case Reach::DcOnly: Value = Index ? 0 : Rng.Range(-17000, 17000); break;
    case Reach::Stream: Value = Rng.Range(-2063, 2063); break;
    case Reach::Any: Value = Rng.Range(INT16_MIN, INT16_MAX); break;
    case Reach::Ends: Value = Rng.Range(0, 1) ? INT16_MIN : INT16_MAX; break;
    }
    return static_cast<int16_t>(Value);
}

// ---- Inverse -----------------------------------------------------------------------------------------------

template <int Size>
void CheckAddResidual(AddResidualSig* pFn, AddResidualSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 20; ++Round)
        for (const Reach How : kReaches)
            for (const Fill Picture : kAllFills)
                for (const size_t Shift : kShifts) {
                    Coefficients<Size * Size> Want;
                    for (size_t i = 0; i < Size * Size; ++i) *Want.At(i) = Coefficient(Rng, How, i);
                    auto Got = Want;
                    Block WantDst = Rng.MakeBlock(Picture, 19 + Size, Size, 19 + Size, Shift), GotDst = WantDst;
                    pReference(Want.At(), WantDst.At(9, 0), WantDst.Step);
                    pFn(Got.At(), GotDst.At(9, 0), GotDst.Step);
                    ASSERT_EQ(GotDst.Bytes, WantDst.Bytes);
                    ASSERT_EQ(Got, Want);
                }
}
KERNEL_TEST(AddResidual4x4, CheckAddResidual<4>);
KERNEL_TEST(AddResidual8x8, CheckAddResidual<8>);

// Of 32-bit coefficients: what deep samples give and, in damaged streams, all that there is.
template <int Size>
void CheckAddResidualDeep(AddResidualDeepSig* pFn, AddResidualDeepSig* pReference)
{
    constexpr ptrdiff_t kPitch = Size + 3; // samples
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : {8, 9, 10, 12, 14})
        for (int Round = 0; Round < 60; ++Round) {
            alignas(16) std::array<int32_t, Size * Size> Want{};
            const int Most = Round % 4 == 3 ? INT32_MAX : 1 << (Depth + 6 + Round % 4);
            for (int32_t& c : Want) c = Rng.Range(0, 2) ? Rng.Range(-Most, Most) : 0;
            alignas(16) auto Got = Want;
            std::vector<uint16_t> WantDst(Size * kPitch);
            for (uint16_t& s : WantDst) s = static_cast<uint16_t>(Rng.Range(0, (1 << Depth) - 1));
            auto GotDst = WantDst;
            pReference(Want.data(), WantDst.data() + 1, kPitch * 2, Depth);
            pFn(Got.data(), GotDst.data() + 1, kPitch * 2, Depth);
            ASSERT_EQ(GotDst, WantDst) << Depth << " bits, round " << Round;
            ASSERT_EQ(Got, Want) << "the coefficients are not 0";
        }
    // One to three coefficients that make the most of their sum, up to where words do not hold the passes.
    for (int Round = 0; Round < 4000; ++Round) {
        alignas(16) std::array<int32_t, Size * Size> Want{};
        const int Count = Rng.Range(1, 3), Most = Rng.Range(14000, 33000) / Count;
        for (int i = 0; i < Count; ++i)
            Want[static_cast<size_t>(Rng.Range(0, Size * Size - 1))] = Rng.Range(0, 1) ? Most : -Most;
        alignas(16) auto Got = Want;
        std::vector<uint16_t> WantDst(Size * kPitch, static_cast<uint16_t>(Rng.Range(0, 4095)));
        auto GotDst = WantDst;
        pReference(Want.data(), WantDst.data() + 1, kPitch * 2, 12);
        pFn(Got.data(), GotDst.data() + 1, kPitch * 2, 12);
        ASSERT_EQ(GotDst, WantDst) << "round " << Round;
        ASSERT_EQ(Got, Want) << "the coefficients are not 0";
    }
}
KERNEL_TEST(AddResidual4x4Deep, CheckAddResidualDeep<4>);
KERNEL_TEST(AddResidual8x8Deep, CheckAddResidualDeep<8>);

// BlockSize values a block, the bits of the blocks BitStep apart.
template <int Size, size_t BlockSize, int BitStep>
void CheckAddResidualBlocks(AddResidualLumaSig* pFn, AddResidualLumaSig* pReference)
{
    constexpr int kBlocks = Size * Size / static_cast<int>(BlockSize);
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 60; ++Round)
        for (const Reach How : kReaches) {
            uint32_t Bits = 0;
            Coefficients<Size * Size> Want;
            for (int b = 0; b < kBlocks; ++b) {
                if (Round && Rng.Range(0, 1)) continue; // the first round has all blocks
                Bits |= 1u << BitStep * b;
                const Reach Mine = Rng.Range(0, 2) ? How : Reach::DcOnly;
                for (size_t i = 0; i < BlockSize; ++i)
                    *Want.At(static_cast<size_t>(b) * BlockSize + i) = Coefficient(Rng, Mine, i);
            }
            auto Got = Want;
            const size_t Shift = kShifts[Round % 4];
            Block WantDst = Rng.MakeBlock(kAllFills[Round % 5], Size + 8, Size, Size + 8, Shift), GotDst = WantDst;
            pReference(Want.At(), WantDst.At(4, 0), WantDst.Step, Bits);
            pFn(Got.At(), GotDst.At(4, 0), GotDst.Step, Bits);
            ASSERT_EQ(GotDst.Bytes, WantDst.Bytes) << "bits " << Bits;
            ASSERT_EQ(Got, Want) << "bits " << Bits;
        }
}
KERNEL_TEST(AddResidualLuma4x4, (CheckAddResidualBlocks<16, 16, 1>));
KERNEL_TEST(AddResidualLuma8x8, (CheckAddResidualBlocks<16, 64, 4>));
KERNEL_TEST(AddResidualChroma, (CheckAddResidualBlocks<8, 16, 1>));

template <size_t Count>
void CheckInverseDc(InverseLumaDcSig* pFn, InverseLumaDcSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 20; ++Round)
        for (const Reach How : kReaches)
            for (int QpPer = 0; QpPer <= 8; ++QpPer)
                for (const int Scale : {160, 288, 16 * 255 / 4, 18 * 255}) {
                    Coefficients<Count> Levels;
                    for (size_t i = 0; i < Count; ++i) *Levels.At(i) = Coefficient(Rng, How, i);
                    Coefficients<Count * 16> Want;
                    for (size_t i = 0; i < Count * 16; ++i) *Want.At(i) = static_cast<int16_t>(i);
                    auto Got = Want;
                    pReference(Levels.At(), Scale, QpPer, Want.At());
                    pFn(Levels.At(), Scale, QpPer, Got.At());
                    ASSERT_EQ(Got, Want) << "scale " << Scale << ", QP / 6 " << QpPer;
                }
}
KERNEL_TEST(InverseLumaDc, CheckInverseDc<16>);
KERNEL_TEST(InverseChromaDc420, CheckInverseDc<4>);

void CheckDequant(DequantBlocksSig* pFn, DequantBlocksSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 40; ++Round)
        for (const Reach How : kReaches)
            for (int QpPer = 0; QpPer <= 8; ++QpPer)
                for (const int FirstIndex : {0, 1}) {
                    Coefficients<16> Scale; // flat lists give multiples of 16, matrices anything
                    for (size_t i = 0; i < 16; ++i)
                        *Scale.At(i) =
                            static_cast<int16_t>(Round & 1 ? 16 * Rng.Range(10, 29) : Rng.Range(10, 29 * 255));
                    Coefficients<256> Want;
                    for (size_t i = 0; i < 256; ++i) *Want.At(i) = Coefficient(Rng, How, i % 16);
                    auto Got = Want;
                    const int Count = Round & 2 ? 16 : 4;
                    const auto Bits = static_cast<uint32_t>(Round < 4 ? 0xFFFF : Rng.Range(0, 0xFFFF));
                    pReference(Want.At(), Bits, Count, Scale.At(), QpPer, FirstIndex);
                    pFn(Got.At(), Bits, Count, Scale.At(), QpPer, FirstIndex);
                    ASSERT_EQ(Got, Want) << "QP / 6 " << QpPer << ", first " << FirstIndex;
                }
}
KERNEL_TEST(DequantBlocks, CheckDequant);

// ---- Forward -----------------------------------------------------------------------------------------------

constexpr uint16_t kFactors[6][3]{{13107, 5243, 8066}, {11916, 4660, 7490}, {10082, 4194, 6554},
                                  {9362, 3647, 5825},  {8192, 3355, 5243},  {7282, 2893, 4559}};

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

// The parameters of a QP, and every fourth time those of a matrix, to the end of what keeps levels in 16 bits.
QuantParams RandomParams(TestRandom& Rng)
{
    QuantParams Quant = ParamsAt(Rng.Range(0, 51), Rng.Range(0, 1));
    if (Rng.Range(0, 3)) return Quant;
    Quant.Shift = Rng.Range(11, 23);
    Quant.Rounding = static_cast<uint32_t>(Rng.Range(0, (1 << Quant.Shift) - 1));
    for (uint16_t& Factor : Quant.Factor)
        Factor = static_cast<uint16_t>(Rng.Range(1, std::min(65535, 7 << (Quant.Shift - 1))));
    return Quant;
}

template <int Size>
void CheckForwardQuant(ForwardQuantSig* pFn, ForwardQuantSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 12; ++Round)
        for (const Fill How : kAllFills)
            for (const Fill Other : kAllFills) {
                const QuantParams Quant = RandomParams(Rng);
                const Block a = Rng.MakeBlock(How, Size, Size, 41, kShifts[Round % 4]);
                const Block b = Rng.MakeBlock(Other, Size, Size, 16, kShifts[Rng.Range(0, 3)]);
                Coefficients<Size * Size> Want, Got;
                const uint32_t Mask = pReference(a.At(0, 0), a.Step, b.At(0, 0), b.Step, Want.At(), &Quant);
                ASSERT_EQ(pFn(a.At(0, 0), a.Step, b.At(0, 0), b.Step, Got.At(), &Quant), Mask);
                ASSERT_EQ(Got, Want);
            }
}
KERNEL_TEST(ForwardQuant16x16, CheckForwardQuant<16>);
KERNEL_TEST(ForwardQuant4x4, CheckForwardQuant<4>);

template <int Size>
void CheckForwardQuantAc(ForwardQuantAcSig* pFn, ForwardQuantAcSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 12; ++Round)
        for (const Fill How : kAllFills)
            for (const Fill Other : kAllFills) {
                const QuantParams Quant = RandomParams(Rng);
                const Block a = Rng.MakeBlock(How, Size, Size, 41, kShifts[Round % 4]);
                const Block b = Rng.MakeBlock(Other, Size, Size, 16, kShifts[Rng.Range(0, 3)]);
                Coefficients<Size * Size> Want, Got;
                Coefficients<Size * Size / 16> WantDc, GotDc;
                const uint32_t Mask =
                    pReference(a.At(0, 0), a.Step, b.At(0, 0), b.Step, Want.At(), WantDc.At(), &Quant);
                ASSERT_EQ(pFn(a.At(0, 0), a.Step, b.At(0, 0), b.Step, Got.At(), GotDc.At(), &Quant), Mask);
                ASSERT_EQ(Got, Want);
                ASSERT_EQ(GotDc, WantDc);
            }
}
KERNEL_TEST(ForwardQuantAc16x16, CheckForwardQuantAc<16>);
KERNEL_TEST(ForwardQuantAc8x8, CheckForwardQuantAc<8>);

template <size_t Count>
void CheckForwardDc(ForwardDcSig* pFn, ForwardDcSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 400; ++Round) {
        const QuantParams Quant = RandomParams(Rng);
        const int Most = Round % 3 ? 255 * 16 : 60; // the largest DC of a 4x4 block, and ones near to nothing
        Coefficients<Count> Want;
        for (size_t i = 0; i < Count; ++i)
            *Want.At(i) = static_cast<int16_t>(Round % 5 ? Rng.Range(-Most, Most) : Rng.Range(0, 1) ? Most : -Most);
        auto Got = Want;
        const bool Any = pReference(Want.At(), Quant.Factor[0], Quant.Rounding, Quant.Shift) != 0;
        ASSERT_EQ(pFn(Got.At(), Quant.Factor[0], Quant.Rounding, Quant.Shift) != 0, Any);
        ASSERT_EQ(Got, Want);
    }
}
KERNEL_TEST(ForwardLumaDc, CheckForwardDc<16>);
KERNEL_TEST(ForwardChromaDc420, CheckForwardDc<4>);
KERNEL_TEST(ForwardChromaDc422, CheckForwardDc<8>);

// ---- The reference's own results ---------------------------------------------------------------------------

TEST(AddResidualReference, ADcIsAddedToEverySampleAndClipped)
{
    alignas(16) int16_t c[16]{64 * 7};
    uint8_t Dst[16]{0, 100, 250, 255};
    AddResidual4x4_px(c, Dst, 4);
    EXPECT_EQ(std::vector<int>(Dst, Dst + 5), (std::vector<int>{7, 107, 255, 255, 7}));
    EXPECT_EQ(c[0], 0);
    c[0] = -33;
    AddResidual4x4_px(c, Dst, 4);
    EXPECT_EQ(Dst[0], 6); // (-33 + 32) >> 6
}

TEST(AddResidualReference, RowsComeBeforeColumns)
{
    // A coefficient of 130 in row 1, column 3: the row pass makes 65 of it in column 0, the column pass 65 32 -32 -65.
    // Columns first would give -33 for -32, which rounds to another sample.
    alignas(16) int16_t c[16]{};
    c[1 * 4 + 3] = 130;
    uint8_t Dst[16];
    std::fill_n(Dst, 16, uint8_t{100});
    AddResidual4x4_px(c, Dst, 4);
    const int Column0[]{101, 101, 100, 99};
    for (int y = 0; y < 4; ++y) EXPECT_EQ(Dst[y * 4], Column0[y]) << y;
}

TEST(AddResidualReference, OnlyBlocksWithTheirBitChange)
{
    alignas(16) int16_t c[256]{};
    c[6 * 16] = 64;
    std::vector<uint8_t> Dst(256, 9);
    AddResidualLuma4x4_px(c, Dst.data(), 16, 1u << 6);
    for (int i = 0; i < 256; ++i) {
        const int x = i % 16, y = i / 16; // block 6 is the lower left one of the upper right quadrant
        EXPECT_EQ(Dst[static_cast<size_t>(i)], x / 4 == 2 && y / 4 == 1 ? 10 : 9);
    }
}

TEST(AddResidual8x8Reference, TheFirstBasisRowOfTheStandard)
{
    // Coefficient 1 of row 0 runs 12 10 6 3 -3 -6 -10 -12 in eighths.
    alignas(16) int16_t c[64]{};
    c[1] = 8 * 64;
    std::vector<uint8_t> Dst(64, 100);
    AddResidual8x8_px(c, Dst.data(), 8);
    const int Row[]{112, 110, 106, 103, 97, 94, 90, 88};
    for (size_t i = 0; i < 64; ++i) EXPECT_EQ(Dst[i], Row[i % 8]);
}

TEST(InverseDcReference, AFlatLevelReachesEveryBlock)
{
    const int16_t Levels[16]{4};
    alignas(16) int16_t c[256]{};
    InverseLumaDc_px(Levels, 160, 6, c);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(c[16 * i], 4 * 160);
    InverseLumaDc_px(Levels, 160, 0, c);
    EXPECT_EQ(c[0], (4 * 160 + 32) >> 6);
}

TEST(InverseDcReference, BlocksAreInBlockOrder)
{
    // The second basis row runs + + - - down the macroblock: blocks 0 to 7 are above.
    int16_t Levels[16]{};
    Levels[4] = 1;
    alignas(16) int16_t c[256]{};
    InverseLumaDc_px(Levels, 64, 6, c);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(c[16 * i], i < 8 ? 64 : -64) << i;
}

TEST(InverseDcReference, ChromaFollowsTheStandard)
{
    const int16_t Levels[4]{3, 1, 0, -1};
    alignas(16) int16_t c[64]{};
    InverseChromaDc420_px(Levels, 176, 2, c);
    const int f[4]{3, 3, 5, 1};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(c[16 * i], (f[i] * 176 << 2) >> 5);
}

// Clause 8.5.11: the levels in the order of equation c, the two matrices, and the scaling with its rounding.
TEST(InverseDcReference, ChromaOf422FollowsTheStandard)
{
    constexpr int kC[4][2] = {{0, 2}, {1, 5}, {3, 6}, {4, 7}};
    constexpr int kA[4][4] = {{1, 1, 1, 1}, {1, 1, -1, -1}, {1, -1, -1, 1}, {1, -1, 1, -1}};
    constexpr int kB[2][2] = {{1, 1}, {1, -1}};
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 50; ++Round)
        for (int QpPer = 0; QpPer <= 14; ++QpPer) {
            const int Scale = 16 * Rng.Range(10, 29), Most = 16 << (14 - QpPer) / 2;
            int16_t Levels[8];
            for (int16_t& Level : Levels) Level = static_cast<int16_t>(Rng.Range(-Most, Most));
            alignas(16) int16_t c[128]{};
            alignas(16) int32_t Deep[128]{}, DeepLevels[8];
            std::copy_n(Levels, 8, DeepLevels);
            InverseChromaDc422_px(Levels, Scale, QpPer, c);
            InverseChromaDc422Deep_px(DeepLevels, Scale, QpPer, Deep);
            for (int i = 0; i < 8; ++i) {
                int f = 0;
                for (int y = 0; y < 4; ++y)
                    for (int x = 0; x < 2; ++x) f += kA[i / 2][y] * Levels[kC[y][x]] * kB[x][i % 2];
                const int Want =
                    QpPer >= 6 ? f * Scale * (1 << (QpPer - 6)) : (f * Scale + (1 << (5 - QpPer))) >> (6 - QpPer);
                ASSERT_EQ(Deep[16 * i], Want) << "block " << i << ", QP / 6 " << QpPer;
                ASSERT_EQ(c[16 * i], static_cast<int16_t>(Want)) << "block " << i << ", QP / 6 " << QpPer;
            }
            EXPECT_GE(std::count(std::begin(c), std::end(c), 0), 120) << "only coefficient 0 of a block is written";
        }
}

// What fits 16 bits comes out of both forms alike, and of the deep one what does not.
TEST(InverseDcReference, DeepOnesAreThoseOf8BitsAndGoFurther)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 50; ++Round)
        for (int QpPer = 0; QpPer <= 8; ++QpPer) {
            const int Scale = 16 * Rng.Range(10, 29);
            int16_t Levels[16];
            for (int16_t& Level : Levels) Level = static_cast<int16_t>(Rng.Range(-1000, 1000));
            alignas(16) int16_t Luma[256]{}, Chroma[64]{};
            alignas(16) int32_t DeepLuma[256]{}, DeepChroma[64]{}, DeepLevels[16];
            std::copy_n(Levels, 16, DeepLevels);
            InverseLumaDc_px(Levels, Scale, QpPer, Luma);
            InverseChromaDc420_px(Levels, Scale, QpPer, Chroma);
            InverseLumaDcDeep_px(DeepLevels, Scale, QpPer, DeepLuma);
            InverseChromaDc420Deep_px(DeepLevels, Scale, QpPer, DeepChroma);
            for (int i = 0; i < 256; ++i) ASSERT_EQ(static_cast<int16_t>(DeepLuma[i]), Luma[i]) << i;
            for (int i = 0; i < 64; ++i) ASSERT_EQ(static_cast<int16_t>(DeepChroma[i]), Chroma[i]) << i;
        }
    const int32_t Levels[16]{100000};
    alignas(16) int32_t c[256]{};
    InverseLumaDcDeep_px(Levels, 160, 7, c);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(c[16 * i], 100000 * 160 * 2);
    InverseChromaDc420Deep_px(Levels, 160, 6, c);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(c[16 * i], 100000 * 160 * 2);
}

TEST(DequantReference, BelowQp24TheProductIsRounded)
{
    alignas(16) int16_t Levels[16]{3, -3, 7}, Scale[16];
    std::fill_n(Scale, 16, int16_t{10 * 13});
    DequantBlocks_px(Levels, 1, 1, Scale, 1, 1);
    EXPECT_EQ(Levels[0], 3); // left as it is
    EXPECT_EQ(Levels[1], (-390 + 4) >> 3);
    EXPECT_EQ(Levels[2], (910 + 4) >> 3);
    DequantBlocks_px(Levels, 1, 1, Scale, 5, 0);
    EXPECT_EQ(Levels[0], 3 * 130 * 2);
}

TEST(ForwardQuantReference, RoundingOfIntraAndInterDiffer)
{
    // A difference of 1 in one corner gives a DC of 1 and, at (1, 1), 4; QP 0 with factor 13107 makes 2 a 1 in intra
    // only.
    EXPECT_EQ((2 * 13107 + (1u << 15) / 3) >> 15, 1u);
    EXPECT_EQ((2 * 13107 + (1u << 15) / 6) >> 15, 0u);
    std::vector<uint8_t> a(16, 100), b(16, 100);
    a[0] = 101;
    a[1] = 101; // DC 2
    const QuantParams Intra = ParamsAt(0, true), Inter = ParamsAt(0, false);
    alignas(16) int16_t Levels[16];
    EXPECT_EQ(ForwardQuant4x4_px(a.data(), 4, b.data(), 4, Levels, &Intra), 1u);
    EXPECT_EQ(Levels[0], 1);
    ForwardQuant4x4_px(a.data(), 4, b.data(), 4, Levels, &Inter);
    EXPECT_EQ(Levels[0], 0);
}

TEST(ForwardQuantReference, TheCoreTransformOfARamp)
{
    const uint8_t a[16]{10, 20, 30, 40, 10, 20, 30, 40, 10, 20, 30, 40, 10, 20, 30, 40}, b[16]{};
    QuantParams Unit;
    std::fill_n(Unit.Factor, 16, uint16_t{32768});
    Unit.Rounding = 0;
    Unit.Shift = 15;
    alignas(16) int16_t c[16];
    EXPECT_EQ(ForwardQuant4x4_px(a, 4, b, 4, c, &Unit), 1u);
    const int16_t Want[16]{400, -280, 0, -40};
    EXPECT_TRUE(std::equal(c, c + 16, Want));
}

TEST(ForwardQuantReference, DcGoesAsideInRasterOrder)
{
    std::vector<uint8_t> a(256, 0), b(256, 0);
    for (size_t i = 0; i < 256; ++i) a[i] = static_cast<uint8_t>(i / 16 / 4 * 4 + i % 16 / 4 + 1);
    const QuantParams Quant = ParamsAt(20, true);
    alignas(16) int16_t Levels[256], Dc[16];
    EXPECT_EQ(ForwardQuantAc16x16_px(a.data(), 16, b.data(), 16, Levels, Dc, &Quant), 0u);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(Dc[i], 16 * (i + 1));
    EXPECT_EQ(std::count(Levels, Levels + 256, 0), 256);
}

TEST(ForwardDcReference, HalvesTheSumUpwards)
{
    alignas(16) int16_t Dc[16]{1};
    EXPECT_NE(ForwardLumaDc_px(Dc, 32768, 0, 14), 0u); // every sum is 1 and its half goes up to 1
    EXPECT_EQ(std::count(Dc, Dc + 16, 1), 16);
    std::fill_n(Dc, 16, int16_t{0});
    Dc[0] = -1;
    EXPECT_EQ(ForwardLumaDc_px(Dc, 32768, 0, 14), 0u); // -1 goes up to 0
}

TEST(ForwardDcReference, ChromaIsNotHalved)
{
    int16_t Dc[4]{8, 4, 2, 2};
    EXPECT_NE(ForwardChromaDc420_px(Dc, 16384, 0, 14), 0u);
    const int16_t Want[4]{8, 2, 4, 2};
    EXPECT_TRUE(std::equal(Dc, Dc + 4, Want));
    int16_t None[4]{1, 0, 0, 0};
    EXPECT_EQ(ForwardChromaDc420_px(None, 16384, 0, 14), 0u);
}

} // namespace
