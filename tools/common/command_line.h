// The command line of every tool.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

/// A parser whose options begin with dashes on every system, so that a path that begins with a slash is a path. What is
/// wrong with a command line is told in one line, as every other failure of a tool is.
class CommandLine : public CLI::App
{
public:
    CommandLine(const std::string& Description, const std::string& Name) : CLI::App(Description, Name)
    {
        allow_windows_style_options(false);
        failure_message([](const CLI::App* pApp, const CLI::Error& Fault) {
            return pApp->get_name() + ": " + Fault.what() + "; --help tells more\n";
        });
    }
};
