#include "platform/host_library.h"

#include "platform/shared_library.h"

#include <windows.h>

#include <string>

namespace platform {

namespace {

constexpr char kName[] = "Tesselog.dll";
constexpr int kWriteOrdinal = 27, kUserPathOrdinal = 31; // it exports no names

// The folder of the library that this code is part of, with the separator; empty when it cannot be told.
std::string OwnFolder()
{
    HMODULE Own = nullptr;
    constexpr DWORD Flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!GetModuleHandleExA(Flags, kName, &Own)) return {};
    char Path[MAX_PATH] = "";
    const DWORD Length = GetModuleFileNameA(Own, Path, MAX_PATH);
    const std::string File(Path, Length < MAX_PATH ? Length : 0);
    return File.substr(0, File.find_last_of('\\') + 1);
}

// Beside this library first, as the client ships them; the system looks beside the executable and not there.
const SharedLibrary& Library()
{
    static const auto* const s_pBeside = new SharedLibrary(OwnFolder() + kName);
    if (s_pBeside->Ok()) return *s_pBeside;
    static const auto* const s_pElsewhere = new SharedLibrary(kName);
    return *s_pElsewhere;
}

// The system takes an ordinal in place of a name.
void* SymbolByOrdinal(uintptr_t Ordinal) { return Library().Symbol(reinterpret_cast<const char*>(Ordinal)); }

} // namespace

TesselogCalls LoadTesselog()
{
    TesselogCalls Calls;
    Calls.pWrite = reinterpret_cast<decltype(Calls.pWrite)>(SymbolByOrdinal(kWriteOrdinal));
    Calls.pUserPath = reinterpret_cast<decltype(Calls.pUserPath)>(SymbolByOrdinal(kUserPathOrdinal));
    return Calls;
}

} // namespace platform
