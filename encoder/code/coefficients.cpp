#include "encoder/code/coefficients.h"

#include "Common/h264/h264_tables.h"

namespace UMC_H264_ENCODER {

namespace {

constexpr uint8_t kCostByRun[16]{3, 2, 2, 1, 1, 1};

} // namespace

template <class Coeff>
int32_t CoefficientCost(const Coeff* pLevels, int32_t First)
{
    int32_t Cost = 0, Run = 0;
    for (int32_t i = First; i < 16; ++i) {
        const int32_t Level = pLevels[h264::kZigzag4x4[i]];
        if (Level == 0) {
            ++Run;
            continue;
        }
        if (Level > 1 || Level < -1) return kCostOfLargeLevel;
        Cost += kCostByRun[Run];
        Run = 0;
    }
    return Cost;
}

template <class Coeff, class LevelType>
int32_t ListLevels(const Coeff* pLevels, int32_t First, BlockLevels<LevelType>& Out)
{
    int32_t Count = 0, Cost = 0, Before = First - 1;
    bool HasLarge = false;
    for (int32_t i = First; i < 16; ++i) {
        const Coeff Level = pLevels[h264::kZigzag4x4[i]];
        if (Level == 0) continue;
        Out.Position[Count] = static_cast<uint8_t>(i - First);
        Out.Level[Count++] = Level;
        HasLarge |= Level > 1 || Level < -1;
        Cost += kCostByRun[i - Before - 1];
        Before = i;
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
