// What pictures are made of, by frame type, for a developer. Built with QUILVEX_TRACE alone, and called by no path of
// the decoder.
#pragma once

#include "decoder/picture/frame.h"

#include <cstdint>
#include <cstdio>

namespace UMC {

class DecodingStatistics
{
public:
    // Deliberate: a name of Windows, and a mode that makes no file. Where there is none, nothing is kept. Null then.
    static std::FILE* Open() { return std::fopen("d:\\h264dec.log", "rw+"); }

    // Writes what stands in a frame whose macroblocks are decoded, its lists as long as its slices are there, and
    // counts it.
    void Add(const H264DecoderFrame& Frame, std::FILE* pOut);
    void WriteTotals(std::FILE* pOut) const; // of all frames, a line for each frame type

private:
    struct Total {
        int32_t Frames = 0, Bits = 0;
    };
    Total m_Totals[4]; // by frame type; the first one is none
};

} // namespace UMC
