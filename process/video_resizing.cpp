#include "process/video_filter.h"

#include "kernels/dispatch/image_kernels.h"

namespace UMC {

static Status ResizePlane(const PlaneInfo& From, const PlaneInfo& To)
{
    if (From.m_SampleBytes != 1 || To.m_SampleBytes != 1 || From.m_Samples != To.m_Samples) return StatusNotImplemented;
    const double xFactor = static_cast<double>(To.m_Width) / From.m_Width;
    const double yFactor = static_cast<double>(To.m_Height) / From.m_Height;
    const auto Run = [&](const auto& Kernel) {
        return Kernel(From.m_pPlane, From.m_Width, From.m_Height, From.m_Pitch, 0, 0, From.m_Width, From.m_Height,
                      To.m_pPlane, To.m_Pitch, To.m_Width, To.m_Height, xFactor, yFactor, kernels::kCubic);
    };
    int32_t Result;
    switch (From.m_Samples) {
    case 1: Result = Run(kernels::Resize8uC1); break;
    case 3: Result = Run(kernels::Resize8uC3); break;
    case 4: Result = Run(kernels::Resize8uC4); break;
    default: return StatusNotImplemented;
    }
    if (Result == kernels::kStatusNoMemory) return StatusAllocFailed;
    return Result == kernels::kStatusOk ? StatusOk : StatusInvalidParamsExt;
}

// Four samples a pixel pair, or interleaved chroma: resizing these as pixels would mix different components.
static bool HasMixedSamples(ColorFormat Format)
{
    return Format == NV12 || Format == YUY2 || Format == UYVY || Format == Y41P || Format == Y411;
}

Status VideoResizing::GetFrame(MediaData* pInput, MediaData* pOutput)
{
    const auto* const pSource = DynamicCast<VideoData>(pInput);
    const auto* const pTarget = DynamicCast<VideoData>(pOutput);
    if (!pSource || !pTarget) return StatusNullPointer;
    const ColorFormat Format = pSource->GetColorFormat();
    if (Format != pTarget->GetColorFormat()) return StatusInvalidParamsExt;
    if (HasMixedSamples(Format) || !FindColorFormat(Format)) return StatusNotImplemented;
    for (int32_t i = 0; i < FindColorFormat(Format)->PlaneCount; ++i) {
        PlaneInfo From, To;
        if (pSource->GetPlaneInfo(&From, i) != StatusOk || pTarget->GetPlaneInfo(&To, i) != StatusOk)
            return StatusInvalidParamsExt;
        if (const Status Result = ResizePlane(From, To); Result != StatusOk) return Result;
    }
    return StatusOk;
}

} // namespace UMC
