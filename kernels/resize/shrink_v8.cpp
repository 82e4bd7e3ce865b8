#include "kernels/resize/resize.h"

#include <tmmintrin.h>

namespace kernels {

static __m128i Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
static void Store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
static void StoreHalf(uint8_t* p, __m128i v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v); }

// (v + (1 << (Bits - 1))) >> Bits
static __m128i RoundShift(__m128i v, int Bits)
{
    return _mm_mulhrs_epi16(v, _mm_set1_epi16(static_cast<int16_t>(1 << (15 - Bits))));
}

// Brings the two samples of a channel that are added beside each other: eight such pairs, six of three channels.
template <int Channels>
static __m128i PairUp(__m128i v)
{
    switch (Channels) {
    case 2: return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 2, 1, 3, 4, 6, 5, 7, 8, 10, 9, 11, 12, 14, 13, 15));
    case 3: return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 3, 1, 4, 2, 5, 6, 9, 7, 10, 8, 11, -1, -1, -1, -1));
    case 4: return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15));
    default: return v;
    }
}

template <int Channels>
static __m128i PairSums(const uint8_t* p)
{
    return _mm_maddubs_epi16(PairUp<Channels>(Load(p)), _mm_set1_epi8(1));
}

// Target samples as words: eight, six of three channels.
template <int Channels>
static __m128i Halved(const uint8_t* p, ptrdiff_t Step)
{
    return RoundShift(_mm_add_epi16(PairSums<Channels>(p), PairSums<Channels>(p + Step)), 2);
}

static __m128i ColumnSums(const uint8_t* p, ptrdiff_t Step) // of four rows, two samples each
{
    return _mm_add_epi16(_mm_add_epi16(PairSums<1>(p), PairSums<1>(p + Step)),
                         _mm_add_epi16(PairSums<1>(p + 2 * Step), PairSums<1>(p + 3 * Step)));
}

static __m128i Quartered(const uint8_t* p, ptrdiff_t Step) // eight target samples as words
{
    return RoundShift(_mm_hadd_epi16(ColumnSums(p, Step), ColumnSums(p + 16, Step)), 4);
}

template <int Factor, int Channels>
static void ShrinkPixels(const uint8_t* p, ptrdiff_t Step, uint8_t* pTarget, int32_t From, int32_t Width)
{
    for (ptrdiff_t x = From; x < Width; ++x)
        for (int c = 0; c < Channels; ++c) {
            int32_t Sum = Factor * Factor / 2;
            for (int j = 0; j < Factor; ++j)
                for (int i = 0; i < Factor; ++i) Sum += p[j * Step + (x * Factor + i) * Channels + c];
            pTarget[x * Channels + c] = static_cast<uint8_t>(Sum / (Factor * Factor));
        }
}

template <int Channels>
static void HalveRow(const uint8_t* p, ptrdiff_t Step, uint8_t* pTarget, int32_t Width)
{
    constexpr int Pixels = 16 / Channels;
    int32_t x = 0;
    for (; x + Pixels <= Width; x += Pixels) {
        const uint8_t* const pFrom = p + ptrdiff_t{x} * 2 * Channels;
        Store(pTarget + ptrdiff_t{x} * Channels,
              _mm_packus_epi16(Halved<Channels>(pFrom, Step), Halved<Channels>(pFrom + 16, Step)));
    }
    ShrinkPixels<2, Channels>(p, Step, pTarget, x, Width);
}

// Six samples out of 12 of the 16 bytes that are read. Four target pixels are written as 12 bytes; the last load of the
// four ends 4 bytes behind their eighth source pixel, so two more pixels have to follow.
template <>
void HalveRow<3>(const uint8_t* p, ptrdiff_t Step, uint8_t* pTarget, int32_t Width)
{
    int32_t x = 0;
    for (; x + 5 <= Width; x += 4) {
        const uint8_t* const pFrom = p + ptrdiff_t{x} * 6;
        const __m128i Samples = _mm_packus_epi16(Halved<3>(pFrom, Step), Halved<3>(pFrom + 12, Step));
        const __m128i Dense =
            _mm_shuffle_epi8(Samples, _mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1));
        StoreHalf(pTarget + ptrdiff_t{x} * 3, Dense);
        const int32_t Last = _mm_cvtsi128_si32(_mm_srli_si128(Dense, 8));
        __builtin_memcpy(pTarget + ptrdiff_t{x} * 3 + 8, &Last, sizeof Last);
    }
    ShrinkPixels<2, 3>(p, Step, pTarget, x, Width);
}

static void QuarterRow(const uint8_t* p, ptrdiff_t Step, uint8_t* pTarget, int32_t Width)
{
    int32_t x = 0;
    for (; x + 8 <= Width; x += 8) {
        const __m128i Samples = Quartered(p + ptrdiff_t{x} * 4, Step);
        StoreHalf(pTarget + x, _mm_packus_epi16(Samples, Samples));
    }
    ShrinkPixels<4, 1>(p, Step, pTarget, x, Width);
}

using ShrinkRowSig = void(const uint8_t* p, ptrdiff_t Step, uint8_t* pTarget, int32_t Width);

template <ShrinkRowSig* pRow, int Factor>
static int32_t Shrink(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep,
                      int32_t Width, int32_t Height)
{
    if (!pSource || !pTarget) return kStatusNullPointer;
    if (Width <= 0 || Height <= 0) return kStatusSize;
    if (SourceStep <= 0 || TargetStep <= 0) return kStatusStep;
    for (; Height > 0; --Height, pSource += Factor * SourceStep, pTarget += TargetStep)
        pRow(pSource, SourceStep, pTarget, Width);
    return kStatusOk;
}

#define SHRINK_ENTRY(Name, Row, Factor)                                                                                \
    int32_t Name(const uint8_t* pSource, ptrdiff_t SourceStep, uint8_t* pTarget, ptrdiff_t TargetStep, int32_t Width,  \
                 int32_t Height)                                                                                       \
    {                                                                                                                  \
        return Shrink<Row, Factor>(pSource, SourceStep, pTarget, TargetStep, Width, Height);                           \
    }

SHRINK_ENTRY(Halve8uC1_v8, HalveRow<1>, 2)
SHRINK_ENTRY(Halve8uC2_v8, HalveRow<2>, 2)
SHRINK_ENTRY(Halve8uC3_v8, HalveRow<3>, 2)
SHRINK_ENTRY(Halve8uC4_v8, HalveRow<4>, 2)
SHRINK_ENTRY(Quarter8uC1_v8, QuarterRow, 4)

} // namespace kernels
