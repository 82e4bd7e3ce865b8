#include "platform/message_box.h"

#include <windows.h>

namespace platform {
namespace {

bool Beep(uint32_t Type) { return ::MessageBeep(Type) != 0; }

int Show(const char* pText, const char* pCaption, uint32_t Style)
{
    return ::MessageBoxA(nullptr, pText, pCaption, Style);
}

} // namespace

const MessageBoxOperations kSystemMessageBox{Beep, Show};

} // namespace platform
