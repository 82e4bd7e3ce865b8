// What the encoder's tests share: pictures that move, and an encoder driven over them.
#pragma once

#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "encoder/session/make_settings.h"
#include "encoder/session/tool_counts.h"
#include "encoder/session/video_encoder.h"
#include "media/umc_default_memory_allocator.h"
#include "media/umc_video_data.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace encoder_testing {

using Picture = std::vector<uint8_t>; // planes one behind the other; deep samples have two bytes, the low one first

struct ClipFormat {
    int32_t Chroma = 1; // chroma_format_idc
    int32_t LumaDepth = 8, ChromaDepth = 8;

    int Planes() const { return Chroma == 0 ? 1 : 3; }
    int32_t LargestDepth() const { return std::max(LumaDepth, ChromaDepth); } // of the samples that are there
    int32_t SampleBytes() const { return LargestDepth() > 8 ? 2 : 1; }
    int32_t PlaneWidth(int Plane, int32_t Width) const { return Plane ? (Width + 1) / 2 : Width; }
    int32_t PlaneHeight(int Plane, int32_t Height) const { return Plane && Chroma == 1 ? (Height + 1) / 2 : Height; }
    UMC::ColorFormat Layout() const { return Chroma == 0 ? UMC::GRAY : Chroma == 2 ? UMC::YUV422 : UMC::YUV420; }
};
inline ClipFormat FormatOf(const UMC::H264EncoderParams& p)
{
    return {p.chroma_format_idc, p.bit_depth_luma, p.bit_depth_chroma};
}

/// Contents of a test clip, all of them the same on every run.
enum class Scene {
    Still, // one textured picture again and again
    Pan,   // texture that moves by fractions of a sample, with a block that moves the other way
    Noise, // nothing like the picture before
    Cut,   // the texture changes at once in the middle
    Turns, // two textures by turns: the picture before the last is the one to predict from
    Woven, // texture that moves, every second line half a picture later: fields of their own times
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
    case Scene::Woven: {
        const double Moment = t + 0.5 * (y & 1);
        const bool bBlock = std::abs(x - 40) < 20 && std::abs(y - 40) < 24;
        return Clip8(bBlock ? Texture(x, y - 1.3 * Moment, 5) : Texture(x + 2.6 * Moment, y + 0.7 * Moment, 0));
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

/// I420 pictures, or those of another format; chroma is the scene at its size with another phase. The bits of deep
/// samples below the eighth are a pattern that moves.
inline std::vector<Picture> MakeClip(Scene s, int32_t Width, int32_t Height, int Count, const ClipFormat& f = {})
{
    std::mt19937 Rng(20);
    std::vector<Picture> Clip;
    for (int i = 0; i < Count; ++i) {
        Picture p;
        for (int Plane = 0; Plane < f.Planes(); ++Plane) {
            const int w = f.PlaneWidth(Plane, Width), h = f.PlaneHeight(Plane, Height);
            const int RowStep = h < Height ? 2 : 1, Below8 = (Plane ? f.ChromaDepth : f.LumaDepth) - 8;
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    const int v = SampleOf(s, Plane ? 2 * x + 7 * Plane : x, RowStep * y, i, Count, Rng);
                    const int Deep = v << Below8 | ((3 * x + 5 * y + i) & ((1 << Below8) - 1));
                    p.push_back(static_cast<uint8_t>(Deep));
                    if (f.SampleBytes() == 2) p.push_back(static_cast<uint8_t>(Deep >> 8));
                }
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

/// A picture to be given to an encoder, without samples yet.
/// @param LeastDepth  9 makes all samples of two bytes, whatever they hold
inline void InitInput(const UMC::H264EncoderParams& p, UMC::VideoData& Input, int32_t LeastDepth = 8)
{
    const ClipFormat f = FormatOf(p);
    Input.Init(p.m_Info.m_Width, p.m_Info.m_Height, f.Layout(), std::max(f.LargestDepth(), LeastDepth));
    for (int Plane = 0; Plane < f.Planes(); ++Plane) Input.SetPlaneBitDepth(Plane ? f.ChromaDepth : f.LumaDepth, Plane);
}

/// A stream, and the encoder's own pictures of it.
class CodedStream
{
public:
    const UMC::H264EncoderParams& Params() const { return m_Params; } // as they were asked for
    ClipFormat Format() const { return FormatOf(m_Params); }

    std::vector<uint8_t> Stream;         // all access units
    std::vector<Picture> Reconstruction; // one for each, cropped, in coding order
    std::vector<int32_t> Places;         // of these in display order

    std::vector<Picture> Displayed() const
    {
        std::map<int32_t, Picture> ByPlace;
        for (size_t i = 0; i < Places.size(); ++i) ByPlace[Places[i]] = Reconstruction[i];
        std::vector<Picture> Pictures;
        for (auto& [Place, p] : ByPlace) Pictures.push_back(std::move(p));
        return Pictures;
    }

protected:
    explicit CodedStream(const UMC::H264EncoderParams& Params) : m_Params(Params) {}
    void KeepReconstruction(const UMC::VideoData& v, int32_t Place)
    {
        Picture p;
        for (int Plane = 0; Plane < v.GetPlaneCount(); ++Plane) {
            UMC::PlaneInfo Info{};
            v.GetPlaneInfo(&Info, Plane);
            for (int y = 0; y < Info.m_Height; ++y) {
                const uint8_t* const pRow = Info.m_pPlane + static_cast<ptrdiff_t>(y) * Info.m_Pitch;
                p.insert(p.end(), pRow, pRow + Info.m_Width * Info.m_SampleBytes);
            }
        }
        Reconstruction.push_back(std::move(p));
        Places.push_back(Place);
    }

    UMC::H264EncoderParams m_Params;
};

/// An encoder, and what came out of it.
class Driver : public CodedStream
{
public:
    explicit Driver(const UMC::H264EncoderParams& Params) : CodedStream(Params)
    {
        m_InitResult = m_Encoder.Init(&m_Params);
        InitInput(Params, m_Input);
        m_Buffer.resize(4 * m_Input.GetMappingSize() + 65536);
    }

    UMC::Status InitResult() const { return m_InitResult; }
    UMC::H264VideoEncoder& Encoder() { return m_Encoder; }

    /// @param Room  bytes of the output buffer
    AccessUnit Encode(Picture& p, int32_t AskedType = 0, size_t Room = SIZE_MAX)
    {
        m_Input.SetBufferPointer(p.data(), p.size());
        m_Input.SetFrameType(AskedType);
        m_Input.SetTime(m_Count++);
        return Turn(&m_Input, Room);
    }
    AccessUnit Flush() { return Turn(nullptr, SIZE_MAX); }
    /// All of a clip, and what was held back of it. @return the types in coding order, as letters
    std::string EncodeAll(std::vector<Picture> Clip)
    {
        std::string Types;
        const auto Add = [&](const AccessUnit& u) {
            EXPECT_EQ(u.Result, UMC::StatusOk);
            if (!u.Bytes.empty()) Types += "?IPB"[u.Type];
            return u.Result == UMC::StatusOk;
        };
        for (Picture& p : Clip) Add(Encode(p));
        for (AccessUnit u = Flush(); u.Result != UMC::StatusEndOfSegment && Add(u);) u = Flush();
        return Types;
    }

    UMC_H264_ENCODER::ToolCounts Tools; // that all pictures together used

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
        if (u.Result == UMC::StatusOk && !u.Bytes.empty()) {
            KeepReconstruction(*m_Encoder.GetReconstruction(), m_Encoder.GetDisplayOrder());
            m_Encoder.AddToolCounts(Tools);
        }
        return u;
    }

    UMC::H264VideoEncoder m_Encoder;
    UMC::Status m_InitResult;
    UMC::VideoData m_Input;
    std::vector<uint8_t> m_Buffer;
    double m_Count = 0.0;
};

/// The core behind an encoder, whose settings a test may change once it is built.
template <class Sample>
class CoreDriver : public CodedStream
{
public:
    /// @param Flags  analysis flags beyond those that the settings come to
    explicit CoreDriver(const UMC::H264EncoderParams& Params, uint32_t Flags = 0)
        : CodedStream(Params), pCore(std::make_unique<UMC_H264_ENCODER::EncoderCore<Sample>>())
    {
        EXPECT_EQ(UMC_H264_ENCODER::MakeSettings<Sample>(Params, pCore->Settings), UMC::StatusOk);
        pCore->Settings.AnalysisFlags |= Flags;
        EXPECT_EQ(BuildCore(*pCore, &m_Allocator), UMC::StatusOk);
        InitInput(Params, m_Input, sizeof(Sample) == 1 ? 8 : 9);
        m_Buffer.resize(4 * m_Input.GetMappingSize() + 65536);
    }

    void EncodeAll(std::vector<Picture> Clip)
    {
        for (Picture& p : Clip) EXPECT_EQ(Encode(p), UMC::StatusOk);
        FlushAll();
    }
    /// @param Room  bytes of the output buffer
    UMC::Status Encode(const Picture& p, int32_t AskedType = 0, size_t Room = SIZE_MAX)
    {
        Picture Source = m_Input.GetMappingSize() == 2 * p.size() ? Widened(p) : p;
        m_Input.SetBufferPointer(Source.data(), Source.size());
        m_Input.SetFrameType(AskedType);
        pCore->Request = 0;
        return Turn(&m_Input, Room);
    }
    /// @return StatusEndOfSegment with nothing left
    UMC::Status Flush(size_t Room = SIZE_MAX)
    {
        pCore->Request = UMC_H264_ENCODER::REQUEST_FLUSH;
        return Turn(nullptr, Room);
    }
    void FlushAll()
    {
        for (UMC::Status s = UMC::StatusOk; s != UMC::StatusEndOfSegment;) {
            s = Flush();
            ASSERT_TRUE(s == UMC::StatusOk || s == UMC::StatusEndOfSegment) << s;
        }
    }
    /// Of what has been coded, in coding order: K for an IDR picture, I, P, B, or b for one that none refers to, each
    /// with its place in display order from 'a' on: "Ka Pd bb bc".
    const std::string& Order() const { return m_Order; }

private:
    UMC::DefaultMemoryAllocator m_Allocator; // outlives the core

public:
    std::unique_ptr<UMC_H264_ENCODER::EncoderCore<Sample>> pCore;
    const UMC_H264_ENCODER::H264EncoderFrame<Sample>* pLast = nullptr; // coded

private:
    static Picture Widened(const Picture& p)
    {
        Picture Wide(2 * p.size());
        for (size_t i = 0; i < p.size(); ++i) Wide[2 * i] = p[i];
        return Wide;
    }
    // As the encoder's front does it.
    UMC::Status Turn(UMC::VideoData* pInput, size_t Room)
    {
        UMC::MediaData Output;
        const size_t Size = std::min(Room, m_Buffer.size());
        std::fill(m_Buffer.begin(), m_Buffer.end(), kUnwritten);
        Output.SetBufferPointer(m_Buffer.data(), Size);
        const UMC::Status s = FrameStep(*pCore, pInput, &Output);
        EXPECT_TRUE(std::all_of(m_Buffer.begin() + static_cast<ptrdiff_t>(Size), m_Buffer.end(),
                                [](uint8_t b) { return b == kUnwritten; }));
        if (pCore->State & UMC_H264_ENCODER::STATE_NEED_INPUT) return pInput ? UMC::StatusOk : UMC::StatusEndOfSegment;
        if (s != UMC::StatusOk) return s;
        const auto* const pData = static_cast<const uint8_t*>(Output.GetDataPointer());
        Stream.insert(Stream.end(), pData, pData + Output.GetDataSize());
        pLast = pCore->Job.pCurrent;
        KeepReconstruction(*pLast, pLast->display_order / 2);
        const char Type = pLast->is_idr ? 'K' : "IPB"[pLast->frame_type];
        m_Order += m_Order.empty() ? "" : " ";
        m_Order += pCore->Job.picture_class == UMC_H264_ENCODER::CLASS_DISPOSABLE ? 'b' : Type;
        m_Order += static_cast<char>('a' + pLast->display_order / 2);
        return s;
    }

    static constexpr uint8_t kUnwritten = 0xA5;
    std::string m_Order;
    UMC::VideoData m_Input;
    std::vector<uint8_t> m_Buffer;
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
