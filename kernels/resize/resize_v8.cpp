#include "kernels/resize/resize_passes.h"

#include <cstring>
#include <tmmintrin.h>

namespace kernels {

// The row pass works on samples, whatever their channel. A block of samples that follow each other takes its taps out
// of one 16-byte piece of the source row by byte shuffles. A step is one block of eight samples where all their taps
// lie in 16 bytes: one shuffle gives their first two taps, another the last two. Else it is two blocks of up to four
// samples, and each block's shuffle gives the first two taps of its samples, then the last two.
namespace {

struct alignas(16) RowStep {
    uint8_t Shuffle[2][16];
    int8_t High01[16], High23[16]; // weight >> 6, -5..64
    uint8_t Low01[16], Low23[16];  // weight & 63
    int32_t First[2 /* blocks */]; // where the piece begins in the row
    int32_t Spare[2];
};

struct alignas(16) RowTable {
    int32_t PerBlock; // samples to a block: eight or four where their taps lie in 16 bytes, else one pixel's
    int32_t Steps;
    RowStep Step[1];
};

// Two weights of at most 64 and 63 times 255 each stay below the saturation of pmaddubsw, since a cubic's weights on
// either side of the centre add up to at most one.
static_assert(255 * 64 <= INT16_MAX && 255 * 63 * 2 <= INT16_MAX);

constexpr int kPieceBytes = 16;

struct Span {
    int32_t First, Bytes;
};

} // namespace

static int32_t FirstByte(const Taps* pTaps, int Channels, int64_t Sample)
{
    return pTaps[Sample / Channels].First * Channels + static_cast<int32_t>(Sample % Channels);
}

// Where the taps of Count samples lie.
static Span SpanOf(const Taps* pTaps, int Channels, int64_t Sample, int64_t Count)
{
    int32_t Least = FirstByte(pTaps, Channels, Sample), Most = Least;
    for (int64_t i = Sample + 1; i < Sample + Count; ++i) {
        const int32_t At = FirstByte(pTaps, Channels, i);
        if (At < Least) Least = At;
        if (At > Most) Most = At;
    }
    return {Least, Most + (kTaps - 1) * Channels + 1 - Least};
}

static int64_t CountUpTo(int64_t Limit, int64_t Most) { return Limit < Most ? Limit : Most; }

static bool FitsAPiece(const Taps* pTaps, int64_t Samples, int Channels, int64_t PerBlock)
{
    for (int64_t i = 0; i < Samples; i += PerBlock)
        if (SpanOf(pTaps, Channels, i, CountUpTo(Samples - i, PerBlock)).Bytes > kPieceBytes) return false;
    return true;
}

static int32_t SamplesToABlock(const Taps* pTaps, int64_t Samples, int Channels)
{
    return FitsAPiece(pTaps, Samples, Channels, 8) ? 8 : FitsAPiece(pTaps, Samples, Channels, 4) ? 4 : Channels;
}

// The sample at Place of a step's eight, whose first tap lies Offset bytes into its block's piece.
static void FillSample(RowStep& Step, int Place, bool bOneBlock, const Taps& Of, int Channels, int32_t Offset)
{
    for (int t = 0; t < kTaps; ++t) {
        const int At = Place * 2 + t % 2, Pair = t / 2, Weight = Of.Weight[t];
        uint8_t& Byte = bOneBlock ? Step.Shuffle[Pair][At] : Step.Shuffle[Place / 4][At % 8 + Pair * 8];
        Byte = static_cast<uint8_t>(Offset + t * Channels);
        (Pair ? Step.High23 : Step.High01)[At] = static_cast<int8_t>(Weight >> 6);
        (Pair ? Step.Low23 : Step.Low01)[At] = static_cast<uint8_t>(Weight & 63);
    }
}

static int64_t TableBytes(int32_t Width, int)
{
    // A block has a pixel at least.
    return (int64_t{Width} + 1) / 2 * static_cast<int64_t>(sizeof(RowStep)) + static_cast<int64_t>(sizeof(RowTable));
}

static void Prepare(const Taps* pTaps, int32_t Width, int Channels, void* pTable)
{
    static_assert(alignof(RowTable) <= kPassTableAlignment);
    auto& Table = *static_cast<RowTable*>(pTable);
    const int64_t Samples = int64_t{Width} * Channels;
    Table.PerBlock = SamplesToABlock(pTaps, Samples, Channels);
    const bool bOneBlock = Table.PerBlock == 8;
    const int64_t PerStep = bOneBlock ? 8 : 2 * Table.PerBlock;
    Table.Steps = static_cast<int32_t>((Samples + PerStep - 1) / PerStep);
    int64_t Sample = 0;
    for (int32_t s = 0; s < Table.Steps; ++s) {
        RowStep& Step = Table.Step[s];
        std::memset(&Step, 0, sizeof Step);
        for (int Block = 0; Block < (bOneBlock ? 1 : 2) && Sample < Samples; ++Block) {
            const int64_t Count = CountUpTo(Samples - Sample, Table.PerBlock);
            Step.First[Block] = SpanOf(pTaps, Channels, Sample, Count).First;
            for (int i = 0; i < Count; ++i, ++Sample)
                FillSample(Step, Block * 4 + i, bOneBlock, pTaps[Sample / Channels], Channels,
                           FirstByte(pTaps, Channels, Sample) - Step.First[Block]);
        }
    }
}

static __m128i Load(const void* p) { return _mm_load_si128(static_cast<const __m128i*>(p)); }
static __m128i LoadAny(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
static void Store(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }

// (v + (1 << (Bits - 1))) >> Bits
static __m128i RoundShift(__m128i v, int Bits)
{
    return _mm_mulhrs_epi16(v, _mm_set1_epi16(static_cast<int16_t>(1 << (15 - Bits))));
}

static __m128i Weigh(__m128i Tap01, __m128i Tap23, const RowStep& Step)
{
    const __m128i High =
        _mm_add_epi16(_mm_maddubs_epi16(Tap01, Load(Step.High01)), _mm_maddubs_epi16(Tap23, Load(Step.High23)));
    // The average keeps the sum of the lower parts within 16 bits; its rounding makes the 33 of the definition.
    const __m128i Low =
        _mm_avg_epu16(_mm_maddubs_epi16(Tap01, Load(Step.Low01)), _mm_maddubs_epi16(Tap23, Load(Step.Low23)));
    return _mm_add_epi16(High, RoundShift(Low, 5));
}

static __m128i OneBlock(const uint8_t* pRow, const RowStep& Step)
{
    const __m128i Piece = LoadAny(pRow + Step.First[0]);
    return Weigh(_mm_shuffle_epi8(Piece, Load(Step.Shuffle[0])), _mm_shuffle_epi8(Piece, Load(Step.Shuffle[1])), Step);
}

static __m128i TwoBlocks(const uint8_t* pRow, const RowStep& Step)
{
    const __m128i a = _mm_shuffle_epi8(LoadAny(pRow + Step.First[0]), Load(Step.Shuffle[0]));
    const __m128i b = _mm_shuffle_epi8(LoadAny(pRow + Step.First[1]), Load(Step.Shuffle[1]));
    return Weigh(_mm_unpacklo_epi64(a, b), _mm_unpackhi_epi64(a, b), Step);
}

// Blocks of less than four samples overlap the next one, which is written later.
static void RowPass(const uint8_t* pRow, const void* pTable, int32_t, int16_t* pOut)
{
    const auto& Table = *static_cast<const RowTable*>(pTable);
    const RowStep *pStep = Table.Step, *const pEnd = pStep + Table.Steps;
    if (Table.PerBlock == 8) {
        for (; pStep != pEnd; ++pStep, pOut += 8) Store(pOut, OneBlock(pRow, *pStep));
        return;
    }
    if (Table.PerBlock == 4) {
        for (; pStep != pEnd; ++pStep, pOut += 8) Store(pOut, TwoBlocks(pRow, *pStep));
        return;
    }
    for (const ptrdiff_t Step = Table.PerBlock; pStep != pEnd; ++pStep, pOut += 2 * Step) {
        const __m128i Samples = TwoBlocks(pRow, *pStep);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(pOut), Samples);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(pOut + Step), _mm_unpackhi_epi64(Samples, Samples));
    }
}

static void ColumnPass(const int16_t* const pRows[kTaps], const int16_t Weight[kTaps], int32_t Count, uint8_t* pOut)
{
    const __m128i w0 = _mm_set1_epi16(Weight[0]), w1 = _mm_set1_epi16(Weight[1]), w2 = _mm_set1_epi16(Weight[2]),
                  w3 = _mm_set1_epi16(Weight[3]);
    const int16_t *p0 = pRows[0], *p1 = pRows[1], *p2 = pRows[2], *p3 = pRows[3];
    const auto Eight = [&](ptrdiff_t i) {
        const __m128i Outer = _mm_add_epi16(_mm_mulhrs_epi16(Load(p0 + i), w0), _mm_mulhrs_epi16(Load(p3 + i), w3));
        const __m128i Inner = _mm_add_epi16(_mm_mulhrs_epi16(Load(p1 + i), w1), _mm_mulhrs_epi16(Load(p2 + i), w2));
        return RoundShift(_mm_add_epi16(Outer, Inner), kProductBits);
    };
    ptrdiff_t i = 0;
    for (; i + 16 <= Count; i += 16) Store(pOut + i, _mm_packus_epi16(Eight(i), Eight(i + 8)));
    if (i < Count) {
        uint8_t Last[16];
        Store(Last, _mm_packus_epi16(Eight(i), Eight(i + 8)));
        std::memcpy(pOut + i, Last, static_cast<size_t>(Count - i));
    }
}

#define PASSES(Channels)                                                                                               \
    constinit const ResizePasses kResizePassesC##Channels##_v8{Channels, TableBytes, Prepare,                          \
                                                               RowPass,  ColumnPass, ResizeAddRows_w7};
PASSES(1)
PASSES(2)
PASSES(3)
PASSES(4)

} // namespace kernels
