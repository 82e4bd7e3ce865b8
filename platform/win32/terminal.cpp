#include "platform/terminal.h"

#include <io.h>

namespace platform {

bool ErrorIsTerminal() { return _isatty(_fileno(stderr)) != 0; }

std::FILE* TakeStandardOutput()
{
    std::setvbuf(stdout, nullptr, _IONBF, 0); // in step with what goes to standard error by itself
    const int Kept = _dup(_fileno(stdout));
    std::FILE* const pKept = Kept < 0 ? nullptr : _fdopen(Kept, "w");
    if (!pKept) return stdout;
    _dup2(_fileno(stderr), _fileno(stdout));
    return pKept;
}

} // namespace platform
