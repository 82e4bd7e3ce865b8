#include "front/adapters.h"

#include "platform/linux/pci_devices.h"

namespace {

// The whole display class: 3D controllers, which drive no display, as well.
class PciAdapters : public IAdapterSource
{
public:
    bool Connect() override { return m_Devices.Open(); }
    bool Query() override { return m_Devices.SelectClass(platform::kPciClassDisplay); }
    bool Next(DisplayAdapter& Adapter) override
    {
        platform::PciDevice Device;
        if (!m_Devices.Next(Device)) return false;
        Adapter = {Device.Name, "", Device.bDriverBound ? "OK" : "Unknown"};
        return true;
    }

private:
    platform::PciDevices m_Devices;
};

} // namespace

std::unique_ptr<IAdapterSource> MakeAdapterSource() { return std::make_unique<PciAdapters>(); }
