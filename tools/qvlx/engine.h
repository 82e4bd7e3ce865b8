// The library's codecs as a client should hold them: a hardware engine that refuses the work or dies in the middle of
// it is replaced by the software codec.
#pragma once

#include "tools/common/picture_size.h"
#include "tools/qvlx/qvlx.h"

#include <span>

struct EncoderSettings {
    FrameSize Size;
    int32_t Fps = 0, KeyInterval = 0, Kbps = 0; // 0: the engine's own
};

/// Throws CliError when nothing serves any more: the software codec refuses, or the mode asks for hardware alone.
class Encoder
{
public:
    Encoder(uint32_t Mode, const EncoderSettings& Settings);

    /// Codes one picture, by another engine if it has to be; then the stream goes on with a key picture.
    void Encode(const uint8_t* pPicture, uint8_t* pUnit, bool bKey, int32_t& Length, int32_t& Type);
    void SetBitrate(int32_t Kbps);
    std::string Engine() const { return TagText(m_Codec->GetBackendTag()); }

private:
    bool Init();
    void Replace(const char* pWhy);

    uint32_t m_Mode;
    EncoderSettings m_Settings;
    Codec m_Codec;
};

/// The same of a decoder. A replaced one knows nothing of the stream so far.
class Decoder
{
public:
    enum class Outcome { Picture, Nothing, Replaced };

    Decoder(uint32_t Mode, FrameSize Size);
    Outcome Decode(std::span<const uint8_t> Unit, uint8_t* pPicture);
    std::string Engine() const { return TagText(m_Codec->GetBackendTag()); }

private:
    void Replace(const char* pWhy);

    uint32_t m_Mode;
    FrameSize m_Size;
    Codec m_Codec;
};
