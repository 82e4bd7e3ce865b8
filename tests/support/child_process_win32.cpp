#include "tests/support/child_process.h"

#include <windows.h>

#include <stdexcept>

namespace test_system {

namespace {

HANDLE NewFile(const std::string& Path)
{
    SECURITY_ATTRIBUTES Inherited{sizeof Inherited, nullptr, TRUE};
    return CreateFileA(Path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &Inherited, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
}

HANDLE Start(const std::string& Program, HANDLE Out, HANDLE Err)
{
    STARTUPINFOA Info{};
    Info.cb = sizeof Info;
    Info.dwFlags = STARTF_USESTDHANDLES;
    Info.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    Info.hStdOutput = Out;
    Info.hStdError = Err;
    PROCESS_INFORMATION Process{};
    std::string Line = '"' + Program + '"';
    if (!CreateProcessA(Program.c_str(), Line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &Info, &Process))
        throw std::runtime_error("a child cannot be started");
    CloseHandle(Process.hThread);
    return Process.hProcess;
}

constexpr DWORD kEnded = 0xFFFFFFFE;

LONG WINAPI EndQuietly(EXCEPTION_POINTERS*) { return EXCEPTION_EXECUTE_HANDLER; }

} // namespace

ChildResult RunProgram(const std::string& Program, const std::string& OutFile, const std::string& ErrFile,
                       uint32_t Milliseconds)
{
    const HANDLE Out = NewFile(OutFile), Err = NewFile(ErrFile);
    const HANDLE Child = Start(Program, Out, Err);
    ChildResult Result;
    Result.bTimedOut = WaitForSingleObject(Child, Milliseconds) != WAIT_OBJECT_0;
    if (Result.bTimedOut) {
        TerminateProcess(Child, kEnded);
        WaitForSingleObject(Child, INFINITE);
    }
    DWORD Code = 0;
    GetExitCodeProcess(Child, &Code);
    Result.Code = static_cast<int>(Code);
    Result.bCrashed = !Result.bTimedOut && (Code >= 0x40000000 || Code == 3); // an exception's code, or abort()
    for (const HANDLE h : {Child, Out, Err}) CloseHandle(h);
    return Result;
}

void CrashQuietly() { SetUnhandledExceptionFilter(EndQuietly); }

} // namespace test_system
