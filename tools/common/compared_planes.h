// The planes of the codec's pictures as PictureComparison takes them.
#pragma once

#include "media/umc_video_data.h"
#include "tools/common/picture_comparison.h"

inline std::vector<ComparedPlane> PlanesOf(const UMC::VideoData& Picture)
{
    std::vector<ComparedPlane> Planes;
    for (int32_t i = 0; i < Picture.GetPlaneCount(); ++i) {
        UMC::PlaneInfo Info{};
        Picture.GetPlaneInfo(&Info, i);
        Planes.push_back({Info.m_pPlane, Info.m_Pitch, Info.m_Width, Info.m_Height, Info.m_SampleBytes, Info.m_WidthDiv,
                          Info.m_HeightDiv});
    }
    return Planes;
}
