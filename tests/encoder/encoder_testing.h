// What the encoder's tests share: pictures that move, and an encoder driven over them.
#pragma once

#include "encoder/session/video_encoder.h"
#include "media/umc_video_data.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <vector>

namespace encoder_testing {

using Picture = std::vector<uint8_t>;

/// Contents of a test clip, all of them the same on every run.
enum class Scene {
    Still, // one textured picture again and again
    Pan,   // texture that moves by fractions of a sample, with a block that moves the other way
    Noise, // nothing like the picture before
    Cut,   // the texture changes at once in the middle
    Turns, // two textures by turns: the picture before the last is the one to predict from
    Mixed  // a still background, a moving block and a noisy corner
};

inline uint8_t Clip8(double v) { return static_cast<uint8_t>(v < 0.0 ? 0.0 : v > 255.0 ? 255.0 : v); }

inline double Texture(double x, double y, int Variant)
{
    return 128.0 + 50.0 * std::sin(x * 0.11 + Variant) * std::cos(y * 0.07) +
           30.0 * std::sin((x + y) * 0.45 + Variant) + 20.0 * std::sin(x * 1.3) * std::sin(y * 1.1);
}

inline uint8_t SampleOf(Scene s, int x, int y, int Index, int Count, std::mt19937& Rng)
{
    const double t = Index;
    switch (s) {
    case Scene::Still: return Clip8(Texture(x, y, 0));
    case Scene::Pan: {
        const bool bBlock = std::abs(x - (20 + 3 * Index)) < 14 && std::abs(y - 40) < 18;
        return Clip8(bBlock ? Texture(x - 3.25 * t, y + t, 5) : Texture(x + 2.6 * t, y + 0.7 * t, 0));
    }
    case Scene::Noise: return static_cast<uint8_t>(Rng());
    case Scene::Turns: return Clip8(Texture(x + 0.5 * t, y, Index % 2 ? 0 : 9));
    case Scene::Cut: return Clip8(Texture(x, y, Index < Count / 2 ? 0 : 9));
    case Scene::Mixed:
        if (x < 24 && y < 24) return static_cast<uint8_t>(Rng());
        if (std::abs(x - (30 + 5 * Index)) < 12 && std::abs(y - 30) < 12) return Clip8(Texture(x - 5.0 * t, y, 3));
        return Clip8(Texture(x, y, 0));
    }
    return 0;
}

/// I420 pictures; chroma is the scene at half size with another phase.
inline std::vector<Picture> MakeClip(Scene s, int32_t Width, int32_t Height, int Count)
{
    std::mt19937 Rng(20);
    std::vector<Picture> Clip;
    for (int i = 0; i < Count; ++i) {
        Picture p;
        for (int Plane = 0; Plane < 3; ++Plane) {
            const int w = Plane ? (Width + 1) / 2 : Width, h = Plane ? (Height + 1) / 2 : Height;
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x)
                    p.push_back(SampleOf(s, Plane ? 2 * x + 7 * Plane : x, Plane ? 2 * y : y, i, Count, Rng));
        }
        Clip.push_back(std::move(p));
    }
    return Clip;
}

struct AccessUnit {
    UMC::Status Result;
    int32_t Type; // 1 I, 2 P, 3 B
    double Time;
    std::vector<uint8_t> Bytes;
};

/// An encoder, and what came out of it.
class Driver
{
public:
    explicit Driver(const UMC::H264EncoderParams& Params) : m_Params(Params)
    {
        m_InitResult = m_Encoder.Init(&m_Params);
        m_Input.Init(Params.m_Info.m_Width, Params.m_Info.m_Height, UMC::YUV420, 8);
        m_Buffer.resize(4 * m_Input.GetMappingSize() + 65536);
    }

    UMC::Status InitResult() const { return m_InitResult; }
    UMC::H264VideoEncoder& Encoder() { return m_Encoder; }
    const UMC::H264EncoderParams& Params() const { return m_Params; }

    /// @param Room  bytes of the output buffer
    AccessUnit Encode(Picture& p, int32_t AskedType = 0, size_t Room = SIZE_MAX)
    {
        m_Input.SetBufferPointer(p.data(), p.size());
        m_Input.SetFrameType(AskedType);
        m_Input.SetTime(m_Count++);
        return Turn(&m_Input, Room);
    }
    AccessUnit Flush() { return Turn(nullptr, SIZE_MAX); }

    std::vector<uint8_t> Stream;         // all access units
    std::vector<Picture> Reconstruction; // one for each, cropped, in coding order

private:
    AccessUnit Turn(UMC::VideoData* pInput, size_t Room)
    {
        UMC::MediaData Output;
        Output.SetBufferPointer(m_Buffer.data(), Room < m_Buffer.size() ? Room : m_Buffer.size());
        AccessUnit u{};
        u.Result = m_Encoder.GetFrame(pInput, &Output);
        u.Type = Output.GetFrameType();
        u.Time = Output.GetTime();
        const auto* const pData = static_cast<const uint8_t*>(Output.GetDataPointer());
        u.Bytes.assign(pData, pData + Output.GetDataSize());
        Stream.insert(Stream.end(), u.Bytes.begin(), u.Bytes.end());
        if (u.Result == UMC::StatusOk && !u.Bytes.empty()) Reconstruction.push_back(CopyReconstruction());
        return u;
    }

    Picture CopyReconstruction()
    {
        const UMC::VideoData& v = *m_Encoder.GetReconstruction();
        Picture p;
        for (int Plane = 0; Plane < 3; ++Plane) {
            UMC::PlaneInfo Info{};
            v.GetPlaneInfo(&Info, Plane);
            for (int y = 0; y < Info.m_Height; ++y) {
                const uint8_t* const pRow = Info.m_pPlane + static_cast<ptrdiff_t>(y) * Info.m_Pitch;
                p.insert(p.end(), pRow, pRow + Info.m_Width);
            }
        }
        return p;
    }

    UMC::H264EncoderParams m_Params;
    UMC::H264VideoEncoder m_Encoder;
    UMC::Status m_InitResult;
    UMC::VideoData m_Input;
    std::vector<uint8_t> m_Buffer;
    double m_Count = 0.0;
};

inline UMC::H264EncoderParams SizedParams(int32_t Width, int32_t Height)
{
    UMC::H264EncoderParams p;
    p.m_Info.m_Width = Width;
    p.m_Info.m_Height = Height;
    return p;
}

struct NalUnit {
    int32_t RefIdc, Type;
    bool bLongStartCode;
    std::vector<uint8_t> Payload; // emulation prevention still in it
};

/// The units of a byte stream.
inline std::vector<NalUnit> SplitNalUnits(const std::vector<uint8_t>& s)
{
    std::vector<NalUnit> Units;
    size_t Start = 0;
    const auto IsStart = [&s](size_t i) { return i + 3 < s.size() && s[i] == 0 && s[i + 1] == 0 && s[i + 2] == 1; };
    for (size_t i = 0; i < s.size(); ++i) {
        if (!IsStart(i)) continue;
        if (!Units.empty()) {
            const size_t End = i > 0 && s[i - 1] == 0 ? i - 1 : i;
            Units.back().Payload.assign(s.begin() + static_cast<ptrdiff_t>(Start),
                                        s.begin() + static_cast<ptrdiff_t>(End));
        }
        Units.push_back({s[i + 3] >> 5, s[i + 3] & 31, i > 0 && s[i - 1] == 0, {}});
        Start = i + 4;
        i += 3;
    }
    if (!Units.empty()) Units.back().Payload.assign(s.begin() + static_cast<ptrdiff_t>(Start), s.end());
    return Units;
}

} // namespace encoder_testing
