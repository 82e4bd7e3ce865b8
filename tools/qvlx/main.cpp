// qvlx: the command line of the library, over its exported functions alone.
#include "tools/common/cli_error.h"
#include "tools/qvlx/qvlx.h"

#include <cstdio>

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

const char* FrameTypeText(int32_t Type)
{
    switch (Type) {
    case kFrameI: return "I";
    case kFrameP: return "P";
    case kFrameB: return "B";
    default: return "-";
    }
}

int main(int argc, char** argv)
try {
    CLI::App App("H.264 encoding and decoding through the Quilvex library", "qvlx");
    App.require_subcommand(1);
    const std::pair<CLI::App*, Command> Commands[] = {
        [&] {
            auto* p = App.add_subcommand("encode", "Compress pictures to an H.264 byte stream");
            return std::pair{p, AddEncode(*p)};
        }(),
        [&] {
            auto* p = App.add_subcommand("decode", "Decompress an H.264 byte stream");
            return std::pair{p, AddDecode(*p)};
        }(),
        [&] {
            auto* p = App.add_subcommand("probe", "Tell which engine serves each request");
            return std::pair{p, AddProbe(*p)};
        }(),
    };
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
