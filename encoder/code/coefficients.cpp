#include "encoder/code/coefficients.h"

#include "Common/h264/h264_tables.h"

namespace UMC_H264_ENCODER {

namespace {

constexpr uint8_t kCostByRun4x4[16]{3, 2, 2, 1, 1, 1};
constexpr uint8_t kCostByRun8x8[64]{3, 3, 3, 3, 2, 2, 2, 2, 2, 2, 2, 2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};

template <int Size>
int32_t CostOf(const int16_t* pLevels, int32_t First, const uint8_t* pScan, const uint8_t* pCostByRun)
{
    int32_t Cost = 0, Run = 0;
    for (int32_t i = First; i < Size; ++i) {
        const int32_t Level = pLevels[pScan[i]];
        if (Level == 0) {
            ++Run;
            continue;
        }
        if (Level > 1 || Level < -1) return kCostOfLargeLevel;
        Cost += pCostByRun[Run];
        Run = 0;
    }
    return Cost;
}

} // namespace

int32_t CoefficientCost(const int16_t* pLevels, int32_t First)
{
    return CostOf<16>(pLevels, First, h264::kZigzag4x4, kCostByRun4x4);
}

int32_t CoefficientCost8x8(const int16_t* pLevels) { return CostOf<64>(pLevels, 0, h264::kZigzag8x8, kCostByRun8x8); }

int32_t ListLevels(const int16_t* pLevels, int32_t First, BlockLevels& Out)
{
    int32_t Count = 0, Cost = 0, Before = First - 1;
    bool bLarge = false;
    for (int32_t i = First; i < 16; ++i) {
        const int16_t Level = pLevels[h264::kZigzag4x4[i]];
        if (Level == 0) continue;
        Out.Position[Count] = static_cast<uint8_t>(i - First);
        Out.Level[Count++] = Level;
        bLarge |= Level > 1 || Level < -1;
        Cost += kCostByRun4x4[i - Before - 1];
        Before = i;
    }
    Out.Count = static_cast<uint8_t>(Count);
    return bLarge ? kCostOfLargeLevel : Cost;
}

void ListDcLevels(const int16_t* pLevels, int32_t Count, BlockLevels& Out)
{
    int32_t Found = 0;
    for (int32_t i = 0; i < Count; ++i) {
        if (pLevels[i] == 0) continue;
        Out.Position[Found] = static_cast<uint8_t>(i);
        Out.Level[Found++] = pLevels[i];
    }
    Out.Count = static_cast<uint8_t>(Found);
}

} // namespace UMC_H264_ENCODER
