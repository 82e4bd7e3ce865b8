#include "tools/common/json_text.h"
#include "tools/common/picture_reader.h"
#include "tools/common/progress.h"
#include "tools/common/psnr.h"
#include "tools/qvlx/engine.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <deque>
#include <map>
#include <set>

namespace {

struct Options {
    std::string In, Out, Size;
    int32_t Fps = 0, KeyInterval = 0, Kbps = 0, Mode = 1;
    int64_t Frames = -1;
    std::vector<int64_t> ForceKey;
    std::vector<std::string> SetKbps; // FRAME:KBPS
    bool bPsnr = false, bJson = false, bQuiet = false;
};

struct Totals {
    int64_t Frames = 0, Bytes = 0, Keys = 0;
    CpuTimer Timer;
};

std::map<int64_t, int32_t> ParseRates(const std::vector<std::string>& Texts)
{
    std::map<int64_t, int32_t> Rates;
    for (const std::string& Text : Texts) {
        long long Frame;
        int Kbps;
        char Rest;
        if (std::sscanf(Text.c_str(), "%lld:%d%c", &Frame, &Kbps, &Rest) != 2 || Frame < 0 || Kbps <= 0)
            throw CliError("not of the form FRAME:KBPS: " + Text);
        Rates[Frame] = Kbps;
    }
    return Rates;
}

// Decodes what was just encoded and compares it with the sources, which wait for the decoder's delay.
class QualityMeter
{
public:
    explicit QualityMeter(FrameSize Size) : m_Size(Size), m_Decoder(MakeCodec(100)), m_Picture(Size.I420Bytes())
    {
        if (!m_Decoder->InitDecoder(Size.Width, Size.Height)) throw CliError("the decoder refuses this size");
    }
    void Add(const std::vector<uint8_t>& Source, const uint8_t* pUnit, int32_t Length)
    {
        m_Sources.push_back(Source);
        Feed(pUnit, Length);
    }
    void Finish()
    {
        static constexpr uint8_t kDelimiter[] = {0, 0, 0, 1, 9, 0xF0};
        Feed(kDelimiter, sizeof kDelimiter);
        if (!m_Sources.empty()) throw CliError("the stream does not decode to as many pictures as went in");
    }
    double Decibels(int Plane) const { return m_Planes[Plane].Decibels(); }

private:
    void Feed(const uint8_t* pUnit, int32_t Length)
    {
        int32_t Type = kFrameFailed;
        if (!m_Decoder->Decode(pUnit, Length, m_Picture.data(), &Type) || Type == kFrameFailed || m_Sources.empty())
            return;
        const uint8_t *pA = m_Sources.front().data(), *pB = m_Picture.data();
        const size_t Luma = m_Size.LumaBytes();
        m_Planes[0].Add(pA, pB, Luma);
        m_Planes[1].Add(pA + Luma, pB + Luma, Luma / 4);
        m_Planes[2].Add(pA + Luma + Luma / 4, pB + Luma + Luma / 4, Luma / 4);
        m_Sources.pop_front();
    }

    FrameSize m_Size;
    Codec m_Decoder;
    std::vector<uint8_t> m_Picture;
    std::deque<std::vector<uint8_t>> m_Sources;
    Psnr m_Planes[3];
};

void Report(const Options& Set, const Totals& Sum, const std::string& Engine, FrameSize Size, double Fps,
            const QualityMeter* pMeter)
{
    const double Kbps =
        Sum.Frames ? static_cast<double>(Sum.Bytes) * 8.0 * Fps / 1000.0 / static_cast<double>(Sum.Frames) : 0;
    const double Speed = PerSecond(Sum.Frames, Sum.Timer.Seconds());
    if (Set.bJson) {
        JsonObject Json{{"engine", Engine},
                        {"width", Size.Width},
                        {"height", Size.Height},
                        {"frames", Sum.Frames},
                        {"keys", Sum.Keys},
                        {"bytes", Sum.Bytes},
                        {"kbps", Kbps},
                        {"cpu_seconds", Sum.Timer.Seconds()},
                        {"frames_per_second", Speed}};
        if (pMeter)
            Json.push_back(
                {"psnr",
                 JsonObject{{"y", pMeter->Decibels(0)}, {"u", pMeter->Decibels(1)}, {"v", pMeter->Decibels(2)}}});
        std::fprintf(Output(), "%s\n", JsonText(Json, 2).c_str());
    } else if (!Set.bQuiet) {
        std::fprintf(Output(), "engine %s, %dx%d, %lld frames (%lld key), %.1f kb/s, %.1f frames/s\n", Engine.c_str(),
                     Size.Width, Size.Height, static_cast<long long>(Sum.Frames), static_cast<long long>(Sum.Keys),
                     Kbps, Speed);
        if (pMeter)
            std::fprintf(Output(), "PSNR Y %.2f dB, U %.2f dB, V %.2f dB\n", pMeter->Decibels(0), pMeter->Decibels(1),
                         pMeter->Decibels(2));
    }
}

void Encode(const Options& Set)
{
    PictureReader Reader(Set.In, ParseFrameSize(Set.Size));
    const FrameSize Size = Reader.Size();
    const std::map<int64_t, int32_t> Rates = ParseRates(Set.SetKbps);
    const std::set<int64_t> Forced(Set.ForceKey.begin(), Set.ForceKey.end());
    double Fps = Set.Fps > 0 ? Set.Fps : static_cast<double>(Reader.RateNumerator()) / Reader.RateDenominator();
    const auto CodecFps = static_cast<int32_t>(std::lround(Fps));
    if (Fps <= 0) Fps = 30.0; // the encoder's own default

    Encoder Coder(static_cast<uint32_t>(Set.Mode), {Size, CodecFps, Set.KeyInterval, Set.Kbps});
    OutputFile Out(Set.Out);
    std::unique_ptr<QualityMeter> pMeter;
    if (Set.bPsnr) pMeter = std::make_unique<QualityMeter>(Size);

    Totals Sum;
    Progress Shown("encoded", Set.bQuiet);
    std::vector<uint8_t> Picture, Unit(std::max<size_t>(Size.LumaBytes() * 3, 4096));
    while (Sum.Frames != Set.Frames && Reader.Next(Picture)) {
        if (const auto Rate = Rates.find(Sum.Frames); Rate != Rates.end()) Coder.SetBitrate(Rate->second);
        int32_t Length = 0, Type = kFrameNone;
        {
            const CpuTimer::Scope Timed(Sum.Timer);
            Coder.Encode(Picture.data(), Unit.data(), Forced.count(Sum.Frames) != 0, Length, Type);
        }
        Out.Write(Unit.data(), static_cast<size_t>(Length));
        if (pMeter) pMeter->Add(Picture, Unit.data(), Length);
        ++Sum.Frames;
        Sum.Bytes += Length;
        Sum.Keys += Type == kFrameI;
        Shown.Show(Sum.Frames);
    }
    if (!Sum.Frames) throw CliError("no picture in " + Set.In);
    if (pMeter) pMeter->Finish();
    Out.Close();
    Report(Set, Sum, Coder.Engine(), Size, Fps, pMeter.get());
}

} // namespace

Command AddEncode(CommandLine& App)
{
    const auto pSet = std::make_shared<Options>();
    App.Add("IN", pSet->In, "Pictures: .y4m, or raw I420 with --size").Required();
    App.Add("-o", pSet->Out, "Byte stream to write").Required();
    App.Add("--size", pSet->Size, "WxH of raw pictures");
    App.Add("--fps", pSet->Fps, "Frames a second (default: the file's, else 30)").Range(1, 1000);
    App.Add("--keyint", pSet->KeyInterval, "Pictures between key pictures (default: the engine's)").NonNegative();
    App.Add("--kbps", pSet->Kbps, "Target rate in kilobits a second (default: the engine's)").Range(1, 2000000);
    App.Add("--mode", pSet->Mode, "Selection mode (default 1)").Range(0, 99);
    App.Add("--frames", pSet->Frames, "Stop after so many pictures").Positive();
    App.Add("--force-key", pSet->ForceKey, "Pictures to make key pictures, from 0: N,N,..").Delimiter(',');
    App.Add("--set-kbps", pSet->SetKbps, "Change the rate before a picture: FRAME:KBPS,..").Delimiter(',');
    App.AddFlag("--psnr", pSet->bPsnr, "Decode the stream again and measure its quality");
    App.AddFlag("--json", pSet->bJson, "Print one JSON object on standard output");
    App.AddFlag("--quiet", pSet->bQuiet, "Print nothing but errors");
    return [pSet] { Encode(*pSet); };
}
