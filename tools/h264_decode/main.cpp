// h264_decode: decodes a stream with UMC::H264VideoDecoder and writes every picture as raw samples.
#include "tools/common/cli_error.h"
#include "tools/common/command_line.h"
#include "tools/common/files.h"
#include "tools/common/json_text.h"
#include "tools/common/kernel_tier.h"
#include "tools/common/progress.h"
#include "tools/common/trace_option.h"
#include "tools/h264_decode/mp4_samples.h"
#include "tools/h264_decode/stream_decoder.h"

#include <gcrypt.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

struct Options {
    std::string Input, Output, FrameMd5;
    int Threads = 1, Loop = 1;
    bool bMp4 = false, bNoOutput = false, bJson = false;
};

// Where the pictures go: a file of samples, a list of MD5s, both or nothing.
class PictureWriter
{
public:
    explicit PictureWriter(const Options& Wanted)
    {
        if (!Wanted.Output.empty() && !Wanted.bNoOutput) m_Samples.emplace(Wanted.Output);
        if (!Wanted.FrameMd5.empty()) m_Md5s.emplace(Wanted.FrameMd5);
    }
    void Write(const UMC::VideoData& Picture)
    {
        if (m_Samples)
            tools::ForEachRow(Picture,
                              [this](std::span<const uint8_t> Row) { m_Samples->Write(Row.data(), Row.size()); });
        if (m_Md5s) m_Md5s->Write(Md5Of(Picture).append(1, '\n'));
    }
    void Finish()
    {
        if (m_Samples) m_Samples->Close();
        if (m_Md5s) m_Md5s->Close();
    }

private:
    static std::string Md5Of(const UMC::VideoData& Picture)
    {
        gcry_md_hd_t pOpened = nullptr;
        if (gcry_md_open(&pOpened, GCRY_MD_MD5, 0) != 0) throw CliError("no MD5 on this system");
        const std::unique_ptr<gcry_md_handle, decltype(&gcry_md_close)> Digest(pOpened, gcry_md_close);
        tools::ForEachRow(Picture,
                          [&](std::span<const uint8_t> Row) { gcry_md_write(Digest.get(), Row.data(), Row.size()); });
        const unsigned char* const pDigest = gcry_md_read(Digest.get(), GCRY_MD_MD5);
        std::string Text;
        for (unsigned i = 0; i < gcry_md_get_algo_dlen(GCRY_MD_MD5); ++i) {
            constexpr char kHex[] = "0123456789abcdef";
            Text += {kHex[pDigest[i] >> 4], kHex[pDigest[i] & 15]};
        }
        return Text;
    }

    std::optional<OutputFile> m_Samples, m_Md5s;
};

UMC::Status DecodeOnce(const Options& Wanted, std::span<const uint8_t> Bytes, const tools::PictureFunction& OnPicture)
{
    tools::StreamDecoder Decoder(OnPicture, Wanted.Threads, Wanted.bMp4);
    if (Wanted.bMp4) {
        for (const std::span<const uint8_t> Sample : tools::FindMP4Samples(Bytes)) Decoder.Feed(Sample);
    } else {
        Decoder.Feed(Bytes);
    }
    Decoder.Drain();
    return Decoder.LastFault();
}

int Run(const Options& Wanted)
{
    const std::vector<uint8_t> Bytes = ReadWholeFile(Wanted.Input);
    if (Bytes.empty()) throw CliError("the stream is empty: " + Wanted.Input);
    PictureWriter Writer(Wanted);
    UMC::Status Fault = UMC::StatusOk;
    int64_t Frames = 0;
    CpuTimer Timer;
    for (int Pass = 0; Pass < Wanted.Loop; ++Pass) {
        const CpuTimer::Scope Timed(Timer);
        Fault = DecodeOnce(Wanted, Bytes, [&](const UMC::VideoData& Picture) {
            ++Frames;
            if (Pass == 0) Writer.Write(Picture);
        });
    }
    Writer.Finish();
    const double Seconds = Timer.Seconds(), Rate = PerSecond(Frames, Seconds);
    if (Wanted.bJson) {
        const JsonObject Json{{"frames", Frames}, {"cpu_seconds", Seconds}, {"fps", Rate}, {"status", Fault}};
        std::cout << JsonText(Json) << '\n';
    } else {
        std::printf("%lld frames, %.3f s of processor time, %.1f frames per second\n", static_cast<long long>(Frames),
                    Seconds, Rate);
    }
    if (Fault != UMC::StatusOk) std::cerr << "h264_decode: " << Wanted.Input << ": decoder status " << Fault << '\n';
    return Fault != UMC::StatusOk || Frames == 0 ? 1 : 0;
}

} // namespace

int main(int argc, char** argv)
try {
    Options Wanted;
    CommandLine App("Decodes an H.264 stream and writes every picture as raw samples", "h264_decode");
    App.Add("IN", Wanted.Input, "Annex B byte stream, or an MP4 file with --mp4").Required();
    const CommandLine::Option Output =
        App.Add("-o,--output", Wanted.Output, "raw pictures, cropped; 16-bit little endian above 8 bits");
    App.Add("--threads", Wanted.Threads, "decoding threads").Range(1, 8);
    App.AddFlag("--mp4", Wanted.bMp4, "IN is an MP4 file");
    App.Add("--framemd5", Wanted.FrameMd5, "one MD5 a picture");
    App.Add("--loop", Wanted.Loop, "decode this often, from memory").Range(1, 1000000);
    const CommandLine::Option NoOutput = App.AddFlag("--no-output", Wanted.bNoOutput, "write no pictures");
    AddTierOption(App);
    AddTraceOption(App);
    App.AddFlag("--json", Wanted.bJson, "print one object");
    if (const auto Status = App.Parse(argc, argv)) return *Status;
    if (!Output.IsGiven() && !NoOutput.IsGiven() && Wanted.FrameMd5.empty())
        throw CliError("one of --output, --framemd5 and --no-output is needed");
    return Run(Wanted);
} catch (const std::exception& Fault) {
    std::cerr << "h264_decode: " << Fault.what() << '\n';
    return 1;
}
