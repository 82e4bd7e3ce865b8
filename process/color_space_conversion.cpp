#include "process/conversion_pairs.h"
#include "process/video_filter.h"

#include <algorithm>
#include <utility>

namespace UMC {

namespace {

// Format 0 is format 5 with the two chroma planes exchanged.
ColorFormat Plain(ColorFormat Format) { return Format == YV12 ? YUV420 : Format; }

bool IsPlaneCopy(ColorFormat From, ColorFormat To)
{
    return From == To || (From == YUV420M && To == YUV420) || (From == YUVA420 && To == YUV420) ||
           (From == GRAYA && To == GRAY);
}

Status StatusOf(int32_t KernelStatus) { return KernelStatus == kernels::kStatusOk ? StatusOk : StatusInvalidParamsExt; }

Status CopyPlane(const PlaneInfo& From, const PlaneInfo& To)
{
    const int32_t Width = std::min(From.m_Width * From.m_Samples, To.m_Width * To.m_Samples);
    const int32_t Height = std::min(From.m_Height, To.m_Height);
    if (From.m_SampleBytes == To.m_SampleBytes)
        return StatusOf(
            kernels::Copy8u(From.m_pPlane, From.m_Pitch, To.m_pPlane, To.m_Pitch, Width * From.m_SampleBytes, Height));
    if (From.m_SampleBytes == 2 && To.m_SampleBytes == 1)
        return StatusOf(kernels::Narrow16uTo8u(From.m_pPlane, From.m_Pitch, To.m_pPlane, To.m_Pitch, Width, Height,
                                               From.m_BitDepth));
    return StatusUnsupported;
}

Status CopyPlanes(const VideoData& From, const VideoData& To)
{
    const bool bExchange = (From.GetColorFormat() == YV12) != (To.GetColorFormat() == YV12);
    for (int32_t i = 0; i < std::min(From.GetPlaneCount(), To.GetPlaneCount()); ++i) {
        PlaneInfo Source, Target;
        From.GetPlaneInfo(&Source, i);
        To.GetPlaneInfo(&Target, bExchange && (i == 1 || i == 2) ? 3 - i : i);
        if (const Status Result = CopyPlane(Source, Target); Result != StatusOk) return Result;
    }
    return StatusOk;
}

// The planes as a kernel takes them. False unless the samples are those that the layout has of itself, as the kernels
// expect.
template <class Planes>
bool DescribePlanes(const VideoData& Picture, Planes& Out)
{
    const ColorFormatInfo* const pRow = FindColorFormat(Picture.GetColorFormat());
    if (!pRow) return false;
    for (int32_t i = 0; i < pRow->PlaneCount; ++i) {
        PlaneInfo Info;
        if (Picture.GetPlaneInfo(&Info, i) != StatusOk || Info.m_SampleBytes != (pRow->MinBitDepth + 7) >> 3)
            return false;
        Out.pPlane[i] = Info.m_pPlane;
        Out.Step[i] = Info.m_Pitch;
    }
    if (pRow->Id == YV12) std::swap(Out.pPlane[1], Out.pPlane[2]), std::swap(Out.Step[1], Out.Step[2]);
    return true;
}

} // namespace

Status ColorSpaceConversion::GetFrame(MediaData* pInput, MediaData* pOutput)
{
    const auto* const pSource = DynamicCast<VideoData>(pInput);
    const auto* const pTarget = DynamicCast<VideoData>(pOutput);
    if (!pSource || !pTarget) return StatusNullPointer;
    if (pSource->GetWidth() != pTarget->GetWidth() || pSource->GetHeight() != pTarget->GetHeight())
        return StatusInvalidParamsExt;
    ColorFormat From = Plain(pSource->GetColorFormat());
    const ColorFormat To = Plain(pTarget->GetColorFormat());
    if (IsPlaneCopy(From, To)) return CopyPlanes(*pSource, *pTarget);

    kernels::SourcePlanes SourcePlanes{};
    kernels::TargetPlanes TargetPlanes{};
    if (!DescribePlanes(*pSource, SourcePlanes) || !DescribePlanes(*pTarget, TargetPlanes)) return StatusNotImplemented;
    if (From == YUV422 && To != YUV420) { // as format 5: every second chroma row is read
        From = YUV420;
        for (int i = 1; i < 3; ++i) SourcePlanes.Step[i] *= 2;
    }
    const Conversion* const pConversion = FindConversion(From, To);
    if (!pConversion) return StatusNotImplemented;
    return StatusOf((*pConversion)(&SourcePlanes, &TargetPlanes, pSource->GetWidth(), pSource->GetHeight()));
}

} // namespace UMC
