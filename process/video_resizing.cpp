#include "process/packed_layouts.h"
#include "process/video_filter.h"

#include "kernels/dispatch/kernels.h"

namespace UMC {

namespace {

using kernels::g_Kernels;
using kernels::KernelSlots;

Status StatusOf(int32_t KernelStatus)
{
    switch (KernelStatus) {
    case kernels::kStatusOk: return StatusOk;
    case kernels::kStatusNullPointer: return StatusNullPointer;
    case kernels::kStatusNoMemory: return StatusAllocFailed;
    default: return StatusInvalidParamsExt;
    }
}

bool ShrinksBy(const PlaneInfo& From, const PlaneInfo& To, int32_t Factor)
{
    return From.m_Width == int64_t{To.m_Width} * Factor && From.m_Height == int64_t{To.m_Height} * Factor;
}

// The kernels of one number of channels. No quarter: a mean of areas gives the same.
template <auto kResize, auto kHalve>
int32_t ChangeSize(const PlaneInfo& From, const PlaneInfo& To)
{
    if (ShrinksBy(From, To, 2))
        return (g_Kernels.*kHalve)(From.m_pPlane, From.m_Pitch, To.m_pPlane, To.m_Pitch, To.m_Width, To.m_Height);
    const double xFactor = static_cast<double>(To.m_Width) / From.m_Width;
    const double yFactor = static_cast<double>(To.m_Height) / From.m_Height;
    const auto Type = xFactor <= 0.5 && yFactor <= 0.5 ? kernels::kArea : kernels::kCubic;
    return (g_Kernels.*kResize)(From.m_pPlane, From.m_Width, From.m_Height, From.m_Pitch, 0, 0, From.m_Width,
                                From.m_Height, To.m_pPlane, To.m_Pitch, To.m_Width, To.m_Height, xFactor, yFactor,
                                Type);
}

int32_t ChangeSizeOfOne(const PlaneInfo& From, const PlaneInfo& To)
{
    if (ShrinksBy(From, To, 4))
        return g_Kernels.Quarter8uC1(From.m_pPlane, From.m_Pitch, To.m_pPlane, To.m_Pitch, To.m_Width, To.m_Height);
    return ChangeSize<&KernelSlots::Resize8uC1, &KernelSlots::Halve8uC1>(From, To);
}

Status ResizePlane(const PlaneInfo& From, const PlaneInfo& To, int32_t Channels)
{
    if (From.m_SampleBytes != 1 || To.m_SampleBytes != 1) return StatusUnsupported;
    if (From.m_Pitch < From.m_Width * Channels || To.m_Pitch < To.m_Width * Channels) return StatusInvalidParamsExt;
    if (ShrinksBy(From, To, 1))
        return StatusOf(g_Kernels.Copy8u(From.m_pPlane, From.m_Pitch, To.m_pPlane, To.m_Pitch, From.m_Width * Channels,
                                         From.m_Height));
    switch (Channels) {
    case 2: return StatusOf(ChangeSize<&KernelSlots::Resize8uC2, &KernelSlots::Halve8uC2>(From, To));
    case 3: return StatusOf(ChangeSize<&KernelSlots::Resize8uC3, &KernelSlots::Halve8uC3>(From, To));
    case 4: return StatusOf(ChangeSize<&KernelSlots::Resize8uC4, &KernelSlots::Halve8uC4>(From, To));
    default: return StatusOf(ChangeSizeOfOne(From, To));
    }
}

// The chroma plane of NV12 is described as rows of the luma's width; its pixels are pairs of U and V.
bool IsChromaOfPairs(ColorFormat Format, int32_t Plane) { return Format == NV12 && Plane == 1; }

void DescribeAsPairs(PlaneInfo& Plane) { Plane.m_Width = Plane.m_Width / 2 + Plane.m_Width % 2; }

// Every plane of a layout whose components are planes, or bytes that follow each other.
Status ResizePlanes(const VideoData& Source, const VideoData& Target)
{
    const ColorFormat Format = Source.GetColorFormat();
    for (int32_t i = 0; i < FindColorFormat(Format)->PlaneCount; ++i) {
        PlaneInfo From{}, To{};
        Source.GetPlaneInfo(&From, i);
        Target.GetPlaneInfo(&To, i);
        const bool bPairs = IsChromaOfPairs(Format, i);
        if (bPairs) DescribeAsPairs(From), DescribeAsPairs(To);
        const Status Result = ResizePlane(From, To, bPairs ? 2 : From.m_Samples);
        if (Result != StatusOk) return Result;
    }
    return StatusOk;
}

// Pixels of the layout at the size of Like, kept when they are there already.
Status PrepareUnpacked(VideoData& Picture, ColorFormat Format, const VideoData& Like)
{
    if (Picture.GetColorFormat() == Format && Picture.GetWidth() == Like.GetWidth() &&
        Picture.GetHeight() == Like.GetHeight() && Picture.Plane(0))
        return StatusOk;
    Picture.SetAlignment(16);
    Status Result = Picture.Init(Like.GetWidth(), Like.GetHeight(), Format, 8);
    if (Result == StatusOk) Result = Picture.Alloc();
    if (Result != StatusOk) Picture = VideoData();
    return Result;
}

Status TestPacked(const VideoData& Picture)
{
    PlaneInfo Plane{};
    Picture.GetPlaneInfo(&Plane, 0);
    if (!Plane.m_pPlane) return StatusNullPointer;
    const int32_t Bytes = (FindColorFormat(Picture.GetColorFormat())->MinBitDepth + 7) / 8;
    if (Plane.m_SampleBytes != Bytes) return StatusUnsupported;
    return Plane.m_Pitch >= Plane.m_Width * Plane.m_Samples * Bytes ? StatusOk : StatusInvalidParamsExt;
}

} // namespace

Status VideoResizing::GetFrame(MediaData* pInput, MediaData* pOutput)
{
    const auto* const pSource = DynamicCast<VideoData>(pInput);
    const auto* const pTarget = DynamicCast<VideoData>(pOutput);
    if (!pSource || !pTarget) return StatusNullPointer;
    const ColorFormat Format = pSource->GetColorFormat();
    if (Format != pTarget->GetColorFormat()) return StatusInvalidParamsExt;
    if (!FindColorFormat(Format)) return StatusNotImplemented;
    const PackedLayout* const pLayout = FindPackedLayout(Format);
    if (!pLayout) return ResizePlanes(*pSource, *pTarget);

    Status Result = TestPacked(*pSource);
    if (Result == StatusOk) Result = TestPacked(*pTarget);
    if (Result == StatusOk) Result = PrepareUnpacked(m_UnpackedSource, pLayout->Unpacked, *pSource);
    if (Result == StatusOk) Result = PrepareUnpacked(m_UnpackedTarget, pLayout->Unpacked, *pTarget);
    if (Result != StatusOk) return Result;
    pLayout->pUnpack(*pSource, m_UnpackedSource);
    Result = ResizePlanes(m_UnpackedSource, m_UnpackedTarget);
    if (Result == StatusOk) pLayout->pPack(m_UnpackedTarget, *pTarget);
    return Result;
}

} // namespace UMC
