// The AMD engine: IVCodec over the H.264 components of the AMF run time.
#pragma once

#include "AMF/common/AMFComponent.h"
#include "AMF/common/AMFContext.h"
#include "AMF/common/AMFInterfacePtr.h"
#include "quilvex/IVCodec.h"

#include <atomic>
#include <cstdint>

struct AMFComError;

/// Each picture is a whole transaction with the component: submit, drain, query to the end of the stream, flush. No
/// picture stays inside between calls. The waits of a transaction have no limit, and a fault of the driver ends the
/// process: this engine has no exception frame. All of it is deliberate.
class CVCodecH264AMD : public IVCodec
{
public:
    CVCodecH264AMD() = default;
    /// Virtual for slot 0, behind the interface's slots.
    virtual ~CVCodecH264AMD();

    /// The trial of the driver: whether it gives a context and an encoder component. Neither is initialised, and the
    /// same trial stands for a decoder.
    static bool IsSupportH264hw_0();

    void* DeletingDestructor(uint32_t iFlags) override;
    uint32_t GetFamilyTag() override { return kBackendSoftware; }
    int32_t AddRef() override { return ++m_iRefCount; }
    int32_t Release() override;
    int32_t Reset() override { return 0; }
    uint32_t GetBackendTag() override { return kBackendAmd; }
    int32_t InitEncoder(int32_t PictureWidth, int32_t PictureHeight, int32_t iFramesPerSecond, int32_t iKeyinterval,
                        int32_t iKbps) noexcept override;
    int32_t Encode(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t bForceKey,
                   int32_t* pFrameType) noexcept override;
    int32_t InitDecoder(int32_t PictureWidth, int32_t PictureHeight) noexcept override;
    int32_t Decode(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t* pFrameType) noexcept override;
    int32_t SetBitrate(int32_t iKbps) noexcept override;

protected:
    void CloseEncoder();
    void CloseDecoder();
    void FreePicture();
    bool TakePictureBuffer(int32_t PictureWidth, int32_t PictureHeight);
    void SetEncoderProperties();
    void SetPictureProperties(AMFSurface& Surface, int32_t bForceKey);
    int32_t CollectUnits(uint8_t* OutBuf, int32_t* pdwOutLen, int32_t* pFrameType);
    int32_t CollectPictures(uint8_t* OutBuf, int32_t* pFrameType);
    int32_t TakePicture(AMFData& Data, uint8_t* OutBuf, int32_t* pFrameType);
    /// 1 when the picture was written. bTooSmall receives whether the planes hold less than a picture.
    int32_t WritePicture(AMFSurface* surface, uint8_t* OutBuf, bool& bTooSmall);
    static void PrintComError(const AMFComError& Error);

    std::atomic<int32_t> m_iRefCount{1};
    int32_t m_PictureWidth = 0, m_PictureHeight = 0; // shared by the two sides
    int32_t m_iKeyinterval = 0;
    int32_t m_iFramesPerSecond = 0;
    int32_t m_BitsPerSecond = 0;
    int32_t m_EncodedFrames = 0; // that came out since InitEncoder
    AMFInterfacePtr<AMFContext> m_pEncoderContext;
    AMFInterfacePtr<AMFComponent> m_pEncoder;
    AMFInterfacePtr<AMFContext> m_pDecoderContext;
    AMFInterfacePtr<AMFComponent> m_pDecoder;
    uint8_t* m_pYUVBuffNV12 = nullptr; // AccessUnitRoom() bytes of the process's pool; both sides take it
};
