#include "tests/support/fake_wmi_win32.h"

#include <stdexcept>

// Objects as the binary interface has them: a table of operations by number, each taking its object first. Operations
// that nobody is to call are null.
namespace {

FakeWmi* g_pWmi = nullptr;

constexpr CLSID kLocatorClass{0x4590F811, 0x1D3A, 0x11D0, {0x89, 0x1F, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24}};
constexpr IID kLocator{0xDC12A687, 0x737F, 0x11CF, {0x88, 0x4D, 0x00, 0xAA, 0x00, 0x4B, 0x2E, 0x24}};
constexpr IID kUnknown{0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr IID kClassFactory{1, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr IID kClientSecurity{0x13D, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

struct RawObject {
    void* const* pTable;
    size_t Index; // of an answer; the next one to give, of an enumeration
    LONG References;
};

RawObject* MakeObject(void* const* pTable, size_t Index = 0)
{
    ++g_pWmi->Live;
    return new RawObject{pTable, Index, 1};
}

ULONG __stdcall AddRef(RawObject* pSelf) { return static_cast<ULONG>(++pSelf->References); }

ULONG __stdcall Release(RawObject* pSelf)
{
    const LONG Left = --pSelf->References;
    if (Left == 0) {
        --g_pWmi->Live;
        delete pSelf;
    }
    return static_cast<ULONG>(Left);
}

std::string Narrow(const wchar_t* pText)
{
    std::string Text;
    while (pText && *pText) Text += static_cast<char>(*pText++);
    return Text;
}

template <class Operation>
void* Slot(Operation* pOperation)
{
    return reinterpret_cast<void*>(pOperation);
}

// ---- an answer ----

HRESULT __stdcall ObjectQuery(RawObject*, const IID*, void**) { return E_NOINTERFACE; }

HRESULT __stdcall ObjectGet(RawObject* pSelf, const wchar_t* pName, LONG, VARIANT* pValue, LONG*, LONG*)
{
    g_pWmi->Calls.push_back("Get " + Narrow(pName));
    for (const FakeWmi::Property& p : g_pWmi->Objects[pSelf->Index])
        if (p.Name == pName) {
            pValue->vt = p.Type;
            if (p.Type == VT_BSTR) pValue->bstrVal = SysAllocString(p.Text.c_str());
            if (p.Type == VT_I4) pValue->lVal = p.Number;
            if (p.Type == VT_BOOL) pValue->boolVal = p.Number ? VARIANT_TRUE : VARIANT_FALSE;
            return S_OK;
        }
    return static_cast<HRESULT>(0x80041002); // there is no such property
}

void* const kObjectTable[] = {Slot(ObjectQuery), Slot(AddRef), Slot(Release), nullptr, Slot(ObjectGet)};

// ---- an enumeration ----

HRESULT __stdcall EnumNext(RawObject* pSelf, LONG Timeout, ULONG Count, RawObject** pObjects, ULONG* pReturned)
{
    g_pWmi->Calls.push_back("Next " + std::to_string(Timeout) + " " + std::to_string(Count));
    if (g_pWmi->pTurnClock) g_pWmi->pTurnClock(g_pWmi->NextMilliseconds);
    *pReturned = 0;
    if (FAILED(g_pWmi->NextResult)) return g_pWmi->NextResult;
    if (pSelf->Index >= g_pWmi->Objects.size()) return S_FALSE;
    *pObjects = MakeObject(kObjectTable, pSelf->Index++);
    *pReturned = 1;
    return S_OK;
}

void* const kEnumTable[] = {Slot(ObjectQuery), Slot(AddRef), Slot(Release), nullptr, Slot(EnumNext)};

// ---- the service, and its security ----

HRESULT __stdcall SetBlanket(RawObject*, IUnknown*, DWORD Authn, DWORD Authz, wchar_t* pPrincipal, DWORD AuthnLevel,
                             DWORD ImpLevel, void* pIdentity, DWORD Capabilities)
{
    g_pWmi->Calls.push_back("SetBlanket " + std::to_string(Authn) + " " + std::to_string(Authz) + " " +
                            (pPrincipal ? Narrow(pPrincipal) : "null") + " " + std::to_string(AuthnLevel) + " " +
                            std::to_string(ImpLevel) + " " + (pIdentity ? "identity" : "null") + " " +
                            std::to_string(Capabilities));
    return g_pWmi->BlanketResult;
}

void* const kSecurityTable[] = {Slot(ObjectQuery), Slot(AddRef), Slot(Release), nullptr, Slot(SetBlanket), nullptr};

HRESULT __stdcall ServiceQuery(RawObject*, const IID* pIid, void** ppObject)
{
    *ppObject = nullptr;
    if (*pIid != kClientSecurity) return E_NOINTERFACE;
    *ppObject = MakeObject(kSecurityTable);
    return S_OK;
}

HRESULT __stdcall ServiceExecQuery(RawObject*, wchar_t* pLanguage, wchar_t* pQuery, LONG Flags, void* pContext,
                                   RawObject** ppEnum)
{
    g_pWmi->Calls.push_back("ExecQuery " + Narrow(pLanguage) + " [" + Narrow(pQuery) + "] " + std::to_string(Flags) +
                            (pContext ? " context" : ""));
    if (FAILED(g_pWmi->QueryResult)) return g_pWmi->QueryResult;
    *ppEnum = MakeObject(kEnumTable);
    return S_OK;
}

void* const kServiceTable[] = {Slot(ServiceQuery),
                               Slot(AddRef),
                               Slot(Release),
                               nullptr,
                               nullptr,
                               nullptr,
                               nullptr,
                               nullptr,
                               nullptr,
                               nullptr,
                               nullptr,
                               nullptr,
                               nullptr,
                               nullptr,
                               nullptr,
                               nullptr,
                               nullptr,
                               nullptr,
                               nullptr,
                               nullptr,
                               Slot(ServiceExecQuery)};

// ---- the locator, and its class object ----

HRESULT __stdcall LocatorQuery(RawObject* pSelf, const IID* pIid, void** ppObject)
{
    *ppObject = *pIid == kUnknown || *pIid == kLocator ? pSelf : nullptr;
    if (!*ppObject) return E_NOINTERFACE;
    AddRef(pSelf);
    return S_OK;
}

HRESULT __stdcall LocatorConnect(RawObject*, wchar_t* pNamespace, wchar_t* pUser, wchar_t* pPassword, wchar_t* pLocale,
                                 LONG Flags, wchar_t* pAuthority, void* pContext, RawObject** ppService)
{
    const bool bBare = !pUser && !pPassword && !pLocale && !pAuthority && !pContext;
    g_pWmi->Calls.push_back("ConnectServer " + Narrow(pNamespace) + " " + std::to_string(Flags) +
                            (bBare ? "" : " with more"));
    if (FAILED(g_pWmi->ConnectResult)) return g_pWmi->ConnectResult;
    *ppService = MakeObject(kServiceTable);
    return S_OK;
}

void* const kLocatorTable[] = {Slot(LocatorQuery), Slot(AddRef), Slot(Release), Slot(LocatorConnect)};

HRESULT __stdcall FactoryQuery(RawObject* pSelf, const IID* pIid, void** ppObject)
{
    *ppObject = *pIid == kUnknown || *pIid == kClassFactory ? pSelf : nullptr;
    if (!*ppObject) return E_NOINTERFACE;
    AddRef(pSelf);
    return S_OK;
}

HRESULT __stdcall FactoryCreate(RawObject*, IUnknown*, const IID* pIid, void** ppObject)
{
    g_pWmi->Calls.push_back("CreateInstance");
    *ppObject = nullptr;
    if (FAILED(g_pWmi->CreateResult)) return g_pWmi->CreateResult;
    RawObject* const pLocator = MakeObject(kLocatorTable);
    const HRESULT Result = LocatorQuery(pLocator, pIid, ppObject);
    Release(pLocator);
    return Result;
}

HRESULT __stdcall FactoryLock(RawObject*, BOOL) { return S_OK; }

void* const kFactoryTable[] = {Slot(FactoryQuery), Slot(AddRef), Slot(Release), Slot(FactoryCreate), Slot(FactoryLock)};
RawObject g_Factory{kFactoryTable, 0, 1};

} // namespace

FakeWmi::FakeWmi()
{
    g_pWmi = this;
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (FAILED(CoRegisterClassObject(kLocatorClass, reinterpret_cast<IUnknown*>(&g_Factory), CLSCTX_INPROC_SERVER,
                                     REGCLS_MULTIPLEUSE, &m_Registration)))
        throw std::runtime_error("the class object cannot be registered");
}

FakeWmi::~FakeWmi()
{
    CoRevokeClassObject(m_Registration);
    CoUninitialize();
    g_pWmi = nullptr;
}
