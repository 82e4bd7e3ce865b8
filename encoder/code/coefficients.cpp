#include "encoder/code/coefficients.h"

#include "Common/h264/h264_tables.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace UMC_H264_ENCODER {

namespace {

constexpr uint8_t kCostByRun[16]{3, 2, 2, 1, 1, 1};

// A level behind Run others that are 0, of a 4x4 block, and of an 8x8 one.
constexpr int32_t CostOfRun8x8(int32_t Run) { return Run < 4 ? 3 : Run < 12 ? 2 : Run < 24 ? 1 : 0; }

ScanOrder MakeScanOrder(const uint8_t* pScan4x4, const uint8_t* pScan8x8)
{
    ScanOrder o{};
    std::copy_n(pScan4x4, 16, o.Scan4x4);
    std::copy_n(pScan8x8, 64, o.Scan8x8);
    for (size_t Scan = 0; Scan < 16; ++Scan) {
        const size_t Place = pScan4x4[Scan];
        o.Flags[Place / 8][size_t{1} << Place % 8] = static_cast<uint16_t>(1u << Scan);
    }
    for (auto& Half : o.Flags)
        for (size_t Raster = 1; Raster < 256; ++Raster) {
            const size_t Rest = Raster & (Raster - 1);
            Half[Raster] = static_cast<uint16_t>(Half[Rest] | Half[Raster ^ Rest]);
        }
    return o;
}

// A flag for each of 16 levels that is not 0, in raster order. The levels of a row are looked at together, as parts of
// one word.
uint32_t NonZero(const int16_t* pLevels)
{
    constexpr uint64_t kLow15 = 0x7FFF7FFF7FFF7FFF;
    // The top bit of each level's part: of row y in bit 4 * y + 3 of the part.
    uint64_t Flags = 0;
    for (int y = 0; y < 4; ++y) {
        uint64_t Row;
        std::memcpy(&Row, pLevels + 4 * y, sizeof Row);
        Flags |= ((((Row & kLow15) + kLow15) | Row) & ~kLow15) >> (12 - 4 * y);
    }
    // The flags of part x come to stand from bit 48 + x on; all else that is summed lies below or beyond, and no two in
    // one place.
    return static_cast<uint32_t>(Flags * 0x0000200040008001 >> 48);
}
uint32_t NonZero(const int32_t* pLevels)
{
    uint32_t Flags = 0;
    for (uint32_t i = 0; i < 16; ++i) Flags |= (pLevels[i] != 0 ? 1u : 0u) << i;
    return Flags;
}

// The scan positions from First on that hold a level other than 0, as a mask.
template <class Coeff>
[[gnu::always_inline]] inline uint32_t ScanPositions(const Coeff* pLevels, int32_t First, const ScanOrder& Order)
{
    const uint32_t Raster = NonZero(pLevels);
    return (static_cast<uint32_t>(Order.Flags[0][Raster & 0xFF]) | Order.Flags[1][Raster >> 8]) >> First << First;
}

template <class LevelType>
bool IsLarge(LevelType Level)
{
    return Level > 1 || Level < -1;
}

} // namespace

const ScanOrder g_Zigzag = MakeScanOrder(h264::kZigzag4x4, h264::kZigzag8x8);
const ScanOrder g_FieldScan = MakeScanOrder(h264::kFieldScan4x4, h264::kFieldScan8x8);

template <class Coeff>
int32_t CoefficientCost(const Coeff* pLevels, int32_t First, const ScanOrder& Order)
{
    const uint8_t* const pScan = Order.Scan4x4;
    int32_t Cost = 0;
    auto Next = static_cast<uint32_t>(First);
    for (uint32_t Rest = ScanPositions(pLevels, First, Order); Rest; Rest &= Rest - 1) {
        const auto i = static_cast<uint32_t>(std::countr_zero(Rest));
        if (IsLarge(pLevels[pScan[i]])) return kCostOfLargeLevel;
        Cost += kCostByRun[i - Next];
        Next = i + 1;
    }
    return Cost;
}

template <class Coeff, class LevelType>
int32_t ListLevels(const Coeff* pLevels, int32_t First, const ScanOrder& Order, BlockLevels<LevelType>& Out)
{
    const uint8_t* const pScan = Order.Scan4x4;
    const auto Start = static_cast<uint32_t>(First);
    int32_t Cost = 0;
    uint32_t Count = 0, Next = Start;
    bool HasLarge = false;
    for (uint32_t Rest = ScanPositions(pLevels, First, Order); Rest; Rest &= Rest - 1) {
        const auto i = static_cast<uint32_t>(std::countr_zero(Rest));
        const Coeff Level = pLevels[pScan[i]];
        Out.Position[Count] = static_cast<uint8_t>(i - Start);
        Out.Level[Count++] = Level;
        HasLarge |= IsLarge(Level);
        Cost += kCostByRun[i - Next];
        Next = i + 1;
    }
    Out.Count = static_cast<uint8_t>(Count);
    return HasLarge ? kCostOfLargeLevel : Cost;
}

template <class Coeff, class LevelType>
int32_t ListLevels8x8(const Coeff* pLevels, const ScanOrder& Order, BlockLevels8x8<LevelType>& Out)
{
    const uint8_t* const pScan = Order.Scan8x8;
    int32_t Count = 0, Cost = 0, Next = 0;
    bool HasLarge = false;
    for (int32_t i = 0; i < 64; ++i) {
        const Coeff Level = pLevels[pScan[i]];
        if (Level == 0) continue;
        Out.Position[Count] = static_cast<uint8_t>(i);
        Out.Level[Count++] = Level;
        HasLarge |= IsLarge(Level);
        Cost += CostOfRun8x8(i - Next);
        Next = i + 1;
    }
    Out.Count = static_cast<uint8_t>(Count);
    return HasLarge ? kCostOfLargeLevel : Cost;
}

template <class LevelType>
void Interleave(const BlockLevels8x8<LevelType>& Block, BlockLevels<LevelType>* pLists)
{
    for (int List = 0; List < 4; ++List) pLists[List].Count = 0;
    for (int32_t i = 0; i < Block.Count; ++i) {
        BlockLevels<LevelType>& To = pLists[Block.Position[i] % 4];
        To.Position[To.Count] = Block.Position[i] / 4;
        To.Level[To.Count++] = Block.Level[i];
    }
}

template <class Coeff, class LevelType>
void ListDcLevels(const Coeff* pLevels, int32_t Count, BlockLevels<LevelType>& Out)
{
    int32_t Found = 0;
    for (int32_t i = 0; i < Count; ++i) {
        if (pLevels[i] == 0) continue;
        Out.Position[Found] = static_cast<uint8_t>(i);
        Out.Level[Found++] = pLevels[i];
    }
    Out.Count = static_cast<uint8_t>(Found);
}

#define INSTANTIATE(Coeff)                                                                                             \
    template int32_t CoefficientCost(const Coeff*, int32_t, const ScanOrder&);                                         \
    template int32_t ListLevels(const Coeff*, int32_t, const ScanOrder&, BlockLevels<Coeff>&);                         \
    template int32_t ListLevels8x8(const Coeff*, const ScanOrder&, BlockLevels8x8<Coeff>&);                            \
    template void Interleave(const BlockLevels8x8<Coeff>&, BlockLevels<Coeff>*);                                       \
    template void ListDcLevels(const Coeff*, int32_t, BlockLevels<Coeff>&);
INSTANTIATE(int16_t)
INSTANTIATE(int32_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
