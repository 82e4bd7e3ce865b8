#include "media/os/os_file.h"

#include <cstdarg>
#include <filesystem>
#include <new>

namespace UMC {

struct FileRecord {
    std::FILE* pHandle;
};

FileRecord* OpenFile(const char* pName, const char* pMode)
{
    if (!pName || !pMode) return nullptr;
    std::FILE* const pHandle = std::fopen(pName, pMode);
    if (!pHandle) return nullptr;
    auto* const pFile = new (std::nothrow) FileRecord{pHandle};
    if (!pFile) std::fclose(pHandle);
    return pFile;
}

bool CloseFile(FileRecord* pFile)
{
    if (!pFile) return true;
    const bool bDone = std::fclose(pFile->pHandle) == 0;
    delete pFile;
    return bDone;
}

size_t ReadFile(void* pBuffer, size_t ItemSize, size_t Count, FileRecord* pFile)
{
    return std::fread(pBuffer, ItemSize, Count, pFile->pHandle);
}

size_t WriteFile(const void* pBuffer, size_t ItemSize, size_t Count, FileRecord* pFile)
{
    return std::fwrite(pBuffer, ItemSize, Count, pFile->pHandle);
}

bool SeekFile(FileRecord* pFile, int64_t Position, int Origin)
{
    const auto Reached = static_cast<long>(Position); // 32 bits wide on some systems
    return Reached == Position && std::fseek(pFile->pHandle, Reached, Origin) == 0;
}

int64_t FileSize(const char* pName)
{
    std::error_code Error;
    const auto Size = std::filesystem::file_size(pName, Error);
    return Error ? -1 : static_cast<int64_t>(Size);
}

char* ReadLine(char* pLine, int32_t Size, FileRecord* pFile) { return std::fgets(pLine, Size, pFile->pHandle); }

int32_t PrintToFile(FileRecord* pFile, const char* pFormat, ...)
{
    va_list Arguments;
    va_start(Arguments, pFormat);
    const int32_t Written = std::vfprintf(pFile->pHandle, pFormat, Arguments);
    va_end(Arguments);
    return Written;
}

bool RemoveFile(const char* pName) { return std::remove(pName) == 0; }

} // namespace UMC
