// qvlx: the command line of the library, over its exported functions alone.
#include "tools/common/cli_error.h"
#include "tools/common/command_line.h"
#include "tools/qvlx/qvlx.h"

#include <cstdio>
#include <utility>
#include <vector>

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
    App.require_subcommand(1);
    struct Entry {
        const char *pName, *pHelp;
        Command (*pAdd)(CLI::App&);
    };
    constexpr Entry kCommands[] = {
        {"encode", "Compress pictures to an H.264 byte stream", AddEncode},
        {"decode", "Decompress an H.264 byte stream", AddDecode},
        {"probe", "Tell which engine serves each request", AddProbe},
        {"convert", "Change the layout of pictures between RGB and planar YUV", AddConvert},
        {"scale", "Change the size of pictures", AddScale},
        {"process", "Treat camera pictures: keyed background, smoothing, brightness", AddProcess},
    };
    std::vector<std::pair<CLI::App*, Command>> Commands;
    for (const Entry& Each : kCommands) {
        CLI::App* const pCommand = App.add_subcommand(Each.pName, Each.pHelp);
        Commands.emplace_back(pCommand, Each.pAdd(*pCommand));
    }
    try {
        App.parse(argc, argv);
    } catch (const CLI::ParseError& Error) {
        return App.exit(Error);
    }
    for (const auto& [pCommand, Run] : Commands)
        if (pCommand->parsed()) Run();
    return 0;
} catch (const std::exception& Error) {
    std::fprintf(stderr, "qvlx: %s\n", Error.what());
    return 1;
}
