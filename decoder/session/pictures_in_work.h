// Pictures from their first slice to the end of their decoding, and the frames that they keep busy.
#pragma once

#include "decoder/session/frame_store.h"
#include "decoder/session/frames_in_hand.h"
#include "decoder/session/stream_headers.h"
#include "media/os/os_section.h"

namespace UMC {

// Counts, for each picture, the references that were released while it was in flight. From the 2 that the store gives a
// frame for a picture down to the 0 at which it is free, it alone writes m_BusyCount.
class PicturesInWork
{
public:
    PicturesInWork(FramesInHand& Frames, FrameStore& Store, StreamHeaders& Headers)
        : m_Frames(Frames), m_Store(Store), m_Headers(Headers)
    {
    }

    // A reference lost its last mark. It must outlive the pictures in flight, which may refer to it.
    void HoldReleased(H264DecoderFrame& Reference);
    // A picture begins: what was released before it is free when its decoding has finished.
    void Begin(H264DecoderFrame& Frame);
    void Finish(H264DecoderFrame& Frame); // its decoding is over
    // Finishes the pictures whose slices are all decoded, in list order. Guard: of the progress of slices.
    void Advance(Mutex& Guard);
    void GiveUp() { m_Frames.FirstUncompleted = nullptr; } // nothing more will make them ready
    void Reset()
    {
        m_LocalReleased = {};
        GiveUp();
    }

private:
    void EndUseOf(ReleasedFrames& Released);

    FramesInHand& m_Frames;
    FrameStore& m_Store;
    StreamHeaders& m_Headers;
    ReleasedFrames m_LocalReleased{}; // for the next picture
};

} // namespace UMC
