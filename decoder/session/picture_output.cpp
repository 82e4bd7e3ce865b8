#include "decoder/session/picture_output.h"

#include "media/umc_cast.h"

#include <new>

namespace UMC {

namespace {

ColorFormat FormatOf(int32_t ChromaFormat)
{
    constexpr ColorFormat kFormat[] = {YUV420, YUV420, YUV422, YUV444}; // grey pictures have chroma planes of 128
    return kFormat[ChromaFormat & 3];
}

} // namespace

void PictureOutput::Close()
{
    Reset();
    m_DisplayDelay = 1;
}

H264DecoderFrame* PictureOutput::PickFrameForOutput(bool Force)
{
    if (!Force && m_Store.Dpb().CountDisplayable() < m_DisplayDelay) return nullptr;
    for (;;) {
        H264DecoderFrame* const pFrame = m_Store.Dpb().FindOldestDisplayable(m_Store.DpbSize());
        if (!pFrame || pFrame->m_BusyCount >= 2) return nullptr; // a frame in work holds the younger ones back
        if (pFrame->m_FrameExists) return pFrame;
        pFrame->m_WasOutputted = true;
        ++m_Frames.Progress;
    }
}

void PictureOutput::StampTime(H264DecoderFrame& Frame)
{
    if (Frame.m_Time > -1.0) {
        m_LocalTime = Frame.m_Time;
    } else {
        Frame.m_Time = m_LocalTime;
    }
    m_LocalTime += m_FrameTime;
}

bool PictureOutput::DeliverFrame(MediaData* pOut, bool Force)
{
    auto* const pPicture = DynamicCast<VideoData>(pOut);
    if (!pPicture) return false;
    m_Frames.LastDisplayed = nullptr;
    m_Store.RemoveOutdatedFrames();
    H264DecoderFrame* const pFrame = PickFrameForOutput(Force);
    if (!pFrame) return false;
    // Before anything changes: a later call gives the picture out.
    if (!pFrame->m_IsSkipped && ShapeOutput(*pFrame) == StatusAllocFailed) throw std::bad_alloc();
    m_Frames.LastDisplayed = pFrame;
    pFrame->m_WasOutputted = true;
    ++m_Frames.Progress;
    StampTime(*pFrame);
    pPicture->SetTime(pFrame->m_Time);
    pPicture->SetFrameType(pFrame->m_FrameType);
    if (pFrame->m_IsSkipped) {
        pPicture->SetDataSize(kSkippedPictureMark);
        return true;
    }
    if (ConvertFrame(*pFrame, *pPicture) != StatusOk) {
        pPicture->SetDataSize(0);
        return false;
    }
    if (pPicture->GetDataSize() == 0) pPicture->SetDataSize(pPicture->GetBufferSize());
    return true;
}

// Gives the description of the output the frame's size, format and depth.
Status PictureOutput::ShapeOutput(const H264DecoderFrame& Frame)
{
    VideoData& Out = m_Output;
    PlaneInfo Luma{};
    Out.GetPlaneInfo(&Luma, 0);
    const ColorFormat Format = FormatOf(Frame.m_Format.ChromaFormat);
    const auto [Width, Height] = Frame.m_Format.Size;
    const int32_t BitDepth = Frame.m_Format.BitDepth();
    if (Out.GetColorFormat() == Format && Out.GetWidth() == Width && Out.GetHeight() == Height &&
        Luma.m_BitDepth == BitDepth)
        return StatusOk;
    return Out.Init(Width, Height, Format, BitDepth);
}

Status PictureOutput::DescribeOutput(const H264DecoderFrame& Frame)
{
    const Status Shape = ShapeOutput(Frame);
    if (Shape != StatusOk) return Shape;
    VideoData& Out = m_Output;
    uint8_t* const Planes[3] = {Frame.m_pPlaneY, Frame.m_pPlaneU, Frame.m_pPlaneV};
    const int32_t SampleBytes = Frame.m_Format.SampleBytes();
    for (int32_t i = 0; i < 3; ++i) {
        Out.SetPlanePointer(Planes[i], i);
        Out.SetPlanePitch((i == 0 ? Frame.m_PitchLuma : Frame.m_PitchChroma) * SampleBytes, i);
    }
    Out.SetPictureStructure(Frame.m_PictureStructure == FRAME_PICTURE ? PROGRESSIVE_FRAME : INTERLACED_FRAME);
    Out.SetFrameType(Frame.m_FrameType);
    Out.SetTime(Frame.m_Time);
    Out.SetAspectRatio(Frame.m_AspectWidth, Frame.m_AspectHeight);
    return StatusOk;
}

Status PictureOutput::ConvertFrame(const H264DecoderFrame& Frame, VideoData& Out)
{
    const Status Result = DescribeOutput(Frame);
    if (Result != StatusOk) return Result;
    if ((Frame.m_CropLeft | Frame.m_CropRight | Frame.m_CropTop | Frame.m_CropBottom) == 0)
        return (*m_ppConverter)->GetFrame(&m_Output, &Out);
    VideoDataCrop Cropped;
    Cropped = m_Output;
    if (Cropped.GetPlaneCount() != m_Output.GetPlaneCount()) throw std::bad_alloc();
    const Status Region = Cropped.SetRegion(Frame.m_CropLeft, Frame.m_CropTop,
                                            Frame.m_Format.Size.Width - Frame.m_CropRight - Frame.m_CropLeft,
                                            Frame.m_Format.Size.Height - Frame.m_CropBottom - Frame.m_CropTop);
    return Region != StatusOk ? Region : (*m_ppConverter)->GetFrame(&Cropped, &Out);
}

} // namespace UMC
