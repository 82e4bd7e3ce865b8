// The subcommands of qvlx. Each adds itself to the command line and returns what to run when it was named.
#pragma once

#include "quilvex/Quilvex.h"
#include "tools/common/command_line.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

using Command = std::function<void()>;

Command AddEncode(CommandLine& App);
Command AddDecode(CommandLine& App);
Command AddProbe(CommandLine& App);
Command AddConvert(CommandLine& App);
Command AddScale(CommandLine& App);
Command AddProcess(CommandLine& App);

/// Standard output, for reports alone: what a driver below the library writes there goes to standard error.
std::FILE* Output();

struct CodecReleaser {
    void operator()(IVCodec* p) const { p->Release(); }
};
using Codec = std::unique_ptr<IVCodec, CodecReleaser>;

/// The codec for a request id; CliError when the library gives none.
Codec MakeCodec(uint32_t id);
/// The four characters of a backend tag.
std::string TagText(uint32_t Tag);
