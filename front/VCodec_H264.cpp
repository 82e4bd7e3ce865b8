#include "front/VCodec_H264.h"

#include "Common/h/deleting_destructor.h"
#include "decoder/session/video_decoder.h"
#include "encoder/session/video_encoder.h"
#include "encoder/state/encoder_params.h"
#include "front/closed_decoders.h"
#include "front/stdafx.h"

#include <libyuv.h>

#include <algorithm>
#include <memory>
#include <new>

#define QUILVEX_SOURCE "VCodec_H264"

using namespace UMC;

namespace {

int32_t ClientFrameType(const MediaData& Data)
{
    const int32_t Type = Data.GetFrameType();
    return Type >= kFrameI && Type <= kFrameB ? Type : kFrameNone;
}

constexpr size_t kLeastInput = 4; // bytes; the decoder leaves so few alone
// Bytes that may wait for the next call: more than any coded picture takes, 36,864 macroblocks of 3,200 bits (A.3.1).
constexpr size_t kUnreadLimit = size_t{16} << 20;

size_t Product(int32_t a, int32_t b, size_t c = 1) { return static_cast<size_t>(a) * static_cast<size_t>(b) * c; }

// A step of the codec below as a status: nothing that it throws crosses the interface.
template <class Step>
Status StatusOf(Step&& Run)
try {
    return Run();
} catch (const std::bad_alloc&) {
    return StatusAllocFailed;
} catch (...) {
    return StatusFailed;
}

// Makes one object of a side; null when memory is exhausted.
template <class Object>
bool Make(Object*& pObject)
{
    pObject = new (std::nothrow) Object;
    return pObject != nullptr;
}

template <class Object>
void Delete(Object*& pObject)
{
    delete pObject;
    pObject = nullptr;
}

// Closes and deletes one object of a side; false, and the object stays, when it does not close.
template <class Object>
bool CloseAndDelete(Object*& pObject)
{
    if (pObject && pObject->Close() != StatusOk) return false;
    Delete(pObject);
    return true;
}

int32_t Rgb24ToI420(const uint8_t* InBuf, size_t Size, uint8_t* OutBuf, int32_t iWidth, int32_t iHeight)
{
    ASSERT_OR_RETURN(InBuf, 0);
    ASSERT_OR_RETURN(OutBuf, 0);
    ASSERT_OR_RETURN(iWidth, 0);
    ASSERT_OR_RETURN(iHeight, 0);
    const size_t Luma = Product(iWidth, iHeight);
    libyuv::ConvertToI420(InBuf, Size, OutBuf, iWidth, OutBuf + Luma, iWidth / 2, OutBuf + Luma + Luma / 4, iWidth / 2,
                          0, 0, iWidth, iHeight, iWidth, iHeight, libyuv::kRotate0, libyuv::FOURCC_24BG);
    return 1;
}

} // namespace

CVCodec_H264::~CVCodec_H264()
{
    CloseEncoder();
    CloseDecoder();
}

void* CVCodec_H264::DeletingDestructor(uint32_t iFlags) { return DestroyObject(this, iFlags); }

int32_t CVCodec_H264::Release()
{
    const int32_t Count = --m_iRefCount;
    if (Count == 0) DeletingDestructor(1);
    return Count;
}

// ---- Encoder side ----------------------------------------------------------------------------------------------

int32_t CVCodec_H264::InitEncoder(int32_t PictureWidth, int32_t PictureHeight, int32_t iFramesPerSecond,
                                  int32_t iKeyinterval, int32_t iKbps)
{
    ASSERT_OR_RETURN(PictureWidth && PictureHeight, 0);
    CloseEncoder();
    m_PictureWidth = PictureWidth;
    m_PictureHeight = PictureHeight;
    m_iFramesPerSecond = iFramesPerSecond;
    m_iKeyinterval = iKeyinterval;
    m_BitsPerSecond = static_cast<int32_t>(static_cast<uint32_t>(iKbps) * 1000u);
    m_EncodeFrameLimit = kLaterLimit;
    m_EncodedFrames = 0;

    Status Result = StatusAllocFailed;
    if (MakeEncoder()) {
        FillEncoderParams();
        Result = StatusOf([this] { return m_pH264Encoder->Init(m_pH264EncoderParams); });
    }
    if (Result == StatusOk) return 1;
    LogError("qvlx - CVCodec_H264::InitEncoder() Failed err=%d. PictureWidth=%d PictureHeight=%d iFramesPerSecond=%d "
             "iKeyinterval=%d iKbps=%d",
             Result, PictureWidth, PictureHeight, iFramesPerSecond, iKeyinterval, iKbps);
    return 0;
}

// All objects of the encoder side or, when memory is exhausted, none.
bool CVCodec_H264::MakeEncoder()
{
    if (Make(m_pH264Encoder) && Make(m_pH264EncoderParams) && Make(m_pEncoderInput) && Make(m_pEncoderOutput))
        return true;
    Delete(m_pH264Encoder);
    Delete(m_pH264EncoderParams);
    Delete(m_pEncoderInput);
    return false;
}

void CVCodec_H264::FillEncoderParams()
{
    H264EncoderParams& Params = *m_pH264EncoderParams;
    Params.m_Info.m_Width = m_PictureWidth;
    Params.m_Info.m_Height = m_PictureHeight;
    Params.num_frames = static_cast<int32_t>(m_EncodeFrameLimit);
    Params.num_b_frames = 0;
    if (m_iFramesPerSecond > 0) Params.m_Info.m_FrameRate = m_iFramesPerSecond;
    if (m_BitsPerSecond > 0) Params.m_Info.m_Bitrate = m_BitsPerSecond;
    if (m_iKeyinterval) {
        Params.key_frame_method = 1;
        Params.key_frame_interval = m_iKeyinterval;
        Params.idr_interval = 1;
    }
    Params.m_NumThreads = 1;
}

int32_t CVCodec_H264::Encode(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t bForceKey,
                             int32_t* pFrameType)
{
    ASSERT_OR_RETURN(m_pH264Encoder, 0);
    ASSERT_OR_RETURN(InBuf, 0);
    ASSERT_OR_RETURN(OutBuf, 0);
    ASSERT_OR_RETURN(pdwOutLen, 0);
    *pdwOutLen = 0;
    if (m_EncodedFrames == m_EncodeFrameLimit) return 0;
    if (!PrepareEncoderInput(InBuf)) return 0;
    m_pEncoderInput->SetTime(m_EncodedFrames, 0.0); // a picture's time is its index, not seconds
    m_pEncoderOutput->SetBufferPointer(OutBuf, Product(m_PictureWidth, m_PictureHeight, 3));
    m_pEncoderInput->SetFrameType(bForceKey == 1 && m_EncodedFrames != 0 ? I_PICTURE : NONE_PICTURE);

    const Status Result = StatusOf([this] { return m_pH264Encoder->GetFrame(m_pEncoderInput, m_pEncoderOutput); });
    if (Result != StatusOk) {
        LogWarning("qvlx - CVCodec_H264::Encode() Encode Failed err=%d", Result);
        return 0;
    }
    if (pFrameType) *pFrameType = ClientFrameType(*m_pEncoderOutput);
    ++m_EncodedFrames;
    *pdwOutLen = static_cast<int32_t>(m_pEncoderOutput->GetDataSize());
    return 1;
}

bool CVCodec_H264::PrepareEncoderInput(const uint8_t* InBuf)
{
    if (!InBuf || !m_pEncoderInput) return false;
    VideoData& Input = *m_pEncoderInput;
    if (!m_bEncoderInputReady) {
        if (Input.Init(m_PictureWidth, m_PictureHeight, YUV420, 8) != StatusOk) return false;
        m_bEncoderInputReady = true;
    }
    auto* const pLuma = const_cast<uint8_t*>(InBuf); // only read
    const size_t Luma = Product(m_PictureWidth, m_PictureHeight);
    return Input.SetPlanePointer(pLuma, 0) == StatusOk && Input.SetPlanePointer(pLuma + Luma, 1) == StatusOk &&
           Input.SetPlanePointer(pLuma + Luma + Luma / 4, 2) == StatusOk &&
           Input.SetPlanePitch(m_PictureWidth, 0) == StatusOk &&
           Input.SetPlanePitch(m_PictureWidth / 2, 1) == StatusOk &&
           Input.SetPlanePitch(m_PictureWidth / 2, 2) == StatusOk;
}

int32_t CVCodec_H264::SetBitrate(int32_t iKbps)
{
    ASSERT_OR_RETURN(m_pH264Encoder && m_pH264EncoderParams, 0);
    ASSERT_OR_RETURN(iKbps, 0);
    return InitEncoder(m_PictureWidth, m_PictureHeight, m_iFramesPerSecond, m_iKeyinterval, iKbps);
}

bool CVCodec_H264::CloseEncoder()
{
    if (!CloseAndDelete(m_pEncoderInput) || !CloseAndDelete(m_pEncoderOutput) || !CloseAndDelete(m_pH264Encoder))
        return false;
    Delete(m_pH264EncoderParams);
    m_PictureWidth = m_PictureHeight = m_iFramesPerSecond = m_BitsPerSecond = m_iKeyinterval = 0;
    m_EncodeFrameLimit = kLaterLimit;
    m_EncodedFrames = 0;
    m_bEncoderInputReady = false;
    return true;
}

// ---- Decoder side ----------------------------------------------------------------------------------------------

int32_t CVCodec_H264::InitDecoder(int32_t PictureWidth, int32_t PictureHeight)
{
    ASSERT_OR_RETURN((PictureWidth > 0) && (PictureHeight > 0), 0);
    AbandonDecoder();
    m_bFirstDecode = true;
    m_PictureWidth = PictureWidth;
    m_PictureHeight = PictureHeight;
    m_DecodedFrames = 0;
    m_DecodeFrameLimit = kFirstLimit;
    m_bDecoderOutputReady = false;
    m_Unread.Clear();

    Status Result = StatusAllocFailed;
    if (MakeDecoder()) {
        FillDecoderParams();
        Result = StatusOf([this] { return m_pH264Decoder->Init(m_pH264DecoderParams); });
    }
    if (Result == StatusOk) return 1;
    LogError("qvlx - CVCodec_H264::InitDecoder() Failed err=%d. PictureWidth=%d PictureHeight=%d", Result, PictureWidth,
             PictureHeight);
    return 0;
}

// No teardown: what an earlier call made is given up, and the settings of the object stay for the caller to replace.
void CVCodec_H264::AbandonDecoder()
{
    Delete(m_pDecoderOutput);
    Delete(m_pDecoderInput);
    if (LeaveDecoder(m_pH264Decoder)) m_pH264Decoder = nullptr;
    Delete(m_pH264DecoderParams);
}

// All objects of the decoder side or, when memory is exhausted, none.
bool CVCodec_H264::MakeDecoder()
{
    m_pH264Decoder = TakeDecoder();
    if (m_pH264Decoder && Make(m_pH264DecoderParams) && Make(m_pDecoderOutput) && Make(m_pDecoderInput)) return true;
    AbandonDecoder();
    return false;
}

void CVCodec_H264::FillDecoderParams()
{
    VideoDecoderParams& Params = *m_pH264DecoderParams;
    Params.m_Flags = 0;
    Params.m_NumThreads = 1;
    Params.m_Info.m_StreamType = kStreamTypeH264;
    Params.m_Info.m_ColorFormat = YUV420;
    Params.m_Info.m_Width = m_PictureWidth;
    Params.m_Info.m_Height = m_PictureHeight;
    Params.m_pData = m_pDecoderInput; // empty at this time
}

int32_t CVCodec_H264::Decode(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t* pFrameType)
{
    ASSERT_OR_RETURN(InBuf, 0);
    ASSERT_OR_RETURN(OutBuf, 0);
    if (m_DecodedFrames == m_DecodeFrameLimit) return 0;
    ASSERT_RETURN(PutData(OutBuf), "PutData(pout)", 0);
    const bool bFirstDecode = m_bFirstDecode;
    m_bFirstDecode = false;

    const Status Result = FeedDecoder(InBuf, static_cast<size_t>(std::max(iInLen, 0)));
    if (Result != StatusOk) {
        if (bFirstDecode && Result == StatusNotEnoughData) return StandInPicture(OutBuf);
        LogWarning("qvlx - CVCodec_H264::Decode() Decode Failed err=%d", Result);
        return 0;
    }
    ++m_DecodedFrames;
    if (pFrameType) *pFrameType = ClientFrameType(*m_pDecoderOutput);
    return 1;
}

// Gives the decoder what it left unread in the calls before and the new bytes, and keeps what it leaves of both.
int32_t CVCodec_H264::FeedDecoder(const uint8_t* pBytes, size_t Length)
{
    if (m_Unread.Size() != 0) return m_Unread.Append(pBytes, Length) ? FeedUnread() : Status{StatusAllocFailed};
    size_t Left = 0;
    const Status Result = DecodeOnce(pBytes, Length, Left);
    if (Left <= kLeastInput || m_Unread.Append(pBytes + (Length - Left), Left) || Result == StatusOk) return Result;
    return StatusAllocFailed;
}

// A client that goes on handing over several pictures a call gets the newest of them: the memory is bounded.
int32_t CVCodec_H264::FeedUnread()
{
    Status Result = StatusNotEnoughData;
    size_t Left = m_Unread.Size(), Before;
    do {
        Before = Left;
        const Status Now = DecodeOnce(m_Unread.Data(), Before, Left);
        m_Unread.Drop(Before - Left);
        if (Result != StatusOk) Result = Now;
    } while (Left > kUnreadLimit && Left < Before);
    // What is too short for the decoder goes, and so does everything when that does not get on: it is out of memory.
    if (Left <= kLeastInput || Left > kUnreadLimit) m_Unread.Clear();
    return Result;
}

// One call of the decoder. Left receives the bytes that it did not take.
int32_t CVCodec_H264::DecodeOnce(const uint8_t* pBytes, size_t Length, size_t& Left)
{
    m_pDecoderInput->SetBufferPointer(const_cast<uint8_t*>(pBytes), Length); // only read
    m_pDecoderInput->SetDataSize(Length);
    const Status Result = m_pH264Decoder->GetFrame(m_pDecoderInput, m_pDecoderOutput);
    Left = m_pDecoderInput->GetDataSize();
    return Result;
}

bool CVCodec_H264::PutData(uint8_t* pout)
{
    if (!pout || !m_pDecoderOutput) return false;
    if (!m_bDecoderOutputReady) {
        if (m_pDecoderOutput->Init(m_PictureWidth, m_PictureHeight, YUV420, 8) != StatusOk) return false;
        m_bDecoderOutputReady = true;
    }
    const auto Size = static_cast<size_t>(static_cast<double>(m_PictureWidth) * m_PictureHeight * 1.5);
    return m_pDecoderOutput->SetBufferPointer(pout, Size) == StatusOk;
}

// The decoder runs one access unit late; the first call of a session gets a black picture in place of the missing one.
int32_t CVCodec_H264::StandInPicture(uint8_t* OutBuf)
{
    const size_t RowBytes = ((static_cast<size_t>(m_PictureWidth) * 24 + 31) & ~size_t{31}) >> 3;
    const size_t Size = RowBytes * static_cast<size_t>(m_PictureHeight);
    const std::unique_ptr<uint8_t[]> pBlackRGB(new (std::nothrow) uint8_t[Size]());
    ASSERT_OR_RETURN(pBlackRGB, 0);
    Rgb24ToI420(pBlackRGB.get(), Size, OutBuf, m_PictureWidth, m_PictureHeight);
    return 1;
}

bool CVCodec_H264::CloseDecoder()
{
    if (!CloseAndDelete(m_pDecoderOutput) || !CloseAndDelete(m_pDecoderInput)) return false;
    if (m_pH264Decoder) {
        if (!LeaveDecoder(m_pH264Decoder)) return false;
        // Deliberate: the deletion acts on the encoder's pointer, null by now. The closed decoder stays allocated.
        Delete(m_pH264Encoder);
        m_pH264Decoder = nullptr;
    }
    Delete(m_pH264DecoderParams);
    m_PictureWidth = m_PictureHeight = 0;
    m_DecodeFrameLimit = kLaterLimit;
    m_DecodedFrames = 0;
    m_bDecoderOutputReady = false;
    m_Unread.Clear();
    return true;
}
