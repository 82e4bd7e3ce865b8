#include "Common/h/host_log.h"

#include "platform/host_library.h"

namespace {

// The client's library, as far as it is there.
class Tesselog : public IHostLog
{
public:
    void Write(int32_t iLevel, const char* pText) override
    {
        if (m_Calls.pWrite) m_Calls.pWrite(0, iLevel, pText);
    }

    std::string UserDataPath(const std::string& Subdirectory) override
    {
        const char* const pPath = m_Calls.pUserPath ? m_Calls.pUserPath(Subdirectory.c_str()) : nullptr;
        return pPath ? pPath : "";
    }

private:
    const platform::TesselogCalls m_Calls = platform::LoadTesselog();
};

IHostLog* g_pReplacement = nullptr;

} // namespace

IHostLog* GetHostLog()
{
    if (g_pReplacement) return g_pReplacement;
    // Never destroyed: objects of the client may log to the very end of the process.
    static Tesselog* const s_pLoaded = new Tesselog;
    return s_pLoaded;
}

IHostLog* SetHostLog(IHostLog* pLog)
{
    IHostLog* const pBefore = g_pReplacement;
    g_pReplacement = pLog;
    return pBefore;
}
