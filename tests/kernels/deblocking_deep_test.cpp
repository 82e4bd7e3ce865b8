// The deblocking kernels for samples of 2 bytes and for 4:2:2: as the 8-bit kernels have it where
// they hold 8 bits, and as the standard writes it down.
#include "kernels/deblocking/deblocking_rows.h"
#include "tests/kernels/deblocking_inputs.h"
#include "tests/support/deblocking_reference.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

constexpr int kRounds = 100;

// Samples of a macroblock in one plane with four more to its left and above. The buffer ends with the last of them.
template <class Sample>
struct Area {
    std::vector<Sample> Samples;
    ptrdiff_t Pitch = 0; // samples

    Sample* Macroblock() { return Samples.data() + 4 * Pitch + 4; }
    ptrdiff_t Step() const { return Pitch * static_cast<ptrdiff_t>(sizeof(Sample)); }
};

Area<uint8_t> Narrow(TestRandom& Rng, int Round, int Width, int Height)
{
    Block b = Samples(Rng, Round, Width + 4, Height + 4);
    b.Bytes.erase(b.Bytes.begin(), b.Bytes.begin() + static_cast<ptrdiff_t>(b.First));
    return {b.Bytes, b.Step};
}

// The same picture in so many bits, with noise in those below.
template <class Sample>
Area<Sample> OfDepth(TestRandom& Rng, const Area<uint8_t>& From, int Depth)
{
    Area<Sample> a{{From.Samples.begin(), From.Samples.end()}, From.Pitch};
    for (Sample& s : a.Samples) s = static_cast<Sample>((s << (Depth - 8)) + Rng.Range(0, (1 << (Depth - 8)) - 1));
    return a;
}

void ExpectEqual(const Area<uint8_t>& a, const Area<uint16_t>& b)
{
    ASSERT_EQ(std::vector<uint16_t>(a.Samples.begin(), a.Samples.end()), b.Samples);
}

// ---- As the standard has it --------------------------------------------------------------------------------

// One plane of a macroblock of Width x Height, 16 x 16 luma samples: one direction of edges, 4 samples apart. Strengths
// are those of the luma samples in the same place (clause 8.7.2).
template <class Sample>
void Filter(Area<Sample>& a, int Width, int Height, bool IsVertical, const EdgeParams& Params,
            const EdgeParams& Strengths, int Depth)
{
    for (int Edge = 0; Edge < (IsVertical ? Width : Height); Edge += 4)
        for (int Line = 0; Line < (IsVertical ? Height : Width); ++Line) {
            const int x = IsVertical ? Edge : Line, y = IsVertical ? Line : Edge;
            const int LumaX = x * 16 / Width, LumaY = y * 16 / Height, Set = Edge != 0;
            const int bS = Strengths.Strength[IsVertical ? LumaX / 4 * 4 + LumaY / 4 : LumaY / 4 * 4 + LumaX / 4];
            const test::EdgeThresholds t{Params.Alpha[Set], Params.Beta[Set], bS < 4 ? Params.Clip[Set][bS] : 0};
            test::FilterLine(a.Macroblock() + y * a.Pitch + x, IsVertical ? 1 : a.Pitch, bS, t, Width == 8, Depth);
        }
}

// ---- Luma --------------------------------------------------------------------------------------------------

using DeepLuma = void(uint16_t*, ptrdiff_t, const EdgeParams*, int);

void ExpectLumaAsOf8Bits(FilterEdgesSig* pNarrow, DeepLuma* pDeep)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < kRounds; ++Round)
        for (const Strengths How : kStrengths) {
            const EdgeParams Params = RandomParams(Rng, How);
            Area<uint8_t> n = Narrow(Rng, Round, 16, 16);
            auto d = OfDepth<uint16_t>(Rng, n, 8);
            pNarrow(n.Macroblock(), n.Step(), &Params);
            pDeep(d.Macroblock(), d.Step(), &Params, 8);
            ASSERT_NO_FATAL_FAILURE(ExpectEqual(n, d)) << "round " << Round;
        }
}
TEST(FilterLumaDeep, OfEightBitsIsThe8BitKernels)
{
    ExpectLumaAsOf8Bits(FilterLumaVertical_px, FilterLumaVerticalDeep_px);
    ExpectLumaAsOf8Bits(FilterLumaHorizontal_px, FilterLumaHorizontalDeep_px);
}

TEST(FilterLumaDeep, IsAsTheStandardHasIt)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : {9, 10, 14})
        for (int Round = 0; Round < kRounds; ++Round)
            for (const bool IsVertical : {true, false}) {
                const EdgeParams Params = RandomParams(Rng, kStrengths[Round % 5]);
                auto Got = OfDepth<uint16_t>(Rng, Narrow(Rng, Round, 16, 16), Depth), Want = Got;
                Filter(Want, 16, 16, IsVertical, Params, Params, Depth);
                (IsVertical ? FilterLumaVerticalDeep_px : FilterLumaHorizontalDeep_px)(Got.Macroblock(), Got.Step(),
                                                                                       &Params, Depth);
                ASSERT_EQ(Got.Samples, Want.Samples) << Depth << " bits, round " << Round << ", " << IsVertical;
            }
}

// ---- Chroma ------------------------------------------------------------------------------------------------

using DeepChroma = void(uint16_t*, uint16_t*, ptrdiff_t, int, const EdgeParams*, const EdgeParams*, int);

void ExpectChromaAsOf8Bits(FilterChromaEdgesSig* pNarrow, DeepChroma* pDeep, int Height)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < kRounds; ++Round)
        for (const Strengths How : kStrengths) {
            const EdgeParams u = RandomParams(Rng, How), v = RandomParams(Rng, How);
            Area<uint8_t> NarrowU = Narrow(Rng, Round, 8, Height), NarrowV = Narrow(Rng, Round + 1, 8, Height);
            auto DeepU = OfDepth<uint16_t>(Rng, NarrowU, 8), DeepV = OfDepth<uint16_t>(Rng, NarrowV, 8);
            pNarrow(NarrowU.Macroblock(), NarrowV.Macroblock(), NarrowU.Step(), &u, &v);
            pDeep(DeepU.Macroblock(), DeepV.Macroblock(), DeepU.Step(), Height, &u, &v, 8);
            ASSERT_NO_FATAL_FAILURE(ExpectEqual(NarrowU, DeepU)) << "round " << Round;
            ASSERT_NO_FATAL_FAILURE(ExpectEqual(NarrowV, DeepV)) << "round " << Round;
        }
}
TEST(FilterChromaDeep, OfEightBitsIsThe8BitKernels)
{
    ExpectChromaAsOf8Bits(FilterChromaVertical_px, FilterChromaVerticalDeep_px, 8);
    ExpectChromaAsOf8Bits(FilterChromaHorizontal_px, FilterChromaHorizontalDeep_px, 8);
    ExpectChromaAsOf8Bits(FilterChroma422Vertical_px, FilterChromaVerticalDeep_px, 16);
    ExpectChromaAsOf8Bits(FilterChroma422Horizontal_px, FilterChromaHorizontalDeep_px, 16);
}

// Run(u, v, Height, IsVertical, ParamsU, ParamsV) filters areas of Sample.
template <class Sample, class F>
void ExpectChromaAsTheStandardHasIt(int Height, int Depth, const F& Run)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < kRounds; ++Round)
        for (const bool IsVertical : {true, false}) {
            const EdgeParams u = RandomParams(Rng, kStrengths[Round % 5]), v = RandomParams(Rng, Strengths::All);
            auto GotU = OfDepth<Sample>(Rng, Narrow(Rng, Round, 8, Height), Depth), WantU = GotU;
            auto GotV = OfDepth<Sample>(Rng, Narrow(Rng, Round + 1, 8, Height), Depth), WantV = GotV;
            Filter(WantU, 8, Height, IsVertical, u, u, Depth);
            Filter(WantV, 8, Height, IsVertical, v, u, Depth); // by the strengths of the first record
            Run(GotU, GotV, IsVertical, u, v);
            ASSERT_EQ(GotU.Samples, WantU.Samples) << Depth << " bits, round " << Round << ", " << IsVertical;
            ASSERT_EQ(GotV.Samples, WantV.Samples) << Depth << " bits, round " << Round << ", " << IsVertical;
        }
}

TEST(FilterChroma422Reference, IsAsTheStandardHasIt)
{
    ExpectChromaAsTheStandardHasIt<uint8_t>(16, 8, [](auto& u, auto& v, bool IsVertical, auto& ParamsU, auto& ParamsV) {
        (IsVertical ? FilterChroma422Vertical_px : FilterChroma422Horizontal_px)(u.Macroblock(), v.Macroblock(),
                                                                                 u.Step(), &ParamsU, &ParamsV);
    });
}

TEST(FilterChromaDeep, IsAsTheStandardHasIt)
{
    for (const int Depth : {9, 10, 14})
        for (const int Height : {8, 16})
            ExpectChromaAsTheStandardHasIt<uint16_t>(
                Height, Depth, [&](auto& u, auto& v, bool IsVertical, auto& ParamsU, auto& ParamsV) {
                    (IsVertical ? FilterChromaVerticalDeep_px : FilterChromaHorizontalDeep_px)(
                        u.Macroblock(), v.Macroblock(), u.Step(), Height, &ParamsU, &ParamsV, Depth);
                });
}

// ---- Left edges between frame and field pairs --------------------------------------------------------------

// Where the two parts of the rows lie: every second row, or one half behind the other. In samples of one plane.
struct Parts {
    ptrdiff_t Gap, Step;
    Parts(int Round, ptrdiff_t Pitch, int Height)
        : Gap(Round & 1 ? Height / 2 * Pitch : Pitch), Step(Round & 1 ? Pitch : 2 * Pitch)
    {
    }
};

// Both parts of a macroblock's rows, with a record and four strengths each.
template <class Sample>
void FilterMixed(Area<Sample>& a, const Parts& p, int Height, bool IsChroma, const EdgeParams* pParams,
                 const EdgeParams* pStrengths, int Depth)
{
    for (int Part = 0; Part < 2; ++Part)
        for (int Row = 0; Row < Height / 2; ++Row) {
            const EdgeParams& Params = pParams[Part];
            const int bS = pStrengths[Part].Strength[Row * 8 / Height];
            const test::EdgeThresholds t{Params.Alpha[0], Params.Beta[0], bS < 4 ? Params.Clip[0][bS] : 0};
            test::FilterLine(a.Macroblock() + Part * p.Gap + Row * p.Step, 1, bS, t, IsChroma, Depth);
        }
}

struct MixedParams {
    EdgeParams u[2], v[2];
    MixedParams(TestRandom& Rng, int Round)
        : u{RandomParams(Rng, kStrengths[Round % 5]), RandomParams(Rng, kStrengths[Round / 5 % 5])},
          v{RandomParams(Rng, Strengths::All), RandomParams(Rng, Strengths::All)}
    {
    }
};

TEST(FilterMixedEdges, IsAsTheStandardHasIt)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < kRounds; ++Round) {
        const MixedParams Of(Rng, Round);
        Area<uint8_t> Luma = Narrow(Rng, Round, 16, 16), WantLuma = Luma;
        const Parts p(Round, Luma.Pitch, 16);
        FilterMixed(WantLuma, p, 16, false, Of.u, Of.u, 8);
        FilterLumaMixed_px(Luma.Macroblock(), p.Gap, p.Step, Of.u);
        ASSERT_EQ(Luma.Samples, WantLuma.Samples) << Round;
        for (const int Height : {8, 16}) {
            Area<uint8_t> Cb = Narrow(Rng, Round, 8, Height), Cr = Narrow(Rng, Round, 8, Height), WantCb = Cb,
                          WantCr = Cr;
            const Parts c(Round, Cb.Pitch, Height);
            FilterMixed(WantCb, c, Height, true, Of.u, Of.u, 8);
            FilterMixed(WantCr, c, Height, true, Of.v, Of.u, 8);
            (Height == 8 ? FilterChromaMixed_px : FilterChroma422Mixed_px)(Cb.Macroblock(), Cr.Macroblock(), c.Gap,
                                                                           c.Step, Of.u, Of.v);
            ASSERT_EQ(Cb.Samples, WantCb.Samples) << Round;
            ASSERT_EQ(Cr.Samples, WantCr.Samples) << Round;
        }
    }
}

TEST(FilterMixedEdges, OfDeepSamplesAreAsTheStandardHasThem)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : {8, 10, 14})
        for (int Round = 0; Round < kRounds; ++Round) {
            const MixedParams Of(Rng, Round);
            auto Luma = OfDepth<uint16_t>(Rng, Narrow(Rng, Round, 16, 16), Depth), WantLuma = Luma;
            const Parts p(Round, Luma.Pitch, 16);
            FilterMixed(WantLuma, p, 16, false, Of.u, Of.u, Depth);
            FilterLumaMixedDeep_px(Luma.Macroblock(), 2 * p.Gap, 2 * p.Step, Of.u, Depth);
            ASSERT_EQ(Luma.Samples, WantLuma.Samples) << Depth << ", " << Round;
            const int Height = Round & 2 ? 16 : 8;
            auto Cb = OfDepth<uint16_t>(Rng, Narrow(Rng, Round, 8, Height), Depth), WantCb = Cb;
            auto Cr = OfDepth<uint16_t>(Rng, Narrow(Rng, Round, 8, Height), Depth), WantCr = Cr;
            const Parts c(Round, Cb.Pitch, Height);
            FilterMixed(WantCb, c, Height, true, Of.u, Of.u, Depth);
            FilterMixed(WantCr, c, Height, true, Of.v, Of.u, Depth);
            FilterChromaMixedDeep_px(Cb.Macroblock(), Cr.Macroblock(), 2 * c.Gap, 2 * c.Step, Height, Of.u, Of.v,
                                     Depth);
            ASSERT_EQ(Cb.Samples, WantCb.Samples) << Depth << ", " << Round;
            ASSERT_EQ(Cr.Samples, WantCr.Samples) << Depth << ", " << Round;
        }
}

// Strengths of 4 beside others too: an intra macroblock may lie beside one part alone.
void CheckLumaMixed(FilterMixedSig* pFn, FilterMixedSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 8 * kRounds; ++Round) {
        const MixedParams Of(Rng, Round);
        Area<uint8_t> Got = Narrow(Rng, Round, 16, 16), Want = Got;
        const Parts p(Round, Got.Pitch, 16);
        pReference(Want.Macroblock(), p.Gap, p.Step, Of.u);
        pFn(Got.Macroblock(), p.Gap, p.Step, Of.u);
        ASSERT_EQ(Got.Samples, Want.Samples) << "round " << Round;
    }
}
KERNEL_TEST(FilterLumaMixed, CheckLumaMixed);

template <int Height>
void CheckChromaMixed(FilterChromaMixedSig* pFn, FilterChromaMixedSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < 8 * kRounds; ++Round) {
        const MixedParams Of(Rng, Round);
        const EdgeParams* const pV = Rng.Range(0, 1) ? Of.v : Of.u;
        Area<uint8_t> GotU = Narrow(Rng, Round, 8, Height), GotV = Narrow(Rng, Round + 1, 8, Height);
        Area<uint8_t> WantU = GotU, WantV = GotV;
        const Parts p(Round, GotU.Pitch, Height);
        pReference(WantU.Macroblock(), WantV.Macroblock(), p.Gap, p.Step, Of.u, pV);
        pFn(GotU.Macroblock(), GotV.Macroblock(), p.Gap, p.Step, Of.u, pV);
        ASSERT_EQ(GotU.Samples, WantU.Samples) << "round " << Round;
        ASSERT_EQ(GotV.Samples, WantV.Samples) << "round " << Round;
    }
}
KERNEL_TEST(FilterChromaMixed, CheckChromaMixed<8>);
KERNEL_TEST(FilterChroma422Mixed, CheckChromaMixed<16>);

// ---- Variants ----------------------------------------------------------------------------------------------

constexpr int kVariantDepths[]{8, 9, 10, 12, 13, 14};

void CheckLuma(FilterEdgesDeepSig* pFn, FilterEdgesDeepSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const int Depth : kVariantDepths)
        for (int Round = 0; Round < kRounds; ++Round)
            for (const Strengths How : kStrengths) {
                const EdgeParams Params = RandomParams(Rng, How);
                auto Got = OfDepth<uint16_t>(Rng, Narrow(Rng, Round, 16, 16), Depth), Want = Got;
                pReference(Want.Macroblock(), Want.Step(), &Params, Depth);
                pFn(Got.Macroblock(), Got.Step(), &Params, Depth);
                ASSERT_EQ(Got.Samples, Want.Samples) << Depth << " bits, round " << Round;
            }
}
KERNEL_TEST(FilterLumaVerticalDeep, CheckLuma);
KERNEL_TEST(FilterLumaHorizontalDeep, CheckLuma);

// Run(function, u, v, ParamsU, ParamsV) filters with either function.
template <class Sample, class Sig, class F>
void CheckChromaVariant(Sig* pFn, Sig* pReference, int Height, int Depth, const F& Run)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (int Round = 0; Round < kRounds; ++Round)
        for (const Strengths How : kStrengths) {
            const EdgeParams u = RandomParams(Rng, How), Other = RandomParams(Rng, How), v = Round & 1 ? u : Other;
            auto GotU = OfDepth<Sample>(Rng, Narrow(Rng, Round, 8, Height), Depth), WantU = GotU;
            auto GotV = OfDepth<Sample>(Rng, Narrow(Rng, Round + 1, 8, Height), Depth), WantV = GotV;
            Run(pReference, WantU, WantV, u, v);
            Run(pFn, GotU, GotV, u, v);
            ASSERT_EQ(GotU.Samples, WantU.Samples) << Depth << " bits, round " << Round;
            ASSERT_EQ(GotV.Samples, WantV.Samples) << Depth << " bits, round " << Round;
        }
}

void CheckChroma422(FilterChromaEdgesSig* pFn, FilterChromaEdgesSig* pReference)
{
    CheckChromaVariant<uint8_t>(pFn, pReference, 16, 8, [](auto* p, auto& u, auto& v, auto& ParamsU, auto& ParamsV) {
        p(u.Macroblock(), v.Macroblock(), u.Step(), &ParamsU, &ParamsV);
    });
}
KERNEL_TEST(FilterChroma422Vertical, CheckChroma422);
KERNEL_TEST(FilterChroma422Horizontal, CheckChroma422);

void CheckChromaDeep(FilterChromaEdgesDeepSig* pFn, FilterChromaEdgesDeepSig* pReference)
{
    for (const int Depth : kVariantDepths)
        for (const int Height : {8, 16})
            CheckChromaVariant<uint16_t>(
                pFn, pReference, Height, Depth, [&](auto* p, auto& u, auto& v, auto& ParamsU, auto& ParamsV) {
                    p(u.Macroblock(), v.Macroblock(), u.Step(), Height, &ParamsU, &ParamsV, Depth);
                });
}
KERNEL_TEST(FilterChromaVerticalDeep, CheckChromaDeep);
KERNEL_TEST(FilterChromaHorizontalDeep, CheckChromaDeep);

} // namespace
