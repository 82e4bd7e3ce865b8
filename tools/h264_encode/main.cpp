// h264_encode: drives UMC::H264VideoEncoder with any setting and writes the stream and its reconstruction.
#include "encoder/session/tool_counts.h"
#include "encoder/session/video_encoder.h"
#include "media/umc_video_data.h"
#include "tools/common/command_line.h"
#include "tools/common/files.h"
#include "tools/common/json_text.h"
#include "tools/common/kernel_tier.h"
#include "tools/common/picture_size.h"
#include "tools/common/progress.h"
#include "tools/common/trace_option.h"
#include "tools/h264_encode/param_fields.h"
#include "tools/h264_encode/reconstruction_writer.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using UMC_H264_ENCODER::ToolCounts;

struct Options {
    std::string In, Out, ParamFile;
    ReconstructionFiles Recon;
    std::vector<std::string> Sets;
    std::map<int64_t, int32_t> Types; // asked for, by the picture's number
    FrameSize Size;
    int Chroma = 420, Depth = 8, Loop = 1, Frames = 0;
    bool bNoOutput = false, bJson = false;
};

struct Totals {
    int64_t Frames = 0, Bytes = 0;
    CpuTimer Timer;
    UMC::H264EncoderParams Settings; // in force
    ToolCounts Tools;                // of the first run
};

// The type that a picture is asked to have, from "7:B".
std::pair<int64_t, int32_t> ParseType(const std::string& Text)
{
    long long Picture = 0;
    char Letter = 0, Rest = 0;
    const bool IsRead = std::sscanf(Text.c_str(), "%lld:%c%c", &Picture, &Letter, &Rest) == 2 && Picture >= 0;
    const int32_t Type = Letter == 'I'   ? UMC::I_PICTURE
                         : Letter == 'P' ? UMC::P_PICTURE
                         : Letter == 'B' ? UMC::B_PICTURE
                                         : UMC::NONE_PICTURE;
    if (!IsRead || Type == UMC::NONE_PICTURE) throw CliError("not of the form PICTURE:I, :P or :B: " + Text);
    return {Picture, Type};
}

std::string StatusText(UMC::Status s) { return "status " + std::to_string(s); }

Options ParseCommandLine(int argc, char** argv)
{
    Options o;
    std::string Size;
    std::vector<std::string> Types;
    CommandLine App("Compresses raw planar pictures to H.264. Fields of --set: " + tools::FieldNames(), "h264_encode");
    App.Add("IN", o.In, "raw planar pictures; with aux_format_idc an alpha plane of luma's size behind each")
        .Required();
    App.Add("--size", Size, "WxH").Required();
    App.Add("--chroma", o.Chroma, "400, 420 or 422").OneOf({400, 420, 422});
    App.Add("--depth", o.Depth, "bits of a sample, 8..12").Range(8, 12);
    App.Add("--params", o.ParamFile, "parameter file");
    App.Add("--set", o.Sets, "NAME=VALUE, a field of the settings record").TakeAll();
    App.Add("--types", Types, "PICTURE:I, :P or :B, a type that the picture is asked to have, counted from 0")
        .Delimiter(',');
    App.Add("-o", o.Out, "byte stream");
    App.Add("--recon", o.Recon.Displayed, "reconstruction in display order");
    App.Add("--recon-coded", o.Recon.Coded, "the same in coding order, each picture as it is coded");
    App.Add("--compare", o.Recon.Compared,
            "pictures that another decoder made of the stream: names the first macroblock "
            "that differs from the reconstruction");
    App.Add("--frames", o.Frames, "code no more pictures than this");
    App.Add("--loop", o.Loop, "encode this many times from memory").Positive();
    App.AddFlag("--no-output", o.bNoOutput, "write no stream");
    AddTierOption(App);
    AddTraceOption(App);
    App.AddFlag("--json", o.bJson, "print one object on standard output");
    if (const auto Status = App.Parse(argc, argv)) std::exit(*Status);
    o.Size = ParseFrameSize(Size);
    for (const std::string& Text : Types) o.Types.insert(ParseType(Text));
    if (o.Out.empty() && !o.bNoOutput) throw CliError("-o or --no-output is needed");
    return o;
}

UMC::H264EncoderParams MakeParams(const Options& o)
{
    UMC::H264EncoderParams p;
    if (!o.ParamFile.empty()) {
        const UMC::Status s = p.ReadParamFile(o.ParamFile.c_str());
        if (s == UMC::StatusOpenFailed) throw CliError("cannot open " + o.ParamFile);
        if (s != UMC::StatusOk) throw CliError(o.ParamFile + ": a line has too few values");
    }
    p.m_Info.m_Width = o.Size.Width;
    p.m_Info.m_Height = o.Size.Height;
    p.chroma_format_idc = o.Chroma == 400 ? 0 : o.Chroma == 422 ? 2 : 1;
    p.bit_depth_luma = p.bit_depth_chroma = o.Depth;
    if (o.Chroma != 420 || o.Depth != 8) p.profile_idc = 100;
    for (const std::string& Set : o.Sets)
        if (const std::string Error = tools::SetField(p, Set); !Error.empty()) throw CliError(Error);
    return p;
}

// One run over all pictures. Stream and reconstruction are written in the first run only.
class Run
{
public:
    Run(const Options& o, const UMC::H264EncoderParams& Params) : m_Types(o.Types), m_Params(Params)
    {
        if (const UMC::Status s = m_Encoder.Init(&m_Params); s != UMC::StatusOk)
            throw CliError("the encoder refuses these settings: " + StatusText(s));
        m_Encoder.GetInfo(&m_Params);
        const UMC::ColorFormat Format = m_Params.aux_format_idc ? (o.Chroma == 400   ? UMC::GRAYA
                                                                   : o.Chroma == 422 ? UMC::YUVA422
                                                                                     : UMC::YUVA420)
                                                                : (o.Chroma == 400   ? UMC::GRAY
                                                                   : o.Chroma == 422 ? UMC::YUV422
                                                                                     : UMC::YUV420);
        m_Input.Init(o.Size.Width, o.Size.Height, Format, o.Depth);
        m_Buffer.resize(2 * m_Input.GetMappingSize() + 65536);
    }

    const UMC::H264EncoderParams& Settings() const { return m_Params; }
    size_t PictureBytes() const { return m_Input.GetMappingSize(); }
    /// Has the tools of each picture added to these; null: leaves them uncounted.
    void CountTools(ToolCounts* pTools) { m_pTools = pTools; }

    void Encode(std::vector<uint8_t>& Pictures, size_t Count, std::optional<OutputFile>& Stream,
                ReconstructionWriter& Recon, Totals& Sum)
    {
        const CpuTimer::Scope Timed(Sum.Timer);
        for (size_t i = 0; i < Count; ++i) {
            m_Input.SetBufferPointer(Pictures.data() + i * PictureBytes(), PictureBytes());
            const auto Asked = m_Types.find(static_cast<int64_t>(i));
            m_Input.SetFrameType(Asked == m_Types.end() ? 0 : Asked->second);
            m_Input.SetTime(static_cast<double>(i));
            if (const UMC::Status s = Turn(&m_Input, Stream, Recon, Sum); s != UMC::StatusOk)
                throw CliError("picture " + std::to_string(i) + ": " + StatusText(s));
        }
        UMC::Status s = UMC::StatusOk;
        while (s == UMC::StatusOk) s = Turn(nullptr, Stream, Recon, Sum);
        if (s != UMC::StatusEndOfSegment) throw CliError("flush: " + StatusText(s));
    }

private:
    UMC::Status Turn(UMC::VideoData* pInput, std::optional<OutputFile>& Stream, ReconstructionWriter& Recon,
                     Totals& Sum)
    {
        m_Output.SetBufferPointer(m_Buffer.data(), m_Buffer.size());
        const UMC::Status s = m_Encoder.GetFrame(pInput, &m_Output);
        if (s != UMC::StatusOk || m_Output.GetDataSize() == 0) return s;
        ++Sum.Frames;
        Sum.Bytes += static_cast<int64_t>(m_Output.GetDataSize());
        if (Stream) Stream->Write(m_Output.GetDataPointer(), m_Output.GetDataSize());
        Recon.Add(*m_Encoder.GetReconstruction(), m_Encoder.GetDisplayOrder());
        if (m_pTools) m_Encoder.AddToolCounts(*m_pTools);
        return s;
    }

    const std::map<int64_t, int32_t>& m_Types; // of the options
    UMC::H264EncoderParams m_Params;
    UMC::H264VideoEncoder m_Encoder;
    UMC::VideoData m_Input;
    UMC::MediaData m_Output;
    std::vector<uint8_t> m_Buffer;
    ToolCounts* m_pTools = nullptr; // not owned
};

JsonObject ToolValues(const ToolCounts& n)
{
    JsonObject Values;
    for (const UMC_H264_ENCODER::ToolName& t : UMC_H264_ENCODER::kToolNames) Values.push_back({t.pName, n.*t.pCount});
    Values.push_back({"references", JsonArray(std::begin(n.References), std::end(n.References))});
    return Values;
}

void Report(const Options& o, const Totals& Sum)
{
    const double Seconds = Sum.Timer.Seconds(), Fps = PerSecond(Sum.Frames, Seconds);
    const double PerFrame = Sum.Frames ? static_cast<double>(Sum.Bytes) * 8.0 / static_cast<double>(Sum.Frames) : 0.0;
    const double Kbps = PerFrame * Sum.Settings.m_Info.m_FrameRate / 1000.0;
    if (o.bJson) {
        const JsonObject Json{{"frames", Sum.Frames},
                              {"bytes", Sum.Bytes},
                              {"kbps", Kbps},
                              {"seconds", Seconds},
                              {"fps", Fps},
                              {"settings", tools::FieldValues(Sum.Settings)},
                              {"tools", ToolValues(Sum.Tools)}};
        std::printf("%s\n", JsonText(Json).c_str());
    } else {
        std::printf("%lld frames, %lld bytes, %.1f kbit/s, %.3f s of processor time, %.1f frames/s\n",
                    static_cast<long long>(Sum.Frames), static_cast<long long>(Sum.Bytes), Kbps, Seconds, Fps);
    }
}

int Main(int argc, char** argv)
{
    const Options o = ParseCommandLine(argc, argv);
    const UMC::H264EncoderParams Params = MakeParams(o);
    std::vector<uint8_t> Pictures = ReadWholeFile(o.In);
    Totals Sum;
    for (int i = 0; i < o.Loop; ++i) {
        Run r(o, Params);
        size_t Count = Pictures.size() / r.PictureBytes();
        if (Count == 0) throw CliError(o.In + " holds no whole picture of this size");
        if (Pictures.size() % r.PictureBytes()) throw CliError("the last picture is cut short in " + o.In);
        if (o.Frames > 0) Count = std::min(Count, static_cast<size_t>(o.Frames));
        std::optional<OutputFile> Stream;
        if (i == 0 && !o.bNoOutput) Stream.emplace(o.Out);
        ReconstructionWriter Recon(i == 0 ? o.Recon : ReconstructionFiles());
        if (i == 0 && o.bJson) r.CountTools(&Sum.Tools);
        r.Encode(Pictures, Count, Stream, Recon, Sum);
        if (Stream) Stream->Close();
        Recon.Close();
        Sum.Settings = r.Settings();
    }
    Report(o, Sum);
    return 0;
}

} // namespace

int main(int argc, char** argv)
try {
    return Main(argc, argv);
} catch (const std::exception& e) {
    std::fprintf(stderr, "h264_encode: %s\n", e.what());
    return 1;
}
