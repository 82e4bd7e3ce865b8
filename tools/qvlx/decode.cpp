#include "tools/common/access_units.h"
#include "tools/common/files.h"
#include "tools/common/json_text.h"
#include "tools/common/progress.h"
#include "tools/qvlx/engine.h"

#include <cstdio>
#include <vector>

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
        : m_Size(Size), m_Decoder(static_cast<uint32_t>(Set.Mode), Size), m_Out(Set.Out),
          m_bY4m(Set.Out.ends_with(".y4m")), m_Picture(Size.I420Bytes())
    {
        if (m_bY4m)
            m_Out.Write("YUV4MPEG2 W" + std::to_string(Size.Width) + " H" + std::to_string(Size.Height) +
                        " F30:1 Ip A0:0 C420\n");
    }

    void Run(const std::vector<std::span<const uint8_t>>& Units, Progress& Shown)
    {
        while (!RunThrough(Units, Shown)) {
        }
        m_Out.Close();
    }

    void Report(const Options& Set, int64_t Entered) const
    {
        if (m_Frames < Entered && !Set.bQuiet)
            std::fprintf(stderr, "qvlx: %lld of %lld pictures came out\n", static_cast<long long>(m_Frames),
                         static_cast<long long>(Entered));
        const std::string Engine = m_Decoder.Engine();
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
    // False when the engine was replaced on the way: the new one needs the stream from its beginning.
    bool RunThrough(const std::vector<std::span<const uint8_t>>& Units, Progress& Shown)
    {
        m_AlreadyWritten = m_Frames;
        for (const std::span<const uint8_t> Unit : Units) {
            if (Feed(Unit) == Decoder::Outcome::Replaced) return false;
            Shown.Show(m_Frames);
        }
        // A delimiter ends the picture in hand; each further one brings out a picture that waits for its turn.
        static constexpr uint8_t kDelimiter[] = {0, 0, 0, 1, 9, 0xF0};
        for (;;) {
            const Decoder::Outcome Came = Feed(kDelimiter);
            if (Came != Decoder::Outcome::Picture) return Came == Decoder::Outcome::Nothing;
        }
    }

    Decoder::Outcome Feed(std::span<const uint8_t> Unit)
    {
        Decoder::Outcome Came;
        {
            const CpuTimer::Scope Timed(m_Timer);
            Came = m_Decoder.Decode(Unit, m_Picture.data());
        }
        if (Came != Decoder::Outcome::Picture) return Came;
        if (m_AlreadyWritten > 0) {
            --m_AlreadyWritten;
            return Came;
        }
        if (m_bY4m) m_Out.Write("FRAME\n");
        m_Out.Write(m_Picture.data(), m_Picture.size());
        ++m_Frames;
        return Came;
    }

    FrameSize m_Size;
    Decoder m_Decoder;
    OutputFile m_Out;
    bool m_bY4m;
    std::vector<uint8_t> m_Picture;
    int64_t m_Frames = 0;         // written
    int64_t m_AlreadyWritten = 0; // of those that come out next
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
    Running.Run(CutAccessUnits(Stream), Shown);
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
