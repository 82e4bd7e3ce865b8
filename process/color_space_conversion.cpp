#include "process/conversion_pairs.h"
#include "process/plane_rows.h"
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

Status CopyPlane(const PlaneInfo& From, const PlaneInfo& To, int32_t Width)
{
    const int32_t Height = std::min(From.m_Height, To.m_Height);
    if (From.m_SampleBytes == To.m_SampleBytes)
        return StatusOf(kernels::g_Kernels.Copy8u(From.m_pPlane, From.m_Pitch, To.m_pPlane, To.m_Pitch,
                                                  Width * From.m_SampleBytes, Height));
    if (From.m_SampleBytes == 2 && To.m_SampleBytes == 1)
        return StatusOf(kernels::g_Kernels.Narrow16uTo8u(From.m_pPlane, From.m_Pitch, To.m_pPlane, To.m_Pitch, Width,
                                                         Height, From.m_BitDepth));
    return StatusUnsupported;
}

Status CopyPlanes(const VideoData& From, const VideoData& To)
{
    const bool bExchange = (From.GetColorFormat() == YV12) != (To.GetColorFormat() == YV12);
    for (int32_t i = 0; i < std::min(From.GetPlaneCount(), To.GetPlaneCount()); ++i) {
        PlaneInfo Source, Target;
        From.GetPlaneInfo(&Source, i);
        To.GetPlaneInfo(&Target, bExchange && (i == 1 || i == 2) ? 3 - i : i);
        if (const Status Result = CopyPlane(Source, Target, CommonRowSamples(Source, Target, From.GetColorFormat(), i));
            Result != StatusOk)
            return Result;
    }
    return StatusOk;
}

// The planes as a kernel takes them. The kernels know the samples that a layout has of itself and no deeper ones, and
// touch whole rows, which a pitch below the row would put into the next one and in the end behind the plane.
template <class Planes>
Status DescribePlanes(const VideoData& Picture, Planes& Out)
{
    const ColorFormatInfo* const pRow = FindColorFormat(Picture.GetColorFormat());
    if (!pRow || pRow->PlaneCount > Picture.GetPlaneCount()) return StatusNotImplemented;
    for (int32_t i = 0; i < pRow->PlaneCount; ++i) {
        PlaneInfo Info;
        Picture.GetPlaneInfo(&Info, i);
        if (Info.m_SampleBytes != (pRow->MinBitDepth + 7) >> 3) return StatusNotImplemented;
        if (Info.m_Pitch < RowSamples(Info, pRow->Id, i) * Info.m_SampleBytes) return StatusInvalidParamsExt;
        Out.pPlane[i] = Info.m_pPlane;
        Out.Step[i] = Info.m_Pitch;
    }
    if (pRow->Id == YV12) {
        std::swap(Out.pPlane[1], Out.pPlane[2]);
        std::swap(Out.Step[1], Out.Step[2]);
    }
    return StatusOk;
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

    // As format 5, but for its target 5: every second chroma row is read.
    const bool bSkipChromaRows = From == YUV422 && To != YUV420;
    if (bSkipChromaRows) From = YUV420;
    kernels::ConvertSig* const pConversion = FindConversion(From, To);
    if (!pConversion) return StatusNotImplemented;
    kernels::SourcePlanes SourcePlanes{};
    kernels::TargetPlanes TargetPlanes{};
    Status Result = DescribePlanes(*pSource, SourcePlanes);
    if (Result == StatusOk) Result = DescribePlanes(*pTarget, TargetPlanes);
    if (Result != StatusOk) return Result;
    for (int i = 1; bSkipChromaRows && i < 3; ++i) SourcePlanes.Step[i] *= 2;
    return StatusOf(pConversion(&SourcePlanes, &TargetPlanes, pSource->GetWidth(), pSource->GetHeight()));
}

} // namespace UMC
