// qvlx: the command line of the library, over its exported functions alone.
#include "platform/terminal.h"
#include "tools/common/cli_error.h"
#include "tools/qvlx/qvlx.h"

#include <cstdio>
#include <utility>
#include <vector>

std::FILE* Output()
{
    static std::FILE* const s_pOutput = platform::TakeStandardOutput();
    return s_pOutput;
}

Codec MakeCodec(uint32_t id)
{
    Codec Result(CreateVCodec(id));
    if (!Result) throw CliError("no engine serves request " + std::to_string(id));
    return Result;
}

std::string TagText(uint32_t Tag)
{
    std::string Text;
    for (int Shift = 24; Shift >= 0; Shift -= 8)
        if (const char c = static_cast<char>(Tag >> Shift & 255)) Text.push_back(c);
    return Text;
}

int main(int argc, char** argv)
try {
    CommandLine App("H.264 coding and picture treatment through the Quilvex library", "qvlx");
    struct Entry {
        const char *pName, *pHelp;
        Command (*pAdd)(CommandLine&);
    };
    constexpr Entry kCommands[] = {
        {"encode", "Compress pictures to an H.264 byte stream", AddEncode},
        {"decode", "Decompress an H.264 byte stream", AddDecode},
        {"probe", "Tell which engine serves each request", AddProbe},
        {"convert", "Change the layout of pictures between RGB and planar YUV", AddConvert},
        {"scale", "Change the size of pictures", AddScale},
        {"process", "Treat camera pictures: keyed background, smoothing, brightness", AddProcess},
    };
    std::vector<std::pair<const CommandLine*, Command>> Commands;
    for (const Entry& Each : kCommands) {
        CommandLine& Added = App.AddCommand(Each.pName, Each.pHelp);
        Commands.emplace_back(&Added, Each.pAdd(Added));
    }
    if (const auto Status = App.Parse(argc, argv)) return *Status;
    Output(); // taken before the library is asked for anything
    for (const auto& [pCommand, Run] : Commands)
        if (pCommand->IsNamed()) Run();
    return 0;
} catch (const std::exception& Error) {
    std::fprintf(stderr, "qvlx: %s\n", Error.what());
    return 1;
}
