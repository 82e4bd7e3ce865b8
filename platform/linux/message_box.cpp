#include "platform/message_box.h"

#include <cstdio>

namespace platform {
namespace {

bool Beep(uint32_t) { return std::fputc('\a', stderr) != EOF; }

int Show(const char* pText, const char* pCaption, uint32_t)
{
    return std::fprintf(stderr, "%s:%s\n", pCaption, pText) < 0 ? 0 : 1;
}

} // namespace

const MessageBoxOperations kSystemMessageBox{Beep, Show};

} // namespace platform
