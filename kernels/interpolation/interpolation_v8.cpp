#include <cstring>
#include <tmmintrin.h>

#include "kernels/interpolation/interpolation.h"

namespace kernels {

static __m128i Load8(const uint8_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
static __m128i Load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

static __m128i LoadTwo8(const uint8_t* pLower, const uint8_t* pUpper)
{
    const __m128d Lower = _mm_castsi128_pd(Load8(pLower));
    return _mm_castpd_si128(_mm_loadh_pd(Lower, reinterpret_cast<const double*>(pUpper)));
}

// A row of Width samples in the lower end of a register, and back.
template <int Width>
static __m128i LoadRow(const uint8_t* p)
{
    if constexpr (Width == 16) return Load16(p);
    if constexpr (Width == 8) return Load8(p);
    int Value = 0;
    std::memcpy(&Value, p, Width < 4 ? Width : 4);
    return _mm_cvtsi32_si128(Value);
}

template <int Width>
static void StoreRow(uint8_t* p, __m128i Row)
{
    if constexpr (Width == 16) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), Row);
    } else if constexpr (Width == 8) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), Row);
    } else {
        const int Value = _mm_cvtsi128_si32(Row);
        std::memcpy(p, &Value, Width);
    }
}

// (v + 2^(Bits - 1)) >> Bits of words.
template <int Bits>
static __m128i RoundShift(__m128i v)
{
    return _mm_mulhrs_epi16(v, _mm_set1_epi16(1 << (15 - Bits)));
}

// ---- Luma: six taps (8.4.2.2.1) ----------------------------------------------------------------------------

// The taps 1 -5 20 20 -5 1 as three pairs for pmaddubsw. One pass over samples lies in -2550..10710.
static __m128i FirstTaps(__m128i Pairs) { return _mm_maddubs_epi16(Pairs, _mm_set1_epi16(static_cast<short>(0xFB01))); }
static __m128i MiddleTaps(__m128i Pairs) { return _mm_maddubs_epi16(Pairs, _mm_set1_epi16(0x1414)); }
static __m128i LastTaps(__m128i Pairs) { return _mm_maddubs_epi16(Pairs, _mm_set1_epi16(0x01FB)); }

// The taps across one row, as words. Loads at even distances give the results of the even columns and those one sample
// further right the ones of the odd columns, so no sample is moved before the results are packed.
template <int Width>
struct TapsAcross;

template <>
struct TapsAcross<16> {
    static constexpr int kRegisters = 2; // even columns, odd columns
    static void Run(const uint8_t* p, __m128i Words[kRegisters])
    {
        for (int Odd = 0; Odd < 2; ++Odd, ++p)
            Words[Odd] =
                _mm_add_epi16(_mm_add_epi16(FirstTaps(Load16(p - 2)), LastTaps(Load16(p + 2))), MiddleTaps(Load16(p)));
    }
    static __m128i Pack(const __m128i Words[kRegisters])
    {
        const __m128i Order = _mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15);
        return _mm_shuffle_epi8(_mm_packus_epi16(Words[0], Words[1]), Order);
    }
};

template <>
struct TapsAcross<8> {
    static constexpr int kRegisters = 1; // four even columns, four odd ones
    static void Run(const uint8_t* p, __m128i Words[kRegisters])
    {
        const __m128i First = FirstTaps(LoadTwo8(p - 2, p - 1)), Last = LastTaps(LoadTwo8(p + 2, p + 3));
        Words[0] = _mm_add_epi16(_mm_add_epi16(First, Last), MiddleTaps(LoadTwo8(p, p + 1)));
    }
    static __m128i Pack(const __m128i Words[kRegisters])
    {
        const __m128i Order = _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, -1, -1, -1, -1, -1, -1, -1, -1);
        return _mm_shuffle_epi8(_mm_packus_epi16(Words[0], Words[0]), Order);
    }
};

template <>
struct TapsAcross<4> {
    static constexpr int kRegisters = 1; // words 0, 1: even columns; words 4, 5: odd ones
    static void Run(const uint8_t* p, __m128i Words[kRegisters])
    {
        const __m128i Both = LoadTwo8(p - 2, p - 1);
        const __m128i Middle = _mm_srli_epi64(MiddleTaps(Both), 16), Last = _mm_srli_epi64(LastTaps(Both), 32);
        Words[0] = _mm_add_epi16(_mm_add_epi16(FirstTaps(Both), Last), Middle);
    }
    static __m128i Pack(const __m128i Words[kRegisters])
    {
        const __m128i Order = _mm_setr_epi8(0, 4, 1, 5, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
        return _mm_shuffle_epi8(_mm_packus_epi16(Words[0], Words[0]), Order);
    }
};

// What becomes of a row of results: stored, or averaged with another row first.
enum class Blend { Put, WithOther, WithTarget };

template <int Width, Blend How>
static void Finish(uint8_t* pDst, __m128i Row, const uint8_t* pOther)
{
    if constexpr (How == Blend::WithOther) Row = _mm_avg_epu8(Row, LoadRow<Width>(pOther));
    if constexpr (How == Blend::WithTarget) Row = _mm_avg_epu8(Row, LoadRow<Width>(pDst));
    StoreRow<Width>(pDst, Row);
}

struct LumaBlock {
    const uint8_t* pSrc;
    ptrdiff_t SrcStep;
    uint8_t* pDst;
    ptrdiff_t DstStep;
    int Height;
};

// Half samples between columns, of the rows from pSrc on; Other is where the full samples of the average lie.
template <int Width, Blend How>
static void HalfAcross(const LumaBlock& b, const uint8_t* pSrc, ptrdiff_t Other)
{
    using Taps = TapsAcross<Width>;
    uint8_t* pDst = b.pDst;
    for (int y = b.Height; y > 0; --y, pSrc += b.SrcStep, pDst += b.DstStep) {
        __m128i Words[Taps::kRegisters];
        Taps::Run(pSrc, Words);
        for (__m128i& v : Words) v = RoundShift<5>(v);
        Finish<Width, How>(pDst, Taps::Pack(Words), pSrc + Other);
    }
}

// Half samples between rows, of Width columns from pSrc on, at most 8. Neighbouring rows are interleaved once and each
// pair serves three rows of results.
template <int Width, Blend How>
static void HalfDownStrip(const LumaBlock& b, const uint8_t* pSrc, uint8_t* pDst, ptrdiff_t Other)
{
    const ptrdiff_t Step = b.SrcStep;
    const __m128i m2 = LoadRow<Width>(pSrc - 2 * Step), m1 = LoadRow<Width>(pSrc - Step);
    const __m128i r0 = LoadRow<Width>(pSrc), r1 = LoadRow<Width>(pSrc + Step);
    __m128i Newest = LoadRow<Width>(pSrc + 2 * Step);
    __m128i p0 = _mm_unpacklo_epi8(m2, m1), p1 = _mm_unpacklo_epi8(m1, r0), p2 = _mm_unpacklo_epi8(r0, r1);
    __m128i p3 = _mm_unpacklo_epi8(r1, Newest);
    const auto OneRow = [&](__m128i First, __m128i Middle) {
        const __m128i Next = LoadRow<Width>(pSrc + 3 * Step);
        const __m128i Last = _mm_unpacklo_epi8(Newest, Next);
        Newest = Next;
        const __m128i Words = _mm_add_epi16(_mm_add_epi16(FirstTaps(First), LastTaps(Last)), MiddleTaps(Middle));
        const __m128i Half = RoundShift<5>(Words);
        Finish<Width, How>(pDst, _mm_packus_epi16(Half, Half), pSrc + Other);
        pSrc += Step;
        pDst += b.DstStep;
        return Last;
    };
    for (int y = b.Height; y > 0; y -= 2) {
        const __m128i p4 = OneRow(p0, p2), p5 = OneRow(p1, p3);
        p0 = p2;
        p1 = p3;
        p2 = p4;
        p3 = p5;
    }
}

template <int Width, Blend How>
static void HalfDown(const LumaBlock& b, const uint8_t* pSrc, ptrdiff_t Other)
{
    constexpr int kStrip = Width < 8 ? Width : 8;
    for (int x = 0; x < Width; x += kStrip) HalfDownStrip<kStrip, How>(b, pSrc + x, b.pDst + x, Other);
}

// The second pass of the centre sample over words: (a - 5 b + 20 c + 512) >> 10, where a, b, c are the sums of the
// outer, second and middle pair. As the shifts round down, that is (((a - b) >> 2) - b + c) >> 2) + c, + 32, >> 6. Only
// the sum in the middle can leave the words; it then saturates at a place where the result is clipped anyway:
// c is above 21037 or below -4717 there.
static_assert((2 * 10710 + 2 * 2550) / 4 + 2 * 10710 + 2 * 2550 > INT16_MAX);
static_assert((INT16_MAX / 4 + 21037) / 64 > 255 && INT16_MIN / 4 - 4717 < 0);

static __m128i TapsOfWords(const __m128i* p, int Row)
{
    const __m128i a = _mm_add_epi16(p[0], p[5 * Row]), b = _mm_add_epi16(p[Row], p[4 * Row]);
    const __m128i c = _mm_add_epi16(p[2 * Row], p[3 * Row]);
    const __m128i Quarter = _mm_srai_epi16(_mm_sub_epi16(a, b), 2);
    const __m128i Sum = _mm_srai_epi16(_mm_adds_epi16(Quarter, _mm_sub_epi16(c, b)), 2);
    return RoundShift<6>(_mm_add_epi16(Sum, c));
}

// Samples in the centre of four full ones. With NearRow 0 or 1 they are averaged with the half samples across that row.
constexpr int kNoRow = -1;

template <int Width, Blend How, int NearRow>
static void Centre(const LumaBlock& b)
{
    using Taps = TapsAcross<Width>;
    constexpr int kRow = Taps::kRegisters;
    __m128i Across[21 * kRow];
    const uint8_t* pSrc = b.pSrc - 2 * b.SrcStep;
    for (int y = 0; y < b.Height + 5; ++y, pSrc += b.SrcStep) Taps::Run(pSrc, Across + y * kRow);

    uint8_t* pDst = b.pDst;
    const __m128i* p = Across;
    for (int y = b.Height; y > 0; --y, p += kRow, pDst += b.DstStep) {
        __m128i Words[kRow];
        for (int i = 0; i < kRow; ++i) Words[i] = TapsOfWords(p + i, kRow);
        __m128i Row = Taps::Pack(Words);
        if constexpr (NearRow != kNoRow) {
            for (int i = 0; i < kRow; ++i) Words[i] = RoundShift<5>(p[(2 + NearRow) * kRow + i]);
            Row = _mm_avg_epu8(Row, Taps::Pack(Words));
        }
        Finish<Width, How>(pDst, Row, nullptr);
    }
}

template <int Width>
static void CopyRows(const LumaBlock& b)
{
    const uint8_t* pSrc = b.pSrc;
    uint8_t* pDst = b.pDst;
    for (int y = b.Height; y > 0; --y, pSrc += b.SrcStep, pDst += b.DstStep)
        StoreRow<Width>(pDst, LoadRow<Width>(pSrc));
}

template <int Width>
static void InterpolateLuma(const LumaBlock& b, int FracX, int FracY)
{
    const uint8_t* const pRow = b.pSrc + (FracY == 3 ? b.SrcStep : 0); // the row and the column nearer to the offset
    const uint8_t* const pColumn = b.pSrc + (FracX == 3 ? 1 : 0);
    switch (FracY * 4 + FracX) {
    case 0: return CopyRows<Width>(b);
    case 2: return HalfAcross<Width, Blend::Put>(b, b.pSrc, 0);
    case 1:
    case 3: return HalfAcross<Width, Blend::WithOther>(b, b.pSrc, pColumn - b.pSrc);
    case 8: return HalfDown<Width, Blend::Put>(b, b.pSrc, 0);
    case 4:
    case 12: return HalfDown<Width, Blend::WithOther>(b, b.pSrc, pRow - b.pSrc);
    case 10: return Centre<Width, Blend::Put, kNoRow>(b);
    case 6: return Centre<Width, Blend::Put, 0>(b);
    case 14: return Centre<Width, Blend::Put, 1>(b);
    case 9:
    case 11: HalfDown<Width, Blend::Put>(b, pColumn, 0); return Centre<Width, Blend::WithTarget, kNoRow>(b);
    default: HalfAcross<Width, Blend::Put>(b, pRow, 0); return HalfDown<Width, Blend::WithTarget>(b, pColumn, 0);
    }
}

void InterpolateLuma16_v8(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int FracX,
                          int FracY, int Height)
{
    InterpolateLuma<16>({pSrc, SrcStep, pDst, DstStep, Height}, FracX, FracY);
}

void InterpolateLuma8_v8(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int FracX, int FracY,
                         int Height)
{
    InterpolateLuma<8>({pSrc, SrcStep, pDst, DstStep, Height}, FracX, FracY);
}

void InterpolateLuma4_v8(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int FracX, int FracY,
                         int Height)
{
    InterpolateLuma<4>({pSrc, SrcStep, pDst, DstStep, Height}, FracX, FracY);
}

// ---- Chroma: weights by distance (8.4.2.2.2) ---------------------------------------------------------------

struct ChromaBlock {
    const uint8_t* pSrc[2]; // U, V
    uint8_t* pDst[2];
    ptrdiff_t SrcStep, DstStep;
    int Height;
};

static __m128i PairOfWeights(int First, int Second) { return _mm_set1_epi16(static_cast<short>(First | Second << 8)); }

// Each sample beside its right neighbour.
template <int Width>
static __m128i PairsAcross(const uint8_t* p)
{
    return _mm_unpacklo_epi8(LoadRow<Width>(p), LoadRow<Width>(p + 1));
}

// The offsets across alone, Near 1, and down alone, Near the step, weigh two samples in eighths.
template <int Width>
static void WeighTwo(const ChromaBlock& b, ptrdiff_t Near, int Frac)
{
    const __m128i Weights = PairOfWeights(8 - Frac, Frac);
    const uint8_t *pU = b.pSrc[0], *pV = b.pSrc[1];
    uint8_t *pDstU = b.pDst[0], *pDstV = b.pDst[1];
    for (int y = b.Height; y > 0; --y) {
        const __m128i u = _mm_maddubs_epi16(_mm_unpacklo_epi8(LoadRow<Width>(pU), LoadRow<Width>(pU + Near)), Weights);
        const __m128i v = _mm_maddubs_epi16(_mm_unpacklo_epi8(LoadRow<Width>(pV), LoadRow<Width>(pV + Near)), Weights);
        const __m128i Both = _mm_packus_epi16(RoundShift<3>(u), RoundShift<3>(v));
        StoreRow<Width>(pDstU, Both);
        StoreRow<Width>(pDstV, _mm_unpackhi_epi64(Both, Both));
        pU += b.SrcStep;
        pV += b.SrcStep;
        pDstU += b.DstStep;
        pDstV += b.DstStep;
    }
}

template <int Width>
static void WeighFour(const ChromaBlock& b, int Plane, int FracX, int FracY)
{
    const __m128i Upper = PairOfWeights((8 - FracX) * (8 - FracY), FracX * (8 - FracY));
    const __m128i Lower = PairOfWeights((8 - FracX) * FracY, FracX * FracY);
    const uint8_t* pSrc = b.pSrc[Plane];
    uint8_t* pDst = b.pDst[Plane];
    __m128i Above = PairsAcross<Width>(pSrc);
    for (int y = b.Height; y > 0; y -= 2) {
        const __m128i Middle = PairsAcross<Width>(pSrc + b.SrcStep);
        pSrc += 2 * b.SrcStep;
        const __m128i Below = PairsAcross<Width>(pSrc);
        const __m128i r0 = _mm_add_epi16(_mm_maddubs_epi16(Above, Upper), _mm_maddubs_epi16(Middle, Lower));
        const __m128i r1 = _mm_add_epi16(_mm_maddubs_epi16(Middle, Upper), _mm_maddubs_epi16(Below, Lower));
        const __m128i Both = _mm_packus_epi16(RoundShift<6>(r0), RoundShift<6>(r1));
        StoreRow<Width>(pDst, Both);
        StoreRow<Width>(pDst + b.DstStep, _mm_unpackhi_epi64(Both, Both));
        pDst += 2 * b.DstStep;
        Above = Below;
    }
}

template <int Width>
static void CopyChroma(const ChromaBlock& b)
{
    for (int Plane = 0; Plane < 2; ++Plane) {
        const uint8_t* pSrc = b.pSrc[Plane];
        uint8_t* pDst = b.pDst[Plane];
        for (int y = b.Height; y > 0; --y, pSrc += b.SrcStep, pDst += b.DstStep)
            StoreRow<Width>(pDst, LoadRow<Width>(pSrc));
    }
}

template <int Width>
static void InterpolateChroma(const ChromaBlock& b, int FracX, int FracY)
{
    if (FracX && FracY) {
        WeighFour<Width>(b, 0, FracX, FracY);
        WeighFour<Width>(b, 1, FracX, FracY);
    } else if (FracX) {
        WeighTwo<Width>(b, 1, FracX);
    } else if (FracY) {
        WeighTwo<Width>(b, b.SrcStep, FracY);
    } else {
        CopyChroma<Width>(b);
    }
}

void InterpolateChroma8_v8(const uint8_t* pSrcU, const uint8_t* pSrcV, ptrdiff_t SrcStep, uint8_t* pDstU,
                           uint8_t* pDstV, ptrdiff_t DstStep, int FracX, int FracY, int Height)
{
    InterpolateChroma<8>({{pSrcU, pSrcV}, {pDstU, pDstV}, SrcStep, DstStep, Height}, FracX, FracY);
}

void InterpolateChroma4_v8(const uint8_t* pSrcU, const uint8_t* pSrcV, ptrdiff_t SrcStep, uint8_t* pDstU,
                           uint8_t* pDstV, ptrdiff_t DstStep, int FracX, int FracY, int Height)
{
    InterpolateChroma<4>({{pSrcU, pSrcV}, {pDstU, pDstV}, SrcStep, DstStep, Height}, FracX, FracY);
}

void InterpolateChroma2_v8(const uint8_t* pSrcU, const uint8_t* pSrcV, ptrdiff_t SrcStep, uint8_t* pDstU,
                           uint8_t* pDstV, ptrdiff_t DstStep, int FracX, int FracY, int Height)
{
    InterpolateChroma<2>({{pSrcU, pSrcV}, {pDstU, pDstV}, SrcStep, DstStep, Height}, FracX, FracY);
}

// ---- Weights (8.4.2.3.2) -----------------------------------------------------------------------------------

// Both samples side by side times both weights, whose sum lies in -128..128: no sum of two products leaves the words.
// (v * 2^(14 - LogDenom) + 2^14) >> 15 is (v + 2^LogDenom) >> (LogDenom + 1).
struct PairWeighting {
    __m128i Weights, Scale, Offset;
    __m128i operator()(__m128i Pairs) const
    {
        return _mm_add_epi16(_mm_mulhrs_epi16(_mm_maddubs_epi16(Pairs, Weights), Scale), Offset);
    }
};

template <int Width>
static void BiWeightBlock(const uint8_t* pA, ptrdiff_t StepA, uint8_t* pDst, ptrdiff_t DstStep, int Height,
                          const PairWeighting& Weigh)
{
    for (; Height > 0; --Height, pA += StepA, pDst += DstStep) {
        const __m128i a = LoadRow<Width>(pA), b = LoadRow<Width>(pDst);
        const __m128i Lower = Weigh(_mm_unpacklo_epi8(a, b));
        const __m128i Upper = Width == 16 ? Weigh(_mm_unpackhi_epi8(a, b)) : Lower;
        StoreRow<Width>(pDst, _mm_packus_epi16(Lower, Upper));
    }
}

static PairWeighting MakeWeighting(int LogDenom, int Weight0, int Weight1, int Offset)
{
    return {_mm_set1_epi16(static_cast<short>((Weight0 & 0xFF) | Weight1 * 256)),
            _mm_set1_epi16(static_cast<short>(1 << (14 - LogDenom))), _mm_set1_epi16(static_cast<short>(Offset))};
}

// A weight of 128 is no signed byte.
#define BI_WEIGHT(Width)                                                                                               \
    void BiWeightBlock##Width##_v8(const uint8_t* pA, ptrdiff_t StepA, uint8_t* pDst, ptrdiff_t DstStep, int Height,   \
                                   int LogDenom, int Weight0, int Weight1, int Offset)                                 \
    {                                                                                                                  \
        if (Weight0 == 128 || Weight1 == 128)                                                                          \
            BiWeightBlock##Width##_w7(pA, StepA, pDst, DstStep, Height, LogDenom, Weight0, Weight1, Offset);           \
        else                                                                                                           \
            BiWeightBlock<Width>(pA, StepA, pDst, DstStep, Height, MakeWeighting(LogDenom, Weight0, Weight1, Offset)); \
    }
BI_WEIGHT(16)
BI_WEIGHT(8)
BI_WEIGHT(4)
#undef BI_WEIGHT

} // namespace kernels
