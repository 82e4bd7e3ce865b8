// Memory that a test leaves behind on purpose.
#pragma once

#if defined(__SANITIZE_ADDRESS__)

#include <sanitizer/lsan_interface.h>

/// While it lives, what this thread allocates may stay: the sanitizer does not report it.
using LeaksAllowed = __lsan::ScopedDisabler;

#else

struct LeaksAllowed {
    LeaksAllowed() {} // not trivial, so that an object of it counts as used
};

#endif
