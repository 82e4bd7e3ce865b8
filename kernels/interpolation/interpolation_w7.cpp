#include <cstring>
#include <emmintrin.h>

#include "kernels/interpolation/interpolation.h"

namespace kernels {

// Rows of Width samples in the lower end of a register.
template <int Width>
static __m128i LoadRow(const uint8_t* p)
{
    if constexpr (Width == 16) return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if constexpr (Width == 8) return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    int Value;
    std::memcpy(&Value, p, 4);
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

template <int Width>
static void AverageBlock(const uint8_t* pA, ptrdiff_t StepA, uint8_t* pDst, ptrdiff_t DstStep, int Height)
{
    for (; Height > 0; Height -= 2, pA += 2 * StepA, pDst += 2 * DstStep) {
        const __m128i a0 = LoadRow<Width>(pA), a1 = LoadRow<Width>(pA + StepA);
        StoreRow<Width>(pDst, _mm_avg_epu8(LoadRow<Width>(pDst), a0));
        StoreRow<Width>(pDst + DstStep, _mm_avg_epu8(LoadRow<Width>(pDst + DstStep), a1));
    }
}

template <int Width>
static void CopyBlock(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int Height)
{
    for (; Height > 0; Height -= 2, pSrc += 2 * SrcStep, pDst += 2 * DstStep) {
        const __m128i Row = LoadRow<Width>(pSrc);
        StoreRow<Width>(pDst + DstStep, LoadRow<Width>(pSrc + SrcStep));
        StoreRow<Width>(pDst, Row);
    }
}

// ---- Weights: 8 words at a time ----------------------------------------------------------------------------

// A sample times a weight, with its half and offset, stays in words.
static_assert(255 * 127 + 64 + 127 <= INT16_MAX && 255 * -128 - 128 >= INT16_MIN);

struct Weighting {
    __m128i Weight, Round, Offset, Shift;
    __m128i operator()(__m128i Samples) const
    {
        const __m128i Product = _mm_add_epi16(_mm_mullo_epi16(Samples, Weight), Round);
        return _mm_add_epi16(_mm_sra_epi16(Product, Shift), Offset);
    }
};

template <int Width>
static void WeightBlock(uint8_t* pDst, ptrdiff_t Step, int Height, int LogDenom, int Weight, int Offset)
{
    const __m128i Zero = _mm_setzero_si128();
    const Weighting Weigh{_mm_set1_epi16(static_cast<short>(Weight)),
                          _mm_set1_epi16(static_cast<short>(LogDenom ? 1 << (LogDenom - 1) : 0)),
                          _mm_set1_epi16(static_cast<short>(Offset)), _mm_cvtsi32_si128(LogDenom)};
    for (; Height > 0; --Height, pDst += Step) {
        const __m128i Row = LoadRow<Width>(pDst);
        const __m128i Lower = Weigh(_mm_unpacklo_epi8(Row, Zero));
        const __m128i Upper = Width == 16 ? Weigh(_mm_unpackhi_epi8(Row, Zero)) : Lower;
        StoreRow<Width>(pDst, _mm_packus_epi16(Lower, Upper));
    }
}

// Two samples times weights whose sum lies in -128..128: one product alone, or two of one sign, stay in words. The half
// that rounds would not, so it is added after all but one of the shifts.
static_assert(255 * 128 <= INT16_MAX && 255 * -128 >= INT16_MIN);

struct BiWeighting {
    __m128i Weight0, Weight1, One, Offset, Shift;
    __m128i operator()(__m128i a, __m128i b) const
    {
        const __m128i Sum = _mm_add_epi16(_mm_mullo_epi16(a, Weight0), _mm_mullo_epi16(b, Weight1));
        return _mm_add_epi16(_mm_srai_epi16(_mm_add_epi16(_mm_sra_epi16(Sum, Shift), One), 1), Offset);
    }
};

template <int Width>
static void BiWeightBlock(const uint8_t* pA, ptrdiff_t StepA, uint8_t* pDst, ptrdiff_t DstStep, int Height,
                          int LogDenom, int Weight0, int Weight1, int Offset)
{
    const __m128i Zero = _mm_setzero_si128();
    const BiWeighting Weigh{_mm_set1_epi16(static_cast<short>(Weight0)), _mm_set1_epi16(static_cast<short>(Weight1)),
                            _mm_set1_epi16(1), _mm_set1_epi16(static_cast<short>(Offset)), _mm_cvtsi32_si128(LogDenom)};
    for (; Height > 0; --Height, pA += StepA, pDst += DstStep) {
        const __m128i a = LoadRow<Width>(pA), b = LoadRow<Width>(pDst);
        const __m128i Lower = Weigh(_mm_unpacklo_epi8(a, Zero), _mm_unpacklo_epi8(b, Zero));
        const __m128i Upper = Width == 16 ? Weigh(_mm_unpackhi_epi8(a, Zero), _mm_unpackhi_epi8(b, Zero)) : Lower;
        StoreRow<Width>(pDst, _mm_packus_epi16(Lower, Upper));
    }
}

#define BLEND(Width)                                                                                                   \
    void AverageBlock##Width##_w7(const uint8_t* pA, ptrdiff_t StepA, uint8_t* pDst, ptrdiff_t DstStep, int Height)    \
    {                                                                                                                  \
        AverageBlock<Width>(pA, StepA, pDst, DstStep, Height);                                                         \
    }                                                                                                                  \
    void WeightBlock##Width##_w7(uint8_t* pDst, ptrdiff_t Step, int Height, int LogDenom, int Weight, int Offset)      \
    {                                                                                                                  \
        WeightBlock<Width>(pDst, Step, Height, LogDenom, Weight, Offset);                                              \
    }                                                                                                                  \
    void BiWeightBlock##Width##_w7(const uint8_t* pA, ptrdiff_t StepA, uint8_t* pDst, ptrdiff_t DstStep, int Height,   \
                                   int LogDenom, int Weight0, int Weight1, int Offset)                                 \
    {                                                                                                                  \
        BiWeightBlock<Width>(pA, StepA, pDst, DstStep, Height, LogDenom, Weight0, Weight1, Offset);                    \
    }
BLEND(16)
BLEND(8)
BLEND(4)
#undef BLEND

void CopyBlock16_w7(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int Height)
{
    CopyBlock<16>(pSrc, SrcStep, pDst, DstStep, Height);
}

void CopyBlock8_w7(const uint8_t* pSrc, ptrdiff_t SrcStep, uint8_t* pDst, ptrdiff_t DstStep, int Height)
{
    CopyBlock<8>(pSrc, SrcStep, pDst, DstStep, Height);
}

} // namespace kernels
