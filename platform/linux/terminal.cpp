#include "platform/terminal.h"

#include <unistd.h>

namespace platform {

bool ErrorIsTerminal() { return isatty(STDERR_FILENO) != 0; }

} // namespace platform
