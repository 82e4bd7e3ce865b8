#include "AMF/common/AMFFactoryHelper.h"

#include "platform/driver_names.h"
#include "platform/shared_library.h"

#include <type_traits>

namespace {

constexpr amf_uint64 kVersion = AmfVersion(1, 4, 4, 0); // of the interfaces as they are declared here

} // namespace

static_assert(std::is_trivially_destructible_v<AMFFactoryHelper>);
constinit AMFFactoryHelper g_AMFFactory;

AMF_RESULT AMFFactoryHelper::Init()
{
    if (!m_hModule) {
        const AMF_RESULT Result = Start();
        if (Result != AMF_OK) return Result;
    }
    ++m_iRefCount;
    return AMF_OK;
}

AMF_RESULT AMFFactoryHelper::Start()
{
    const platform::LibraryOperations& Libraries = platform::Libraries();
    m_hModule = Libraries.Open(platform::kAmfLibrary);
    if (!m_hModule) return AMF_FAIL;
    const auto pInit = reinterpret_cast<AMFInit_Fn>(Libraries.Symbol(m_hModule, "AMFInit"));
    if (!pInit) {
        Unload();
        return AMF_FAIL;
    }
    AMFFactory* pFactory = nullptr;
    AMF_RESULT Result = pInit(kVersion, &pFactory);
    if (Result != AMF_OK) return Result;
    const auto pQueryVersion = reinterpret_cast<AMFQueryVersion_Fn>(Libraries.Symbol(m_hModule, "AMFQueryVersion"));
    if (!pQueryVersion) {
        Unload();
        return AMF_FAIL;
    }
    Result = pQueryVersion(&m_RuntimeVersion);
    if (Result != AMF_OK) return Result;
    if (!pFactory) return AMF_FAIL; // it says that there is one
    pFactory->GetTrace(&m_pTrace);
    pFactory->GetDebug(&m_pDebug);
    m_pFactory = pFactory; // behind all that may fail
    return AMF_OK;
}

AMF_RESULT AMFFactoryHelper::Terminate()
{
    if (m_hModule && --m_iRefCount == 0) Unload();
    return AMF_OK;
}

void AMFFactoryHelper::Unload()
{
    platform::Libraries().Close(m_hModule);
    m_hModule = nullptr;
    m_pFactory = nullptr;
    m_pDebug = nullptr;
    m_pTrace = nullptr;
    m_RuntimeVersion = 0;
}
