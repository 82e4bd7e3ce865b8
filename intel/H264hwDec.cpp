#include "intel/H264hwDec.h"

#include "front/client_pictures.h"
#include "front/selection.h"
#include "front/stdafx.h"
#include "intel/frame_layout.h"
#include "intel/frame_type.h"
#include "intel/return_report.h"
#include "platform/clock.h"
#include "platform/exception_frame.h"

#include <cstring>
#include <new>

#define QUILVEX_SOURCE "H264hwDec"

namespace {

constexpr mfxU32 kSyncWaitMs = 60000;

// None when it cannot be had, or when there is no such number of bytes here.
std::unique_ptr<uint8_t[]> MakeBytes(uint64_t Count)
{
    if (Count > SIZE_MAX / 2) return nullptr;
    return std::unique_ptr<uint8_t[]>(new (std::nothrow) uint8_t[static_cast<size_t>(Count)]);
}

} // namespace

CH264hwDec::~CH264hwDec()
{
    Close();
    TearDown(); // what a failed Initialize has left
}

int32_t CH264hwDec::InitDecoder(int32_t width, int32_t height)
{
    Close();
    m_iWidth = width;
    m_iHeight = height;
    return Initialize();
}

int32_t CH264hwDec::Initialize()
{
    TearDown(); // what a failed one has left
    mfxVersion Version = kMfxVersion;
    RETURN_IF_FAILED(m_Session.Init(MfxImplementation(m_iImplKind), &Version), 0);
    RETURN_IF_FAILED(m_Session.QueryVersion(&Version), 0);
    LogInfo("qvlx - CH264hwDec::Initialize() QueryVersion=%d.%d", Version.Major, Version.Minor);
    m_pDecoder = std::make_unique<MfxDecoder>(m_Session);
    m_Params = {};
    m_Params.mfx.CodecId = MFX_CODEC_AVC;
    m_Params.IOPattern = MFX_IOPATTERN_OUT_SYSTEM_MEMORY;
    m_Bitstream = {};
    const uint32_t Room = static_cast<uint32_t>(m_iWidth) * static_cast<uint32_t>(m_iHeight) * 4; // of data that waits
    m_pBlock = MakeBytes(Room);
    if (!m_pBlock) return MFX_ERR_MEMORY_ALLOC; // and not 0, deliberately
    m_Bitstream.Data = m_pBlock.get();
    m_Bitstream.MaxLength = Room;
    m_bInit = true;
    return 1;
}

void CH264hwDec::AppendBitstream(const uint8_t* pData, int32_t iLength)
{
    mfxBitstream& b = m_Bitstream;
    if (uint64_t{b.DataOffset} + b.DataLength > b.MaxLength) b.DataLength = 0; // not the SDK's to say
    if (b.DataLength != 0) std::memmove(b.Data, b.Data + b.DataOffset, b.DataLength);
    b.DataOffset = 0;
    const auto Length = static_cast<uint32_t>(iLength); // below 0: more than there is room for
    if (uint64_t{b.DataLength} + Length >= b.MaxLength || Length == 0) return;
    if (!pData) platform::RaiseFault(platform::kFaultAccess);
    std::memcpy(b.Data + b.DataLength, pData, Length);
    b.DataLength += Length;
}

int32_t CH264hwDec::DecodeHeaderAndInit()
{
    // Partial acceleration is a warning and goes on.
    return m_pDecoder->DecodeHeader(&m_Bitstream, &m_Params) >= MFX_ERR_NONE && AllocSurfaces() >= MFX_ERR_NONE &&
           m_pDecoder->Init(&m_Params) >= MFX_ERR_NONE;
}

mfxStatus CH264hwDec::AllocSurfaces()
{
    mfxFrameAllocRequest Request{};
    const mfxStatus Status = m_pDecoder->QueryIOSurf(&m_Params, &Request);
    RETURN_IF_FAILED(Status, Status);
    FreeSurfaces(); // of a header whose decoder did not start
    m_SurfaceCount = Request.NumFrameSuggested;
    return MakeSurfaces(Request.Info);
}

mfxStatus CH264hwDec::MakeSurfaces(const mfxFrameInfo& Room)
{
    const uint32_t AlignedWidth = RoundUpTo32(Room.Width);
    m_AlignedHeight = RoundUpTo32(Room.Height);
    const uint64_t Luma = uint64_t{AlignedWidth} * m_AlignedHeight, SurfaceBytes = Luma * 12 / 8;
    m_pStorage = MakeBytes(m_SurfaceCount * SurfaceBytes);
    m_ppSurfaces.reset(new (std::nothrow) mfxFrameSurface1*[m_SurfaceCount]());
    if (!m_pStorage || !m_ppSurfaces) return MFX_ERR_MEMORY_ALLOC;
    for (uint16_t i = 0; i < m_SurfaceCount; ++i) {
        auto* const pSurface = new (std::nothrow) mfxFrameSurface1{};
        if (!pSurface) return MFX_ERR_MEMORY_ALLOC;
        m_ppSurfaces[i] = pSurface;
        pSurface->Info = m_Params.mfx.FrameInfo;
        pSurface->Data.Y = m_pStorage.get() + i * static_cast<size_t>(SurfaceBytes);
        pSurface->Data.U = pSurface->Data.Y + Luma;
        pSurface->Data.V = pSurface->Data.U + 1;
        pSurface->Data.Pitch = static_cast<mfxU16>(AlignedWidth);
    }
    return MFX_ERR_NONE;
}

// ---- One access unit ---------------------------------------------------------------------------------------------

int32_t CH264hwDec::Decode(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t& FrameType)
{
    if (!m_bInit) return 0;
    AppendBitstream(InBuf, iInLen);
    if (!m_bDecodeHeaderOK) {
        m_bDecodeHeaderOK = DecodeHeaderAndInit();
        LogInfo("qvlx - CH264hwDec::Decode() DecodeHeader bDecodeHeaderOK=%d", m_bDecodeHeaderOK);
        // Whatever the header's reading has consumed: what came before the first good one is lost, and its own access
        // unit goes in once more.
        m_Bitstream.DataLength = 0;
        if (!m_bDecodeHeaderOK) return 0;
        AppendBitstream(InBuf, iInLen);
    }
    const int32_t ok = DecodeFrame(OutBuf, FrameType);
    return ok || GetIntelH264hwDevFailed() ? ok : RetryAnew(InBuf, iInLen, OutBuf, FrameType);
}

// A change of size, and any other failure that has not closed the device: everything is made anew from the access unit
// at hand, once.
int32_t CH264hwDec::RetryAnew(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t& FrameType)
{
    LogWarning("qvlx - CH264hwDec::Decode() Decode failed, MFX_ERR_INCOMPATIBLE_VIDEO_PARAM retry.");
    const int32_t bRet2 = InitDecoder(m_iWidth, m_iHeight);
    LogWarning("qvlx - CH264hwDec::Decode() InitDecoder retry bRet2=%d", bRet2);
    if (bRet2 == 0) return 0;
    m_Bitstream.DataLength = 0;
    AppendBitstream(InBuf, iInLen);
    m_bDecodeHeaderOK = DecodeHeaderAndInit();
    LogWarning("qvlx - CH264hwDec::Decode() DecodeHeader retry bDecodeHeaderOK=%d", m_bDecodeHeaderOK);
    m_Bitstream.DataLength = 0;
    if (!m_bDecodeHeaderOK) return 0;
    AppendBitstream(InBuf, iInLen);
    const int32_t bRet = DecodeFrame(OutBuf, FrameType);
    LogWarning("qvlx - CH264hwDec::Decode() DecodeFrame retry bRet=%d", bRet);
    return bRet;
}

int32_t CH264hwDec::DecodeFrame(uint8_t* OutBuf, int32_t& FrameType)
{
    mfxStatus Status = MFX_ERR_NONE;
    mfxFrameSurface1* pOutput = nullptr;
    if (!RunDecoder(Status, pOutput)) {
        ReportReturn(0, QUILVEX_SOURCE, __LINE__);
        return 0;
    }
    if (Status == MFX_ERR_NONE) {
        FrameType = ClientFrameType(m_Bitstream.FrameType);
        Status = WritePicture(pOutput, OutBuf);
    }
    if (Status == MFX_ERR_NONE) return 1;
    if (Status == MFX_ERR_MORE_DATA) {
        FrameType = kFrameNone;
        return 1;
    }
    if (Status == MFX_ERR_INCOMPATIBLE_VIDEO_PARAM) {
        LogWarning("qvlx - CH264hwDec::DecodeFrame() sts=MFX_ERR_INCOMPATIBLE_VIDEO_PARAM");
        return 0;
    }
    SetIntelH264hwDevFailed();
    m_pDecoder->Forget();
    m_Session.Close();
    LogWarning("qvlx - CH264hwDec::DecodeFrame() SetIntelH264hwDevFailed");
    LogError("qvlx - CH264hwDec::DecodeFrame() Decode failed, need switch to IPP(err=%d).", Status);
    FrameType = kFrameFailed;
    return 0;
}

// Runs until there is a picture or a status that ends it; a status above 0 goes round. False without a free surface.
bool CH264hwDec::RunDecoder(mfxStatus& Status, mfxFrameSurface1*& pOutput)
{
    mfxSyncPoint SyncPoint = nullptr;
    size_t Index = 0;
    do {
        if (!m_Session.IsOpen()) Status = MFX_ERR_INVALID_HANDLE; // closed by a failure
        if (Status < MFX_ERR_NONE && Status != MFX_ERR_MORE_SURFACE) return true;
        if (Status == MFX_WRN_DEVICE_BUSY) platform::SleepFor(1);
        if ((Status == MFX_ERR_MORE_SURFACE || Status == MFX_ERR_NONE) && !FindFreeSurface(Index)) return false;
        Status = m_pDecoder->DecodeFrameAsync(&m_Bitstream, m_ppSurfaces[Index], &pOutput, &SyncPoint);
        if (Status > MFX_ERR_NONE && SyncPoint) Status = MFX_ERR_NONE;
        if (Status == MFX_ERR_NONE) Status = m_Session.SyncOperation(SyncPoint, kSyncWaitMs);
    } while (Status != MFX_ERR_NONE);
    return true;
}

bool CH264hwDec::FindFreeSurface(size_t& Index) const
{
    for (size_t i = 0; i < m_SurfaceCount; ++i) {
        if (m_ppSurfaces[i]->Data.Locked != 0) continue;
        Index = i;
        return true;
    }
    return false;
}

mfxStatus CH264hwDec::WritePicture(const mfxFrameSurface1* pSurface, uint8_t* OutBuf) const
{
    if (!pSurface || !OutBuf) platform::RaiseFault(platform::kFaultAccess);
    const mfxFrameData& Data = pSurface->Data;
    const int32_t W = pSurface->Info.CropW, H = pSurface->Info.CropH;
    const bool bWithinSurface = W <= Data.Pitch && static_cast<uint32_t>(H) <= m_AlignedHeight;
    if (!bWithinSurface || PictureBytes(W, H) > PictureBytes(m_iWidth, m_iHeight)) return MFX_ERR_NOT_ENOUGH_BUFFER;
    Nv12ToI420(Data.Y, Data.Pitch, Data.U, Data.Pitch, W, H, OutBuf);
    return MFX_ERR_NONE;
}

// ---- End ---------------------------------------------------------------------------------------------------------

void CH264hwDec::Close()
{
    if (!m_bInit) return;
    m_bInit = false;
    m_bDecodeHeaderOK = 0;
    m_iWidth = m_iHeight = 0;
    m_SurfaceCount = 0; // before the surfaces go, deliberately: their records stay allocated
    TearDown();
}

// Gives up whatever there is, the decoder before its session.
void CH264hwDec::TearDown()
{
    if (m_pDecoder) m_pDecoder->Close();
    m_pDecoder.reset();
    m_Session.Close();
    FreeSurfaces();
    m_Bitstream = {};
    m_pBlock.reset();
}

void CH264hwDec::FreeSurfaces()
{
    for (size_t i = 0; m_ppSurfaces && i < m_SurfaceCount; ++i) delete m_ppSurfaces[i];
    m_SurfaceCount = 0;
    m_ppSurfaces.reset();
    m_pStorage.reset();
}
