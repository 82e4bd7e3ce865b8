// What the codecs that are compared have in common: pictures in, access units out, and back. One thread each.
#pragma once

#include "tools/common/picture_size.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

class EncoderEngine
{
public:
    virtual ~EncoderEngine() = default;
    /// Compresses one I420 picture and appends what comes out.
    virtual void Encode(const std::vector<uint8_t>& Picture, int64_t Index, std::vector<uint8_t>& Stream) = 0;
};

class DecoderEngine
{
public:
    virtual ~DecoderEngine() = default;
    /// Decompresses one frame, which may be two fields; returns the number of pictures that came out. Empty ones
    /// drain, until nothing comes.
    virtual int64_t Decode(std::span<const uint8_t> Unit) = 0;
};

struct EncoderSettings {
    FrameSize Size;
    int32_t Fps, Kbps, KeyInterval;
};

std::unique_ptr<EncoderEngine> MakeQuilvexEncoder(const EncoderSettings& Set);
std::unique_ptr<DecoderEngine> MakeQuilvexDecoder(FrameSize Size);
std::unique_ptr<EncoderEngine> MakeX264Encoder(const EncoderSettings& Set, const std::string& Preset);
std::unique_ptr<EncoderEngine> MakeOpenh264Encoder(const EncoderSettings& Set);
std::unique_ptr<DecoderEngine> MakeOpenh264Decoder();
std::unique_ptr<DecoderEngine> MakeAvcodecDecoder();
