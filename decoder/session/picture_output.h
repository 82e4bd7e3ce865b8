// Which picture leaves next, and handing it over.
#pragma once

#include "decoder/session/frame_store.h"
#include "decoder/session/frames_in_hand.h"
#include "media/umc_base_codec.h"
#include "media/umc_video_data.h"

#include <cstddef>
#include <cstdint>

namespace UMC {

inline constexpr size_t kSkippedPictureMark = 1; // data size that stands for a picture that was skipped

// Writes of a frame that it was delivered and, where the stream gives none, its time.
class PictureOutput
{
public:
    // Output describes the picture handed to the converter, *ppConverter converts it.
    PictureOutput(FramesInHand& Frames, FrameStore& Store, VideoData& Output, BaseCodec** ppConverter)
        : m_Frames(Frames), m_Store(Store), m_Output(Output), m_ppConverter(ppConverter)
    {
    }

    // Puts the next picture into pOut, a VideoData, or data size 1 for a skipped one. False when there is none to give.
    bool DeliverFrame(MediaData* pOut, bool Force);
    // The picture that leaves next, null while none may. Force: without the delay for reordering. Passes over frames
    // that are never shown.
    H264DecoderFrame* PickFrameForOutput(bool Force);

    double FrameTime() const { return m_FrameTime; } // seconds a frame
    void SetFrameTime(double Seconds) { m_FrameTime = Seconds; }
    // From the first sequence parameter set on a frame is shown as soon as it is the oldest: no delay is granted for
    // reordering, whatever the stream declares.
    void EndDisplayDelay() { m_DisplayDelay = 0; }
    void Reset()
    {
        m_LocalTime = 0.0;
        m_Frames.LastDisplayed = nullptr;
    }
    void Close();

private:
    void StampTime(H264DecoderFrame& Frame);
    Status ConvertFrame(const H264DecoderFrame& Frame, VideoData& Out);
    Status ShapeOutput(const H264DecoderFrame& Frame);
    Status DescribeOutput(const H264DecoderFrame& Frame);

    FramesInHand& m_Frames;
    FrameStore& m_Store;
    VideoData& m_Output;
    BaseCodec** const m_ppConverter;

    int32_t m_DisplayDelay = 1;
    double m_LocalTime = 0.0; // seconds; for the next picture that comes without a time
    double m_FrameTime = 0.0;
};

} // namespace UMC
