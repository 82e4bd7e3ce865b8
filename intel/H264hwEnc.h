// H.264 encoding through the Media SDK, on the device or in its software implementation: one picture in and one access
// unit out a call, each waited for.
#pragma once

#include "intel/SysMemFrameAllocator.h"
#include "intel/mfx_session.h"

#include <cstdint>
#include <memory>
#include <vector>

class CH264hwEnc
{
public:
    explicit CH264hwEnc(int32_t iImplKind) : m_iImplKind(iImplKind) {}
    ~CH264hwEnc() { TearDown(); }
    CH264hwEnc(const CH264hwEnc&) = delete;
    CH264hwEnc& operator=(const CH264hwEnc&) = delete;

    /// Below 1 each of the last three has a default: 30 pictures a second, a key picture in 60, a rate by size and
    /// pictures. 1 or 0; after a failure the session stays open until the next InitEncoder or the object's end.
    int32_t InitEncoder(int32_t width, int32_t height, int32_t fps, int32_t keyinterval, int32_t iKbps);
    /// 1, with *pdwOutLen left alone while the SDK holds the picture back; or 0, with -1 in both outputs when the SDK
    /// failed: the session is closed then and IntelDeviceFailed set.
    /// @param OutBuf  Receives at most AccessUnitRoom(width, height) bytes; a longer access unit is a failure.
    int32_t Encode(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t forceKey, int32_t* pFrameType);
    /// Changes the rate of the encoder as it stands; the limit of the rate and the pictures' numbers stay. 1 or 0.
    int32_t SetBitrate(int32_t iKbps);
    void Reset();

private:
    int32_t Init();
    void FillParams();
    void FillFrameInfo();
    mfxStatus CreateAllocator();
    mfxStatus ResetMFXComponents();
    mfxStatus AllocFrames();
    void PrepareBitstream(uint16_t BufferSizeInKB);
    void TearDown();
    void ClearCodingOption();

    mfxStatus EncodeFrame(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t* pFrameType);
    mfxFrameSurface1* FindFreeSurface();
    mfxStatus LoadPicture(const uint8_t* InBuf, mfxFrameSurface1& Surface);
    mfxStatus Submit(mfxFrameSurface1& Surface, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t* pFrameType);
    mfxStatus TakeAccessUnit(uint8_t* OutBuf, int32_t* pdwOutLen);

    int32_t m_iImplKind; // 2 software implementation, else hardware
    int32_t m_iWidth = 0, m_iHeight = 0;
    int32_t m_iFps = 0;
    int32_t m_iKeyInterval = 0;
    int32_t m_iKbps = 0;
    bool m_bInit = false;
    std::unique_ptr<MfxEncoder> m_pEncoder;
    MfxSession m_Session;
    mfxVideoParam m_Params{};
    std::unique_ptr<SysMemFrameAllocator> m_pAllocator;
    mfxFrameAllocResponse m_Response{};
    std::vector<mfxFrameSurface1> m_Surfaces;
    mfxBitstream m_Bitstream{};
    std::vector<uint8_t> m_Storage; // behind the bitstream
    mfxEncodeCtrl m_Control{};
    mfxEncodeCtrl* m_pControl = nullptr; // null, or the control above
    std::vector<mfxExtBuffer*> m_ExtBuffers;
    mfxExtCodingOption m_CodingOption{};
    int32_t m_iFrames = 0; // pictures encoded
};
