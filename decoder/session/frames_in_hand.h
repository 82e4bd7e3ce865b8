// The frames of the buffer that the session's classes point at, in one record that they share.
#pragma once

#include "decoder/picture/frame.h"

#include <cstdint>

namespace UMC {

// Written by the thread that calls GetFrame alone: each pointer by one or two classes, and by Forget().
struct FramesInHand {
    H264DecoderFrame* CurrentFrame = nullptr;     // being filled with slices; written by PictureAssembly
    H264DecoderFrame* FirstUncompleted = nullptr; // first in list order whose decoding is not finished: set by
                                                  // PictureAssembly, moved on and dropped by PicturesInWork
    H264DecoderFrame* LastDisplayed = nullptr;    // written by PictureOutput

    // Counts what may make room, moved on by the class that did it: pictures decoded, delivered, passed over or made
    // up.
    uint64_t Progress = 0;

    bool IsFilling() const { return CurrentFrame && CurrentFrame->m_BusyCount >= 2; }
    bool IsInFlight() const { return FirstUncompleted != nullptr || IsFilling(); }

    // The frame is another picture's from now on, or goes: for FrameStore, which sees to both.
    void Forget(const H264DecoderFrame* pFrame)
    {
        if (pFrame == CurrentFrame) CurrentFrame = nullptr;
        if (pFrame == LastDisplayed) LastDisplayed = nullptr;
    }
};

} // namespace UMC
