// Every sample of a frame of 8 bits, and samples that tell frames, planes and places apart.
#pragma once

#include "decoder/picture/frame.h"

#include <cstdint>

namespace UMC {

// Do(plane, x, y, the sample) for each.
template <class F>
void ForEachSample(const H264DecoderFrame& Frame, F&& Do)
{
    uint8_t* const pPlanes[3] = {Frame.m_pPlaneY, Frame.m_pPlaneU, Frame.m_pPlaneV};
    for (int Plane = 0; Plane < 3; ++Plane) {
        const PictureSize Size = Plane == 0 ? Frame.m_Format.Size : Frame.m_Format.ChromaSize();
        const int Pitch = Plane == 0 ? Frame.m_PitchLuma : Frame.m_PitchChroma;
        for (int y = 0; y < Size.Height; ++y)
            for (int x = 0; x < Size.Width; ++x) Do(Plane, x, y, pPlanes[Plane][y * Pitch + x]);
    }
}

inline uint8_t Pattern(int Number, int Plane, int x, int y)
{
    return static_cast<uint8_t>(Number * 50 + Plane * 20 + x * 7 + y * 3);
}

} // namespace UMC
