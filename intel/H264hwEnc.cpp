#include "intel/H264hwEnc.h"

#include "front/client_pictures.h"
#include "front/selection.h"
#include "front/stdafx.h"
#include "intel/frame_layout.h"
#include "intel/frame_rate.h"
#include "intel/frame_type.h"
#include "intel/return_report.h"
#include "platform/clock.h"

#include <algorithm>
#include <new>

#define QUILVEX_SOURCE "H264hwEnc"

namespace {

constexpr uint32_t kSurfaceWaitMs = 1500000, kSurfaceStepMs = 10;
constexpr mfxU32 kSyncWaitMs = 1500000;
constexpr mfxU16 kKeyPicture = MFX_FRAMETYPE_I | MFX_FRAMETYPE_REF | MFX_FRAMETYPE_IDR;
constexpr mfxU16 kLaterPicture = MFX_FRAMETYPE_P | MFX_FRAMETYPE_REF;
constexpr uint32_t kKilo = 1000; // bytes of a kilobyte of the SDK's buffer

// The product of the three wraps at 32 bits.
int32_t DefaultKbps(int32_t width, int32_t height, int32_t fps)
{
    const uint32_t Samples = static_cast<uint32_t>(width) * static_cast<uint32_t>(height) * static_cast<uint32_t>(fps);
    return static_cast<int32_t>(static_cast<int32_t>(Samples) * 1.5 * 8 / 500000);
}

// Sizes and rates are 16 bits in the SDK's records: what is larger wraps.
mfxU16 Wrapped(uint32_t Value) { return static_cast<mfxU16>(Value); }
mfxU16 Wrapped(int32_t Value) { return static_cast<mfxU16>(Value); }

} // namespace

int32_t CH264hwEnc::InitEncoder(int32_t width, int32_t height, int32_t fps, int32_t keyinterval, int32_t iKbps)
{
    LogInfo("qvlx > CH264hwEnc::InitEncoder() this=%p width=%d height=%d", static_cast<void*>(this), width, height);
    Reset();
    m_iWidth = width;
    m_iHeight = height;
    m_iFps = fps < 1 ? 30 : fps;
    m_iKeyInterval = keyinterval < 1 ? 60 : keyinterval;
    m_iKbps = iKbps < 1 ? DefaultKbps(width, height, m_iFps) : iKbps;
    const int32_t bRet = Init();
    LogInfo("qvlx < CH264hwEnc::InitEncoder() this=%p bRet = %d", static_cast<void*>(this), bRet);
    return bRet;
}

int32_t CH264hwEnc::Init()
{
    TearDown(); // what a failed Init has left
    mfxVersion Version = kMfxVersion;
    RETURN_IF_FAILED(m_Session.Init(MfxImplementation(m_iImplKind), &Version), 0);
    RETURN_IF_FAILED(m_Session.QueryVersion(&Version), 0);
    LogInfo("qvlx - CH264hwEnc::Init() QueryVersion=%d.%d", Version.Major, Version.Minor);
    FillParams();
    FillFrameInfo();
    RETURN_IF_FAILED(CreateAllocator(), 0);
    m_pEncoder = std::make_unique<MfxEncoder>(m_Session);
    RETURN_IF_FAILED(ResetMFXComponents(), 0);
    m_iFrames = 0;
    m_pControl = nullptr;
    m_ExtBuffers.clear();
    m_bInit = true;
    return 1;
}

// What stays 0 (profile, level, slices, the initial delay) is the SDK's choice.
void CH264hwEnc::FillParams()
{
    ClearCodingOption();
    m_CodingOption.RefPicMarkRep = MFX_CODINGOPTION_OFF;
    m_CodingOption.MaxDecFrameBuffering = 1;
    m_ExtBuffers.assign(1, &m_CodingOption.Header);

    m_Params = {};
    m_Params.AsyncDepth = 1;
    m_Params.IOPattern = MFX_IOPATTERN_IN_SYSTEM_MEMORY;
    mfxInfoMFX& Codec = m_Params.mfx;
    Codec.CodecId = MFX_CODEC_AVC;
    Codec.TargetUsage = MFX_TARGETUSAGE_BEST_QUALITY;
    Codec.GopPicSize = Wrapped(m_iKeyInterval);
    Codec.GopRefDist = 1; // no B pictures
    Codec.NumRefFrame = 1;
    Codec.RateControlMethod = MFX_RATECONTROL_VBR;
    Codec.TargetKbps = Wrapped(m_iKbps);
    Codec.MaxKbps = Wrapped(static_cast<uint32_t>(m_iKbps) + static_cast<uint32_t>(m_iKbps / 10));
}

void CH264hwEnc::FillFrameInfo()
{
    mfxFrameInfo& Info = m_Params.mfx.FrameInfo;
    const FrameRate Rate = FrameRateOf(m_iFps);
    Info.FourCC = MFX_FOURCC_NV12;
    Info.Width = Wrapped((static_cast<uint32_t>(m_iWidth) + 15) & ~15u);
    Info.Height = Wrapped((static_cast<uint32_t>(m_iHeight) + 15) & ~15u); // progressive pictures: no pairs of rows
    Info.CropW = Wrapped(m_iWidth);
    Info.CropH = Wrapped(m_iHeight);
    Info.PicStruct = MFX_PICSTRUCT_PROGRESSIVE;
    Info.ChromaFormat = MFX_CHROMAFORMAT_YUV420;
    Info.FrameRateExtN = Rate.N;
    Info.FrameRateExtD = Rate.D;
}

mfxStatus CH264hwEnc::CreateAllocator()
{
    m_pAllocator.reset(new (std::nothrow) SysMemFrameAllocator);
    if (!m_pAllocator) return MFX_ERR_MEMORY_ALLOC;
    mfxStatus Status = m_Session.SetFrameAllocator(m_pAllocator.get());
    RETURN_IF_FAILED(Status, Status);
    Status = m_pAllocator->Init(nullptr);
    RETURN_IF_FAILED(Status, Status);
    return Status;
}

mfxStatus CH264hwEnc::ResetMFXComponents()
{
    if (!m_ExtBuffers.empty()) {
        m_Params.NumExtParam = Wrapped(static_cast<uint32_t>(m_ExtBuffers.size()));
        m_Params.ExtParam = m_ExtBuffers.data();
    }
    mfxStatus Status = AllocFrames();
    RETURN_IF_FAILED(Status, Status);
    Status = m_pEncoder->Init(&m_Params); // partial acceleration is a warning and goes on
    RETURN_IF_FAILED(Status, Status);
    mfxVideoParam Got{};
    Status = m_pEncoder->GetVideoParam(&Got);
    RETURN_IF_FAILED(Status, Status);
    PrepareBitstream(Got.mfx.BufferSizeInKB);
    return MFX_ERR_NONE;
}

mfxStatus CH264hwEnc::AllocFrames()
{
    mfxFrameAllocRequest Request{};
    mfxStatus Status = m_pEncoder->QueryIOSurf(&m_Params, &Request);
    RETURN_IF_FAILED(Status, Status);
    Request.Info = m_Params.mfx.FrameInfo;
    Request.Type = MFX_MEMTYPE_FROM_ENCODE | MFX_MEMTYPE_SYSTEM_MEMORY | MFX_MEMTYPE_EXTERNAL_FRAME;
    Status = m_pAllocator->Alloc(m_pAllocator->pthis, &Request, &m_Response);
    RETURN_IF_FAILED(Status, Status);
    m_Surfaces.assign(m_Response.NumFrameActual, mfxFrameSurface1{});
    for (size_t i = 0; i < m_Surfaces.size(); ++i) {
        m_Surfaces[i].Info = m_Params.mfx.FrameInfo;
        m_Surfaces[i].Data.MemId = m_Response.mids[i];
    }
    return MFX_ERR_NONE;
}

void CH264hwEnc::PrepareBitstream(uint16_t BufferSizeInKB)
{
    m_Params.mfx.BufferSizeInKB = BufferSizeInKB;
    m_Storage.assign(BufferSizeInKB * kKilo, 0);
    m_Bitstream = {};
    m_Bitstream.Data = m_Storage.data();
    m_Bitstream.MaxLength = static_cast<mfxU32>(m_Storage.size());
}

// ---- One picture -------------------------------------------------------------------------------------------------

int32_t CH264hwEnc::Encode(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t forceKey,
                           int32_t* pFrameType)
{
    if (!m_bInit) return 0;
    if (m_iFrames % m_iKeyInterval == 0) forceKey = 1;
    if (forceKey == 1) {
        m_Control.FrameType = kKeyPicture;
        m_pControl = &m_Control;
    }
    const mfxStatus Status = EncodeFrame(InBuf, OutBuf, pdwOutLen, pFrameType);
    if (Status >= MFX_ERR_NONE) return 1;
    SetIntelH264hwDevFailed();
    m_pEncoder->Forget();
    m_Session.Close();
    LogError("qvlx - CH264hwEnc::Encode() Encode failed, need switch to IPP(err=%d).", Status);
    if (pdwOutLen) *pdwOutLen = -1;
    if (pFrameType) *pFrameType = -1;
    return 0;
}

mfxStatus CH264hwEnc::EncodeFrame(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t* pFrameType)
{
    mfxStatus Status = MFX_ERR_INVALID_HANDLE; // closed by a failure: nothing unlocks its surfaces any more
    if (m_Session.IsOpen()) {
        mfxFrameSurface1* const pSurface = FindFreeSurface();
        if (!pSurface) RETURN_IF_FAILED(MFX_ERR_UNKNOWN, MFX_ERR_UNKNOWN);
        Status = LoadPicture(InBuf, *pSurface);
        if (Status == MFX_ERR_NONE) {
            pSurface->Data.FrameOrder = static_cast<mfxU32>(m_iFrames);
            Status = Submit(*pSurface, OutBuf, pdwOutLen, pFrameType);
        }
    }
    if (Status == MFX_ERR_MORE_DATA) return MFX_ERR_NONE; // held back
    RETURN_IF_FAILED(Status, Status);
    return Status;
}

// Null when none has become free in all that time.
mfxFrameSurface1* CH264hwEnc::FindFreeSurface()
{
    for (uint32_t Waited = 0; Waited < kSurfaceWaitMs; Waited += kSurfaceStepMs) {
        const auto Free = std::find_if(m_Surfaces.begin(), m_Surfaces.end(),
                                       [](const mfxFrameSurface1& Surface) { return Surface.Data.Locked == 0; });
        if (Free != m_Surfaces.end()) return &*Free;
        platform::SleepFor(kSurfaceStepMs);
    }
    return nullptr;
}

// A size that has wrapped on its way into the frame is more than the frame holds.
mfxStatus CH264hwEnc::LoadPicture(const uint8_t* InBuf, mfxFrameSurface1& Surface)
{
    mfxFrameData& Data = Surface.Data;
    mfxStatus Status = m_pAllocator->Lock(m_pAllocator->pthis, Data.MemId, &Data);
    if (Status != MFX_ERR_NONE) return Status;
    const bool bHeld = m_iWidth > 0 && m_iWidth <= Data.Pitch && m_iHeight > 0 &&
                       static_cast<uint32_t>(m_iHeight) <= RoundUpTo32(Surface.Info.Height);
    if (bHeld) I420ToNv12(InBuf, m_iWidth, m_iHeight, Data.Y, Data.Pitch, Data.UV, Data.Pitch);
    Status = m_pAllocator->Unlock(m_pAllocator->pthis, Data.MemId, &Data);
    return bHeld ? Status : MFX_ERR_NOT_ENOUGH_BUFFER;
}

mfxStatus CH264hwEnc::Submit(mfxFrameSurface1& Surface, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t* pFrameType)
{
    mfxSyncPoint SyncPoint = nullptr;
    mfxStatus Status;
    for (;;) { // for as long as the SDK warns without a sync point
        Status = m_pEncoder->EncodeFrameAsync(m_pControl, &Surface, &m_Bitstream, &SyncPoint);
        if (Status <= MFX_ERR_NONE || SyncPoint) break;
        if (Status == MFX_WRN_DEVICE_BUSY) platform::SleepFor(1);
    }
    if (!SyncPoint) return Status;
    Status = m_Session.SyncOperation(SyncPoint, kSyncWaitMs);
    if (Status == MFX_ERR_DEVICE_FAILED) Surface.Data.Locked = 0;
    if (Status == MFX_ERR_NONE && pFrameType) *pFrameType = ClientFrameType(m_Bitstream.FrameType);
    // Deliberate: what a failed wait has left is taken and counted all the same.
    const mfxStatus Taken = TakeAccessUnit(OutBuf, pdwOutLen);
    return Status >= MFX_ERR_NONE && Taken < MFX_ERR_NONE ? Taken : Status;
}

// The data's offset stays as the SDK has left it, deliberately.
mfxStatus CH264hwEnc::TakeAccessUnit(uint8_t* OutBuf, int32_t* pdwOutLen)
{
    const uint64_t End = uint64_t{m_Bitstream.DataOffset} + m_Bitstream.DataLength;
    if (m_Bitstream.DataLength > AccessUnitRoom(m_iWidth, m_iHeight) || End > m_Storage.size())
        return MFX_ERR_NOT_ENOUGH_BUFFER;
    std::copy_n(m_Bitstream.Data + m_Bitstream.DataOffset, m_Bitstream.DataLength, OutBuf);
    if (pdwOutLen) *pdwOutLen = static_cast<int32_t>(m_Bitstream.DataLength);
    m_Bitstream.DataLength = 0;
    ++m_iFrames;
    m_Control.FrameType = kLaterPicture;
    m_pControl = nullptr;
    m_ExtBuffers.clear();
    return MFX_ERR_NONE;
}

// ---- Rate and end ------------------------------------------------------------------------------------------------

int32_t CH264hwEnc::SetBitrate(int32_t iKbps)
{
    if (!m_bInit) return 0;
    mfxVideoParam Params{};
    RETURN_IF_FAILED(m_pEncoder->GetVideoParam(&Params), 0);
    Params.mfx.TargetKbps = Wrapped(iKbps); // alone: the limit stays, also below it
    RETURN_IF_FAILED(m_pEncoder->Reset(&Params), 0);
    return 1;
}

void CH264hwEnc::Reset()
{
    if (!m_bInit) return;
    LogInfo("qvlx > CH264hwEnc::Reset() this=%p", static_cast<void*>(this));
    m_iWidth = m_iHeight = m_iFps = m_iKeyInterval = m_iKbps = 0;
    m_bInit = false;
    TearDown();
    m_pControl = nullptr;
    m_ExtBuffers.clear();
    ClearCodingOption();
    m_Control = {};
    m_iFrames = 0;
    LogInfo("qvlx < CH264hwEnc::Reset() this=%p", static_cast<void*>(this));
}

// Gives up whatever there is, the session last.
void CH264hwEnc::TearDown()
{
    if (m_pEncoder) m_pEncoder->Close();
    m_pEncoder.reset();
    m_Surfaces.clear();
    if (m_pAllocator) m_pAllocator->Free(m_pAllocator->pthis, &m_Response);
    m_Response = {};
    m_pAllocator.reset();
    m_Session.Close();
}

void CH264hwEnc::ClearCodingOption()
{
    m_CodingOption = {};
    m_CodingOption.Header.BufferId = MFX_EXTBUFF_CODING_OPTION;
    m_CodingOption.Header.BufferSz = sizeof m_CodingOption;
}
