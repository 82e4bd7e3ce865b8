// The encoder of the NVIDIA engine.
#pragma once

#include "NVIDIA/inc/NvHWEncoder.h"
#include "NVIDIA/inc/cuda_driver.h"
#include "NVIDIA/inc/encode_buffer_queue.h"

#include <atomic>
#include <cstdint>

/// One I420 picture in and one access unit out a call; nothing stays inside between calls. What an operation calls may
/// fault: it runs in a driver's frame, and the object can be reset after that.
class CH264nvEnc
{
public:
    explicit CH264nvEnc(int32_t Argument) : m_Argument(Argument) {}
    CH264nvEnc(const CH264nvEnc&) = delete;
    CH264nvEnc& operator=(const CH264nvEnc&) = delete;
    virtual ~CH264nvEnc();

    int32_t Release(); ///< for one on the heap

    /// Tears down what there is and opens a session anew.
    /// @param KeyInterval  Pictures from one IDR picture to the next. With 0 the first picture is a fault.
    /// @return 1; 0, and what was made stays until the next call or Reset().
    int32_t InitEncoder(int32_t Width, int32_t Height, int32_t FramesPerSecond, int32_t KeyInterval, int32_t Kbps);
    /// @param OutBuf     AccessUnitRoom() bytes.
    /// @param pdwOutLen  Written on success; -1 after a failure.
    /// @param ForceKey   1 asks for an IDR picture; any other value does not.
    /// @param pFrameType May be null. 1 an IDR picture, 2 any other; -1 after a failure.
    /// @return 1; 0 when the engine has to be replaced.
    int32_t Encode(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t ForceKey, int32_t* pFrameType);
    /// A new session of the same size: the next picture is an IDR picture. 1 or 0.
    int32_t SetBitrate(int32_t iKbps);
    int32_t Reset(); ///< always 1

    /// Whether an encoder can be opened with the driver of this machine.
    static bool Try(int32_t Width, int32_t Height, int32_t FramesPerSecond, int32_t KeyInterval, int32_t Kbps);

protected:
    static constexpr uint32_t kMostBuffers = 2;

    NVENCSTATUS InitCuda(int32_t DeviceID);
    void FillConfig();
    uint32_t CountBuffers() const;
    NVENCSTATUS AllocateIOBuffers(int32_t Width, int32_t Height, NV_ENC_BUFFER_FORMAT Format);
    NVENCSTATUS AllocateIOBuffer(EncodeBuffer& Buffer, int32_t Width, int32_t Height, NV_ENC_BUFFER_FORMAT Format);
    void ReleaseIOBuffers();
    NVENCSTATUS OpenEvent(EncodeOutputBuffer& Output);
    void CloseEvent(EncodeOutputBuffer& Output);
    NVENCSTATUS Deinitialize();

    NVENCSTATUS EncodeFrame(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t ForceKey,
                            int32_t* pFrameType);
    EncodeBuffer& TakeBuffer();
    NVENCSTATUS FillSurface(const EncodeInputBuffer& Input, const uint8_t* InBuf);
    NVENCSTATUS TakeOutput(const EncodeOutputBuffer& Output, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t* pFrameType);
    NVENCSTATUS FlushEncoder();

    std::atomic<int32_t> m_iRefCount{1};
    int32_t m_Argument;
    int32_t m_Width = 0, m_Height = 0;
    int32_t m_FramesPerSecond = 0;
    int32_t m_BitsPerSecond = 0;
    int32_t m_KeyInterval = 0;
    int32_t m_FrameCounter = 0; // pictures encoded since InitEncoder()
    CNvHWEncoder* m_pNvHWEncoder = nullptr;
    EncodeConfig m_EncodeConfig{};
    uint32_t m_EncodeBufferCount = 0; // 0..kMostBuffers
    NV_ENC_PIC_STRUCT m_PictureStruct = NV_ENC_PIC_STRUCT_FRAME;
    CUcontext m_CudaContext = nullptr;
    bool m_bAsyncMode = false;
    EncodeBuffer m_EncodeBuffers[kMostBuffers];
    EncodeBufferQueue m_EncodeBufferQueue;
    EncodeOutputBuffer m_EOSOutput;
};
