#include "tools/common/png_file.h"
#include "tools/qvlx/pictures.h"
#include "tools/qvlx/qvlx.h"

#include <algorithm>
#include <cstdio>

namespace {

struct Options : PictureOptions {
    std::string Background, KeyColor;
    int32_t KeyDistance = -1;
    float Brightness = 0.0f;
    bool bSmooth = false;

    bool IsKeying() const { return !Background.empty() || !KeyColor.empty() || KeyDistance >= 0; }
};

struct ProcessReleaser {
    void operator()(IVideoProcess* p) const { p->Release(); }
};
using Process = std::unique_ptr<IVideoProcess, ProcessReleaser>;

void SetKeyColor(IVideoProcess& Treatment, const std::string& Text)
{
    int R, G, B;
    char Rest;
    if (std::sscanf(Text.c_str(), "%d,%d,%d%c", &R, &G, &B, &Rest) != 3 || std::min({R, G, B}) < 0 ||
        std::max({R, G, B}) > 255)
        throw CliError("not a colour of the form R,G,B: " + Text);
    Treatment.SetKeyColor(static_cast<uint8_t>(R), static_cast<uint8_t>(G), static_cast<uint8_t>(B));
}

void SetBackground(IVideoProcess& Treatment, const std::string& Name)
{
    std::vector<uint8_t> Rgb;
    const FrameSize Size = ReadPng(Name, Rgb);
    if (!Treatment.SetBackgroundImage(Size.Width, Size.Height, Rgb.data(), Size.Width * 3))
        throw CliError("the library refuses the background " + Name);
}

Process MakeProcess(const Options& Set)
{
    Process Treatment(CreateVideoProcess());
    if (!Treatment) throw CliError("the library makes no video process object");
    Treatment->SetKeyingEnabled(Set.IsKeying());
    if (!Set.Background.empty()) SetBackground(*Treatment, Set.Background);
    if (!Set.KeyColor.empty()) SetKeyColor(*Treatment, Set.KeyColor);
    if (Set.KeyDistance >= 0) Treatment->SetKeyDistance(Set.KeyDistance);
    Treatment->SetSmoothingEnabled(Set.bSmooth);
    Treatment->SetBrightness(Set.Brightness);
    return Treatment;
}

void Run(const Options& Set)
{
    const Process Treatment = MakeProcess(Set);
    PictureSource Source = OpenPictures(Set);
    const FrameSize Size = Source.Size();
    RunPictures(Set, Source, {"processed", PictureLayout::Rgb24, Size, [&](std::vector<uint8_t>& Picture) {
                                  Treatment->ProcessFrame(Size.Width, Size.Height, Picture.data(), Size.Width * 3);
                              }});
}

} // namespace

Command AddProcess(CommandLine& App)
{
    const auto pSet = std::make_shared<Options>();
    AddPictureOptions(App, *pSet);
    App.Add("--background", pSet->Background, "PNG to show in place of the key colour; switches keying on");
    App.Add("--key-color", pSet->KeyColor, "R,G,B, each 0 to 255 (default 69,250,92); switches keying on");
    App.Add("--key-distance", pSet->KeyDistance, "In levels of chroma (default 60); switches keying on").Range(0, 361);
    App.AddFlag("--smooth", pSet->bSmooth, "Smooth the luma, keeping edges");
    App.Add("--brightness", pSet->Brightness, "Relative change: 0.5 half as bright again, -0.5 half as bright")
        .Range(-1.0, 1.0);
    return [pSet] { Run(*pSet); };
}
