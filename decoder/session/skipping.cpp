#include "decoder/session/skipping.h"

#include <algorithm>

namespace UMC {

namespace {

constexpr int32_t kMaxSpeed = 7;

struct SpeedSetting {
    int32_t SkipCycle, SkipModulo, DeblockingMode;
};
constexpr SpeedSetting kSpeed[kMaxSpeed + 1] = {{0, 0, 0}, {4, 4, 0}, {3, 3, 0}, {2, 2, 0},
                                                {3, 2, 0}, {3, 2, 1}, {1, 1, 0}, {1, 1, 2}};

} // namespace

void Skipping::ChangeVideoDecodingSpeed(int32_t& Step)
{
    m_DecodingSpeed = static_cast<int32_t>(std::clamp<int64_t>(int64_t{m_DecodingSpeed} + Step, 0, kMaxSpeed));
    Step = m_DecodingSpeed;
    const SpeedSetting& Setting = kSpeed[m_DecodingSpeed];
    m_DeblockingMode = Setting.DeblockingMode;
    if (m_DecodingSpeed == 0) return; // nothing is skipped; the pattern stays
    m_SkipCycle = Setting.SkipCycle;
    m_SkipModulo = Setting.SkipModulo;
}

Skipping::SkipInfo Skipping::GetSkipInfo() const
{
    return {m_DecodingSpeed == 5 || m_DecodingSpeed == 7, m_SkippedFrames};
}

bool Skipping::IsSkipWanted(bool IsReference)
{
    if (IsReference) return false;
    const bool IsWanted = m_DecodingSpeed > 0 && m_SkipCounter % m_SkipModulo == 0;
    if (++m_SkipCounter >= m_SkipCycle) m_SkipCounter = 0;
    if (IsWanted) ++m_SkippedFrames;
    return IsWanted;
}

bool Skipping::IsDeblockingUnwanted(bool IsReferenceField) const
{
    return m_DeblockingMode == 2 || (m_DeblockingMode == 1 && !IsReferenceField);
}

void Skipping::ResetSkipping()
{
    m_DecodingSpeed = m_DeblockingMode = m_SkippedFrames = 0;
    m_SkipCycle = m_SkipModulo = 1;
}

} // namespace UMC
