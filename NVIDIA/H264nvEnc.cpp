#include "NVIDIA/H264nvEnc.h"

#include "NVIDIA/inc/console_line.h"
#include "front/client_pictures.h"
#include "front/stdafx.h"
#include "platform/exception_frame.h"

#include <algorithm>
#include <new>
#include <utility>

#define QUILVEX_SOURCE "H264nvEnc"

namespace {

constexpr uint32_t kBitstreamBytes = 0x200000;
constexpr uint32_t kEndOfStreamMilliseconds = 500;
constexpr int32_t kConstructionArgument = 1;
constexpr int kLeastCapability = 0x30; // major and minor, four bits each: the first with an encoder

constexpr int32_t kLastFrame = 0x7FFFFFFF;
constexpr int32_t kRateVbr = 1;
constexpr int32_t kInitialQp = 28;

// Sizes, in macroblocks, from which on a queue of two pictures is divided by 8, 4 and 2. The first division leaves
// nothing, which is deliberate: such an encoder is made, and faults at its first picture.
constexpr uint32_t kLargest = 16384, kLarge = 8160;

uint32_t Macroblocks(int32_t Samples) { return (static_cast<uint32_t>(Samples) + 15) >> 4; }

} // namespace

CH264nvEnc::~CH264nvEnc() { Reset(); }

int32_t CH264nvEnc::Release()
{
    const int32_t Count = --m_iRefCount;
    if (Count == 0) delete this;
    return Count;
}

bool CH264nvEnc::Try(int32_t Width, int32_t Height, int32_t FramesPerSecond, int32_t KeyInterval, int32_t Kbps)
{
    CH264nvEnc* const pCodec = new (std::nothrow) CH264nvEnc(kConstructionArgument);
    ASSERT_OR_RETURN(pCodec, false);
    const int32_t Result = pCodec->InitEncoder(Width, Height, FramesPerSecond, KeyInterval, Kbps);
    pCodec->Release();
    return Result != 0;
}

// ---- The session ----------------------------------------------------------------------------------------------------

int32_t CH264nvEnc::InitEncoder(int32_t Width, int32_t Height, int32_t FramesPerSecond, int32_t KeyInterval,
                                int32_t Kbps)
{
    Reset();
    m_Width = Width;
    m_Height = Height;
    m_FramesPerSecond = FramesPerSecond;
    m_BitsPerSecond = static_cast<int32_t>(static_cast<uint32_t>(Kbps) * 1000u);
    m_KeyInterval = KeyInterval;

    m_pNvHWEncoder = new (std::nothrow) CNvHWEncoder;
    ASSERT_OR_RETURN(m_pNvHWEncoder, 0);
    FillConfig();
    InitCuda(m_EncodeConfig.deviceID); // its failure shows in the next step, which gets no context
    if (m_pNvHWEncoder->Initialize(m_CudaContext, NV_ENC_DEVICE_TYPE_CUDA) != NV_ENC_SUCCESS) return 0;
    m_EncodeConfig.presetGUID = m_pNvHWEncoder->GetPresetGUID(m_EncodeConfig.encoderPreset, m_EncodeConfig.codec);
    if (m_pNvHWEncoder->CreateEncoder(&m_EncodeConfig) != NV_ENC_SUCCESS) return 0;

    m_bAsyncMode = m_EncodeConfig.enableAsyncMode != 0;
    if (m_EncodeConfig.maxWidth == 0) m_EncodeConfig.maxWidth = Width;
    if (m_EncodeConfig.maxHeight == 0) m_EncodeConfig.maxHeight = Height;
    m_EncodeBufferCount = CountBuffers();
    m_PictureStruct = static_cast<NV_ENC_PIC_STRUCT>(m_EncodeConfig.pictureStruct);
    const auto Format = static_cast<NV_ENC_BUFFER_FORMAT>(m_EncodeConfig.inputFormat);
    if (AllocateIOBuffers(Width, Height, Format) == NV_ENC_SUCCESS) return 1;
    m_EncodeBufferQueue.Initialize(m_EncodeBuffers, 0); // no picture gets into half of the buffers
    return 0;
}

void CH264nvEnc::FillConfig()
{
    EncodeConfig& c = m_EncodeConfig;
    c = {};
    c.width = m_Width;
    c.height = m_Height;
    c.fps = m_FramesPerSecond;
    c.bitrate = m_BitsPerSecond;
    c.rcMode = kRateVbr;
    c.qp = kInitialQp;
    c.i_quant_factor = 0.8f;
    c.b_quant_factor = 1.25f;
    c.b_quant_offset = 1.25f;
    c.presetGUID = nvenc::kPresetDefault;
    c.codec = kCodecIndexH264;
    c.deviceType = kDeviceTypeCuda;
    c.endFrameIdx = kLastFrame;
    c.gopLength = static_cast<int32_t>(NVENC_INFINITE_GOPLENGTH); // key pictures are asked for one by one
    c.pictureStruct = NV_ENC_PIC_STRUCT_FRAME;
    c.inputFormat = NV_ENC_BUFFER_FORMAT_NV12;
}

uint32_t CH264nvEnc::CountBuffers() const
{
    const uint32_t Count = Macroblocks(m_EncodeConfig.maxHeight) * Macroblocks(m_EncodeConfig.maxWidth);
    if (Count >= kLargest) return 0;
    return Count >= kLarge ? 1 : 2;
}

// A call of the CUDA driver that fails is told on the console, and ends the function that makes it.
#define CUDA_OR_RETURN(Name, Call)                                                                                     \
    do {                                                                                                               \
        const CUresult Result = Call;                                                                                  \
        if (Result == CUDA_SUCCESS) break;                                                                             \
        TELL_ON_CONSOLE(Name " error:0x%x\n", static_cast<unsigned int>(Result));                                      \
        return NV_ENC_ERR_NO_ENCODE_DEVICE;                                                                            \
    } while (false)
// The same for a call that works where there is a driver: it is reported as well.
#define CUDA_OR_ASSERT(Name, Call)                                                                                     \
    do {                                                                                                               \
        const CUresult Result = Call;                                                                                  \
        if (Result == CUDA_SUCCESS) break;                                                                             \
        TELL_ON_CONSOLE(Name " error:0x%x\n", static_cast<unsigned int>(Result));                                      \
        ASSERT_RETURN(false, "0", NV_ENC_ERR_NO_ENCODE_DEVICE);                                                        \
    } while (false)

NVENCSTATUS CH264nvEnc::InitCuda(int32_t DeviceID)
{
    int Devices = 0, Major = 0, Minor = 0;
    CUdevice Device = 0;
    CUcontext Current;
    CUDA_OR_ASSERT("cuInit", cuInit(0, kCudaVersion, nullptr));
    CUDA_OR_ASSERT("cuDeviceGetCount", g_Cuda.cuDeviceGetCount(&Devices));
    DeviceID = std::max(DeviceID, 0);
    // Without a device any number passes here; the driver refuses it in the next step.
    if (static_cast<uint32_t>(DeviceID) > static_cast<uint32_t>(Devices) - 1) {
        TELL_ON_CONSOLE("Invalid Device Id = %d\n", DeviceID);
        return NV_ENC_ERR_INVALID_ENCODERDEVICE;
    }
    CUDA_OR_RETURN("cuDeviceGet", g_Cuda.cuDeviceGet(&Device, DeviceID));
    CUDA_OR_RETURN("cuDeviceComputeCapability", g_Cuda.cuDeviceComputeCapability(&Major, &Minor, Device));
    if (Major * 16 + Minor < kLeastCapability) {
        TELL_ON_CONSOLE("GPU %d does not have NVENC capabilities exiting\n", DeviceID);
        return NV_ENC_ERR_NO_ENCODE_DEVICE;
    }
    CUDA_OR_ASSERT("cuCtxCreate", g_Cuda.cuCtxCreate(&m_CudaContext, 0, Device));
    CUDA_OR_ASSERT("cuCtxPopCurrent", g_Cuda.cuCtxPopCurrent(&Current)); // the context floats from now on
    return NV_ENC_SUCCESS;
}

int32_t CH264nvEnc::SetBitrate(int32_t iKbps)
{
    ASSERT_OR_RETURN(m_pNvHWEncoder, 0);
    ASSERT_OR_RETURN(iKbps, 0);
    return InitEncoder(m_Width, m_Height, m_FramesPerSecond, m_KeyInterval, iKbps);
}

int32_t CH264nvEnc::Reset()
{
    if (m_pNvHWEncoder) {
        Deinitialize();
        delete std::exchange(m_pNvHWEncoder, nullptr);
    }
    m_EncodeBufferCount = 0;
    m_EncodeBufferQueue.Initialize(m_EncodeBuffers, 0);
    m_Width = m_Height = m_FramesPerSecond = m_BitsPerSecond = m_KeyInterval = m_FrameCounter = 0;
    return 1;
}

// Handles are let go of before the driver is called: a fault there leaves the rest for the next time.
NVENCSTATUS CH264nvEnc::Deinitialize()
{
    ReleaseIOBuffers();
    const NVENCSTATUS Status = m_pNvHWEncoder->NvEncDestroyEncoder();
    if (!m_CudaContext) return Status;
    const CUresult Result = g_Cuda.cuCtxDestroy(std::exchange(m_CudaContext, nullptr));
    if (Result != CUDA_SUCCESS) TELL_ON_CONSOLE("cuCtxDestroy error:0x%x\n", static_cast<unsigned int>(Result));
    return Status;
}

// ---- The buffers ----------------------------------------------------------------------------------------------------

NVENCSTATUS CH264nvEnc::AllocateIOBuffers(int32_t Width, int32_t Height, NV_ENC_BUFFER_FORMAT Format)
{
    if (!m_EncodeBufferQueue.Initialize(m_EncodeBuffers, m_EncodeBufferCount)) return NV_ENC_ERR_OUT_OF_MEMORY;
    for (uint32_t i = 0; i < m_EncodeBufferCount; ++i) {
        const NVENCSTATUS Status = AllocateIOBuffer(m_EncodeBuffers[i], Width, Height, Format);
        if (Status != NV_ENC_SUCCESS) return Status;
    }
    m_EOSOutput.bEndOfStream = true;
    return m_bAsyncMode ? OpenEvent(m_EOSOutput) : NV_ENC_SUCCESS;
}

NVENCSTATUS CH264nvEnc::AllocateIOBuffer(EncodeBuffer& Buffer, int32_t Width, int32_t Height,
                                         NV_ENC_BUFFER_FORMAT Format)
{
    EncodeInputBuffer& Input = Buffer.Input;
    NVENCSTATUS Status = m_pNvHWEncoder->NvEncCreateInputBuffer(static_cast<uint32_t>(Width),
                                                                static_cast<uint32_t>(Height), &Input.pSurface, Format);
    if (Status != NV_ENC_SUCCESS) return Status;
    Input.Format = Format;
    Input.Width = Width;
    Input.Height = Height;

    EncodeOutputBuffer& Output = Buffer.Output;
    Status = m_pNvHWEncoder->NvEncCreateBitstreamBuffer(kBitstreamBytes, &Output.pBitstream);
    if (Status != NV_ENC_SUCCESS) return Status;
    Output.Size = kBitstreamBytes;
    Output.bWaitOnEvent = m_bAsyncMode;
    return m_bAsyncMode ? OpenEvent(Output) : NV_ENC_SUCCESS;
}

NVENCSTATUS CH264nvEnc::OpenEvent(EncodeOutputBuffer& Output)
{
    const NVENCSTATUS Status = m_pNvHWEncoder->NvEncRegisterAsyncEvent(&Output.pEvent);
    Output.bRegistered = Status == NV_ENC_SUCCESS;
    return Status;
}

void CH264nvEnc::ReleaseIOBuffers()
{
    for (EncodeBuffer& b : m_EncodeBuffers) {
        if (b.Input.pSurface) m_pNvHWEncoder->NvEncDestroyInputBuffer(std::exchange(b.Input.pSurface, nullptr));
        if (b.Output.pBitstream)
            m_pNvHWEncoder->NvEncDestroyBitstreamBuffer(std::exchange(b.Output.pBitstream, nullptr));
        CloseEvent(b.Output);
    }
    CloseEvent(m_EOSOutput);
}

void CH264nvEnc::CloseEvent(EncodeOutputBuffer& Output)
{
    if (std::exchange(Output.bRegistered, false)) m_pNvHWEncoder->NvEncUnregisterAsyncEvent(Output.pEvent);
    delete std::exchange(Output.pEvent, nullptr);
}

// ---- Pictures -------------------------------------------------------------------------------------------------------

int32_t CH264nvEnc::Encode(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t ForceKey,
                           int32_t* pFrameType)
{
    ASSERT_OR_RETURN(InBuf, 0);
    ASSERT_OR_RETURN(OutBuf, 0);
    ASSERT_OR_RETURN(pdwOutLen, 0);
    if (m_KeyInterval == 0) platform::RaiseFault(platform::kFaultArithmetic); // deliberate: what dividing by it does
    if (m_FrameCounter % m_KeyInterval == 0) ForceKey = 1;

    const NVENCSTATUS Status = EncodeFrame(InBuf, OutBuf, pdwOutLen, ForceKey, pFrameType);
    if (Status == NV_ENC_SUCCESS) {
        ++m_FrameCounter;
        return 1;
    }
    LogError("qvlx - CH264nvEnc::Encode() Encode failed, need switch to IPP(err=%d).", static_cast<int>(Status));
    *pdwOutLen = -1;
    if (pFrameType) *pFrameType = -1;
    return 0;
}

NVENCSTATUS CH264nvEnc::EncodeFrame(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t ForceKey,
                                    int32_t* pFrameType)
{
    const EncodeBuffer& Buffer = TakeBuffer();
    NVENCSTATUS Status = FillSurface(Buffer.Input, InBuf);
    if (Status != NV_ENC_SUCCESS) return Status;
    const NvEncPictureCommand Command{ForceKey == 1};
    Status = m_pNvHWEncoder->NvEncEncodeFrame(Buffer, Command, static_cast<uint32_t>(m_Width),
                                              static_cast<uint32_t>(m_Height), m_PictureStruct);
    if (Status == NV_ENC_SUCCESS) Status = TakeOutput(Buffer.Output, OutBuf, pdwOutLen, pFrameType);
    FlushEncoder(); // whatever its status
    return Status;
}

EncodeBuffer& CH264nvEnc::TakeBuffer()
{
    EncodeBuffer* pBuffer = m_EncodeBufferQueue.GetAvailable();
    if (!pBuffer) {
        const EncodeBuffer* const pOldest = m_EncodeBufferQueue.GetPending();
        // Deliberate: without any buffer, for the picture's size or after a failed start, this is a fault.
        if (!pOldest) platform::RaiseFault(platform::kFaultAccess);
        m_pNvHWEncoder->ProcessOutput(pOldest->Output, nullptr);
        pBuffer = m_EncodeBufferQueue.GetAvailable();
    }
    return *pBuffer;
}

// The only pass over the picture: straight into the driver's memory.
NVENCSTATUS CH264nvEnc::FillSurface(const EncodeInputBuffer& Input, const uint8_t* InBuf)
{
    void* pData = nullptr;
    uint32_t Pitch = 0; // bytes
    const NVENCSTATUS Status = m_pNvHWEncoder->NvEncLockInputBuffer(Input.pSurface, &pData, &Pitch);
    if (Status != NV_ENC_SUCCESS) return Status;
    if (!pData) platform::RaiseFault(platform::kFaultAccess); // deliberate: what writing there does
    auto* const pLuma = static_cast<uint8_t*>(pData);
    I420ToNv12(InBuf, m_Width, m_Height, pLuma, static_cast<int32_t>(Pitch),
               pLuma + static_cast<size_t>(Input.Height) * Pitch, static_cast<int32_t>(Pitch));
    return m_pNvHWEncoder->NvEncUnlockInputBuffer(Input.pSurface);
}

NVENCSTATUS CH264nvEnc::TakeOutput(const EncodeOutputBuffer& Output, uint8_t* OutBuf, int32_t* pdwOutLen,
                                   int32_t* pFrameType)
{
    EncodedUnit Unit{OutBuf, AccessUnitRoom(m_Width, m_Height)};
    m_pNvHWEncoder->ProcessOutput(Output, &Unit); // whatever its status: a picture without bytes counts as encoded
    if (Unit.bRead) *pdwOutLen = static_cast<int32_t>(Unit.Length);
    m_pNvHWEncoder->NvEncFlushEncoderQueue(Output.pEvent);
    if (pFrameType) *pFrameType = Unit.PictureType == NV_ENC_PIC_TYPE_IDR ? 1 : 2;
    return Unit.IsTooLong() ? NV_ENC_ERR_NOT_ENOUGH_BUFFER : NV_ENC_SUCCESS;
}

// Empties the driver, and the queue with it: the buffer in use returns to the ring here.
NVENCSTATUS CH264nvEnc::FlushEncoder()
{
    const NVENCSTATUS Status = m_pNvHWEncoder->NvEncFlushEncoderQueue(m_EOSOutput.pEvent);
    ASSERT_RETURN(Status == NV_ENC_SUCCESS, "0", Status);
    while (const EncodeBuffer* const pBuffer = m_EncodeBufferQueue.GetPending())
        m_pNvHWEncoder->ProcessOutput(pBuffer->Output, nullptr);
    const bool bEnded = !m_bAsyncMode || m_EOSOutput.pEvent->Wait(kEndOfStreamMilliseconds);
    ASSERT_RETURN(bEnded, "0", NV_ENC_ERR_GENERIC);
    return Status;
}
