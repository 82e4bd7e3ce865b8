#include "NVIDIA/VCodecH264nv.h"

#include "Common/h/deleting_destructor.h"
#include "front/driver_frame.h"
#include "front/stdafx.h"

#define QUILVEX_SOURCE "VCodecH264nv"

namespace {

constexpr char kReset[] = "CVCodecH264nv::Reset()";

} // namespace

CVCodecH264nv::CVCodecH264nv(int32_t iArgument) : m_iArgument(iArgument), m_Encoder(iArgument), m_Decoder(iArgument) {}

CVCodecH264nv::~CVCodecH264nv()
{
    CVCodecH264nv::Reset();
    // A fault in that has left something, which each side goes on to give up.
    RunInDriverFrame(kReset, [this] { m_Encoder.~CH264nvEnc(); });
    RunInDriverFrame(kReset, [this] { m_Decoder.~CH264nvDec(); });
}

void* CVCodecH264nv::DeletingDestructor(uint32_t iFlags) { return DestroyObject(this, iFlags); }

int32_t CVCodecH264nv::Release()
{
    const int32_t Count = --m_iRefCount;
    if (Count == 0) DeletingDestructor(1);
    return Count;
}

int32_t CVCodecH264nv::Reset()
{
    RunInDriverFrame(kReset, [this] {
        m_Encoder.Reset();
        m_Decoder.Reset();
    });
    return 0;
}

int32_t CVCodecH264nv::InitEncoder(int32_t PictureWidth, int32_t PictureHeight, int32_t iFramesPerSecond,
                                   int32_t iKeyinterval, int32_t iKbps)
{
    ASSERT_OR_RETURN(PictureWidth && PictureHeight, 0);
    m_bDecoder = 0;
    m_PictureWidth = PictureWidth;
    m_PictureHeight = PictureHeight;
    return ResultInDriverFrame("CVCodecH264nv::InitEncoder()", [&] {
        return m_Encoder.InitEncoder(PictureWidth, PictureHeight, iFramesPerSecond, iKeyinterval, iKbps);
    });
}

int32_t CVCodecH264nv::Encode(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t bForceKey,
                              int32_t* pFrameType)
{
    ASSERT_OR_RETURN(InBuf, 0);
    ASSERT_OR_RETURN(OutBuf, 0);
    ASSERT_OR_RETURN(pdwOutLen, 0);
    return EncodeInDriverFrame("CVCodecH264nv::Encode()", pdwOutLen, pFrameType,
                               [&] { return m_Encoder.Encode(InBuf, OutBuf, pdwOutLen, bForceKey, pFrameType); });
}

int32_t CVCodecH264nv::InitDecoder(int32_t PictureWidth, int32_t PictureHeight)
{
    m_PictureWidth = PictureWidth;
    m_PictureHeight = PictureHeight;
    m_bDecoder = 1;
    return ResultInDriverFrame("CVCodecH264nv::InitDecoder()",
                               [&] { return m_Decoder.InitDecoder(PictureWidth, PictureHeight); });
}

int32_t CVCodecH264nv::Decode(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t* pFrameType)
{
    ASSERT_OR_RETURN(InBuf, 0);
    ASSERT_OR_RETURN(OutBuf, 0);
    int32_t Result = 0;
    const auto Body = [&] { Result = m_Decoder.Decode(InBuf, iInLen, OutBuf, pFrameType); };
    if (RunInDriverFrame("CVCodecH264nv::Decode()", Body)) return Result;
    if (pFrameType) *pFrameType = kFrameFailed;
    return 0;
}

int32_t CVCodecH264nv::SetBitrate(int32_t iKbps)
{
    RunInDriverFrame("CVCodecH264nv::SetBitrate()", [&] { m_Encoder.SetBitrate(iKbps); });
    return 0; // deliberate: a client cannot read success from this slot
}
