#include "process/video_filter.h"

#include "kernels/dispatch/image_kernels.h"

#include <algorithm>

namespace UMC {

// Half the weight on the line itself, a quarter on each neighbour: a full blend of the two fields.
static constexpr int32_t kCentreWeight = 128;
static constexpr int32_t kMinHeight = 3; // what the blend needs; a lower plane is copied

Status Deinterlacing::GetFrame(MediaData* pInput, MediaData* pOutput)
{
    const auto* const pSource = DynamicCast<VideoData>(pInput);
    const auto* const pTarget = DynamicCast<VideoData>(pOutput);
    if (!pSource || !pTarget) return StatusNullPointer;
    if (pSource->GetColorFormat() != pTarget->GetColorFormat() || pSource->GetWidth() != pTarget->GetWidth() ||
        pSource->GetHeight() != pTarget->GetHeight())
        return StatusInvalidParamsExt;
    for (int32_t i = 0; i < std::min(pSource->GetPlaneCount(), pTarget->GetPlaneCount()); ++i) {
        PlaneInfo From, To;
        pSource->GetPlaneInfo(&From, i);
        pTarget->GetPlaneInfo(&To, i);
        if (From.m_SampleBytes != 1 || To.m_SampleBytes != 1) return StatusUnsupported;
        const int32_t RowBytes = From.m_Width * From.m_Samples;
        const int32_t Result =
            From.m_Height < kMinHeight
                ? kernels::Copy8u(From.m_pPlane, From.m_Pitch, To.m_pPlane, To.m_Pitch, RowBytes, From.m_Height)
                : kernels::DeinterlaceBlend(From.m_pPlane, From.m_Pitch, To.m_pPlane, To.m_Pitch, RowBytes,
                                            From.m_Height, kCentreWeight, 1);
        if (Result != kernels::kStatusOk) return StatusInvalidParamsExt;
    }
    return StatusOk;
}

} // namespace UMC
