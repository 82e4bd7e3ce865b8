// The option that lists the elements of one macroblock.
#pragma once

#include "Common/h264/trace/element_trace.h"
#include "tools/common/cli_error.h"
#include "tools/common/command_line.h"

#include <charconv>
#include <string>

/// Adds --trace PICTURE:X,Y: the syntax elements of that macroblock on standard error, in builds that have the listing.
inline void AddTraceOption(CommandLine& App)
{
    const auto Choose = [](const std::string& Text) {
        h264::trace::Place Wanted;
        const char *p = Text.data(), *const pEnd = p + Text.size();
        const auto Take = [&](int32_t& Number, char Before) {
            if (Before != '\0' && (p == pEnd || *p++ != Before)) return false;
            const auto [pNext, Error] = std::from_chars(p, pEnd, Number);
            p = pNext;
            return Error == std::errc{} && Number >= 0;
        };
        if (!Take(Wanted.Picture, '\0') || !Take(Wanted.X, ':') || !Take(Wanted.Y, ',') || p != pEnd)
            throw CliError("not a place PICTURE:X,Y: " + Text);
        if constexpr (h264::trace::kIsBuilt)
            h264::trace::Choose(Wanted);
        else
            throw CliError("--trace needs a build with QUILVEX_TRACE, such as that of the preset debug");
    };
    App.Add("--trace", Choose,
            "PICTURE:X,Y: list the syntax elements of a macroblock on standard error; "
            "pictures count from 0 in coding order (developer builds)");
}
