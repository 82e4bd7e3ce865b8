#include "front/WMI_win32.h"

#include "front/stdafx.h"

#define QUILVEX_SOURCE "WMI"

namespace {

constexpr CLSID kWbemLocator{0x4590F811, 0x1D3A, 0x11D0, {0x89, 0x1F, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24}};
constexpr IID kIWbemLocator{0xDC12A687, 0x737F, 0x11CF, {0x88, 0x4D, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24}};

constexpr LONG kNextMs = 5000;

// Both are the process's or the thread's own matter: whoever made these calls before has settled it.
void InitializeCom()
{
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                         EOAC_NONE, nullptr);
}

template <class Interface>
void Drop(Interface*& pInterface)
{
    if (pInterface) pInterface->Release();
    pInterface = nullptr;
}

// A property in the type that is wanted; empty when there is no such thing.
class Property
{
public:
    Property(IWbemClassObject* pclsObj, const wchar_t* pName, VARTYPE Type)
    {
        VariantInit(&m_Value);
        m_bOk = SUCCEEDED(pclsObj->Get(pName, 0, &m_Value, nullptr, nullptr)) &&
                SUCCEEDED(VariantChangeType(&m_Value, &m_Value, 0, Type));
    }
    ~Property() { VariantClear(&m_Value); }
    Property(const Property&) = delete;
    Property& operator=(const Property&) = delete;

    bool Ok() const { return m_bOk; }
    const VARIANT& operator*() const { return m_Value; }

private:
    VARIANT m_Value;
    bool m_bOk;
};

} // namespace

CWMIText::CWMIText(const char* pNarrow) : m_Text(nullptr)
{
    const int Length = MultiByteToWideChar(CP_ACP, 0, pNarrow, -1, nullptr, 0); // with the zero
    if (Length > 0) m_Text = SysAllocStringLen(nullptr, static_cast<UINT>(Length - 1));
    if (m_Text) MultiByteToWideChar(CP_ACP, 0, pNarrow, -1, m_Text, Length);
}

CWMIText::CWMIText(const wchar_t* pWide) : m_Text(SysAllocString(pWide)) {}

std::string CWMIText::Narrow() const
{
    const int Wide = static_cast<int>(SysStringLen(m_Text));
    if (Wide == 0) return {};
    std::string Text(static_cast<size_t>(WideCharToMultiByte(CP_ACP, 0, m_Text, Wide, nullptr, 0, nullptr, nullptr)),
                     0);
    WideCharToMultiByte(CP_ACP, 0, m_Text, Wide, Text.data(), static_cast<int>(Text.size()), nullptr, nullptr);
    return Text;
}

bool CWMI::ConnectTo(const char* csInfoText)
{
    ReleaseAll();
    InitializeCom();
    if (!CreateLocator()) return false;
    if (ConnectServer(csInfoText) && SetBlanket(csInfoText)) return true;
    ReleaseAll();
    return false;
}

bool CWMI::CreateLocator()
{
    void* pLocator = nullptr;
    const HRESULT err = CoCreateInstance(kWbemLocator, nullptr, CLSCTX_INPROC_SERVER, kIWbemLocator, &pLocator);
    if (FAILED(err)) {
        LogError("qvlx - CWMI::ConnectTo() Failed to create IWbemLocator object. err=%d", static_cast<int>(err));
        return false;
    }
    m_pLoc = static_cast<IWbemLocator*>(pLocator);
    return true;
}

bool CWMI::ConnectServer(const char* csInfoText)
{
    const CWMIText Namespace(csInfoText);
    const HRESULT err = m_pLoc->ConnectServer(Namespace.Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr, &m_pSvc);
    if (SUCCEEDED(err)) return true;
    m_pSvc = nullptr;
    LogError("qvlx - CWMI::ConnectTo() Could not connect. csInfoText=%s err=%d", csInfoText, static_cast<int>(err));
    return false;
}

bool CWMI::SetBlanket(const char* csInfoText)
{
    const HRESULT err = CoSetProxyBlanket(m_pSvc, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                                          RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
    if (SUCCEEDED(err)) return true;
    // The name in the line is another operation's; clients' tools look for the line as it is.
    LogError("qvlx - CWMI::GetAntVirusTool() Could not set proxy blanket. csInfoText=%s err=%d", csInfoText,
             static_cast<int>(err));
    return false;
}

bool CWMI::ExecQuery(const char* csQueryText)
{
    ASSERT_OR_RETURN(m_pSvc, false);
    Drop(m_pEnumerator);
    const CWMIText Language("WQL"), Query(csQueryText);
    const HRESULT err = m_pSvc->ExecQuery(
        Language.Get(), Query.Get(), WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr, &m_pEnumerator);
    if (SUCCEEDED(err)) return true;
    m_pEnumerator = nullptr;
    LogError("qvlx - CWMI::ExecQuery() Query failed. csQueryText=%s err=%d", csQueryText, static_cast<int>(err));
    return false;
}

bool CWMI::Next(IWbemClassObject** pclsObj)
{
    ASSERT_OR_RETURN(m_pEnumerator, false);
    *pclsObj = nullptr;
    ULONG Returned = 0;
    return SUCCEEDED(m_pEnumerator->Next(kNextMs, 1, pclsObj, &Returned)) && Returned > 0;
}

bool CWMI::GetString(IWbemClassObject* pclsObj, const wchar_t* pName, std::string& Value)
{
    ASSERT_OR_RETURN(pclsObj, false);
    Value.clear();
    const Property Read(pclsObj, pName, VT_BSTR);
    if (Read.Ok()) Value = CWMIText((*Read).bstrVal).Narrow();
    return Read.Ok();
}

bool CWMI::GetInt(IWbemClassObject* pclsObj, const wchar_t* pName, int32_t& Value)
{
    ASSERT_OR_RETURN(pclsObj, false);
    const Property Read(pclsObj, pName, VT_I4);
    Value = Read.Ok() ? (*Read).lVal : 0;
    return Read.Ok();
}

bool CWMI::GetUInt64(IWbemClassObject* pclsObj, const wchar_t* pName, uint64_t& Value)
{
    ASSERT_OR_RETURN(pclsObj, false);
    const Property Read(pclsObj, pName, VT_UI8);
    Value = Read.Ok() ? (*Read).ullVal : 0;
    return Read.Ok();
}

bool CWMI::GetBool(IWbemClassObject* pclsObj, const wchar_t* pName, bool& Value)
{
    ASSERT_OR_RETURN(pclsObj, false);
    const Property Read(pclsObj, pName, VT_BOOL);
    Value = Read.Ok() && (*Read).boolVal != VARIANT_FALSE;
    return Read.Ok();
}

void CWMI::ReleaseAll()
{
    Drop(m_pSvc);
    Drop(m_pLoc);
    Drop(m_pEnumerator);
}
