// A picture sequence rendered to look like a conferencing camera's: a textured person who moves and speaks in front of
// a furnished wall, a slow pan, sensor noise, and a change of light. The same arguments give the same bytes on every
// machine: all arithmetic is on integers.
#pragma once

#include "tools/common/picture_size.h"

#include <cstdint>
#include <vector>

class CameraScene
{
public:
    /// @param Fps   Frames a second: how far things move from one picture to the next.
    /// @param Seed  Textures and noise.
    CameraScene(FrameSize Size, int32_t Fps, uint32_t Seed = 1);

    /// Renders picture Index, from 0 on, in any order, as I420 (chroma planes of width / 2 by height / 2, rounded
    /// down).
    void Render(int64_t Index, std::vector<uint8_t>& Picture) const;

private:
    struct Colour {
        uint8_t Y, U, V;
    };
    struct Pose; // where things are in one picture

    Colour WallColour(int32_t x, int32_t y) const;
    void PaintWall();
    Pose PoseAt(int64_t Index) const;
    Colour PersonColour(const Pose& Now, int32_t x, int32_t y, int32_t& Cover) const;
    Colour PixelAt(const Pose& Now, int32_t x, int32_t y) const;

    FrameSize m_Size;
    int32_t m_Fps;
    uint32_t m_Seed;
    int32_t m_WallWidth;        // the wall is wider than a picture: the camera pans over it
    std::vector<Colour> m_Wall; // row by row
};
