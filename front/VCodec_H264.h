// The software engine: IVCodec over the library's own H.264 encoder and decoder.
#pragma once

#include "front/unread_input.h"
#include "quilvex/IVCodec.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace UMC {
class H264EncoderParams;
class H264VideoDecoder;
class H264VideoEncoder;
class MediaData;
class VideoData;
class VideoDecoderParams;
} // namespace UMC

/// The engine that always exists. Runs on the caller's thread; wraps the caller's buffers without copying pixels.
class CVCodec_H264 : public IVCodec
{
public:
    CVCodec_H264() = default;
    /// Virtual for the tests' doubles; it takes slots behind the interface's.
    virtual ~CVCodec_H264();

    void* DeletingDestructor(uint32_t iFlags) override;
    uint32_t GetFamilyTag() override { return kBackendSoftware; }
    int32_t AddRef() override { return ++m_iRefCount; }
    int32_t Release() override;
    int32_t Reset() override { return 0; }
    uint32_t GetBackendTag() override { return kBackendSoftware; }
    int32_t InitEncoder(int32_t PictureWidth, int32_t PictureHeight, int32_t iFramesPerSecond, int32_t iKeyinterval,
                        int32_t iKbps) override;
    int32_t Encode(const uint8_t* InBuf, uint8_t* OutBuf, int32_t* pdwOutLen, int32_t bForceKey,
                   int32_t* pFrameType) override;
    int32_t InitDecoder(int32_t PictureWidth, int32_t PictureHeight) override;
    int32_t Decode(const uint8_t* InBuf, int32_t iInLen, uint8_t* OutBuf, int32_t* pFrameType) override;
    int32_t SetBitrate(int32_t iKbps) override;

protected:
    bool PutData(uint8_t* pout);
    bool PrepareEncoderInput(const uint8_t* InBuf);
    int32_t FeedDecoder(const uint8_t* pBytes, size_t Length);
    int32_t FeedUnread();
    int32_t DecodeOnce(const uint8_t* pBytes, size_t Length, size_t& Left);
    int32_t StandInPicture(uint8_t* OutBuf);
    bool MakeEncoder();
    void FillEncoderParams();
    bool CloseEncoder();
    bool MakeDecoder();
    void FillDecoderParams();
    void AbandonDecoder();
    bool CloseDecoder();

    // Limits of pictures; the tests are for equality with the counters. The two numbers in use differ deliberately.
    static constexpr uint32_t kFirstLimit = 0xFAA3B500;
    static constexpr uint32_t kLaterLimit = 850000000;

    std::atomic<int32_t> m_iRefCount{1};
    int32_t m_PictureWidth = 0, m_PictureHeight = 0; // shared by the two sides
    int32_t m_iFramesPerSecond = 0;
    int32_t m_BitsPerSecond = 0;
    int32_t m_iKeyinterval = 0;
    uint32_t m_EncodeFrameLimit = kFirstLimit;
    uint32_t m_EncodedFrames = 0; // pictures delivered by the encoder
    uint32_t m_DecodedFrames = 0; // pictures delivered by the decoder
    uint32_t m_DecodeFrameLimit = kFirstLimit;
    bool m_bEncoderInputReady = false; // the input has its geometry
    UMC::VideoData* m_pEncoderInput = nullptr;
    UMC::MediaData* m_pEncoderOutput = nullptr;
    UMC::H264VideoEncoder* m_pH264Encoder = nullptr;
    UMC::H264EncoderParams* m_pH264EncoderParams = nullptr;
    bool m_bDecoderOutputReady = false; // the output has its geometry
    UMC::MediaData* m_pDecoderInput = nullptr;
    UMC::VideoData* m_pDecoderOutput = nullptr;
    UMC::H264VideoDecoder* m_pH264Decoder = nullptr;
    UMC::VideoDecoderParams* m_pH264DecoderParams = nullptr;
    bool m_bFirstDecode = true; // no Decode has run since InitDecoder
    UnreadInput m_Unread; // of the calls before, while a picture waits for the room of one that waits for its turn
};
