// The streams that a program of the command line is started with.
#pragma once

#include <cstdio>

namespace platform {

/// True when standard error is a terminal.
bool ErrorIsTerminal();

/// Keeps standard output for the caller alone: what anything else in this process writes there from now on, drivers and
/// their layers above all, goes to standard error. To be called before anything is written there.
/// @return Where standard output was; standard output itself when the system refuses. Never closed.
std::FILE* TakeStandardOutput();

} // namespace platform
