// Settings files of the classic private profile form: sections in brackets, lines of key and value.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

/// The value, cut to 10239 bytes; the default when the file, section or key is missing. Never creates the file.
std::string ReadProfileText(const std::string& Path, const char* pSection, const char* pKey, const char* pDefault);
/// The value as a whole number (its leading digits; 0 for a text without any); the default when it is missing.
int32_t ReadProfileNumber(const std::string& Path, const char* pSection, const char* pKey, int32_t Default);
/// Writes one value and leaves all else in the file as it is, comments included. False when that failed.
bool WriteProfileText(const std::string& Path, const char* pSection, const char* pKey, const char* pValue);

} // namespace platform
