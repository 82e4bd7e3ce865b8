// The Intel engine: IVCodec over the Media SDK, on the device or in its software implementation.
#pragma once

#include "intel/H264hwDec.h"
#include "intel/H264hwEnc.h"
#include "quilvex/IVCodec.h"

#include <atomic>
#include <cstdint>

/// Every slot that can touch the SDK runs in an exception frame: a fault below is logged and is a failure of the call.
class CVCodecH264hw : public IVCodec
{
public:
    /// @param iImplKind  2 for the software implementation, any other for the hardware.
    explicit CVCodecH264hw(int32_t iImplKind) : m_iImplKind(iImplKind), m_Encoder(iImplKind), m_Decoder(iImplKind) {}
    virtual ~CVCodecH264hw();

    void* DeletingDestructor(uint32_t iFlags) override;
    uint32_t GetFamilyTag() override { return kBackendSoftware; }
    int32_t AddRef() override { return ++m_iRefCount; }
    int32_t Release() override;
    int32_t Reset() override;
    uint32_t GetBackendTag() override { return m_iImplKind == 1 ? kBackendIntelHard : kBackendIntelSoft; }
    int32_t InitEncoder(int32_t PictureWidth, int32_t PictureHeight, int32_t iFramesPerSecond, int32_t iKeyinterval,
                        int32_t iKbps) override;
    int32_t Encode(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t bForceKey,
                   int32_t* pFrameType) override;
    int32_t InitDecoder(int32_t PictureWidth, int32_t PictureHeight) override;
    /// Null pointers are not asserted here: they fault where they are used.
    int32_t Decode(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t* pFrameType) override;
    /// Always 0, whatever the encoder answers, deliberately.
    int32_t SetBitrate(int32_t iKbps) override;

private:
    static constexpr int32_t kRoleEncoder = 0, kRoleDecoder = 1;

    std::atomic<int32_t> m_iRefCount{1};
    int32_t m_iImplKind;
    int32_t m_iRole = kRoleEncoder; // recorded only
    CH264hwEnc m_Encoder;
    CH264hwDec m_Decoder;
    int32_t m_PictureWidth = 0, m_PictureHeight = 0; // of the last InitEncoder or InitDecoder
};
