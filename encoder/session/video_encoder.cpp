#include "encoder/session/video_encoder.h"

#include "encoder/session/core_init.h"
#include "encoder/session/frame_step.h"
#include "encoder/session/tool_counts.h"

#include <new>
#include <utility>

namespace UMC {

using namespace UMC_H264_ENCODER;

namespace {

constexpr int32_t kCore8 = 0;

bool NeedsDeepSamples(const H264EncoderParams& p)
{
    return p.bit_depth_luma > 8 || p.bit_depth_chroma > 8 || (p.aux_format_idc && p.bit_depth_aux > 8);
}

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
    if (pFull && NeedsDeepSamples(*pFull)) return StatusNotImplemented;
    auto pCore = std::make_unique<Core8>();
    if (const Status s = InitCore(*pCore, *pVideo, m_pMemoryAllocator); s != StatusOk) return s;
    m_pCore8 = std::move(pCore);
    core_kind = kCore8;
    return StatusOk;
} catch (const std::bad_alloc&) {
    return StatusAllocFailed;
}

Status H264VideoEncoder::GetFrame(MediaData* pInput, MediaData* pOutput)
{
    if (core_kind != kCore8) return StatusNotInitialized;
    if (!pOutput) return StatusNullPointer;
    Core8& c = *m_pCore8;
    auto* const pPicture = DynamicCast<VideoData>(pInput);
    if (pInput && (!pPicture || !HasWantedPlanes(c.Settings.Params, *pPicture))) return StatusInvalidParams;
    c.Request = pInput ? 0u : static_cast<uint32_t>(REQUEST_FLUSH);
    const Status s = FrameStep(c, pPicture, pOutput);
    if (c.State & STATE_NEED_INPUT) return pInput ? StatusOk : StatusEndOfSegment;
    if (s == StatusOk) pOutput->SetFrameType(c.Job.pCurrent->frame_type + 1);
    return s;
}

Status H264VideoEncoder::GetInfo(BaseCodecParams* pParams)
{
    if (!pParams) return StatusNullPointer;
    if (core_kind != kCore8) return StatusNotInitialized;
    auto* const pVideo = DynamicCast<VideoEncoderParams>(pParams);
    if (!pVideo) return StatusInvalidParams;
    if (auto* const pFull = DynamicCast<H264EncoderParams>(pParams))
        *pFull = m_pCore8->Settings.Params;
    else
        *pVideo = m_pCore8->Settings.Params;
    pVideo->m_Info.m_Bitrate = m_pCore8->Sequence.bitrate;
    pVideo->m_Info.m_FrameRate = m_pCore8->Sequence.frame_rate;
    pVideo->m_Quality = 100; // no count of losses is kept, so the share of them is always 0
    pVideo->m_Info.m_StreamType = kStreamTypeH264;
    return StatusOk;
}

Status H264VideoEncoder::SetParams(BaseCodecParams* pParams)
{
    const auto* const pVideo = DynamicCast<VideoEncoderParams>(pParams);
    if (!pVideo) return StatusNullPointer;
    if (core_kind != kCore8) return StatusNotInitialized;
    return SetCoreRate(m_pCore8->Settings, m_pCore8->Sequence, *pVideo);
}

const VideoData* H264VideoEncoder::GetReconstruction() const
{
    return core_kind == kCore8 ? m_pCore8->Job.pCurrent : nullptr;
}

int32_t H264VideoEncoder::GetDisplayOrder() const
{
    return core_kind == kCore8 && m_pCore8->Job.pCurrent ? m_pCore8->Job.pCurrent->display_order / 2 : -1;
}

void H264VideoEncoder::AddToolCounts(ToolCounts& Counts) const
{
    if (core_kind == kCore8) UMC_H264_ENCODER::AddToolCounts(*m_pCore8, Counts);
}

} // namespace UMC
