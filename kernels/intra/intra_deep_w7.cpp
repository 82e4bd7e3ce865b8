// Intra prediction of 16x16 and chroma blocks of samples of 2 bytes.
#include <emmintrin.h>

#include "kernels/intra/intra.h"
#include "kernels/intra/sample_words.h"
#include "kernels/sum_of_four.h"

namespace kernels {

namespace {

// Registers pass between these only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

INLINE __m128i Load8(const uint16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
INLINE __m128i Load4(const uint16_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
INLINE void Store8(uint16_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

INLINE __m128i SumsOfPairs(__m128i Samples) { return _mm_madd_epi16(Samples, _mm_set1_epi16(1)); }

// Steps count samples here and below.
INLINE int SumLeft(const uint16_t* pAround, ptrdiff_t Step, int Count)
{
    int Sum = 0;
    for (int y = 0; y < Count; ++y) Sum += pAround[y * Step - 1];
    return Sum;
}

// Height rows of Width samples, where they go and what they hold.
template <int Width>
struct Target {
    uint16_t* p;
    ptrdiff_t Step;
    int Height, Depth;

    [[gnu::always_inline]] void Put(int y, __m128i First, __m128i Second) const
    {
        Store8(p + y * Step, First);
        if (Width == 16) Store8(p + y * Step + 8, Second);
    }
};

template <int Width>
INLINE void PredictVertical(const uint16_t* pAround, ptrdiff_t Step, const Target<Width>& Dst)
{
    const __m128i First = Load8(pAround - Step), Second = Width == 16 ? Load8(pAround - Step + 8) : First;
    for (int y = 0; y < Dst.Height; ++y) Dst.Put(y, First, Second);
}

template <int Width>
INLINE void PredictHorizontal(const uint16_t* pAround, ptrdiff_t Step, const Target<Width>& Dst)
{
    for (int y = 0; y < Dst.Height; ++y) {
        const __m128i Row = Splat(pAround[y * Step - 1]);
        Dst.Put(y, Row, Row);
    }
}

INLINE void Predict16x16Dc(const uint16_t* pAround, ptrdiff_t Step, const Target<16>& Dst, unsigned Available)
{
    const unsigned Sides = Available & (kTop | kLeft);
    int Sum = 0;
    if (Available & kTop) Sum = SumOfFour(SumsOfPairs(_mm_add_epi16(Load8(pAround - Step), Load8(pAround - Step + 8))));
    if (Available & kLeft) Sum += SumLeft(pAround, Step, 16);
    const __m128i Row = Splat(Sides == (kTop | kLeft) ? (Sum + 16) >> 5
                              : Sides                 ? (Sum + 8) >> 4
                                                      : 1 << (Dst.Depth - 1));
    for (int y = 0; y < 16; ++y) Dst.Put(y, Row, Row);
}

// 8.3.4.1 to 8.3.4.3: the quarters that touch both sides or none use both, the others prefer the side that touches
// them.
INLINE void PredictChromaDc(const uint16_t* pAround, ptrdiff_t Step, const Target<8>& Dst, unsigned Available)
{
    const bool Top = Available & kTop, Left = Available & kLeft;
    int Above[2] = {}, Beside[4] = {}; // sums of four
    if (Top) {
        __m128i Sums = SumsOfPairs(Load8(pAround - Step));
        Sums = _mm_add_epi32(Sums, _mm_srli_epi64(Sums, 32));
        Above[0] = _mm_cvtsi128_si32(Sums);
        Above[1] = _mm_cvtsi128_si32(_mm_unpackhi_epi64(Sums, Sums));
    }
    if (Left)
        for (int i = 0; i < Dst.Height / 4; ++i) Beside[i] = SumLeft(pAround + 4 * i * Step, Step, 4);
    const auto Mean = [&](int x, int y) {
        if (Top && Left && (x > 0) == (y > 0)) return (Above[x] + Beside[y] + 4) >> 3;
        if (Top && ((x > 0 && y == 0) || !Left)) return (Above[x] + 2) >> 2;
        return Left ? (Beside[y] + 2) >> 2 : 1 << (Dst.Depth - 1);
    };
    for (int i = 0; i < Dst.Height / 4; ++i) {
        const __m128i Row = _mm_unpacklo_epi64(Splat(Mean(0, i)), Splat(Mean(1, i)));
        for (int y = 4 * i; y < 4 * i + 4; ++y) Dst.Put(y, Row, Row);
    }
}

// ---- Planes ------------------------------------------------------------------------------------------------

// (weight * sum + 32) >> 6 of the sum over i of i * (sample i after the middle - sample i before it), from the samples
// before the middle and those after it.
INLINE int Slope16(__m128i Before, __m128i After)
{
    const __m128i Sums = _mm_add_epi32(_mm_madd_epi16(Before, _mm_setr_epi16(-8, -7, -6, -5, -4, -3, -2, -1)),
                                       _mm_madd_epi16(After, _mm_setr_epi16(1, 2, 3, 4, 5, 6, 7, 8)));
    return (5 * SumOfFour(Sums) + 32) >> 6;
}

INLINE int Slope8(__m128i BeforeAndAfter)
{
    return (34 * SumOfFour(_mm_madd_epi16(BeforeAndAfter, _mm_setr_epi16(-4, -3, -2, -1, 1, 2, 3, 4))) + 32) >> 6;
}

// Four samples on from one, Step apart.
INLINE __m128i Column4(const uint16_t* p, ptrdiff_t Step)
{
    return _mm_setr_epi16(static_cast<short>(p[0]), static_cast<short>(p[Step]), static_cast<short>(p[2 * Step]),
                          static_cast<short>(p[3 * Step]), 0, 0, 0, 0);
}

INLINE __m128i Column8(const uint16_t* p, ptrdiff_t Step)
{
    return _mm_unpacklo_epi64(Column4(p, Step), Column4(p + 4 * Step, Step));
}

// 8.3.3.4 and 8.3.4.4, in 32 bits. What packing saturates lies outside of the samples in any case.
template <int Width>
INLINE void PredictPlane(const uint16_t* pAround, ptrdiff_t Step, const Target<Width>& Dst)
{
    const uint16_t* const pAbove = pAround - Step;
    const uint16_t* const pLeft = pAround - 1;
    const int Half = Dst.Height / 2;
    const int b = Width == 16 ? Slope16(Load8(pAbove - 1), Load8(pAbove + 8))
                              : Slope8(_mm_unpacklo_epi64(Load4(pAbove - 1), Load4(pAbove + 4)));
    const int c = Half == 8 ? Slope16(Column8(pLeft - Step, Step), Column8(pLeft + 8 * Step, Step))
                            : Slope8(_mm_unpacklo_epi64(Column4(pLeft - Step, Step), Column4(pLeft + 4 * Step, Step)));
    const int First =
        16 * (pLeft[(Dst.Height - 1) * Step] + pAbove[Width - 1]) + 16 - (Width / 2 - 1) * b - (Half - 1) * c;
    const __m128i Down = _mm_set1_epi32(c), Max = Splat((1 << Dst.Depth) - 1), Zero = _mm_setzero_si128();
    __m128i Row[4]; // four samples each
    for (int i = 0; i < Width / 4; ++i)
        Row[i] = _mm_setr_epi32(First + 4 * i * b, First + (4 * i + 1) * b, First + (4 * i + 2) * b,
                                First + (4 * i + 3) * b);
    const auto Eight = [&](__m128i& Lower, __m128i& Upper) {
        const __m128i Packed = _mm_packs_epi32(_mm_srai_epi32(Lower, 5), _mm_srai_epi32(Upper, 5));
        Lower = _mm_add_epi32(Lower, Down);
        Upper = _mm_add_epi32(Upper, Down);
        return _mm_max_epi16(_mm_min_epi16(Packed, Max), Zero);
    };
    for (int y = 0; y < Dst.Height; ++y) {
        const __m128i Left = Eight(Row[0], Row[1]);
        Dst.Put(y, Left, Width == 16 ? Eight(Row[2], Row[3]) : Left);
    }
}

} // namespace

void Predict16x16Deep_w7(int Mode, const uint16_t* pAround, ptrdiff_t AroundStep, uint16_t* pDst, ptrdiff_t DstStep,
                         unsigned Available, int Depth)
{
    const Target<16> Dst{pDst, DstStep / 2, 16, Depth};
    const ptrdiff_t Step = AroundStep / 2;
    switch (Mode) {
    case 0: return PredictVertical(pAround, Step, Dst);
    case 1: return PredictHorizontal(pAround, Step, Dst);
    case 2: return Predict16x16Dc(pAround, Step, Dst, Available);
    default: return PredictPlane(pAround, Step, Dst);
    }
}

void PredictChromaDeep_w7(int Mode, int Height, const uint16_t* pAround, ptrdiff_t AroundStep, uint16_t* pDst,
                          ptrdiff_t DstStep, unsigned Available, int Depth)
{
    const Target<8> Dst{pDst, DstStep / 2, Height, Depth};
    const ptrdiff_t Step = AroundStep / 2;
    switch (Mode) {
    case 0: return PredictChromaDc(pAround, Step, Dst, Available);
    case 1: return PredictHorizontal(pAround, Step, Dst);
    case 2: return PredictVertical(pAround, Step, Dst);
    default: return PredictPlane(pAround, Step, Dst);
    }
}

} // namespace kernels
