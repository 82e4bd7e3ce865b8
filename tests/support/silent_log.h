// A host log that keeps nothing, and so takes no memory.
#pragma once

#include "Common/h/host_log.h"

/// Stands in for the log in use as long as it lives.
class SilentLog : public IHostLog
{
public:
    SilentLog() : m_pBefore(SetHostLog(this)) {}
    ~SilentLog() override { SetHostLog(m_pBefore); }
    SilentLog(const SilentLog&) = delete;
    SilentLog& operator=(const SilentLog&) = delete;

    void Write(int32_t, const char*) override {}
    std::string UserDataPath(const std::string&) override { return {}; }

private:
    IHostLog* m_pBefore;
};
