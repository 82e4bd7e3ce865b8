// camera_scene: writes the rendered camera sequence that demo, tests and benchmarks use.
#include "tools/common/camera_scene.h"
#include "tools/common/command_line.h"
#include "tools/common/files.h"

#include <cstdio>

int main(int argc, char** argv)
try {
    std::string Out, SizeText = "640x360";
    int32_t Fps = 30, Seed = 1;
    int64_t Frames = 150;
    CommandLine App("Renders a deterministic sequence that looks like a conferencing camera's", "camera_scene");
    App.Add("-o", Out, "File to write: .y4m, anything else raw I420").Required();
    App.Add("--size", SizeText, "WxH (default 640x360)");
    App.Add("--fps", Fps, "Frames a second (default 30)").Range(1, 240);
    App.Add("--frames", Frames, "Number of pictures (default 150)").Positive();
    App.Add("--seed", Seed, "Textures and noise (default 1)");
    if (const auto Status = App.Parse(argc, argv)) return *Status;

    const FrameSize Size = ParseFrameSize(SizeText);
    if (!Size || Size.Width % 2 || Size.Height % 2) throw CliError("the size must be positive and even: " + SizeText);
    const CameraScene Scene(Size, Fps, static_cast<uint32_t>(Seed));
    OutputFile File(Out);
    const bool bY4m = Out.ends_with(".y4m");
    if (bY4m)
        File.Write("YUV4MPEG2 W" + std::to_string(Size.Width) + " H" + std::to_string(Size.Height) + " F" +
                   std::to_string(Fps) + ":1 Ip A1:1 C420mpeg2\n");
    std::vector<uint8_t> Picture;
    for (int64_t i = 0; i < Frames; ++i) {
        Scene.Render(i, Picture);
        if (bY4m) File.Write("FRAME\n");
        File.Write(Picture.data(), Picture.size());
    }
    File.Close();
    return 0;
} catch (const std::exception& Error) {
    std::fprintf(stderr, "camera_scene: %s\n", Error.what());
    return 1;
}
