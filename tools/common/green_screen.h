// What a camera sees of a person in front of a green screen: hair with loose strands, the screen's green on the edges,
// uneven light on the cloth, sensor noise. The same arguments give the same bytes on every machine.
#pragma once

#include "tools/common/picture_size.h"
#include "tools/common/scene_person.h"

#include <cstdint>
#include <vector>

class GreenScreen
{
public:
    /// @param Fps   Frames a second: how far the person moves from one picture to the next.
    /// @param Seed  Textures and noise.
    GreenScreen(FrameSize Size, int32_t Fps, uint32_t Seed = 1);

    /// Renders picture Index, from 0 on, in any order, as RGB24: blue, green, red bytes without gaps.
    void Render(int64_t Index, std::vector<uint8_t>& Rgb) const;

private:
    struct Rgb {
        int32_t R, G, B;
    };
    static Rgb ToRgb(SceneColour Colour);
    static Rgb Mix(const Rgb& a, const Rgb& b, int32_t Cover);
    Rgb ScreenAt(int32_t x, int32_t y) const;
    int32_t StrandCover(const ScenePerson::Pose& Now, int32_t x, int32_t y) const;
    int32_t SpillAt(const ScenePerson::Pose& Now, int32_t x, int32_t y) const;
    Rgb PixelAt(const ScenePerson::Pose& Now, int32_t x, int32_t y) const;

    FrameSize m_Size;
    int32_t m_Fps;
    uint32_t m_Seed;
    ScenePerson m_Person;
};

/// Renders a landscape to stand behind a person, as RGB24.
void RenderLandscape(FrameSize Size, std::vector<uint8_t>& Rgb);
