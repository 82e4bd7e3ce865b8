// The subcommands of qvlx. Each adds itself to the command line and returns what to run when it was named.
#pragma once

#include "quilvex/Quilvex.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <string>

using Command = std::function<void()>;

Command AddEncode(CLI::App& App);
Command AddDecode(CLI::App& App);
Command AddProbe(CLI::App& App);
Command AddConvert(CLI::App& App);
Command AddScale(CLI::App& App);
Command AddProcess(CLI::App& App);

struct CodecReleaser {
    void operator()(IVCodec* p) const { p->Release(); }
};
using Codec = std::unique_ptr<IVCodec, CodecReleaser>;

/// The codec for a request id; CliError when the library gives none.
Codec MakeCodec(uint32_t id);
/// The four characters of a backend tag.
std::string TagText(uint32_t Tag);
