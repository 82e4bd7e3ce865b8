#include "tools/qvlx/engine.h"

#include "tools/common/cli_error.h"

#include <cstdio>

namespace {

constexpr uint32_t kSoftware = 0, kHardwareOnly = 11, kDecoder = 100;
constexpr int32_t kKeyInterval = 60; // for hardware engines, which count modulo what they are given

bool IsSoftware(IVCodec& Engine) { return Engine.GetBackendTag() == kBackendSoftware; }

// The software codec in the place of an engine; what the engine held is given up first.
void TakeSoftware(Codec& Engine, uint32_t Mode, uint32_t Role, const std::string& What)
{
    if (IsSoftware(*Engine) || Mode == kHardwareOnly) throw CliError(What);
    std::fprintf(stderr, "qvlx: %s; the software codec takes over\n", What.c_str());
    Engine.reset();
    Engine = MakeCodec(Role + kSoftware);
}

} // namespace

Encoder::Encoder(uint32_t Mode, const EncoderSettings& Settings)
    : m_Mode(Mode), m_Settings(Settings), m_Codec(MakeCodec(Mode))
{
    if (!Init()) Replace("refuses this size or rate");
}

bool Encoder::Init()
{
    const int32_t KeyInterval = m_Settings.KeyInterval || IsSoftware(*m_Codec) ? m_Settings.KeyInterval : kKeyInterval;
    return m_Codec->InitEncoder(m_Settings.Size.Width, m_Settings.Size.Height, m_Settings.Fps, KeyInterval,
                                m_Settings.Kbps) != 0;
}

void Encoder::Replace(const char* pWhy)
{
    TakeSoftware(m_Codec, m_Mode, 0, "the encoder of engine " + Engine() + " " + pWhy);
    if (!Init()) throw CliError("the encoder of engine " + Engine() + " refuses this size or rate");
}

void Encoder::Encode(const uint8_t* pPicture, uint8_t* pUnit, bool bKey, int32_t& Length, int32_t& Type)
{
    for (;;) {
        Length = 0;
        Type = kFrameNone;
        if (m_Codec->Encode(pPicture, pUnit, &Length, bKey ? 1 : 0, &Type)) return;
        Replace(Length == kFrameFailed ? "failed" : "could not code a picture");
    }
}

void Encoder::SetBitrate(int32_t Kbps)
{
    m_Settings.Kbps = Kbps;
    m_Codec->SetBitrate(Kbps); // its result tells nothing on some engines: the next picture does
}

Decoder::Decoder(uint32_t Mode, FrameSize Size) : m_Mode(Mode), m_Size(Size), m_Codec(MakeCodec(kDecoder + Mode))
{
    if (!m_Codec->InitDecoder(Size.Width, Size.Height)) Replace("refuses this size");
}

void Decoder::Replace(const char* pWhy)
{
    TakeSoftware(m_Codec, m_Mode, kDecoder, "the decoder of engine " + Engine() + " " + pWhy);
    if (!m_Codec->InitDecoder(m_Size.Width, m_Size.Height))
        throw CliError("the decoder of engine " + Engine() + " refuses this size");
}

Decoder::Outcome Decoder::Decode(std::span<const uint8_t> Unit, uint8_t* pPicture)
{
    int32_t Type = kFrameNone; // left alone where no picture came, or a black one that stands in for it
    const int32_t Result = m_Codec->Decode(Unit.data(), static_cast<int32_t>(Unit.size()), pPicture, &Type);
    if (Type == kFrameFailed) {
        Replace("failed");
        return Outcome::Replaced;
    }
    return Result && Type != kFrameNone ? Outcome::Picture : Outcome::Nothing;
}
