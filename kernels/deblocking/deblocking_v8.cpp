#include <cstring>
#include <tmmintrin.h>

#include "kernels/deblocking/deblocking.h"

namespace kernels {

namespace {

// Lines stay in registers only where everything that touches them is one function.
#define INLINE [[gnu::always_inline]] static inline

static __m128i Load4(const uint8_t* p)
{
    int Value;
    std::memcpy(&Value, p, sizeof Value);
    return _mm_cvtsi32_si128(Value);
}

INLINE __m128i Broadcast(int Byte) { return _mm_shuffle_epi8(_mm_cvtsi32_si128(Byte), _mm_setzero_si128()); }

INLINE __m128i SpreadOver4(const uint8_t* p)
{
    return _mm_shuffle_epi8(Load4(p), _mm_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3));
}

INLINE __m128i SpreadOver2Twice(const uint8_t* p)
{
    return _mm_shuffle_epi8(Load4(p), _mm_setr_epi8(0, 0, 1, 1, 2, 2, 3, 3, 0, 0, 1, 1, 2, 2, 3, 3));
}

// The table in bytes 0 to 3, that of the second plane in bytes 4 to 7.
using ClipTable = __m128i;

INLINE ClipTable LoadClips(const uint8_t* p) { return Load4(p); }
INLINE ClipTable JoinClips(ClipTable u, ClipTable v) { return _mm_unpacklo_epi32(u, v); }
INLINE __m128i ClipsOfLines(ClipTable Table, __m128i Strength) { return _mm_shuffle_epi8(Table, Strength); }

INLINE __m128i ClipsOfBothPlanes(ClipTable Table, __m128i Strength)
{
    const __m128i SecondTable = _mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 4, 4, 4, 4, 4, 4, 4, 4);
    return _mm_shuffle_epi8(Table, _mm_add_epi8(Strength, SecondTable));
}

INLINE ClipTable JoinFourClips(ClipTable a, ClipTable b, ClipTable c, ClipTable d)
{
    return _mm_unpacklo_epi64(_mm_unpacklo_epi32(a, b), _mm_unpacklo_epi32(c, d));
}

INLINE __m128i ClipsOfFour(ClipTable Table, __m128i Strength)
{
    const __m128i OfQuarter = _mm_setr_epi8(0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12);
    return _mm_shuffle_epi8(Table, _mm_add_epi8(Strength, OfQuarter));
}

#include "kernels/deblocking/deblocking_lines.inc"

} // namespace

void FilterLumaVertical_v8(uint8_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams)
{
    FilterLuma<Vertical>(pPlane, Step, *pParams);
}

void FilterLumaHorizontal_v8(uint8_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams)
{
    FilterLuma<Horizontal>(pPlane, Step, *pParams);
}

void FilterChromaVertical_v8(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                             const EdgeParams* pParamsV)
{
    FilterChroma<VerticalChroma>(pPlaneU, pPlaneV, Step, *pParamsU, *pParamsV);
}

void FilterChromaHorizontal_v8(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                               const EdgeParams* pParamsV)
{
    FilterChroma<HorizontalChroma>(pPlaneU, pPlaneV, Step, *pParamsU, *pParamsV);
}

void FilterChroma422Vertical_v8(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                                const EdgeParams* pParamsV)
{
    FilterChroma422Vertical(pPlaneU, pPlaneV, Step, *pParamsU, *pParamsV);
}

void FilterChroma422Horizontal_v8(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                                  const EdgeParams* pParamsV)
{
    FilterChroma422Horizontal(pPlaneU, pPlaneV, Step, *pParamsU, *pParamsV);
}

void FilterLumaMixed_v8(uint8_t* pPlane, ptrdiff_t Gap, ptrdiff_t Step, const EdgeParams* pParams)
{
    FilterLumaMixed(pPlane, Gap, Step, pParams);
}

void FilterChromaMixed_v8(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Gap, ptrdiff_t Step, const EdgeParams* pParamsU,
                          const EdgeParams* pParamsV)
{
    FilterChromaMixed(pPlaneU, pPlaneV, Gap, Step, pParamsU, pParamsV);
}

void FilterChroma422Mixed_v8(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Gap, ptrdiff_t Step,
                             const EdgeParams* pParamsU, const EdgeParams* pParamsV)
{
    FilterChroma422Mixed(pPlaneU, pPlaneV, Gap, Step, pParamsU, pParamsV);
}

} // namespace kernels
