// The per-user settings file.
#pragma once

#include <cstdint>
#include <string>

/// The client's folder below the per-user folder for local application data, then Subdirectory (with or without a
/// leading separator; may be empty). bCreate makes the whole path; whether that worked is not told.
std::string GetUserDataPath(const std::string& Subdirectory, bool bCreate);
/// Path of the settings file "Brellix.ini"; its folder is made.
std::string SettingsFile();
/// The same file in the folder that the host's logging library names, or in our own where it names none. Nothing is
/// made.
std::string HostSettingsFile();

/// The private profile operations on File. A name without a path separator is a file beside the running executable.
/// Reads give the default when the file, section or key is missing; the failure of a write is not reported.
std::string ReadProfileString(const std::string& File, const char* pSection, const char* pKey, const char* pDefault);
int32_t ReadProfileInt(const std::string& File, const char* pSection, const char* pKey, int32_t iDefault);
void WriteProfileString(const std::string& File, const char* pSection, const char* pKey, const char* pValue);

inline constexpr char kConfigSection[] = "CONFIG";
