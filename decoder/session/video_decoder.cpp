#include "decoder/session/video_decoder.h"

#include "decoder/session/task_supplier.h"
#include "decoder/stream/exception.h"
#include "process/video_processing.h"

#include <new>

namespace UMC {

namespace {

constexpr Status kPartialStatus = 1; // taken for "more data needed"
constexpr uint32_t kRateTrickMode = 7;

// Runs a step and turns what it throws into a status.
template <class Step>
Status Guarded(Step&& Run) noexcept
try {
    return Run();
} catch (const h264_exception& Fault) {
    return Fault.GetStatus();
} catch (const std::bad_alloc&) {
    return StatusAllocFailed;
} catch (...) {
    return StatusFailed;
}

} // namespace

H264VideoDecoder::H264VideoDecoder() = default;
H264VideoDecoder::~H264VideoDecoder() { H264VideoDecoder::Close(); }

Status H264VideoDecoder::Init(BaseCodecParams* pParams)
{
    auto* const pDecoderParams = DynamicCast<VideoDecoderParams>(pParams);
    if (!pDecoderParams) return StatusNullPointer;
    Close();
    const Status Base = VideoDecoder::Init(pParams);
    if (Base != StatusOk) return Base;
    Status Result = InitSupplier(*pDecoderParams);
    if (Result != StatusOk) return Result;
    MediaData* const pData = pDecoderParams->m_pData;
    if (pData && pData->GetDataSize() != 0) Result = Guarded([&] { return ReadHeaders(*pData); });
    m_IsInitialized = true;
    return Result;
}

Status H264VideoDecoder::InitSupplier(const VideoDecoderParams& Params)
try {
    m_pSupplier = std::make_unique<TaskSupplier>(&m_LastDecodedFrame, &m_pPostProcessing, m_pMemoryAllocator);
    m_pPostProcessing = Params.m_pPostProcessing;
    m_OwnsConverter = !m_pPostProcessing;
    if (m_OwnsConverter) m_pPostProcessing = new VideoProcessing;
    return m_pSupplier->Init(Params);
} catch (...) {
    return StatusFailed;
}

// Parameter sets up to the first slice.
Status H264VideoDecoder::ReadHeaders(MediaData& Input)
{
    Status Result = StatusNotEnoughData;
    for (size_t Before = 0;
         Result == StatusNotEnoughData && Input.GetDataSize() > kMinInput && Before != Input.GetDataSize();) {
        Before = Input.GetDataSize();
        Result = m_pSupplier->ConsumeSource(&Input, nullptr);
    }
    return Result == StatusNotEnoughData || Result == StatusNullPointer ? StatusOk : Result;
}

Status H264VideoDecoder::GetFrame(MediaData* pInput, MediaData* pOutput)
{
    if (!m_IsInitialized) return StatusNotInitialized;
    auto* const pPicture = DynamicCast<VideoData>(pOutput);
    if (!pPicture) return StatusNullPointer;
    pPicture->SetDataSize(0);
    if (!pInput) return Guarded([&] { return Flush(*pPicture); });
    if (pInput->GetDataSize() < kMinInput) {
        pInput->MoveDataPointer(static_cast<int32_t>(pInput->GetDataSize()));
        return StatusNotEnoughData;
    }
    return Guarded([&] { return Feed(*pInput, *pPicture); });
}

// Only here can a skipped picture's data size of 1 reach the caller, with status 0.
Status H264VideoDecoder::Flush(VideoData& Output)
{
    do {
        m_pSupplier->ConsumeSource(nullptr, &Output);
        if (Output.GetDataSize() == 0) m_pSupplier->DeliverFrame(&Output, true);
    } while (Output.GetDataSize() == 0 && m_pSupplier->HasKeptUnit());
    return Output.GetDataSize() != 0 ? StatusOk : StatusNotEnoughData;
}

// A fault does not end the call: units behind a bad one are as good as ever.
Status H264VideoDecoder::Feed(MediaData& Input, VideoData& Output)
{
    Status Fault = StatusOk; // the first one
    for (bool GoesOn = true; GoesOn;) {
        const size_t Before = Input.GetDataSize();
        const Status Result = Guarded([&] { return m_pSupplier->ConsumeSource(&Input, &Output); });
        const bool IsFault = Result != StatusOk && Result != StatusNotEnoughData && Result != kPartialStatus;
        if (IsFault && Fault == StatusOk) Fault = Result;
        GoesOn = IsFault ? Result != StatusAllocFailed && Input.GetDataSize() < Before : Result == StatusNotEnoughData;
        GoesOn &= Input.GetDataSize() > kMinInput || m_pSupplier->HasKeptUnit();
    }
    if (Fault == StatusOk && Output.GetDataSize() == 0) m_pSupplier->DeliverFrame(&Output, false);
    if (Output.GetDataSize() == kSkippedPictureMark) Output.SetDataSize(0);
    if (Output.GetDataSize() != 0) return StatusOk;
    return Fault != StatusOk ? Fault : Status{StatusNotEnoughData};
}

Status H264VideoDecoder::GetInfo(BaseCodecParams* pParams)
{
    if (!m_IsInitialized) return StatusNotInitialized;
    auto* const pDecoderParams = DynamicCast<VideoDecoderParams>(pParams);
    if (!pDecoderParams) return StatusNullPointer;
    const Status Base = VideoDecoder::GetInfo(pParams);
    return Base != StatusOk ? Base : m_pSupplier->GetInfo(*pDecoderParams);
}

Status H264VideoDecoder::Close()
{
    m_IsInitialized = false;
    m_pSupplier.reset();
    if (m_OwnsConverter) delete m_pPostProcessing;
    m_pPostProcessing = nullptr;
    m_OwnsConverter = false;
    VideoDecoder::Close();
    return StatusOk;
}

Status H264VideoDecoder::Reset()
{
    if (!m_IsInitialized) return StatusNotInitialized;
    return Guarded([&] {
        m_pSupplier->Reset();
        return StatusOk;
    });
}

Status H264VideoDecoder::SetParams(BaseCodecParams* pParams)
{
    const auto* const pDecoderParams = DynamicCast<VideoDecoderParams>(pParams);
    if (!pDecoderParams) return StatusNullPointer;
    if (m_pSupplier && pDecoderParams->m_TrickMode == kRateTrickMode)
        m_pSupplier->SetPlaybackRate(pDecoderParams->m_PlaybackRate);
    return VideoDecoder::SetParams(pParams);
}

Status H264VideoDecoder::GetUserData(MediaData* pOutput)
{
    if (!pOutput) return StatusNullPointer;
    const H264DecoderFrame* const pFrame = m_pSupplier ? m_pSupplier->LastDisplayed() : nullptr;
    if (!pFrame || pFrame->m_UserData.PayloadType != SEI_USER_DATA_REGISTERED || pFrame->m_UserData.PayloadSize == 0)
        return StatusNotEnoughData;
    // MediaData has no view of constant bytes; the record stays the decoder's.
    auto* const pBytes = const_cast<uint8_t*>(pFrame->m_UserData.user_data.data());
    pOutput->SetBufferPointer(pBytes, pFrame->m_UserData.PayloadSize);
    pOutput->SetDataSize(pFrame->m_UserData.PayloadSize);
    pOutput->SetTime(pFrame->m_Time);
    return StatusOk;
}

Status H264VideoDecoder::ChangeVideoDecodingSpeed(int32_t* pStep)
{
    if (!m_IsInitialized) return StatusNotInitialized;
    if (!pStep) return StatusNullPointer;
    m_pSupplier->ChangeVideoDecodingSpeed(*pStep);
    return StatusOk;
}

Status H264VideoDecoder::GetSkipInfo(bool* pIsDeblockingReduced, int32_t* pSkippedFrames)
{
    if (!m_IsInitialized) return StatusNotInitialized;
    const Skipping::SkipInfo Info = m_pSupplier->GetSkipInfo();
    if (pIsDeblockingReduced) *pIsDeblockingReduced = Info.IsDeblockingReduced;
    if (pSkippedFrames) *pSkippedFrames = Info.SkippedFrames;
    return StatusOk;
}

} // namespace UMC
