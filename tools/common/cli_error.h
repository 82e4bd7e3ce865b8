// The one error of the command-line tools: a line for standard error.
#pragma once

#include <stdexcept>
#include <string>

class CliError : public std::runtime_error
{
public:
    explicit CliError(const std::string& Line) : std::runtime_error(Line) {}
};
