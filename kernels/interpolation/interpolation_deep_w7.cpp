// Chroma interpolation, averages and weights of samples of 2 bytes. A pair of samples is multiplied by a pair of
// weights and added into 32 bits.
#include <cstring>
#include <emmintrin.h>

#include "kernels/interpolation/interpolation.h"

namespace kernels {

namespace {

// A row of Width samples, 8, 4 or 2, in the lower end of a register, and back.
template <int Width>
__m128i LoadRow(const uint16_t* p)
{
    if constexpr (Width == 8) return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if constexpr (Width == 4) return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    int Value;
    std::memcpy(&Value, p, sizeof Value);
    return _mm_cvtsi32_si128(Value);
}

template <int Width>
void StoreRow(uint16_t* p, __m128i Row)
{
    if constexpr (Width == 8) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), Row);
    } else if constexpr (Width == 4) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), Row);
    } else {
        const int Value = _mm_cvtsi128_si32(Row);
        std::memcpy(p, &Value, sizeof Value);
    }
}

__m128i Pairs(int First, int Second)
{
    return _mm_set1_epi32(
        static_cast<int>(static_cast<uint32_t>(Second) << 16 | (static_cast<uint32_t>(First) & 0xFFFF)));
}

// The samples of two rows times the weights of each.
struct Products {
    __m128i Lower, Upper;
};
Products Multiply(__m128i a, __m128i b, __m128i Weights)
{
    return {_mm_madd_epi16(_mm_unpacklo_epi16(a, b), Weights), _mm_madd_epi16(_mm_unpackhi_epi16(a, b), Weights)};
}

// ---- Chroma (8.4.2.2.2) ------------------------------------------------------------------------------------

struct Block {
    const uint16_t* pSrc;
    ptrdiff_t SrcStep; // samples
    uint16_t* pDst;
    ptrdiff_t DstStep;
    int Height;
};

template <int Width>
void InterpolatePlane(const Block& b, int FracX, int FracY)
{
    const uint16_t* pSrc = b.pSrc;
    uint16_t* pDst = b.pDst;
    if (!FracX && !FracY) {
        for (int y = b.Height; y > 0; --y, pSrc += b.SrcStep, pDst += b.DstStep)
            StoreRow<Width>(pDst, LoadRow<Width>(pSrc));
        return;
    }
    const ptrdiff_t Right = FracX ? 1 : 0; // a weight of 0 reads no further sample
    const __m128i Upper = Pairs((8 - FracX) * (8 - FracY), FracX * (8 - FracY));
    const __m128i Lower = Pairs((8 - FracX) * FracY, FracX * FracY), Half = _mm_set1_epi32(32);
    __m128i Left0 = LoadRow<Width>(pSrc), Right0 = LoadRow<Width>(pSrc + Right);
    for (int y = b.Height; y > 0; --y, pDst += b.DstStep) {
        const Products Above = Multiply(Left0, Right0, Upper);
        if (FracY || y > 1) {
            pSrc += b.SrcStep;
            Left0 = LoadRow<Width>(pSrc);
            Right0 = LoadRow<Width>(pSrc + Right);
        }
        const Products Below = Multiply(Left0, Right0, Lower);
        const __m128i First = _mm_srli_epi32(_mm_add_epi32(_mm_add_epi32(Above.Lower, Below.Lower), Half), 6);
        const __m128i Second = _mm_srli_epi32(_mm_add_epi32(_mm_add_epi32(Above.Upper, Below.Upper), Half), 6);
        StoreRow<Width>(pDst, _mm_packs_epi32(First, Second));
    }
}

// ---- Two predictions and weights (8.4.2.3) -----------------------------------------------------------------

template <int Width>
void AverageRows(const uint16_t* pA, ptrdiff_t StepA, uint16_t* pDst, ptrdiff_t DstStep, int Height)
{
    for (; Height > 0; --Height, pA += StepA, pDst += DstStep)
        StoreRow<Width>(pDst, _mm_avg_epu16(LoadRow<Width>(pDst), LoadRow<Width>(pA)));
}

// Products with what rounds them are shifted down, and the offset is added. Too large a result saturates on the way to
// 16 bits, and is clipped anyway.
struct Weighting {
    __m128i Weights, Round, Shift, Offset, Max;
    __m128i operator()(__m128i a, __m128i b) const
    {
        const Products p = Multiply(a, b, Weights);
        const auto Scale = [this](__m128i v) {
            return _mm_add_epi32(_mm_sra_epi32(_mm_add_epi32(v, Round), Shift), Offset);
        };
        const __m128i Row = _mm_packs_epi32(Scale(p.Lower), Scale(p.Upper));
        return _mm_max_epi16(_mm_min_epi16(Row, Max), _mm_setzero_si128());
    }
};

template <int Width>
void WeightRows(const uint16_t* pA, ptrdiff_t StepA, uint16_t* pDst, ptrdiff_t DstStep, int Height,
                const Weighting& Weigh)
{
    for (; Height > 0; --Height, pA += StepA, pDst += DstStep)
        StoreRow<Width>(pDst, Weigh(LoadRow<Width>(pA), LoadRow<Width>(pDst)));
}

// In strips of up to 8 columns.
void WeightColumns(const uint16_t* pA, ptrdiff_t StepA, uint16_t* pDst, ptrdiff_t DstStep, int Width, int Height,
                   const Weighting& Weigh)
{
    if (Width == 2) return WeightRows<2>(pA, StepA, pDst, DstStep, Height, Weigh);
    if (Width == 4) return WeightRows<4>(pA, StepA, pDst, DstStep, Height, Weigh);
    for (int x = 0; x < Width; x += 8) WeightRows<8>(pA + x, StepA, pDst + x, DstStep, Height, Weigh);
}

__m128i MaxOf(int Depth) { return _mm_set1_epi16(static_cast<short>((1 << Depth) - 1)); }

} // namespace

// Steps of the functions below come in bytes.
void InterpolateChromaDeep_w7(const uint16_t* pSrcU, const uint16_t* pSrcV, ptrdiff_t SrcStep, uint16_t* pDstU,
                              uint16_t* pDstV, ptrdiff_t DstStep, int FracX, int FracY, int Width, int Height)
{
    const auto Run = Width >= 8 ? InterpolatePlane<8> : Width == 4 ? InterpolatePlane<4> : InterpolatePlane<2>;
    for (int x = 0; x < Width; x += 8) { // strips of up to 8 columns
        Run({pSrcU + x, SrcStep / 2, pDstU + x, DstStep / 2, Height}, FracX, FracY);
        Run({pSrcV + x, SrcStep / 2, pDstV + x, DstStep / 2, Height}, FracX, FracY);
    }
}

void AverageBlockDeep_w7(const uint16_t* pA, ptrdiff_t StepA, uint16_t* pDst, ptrdiff_t DstStep, int Width, int Height)
{
    StepA /= 2;
    DstStep /= 2;
    if (Width == 2) return AverageRows<2>(pA, StepA, pDst, DstStep, Height);
    if (Width == 4) return AverageRows<4>(pA, StepA, pDst, DstStep, Height);
    for (int x = 0; x < Width; x += 8) AverageRows<8>(pA + x, StepA, pDst + x, DstStep, Height);
}

void WeightBlockDeep_w7(uint16_t* pDst, ptrdiff_t Step, int Width, int Height, int LogDenom, int Weight, int Offset,
                        int Depth)
{
    const Weighting Weigh{Pairs(0, Weight), _mm_set1_epi32(LogDenom ? 1 << (LogDenom - 1) : 0),
                          _mm_cvtsi32_si128(LogDenom), _mm_set1_epi32(Offset), MaxOf(Depth)};
    WeightColumns(pDst, Step / 2, pDst, Step / 2, Width, Height, Weigh);
}

void BiWeightBlockDeep_w7(const uint16_t* pA, ptrdiff_t StepA, uint16_t* pDst, ptrdiff_t DstStep, int Width, int Height,
                          int LogDenom, int Weight0, int Weight1, int Offset, int Depth)
{
    const Weighting Weigh{Pairs(Weight0, Weight1), _mm_set1_epi32(1 << LogDenom), _mm_cvtsi32_si128(LogDenom + 1),
                          _mm_set1_epi32(Offset), MaxOf(Depth)};
    WeightColumns(pA, StepA / 2, pDst, DstStep / 2, Width, Height, Weigh);
}

} // namespace kernels
