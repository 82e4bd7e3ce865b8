#include "front/adapters.h"

#include "front/WMI_win32.h"

namespace {

class WmiAdapters : public IAdapterSource
{
public:
    bool Connect() override { return m_Wmi.ConnectTo("ROOT\\CIMV2"); }
    bool Query() override { return m_Wmi.ExecQuery("SELECT * FROM Win32_VideoController"); }
    bool Next(DisplayAdapter& Adapter) override
    {
        IWbemClassObject* pclsObj;
        if (!m_Wmi.Next(&pclsObj)) return false;
        CWMI::GetString(pclsObj, L"Name", Adapter.Name);
        CWMI::GetString(pclsObj, L"DriverVersion", Adapter.DriverVersion);
        CWMI::GetString(pclsObj, L"Status", Adapter.Status);
        pclsObj->Release();
        return true;
    }

private:
    CWMI m_Wmi;
};

} // namespace

std::unique_ptr<IAdapterSource> MakeAdapterSource() { return std::make_unique<WmiAdapters>(); }
