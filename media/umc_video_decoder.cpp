#include "media/umc_video_decoder.h"

namespace UMC {

Status VideoDecoder::GetInfo(BaseCodecParams* pParams)
{
    auto* const pDecoderParams = DynamicCast<VideoDecoderParams>(pParams);
    if (!pDecoderParams) return StatusNullPointer;
    pDecoderParams->m_Info = m_ClipInfo;
    return StatusOk;
}

Status VideoDecoder::SetParams(BaseCodecParams* pParams)
{
    const auto* const pDecoderParams = DynamicCast<VideoDecoderParams>(pParams);
    if (!pDecoderParams) return StatusNullPointer;
    m_ClipInfo = pDecoderParams->m_Info;
    return StatusOk;
}

Status VideoDecoder::ApplyPostProcessing(MediaData* pOutput, BaseCodec* pProcessing)
{
    if (!pProcessing) pProcessing = m_pPostProcessing;
    return pProcessing ? pProcessing->GetFrame(&m_LastDecodedFrame, pOutput) : StatusNotInitialized;
}

} // namespace UMC
