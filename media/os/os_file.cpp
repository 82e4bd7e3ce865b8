#include "media/os/os_file.h"

#include <cstdarg>
#include <filesystem>
#include <new>

namespace UMC {

struct os_file {
    std::FILE* pHandle;
};

os_file* os_file_open(const char* pName, const char* pMode)
{
    if (!pName || !pMode) return nullptr;
    std::FILE* const pHandle = std::fopen(pName, pMode);
    if (!pHandle) return nullptr;
    auto* const pFile = new (std::nothrow) os_file{pHandle};
    if (!pFile) std::fclose(pHandle);
    return pFile;
}

bool os_file_close(os_file* pFile)
{
    if (!pFile) return true;
    const bool bDone = std::fclose(pFile->pHandle) == 0;
    delete pFile;
    return bDone;
}

size_t os_file_read(void* pBuffer, size_t ItemSize, size_t Count, os_file* pFile)
{
    return std::fread(pBuffer, ItemSize, Count, pFile->pHandle);
}

size_t os_file_write(const void* pBuffer, size_t ItemSize, size_t Count, os_file* pFile)
{
    return std::fwrite(pBuffer, ItemSize, Count, pFile->pHandle);
}

bool os_file_seek(os_file* pFile, int64_t Position, int Origin)
{
    const auto Reached = static_cast<long>(Position); // 32 bits wide on some systems
    return Reached == Position && std::fseek(pFile->pHandle, Reached, Origin) == 0;
}

int64_t os_file_size(const char* pName)
{
    std::error_code Error;
    const auto Size = std::filesystem::file_size(pName, Error);
    return Error ? -1 : static_cast<int64_t>(Size);
}

char* os_file_gets(char* pLine, int32_t Size, os_file* pFile) { return std::fgets(pLine, Size, pFile->pHandle); }

int32_t os_file_printf(os_file* pFile, const char* pFormat, ...)
{
    va_list Arguments;
    va_start(Arguments, pFormat);
    const int32_t Written = std::vfprintf(pFile->pHandle, pFormat, Arguments);
    va_end(Arguments);
    return Written;
}

bool os_file_remove(const char* pName) { return std::remove(pName) == 0; }

} // namespace UMC
