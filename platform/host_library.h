// How the client's logging library is called on this system.
#pragma once

namespace platform {

extern const char* const kTesselogName; // file name of the library
extern const char* const
    kTesselogWrite; // name of its call that takes 0, a level and a text; ordinal 27 where there are
extern const char* const kTesselogUserPath; // name of its call that gives the per-user directory; ordinal 31

} // namespace platform
