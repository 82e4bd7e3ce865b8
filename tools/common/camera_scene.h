// A picture sequence rendered to look like a conferencing camera's: a textured person who moves and speaks in front of
// a furnished wall, a slow pan, sensor noise, and a change of light. The same arguments give the same bytes on every
// machine: all arithmetic is on integers.
#pragma once

#include "tools/common/picture_size.h"
#include "tools/common/scene_person.h"

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
    struct Camera; // what it does in one picture

    SceneColour WallColour(int32_t x, int32_t y) const;
    void PaintWall();
    Camera CameraAt(int64_t Milliseconds) const;
    SceneColour PixelAt(const Camera& Now, const ScenePerson::Pose& Pose, int32_t x, int32_t y) const;

    FrameSize m_Size;
    int32_t m_Fps;
    uint32_t m_Seed;
    ScenePerson m_Person;
    int32_t m_WallWidth;             // the wall is wider than a picture: the camera pans over it
    std::vector<SceneColour> m_Wall; // row by row
};
