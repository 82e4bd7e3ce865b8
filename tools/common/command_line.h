// The command line of every tool.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

/// A parser whose options begin with dashes on every system, so that a path that begins with a slash is a path.
class CommandLine : public CLI::App
{
public:
    explicit CommandLine(const std::string& Description, const std::string& Name = "") : CLI::App(Description, Name)
    {
        allow_windows_style_options(false);
    }
};
