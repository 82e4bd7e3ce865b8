// NVIDIA's engine: IVCodec over the NVENC encoder and the CUVID decoder.
#pragma once

#include "NVIDIA/H264nvDec.h"
#include "NVIDIA/H264nvEnc.h"
#include "quilvex/IVCodec.h"

#include <atomic>
#include <cstdint>

/// Adds to the two the assertions of the client's pointers and an exception frame around whatever can touch a driver: a
/// fault there ends in the operation's failure and leaves the object as it stood. Both sides can be open at once.
class CVCodecH264nv : public IVCodec
{
public:
    explicit CVCodecH264nv(int32_t iArgument);
    /// Virtual for DeletingDestructor; it takes slots behind the interface's.
    virtual ~CVCodecH264nv();

    void* DeletingDestructor(uint32_t iFlags) override;
    uint32_t GetFamilyTag() override { return kBackendSoftware; }
    int32_t AddRef() override { return ++m_iRefCount; }
    int32_t Release() override;
    int32_t Reset() override;
    uint32_t GetBackendTag() override { return kBackendNvidia; }
    int32_t InitEncoder(int32_t PictureWidth, int32_t PictureHeight, int32_t iFramesPerSecond, int32_t iKeyinterval,
                        int32_t iKbps) override;
    int32_t Encode(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t bForceKey,
                   int32_t* pFrameType) override;
    int32_t InitDecoder(int32_t PictureWidth, int32_t PictureHeight) override;
    int32_t Decode(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t* pFrameType) override;
    /// Always 0, whatever became of it.
    int32_t SetBitrate(int32_t iKbps) override;

protected:
    std::atomic<int32_t> m_iRefCount{1};
    const int32_t m_iArgument;
    int32_t m_bDecoder = 0; // the last Init that was called; nothing depends on it
    // In unions, so that the destructor of each runs in a frame.
    union {
        CH264nvEnc m_Encoder;
    };
    union {
        CH264nvDec m_Decoder;
    };
    int32_t m_PictureWidth = 0, m_PictureHeight = 0; // of the last Init, of either side
};
