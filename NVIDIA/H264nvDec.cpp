#include "NVIDIA/H264nvDec.h"

#include "NVIDIA/CuContextAutoPushPop.h"
#include "NVIDIA/CuvidAutoLock.h"
#include "NVIDIA/FrameQueue.h"
#include "NVIDIA/VideoDecoder.h"
#include "NVIDIA/inc/cuda_device.h"
#include "front/client_pictures.h"
#include "front/stdafx.h"
#include "quilvex/IVCodec.h"

#include <algorithm>
#include <new>
#include <utility>

#define QUILVEX_SOURCE "H264nvDec"

namespace {

// Logs a call of InitCuvid that failed, and tells whether it worked.
bool Worked(const char* pCall, CUresult Status)
{
    if (Status == CUDA_SUCCESS) return true;
    LogError("qvlx - CH264nvDec::InitCuvid() %s error=%d", pCall, Status);
    return false;
}

// Whether a picture has samples, and its rows the bytes for them.
bool IsPicture(int32_t Width, int32_t Height, uint32_t Pitch)
{
    return Width > 0 && Height > 0 && Pitch >= static_cast<uint32_t>(Width) && Pitch <= uint32_t{INT32_MAX};
}

} // namespace

CH264nvDec::CH264nvDec(int32_t /*iArgument*/) {}

CH264nvDec::~CH264nvDec() noexcept(false) { Reset(); }

// ---- Set up and give up ----------------------------------------------------------------------------------------

int32_t CH264nvDec::InitDecoder(int32_t iWidth, int32_t iHeight)
{
    Reset();
    m_iWidth = iWidth;
    m_iHeight = iHeight;
    m_bInitialised = InitCuvid();
    if (m_bInitialised) return 1;
    Reset();
    return 0;
}

void CH264nvDec::Reset()
{
    m_bInitialised = 0;
    Close();
    m_iWidth = m_iHeight = 0;
}

int32_t CH264nvDec::InitCuvid()
{
    const int32_t Result = OpenDevice() && CheckCaps() && MakeParser() && MakeQueue();
    if (m_Context) g_Cuda.cuCtxPopCurrent(nullptr); // a new one is current: from here on it is made so call by call
    return Result;
}

bool CH264nvDec::OpenDevice()
{
    if (!Worked("cuInit", cuInit(0, kCudaVersion, nullptr))) return false;
    if (!Worked("cuvidInit", cuvidInit(0))) return false;
    CUresult Status = CUDA_SUCCESS;
    const int32_t DeviceId = gpuGetMaxGflopsDeviceIdDRV(&Status);
    if (DeviceId < 0) return Worked("gpuGetMaxGflopsDeviceIdDRV", Status);
    CUdevice Device = 0;
    Status = g_Cuda.cuDeviceGet(&Device, DeviceId);
    if (Status != CUDA_SUCCESS) {
        LogError("qvlx - CH264nvDec::InitCuvid() cuDeviceGet deviceID=%d error=%d", DeviceId, Status);
        return false;
    }
    return Worked("cuCtxCreate", g_Cuda.cuCtxCreate(&m_Context, CU_CTX_SCHED_BLOCKING_SYNC, Device)) &&
           Worked("cuvidCtxLockCreate", g_Cuvid.cuvidCtxLockCreate(&m_Lock, m_Context));
}

bool CH264nvDec::CheckCaps()
{
    CUVIDDECODECAPS Caps{};
    Caps.eCodecType = cudaVideoCodec_H264;
    Caps.eChromaFormat = cudaVideoChromaFormat_420;
    if (!g_Cuvid.cuvidGetDecoderCaps || g_Cuvid.cuvidGetDecoderCaps(&Caps) != CUDA_SUCCESS) {
        // Deliberate: the status of the call before is told, always 0.
        LogError("qvlx - CH264nvDec::InitCuvid() cuvidGetDecoderCaps error=%d", CUDA_SUCCESS);
        return false;
    }
    if (Caps.bIsSupported && m_iWidth >= Caps.nMinWidth && m_iHeight >= Caps.nMinHeight &&
        m_iWidth <= int64_t{Caps.nMaxWidth} && m_iHeight <= int64_t{Caps.nMaxHeight})
        return true;
    LogError("qvlx - CH264nvDec::InitCuvid() cuvidGetDecoderCaps videoDecodeCaps.bIsSupported=%d iWidth=%d iHeight=%d "
             "nMinWidth=%d nMinHeight=%d nMaxWidth=%d nMaxHeight=%d",
             Caps.bIsSupported, m_iWidth, m_iHeight, Caps.nMinWidth, Caps.nMinHeight,
             static_cast<int32_t>(Caps.nMaxWidth), static_cast<int32_t>(Caps.nMaxHeight));
    return false;
}

bool CH264nvDec::MakeParser()
{
    CUVIDPARSERPARAMS Params{};
    Params.CodecType = cudaVideoCodec_H264;
    Params.ulMaxNumDecodeSurfaces = FrameQueue::kCapacity;
    Params.ulMaxDisplayDelay = 0; // a picture is shown as soon as it is decoded
    Params.pUserData = this;
    Params.pfnSequenceCallback = HandleVideoSequence;
    Params.pfnDecodePicture = HandlePictureDecode;
    Params.pfnDisplayPicture = HandlePictureDisplay;
    return Worked("cuvidCreateVideoParser", g_Cuvid.cuvidCreateVideoParser(&m_Parser, &Params));
}

bool CH264nvDec::MakeQueue()
{
    m_pFrameQueue.reset(new (std::nothrow) FrameQueue);
    if (!m_pFrameQueue) LogError("qvlx - CH264nvDec::InitCuvid() m_pFrameQueue==null");
    return m_pFrameQueue != nullptr;
}

// Each handle is forgotten before the driver is asked to destroy it: after a fault in that, the next close goes on with
// what is left. No status is looked at.
void CH264nvDec::Close()
{
    if (m_pFrameQueue) m_pFrameQueue->endDecode();
    {
        const CuContextAutoPushPop Current(m_Context);
        if (const CUvideoparser Parser = std::exchange(m_Parser, nullptr)) g_Cuvid.cuvidDestroyVideoParser(Parser);
        delete std::exchange(m_pVideoDecoder, nullptr);
        m_HostBytes = 0;
        if (uint8_t* const pHost = std::exchange(m_pHost, nullptr)) g_Cuda.cuMemFreeHost(pHost);
        if (const CUvideoctxlock Lock = std::exchange(m_Lock, nullptr)) g_Cuvid.cuvidCtxLockDestroy(Lock);
    }
    if (const CUcontext Context = std::exchange(m_Context, nullptr)) g_Cuda.cuCtxDestroy(Context);
    m_pFrameQueue.reset();
    m_bCuHasError = 0;
}

// ---- An access unit --------------------------------------------------------------------------------------------

int32_t CH264nvDec::Decode(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t* pFrameType)
{
    ASSERT_OR_RETURN(InBuf, 0);
    ASSERT_OR_RETURN(OutBuf, 0);
    int32_t bOk = 0, FrameType = kFrameNone;
    if (m_bInitialised) {
        bOk = PutDataToDecode(InBuf, iInLen);
        if (bOk) bOk = GetDecodedFrame(OutBuf, &FrameType);
    }
    if (pFrameType) *pFrameType = bOk ? FrameType : int32_t{kFrameFailed};
    return bOk;
}

int32_t CH264nvDec::PutDataToDecode(const uint8_t* pData, int32_t iLength)
{
    const CuContextAutoPushPop Current(m_Context);
    m_bCuHasError = 0;
    CUVIDSOURCEDATAPACKET Packet{};
    Packet.flags = CUVID_PKT_ENDOFPICTURE;
    Packet.payload_size = static_cast<uint32_t>(std::max(iLength, 0));
    Packet.payload = pData;
    const CUresult Status = g_Cuvid.cuvidParseVideoData(m_Parser, &Packet);
    if (Status != CUDA_SUCCESS) {
        LogError("qvlx - CH264nvDec::PutDataToDecode() cuvidParseVideoData error=%d", Status);
        return 0;
    }
    if (m_bCuHasError) {
        LogError("qvlx - CH264nvDec::PutDataToDecode() m_bCuHasError=%d", m_bCuHasError);
        return 0;
    }
    return 1;
}

int32_t CH264nvDec::FailInCallback(const char* pCallback)
{
    m_bCuHasError = 1;
    LogError("qvlx - CH264nvDec::%s error", pCallback);
    return 0;
}

// A decoder that could not be made for a format stays for it: no further sequence of that format is tried.
int CUDAAPI CH264nvDec::HandleVideoSequence(void* pUser, CUVIDEOFORMAT* pFormat)
{
    CH264nvDec& Self = *static_cast<CH264nvDec*>(pUser);
    const VideoDecoder* const p = Self.m_pVideoDecoder;
    if (p && p->codec() == pFormat->codec && p->width() == pFormat->coded_width &&
        p->height() == pFormat->coded_height && p->chromaFormat() == pFormat->chroma_format)
        return 1;
    delete std::exchange(Self.m_pVideoDecoder, nullptr);
    Self.m_pVideoDecoder = new (std::nothrow) VideoDecoder(*pFormat, cudaVideoCreate_PreferCUVID, Self.m_Lock);
    if (Self.m_pVideoDecoder && Self.m_pVideoDecoder->isSuccess()) return 1;
    return Self.FailInCallback("HandleVideoSequence()");
}

int CUDAAPI CH264nvDec::HandlePictureDecode(void* pUser, CUVIDPICPARAMS* pParams)
{
    CH264nvDec& Self = *static_cast<CH264nvDec*>(pUser);
    if (Self.m_bCuHasError) return 0;
    if (Self.m_pVideoDecoder && Self.m_pVideoDecoder->decodePicture(pParams) == CUDA_SUCCESS) return 1;
    return Self.FailInCallback("HandlePictureDecode() decodePicture");
}

int CUDAAPI CH264nvDec::HandlePictureDisplay(void* pUser, CUVIDPARSERDISPINFO* pInfo)
{
    CH264nvDec& Self = *static_cast<CH264nvDec*>(pUser);
    if (!pInfo) return 1; // so newer drivers tell the end of a stream
    if (!FrameQueue::isIndex(pInfo->picture_index)) {
        Self.m_bCuHasError = 1;
        LogError("qvlx - CH264nvDec::HandlePictureDisplay() picture_index=%d", pInfo->picture_index);
        return 0;
    }
    Self.m_pFrameQueue->enqueue(*pInfo);
    return 1;
}

// ---- A picture to the client -----------------------------------------------------------------------------------

int32_t CH264nvDec::GetDecodedFrame(uint8_t* OutBuf, int32_t* pFrameType)
{
    *pFrameType = kFrameNone;
    CUVIDPARSERDISPINFO Info;
    if (!m_pFrameQueue->dequeue(Info)) return 1;
    const CuvidAutoLock Locked(m_Lock);
    const CuContextAutoPushPop Current(m_Context);
    CUdeviceptr Frame = 0;
    const int32_t Result = CopyFrame(Info, &Frame, OutBuf);
    if (Result) *pFrameType = kFrameP; // whatever it is: the driver does not say
    if (Frame) m_pVideoDecoder->unmapFrame(Frame);
    m_pFrameQueue->releaseFrame(Info);
    return Result;
}

// Maps a picture and copies it to the client. *pFrame is not 0 when it has to be unmapped.
int32_t CH264nvDec::CopyFrame(const CUVIDPARSERDISPINFO& Info, CUdeviceptr* pFrame, uint8_t* OutBuf)
{
    if (!m_pVideoDecoder) { // pictures are shown before a sequence has begun
        LogError("qvlx - CH264nvDec::GetDecodedFrame() m_pVideoDecoder==null");
        return 0;
    }
    CUVIDPROCPARAMS Params{};
    Params.progressive_frame = Info.progressive_frame;
    Params.top_field_first = Info.top_field_first;
    Params.unpaired_field = Info.repeat_first_field < 0;
    unsigned int Pitch = 0;
    const CUresult Status = m_pVideoDecoder->mapFrame(Info.picture_index, pFrame, &Pitch, &Params);
    if (Status != CUDA_SUCCESS) {
        LogError("qvlx - CH264nvDec::GetDecodedFrame() mapFrame error=%d", Status);
        return 0;
    }
    const int32_t Width = m_pVideoDecoder->targetWidth(), Height = m_pVideoDecoder->targetHeight();
    if (!IsPicture(Width, Height, Pitch)) {
        LogError("qvlx - CH264nvDec::GetDecodedFrame() width=%d height=%d pitch=%u", Width, Height, Pitch);
        return 0;
    }
    return CopyToHost(*pFrame, uint64_t{Pitch} * static_cast<uint32_t>(Height)) ? WritePicture(Pitch, OutBuf) : 0;
}

// Both planes: the chroma is directly behind the luma. The buffer on this side is made for the first picture and stays,
// also when a new sequence has larger ones: those do not fit.
bool CH264nvDec::CopyToHost(CUdeviceptr Frame, uint64_t LumaBytes)
{
    const uint64_t Bytes = LumaBytes + LumaBytes / 2;
    if (!m_pHost && !MakeHostBuffer(Bytes)) return false;
    if (Bytes > m_HostBytes) {
        LogError("qvlx - CH264nvDec::GetDecodedFrame() bytes=%llu hostBytes=%llu", // of the picture, of the buffer
                 static_cast<unsigned long long>(Bytes), static_cast<unsigned long long>(m_HostBytes));
        return false;
    }
    const CUresult Status = g_Cuda.cuMemcpyDtoH(m_pHost, Frame, static_cast<size_t>(Bytes));
    if (Status == CUDA_SUCCESS) return true;
    LogError("qvlx - CH264nvDec::GetDecodedFrame() cuMemcpyDtoH error=%d", Status);
    return false;
}

bool CH264nvDec::MakeHostBuffer(uint64_t Bytes)
{
    void* pMemory = nullptr;
    const auto Size = static_cast<size_t>(std::min<uint64_t>(Bytes, SIZE_MAX)); // refused, where it is the latter
    const CUresult Status = g_Cuda.cuMemAllocHost(&pMemory, Size);
    if (Status != CUDA_SUCCESS || !pMemory) {
        LogError("qvlx - CH264nvDec::GetDecodedFrame() cuMemAllocHost error=%d", Status);
        return false;
    }
    m_pHost = static_cast<uint8_t*>(pMemory);
    m_HostBytes = Size;
    return true;
}

int32_t CH264nvDec::WritePicture(uint32_t Pitch, uint8_t* OutBuf)
{
    const int32_t Width = m_pVideoDecoder->targetWidth(), Height = m_pVideoDecoder->targetHeight();
    if (const int32_t Bytes = m_pVideoDecoder->bytesPerSample(); Bytes != 1) {
        LogError("qvlx - CH264nvDec::GetDecodedFrame() BytesPerSample=%d", Bytes);
        return 0;
    }
    if (PictureBytes(Width, Height) > PictureBytes(m_iWidth, m_iHeight)) {
        LogError("qvlx - CH264nvDec::GetDecodedFrame() width=%d height=%d iWidth=%d iHeight=%d", Width, Height,
                 m_iWidth, m_iHeight);
        return 0;
    }
    const auto Step = static_cast<int32_t>(Pitch);
    Nv12ToI420(m_pHost, Step, m_pHost + ptrdiff_t{Step} * Height, Step, Width, Height, OutBuf);
    return 1;
}

// ---- The trial -------------------------------------------------------------------------------------------------

bool CH264nvDec::Try(int32_t iWidth, int32_t iHeight)
{
    // Not owned by a scope: a driver that throws is not asked for more on the way out.
    auto* const pCodec = new (std::nothrow) CH264nvDec(1);
    ASSERT_OR_RETURN(pCodec, false);
    const bool bSupported = pCodec->InitDecoder(iWidth, iHeight) != 0;
    delete pCodec;
    return bSupported;
}
