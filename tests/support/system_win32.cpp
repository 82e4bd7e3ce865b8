#include "tests/support/system.h"

#include "tests/support/temporary_folder.h"

#include <windows.h>

#include <cstdlib>
#include <fstream>

namespace test_system {

// Wine starts a program of the system below it but gives no handle to wait for it by, so the script says when it is
// done.
int RunCommand(const std::string& Command)
{
    const TemporaryFolder Folder;
    const std::string Script = Folder.File("script"), Done = Folder.File("done");
    std::ofstream(Script, std::ios::binary)
        << "(" << Command << "\n)\necho $? > " << Done << ".part\nmv " << Done << ".part " << Done << "\n";
    std::string Line = "chroot /host sh " + Script; // what this machine runs is below /host (scripts/wine.sh)
    STARTUPINFOA Start{};
    Start.cb = sizeof Start;
    PROCESS_INFORMATION Process{};
    if (!CreateProcessA("Y:\\chroot", Line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &Start, &Process))
        return -1;
    int Status = -1;
    while (!std::filesystem::exists(Done)) Sleep(2);
    std::ifstream(Done) >> Status;
    return Status;
}

void SetVariable(const char* pName, const char* pValue) { _putenv_s(pName, pValue ? pValue : ""); }

} // namespace test_system
