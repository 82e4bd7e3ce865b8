#include "tests/support/system.h"

#include <cstdlib>

namespace test_system {

int RunCommand(const std::string& Command) { return std::system(Command.c_str()); }

void SetVariable(const char* pName, const char* pValue)
{
    if (pValue)
        setenv(pName, pValue, 1);
    else
        unsetenv(pName);
}

} // namespace test_system
