// Windows Management Instrumentation: a connection, a query on it, and the properties of what it answers.
#pragma once

#include <windows.h>

#include <wbemidl.h>

#include <cstdint>
#include <string>

/// A text on its way into WMI or out of it; owns its BSTR.
class CWMIText
{
public:
    explicit CWMIText(const char* pNarrow);  // in the system's code page
    explicit CWMIText(const wchar_t* pWide); // null is an empty text
    ~CWMIText() { SysFreeString(m_Text); }
    CWMIText(const CWMIText&) = delete;
    CWMIText& operator=(const CWMIText&) = delete;

    BSTR Get() const { return m_Text; } // null when memory is exhausted: an empty text to whoever takes one
    std::string Narrow() const;

private:
    BSTR m_Text;
};

/// One query at a time. Failures are logged; the security of the process is set up once and left as it is if somebody
/// was first.
class CWMI
{
public:
    CWMI() = default;
    ~CWMI() { ReleaseAll(); }
    CWMI(const CWMI&) = delete;
    CWMI& operator=(const CWMI&) = delete;

    /// Connects to a namespace, such as "ROOT\\CIMV2"; an earlier connection is given up first.
    bool ConnectTo(const char* csInfoText);
    /// Starts a query in WQL; an earlier one is given up.
    bool ExecQuery(const char* csQueryText);
    /// Waits at most 5 seconds for the next answer; the caller releases it.
    bool Next(IWbemClassObject** pclsObj);

    /// Reads one property of an answer: empty, 0 or false for one that is missing, null or of no such type.
    static bool GetString(IWbemClassObject* pclsObj, const wchar_t* pName, std::string& Value);
    static bool GetInt(IWbemClassObject* pclsObj, const wchar_t* pName, int32_t& Value);
    static bool GetUInt64(IWbemClassObject* pclsObj, const wchar_t* pName, uint64_t& Value);
    static bool GetBool(IWbemClassObject* pclsObj, const wchar_t* pName, bool& Value);

private:
    bool CreateLocator();
    bool ConnectServer(const char* csInfoText);
    bool SetBlanket(const char* csInfoText);
    void ReleaseAll();

    IWbemServices* m_pSvc = nullptr; // the connected namespace
    IWbemLocator* m_pLoc = nullptr;
    IEnumWbemClassObject* m_pEnumerator = nullptr; // the running query
};
