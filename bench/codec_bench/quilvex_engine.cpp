#include "bench/codec_bench/engine.h"
#include "quilvex/Quilvex.h"
#include "tools/common/cli_error.h"

namespace {

struct Releaser {
    void operator()(IVCodec* p) const { p->Release(); }
};
using Codec = std::unique_ptr<IVCodec, Releaser>;

class Encoder : public EncoderEngine
{
public:
    explicit Encoder(const EncoderSettings& Set) : m_Codec(CreateVCodec(0)), m_Unit(Set.Size.LumaBytes() * 3)
    {
        if (!m_Codec->InitEncoder(Set.Size.Width, Set.Size.Height, Set.Fps, Set.KeyInterval, Set.Kbps))
            throw CliError("the encoder refuses these settings");
    }
    void Encode(const std::vector<uint8_t>& Picture, int64_t, std::vector<uint8_t>& Stream) override
    {
        int32_t Length = 0;
        if (!m_Codec->Encode(Picture.data(), m_Unit.data(), &Length, 0, nullptr)) throw CliError("encoding failed");
        Stream.insert(Stream.end(), m_Unit.begin(), m_Unit.begin() + Length);
    }

private:
    Codec m_Codec;
    std::vector<uint8_t> m_Unit;
};

class Decoder : public DecoderEngine
{
public:
    explicit Decoder(FrameSize Size) : m_Codec(CreateVCodec(100)), m_Picture(Size.I420Bytes())
    {
        if (!m_Codec->InitDecoder(Size.Width, Size.Height)) throw CliError("the decoder refuses this size");
    }
    int64_t Decode(std::span<const uint8_t> Unit) override
    {
        static constexpr uint8_t kDelimiter[] = {0, 0, 0, 1, 9, 0xF0};
        if (Unit.empty()) Unit = kDelimiter;
        int32_t Type = kFrameFailed; // left alone by the picture that stands in for a missing first one
        return m_Codec->Decode(Unit.data(), static_cast<int32_t>(Unit.size()), m_Picture.data(), &Type) &&
               Type != kFrameFailed;
    }

private:
    Codec m_Codec;
    std::vector<uint8_t> m_Picture;
};

} // namespace

std::unique_ptr<EncoderEngine> MakeQuilvexEncoder(const EncoderSettings& Set) { return std::make_unique<Encoder>(Set); }
std::unique_ptr<DecoderEngine> MakeQuilvexDecoder(FrameSize Size) { return std::make_unique<Decoder>(Size); }
