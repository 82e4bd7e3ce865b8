// Bodies that a test runs in a process of its own: ones that hang, crash or end the process.
#pragma once

#include <cstdint>
#include <string>

/// What became of a child.
struct ChildResult {
    bool bTimedOut = false; ///< the watchdog ended it
    bool bCrashed = false;  ///< a signal or an unhandled exception ended it
    int Code = 0;           ///< its exit status, or the number of the signal or of the exception
    std::string Out, Err;   ///< all that it wrote to standard output and standard error
};

/// Starts this test program again for the body of that name, with an argument, and waits for it for at most so long.
ChildResult RunChild(const std::string& Body, const std::string& Argument, uint32_t Milliseconds);

/// Registers a body. Its return value is the child's exit status.
class ChildBody
{
public:
    using Function = int (*)(const std::string& Argument);
    ChildBody(const char* pName, Function pBody);
};
/// CHILD_BODY(Name) { ... return 0; } with the argument as `Argument`.
#define CHILD_BODY(Name)                                                                                               \
    static int Name([[maybe_unused]] const std::string& Argument);                                                     \
    static const ChildBody s_Child##Name(#Name, Name);                                                                 \
    static int Name([[maybe_unused]] const std::string& Argument)

/// For the start of every test program: runs the body that this process was started for, and gives its status; false
/// when it is an ordinary start.
bool RunAsChild(int& Status);

namespace test_system {

/// Starts a program with its output in two files and waits; the system's part of RunChild().
ChildResult RunProgram(const std::string& Program, const std::string& OutFile, const std::string& ErrFile,
                       uint32_t Milliseconds);
/// In a child: a crash ends it at once, without the system's debugger, its message, or an image of the memory.
void CrashQuietly();

} // namespace test_system
