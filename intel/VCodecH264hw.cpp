#include "intel/VCodecH264hw.h"

#include "Common/h/deleting_destructor.h"
#include "front/driver_frame.h"
#include "front/stdafx.h"

#define QUILVEX_SOURCE "VCodecH264hw"

static_assert(kBackendIntelSoft == kBackendIntelHard + 11);

CVCodecH264hw::~CVCodecH264hw() { CVCodecH264hw::Reset(); }

void* CVCodecH264hw::DeletingDestructor(uint32_t iFlags) { return DestroyObject(this, iFlags); }

int32_t CVCodecH264hw::Release()
{
    const int32_t Count = --m_iRefCount;
    if (Count == 0) DeletingDestructor(1);
    return Count;
}

int32_t CVCodecH264hw::Reset()
{
    RunInDriverFrame("CVCodecH264hw::Reset()", [&] {
        m_Encoder.Reset();
        m_Decoder.Close();
    });
    return 0;
}

int32_t CVCodecH264hw::InitEncoder(int32_t PictureWidth, int32_t PictureHeight, int32_t iFramesPerSecond,
                                   int32_t iKeyinterval, int32_t iKbps)
{
    ASSERT_OR_RETURN(PictureWidth && PictureHeight, 0);
    m_iRole = kRoleEncoder;
    m_PictureWidth = PictureWidth;
    m_PictureHeight = PictureHeight;
    return ResultInDriverFrame("CVCodecH264hw::InitEncoder()", [&] {
        return m_Encoder.InitEncoder(PictureWidth, PictureHeight, iFramesPerSecond, iKeyinterval, iKbps);
    });
}

int32_t CVCodecH264hw::Encode(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t bForceKey,
                              int32_t* pFrameType)
{
    ASSERT_OR_RETURN(InBuf, 0);
    ASSERT_OR_RETURN(OutBuf, 0);
    ASSERT_OR_RETURN(pdwOutLen, 0);
    return EncodeInDriverFrame("CVCodecH264hw::Encode()", pdwOutLen, pFrameType,
                               [&] { return m_Encoder.Encode(InBuf, OutBuf, pdwOutLen, bForceKey, pFrameType); });
}

int32_t CVCodecH264hw::InitDecoder(int32_t PictureWidth, int32_t PictureHeight)
{
    m_PictureWidth = PictureWidth;
    m_PictureHeight = PictureHeight;
    m_iRole = kRoleDecoder;
    return ResultInDriverFrame("CVCodecH264hw::InitDecoder()",
                               [&] { return m_Decoder.InitDecoder(PictureWidth, PictureHeight); });
}

int32_t CVCodecH264hw::Decode(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t* pFrameType)
{
    int32_t Result = 0, FrameType = kFrameNone;
    const auto Body = [&] { Result = m_Decoder.Decode(InBuf, iInLen, OutBuf, FrameType); };
    if (!RunInDriverFrame("CVCodecH264hw::Decode()", Body)) {
        Result = 0;
        FrameType = kFrameFailed;
    }
    if (pFrameType) *pFrameType = FrameType;
    return Result;
}

int32_t CVCodecH264hw::SetBitrate(int32_t iKbps)
{
    ASSERT_OR_RETURN(iKbps, 0);
    RunInDriverFrame("CVCodecH264hw::SetBitrate()", [&] { m_Encoder.SetBitrate(iKbps); });
    return 0;
}
