#include "process/conversion_pairs.h"
#include "process/video_filter.h"

#include "kernels/dispatch/image_kernels.h"

#include <algorithm>
#include <utility>

namespace UMC {

namespace {

struct Side {
    ColorFormat Format;
    bool bSwapped; // was format 0
    int PlaneCount;
    PlaneInfo Plane[4];
};

Side Describe(const VideoData& Picture)
{
    Side Result{};
    Result.Format = Picture.GetColorFormat();
    Result.PlaneCount = std::min(Picture.GetPlaneCount(), 4);
    for (int i = 0; i < Result.PlaneCount; ++i) Picture.GetPlaneInfo(&Result.Plane[i], i);
    Result.bSwapped = Result.Format == YV12;
    if (Result.bSwapped) {
        Result.Format = YUV420;
        if (Result.PlaneCount >= 3) std::swap(Result.Plane[1], Result.Plane[2]);
    }
    return Result;
}

bool IsPlaneCopy(ColorFormat From, ColorFormat To)
{
    return From == To || (From == YUV420M && To == YUV420) || (From == YUVA420 && To == YUV420) ||
           (From == GRAYA && To == GRAY);
}

Status CopyPlane(const PlaneInfo& From, const PlaneInfo& To)
{
    if (!From.m_pPlane || !To.m_pPlane) return StatusNullPointer;
    const int32_t Width = std::min(From.m_Width * From.m_Samples, To.m_Width * To.m_Samples);
    const int32_t Height = std::min(From.m_Height, To.m_Height);
    int32_t Result;
    if (From.m_SampleBytes == To.m_SampleBytes)
        Result =
            kernels::Copy8u(From.m_pPlane, From.m_Pitch, To.m_pPlane, To.m_Pitch, Width * From.m_SampleBytes, Height);
    else if (From.m_SampleBytes == 2 && To.m_SampleBytes == 1)
        Result = NarrowPlane(From, To, Width, Height);
    else
        return StatusUnsupported;
    return Result == kernels::kStatusOk ? StatusOk : StatusInvalidParamsExt;
}

} // namespace

Status ColorSpaceConversion::GetFrame(MediaData* pInput, MediaData* pOutput)
{
    const auto* const pSource = DynamicCast<VideoData>(pInput);
    const auto* const pTarget = DynamicCast<VideoData>(pOutput);
    if (!pSource || !pTarget) return StatusNullPointer;
    if (pSource->GetWidth() != pTarget->GetWidth() || pSource->GetHeight() != pTarget->GetHeight())
        return StatusInvalidParamsExt;
    Side From = Describe(*pSource);
    const Side To = Describe(*pTarget);

    if (IsPlaneCopy(From.Format, To.Format)) {
        for (int i = 0; i < std::min(From.PlaneCount, To.PlaneCount); ++i)
            if (const Status Result = CopyPlane(From.Plane[i], To.Plane[i]); Result != StatusOk) return Result;
        return StatusOk;
    }
    if (From.Format == YUV422 && To.Format != YUV420) {
        From.Format = YUV420; // every second chroma row is read
        for (int i = 1; i < From.PlaneCount; ++i) {
            From.Plane[i].m_Pitch *= 2;
            From.Plane[i].m_Height = (From.Plane[i].m_Height + 1) / 2;
        }
    }
    const ConversionPair* const pPair = FindConversion(From.Format, To.Format);
    if (!pPair) return StatusNotImplemented;
    const int Result = pPair->pConvert(From.Plane, To.Plane, pSource->GetWidth(), pSource->GetHeight());
    return Result == 0 ? StatusOk : StatusInvalidParamsExt;
}

} // namespace UMC
