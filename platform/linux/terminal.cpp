#include "platform/terminal.h"

#include <unistd.h>

namespace platform {

bool ErrorIsTerminal() { return isatty(STDERR_FILENO) != 0; }

std::FILE* TakeStandardOutput()
{
    std::fflush(stdout);
    const int Kept = dup(STDOUT_FILENO);
    std::FILE* const pKept = Kept < 0 ? nullptr : fdopen(Kept, "w");
    if (!pKept) return stdout;
    dup2(STDERR_FILENO, STDOUT_FILENO);
    return pKept;
}

} // namespace platform
