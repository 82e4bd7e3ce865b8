#include "encoder/session/video_encoder.h"

#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "encoder/session/make_settings.h"
#include "encoder/session/tool_counts.h"

#include <new>
#include <utility>

namespace UMC {

using namespace UMC_H264_ENCODER;

namespace {

constexpr int32_t kCore8 = 0, kCore16 = 1;

// The planes that an input must have for an auxiliary picture to be coded.
bool HasWantedPlanes(const H264EncoderParams& p, const VideoData& Input)
{
    if (!p.aux_format_idc) return true;
    return p.chroma_format_idc ? Input.GetPlaneCount() >= 4 : Input.GetPlaneCount() == 2;
}

} // namespace

H264VideoEncoder::H264VideoEncoder() = default;
H264VideoEncoder::~H264VideoEncoder() = default;

Status H264VideoEncoder::Init(BaseCodecParams* pParams)
try {
    if (const Status s = VideoEncoder::Init(pParams); s != StatusOk) return s;
    const auto* const pVideo = DynamicCast<VideoEncoderParams>(pParams);
    if (!pVideo) return StatusInitFailed;
    const auto* const pFull = DynamicCast<H264EncoderParams>(pParams);
    core_kind = -1;
    m_pCore8.reset();
    m_pCore16.reset();
    return pFull && CodedBitDepth(*pFull) > 8 ? Build(m_pCore16, *pVideo, kCore16) : Build(m_pCore8, *pVideo, kCore8);
} catch (const std::bad_alloc&) {
    return StatusAllocFailed;
}

template <class Sample>
Status H264VideoEncoder::Build(std::unique_ptr<EncoderCore<Sample>>& pCore, const VideoEncoderParams& Params,
                               int32_t Kind)
{
    auto pNew = std::make_unique<EncoderCore<Sample>>();
    if (const Status s = InitCore(*pNew, Params, m_pMemoryAllocator); s != StatusOk) return s;
    pCore = std::move(pNew);
    core_kind = Kind;
    return StatusOk;
}

template <class F, class T>
T H264VideoEncoder::WithCore(T Otherwise, F&& f) const
{
    switch (core_kind) {
    case kCore8: return f(*m_pCore8);
    case kCore16: return f(*m_pCore16);
    default: return Otherwise;
    }
}

Status H264VideoEncoder::GetFrame(MediaData* pInput, MediaData* pOutput)
{
    return WithCore(Status{StatusNotInitialized}, [&](auto& c) -> Status {
        if (!pOutput) return StatusNullPointer;
        auto* const pPicture = DynamicCast<VideoData>(pInput);
        if (pInput && (!pPicture || !HasWantedPlanes(c.Settings.Params, *pPicture))) return StatusInvalidParams;
        c.Request = pInput ? 0u : static_cast<uint32_t>(REQUEST_FLUSH);
        const Status s = FrameStep(c, pPicture, pOutput);
        if (c.State & STATE_NEED_INPUT) return pInput ? StatusOk : StatusEndOfSegment;
        if (s == StatusOk) pOutput->SetFrameType(c.Job.pCurrent->frame_type + 1);
        return s;
    });
}

Status H264VideoEncoder::GetInfo(BaseCodecParams* pParams)
{
    if (!pParams) return StatusNullPointer;
    return WithCore(Status{StatusNotInitialized}, [&](const auto& c) -> Status {
        auto* const pVideo = DynamicCast<VideoEncoderParams>(pParams);
        if (!pVideo) return StatusInvalidParams;
        if (auto* const pFull = DynamicCast<H264EncoderParams>(pParams))
            *pFull = c.Settings.Params;
        else
            *pVideo = c.Settings.Params;
        pVideo->m_Info.m_Bitrate = c.Sequence.bitrate;
        pVideo->m_Info.m_FrameRate = c.Sequence.frame_rate;
        pVideo->m_Quality = 100; // no count of losses is kept, so the share of them is always 0
        pVideo->m_Info.m_StreamType = kStreamTypeH264;
        return StatusOk;
    });
}

Status H264VideoEncoder::SetParams(BaseCodecParams* pParams)
{
    const auto* const pVideo = DynamicCast<VideoEncoderParams>(pParams);
    if (!pVideo) return StatusNullPointer;
    return WithCore(Status{StatusNotInitialized},
                    [&](auto& c) -> Status { return SetCoreRate(c.Settings, c.Sequence, *pVideo); });
}

const VideoData* H264VideoEncoder::GetReconstruction() const
{
    return WithCore<>(static_cast<const VideoData*>(nullptr),
                      [](const auto& c) -> const VideoData* { return c.Job.pCurrent; });
}

int32_t H264VideoEncoder::GetDisplayOrder() const
{
    return WithCore(-1, [](const auto& c) { return c.Job.pCurrent ? c.Job.pCurrent->display_order / 2 : -1; });
}

void H264VideoEncoder::AddToolCounts(ToolCounts& Counts) const
{
    WithCore(false, [&Counts](const auto& c) {
        UMC_H264_ENCODER::AddToolCounts(c, Counts);
        return true;
    });
}

} // namespace UMC
