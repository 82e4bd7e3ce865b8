// The frames of the buffer that the session's classes point at, in one record that they share.
#pragma once

#include "decoder/picture/frame.h"

#include <cstdint>

namespace UMC {

// Written by the thread that calls GetFrame alone.
struct FramesInHand {
    H264DecoderFrame* CurrentFrame = nullptr;     // being filled with slices; written by PictureAssembly
    H264DecoderFrame* FirstUncompleted = nullptr; // first in list order whose decoding is not finished: set by
                                                  // PictureAssembly, moved on by PicturesInWork
    H264DecoderFrame* LastDisplayed = nullptr;    // written by PictureOutput

    // Counts what may make room: pictures decoded, delivered, passed over or made up.
    uint64_t Progress = 0;

    bool IsFilling() const { return CurrentFrame && CurrentFrame->m_BusyCount >= 2; }
    bool IsInFlight() const { return FirstUncompleted != nullptr || IsFilling(); }

    // The frame is another picture's from now on, or goes.
    void Forget(const H264DecoderFrame* pFrame)
    {
        if (pFrame == CurrentFrame) CurrentFrame = nullptr;
        if (pFrame == LastDisplayed) LastDisplayed = nullptr;
    }
};

} // namespace UMC
