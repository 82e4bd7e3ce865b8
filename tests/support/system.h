// What tests ask of the system they run on.
#pragma once

#include <string>

namespace test_system {

/// Runs a command line of the shell, such as one of ffmpeg, on the machine that the tests run on: under Wine on the one
/// below it. Paths are the same on both sides. Returns its exit status, -1 when it could not be started.
int RunCommand(const std::string& Command);

/// Sets an environment variable of this process; null takes it away.
void SetVariable(const char* pName, const char* pValue);

} // namespace test_system
