#include "encoder/code/coefficients.h"

#include "Common/h264/h264_tables.h"

#include <array>
#include <bit>
#include <cstring>

namespace UMC_H264_ENCODER {

namespace {

constexpr uint8_t kCostByRun[16]{3, 2, 2, 1, 1, 1};

// By eight flags in raster order, of the upper and of the lower half of a 4x4 block: the same flags in scan order.
const std::array<std::array<uint16_t, 256>, 2> g_ScanFlags = [] {
    std::array<std::array<uint16_t, 256>, 2> Flags{};
    for (size_t Scan = 0; Scan < 16; ++Scan) {
        const size_t Place = h264::kZigzag4x4[Scan];
        Flags[Place / 8][size_t{1} << Place % 8] = static_cast<uint16_t>(1u << Scan);
    }
    for (auto& Half : Flags)
        for (size_t Raster = 1; Raster < 256; ++Raster) {
            const size_t Rest = Raster & (Raster - 1);
            Half[Raster] = static_cast<uint16_t>(Half[Rest] | Half[Raster ^ Rest]);
        }
    return Flags;
}();

// A flag for each of a row's four levels that is not 0. The levels are looked at together, as parts of one word.
uint32_t NonZero(const int16_t* pRow)
{
    constexpr uint64_t kLow15 = 0x7FFF7FFF7FFF7FFF;
    uint64_t Row;
    std::memcpy(&Row, pRow, sizeof Row);
    const uint64_t Flags = (((Row & kLow15) + kLow15) | Row) >> 15 & 0x0001000100010001;
    return static_cast<uint32_t>(Flags * 0x0001000200040008 >> 48);
}

// The scan positions from First on that hold a level other than 0, as a mask.
template <class Coeff>
uint32_t ScanPositions(const Coeff* pLevels, int32_t First)
{
    const uint32_t Upper = NonZero(pLevels) | NonZero(pLevels + 4) << 4;
    const uint32_t Lower = NonZero(pLevels + 8) | NonZero(pLevels + 12) << 4;
    return (static_cast<uint32_t>(g_ScanFlags[0][Upper]) | g_ScanFlags[1][Lower]) >> First << First;
}

} // namespace

template <class Coeff>
int32_t CoefficientCost(const Coeff* pLevels, int32_t First)
{
    int32_t Cost = 0, Next = First;
    for (uint32_t Rest = ScanPositions(pLevels, First); Rest; Rest &= Rest - 1) {
        const int32_t i = std::countr_zero(Rest), Level = pLevels[h264::kZigzag4x4[i]];
        if (Level > 1 || Level < -1) return kCostOfLargeLevel;
        Cost += kCostByRun[i - Next];
        Next = i + 1;
    }
    return Cost;
}

template <class Coeff, class LevelType>
int32_t ListLevels(const Coeff* pLevels, int32_t First, BlockLevels<LevelType>& Out)
{
    int32_t Count = 0, Cost = 0, Next = First;
    bool HasLarge = false;
    for (uint32_t Rest = ScanPositions(pLevels, First); Rest; Rest &= Rest - 1) {
        const int32_t i = std::countr_zero(Rest);
        const Coeff Level = pLevels[h264::kZigzag4x4[i]];
        Out.Position[Count] = static_cast<uint8_t>(i - First);
        Out.Level[Count++] = Level;
        HasLarge |= Level > 1 || Level < -1;
        Cost += kCostByRun[i - Next];
        Next = i + 1;
    }
    Out.Count = static_cast<uint8_t>(Count);
    return HasLarge ? kCostOfLargeLevel : Cost;
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

template int32_t CoefficientCost(const int16_t*, int32_t);
template int32_t ListLevels(const int16_t*, int32_t, BlockLevels<int16_t>&);
template void ListDcLevels(const int16_t*, int32_t, BlockLevels<int16_t>&);

} // namespace UMC_H264_ENCODER
