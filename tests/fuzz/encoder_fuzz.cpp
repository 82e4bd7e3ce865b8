// The encoder with arbitrary settings on tiny pictures: a known status, or a stream that our decoder takes.
#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "encoder/session/make_settings.h"
#include "encoder/session/video_encoder.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/fuzz/fuzz_require.h"
#include "tools/h264_decode/stream_decoder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <span>
#include <vector>

namespace {

using UMC::H264EncoderParams;

constexpr int32_t kMaxSide = 40, kMaxTurns = 10; // bound the time of one input

// Takes choices from the input; zeros when nothing is left of it.
class Choices
{
public:
    explicit Choices(std::span<const uint8_t> Input) : m_Left(Input) {}

    uint8_t Byte()
    {
        if (m_Left.empty()) return 0;
        const uint8_t b = m_Left[0];
        m_Left = m_Left.subspan(1);
        return b;
    }
    int32_t In(int32_t Low, int32_t High) { return Low + Byte() % (High - Low + 1); }
    /// Of a field: as it was, something in and around its range, or anything at all.
    template <class T>
    void Set(T& Field, int32_t Low, int32_t High)
    {
        const uint8_t b = Byte();
        if (b >= 240) {
            uint32_t Word = 0;
            for (int i = 0; i < 4; ++i) Word = Word << 8 | Byte();
            Field = static_cast<T>(Word);
        } else if (b > 0)
            Field = static_cast<T>(Low + (b - 1) % (High - Low + 1));
    }

private:
    std::span<const uint8_t> m_Left;
};

void SetTools(Choices& c, H264EncoderParams& p)
{
    c.Set(p.partition_level, 0, 3);
    c.Set(p.analysis_level, 0, 5);
    c.Set(p.search_method, 0, 9);
    p.search_x = c.In(-1, 9), p.search_y = c.In(-1, 9); // all points of any range would take too long
    c.Set(p.entropy_coding_mode, 0, 1);
    c.Set(p.cabac_init_idc, 0, 3);
    c.Set(p.transform_8x8_mode, 0, 1);
    c.Set(p.use_default_scaling_matrix, 0, 1);
    c.Set(p.qpprime_y_zero_transform_bypass, 0, 1);
    c.Set(p.direct_pred_mode, 0, 3);
    c.Set(p.direct_8x8_inference, 0, 1);
    c.Set(p.use_weighted_pred, 0, 1);
    c.Set(p.use_weighted_bipred, 0, 1);
    c.Set(p.use_implicit_weighted_bipred, 0, 1);
    c.Set(p.deblocking_filter_idc, 0, 3);
    c.Set(p.deblocking_alpha_offset, -7, 7);
    c.Set(p.deblocking_beta_offset, -7, 7);
}

void SetPictures(Choices& c, H264EncoderParams& p)
{
    c.Set(p.coding_type, 0, 2);
    c.Set(p.num_b_frames, -1, 4);
    c.Set(p.b_ref_mode, -1, 3);
    c.Set(p.num_ref_frames, -1, 17);
    c.Set(p.num_ref_to_start_b, -1, 3);
    c.Set(p.num_slices, -1, 4);
    c.Set(p.key_frame_method, 0, 2);
    c.Set(p.key_frame_interval, -1, 5);
    c.Set(p.idr_interval, -1, 3);
    c.Set(p.keep_pattern_at_key, 0, 1);
    c.Set(p.write_access_unit_delimiters, 0, 1);
}

void SetRate(Choices& c, H264EncoderParams& p)
{
    constexpr double kRates[]{30.0, 0.0, -1.0, 0.001, 1e9, 15.0, 60.0, std::numeric_limits<double>::quiet_NaN()};
    c.Set(p.rate_control_method, -1, 4);
    c.Set(p.quant_i, 0, 60);
    c.Set(p.quant_p, 0, 60);
    c.Set(p.quant_b, 0, 60);
    c.Set(p.m_Info.m_Bitrate, -1, 100);
    p.m_Info.m_FrameRate = kRates[c.Byte() % 8];
    c.Set(p.level_idc, 0, 60);
}

void SetFormat(Choices& c, H264EncoderParams& p)
{
    constexpr int32_t kProfiles[]{77, 66, 88, 100, 110, 122, 144, 77};
    p.m_Info.m_Width = (c.Byte() + 16) % (kMaxSide + 1), p.m_Info.m_Height = (c.Byte() + 16) % (kMaxSide + 1);
    p.profile_idc = kProfiles[c.Byte() % 8];
    c.Set(p.chroma_format_idc, 0, 2);
    c.Set(p.bit_depth_luma, 8, 12);
    c.Set(p.bit_depth_chroma, 8, 12);
    c.Set(p.aux_format_idc, 0, 3);
    c.Set(p.bit_depth_aux, 8, 12);
    c.Set(p.alpha_incr_flag, 0, 1);
    c.Set(p.alpha_opaque_value, 0, 255);
    c.Set(p.alpha_transparent_value, 0, 255);
}

// Analysis flags that no setting asks for.
uint32_t FurtherFlags(Choices& c)
{
    using namespace UMC_H264_ENCODER;
    constexpr uint32_t kFlags[]{ENC_ANALYSE_FRAME_TYPE, ENC_ANALYSE_SCENE_CUT, ENC_ANALYSE_CBP_EMPTY};
    const uint8_t Which = c.Byte();
    uint32_t Flags = 0;
    for (int i = 0; i < 3; ++i) Flags |= Which >> i & 1 ? kFlags[i] : 0;
    return Flags;
}

// The core with such flags, which the encoder's front has no way to ask for.
template <class Sample>
class CoreEncoder
{
public:
    explicit CoreEncoder(uint32_t Flags) : m_Flags(Flags) {}

    UMC::Status Init(const H264EncoderParams* pParams)
    try {
        const UMC::Status s = UMC_H264_ENCODER::MakeSettings<Sample>(*pParams, m_Core.Settings);
        if (s != UMC::StatusOk) return s;
        m_Core.Settings.AnalysisFlags |= m_Flags;
        return UMC_H264_ENCODER::BuildCore(m_Core, &m_Allocator);
    } catch (const std::bad_alloc&) {
        return UMC::StatusAllocFailed;
    }
    UMC::Status GetFrame(UMC::VideoData* pInput, UMC::MediaData* pOutput)
    {
        m_Core.Request = pInput ? 0u : uint32_t{UMC_H264_ENCODER::REQUEST_FLUSH};
        const UMC::Status s = UMC_H264_ENCODER::FrameStep(m_Core, pInput, pOutput);
        if (!(m_Core.State & UMC_H264_ENCODER::STATE_NEED_INPUT)) return s;
        return pInput ? UMC::StatusOk : UMC::StatusEndOfSegment;
    }
    UMC::Status GetInfo(H264EncoderParams* pParams) const
    {
        *pParams = m_Core.Settings.Params;
        return UMC::StatusOk;
    }

private:
    UMC::DefaultMemoryAllocator m_Allocator; // outlives the core
    UMC_H264_ENCODER::EncoderCore<Sample> m_Core;
    uint32_t m_Flags;
};

bool IsDeep(const H264EncoderParams& p) { return UMC_H264_ENCODER::CodedBitDepth(p) > 8; }

// Pictures as the settings ask for, and room for what they become.
class Session
{
public:
    explicit Session(const H264EncoderParams& p) : m_Pixels(8 * kMaxSide * kMaxSide), m_Room(1 << 18)
    {
        constexpr UMC::ColorFormat kLayouts[2][3]{{UMC::GRAY, UMC::YUV420, UMC::YUV422},
                                                  {UMC::GRAYA, UMC::YUVA420, UMC::YUVA422}};
        const UMC::ColorFormat Layout = kLayouts[p.aux_format_idc != 0][std::clamp(p.chroma_format_idc, 0, 2)];
        m_Input.Init(p.m_Info.m_Width, p.m_Info.m_Height, Layout, IsDeep(p) ? 12 : 8);
    }
    template <class Encoder>
    UMC::Status Turn(Encoder& e, bool IsFlush, Choices& c)
    {
        const size_t Seed = c.Byte(), Room = c.Byte();
        for (size_t i = 0; i < m_Pixels.size(); ++i)
            m_Pixels[i] = static_cast<uint8_t>(Seed < 128 ? Seed + i / 16 : (i + 1) * (i ^ 0x55) * Seed >> 4);
        m_Input.SetBufferPointer(m_Pixels.data(), m_Pixels.size());
        m_Input.SetFrameType(c.Byte() % 8 == 1 ? c.Byte() % 4 : 0);
        // Few of them leave less room than a picture takes. What lies behind the room is somebody else's.
        std::vector<uint8_t> Buffer(Room >= 250 ? (Room - 250) * 40 : m_Room);
        UMC::MediaData Output;
        Output.SetBufferPointer(Buffer.data(), Buffer.size());
        const UMC::Status s = e.GetFrame(IsFlush ? nullptr : &m_Input, &Output);
        m_Units += Output.GetDataSize() > 0;
        m_Stream.insert(m_Stream.end(), Buffer.data(), Buffer.data() + Output.GetDataSize());
        return s;
    }
    const std::vector<uint8_t>& Stream() const { return m_Stream; }
    size_t Units() const { return m_Units; }

private:
    UMC::VideoData m_Input;
    std::vector<uint8_t> m_Pixels, m_Stream;
    size_t m_Room, m_Units = 0;
};

bool IsStatusOfInit(UMC::Status s)
{
    return s == UMC::StatusOk || s == UMC::StatusInvalidParams || s == UMC::StatusNotImplemented ||
           s == UMC::StatusInitFailed || s == UMC::StatusAllocFailed; // for B pictures without end
}

bool IsStatusOfPicture(UMC::Status s)
{
    return s == UMC::StatusOk || s == UMC::StatusInvalidParams || s == UMC::StatusNotEnoughData ||
           s == UMC::StatusUnsupported || s == UMC::StatusNotEnoughBuffer || s == UMC::StatusEndOfSegment;
}

// Transform bypass is coded with any profile, but the sets of those below High 10 cannot tell.
bool IsDeclared(const H264EncoderParams& p) { return !p.qpprime_y_zero_transform_bypass || p.profile_idc >= 110; }

void CheckStream(const H264EncoderParams& p, const Session& s)
{
    size_t Pictures = 0;
    tools::StreamDecoder Decoder([&](const UMC::VideoData&) { ++Pictures; }, 1, false);
    if (!s.Stream().empty()) Decoder.Feed(s.Stream());
    Decoder.Drain();
    if (!IsDeclared(p)) return;
    fuzz::Require(Decoder.LastFault() == UMC::StatusOk, "the decoder takes the stream");
    fuzz::Require(Pictures == s.Units(), "every picture is decoded");
}

template <class Encoder>
void Live(Encoder&& e, H264EncoderParams& p, int32_t Turns, Choices& c)
{
    const UMC::Status Begun = e.Init(&p);
    fuzz::Require(IsStatusOfInit(Begun), "statuses of Init");
    if (Begun != UMC::StatusOk) return;
    Session s(p);
    for (int32_t i = 0; i < Turns; ++i) fuzz::Require(IsStatusOfPicture(s.Turn(e, false, c)), "statuses of a picture");
    UMC::Status Last = UMC::StatusOk;
    for (int32_t i = 0; i <= Turns && Last != UMC::StatusEndOfSegment; ++i) Last = s.Turn(e, true, c);
    fuzz::Require(Last == UMC::StatusEndOfSegment, "a flush ends");
    H264EncoderParams InForce;
    fuzz::Require(e.GetInfo(&InForce) == UMC::StatusOk, "settings in force");
    CheckStream(InForce, s);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t Size)
{
    Choices c({pData, Size});
    const int32_t Turns = c.In(1, kMaxTurns);
    H264EncoderParams p;
    SetFormat(c, p);
    SetPictures(c, p);
    SetTools(c, p);
    SetRate(c, p);
    const uint32_t Flags = FurtherFlags(c);
    if (Flags == 0) {
        Live(UMC::H264VideoEncoder(), p, Turns, c);
        return 0;
    }
    p.num_b_frames = std::min(p.num_b_frames, 2 * kMaxTurns); // the look-ahead has room for all of a run
    if (IsDeep(p))
        Live(CoreEncoder<uint16_t>(Flags), p, Turns, c);
    else
        Live(CoreEncoder<uint8_t>(Flags), p, Turns, c);
    return 0;
}
