// The client's logging library, as this library sees it.
#pragma once

#include <cstdint>
#include <string>

/// Where log texts go.
struct IHostLog {
    virtual ~IHostLog() = default;
    virtual void Write(int32_t iLevel, const char* pText) = 0;
    /// The host's per-user folder for a subdirectory; empty when the host does not tell.
    virtual std::string UserDataPath(const std::string& Subdirectory) = 0;
};

/// The log in use: "Tesselog", loaded at the first call; without it texts are dropped. Never null.
IHostLog* GetHostLog();
/// Puts another log in its place, not owned; null restores the loaded one. Returns what stood before, null for the
/// loaded one. Not to be called while another thread may log.
IHostLog* SetHostLog(IHostLog* pLog);
