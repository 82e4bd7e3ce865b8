#include <cstring>
#include <emmintrin.h>

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

INLINE __m128i Broadcast(int Byte) { return _mm_set1_epi8(static_cast<char>(Byte)); }

INLINE __m128i SpreadOver4(const uint8_t* p)
{
    const __m128i Pairs = _mm_unpacklo_epi8(Load4(p), Load4(p));
    return _mm_unpacklo_epi16(Pairs, Pairs);
}

INLINE __m128i SpreadOver2Twice(const uint8_t* p)
{
    const __m128i Pairs = _mm_unpacklo_epi8(Load4(p), Load4(p));
    return _mm_unpacklo_epi64(Pairs, Pairs);
}

// The value of each strength over the lines of a plane, all 16 or half of them: without a byte shuffle a line's value
// is chosen by comparison.
struct ClipTable {
    __m128i Of[4]; // entry 0 is not used
};

INLINE ClipTable LoadClips(const uint8_t* p)
{
    return {{_mm_setzero_si128(), Broadcast(p[1]), Broadcast(p[2]), Broadcast(p[3])}};
}

INLINE ClipTable JoinClips(const ClipTable& u, const ClipTable& v)
{
    return {{_mm_setzero_si128(), _mm_unpacklo_epi64(u.Of[1], v.Of[1]), _mm_unpacklo_epi64(u.Of[2], v.Of[2]),
             _mm_unpacklo_epi64(u.Of[3], v.Of[3])}};
}

INLINE __m128i ClipsOfLines(const ClipTable& Table, __m128i Strength)
{
    __m128i Result = _mm_and_si128(_mm_cmpeq_epi8(Strength, _mm_set1_epi8(1)), Table.Of[1]);
    for (int i = 2; i < 4; ++i) {
        const __m128i Is = _mm_cmpeq_epi8(Strength, _mm_set1_epi8(static_cast<char>(i)));
        Result = _mm_or_si128(Result, _mm_and_si128(Is, Table.Of[i]));
    }
    return Result;
}

INLINE __m128i ClipsOfBothPlanes(const ClipTable& Table, __m128i Strength) { return ClipsOfLines(Table, Strength); }

INLINE ClipTable JoinFourClips(const ClipTable& a, const ClipTable& b, const ClipTable& c, const ClipTable& d)
{
    ClipTable Joint{};
    for (int i = 1; i < 4; ++i)
        Joint.Of[i] = _mm_unpacklo_epi64(_mm_unpacklo_epi32(a.Of[i], b.Of[i]), _mm_unpacklo_epi32(c.Of[i], d.Of[i]));
    return Joint;
}

INLINE __m128i ClipsOfFour(const ClipTable& Table, __m128i Strength) { return ClipsOfLines(Table, Strength); }

#include "kernels/deblocking/deblocking_lines.inc"

} // namespace

void FilterLumaVertical_w7(uint8_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams)
{
    FilterLuma<Vertical>(pPlane, Step, *pParams);
}

void FilterLumaHorizontal_w7(uint8_t* pPlane, ptrdiff_t Step, const EdgeParams* pParams)
{
    FilterLuma<Horizontal>(pPlane, Step, *pParams);
}

void FilterChromaVertical_w7(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                             const EdgeParams* pParamsV)
{
    FilterChroma<VerticalChroma>(pPlaneU, pPlaneV, Step, *pParamsU, *pParamsV);
}

void FilterChromaHorizontal_w7(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                               const EdgeParams* pParamsV)
{
    FilterChroma<HorizontalChroma>(pPlaneU, pPlaneV, Step, *pParamsU, *pParamsV);
}

void FilterChroma422Vertical_w7(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                                const EdgeParams* pParamsV)
{
    FilterChroma422Vertical(pPlaneU, pPlaneV, Step, *pParamsU, *pParamsV);
}

void FilterChroma422Horizontal_w7(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Step, const EdgeParams* pParamsU,
                                  const EdgeParams* pParamsV)
{
    FilterChroma422Horizontal(pPlaneU, pPlaneV, Step, *pParamsU, *pParamsV);
}

void FilterLumaMixed_w7(uint8_t* pPlane, ptrdiff_t Gap, ptrdiff_t Step, const EdgeParams* pParams)
{
    FilterLumaMixed(pPlane, Gap, Step, pParams);
}

void FilterChromaMixed_w7(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Gap, ptrdiff_t Step, const EdgeParams* pParamsU,
                          const EdgeParams* pParamsV)
{
    FilterChromaMixed(pPlaneU, pPlaneV, Gap, Step, pParamsU, pParamsV);
}

void FilterChroma422Mixed_w7(uint8_t* pPlaneU, uint8_t* pPlaneV, ptrdiff_t Gap, ptrdiff_t Step,
                             const EdgeParams* pParamsU, const EdgeParams* pParamsV)
{
    FilterChroma422Mixed(pPlaneU, pPlaneV, Gap, Step, pParamsU, pParamsV);
}

} // namespace kernels
