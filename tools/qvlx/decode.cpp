#include "tools/common/access_units.h"
#include "tools/common/files.h"
#include "tools/common/json_text.h"
#include "tools/common/progress.h"
#include "tools/qvlx/qvlx.h"

#include <cstdio>

namespace {

struct Options {
    std::string In, Out, Size;
    int32_t Mode = 1;
    bool bJson = false, bQuiet = false;
};

// Feeds access units and writes the pictures that come out.
class Session
{
public:
    Session(const Options& Set, FrameSize Size)
        : m_Size(Size), m_Decoder(MakeCodec(100 + static_cast<uint32_t>(Set.Mode))), m_Out(Set.Out),
          m_bY4m(Set.Out.ends_with(".y4m")), m_Picture(Size.I420Bytes())
    {
        if (!m_Decoder->InitDecoder(Size.Width, Size.Height)) throw CliError("the decoder refuses this size");
        if (m_bY4m)
            m_Out.Write("YUV4MPEG2 W" + std::to_string(Size.Width) + " H" + std::to_string(Size.Height) +
                        " F30:1 Ip A0:0 C420\n");
    }

    /// Whether a picture came out.
    bool Feed(std::span<const uint8_t> Unit)
    {
        constexpr int32_t kUnwritten = -2; // the picture that stands in for a missing first one leaves the type alone
        int32_t Type = kUnwritten, Result;
        {
            const CpuTimer::Scope Timed(m_Timer);
            Result = m_Decoder->Decode(Unit.data(), static_cast<int32_t>(Unit.size()), m_Picture.data(), &Type);
        }
        if (Type == kFrameFailed) throw CliError("the engine failed and must be replaced");
        if (!Result || Type == kUnwritten) return false;
        if (m_bY4m) m_Out.Write("FRAME\n");
        m_Out.Write(m_Picture.data(), m_Picture.size());
        ++m_Frames;
        return true;
    }

    // A delimiter ends the picture in hand; each further one brings out a picture that waits for its turn.
    void Finish()
    {
        static constexpr uint8_t kDelimiter[] = {0, 0, 0, 1, 9, 0xF0};
        while (Feed(kDelimiter)) {
        }
        m_Out.Close();
    }

    void Report(const Options& Set, int64_t Entered) const
    {
        if (m_Frames < Entered && !Set.bQuiet)
            std::fprintf(stderr, "qvlx: %lld of %lld pictures came out\n", static_cast<long long>(m_Frames),
                         static_cast<long long>(Entered));
        const std::string Engine = TagText(m_Decoder->GetBackendTag());
        const double Speed = PerSecond(m_Frames, m_Timer.Seconds());
        if (Set.bJson) {
            const JsonObject Json{{"engine", Engine},          {"width", m_Size.Width},
                                  {"height", m_Size.Height},   {"frames", m_Frames},
                                  {"pictures_in", Entered},    {"cpu_seconds", m_Timer.Seconds()},
                                  {"frames_per_second", Speed}};
            std::fprintf(Output(), "%s\n", JsonText(Json, 2).c_str());
        } else if (!Set.bQuiet) {
            std::fprintf(Output(), "engine %s, %dx%d, %lld frames, %.1f frames/s\n", Engine.c_str(), m_Size.Width,
                         m_Size.Height, static_cast<long long>(m_Frames), Speed);
        }
    }

    int64_t Frames() const { return m_Frames; }

private:
    FrameSize m_Size;
    Codec m_Decoder;
    OutputFile m_Out;
    bool m_bY4m;
    std::vector<uint8_t> m_Picture;
    int64_t m_Frames = 0;
    CpuTimer m_Timer;
};

void Decode(const Options& Set)
{
    const std::vector<uint8_t> Stream = ReadWholeFile(Set.In);
    if (Stream.empty()) throw CliError("the stream is empty: " + Set.In);
    FrameSize Size = ParseFrameSize(Set.Size);
    if (!Size) Size = FindPictureSize(Stream);
    if (!Size) throw CliError("no sequence parameter set in " + Set.In + "; give --size WxH");

    Session Running(Set, Size);
    Progress Shown("decoded", Set.bQuiet);
    for (const std::span<const uint8_t> Unit : CutAccessUnits(Stream)) {
        Running.Feed(Unit);
        Shown.Show(Running.Frames());
    }
    Running.Finish();
    if (!Running.Frames()) throw CliError("no picture came out of " + Set.In);
    Running.Report(Set, CountFrames(Stream));
}

} // namespace

Command AddDecode(CommandLine& App)
{
    const auto pSet = std::make_shared<Options>();
    App.Add("IN", pSet->In, "Annex B byte stream").Required();
    App.Add("-o", pSet->Out, "Pictures to write: .y4m, anything else raw I420").Required();
    App.Add("--mode", pSet->Mode, "Selection mode (default 1)").Range(0, 99);
    App.Add("--size", pSet->Size, "WxH of the pictures (default: the stream's)");
    App.AddFlag("--json", pSet->bJson, "Print one JSON object on standard output");
    App.AddFlag("--quiet", pSet->bQuiet, "Print nothing but errors");
    return [pSet] { Decode(*pSet); };
}
