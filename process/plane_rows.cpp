#include "process/plane_rows.h"

#include <algorithm>

namespace UMC {

int32_t RowSamples(const PlaneInfo& Plane, ColorFormat Format, int32_t Index)
{
    const int32_t Samples = Plane.m_Width * Plane.m_Samples;
    return Format == NV12 && Index == 1 ? Samples + Samples % 2 : Samples;
}

int32_t CommonRowSamples(const PlaneInfo& From, const PlaneInfo& To, ColorFormat Format, int32_t Index)
{
    const int32_t Described = std::min(From.m_Width * From.m_Samples, To.m_Width * To.m_Samples);
    const int32_t Whole = std::min(RowSamples(From, Format, Index), RowSamples(To, Format, Index));
    const bool bRoom = Whole * From.m_SampleBytes <= From.m_Pitch && Whole * To.m_SampleBytes <= To.m_Pitch;
    return bRoom ? Whole : Described;
}

} // namespace UMC
