// H.264 decoding through the Media SDK, on the device or in its software implementation. Surfaces are made from what
// the stream's header says; a stream that the SDK refuses to go on with is begun anew.
#pragma once

#include "intel/mfx_session.h"

#include <cstdint>
#include <memory>

class CH264hwDec
{
public:
    explicit CH264hwDec(int32_t iImplKind) : m_iImplKind(iImplKind) {}
    ~CH264hwDec();
    CH264hwDec(const CH264hwDec&) = delete;
    CH264hwDec& operator=(const CH264hwDec&) = delete;

    /// 1 or 0; -4 when there is no memory for the compressed data, deliberately.
    int32_t InitDecoder(int32_t width, int32_t height);
    /// @param InBuf, iInLen  An access unit; dropped in silence when too much data waits, and below 0.
    /// @param OutBuf         Receives at most PictureBytes(width, height) bytes, laid out for the stream's size; a
    ///                       larger picture is a failure.
    /// @param FrameType      Receives 1 or 2 with a picture, 0 when the decoder wants more data, -1 when the SDK
    /// failed:
    ///                       the session is closed then and IntelDeviceFailed set.
    /// @return 1 or 0.
    int32_t Decode(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t& FrameType);
    void Close();

private:
    int32_t Initialize();
    void AppendBitstream(const uint8_t* pData, int32_t iLength);
    int32_t DecodeHeaderAndInit();
    mfxStatus AllocSurfaces();
    mfxStatus MakeSurfaces(const mfxFrameInfo& Room);
    int32_t RetryAnew(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t& FrameType);
    int32_t DecodeFrame(uint8_t* OutBuf, int32_t& FrameType);
    bool RunDecoder(mfxStatus& Status, mfxFrameSurface1*& pOutput);
    bool FindFreeSurface(size_t& Index) const;
    mfxStatus WritePicture(const mfxFrameSurface1* pSurface, uint8_t* OutBuf) const;
    void TearDown();
    void FreeSurfaces();

    int32_t m_iImplKind; // 2 software implementation, else hardware
    int32_t m_iWidth = 0, m_iHeight = 0;
    bool m_bInit = false;
    int32_t m_bDecodeHeaderOK = 0;
    std::unique_ptr<MfxDecoder> m_pDecoder;
    MfxSession m_Session;
    mfxVideoParam m_Params{};
    mfxBitstream m_Bitstream{};
    std::unique_ptr<uint8_t[]> m_pBlock;   // behind the bitstream
    std::unique_ptr<uint8_t[]> m_pStorage; // one block for all surfaces
    uint32_t m_AlignedHeight = 0;          // rows of a surface's luma
    std::unique_ptr<mfxFrameSurface1*[]> m_ppSurfaces;
    uint16_t m_SurfaceCount = 0;
};
