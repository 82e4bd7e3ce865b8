/* A logging library that exports by ordinal alone and appends what it is told to the file that TESSELOG_RECORD names.
 * It writes through the system: it may be called while the process ends. */
#include <windows.h>

#include <stdint.h>
#include <stdio.h>

static void Record(const char* pLine, int Length)
{
    char Name[MAX_PATH];
    const DWORD NameLength = GetEnvironmentVariableA("TESSELOG_RECORD", Name, MAX_PATH);
    if (NameLength == 0 || NameLength >= MAX_PATH) return;
    const HANDLE File = CreateFileA(Name, FILE_APPEND_DATA, 0, NULL, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, NULL);
    if (File == INVALID_HANDLE_VALUE) return;
    DWORD Written;
    WriteFile(File, pLine, (DWORD)Length, &Written, NULL);
    CloseHandle(File);
}

/* Ordinal 27. */
void Write(int32_t Channel, int32_t Level, const char* pText)
{
    char Line[4096];
    const int Length = snprintf(Line, sizeof Line, "%d [%d] %s\n", Channel, Level, pText);
    Record(Line, Length < (int)sizeof Line ? Length : (int)sizeof Line - 1);
}

/* Ordinal 31. */
const char* UserPath(const char* pSubdirectory)
{
    static char s_Path[MAX_PATH];
    char Line[MAX_PATH];
    Record(Line, snprintf(Line, sizeof Line, "user path of %s\n", pSubdirectory));
    snprintf(s_Path, sizeof s_Path, "C:\\users\\Public%s", pSubdirectory);
    return s_Path;
}
