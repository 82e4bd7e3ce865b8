#include "tools/common/camera_scene.h"
#include "tools/common/scene_math.h"

#include <algorithm>

// The pan is in sixteenths of a sample.
struct CameraScene::Camera {
    int32_t PanX16;
    int32_t Gain; // of the light, 256 is one
};

CameraScene::CameraScene(FrameSize Size, int32_t Fps, uint32_t Seed)
    : m_Size(Size), m_Fps(std::max(Fps, 1)), m_Seed(Seed), m_Person(Size, Seed),
      m_WallWidth(Size.Width + Size.Width / 4 + 2)
{
    PaintWall();
}

SceneColour CameraScene::WallColour(int32_t x, int32_t y) const
{
    const int32_t Unit = std::max(m_Size.Height / 24, 4);
    int32_t Y = 150 + SceneNoise(x, y, Unit * 6, m_Seed) / 6 + SceneNoise(x, y, 3, m_Seed + 1) / 24, U = 122, V = 132;
    const int32_t ShelfRow = y / (Unit * 5), InShelf = y % (Unit * 5);
    if (x > m_WallWidth / 2 && ShelfRow < 3) { // books of many colours on three boards
        const int32_t BookWidth = Unit / 2 + 2, Book = x / BookWidth;
        const uint32_t h = SceneHash(static_cast<uint32_t>(Book), static_cast<uint32_t>(ShelfRow), m_Seed + 2);
        const bool bEdge = x % BookWidth == 0;
        if (InShelf > Unit * 4) {
            Y = 90 + SceneNoise(x, y, 5, m_Seed + 3) / 12, U = 116, V = 142;
        } else if (InShelf > static_cast<int32_t>(h % 8) * Unit / 8) {
            Y = bEdge ? 45 : 60 + static_cast<int32_t>(h >> 8 & 127) + SceneNoise(x, y, 4, m_Seed + 4) / 12;
            U = 98 + static_cast<int32_t>(h >> 16 & 63);
            V = 98 + static_cast<int32_t>(h >> 22 & 63);
        }
    } else if (x > Unit * 2 && x < Unit * 9 && y > Unit * 2 && y < Unit * 12) { // a window with a view
        const bool bBar = (x - Unit * 2) % (Unit * 3) < 3 || (y - Unit * 2) % (Unit * 5) < 3;
        Y = bBar ? 200 : 170 + SceneNoise(x, y, Unit * 2, m_Seed + 5) / 4;
        U = bBar ? 128 : 140, V = bBar ? 128 : 116;
    }
    return {ClipToByte(Y), ClipToByte(U), ClipToByte(V)};
}

void CameraScene::PaintWall()
{
    m_Wall.reserve(static_cast<size_t>(m_WallWidth) * static_cast<size_t>(m_Size.Height));
    for (int32_t y = 0; y < m_Size.Height; ++y)
        for (int32_t x = 0; x < m_WallWidth; ++x) m_Wall.push_back(WallColour(x, y));
}

CameraScene::Camera CameraScene::CameraAt(int64_t t) const
{
    const int64_t w = m_Size.Width;
    Camera Now;
    // The camera rests for four seconds, then pans to and fro.
    const int64_t PanTime = t % 12000 < 4000 ? 0 : t % 12000 - 4000;
    Now.PanX16 = static_cast<int32_t>(w * 2 + w * 2 * SceneWave(PanTime, 8000) / 256);
    // A lamp goes off after six seconds and on again after nine.
    const int64_t Lamp = t % 9000;
    Now.Gain = Lamp < 6000 ? 256 : Lamp < 6400 ? static_cast<int32_t>(256 - (Lamp - 6000) * 56 / 400) : 200;
    return Now;
}

SceneColour CameraScene::PixelAt(const Camera& Now, const ScenePerson::Pose& Pose, int32_t x, int32_t y) const
{
    const int32_t Whole = x + Now.PanX16 / 16, Part = Now.PanX16 % 16;
    const SceneColour* const pRow = &m_Wall[static_cast<size_t>(y) * static_cast<size_t>(m_WallWidth)];
    const int32_t Left = std::clamp(Whole, 0, m_WallWidth - 1), Right = std::clamp(Whole + 1, 0, m_WallWidth - 1);
    const SceneColour a = pRow[Left], b = pRow[Right];
    int32_t Y = (a.Y * (16 - Part) + b.Y * Part + 8) / 16, U = a.U, V = a.V, Cover;
    const SceneColour Person = m_Person.ColourAt(Pose, x, y, Cover);
    if (Cover) Y = MixBy(Y, Person.Y, Cover), U = MixBy(U, Person.U, Cover), V = MixBy(V, Person.V, Cover);
    return {ClipToByte(16 + (Y - 16) * Now.Gain / 256), ClipToByte(U), ClipToByte(V)};
}

void CameraScene::Render(int64_t Index, std::vector<uint8_t>& Picture) const
{
    const int64_t Time = Index * 1000 / m_Fps; // milliseconds
    const Camera Now = CameraAt(Time);
    const ScenePerson::Pose Pose = m_Person.PoseAt(Time);
    const int32_t w = m_Size.Width, h = m_Size.Height, cw = w / 2, ch = h / 2;
    Picture.resize(m_Size.LumaBytes() + 2 * static_cast<size_t>(cw) * static_cast<size_t>(ch));
    uint8_t* pY = Picture.data();
    uint8_t* pU = pY + m_Size.LumaBytes();
    uint8_t* pV = pU + static_cast<size_t>(cw) * static_cast<size_t>(ch);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
            const SceneColour Pixel = PixelAt(Now, Pose, x, y);
            // Sensor noise: the sum of four small uniform values, new in every picture.
            const uint32_t r = SceneHash(static_cast<uint32_t>(x), static_cast<uint32_t>(y),
                                         static_cast<uint32_t>(Index) * 977 + m_Seed);
            const auto Grain = static_cast<int32_t>((r & 3) + (r >> 8 & 3) + (r >> 16 & 3) + (r >> 24 & 3)) - 6;
            *pY++ = ClipToByte(Pixel.Y + Grain / 2);
            if (x % 2 == 0 && y % 2 == 0 && x / 2 < cw && y / 2 < ch) {
                *pU++ = ClipToByte(Pixel.U + Grain / 4);
                *pV++ = ClipToByte(Pixel.V - Grain / 4);
            }
        }
}
