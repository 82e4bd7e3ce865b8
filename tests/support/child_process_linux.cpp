#include "tests/support/child_process.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace test_system {

namespace {

constexpr int kNewFile = O_WRONLY | O_CREAT | O_TRUNC;

pid_t Start(const std::string& Program, const std::string& OutFile, const std::string& ErrFile)
{
    posix_spawn_file_actions_t Files;
    posix_spawn_file_actions_init(&Files);
    posix_spawn_file_actions_addopen(&Files, STDOUT_FILENO, OutFile.c_str(), kNewFile, 0600);
    posix_spawn_file_actions_addopen(&Files, STDERR_FILENO, ErrFile.c_str(), kNewFile, 0600);
    char* const pArguments[] = {const_cast<char*>(Program.c_str()), nullptr};
    pid_t Child;
    const int Failed = posix_spawn(&Child, Program.c_str(), &Files, nullptr, pArguments, environ);
    posix_spawn_file_actions_destroy(&Files);
    if (Failed) throw std::runtime_error("a child cannot be started");
    return Child;
}

// False when the time is over.
bool WaitFor(pid_t Child, int& Status, uint32_t Milliseconds)
{
    const auto End = std::chrono::steady_clock::now() + std::chrono::milliseconds(Milliseconds);
    for (;;) {
        const pid_t Ended = waitpid(Child, &Status, WNOHANG);
        if (Ended == Child) return true;
        if (Ended < 0 && errno != EINTR) throw std::runtime_error("a child cannot be waited for");
        if (std::chrono::steady_clock::now() >= End) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

} // namespace

ChildResult RunProgram(const std::string& Program, const std::string& OutFile, const std::string& ErrFile,
                       uint32_t Milliseconds)
{
    const pid_t Child = Start(Program, OutFile, ErrFile);
    ChildResult Result;
    int Status = 0;
    if (!WaitFor(Child, Status, Milliseconds)) {
        Result.bTimedOut = true;
        kill(Child, SIGKILL);
        while (waitpid(Child, &Status, 0) < 0 && errno == EINTR) {
        }
    }
    Result.bCrashed = !Result.bTimedOut && WIFSIGNALED(Status);
    Result.Code = WIFSIGNALED(Status) ? WTERMSIG(Status) : WEXITSTATUS(Status);
    return Result;
}

void CrashQuietly()
{
    const rlimit None{};
    setrlimit(RLIMIT_CORE, &None);
}

} // namespace test_system
