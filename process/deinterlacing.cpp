#include "process/plane_rows.h"
#include "process/video_filter.h"

#include "kernels/dispatch/kernels.h"

namespace UMC {

namespace {

constexpr int32_t kMinHeight = 3; // what the blend needs

struct BlendMode {
    bool bFilter;
    int32_t CentreWeight; // of 256, on the line itself
    int32_t Layout;
};

BlendMode ModeOf(int32_t Structure)
{
    switch (Structure) {
    case PROGRESSIVE_FRAME: return {false, 0, 0};
    case TOP_FIELD_ONLY: return {true, 0, kernels::kFilterOdd};
    case BOTTOM_FIELD_ONLY: return {true, 0, kernels::kFilterEven};
    default: return {true, 128, kernels::kFilterAllButFirst}; // both fields have the same share of each line
    }
}

Status DeinterlacePlane(const PlaneInfo& From, const PlaneInfo& To, int32_t RowBytes, const BlendMode& Mode)
{
    if (!From.m_pPlane || !To.m_pPlane) return StatusNullPointer;
    if (From.m_SampleBytes != 1 || To.m_SampleBytes != 1) return StatusUnsupported;
    const int32_t Result =
        Mode.bFilter && From.m_Height >= kMinHeight
            ? kernels::g_Kernels.DeinterlaceBlend(From.m_pPlane, From.m_Pitch, To.m_pPlane, To.m_Pitch, RowBytes,
                                                  From.m_Height, Mode.CentreWeight, Mode.Layout)
            : kernels::g_Kernels.Copy8u(From.m_pPlane, From.m_Pitch, To.m_pPlane, To.m_Pitch, RowBytes, From.m_Height);
    return Result == kernels::kStatusOk ? StatusOk : StatusInvalidParamsExt;
}

} // namespace

Status Deinterlacing::GetFrame(MediaData* pInput, MediaData* pOutput)
{
    const auto* const pSource = DynamicCast<VideoData>(pInput);
    const auto* const pTarget = DynamicCast<VideoData>(pOutput);
    if (!pSource || !pTarget) return StatusNullPointer;
    if (pSource->GetColorFormat() != pTarget->GetColorFormat() || pSource->GetWidth() != pTarget->GetWidth() ||
        pSource->GetHeight() != pTarget->GetHeight() || pSource->GetPlaneCount() != pTarget->GetPlaneCount())
        return StatusInvalidParamsExt;
    const BlendMode Mode = ModeOf(pSource->GetPictureStructure());
    for (int32_t i = 0; i < pSource->GetPlaneCount(); ++i) {
        PlaneInfo From{}, To{};
        pSource->GetPlaneInfo(&From, i);
        pTarget->GetPlaneInfo(&To, i);
        const int32_t RowBytes = CommonRowSamples(From, To, pSource->GetColorFormat(), i); // of one byte each
        if (const Status Result = DeinterlacePlane(From, To, RowBytes, Mode); Result != StatusOk) return Result;
    }
    return StatusOk;
}

} // namespace UMC
