#include "Common/h/host_log.h"

#include "platform/host_library.h"
#include "platform/shared_library.h"

namespace {

// The client's library: two calls, found by ordinal where libraries have ordinals and by name elsewhere.
class Tesselog : public IHostLog
{
public:
    Tesselog()
        : m_Library(platform::kTesselogName), m_pWrite(Find<WriteCall>(kWriteOrdinal, platform::kTesselogWrite)),
          m_pUserPath(Find<UserPathCall>(kUserPathOrdinal, platform::kTesselogUserPath))
    {
    }

    void Write(int32_t iLevel, const char* pText) override
    {
        if (m_pWrite) m_pWrite(0, iLevel, pText);
    }

    std::string UserDataPath(const std::string& Subdirectory) override
    {
        const char* const pPath = m_pUserPath ? m_pUserPath(Subdirectory.c_str()) : nullptr;
        return pPath ? pPath : "";
    }

private:
    using WriteCall = void(int32_t, int32_t, const char*);
    using UserPathCall = const char*(const char*);
    static constexpr int kWriteOrdinal = 27, kUserPathOrdinal = 31;

    template <class Call>
    Call* Find(int Ordinal, const char* pName) const
    {
        void* const pCall = m_Library.SymbolByOrdinal(Ordinal);
        return reinterpret_cast<Call*>(pCall ? pCall : m_Library.Symbol(pName));
    }

    platform::SharedLibrary m_Library;
    WriteCall* m_pWrite;
    UserPathCall* m_pUserPath;
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
