#include <cstring>
#include <tmmintrin.h>

#include "kernels/interpolation/interpolation.h"

namespace kernels {

static int Clamp(int Least, int Most, int Value) { return Value < Least ? Least : Value > Most ? Most : Value; }

// Chunk samples of a row, as many as the lower end of a register takes, and back.
template <int Chunk>
static __m128i Load(const uint8_t* p)
{
    if constexpr (Chunk == 16) return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if constexpr (Chunk == 8) return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    int Value = 0;
    std::memcpy(&Value, p, Chunk < 4 ? Chunk : 4);
    return _mm_cvtsi32_si128(Value);
}

template <int Chunk>
static void Store(uint8_t* p, __m128i v)
{
    if constexpr (Chunk == 16) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
    } else if constexpr (Chunk == 8) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v);
    } else {
        const int Value = _mm_cvtsi128_si32(v);
        std::memcpy(p, &Value, Chunk);
    }
}

// Where in a row Chunk samples from column X on come from: a place inside the row, and the order in which its samples
// are taken. Outside the row the order repeats its end.
template <int Chunk>
struct Source {
    int Place;
    __m128i Order;

    Source(int X, int PlaneWidth) : Place(Clamp(0, PlaneWidth - Chunk, X))
    {
        const int Ahead = Clamp(-Chunk, Chunk, X - Place);
        const __m128i Right = _mm_set1_epi8(static_cast<char>(Ahead > 0 ? Ahead : 0));
        const __m128i Left = _mm_set1_epi8(static_cast<char>(Ahead < 0 ? -Ahead : 0));
        const __m128i Column = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
        Order = _mm_min_epu8(_mm_subs_epu8(_mm_adds_epu8(Column, Right), Left), _mm_set1_epi8(Chunk - 1));
    }
    __m128i Take(const uint8_t* pRow) const { return _mm_shuffle_epi8(Load<Chunk>(pRow + Place), Order); }
};

// The rows of a block that is at least a chunk and at most two chunks wide; the two may overlap.
template <int Chunk>
static void CopyRows(const uint8_t* pPlane, ptrdiff_t Step, int PlaneWidth, int PlaneHeight, int X, int Y,
                     uint8_t* pDst, ptrdiff_t DstStep, int Width, int Height)
{
    const int Second = Width - Chunk;
    const Source<Chunk> First(X, PlaneWidth), Last(X + Second, PlaneWidth);
    const uint8_t* pRow = pPlane + Clamp(0, PlaneHeight - 1, Y) * Step;
    for (const int End = Y + Height; Y < End; ++Y, pDst += DstStep) {
        Store<Chunk>(pDst, First.Take(pRow));
        Store<Chunk>(pDst + Second, Last.Take(pRow));
        if (Y >= 0 && Y < PlaneHeight - 1) pRow += Step;
    }
}

void CopyClamped_v8(const uint8_t* pPlane, ptrdiff_t Step, int PlaneWidth, int PlaneHeight, int X, int Y, uint8_t* pDst,
                    ptrdiff_t DstStep, int Width, int Height)
{
    const int Narrower = Width < PlaneWidth ? Width : PlaneWidth;
    if (Narrower >= 16) return CopyRows<16>(pPlane, Step, PlaneWidth, PlaneHeight, X, Y, pDst, DstStep, Width, Height);
    if (Width <= 16 && Narrower >= 8)
        return CopyRows<8>(pPlane, Step, PlaneWidth, PlaneHeight, X, Y, pDst, DstStep, Width, Height);
    if (Width <= 8 && Narrower >= 4)
        return CopyRows<4>(pPlane, Step, PlaneWidth, PlaneHeight, X, Y, pDst, DstStep, Width, Height);
    if (Width <= 4 && Narrower >= 2)
        return CopyRows<2>(pPlane, Step, PlaneWidth, PlaneHeight, X, Y, pDst, DstStep, Width, Height);
    CopyClamped_px(pPlane, Step, PlaneWidth, PlaneHeight, X, Y, pDst, DstStep, Width, Height);
}

} // namespace kernels
