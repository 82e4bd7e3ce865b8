// Whether a person watches.
#pragma once

namespace platform {

/// True when standard error is a terminal.
bool ErrorIsTerminal();

} // namespace platform
