#include "kernels/convert/convert_arguments.h"

#include <cstring>

#include <emmintrin.h>

namespace kernels {

namespace {

void CopyLuma(const SourcePlanes& From, const TargetPlanes& To, int32_t Width, int32_t Height)
{
    for (int32_t y = 0; y < Height; ++y)
        std::memcpy(To.pPlane[0] + ptrdiff_t{y} * To.Step[0], From.pPlane[0] + ptrdiff_t{y} * From.Step[0],
                    static_cast<size_t>(Width));
}

__m128i Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
void Store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// Width samples, each source sample twice.
void DoubleRow(const uint8_t* pSource, uint8_t* pTarget, int32_t Width)
{
    int32_t x = 0;
    for (; x + 32 <= Width; x += 32) {
        const __m128i v = Load(pSource + x / 2);
        Store(pTarget + x, _mm_unpacklo_epi8(v, v));
        Store(pTarget + x + 16, _mm_unpackhi_epi8(v, v));
    }
    for (; x < Width; ++x) pTarget[x] = pSource[x / 2];
}

// Means of the pairs of Width samples; an odd last one stays as it is.
void HalveRow(const uint8_t* pSource, uint8_t* pTarget, int32_t Width)
{
    const __m128i Low = _mm_set1_epi16(0xFF);
    const auto PairMeans = [Low](__m128i v) { return _mm_avg_epu16(_mm_and_si128(v, Low), _mm_srli_epi16(v, 8)); };
    int32_t x = 0;
    for (; x + 32 <= Width; x += 32)
        Store(pTarget + x / 2, _mm_packus_epi16(PairMeans(Load(pSource + x)), PairMeans(Load(pSource + x + 16))));
    for (; x + 1 < Width; x += 2) pTarget[x / 2] = static_cast<uint8_t>((pSource[x] + pSource[x + 1] + 1) >> 1);
    if (x < Width) pTarget[x / 2] = pSource[x];
}

} // namespace

int32_t Yuv411ToYuv422_w7(const SourcePlanes* pFrom, const TargetPlanes* pTo, int32_t Width, int32_t Height)
{
    if (const int32_t Status = ConvertRefusal(pFrom, 3, pTo, 3, Width, Height)) return Status;
    CopyLuma(*pFrom, *pTo, Width, Height);
    for (int i = 1; i < 3; ++i)
        for (int32_t y = 0; y < Height; ++y)
            DoubleRow(pFrom->pPlane[i] + ptrdiff_t{y} * pFrom->Step[i], pTo->pPlane[i] + ptrdiff_t{y} * pTo->Step[i],
                      Width / 2 + Width % 2);
    return kStatusOk;
}

int32_t Yuv420ToYuv411_w7(const SourcePlanes* pFrom, const TargetPlanes* pTo, int32_t Width, int32_t Height)
{
    if (const int32_t Status = ConvertRefusal(pFrom, 3, pTo, 3, Width, Height)) return Status;
    CopyLuma(*pFrom, *pTo, Width, Height);
    for (int i = 1; i < 3; ++i)
        for (int32_t y = 0; y < Height; ++y)
            HalveRow(pFrom->pPlane[i] + ptrdiff_t{y / 2} * pFrom->Step[i], pTo->pPlane[i] + ptrdiff_t{y} * pTo->Step[i],
                     Width / 2 + Width % 2);
    return kStatusOk;
}

} // namespace kernels
