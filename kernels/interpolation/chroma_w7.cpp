// Chroma interpolation by distance (8.4.2.2.2). Two columns are no gain over plain code. Products and sums of samples
// and weights are at most 64 * 255.
#include <cstring>
#include <emmintrin.h>

#include "kernels/interpolation/interpolation.h"

namespace kernels {

namespace {

// Width samples as words.
template <int Width>
__m128i LoadWords(const uint8_t* p)
{
    __m128i Row;
    if constexpr (Width == 8) {
        Row = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    } else {
        int Value = 0;
        std::memcpy(&Value, p, Width);
        Row = _mm_cvtsi32_si128(Value);
    }
    return _mm_unpacklo_epi8(Row, _mm_setzero_si128());
}

// (v + 2^(Bits - 1)) >> Bits as Width samples.
template <int Width, int Bits>
void StoreRounded(uint8_t* p, __m128i v)
{
    v = _mm_srli_epi16(_mm_add_epi16(v, _mm_set1_epi16(1 << (Bits - 1))), Bits);
    v = _mm_packus_epi16(v, v);
    if constexpr (Width == 8) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v);
    } else {
        const int Value = _mm_cvtsi128_si32(v);
        std::memcpy(p, &Value, Width);
    }
}

__m128i Weight(int Value) { return _mm_set1_epi16(static_cast<short>(Value)); }

struct Block {
    const uint8_t* pSrc;
    ptrdiff_t SrcStep;
    uint8_t* pDst;
    ptrdiff_t DstStep;
    int Height;
};

// The offsets across alone, Near 1, and down alone, Near the step, weigh two samples in eighths.
template <int Width>
void WeighTwo(const Block& b, ptrdiff_t Near, int Frac)
{
    const __m128i First = Weight(8 - Frac), Second = Weight(Frac);
    const uint8_t* pSrc = b.pSrc;
    uint8_t* pDst = b.pDst;
    for (int y = b.Height; y > 0; --y, pSrc += b.SrcStep, pDst += b.DstStep)
        StoreRounded<Width, 3>(pDst, _mm_add_epi16(_mm_mullo_epi16(LoadWords<Width>(pSrc), First),
                                                   _mm_mullo_epi16(LoadWords<Width>(pSrc + Near), Second)));
}

// Each row is weighed across once and serves the row of results above it and the one below.
template <int Width>
void WeighFour(const Block& b, int FracX, int FracY)
{
    const __m128i Left = Weight(8 - FracX), Right = Weight(FracX), Upper = Weight(8 - FracY), Lower = Weight(FracY);
    const auto Across = [Left, Right](const uint8_t* p) {
        return _mm_add_epi16(_mm_mullo_epi16(LoadWords<Width>(p), Left),
                             _mm_mullo_epi16(LoadWords<Width>(p + 1), Right));
    };
    const uint8_t* pSrc = b.pSrc;
    uint8_t* pDst = b.pDst;
    __m128i Above = Across(pSrc);
    for (int y = b.Height; y > 0; --y, pDst += b.DstStep) {
        pSrc += b.SrcStep;
        const __m128i Below = Across(pSrc);
        StoreRounded<Width, 6>(pDst, _mm_add_epi16(_mm_mullo_epi16(Above, Upper), _mm_mullo_epi16(Below, Lower)));
        Above = Below;
    }
}

template <int Width>
void InterpolatePlane(const Block& b, int FracX, int FracY)
{
    if (FracX && FracY)
        WeighFour<Width>(b, FracX, FracY);
    else if (FracX)
        WeighTwo<Width>(b, 1, FracX);
    else if (FracY)
        WeighTwo<Width>(b, b.SrcStep, FracY);
    else
        for (int y = 0; y < b.Height; ++y) std::memcpy(b.pDst + y * b.DstStep, b.pSrc + y * b.SrcStep, Width);
}

} // namespace

#define INTERPOLATE(Width)                                                                                             \
    void InterpolateChroma##Width##_w7(const uint8_t* pSrcU, const uint8_t* pSrcV, ptrdiff_t SrcStep, uint8_t* pDstU,  \
                                       uint8_t* pDstV, ptrdiff_t DstStep, int FracX, int FracY, int Height)            \
    {                                                                                                                  \
        InterpolatePlane<Width>({pSrcU, SrcStep, pDstU, DstStep, Height}, FracX, FracY);                               \
        InterpolatePlane<Width>({pSrcV, SrcStep, pDstV, DstStep, Height}, FracX, FracY);                               \
    }
INTERPOLATE(8)
INTERPOLATE(4)
#undef INTERPOLATE

} // namespace kernels
