// Files of the framework: byte and line access over the C library.
#pragma once

#include <cstdint>
#include <cstdio>

namespace UMC {

struct FileRecord; // made by OpenFile, released by CloseFile

FileRecord* OpenFile(const char* pName, const char* pMode); // modes of fopen; null when it cannot be opened
bool CloseFile(FileRecord* pFile); // false when the last bytes could not be written; null: true
size_t ReadFile(void* pBuffer, size_t ItemSize, size_t Count, FileRecord* pFile); // items read
size_t WriteFile(const void* pBuffer, size_t ItemSize, size_t Count, FileRecord* pFile);
bool SeekFile(FileRecord* pFile, int64_t Position, int Origin); // SEEK_SET, SEEK_CUR, SEEK_END
int64_t FileSize(const char* pName);                            // bytes; -1 when there is no such file
/// One line of at most Size - 1 characters with its end mark; null at the end of the file.
char* ReadLine(char* pLine, int32_t Size, FileRecord* pFile);
int32_t PrintToFile(FileRecord* pFile, const char* pFormat, ...) __attribute__((format(printf, 2, 3)));
bool RemoveFile(const char* pName);

} // namespace UMC
