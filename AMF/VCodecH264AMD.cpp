#include "AMF/VCodecH264AMD.h"

#include "AMF/common/AMFComError.h"
#include "AMF/common/AMFFactoryHelper.h"
#include "Common/h/MyBufferMgr.h"
#include "Common/h/deleting_destructor.h"
#include "front/client_pictures.h"
#include "front/stdafx.h"
#include "platform/clock.h"

#include <algorithm>
#include <cstring>

#define QUILVEX_SOURCE "VCodecH264AMD"

namespace {

// The encoder's output data types IDR, I, P, B as the client's frame types: an I picture that is no IDR counts as P.
// A decoded surface's frame type goes through the same table, deliberately: every progressive picture (0) counts as I.
int32_t ClientFrameType(amf_int64 Type)
{
    constexpr int32_t kTypes[] = {kFrameI, kFrameP, kFrameP, kFrameB};
    return Type >= 0 && Type < 4 ? kTypes[Type] : int32_t{kFrameP};
}

// A context and a component in it, each with the status of the call that failed.
AMF_RESULT MakeSession(AMFInterfacePtr<AMFContext>& pContext, const wchar_t* pId, AMFInterfacePtr<AMFComponent>& pNew)
{
    AMFFactory* const pFactory = g_AMFFactory.GetFactory();
    if (!pFactory) return AMF_FAIL;
    const AMF_RESULT Result = pFactory->CreateContext(pContext.Receive());
    if (Result != AMF_OK) return Result;
    // Whether the second device serves is left to the component to say.
    if (pContext->InitDX11(nullptr, AMF_DX11_0) != AMF_OK) pContext->InitDX9(nullptr);
    return pFactory->CreateComponent(pContext.Get(), pId, pNew.Receive());
}

template <class Object>
void TerminateAndDrop(AMFInterfacePtr<Object>& pObject)
{
    if (!pObject) return;
    pObject->Terminate();
    pObject.Drop();
}

// There is no limit to how often, deliberately.
template <class Call>
void RepeatWhileFull(Call Run)
{
    while (Run() == AMF_INPUT_FULL) platform::SleepFor(1);
}

// The component keeps what it took; a refused input is drained all the same.
template <class Input>
void SubmitAndDrain(AMFComponent& Component, AMFInterfacePtr<Input>& pInput)
{
    RepeatWhileFull([&] { return Component.SubmitInput(pInput.Get()); });
    pInput.Drop();
    RepeatWhileFull([&] { return Component.Drain(); });
}

// Gives each output to Take, until there is no more or Take says false. There is no limit to the waiting, deliberately.
template <class Taker>
void ForEachOutput(AMFComponent& Component, Taker Take)
{
    for (;;) {
        AMFInterfacePtr<AMFData> pData;
        if (Component.QueryOutput(pData.Receive()) == AMF_EOF) return;
        if (!pData)
            platform::SleepFor(1);
        else if (!Take(*pData))
            return;
    }
}

// Whether a plane says that it has so many samples, or pairs of them, in so many rows.
bool Holds(AMFPlane& Plane, int32_t Width, int32_t Height)
{
    return Plane.GetWidth() >= Width && Plane.GetHeight() >= Height;
}

// The samples of a plane that has some.
const uint8_t* SamplesOf(AMFPlane& Plane)
{
    const void* const pSamples = Plane.GetNative();
    if (!pSamples) platform::RaiseFault(platform::kFaultAccess);
    return static_cast<const uint8_t*>(pSamples);
}

} // namespace

bool CVCodecH264AMD::IsSupportH264hw_0()
{
    AMF_RESULT Result = AMF_FAIL;
    AMFInterfacePtr<AMFContext> pContext;
    AMFInterfacePtr<AMFComponent> pEncoder;
    if (AMFFactory* const pFactory = g_AMFFactory.GetFactory()) {
        Result = pFactory->CreateContext(pContext.Receive());
        if (Result == AMF_OK) Result = pFactory->CreateComponent(pContext.Get(), kAmfEncoderAvc, pEncoder.Receive());
    }
    LogInfo("qvlx - CVCodecH264AMD::IsSupportH264hw_0() res=%d", Result);
    return Result == AMF_OK;
}

CVCodecH264AMD::~CVCodecH264AMD()
{
    CloseEncoder();
    CloseDecoder();
    FreePicture();
}

void* CVCodecH264AMD::DeletingDestructor(uint32_t iFlags) { return DestroyObject(this, iFlags); }

int32_t CVCodecH264AMD::Release()
{
    const int32_t Count = --m_iRefCount;
    if (Count == 0) DeletingDestructor(1);
    return Count;
}

void CVCodecH264AMD::FreePicture()
{
    if (!m_pYUVBuffNV12) return;
    GetMyBufferMgr().FreeBuffer(m_pYUVBuffNV12);
    m_pYUVBuffNV12 = nullptr;
}

// False when there is no memory, or no number, for the picture.
bool CVCodecH264AMD::TakePictureBuffer(int32_t PictureWidth, int32_t PictureHeight)
{
    FreePicture();
    const uint64_t Bytes = AccessUnitRoom(PictureWidth, PictureHeight);
    if (Bytes != 0 && Bytes <= INT32_MAX) m_pYUVBuffNV12 = GetMyBufferMgr().GetBuffer(static_cast<uint32_t>(Bytes));
    return m_pYUVBuffNV12 != nullptr;
}

// ---- Encoder side ----------------------------------------------------------------------------------------------

// The picture's size goes too, a decoder's on the same object included.
void CVCodecH264AMD::CloseEncoder()
{
    TerminateAndDrop(m_pEncoder);
    TerminateAndDrop(m_pEncoderContext);
    m_PictureWidth = m_PictureHeight = m_iKeyinterval = m_iFramesPerSecond = m_BitsPerSecond = m_EncodedFrames = 0;
}

int32_t CVCodecH264AMD::InitEncoder(int32_t PictureWidth, int32_t PictureHeight, int32_t iFramesPerSecond,
                                    int32_t iKeyinterval, int32_t iKbps) noexcept
{
    ASSERT_OR_RETURN(PictureWidth && PictureHeight, 0);
    CloseEncoder();
    AMF_RESULT Result = MakeSession(m_pEncoderContext, kAmfEncoderAvc, m_pEncoder);
    if (Result == AMF_OK) {
        ASSERT_RETURN(TakePictureBuffer(PictureWidth, PictureHeight), "m_pYUVBuffNV12", 0);
        m_PictureWidth = PictureWidth;
        m_PictureHeight = PictureHeight;
        m_iFramesPerSecond = iFramesPerSecond;
        m_BitsPerSecond = static_cast<int32_t>(static_cast<uint32_t>(iKbps) * 1000u);
        m_iKeyinterval = iKeyinterval;
        SetEncoderProperties();
        Result = m_pEncoder->Init(AMF_SURFACE_NV12, PictureWidth, PictureHeight);
    }
    LogInfo("qvlx - CVCodecH264AMD::InitEncoder() res=%d", Result);
    return Result == AMF_OK;
}

// A property that the driver refuses stays at its default: Init alone decides.
void CVCodecH264AMD::SetEncoderProperties()
{
    AMFComponent& Encoder = *m_pEncoder;
    Encoder.SetProperty(L"Usage", AmfVariant(AMF_VIDEO_ENCODER_USAGE_WEBCAM)); // first: it sets all others' defaults
    Encoder.SetProperty(L"TargetBitrate", AmfVariant(amf_int64{m_BitsPerSecond}));
    Encoder.SetProperty(L"FrameSize", AmfVariant(AMFSize{m_PictureWidth, m_PictureHeight}));
    Encoder.SetProperty(L"FrameRate", AmfVariant(AMFRate{static_cast<uint32_t>(m_iFramesPerSecond), 1}));
    Encoder.SetProperty(L"BReferenceEnable", AmfVariant(amf_int64{0}));
    Encoder.SetProperty(L"QualityPreset", AmfVariant(AMF_VIDEO_ENCODER_QUALITY_PRESET_SPEED));
}

int32_t CVCodecH264AMD::Encode(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t bForceKey,
                               int32_t* pFrameType) noexcept
{
    ASSERT_OR_RETURN(m_pEncoder && m_pEncoderContext, 0);
    ASSERT_OR_RETURN(InBuf, 0);
    ASSERT_OR_RETURN(OutBuf, 0);
    ASSERT_OR_RETURN(pdwOutLen, 0);
    ASSERT_OR_RETURN(m_pYUVBuffNV12, 0); // an Init found no memory, and its failure was passed over
    I420ToNv12(InBuf, m_PictureWidth, m_PictureHeight, m_pYUVBuffNV12, m_PictureWidth,
               m_pYUVBuffNV12 + static_cast<size_t>(m_PictureWidth) * static_cast<size_t>(m_PictureHeight),
               m_PictureWidth);
    int32_t bRet = 0;
    *pdwOutLen = 0;
    AMFInterfacePtr<AMFSurface> pSurface;
    if (m_pEncoderContext->CreateSurfaceFromHostNative(AMF_SURFACE_NV12, m_PictureWidth, m_PictureHeight,
                                                       m_PictureWidth, m_PictureHeight, m_pYUVBuffNV12,
                                                       pSurface.Receive(), nullptr) == AMF_OK) {
        SetPictureProperties(*pSurface, bForceKey);
        SubmitAndDrain(*m_pEncoder, pSurface);
        bRet = CollectUnits(OutBuf, pdwOutLen, pFrameType);
        m_pEncoder->Flush();
    }
    if (!bRet) {
        *pdwOutLen = kFrameFailed;
        if (pFrameType) *pFrameType = kFrameFailed;
    }
    return bRet;
}

void CVCodecH264AMD::SetPictureProperties(AMFSurface& Surface, int32_t bForceKey)
{
    Surface.SetProperty(L"PictureStructure", AmfVariant(AMF_VIDEO_ENCODER_PICTURE_STRUCTURE_FRAME));
    if (m_iKeyinterval == 0) platform::RaiseFault(platform::kFaultArithmetic); // a division by it, deliberately
    if (bForceKey != 1 && m_EncodedFrames % m_iKeyinterval != 0) {
        Surface.SetProperty(L"ForcePictureType", AmfVariant(AMF_VIDEO_ENCODER_PICTURE_TYPE_P));
        return;
    }
    Surface.SetProperty(L"ForcePictureType", AmfVariant(AMF_VIDEO_ENCODER_PICTURE_TYPE_IDR));
    Surface.SetProperty(L"InsertAUD", AmfVariant(true));
    Surface.SetProperty(L"InsertSPS", AmfVariant(true));
    Surface.SetProperty(L"InsertPPS", AmfVariant(true));
}

// Every output is written to the start of OutBuf, so the last one stays. One that OutBuf has no room for fails the
// call.
int32_t CVCodecH264AMD::CollectUnits(uint8_t* OutBuf, int32_t* pdwOutLen, int32_t* pFrameType)
{
    const uint64_t Room = AccessUnitRoom(m_PictureWidth, m_PictureHeight);
    int32_t bRet = 0;
    bool bTooLong = false;
    ForEachOutput(*m_pEncoder, [&](AMFData& Data) {
        AMFVariantStruct Type{};
        Data.GetProperty(L"OutputDataType", &Type);
        if (pFrameType) *pFrameType = ClientFrameType(Type.int64Value);
        const AMFInterfacePtr<AMFBuffer> pBuffer = AmfFaceOf<AMFBuffer>(Data);
        ++m_EncodedFrames;
        const amf_size Size = pBuffer->GetSize();
        bTooLong = bTooLong || Size > Room;
        if (bTooLong) return true;
        *pdwOutLen = static_cast<int32_t>(Size);
        const void* const pBytes = pBuffer->GetNative();
        if (Size != 0 && !pBytes) platform::RaiseFault(platform::kFaultAccess);
        if (Size != 0) std::memcpy(OutBuf, pBytes, Size);
        bRet = 1;
        return true;
    });
    return bRet && !bTooLong;
}

int32_t CVCodecH264AMD::SetBitrate(int32_t iKbps) noexcept
{
    ASSERT_OR_RETURN(m_pEncoder, 0);
    ASSERT_OR_RETURN(iKbps, 0);
    return InitEncoder(m_PictureWidth, m_PictureHeight, m_iFramesPerSecond, m_iKeyinterval, iKbps);
}

// ---- Decoder side ----------------------------------------------------------------------------------------------

void CVCodecH264AMD::CloseDecoder()
{
    TerminateAndDrop(m_pDecoder);
    TerminateAndDrop(m_pDecoderContext);
    m_PictureWidth = m_PictureHeight = 0;
}

int32_t CVCodecH264AMD::InitDecoder(int32_t PictureWidth, int32_t PictureHeight) noexcept
{
    ASSERT_OR_RETURN(PictureWidth && PictureHeight, 0);
    CloseDecoder();
    AMF_RESULT Result = MakeSession(m_pDecoderContext, kAmfDecoderAvc, m_pDecoder);
    if (Result == AMF_OK) {
        // Nothing of this side uses the buffer; it takes the place of the encoder's, deliberately.
        ASSERT_RETURN(TakePictureBuffer(PictureWidth, PictureHeight), "m_pYUVBuffNV12", 0);
        m_PictureWidth = PictureWidth;
        m_PictureHeight = PictureHeight;
        Result = m_pDecoder->SetProperty(L"TimestampMode", AmfVariant(AMF_TS_DECODE));
        if (Result == AMF_OK) Result = m_pDecoder->Init(AMF_SURFACE_NV12, PictureWidth, PictureHeight);
    }
    LogInfo("qvlx - CVCodecH264AMD::InitDecoder() res=%d", Result);
    return Result == AMF_OK;
}

int32_t CVCodecH264AMD::Decode(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t* pFrameType) noexcept
try {
    ASSERT_OR_RETURN(m_pDecoder && m_pDecoderContext, 0);
    ASSERT_OR_RETURN(InBuf, 0);
    ASSERT_OR_RETURN(OutBuf, 0);
    AMFInterfacePtr<AMFBuffer> pBuffer;
    if (m_pDecoderContext->CreateBufferFromHostNative(const_cast<uint8_t*>(InBuf), // only read
                                                      static_cast<amf_size>(std::max(iInLen, 0)), pBuffer.Receive(),
                                                      nullptr) != AMF_OK)
        return 0;
    SubmitAndDrain(*m_pDecoder, pBuffer);
    const int32_t bRet = CollectPictures(OutBuf, pFrameType);
    m_pDecoder->Flush();
    return bRet;
} catch (const AMFComError& Error) {
    PrintComError(Error);
    if (pFrameType) *pFrameType = kFrameFailed;
    return 0;
}

// The result of the last picture is that of the call.
int32_t CVCodecH264AMD::CollectPictures(uint8_t* OutBuf, int32_t* pFrameType)
{
    int32_t bRet = 0;
    ForEachOutput(*m_pDecoder, [&](AMFData& Data) {
        if (Data.Convert(AMF_MEMORY_HOST) != AMF_OK) return false;
        bRet = TakePicture(Data, OutBuf, pFrameType);
        return true;
    });
    return bRet;
}

int32_t CVCodecH264AMD::TakePicture(AMFData& Data, uint8_t* OutBuf, int32_t* pFrameType)
{
    const AMFInterfacePtr<AMFSurface> pSurface = AmfFaceOf<AMFSurface>(Data);
    const int32_t Type = pFrameType ? ClientFrameType(pSurface->GetFrameType()) : int32_t{kFrameNone};
    bool bTooSmall = false;
    const int32_t bRet = WritePicture(pSurface.Get(), OutBuf, bTooSmall);
    if (pFrameType && !bTooSmall) *pFrameType = Type; // a client tells a picture by it
    return bRet;
}

// Of a larger surface the top left corner.
int32_t CVCodecH264AMD::WritePicture(AMFSurface* surface, uint8_t* OutBuf, bool& bTooSmall)
{
    ASSERT_OR_RETURN(surface, 0);
    ASSERT_OR_RETURN(OutBuf, 0);
    const AMFInterfacePtr<AMFPlane> pPlane_Y(surface->GetPlane(AMF_PLANE_Y));
    const AMFInterfacePtr<AMFPlane> pPlane_UV(surface->GetPlane(AMF_PLANE_UV));
    ASSERT_OR_RETURN(pPlane_Y && pPlane_UV, 0);
    const int32_t PairsWide = m_PictureWidth / 2, PairsHigh = m_PictureHeight / 2;
    const int32_t LumaPitch = pPlane_Y->GetHPitch(), ChromaPitch = pPlane_UV->GetHPitch();
    bTooSmall = !Holds(*pPlane_Y, m_PictureWidth, m_PictureHeight) || LumaPitch < m_PictureWidth ||
                !Holds(*pPlane_UV, PairsWide, PairsHigh) || ChromaPitch < PairsWide * 2;
    if (bTooSmall) return 0;
    const uint8_t *const pLuma = SamplesOf(*pPlane_Y), *const pChroma = SamplesOf(*pPlane_UV);
    Nv12ToI420(pLuma, LumaPitch, pChroma, ChromaPitch, m_PictureWidth, m_PictureHeight, OutBuf);
    return 1;
}

void CVCodecH264AMD::PrintComError(const AMFComError& Error)
{
    LogError("qvlx - CVCodecH264AMD::PrintComError() code=%08x code meaning=%s source=%s description=%s %s", Error.Code,
             Error.pMessage, Error.pSource, Error.pDescription, "");
}
