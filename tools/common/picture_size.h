// "WxH" on a command line.
#pragma once

#include "tools/common/cli_error.h"

#include <cstdint>
#include <cstdio>
#include <string>

struct FrameSize {
    int32_t Width = 0, Height = 0;

    explicit operator bool() const { return Width > 0 && Height > 0; }
    bool operator==(const FrameSize&) const = default;
    size_t LumaBytes() const { return static_cast<size_t>(Width) * static_cast<size_t>(Height); }
    size_t I420Bytes() const { return LumaBytes() * 3 / 2; }
};

/// An empty text gives no size; anything else must be two positive numbers.
inline FrameSize ParseFrameSize(const std::string& Text)
{
    if (Text.empty()) return {};
    FrameSize Size;
    char Rest;
    if (std::sscanf(Text.c_str(), "%dx%d%c", &Size.Width, &Size.Height, &Rest) != 2 || !Size || Size.Width > 16384 ||
        Size.Height > 16384)
        throw CliError("not a size of the form WxH: " + Text);
    return Size;
}
