#include "platform/terminal.h"

#include <io.h>

namespace platform {

bool ErrorIsTerminal() { return _isatty(2) != 0; }

} // namespace platform
