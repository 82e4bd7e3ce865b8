#include "process/video_processing.h"

#include "process/video_filter.h"

#include <algorithm>

namespace UMC {

VideoProcessing::VideoProcessing()
    : m_pDeinterlacing(std::make_unique<Deinterlacing>()), m_pConversion(std::make_unique<ColorSpaceConversion>()),
      m_pResizing(std::make_unique<VideoResizing>()),
      m_pWorkBuffers(std::make_unique<std::array<VideoData, kWorkBuffers>>())
{
    m_Filters[0] = m_pDeinterlacing.get();
    m_Filters[1] = m_Filters[2] = m_pConversion.get();
    m_Filters[3] = m_pResizing.get();
}

VideoProcessing::~VideoProcessing() = default;

Status VideoProcessing::Init(BaseCodecParams* pParams)
{
    const Status Result = BaseCodec::Init(pParams);
    return Result == StatusOk ? SetParams(pParams) : Result;
}

Status VideoProcessing::SetParams(BaseCodecParams* pParams)
{
    const auto* const pOwn = DynamicCast<VideoProcessingParams>(pParams);
    if (!pOwn) return StatusNullPointer;
    m_Params = *pOwn;
    m_bCropping = pOwn->m_CropX || pOwn->m_CropY || pOwn->m_CropWidth || pOwn->m_CropHeight;
    return StatusOk;
}

Status VideoProcessing::GetInfo(BaseCodecParams* pParams)
{
    auto* const pOwn = DynamicCast<VideoProcessingParams>(pParams);
    if (!pOwn) return StatusNullPointer;
    *pOwn = m_Params;
    return StatusOk;
}

Status VideoProcessing::AddFilter(BaseCodec* pFilter, bool bAtEnd)
{
    if (!pFilter) return StatusNullPointer;
    if (m_FilterCount == kMaxFilters) return StatusFailed;
    int Slot = m_FilterCount++;
    if (!bAtEnd) {
        std::copy_backward(m_Filters.begin(), m_Filters.end() - 1, m_Filters.end());
        std::copy_backward(m_FilterActive.begin(), m_FilterActive.end() - 1, m_FilterActive.end());
        for (int* pIndex : {&m_IndexDeinterlace, &m_IndexConvert, &m_IndexPreConvert, &m_IndexResize}) ++*pIndex;
        Slot = 0;
    }
    m_Filters[static_cast<size_t>(Slot)] = pFilter;
    m_FilterActive[static_cast<size_t>(Slot)] = true;
    return StatusOk;
}

ColorFormat VideoProcessing::IntermediateFormat(ColorFormat Id)
{
    switch (Id) {
    case YUV411:
    case YUVA422: return YUV422;
    case YUV420: return YV12;
    case YUV422: return YUY2;
    case YUV444:
    case RGB32:
    case RGB565:
    case RGB555:
    case RGB444: return RGB24;
    case Y411:
    case Y41P: return YUV411;
    case RGB24: return RGB32;
    case YUVA444: return YUV444;
    default: return YUV420;
    }
}

Status VideoProcessing::GetFrame(MediaData* pInput, MediaData* pOutput)
{
    auto* pSource = DynamicCast<VideoData>(pInput);
    auto* pTarget = DynamicCast<VideoData>(pOutput);
    if (!pSource || !pTarget) return StatusNullPointer;
    if (pSource->GetPlaneCount() < 1 || !pSource->Plane(0)) return StatusNotEnoughData;

    double Start, End;
    pTarget->SetFrameType(pSource->GetFrameType());
    pSource->GetTime(Start, End);
    pTarget->SetTime(Start, End);

    if (m_bCropping)
        if (const Status Result = Crop(pSource); Result != StatusOk) return Result;

    SetActiveFlags(*pSource, *pTarget);
    const size_t TargetSize = pTarget->GetMappingSize();
    const size_t ReportedSize = TargetSize ? TargetSize : pSource->GetMappingSize();
    pTarget->SetPictureStructure(
        m_FilterActive[static_cast<size_t>(m_IndexDeinterlace)] ? PROGRESSIVE_FRAME : pSource->GetPictureStructure());
    VideoData* pChainTarget = pTarget;
    Status Result = ApplyChromaShortcut(pSource, pChainTarget);
    if (Result == StatusOk) Result = RunChain(pSource, pChainTarget);
    if (Result != StatusOk) return Result;
    pTarget->SetDataSize(0);
    pTarget->SetDataSize(ReportedSize);
    return StatusOk;
}

// A copy of a picture's description over the same pixels. Without memory for its planes it has none.
static Status Describe(const VideoData& Picture, VideoData& Copy)
{
    Copy = Picture;
    return Copy.GetPlaneCount() == Picture.GetPlaneCount() ? StatusOk : StatusAllocFailed;
}

Status VideoProcessing::Crop(VideoData*& pSource)
{
    if (const Status Result = Describe(*pSource, m_Cropped); Result != StatusOk) return Result;
    pSource = &m_Cropped;
    return m_Cropped.SetRegion(m_Params.m_CropX, m_Params.m_CropY, m_Params.m_CropWidth, m_Params.m_CropHeight);
}

void VideoProcessing::SetActiveFlags(const VideoData& Source, const VideoData& Output)
{
    m_FilterActive[static_cast<size_t>(m_IndexDeinterlace)] =
        m_Params.m_DeinterlaceMode && Source.GetPictureStructure() != PROGRESSIVE_FRAME;
    m_FilterActive[static_cast<size_t>(m_IndexPreConvert)] = false;
    m_FilterActive[static_cast<size_t>(m_IndexConvert)] = Source.GetColorFormat() != Output.GetColorFormat();
    m_FilterActive[static_cast<size_t>(m_IndexResize)] =
        Source.GetWidth() != Output.GetWidth() || Source.GetHeight() != Output.GetHeight();
}

// Formats 5 and 0 differ in the order of the chroma planes only: with another filter at work, exchanging two plane
// records in a private copy of the side in format 0 saves the conversion.
Status VideoProcessing::ApplyChromaShortcut(VideoData*& pSource, VideoData*& pOutput)
{
    const ColorFormat From = pSource->GetColorFormat(), To = pOutput->GetColorFormat();
    if (!(From == YUV420 && To == YV12) && !(From == YV12 && To == YUV420)) return StatusOk;
    bool& bConvert = m_FilterActive[static_cast<size_t>(m_IndexConvert)];
    bConvert = false;
    if (LastActive() < 0) { // nothing but the conversion
        bConvert = true;
        return StatusOk;
    }
    VideoData*& pSide = From == YV12 ? pSource : pOutput;
    if (const Status Result = Describe(*pSide, m_Exchanged); Result != StatusOk) return Result;
    pSide = &m_Exchanged;
    return m_Exchanged.SwapChromaPlanes(YUV420);
}

int VideoProcessing::LastActive() const
{
    int Last = -1;
    for (int i = 0; i < m_FilterCount; ++i)
        if (m_FilterActive[static_cast<size_t>(i)]) Last = i;
    return Last;
}

Status VideoProcessing::RunChain(VideoData* pSource, VideoData* pOutput)
{
    int Last = LastActive();
    if (Last < 0) {
        Last = m_IndexConvert; // equal format and size still go through the conversion, as a copy of the planes
        m_FilterActive[static_cast<size_t>(Last)] = true;
    }
    ColorFormat Format = pSource->GetColorFormat();
    int32_t Width = pSource->GetWidth(), Height = pSource->GetHeight();
    for (int Slot = 0; Slot <= Last; ++Slot) {
        BaseCodec* const pFilter = m_Filters[static_cast<size_t>(Slot)];
        if (!m_FilterActive[static_cast<size_t>(Slot)] || !pFilter) continue;
        if (Slot == m_IndexConvert) Format = pOutput->GetColorFormat();
        if (Slot == m_IndexResize) Width = pOutput->GetWidth(), Height = pOutput->GetHeight();

        VideoData* pTarget = pOutput;
        Status Result = Slot == Last ? StatusOk : WorkPicture(pSource, Width, Height, Format, pTarget);
        if (pTarget != pOutput)
            pTarget->SetPictureStructure(Slot == m_IndexDeinterlace ? PROGRESSIVE_FRAME
                                                                    : pSource->GetPictureStructure());
        if (Result == StatusOk) Result = pFilter->GetFrame(pSource, pTarget);
        bool& bPreConvert = m_FilterActive[static_cast<size_t>(m_IndexPreConvert)];
        if (Result == StatusNotImplemented && Slot == m_IndexConvert && !bPreConvert) {
            bPreConvert = true;
            Format = IntermediateFormat(pSource->GetColorFormat());
            Slot = m_IndexPreConvert - 1; // the loop goes on at the pre-conversion with the same source
            continue;
        }
        if (Result != StatusOk) return Result;
        pSource = pTarget;
    }
    return StatusOk;
}

// Three pictures serve up to eight filters: any that is not the source will do, and one that has the geometry already
// needs no allocation. An unused one comes before one of another geometry, which may be wanted again.
Status VideoProcessing::WorkPicture(const VideoData* pSource, int32_t Width, int32_t Height, ColorFormat Format,
                                    VideoData*& pPicture)
{
    VideoData* pBest = nullptr;
    for (VideoData& Picture : *m_pWorkBuffers) {
        if (&Picture == pSource) continue;
        if (Picture.GetWidth() == Width && Picture.GetHeight() == Height && Picture.GetColorFormat() == Format) {
            pPicture = &Picture;
            return StatusOk;
        }
        if (!pBest || (pBest->GetPlaneCount() && !Picture.GetPlaneCount())) pBest = &Picture;
    }
    pPicture = pBest;
    pPicture->SetAlignment(kWorkAlignment);
    Status Result = pPicture->Init(Width, Height, Format, 0);
    if (Result == StatusOk) Result = pPicture->Alloc();
    if (Result != StatusOk) *pPicture = VideoData();
    return Result;
}

} // namespace UMC
