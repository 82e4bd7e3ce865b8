// Files of the framework: byte and line access over the C library.
#pragma once

#include <cstdint>
#include <cstdio>

namespace UMC {

struct os_file; // made by os_file_open, released by os_file_close

os_file* os_file_open(const char* pName, const char* pMode); // modes of fopen; null when it cannot be opened
bool os_file_close(os_file* pFile); // false when the last bytes could not be written; null: true
size_t os_file_read(void* pBuffer, size_t ItemSize, size_t Count, os_file* pFile); // items read
size_t os_file_write(const void* pBuffer, size_t ItemSize, size_t Count, os_file* pFile);
bool os_file_seek(os_file* pFile, int64_t Position, int Origin); // SEEK_SET, SEEK_CUR, SEEK_END
int64_t os_file_size(const char* pName);                         // bytes; -1 when there is no such file
/// One line of at most Size - 1 characters with its end mark; null at the end of the file.
char* os_file_gets(char* pLine, int32_t Size, os_file* pFile);
int32_t os_file_printf(os_file* pFile, const char* pFormat, ...) __attribute__((format(printf, 2, 3)));
bool os_file_remove(const char* pName);

} // namespace UMC
