// Folders and paths.
#pragma once

#include <string>

namespace platform {

extern const char kPathSeparator;

/// The per-user folder for local application data, made when missing; empty when the system names none.
std::string LocalAppDataFolder();
/// Creates a folder and those above it; false when that failed.
bool CreateFolders(const std::string& Path);
/// Path of the running executable; empty when unknown.
std::string ExecutablePath();

} // namespace platform
