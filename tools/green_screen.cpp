// green_screen: writes the rendered pictures of a person in front of a green screen, or a background for them.
#include "tools/common/green_screen.h"
#include "tools/common/command_line.h"
#include "tools/common/picture_files.h"

#include <cstdio>

namespace {

struct Options {
    std::string Out, Size = "1280x720", To;
    int32_t Fps = 30, Seed = 1;
    int64_t First = 0, Frames = 150;
    bool bStill = false, bLandscape = false;
};

void Write(const Options& Set)
{
    const FrameSize Size = ParseFrameSize(Set.Size);
    const FileFormat Format = ChooseFormat(Set.Out, Set.To, "--to");
    const bool bOne = Set.bStill || Set.bLandscape || Format == FileFormat::Png;
    PictureSink Sink(Set.Out, Format, Size, Set.Fps);
    const GreenScreen Scene(Size, Set.Fps, static_cast<uint32_t>(Set.Seed));
    std::vector<uint8_t> Picture;
    for (int64_t i = 0; i < (bOne ? 1 : Set.Frames); ++i) {
        if (Set.bLandscape)
            RenderLandscape(Size, Picture);
        else
            Scene.Render(Set.First + i, Picture);
        ChangeLayout(PictureLayout::Rgb24, Sink.Layout(), Size, Picture);
        Sink.Write(Picture);
    }
    Sink.Close();
}

} // namespace

int main(int argc, char** argv)
try {
    Options Set;
    CommandLine App("Renders a deterministic sequence of a person in front of a green screen", "green_screen");
    App.Add("-o", Set.Out, "File to write: .png (one picture), .y4m, .yuv, .rgb24, .rgb32").Required();
    App.Add("--to", Set.To, std::string("Format when the name does not tell it: ") + kFormatNames);
    App.Add("--size", Set.Size, "WxH (default 1280x720)");
    App.Add("--fps", Set.Fps, "Frames a second (default 30)").Range(1, 240);
    App.Add("--first", Set.First, "Number of the first picture (default 0)").NonNegative();
    App.Add("--frames", Set.Frames, "Number of pictures (default 150)").Positive();
    App.Add("--seed", Set.Seed, "Textures and noise (default 1)");
    App.AddFlag("--still", Set.bStill, "Write one picture");
    App.AddFlag("--landscape", Set.bLandscape, "Write a background instead");
    if (const auto Status = App.Parse(argc, argv)) return *Status;
    Write(Set);
    return 0;
} catch (const std::exception& Error) {
    std::fprintf(stderr, "green_screen: %s\n", Error.what());
    return 1;
}
