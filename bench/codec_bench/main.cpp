// codec_bench: one codec over one sequence in memory, timed by processor time. Under callgrind with
// --collect-atstart=no only the calls of the codec are counted, and the first pictures, which warm it up, are left out
// of both.
#include "bench/codec_bench/engine.h"
#include "tools/common/access_units.h"
#include "tools/common/command_line.h"
#include "tools/common/json_text.h"
#include "tools/common/picture_reader.h"
#include "tools/common/progress.h"

#include <valgrind/callgrind.h>

#include <cstdio>

namespace {

struct Options {
    std::string Engine, In, Out;
    int32_t Fps = 30, Kbps = 1500, KeyInterval = 300;
    int64_t WarmUp = 5;
};

struct Count {
    int64_t Frames = 0;
    CpuTimer Timer;
};

void Report(const Options& Set, const Count& Sum, size_t Bytes)
{
    const JsonObject Json{{"engine", Set.Engine},
                          {"frames", Sum.Frames},
                          {"bytes", Bytes},
                          {"frames_per_second", PerSecond(Sum.Frames, Sum.Timer.Seconds())}};
    std::printf("%s\n", JsonText(Json).c_str());
}

// Runs one call of a codec, counted unless it warms up.
template <class Call>
void Measure(bool bCounted, Count& Sum, Call&& Run)
{
    if (!bCounted) {
        Run();
        return;
    }
    const CpuTimer::Scope Timed(Sum.Timer);
    CALLGRIND_TOGGLE_COLLECT;
    Run();
    CALLGRIND_TOGGLE_COLLECT;
    ++Sum.Frames;
}

std::unique_ptr<EncoderEngine> MakeEncoder(const std::string& Name, [[maybe_unused]] const EncoderSettings& Set)
{
    if (Name == "quilvex") return MakeQuilvexEncoder(Set);
#if defined(HAVE_X264)
    if (Name.rfind("x264-", 0) == 0) return MakeX264Encoder(Set, Name.substr(5));
#endif
#if defined(HAVE_OPENH264)
    if (Name == "openh264") return MakeOpenh264Encoder(Set);
#endif
    throw CliError("no encoder " + Name + " in this build");
}

std::unique_ptr<DecoderEngine> MakeDecoder(const std::string& Name, FrameSize Size)
{
    if (Name == "quilvex") return MakeQuilvexDecoder(Size);
#if defined(HAVE_OPENH264)
    if (Name == "openh264") return MakeOpenh264Decoder();
#endif
#if defined(HAVE_AVCODEC)
    if (Name == "libavcodec") return MakeAvcodecDecoder();
#endif
    throw CliError("no decoder " + Name + " in this build");
}

void Encode(const Options& Set)
{
    PictureReader Reader(Set.In, {});
    const auto pEngine = MakeEncoder(Set.Engine, {Reader.Size(), Set.Fps, Set.Kbps, Set.KeyInterval});
    std::vector<uint8_t> Picture, Stream;
    Stream.reserve(64 << 20);
    Count Sum;
    for (int64_t i = 0; Reader.Next(Picture); ++i)
        Measure(i >= Set.WarmUp, Sum, [&] { pEngine->Encode(Picture, i, Stream); });
    if (!Set.Out.empty()) {
        OutputFile Out(Set.Out);
        Out.Write(Stream.data(), Stream.size());
        Out.Close();
    }
    Report(Set, Sum, Stream.size());
}

void Decode(const Options& Set)
{
    const std::vector<uint8_t> Stream = ReadWholeFile(Set.In);
    const auto pEngine = MakeDecoder(Set.Engine, FindPictureSize(Stream));
    Count Sum;
    int64_t Index = 0, Pictures = 0;
    const auto Frames = CutFrames(Stream);
    for (const auto Frame : Frames) Measure(Index++ >= Set.WarmUp, Sum, [&] { Pictures += pEngine->Decode(Frame); });
    while (const int64_t Late = pEngine->Decode({})) Pictures += Late;
    if (Pictures != static_cast<int64_t>(Frames.size()))
        throw CliError(Set.Engine + " gave " + std::to_string(Pictures) + " pictures for " +
                       std::to_string(Frames.size()) + " frames");
    Report(Set, Sum, Stream.size());
}

} // namespace

int main(int argc, char** argv)
try {
    Options Set;
    CommandLine App("Times one codec over one sequence", "codec_bench");
    CommandLine& Encoding = App.AddCommand("encode", "IN is a .y4m file");
    CommandLine& Decoding = App.AddCommand("decode", "IN is a byte stream");
    for (CommandLine* const pCommand : {&Encoding, &Decoding}) {
        pCommand->Add("ENGINE", Set.Engine, "quilvex, x264-PRESET, openh264, libavcodec").Required();
        pCommand->Add("IN", Set.In).Required();
        pCommand->Add("--warm-up", Set.WarmUp, "Pictures left out of the figures (default 5)");
    }
    Encoding.Add("-o", Set.Out, "Byte stream to write");
    Encoding.Add("--fps", Set.Fps);
    Encoding.Add("--kbps", Set.Kbps);
    Encoding.Add("--keyint", Set.KeyInterval);
    if (const auto Status = App.Parse(argc, argv)) return *Status;
    Encoding.IsNamed() ? Encode(Set) : Decode(Set);
    return 0;
} catch (const std::exception& Error) {
    std::fprintf(stderr, "codec_bench: %s\n", Error.what());
    return 1;
}
