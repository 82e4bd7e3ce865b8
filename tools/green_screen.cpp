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
    App.add_option("-o", Set.Out, "File to write: .png (one picture), .y4m, .yuv, .rgb24, .rgb32")->required();
    App.add_option("--to", Set.To, std::string("Format when the name does not tell it: ") + kFormatNames);
    App.add_option("--size", Set.Size, "WxH (default 1280x720)");
    App.add_option("--fps", Set.Fps, "Frames a second (default 30)")->check(CLI::Range(1, 240));
    App.add_option("--first", Set.First, "Number of the first picture (default 0)")->check(CLI::NonNegativeNumber);
    App.add_option("--frames", Set.Frames, "Number of pictures (default 150)")->check(CLI::PositiveNumber);
    App.add_option("--seed", Set.Seed, "Textures and noise (default 1)");
    App.add_flag("--still", Set.bStill, "Write one picture");
    App.add_flag("--landscape", Set.bLandscape, "Write a background instead");
    CLI11_PARSE(App, argc, argv);
    Write(Set);
    return 0;
} catch (const std::exception& Error) {
    std::fprintf(stderr, "green_screen: %s\n", Error.what());
    return 1;
}
