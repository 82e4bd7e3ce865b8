// The person of the rendered scenes, who moves and speaks.
#pragma once

#include "tools/common/picture_size.h"
#include "tools/common/scene_math.h"

class ScenePerson
{
public:
    /// Where things are at one moment: positions and radii in samples of the picture.
    struct Pose {
        int32_t HeadX, HeadY, HeadRx, HeadRy;
        int32_t BodyX, BodyY, BodyRx, BodyRy;
        int32_t MouthRy, EyeRy;
    };

    ScenePerson(FrameSize Size, uint32_t Seed) : m_Size(Size), m_Seed(Seed) {}

    Pose PoseAt(int64_t Milliseconds) const;
    /// The person's colour at a sample; Cover receives how much of the sample it covers, 0..256.
    SceneColour ColourAt(const Pose& Now, int32_t x, int32_t y, int32_t& Cover) const;

private:
    FrameSize m_Size;
    uint32_t m_Seed;
};
