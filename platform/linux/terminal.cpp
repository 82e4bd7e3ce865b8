#include "platform/terminal.h"

#include <unistd.h>

namespace platform {

bool ErrorIsTerminal() { return isatty(STDERR_FILENO) != 0; }

std::FILE* TakeStandardOutput()
{
    std::setvbuf(stdout, nullptr, _IONBF, 0); // in step with what goes to standard error by itself
    const int Kept = dup(STDOUT_FILENO);
    std::FILE* const pKept = Kept < 0 ? nullptr : fdopen(Kept, "w");
    if (!pKept) return stdout;
    dup2(STDERR_FILENO, STDOUT_FILENO);
    return pKept;
}

} // namespace platform
