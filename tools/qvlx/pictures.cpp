#include "tools/qvlx/pictures.h"

#include "tools/common/json_text.h"
#include "tools/common/progress.h"
#include "tools/qvlx/qvlx.h"

#include <cstdio>

namespace {

void Report(const PictureOptions& Set, const PictureWork& Work, int64_t Frames, const CpuTimer& Timer)
{
    const double Speed = PerSecond(Frames, Timer.Seconds());
    if (Set.bJson) {
        const JsonObject Json{{"frames", Frames},
                              {"width", Work.OutSize.Width},
                              {"height", Work.OutSize.Height},
                              {"cpu_seconds", Timer.Seconds()},
                              {"frames_per_second", Speed}};
        std::fprintf(Output(), "%s\n", JsonText(Json, 2).c_str());
    } else if (!Set.bQuiet) {
        std::fprintf(Output(), "%s %lld pictures, %dx%d, %.1f pictures/s\n", Work.pDone, static_cast<long long>(Frames),
                     Work.OutSize.Width, Work.OutSize.Height, Speed);
    }
}

} // namespace

void AddPictureOptions(CommandLine& App, PictureOptions& Set)
{
    const std::string Formats = std::string(": ") + kFormatNames + " (default: by the file's name)";
    App.Add("IN", Set.In, "Pictures; RGB is blue first in raw files").Required();
    App.Add("-o", Set.Out, "Pictures to write").Required();
    App.Add("--size", Set.Size, "WxH of raw pictures");
    App.Add("--from", Set.From, "Format of IN" + Formats);
    App.Add("--to", Set.To, "Format of the output" + Formats);
    App.Add("--frames", Set.Frames, "Stop after so many pictures").Positive();
    App.AddFlag("--json", Set.bJson, "Print one JSON object on standard output");
    App.AddFlag("--quiet", Set.bQuiet, "Print nothing but errors");
}

PictureSource OpenPictures(const PictureOptions& Set)
{
    return {Set.In, ChooseFormat(Set.In, Set.From, "--from"), ParseFrameSize(Set.Size)};
}

void RunPictures(const PictureOptions& Set, PictureSource& Source, const PictureWork& Work)
{
    CheckSize(Work.Layout, Source.Size());
    PictureSink Sink(Set.Out, ChooseFormat(Set.Out, Set.To, "--to"), Work.OutSize, Source.RateNumerator(),
                     Source.RateDenominator());
    Progress Shown(Work.pDone, Set.bQuiet);
    CpuTimer Timer;
    std::vector<uint8_t> Picture;
    int64_t Frames = 0;
    while (Frames != Set.Frames && Source.Next(Picture)) {
        {
            const CpuTimer::Scope Timed(Timer);
            ChangeLayout(Source.Layout(), Work.Layout, Source.Size(), Picture);
            if (Work.Treat) Work.Treat(Picture);
            ChangeLayout(Work.Layout, Sink.Layout(), Work.OutSize, Picture);
        }
        Sink.Write(Picture);
        Shown.Show(++Frames);
    }
    if (!Frames) throw CliError("no picture in " + Set.In);
    Sink.Close();
    Report(Set, Work, Frames, Timer);
}
