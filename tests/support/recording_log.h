// A host log that keeps what it is told, for the scope of a test.
#pragma once

#include "Common/h/host_log.h"

#include <mutex>
#include <ostream>
#include <string>
#include <vector>

struct LogLine {
    int32_t Level;
    std::string Text;
    bool operator==(const LogLine&) const = default;
};

inline void PrintTo(const LogLine& Line, std::ostream* pOut) { *pOut << "[" << Line.Level << "] " << Line.Text; }

class RecordingLog : public IHostLog
{
public:
    RecordingLog() : m_pBefore(SetHostLog(this)) {}
    ~RecordingLog() override { SetHostLog(m_pBefore); }

    void Write(int32_t iLevel, const char* pText) override
    {
        const std::lock_guard Held(m_Lock);
        m_Lines.push_back({iLevel, pText});
    }
    std::string UserDataPath(const std::string&) override { return {}; }

    std::vector<LogLine> Lines() const
    {
        const std::lock_guard Held(m_Lock);
        return m_Lines;
    }
    /// The lines that hold Part, in order.
    std::vector<LogLine> With(const std::string& Part) const
    {
        std::vector<LogLine> Found;
        for (const LogLine& Line : Lines())
            if (Line.Text.find(Part) != std::string::npos) Found.push_back(Line);
        return Found;
    }
    void Clear()
    {
        const std::lock_guard Held(m_Lock);
        m_Lines.clear();
    }

private:
    mutable std::mutex m_Lock; // guards m_Lines
    std::vector<LogLine> m_Lines;
    IHostLog* m_pBefore;
};

inline constexpr int32_t kLogInfo = 4, kLogWarning = 8, kLogError = 16;
