// The system's message box: the only user interface of the library.
#pragma once

#include <cstdint>

namespace platform {

inline constexpr uint32_t kMessageStopIcon = 16; // style and sound of an error

/// The two operations of a message box. A caller that reports through them takes a record of them, so that another
/// receiver can stand in their place. Both are called on the calling thread; texts are zero-terminated and read during
/// the call only.
struct MessageBoxOperations {
    /// Sounds the system's signal of a type; returns false when it could not.
    bool (*Beep)(uint32_t Type);
    /// Shows a box and returns when it has been answered; returns 0 when it could not be shown.
    int (*Show)(const char* pText, const char* pCaption, uint32_t Style);
};

/// The system's own operations. Where there is no desktop to rely on, they write a line to standard error instead.
extern const MessageBoxOperations kSystemMessageBox;

} // namespace platform
