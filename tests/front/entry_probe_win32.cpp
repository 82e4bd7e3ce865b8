// In the place of what the library does at load and unload: writes a letter for each call into the environment of the
// process, where the test reads it.
#include "front/load.h"

#include <windows.h>

#include <cstdlib>
#include <string>

namespace {

constexpr char kVariable[] = "QUILVEX_ENTRY_PROBE";

void Tell(char Letter)
{
    char Text[256] = "";
    GetEnvironmentVariableA(kVariable, Text, sizeof Text);
    SetEnvironmentVariableA(kVariable, (std::string(Text) + Letter).c_str());
}

struct Static {
    std::string Text{"a static that needs its initialiser to run, and is too long to be kept in place"};
    ~Static() { Tell('d'); }
} g_Static;

} // namespace

void OnLibraryLoad() { Tell(g_Static.Text.empty() ? '!' : 'L'); }

void OnLibraryUnload()
{
    char Text[8];
    if (GetEnvironmentVariableA("QUILVEX_ENTRY_PROBE_ENDS", Text, sizeof Text))
        TerminateProcess(GetCurrentProcess(), 55);
    Tell(g_Static.Text.empty() ? '!' : 'U');
}
