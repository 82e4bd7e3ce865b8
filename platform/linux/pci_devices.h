// The devices on the PCI buses.
#pragma once

#include <cstdint>
#include <string>

struct pci_device_iterator;

namespace platform {

inline constexpr uint32_t kPciClassDisplay = 0x03; // the base class: VGA, XGA, 3D and other display controllers

struct PciDevice {
    std::string Name;          // maker and device in the words of pci.ids; their numbers where it has none
    bool bDriverBound = false; // a driver of the kernel has taken the device
};

/// A walk over the devices of one class. One object at a time in a process.
class PciDevices
{
public:
    PciDevices() = default;
    ~PciDevices();
    PciDevices(const PciDevices&) = delete;
    PciDevices& operator=(const PciDevices&) = delete;

    bool Open(); ///< false where there are no such buses
    bool SelectClass(uint32_t BaseClass);
    bool Next(PciDevice& Device); ///< false behind the last one

private:
    bool m_bOpen = false;
    pci_device_iterator* m_pIterator = nullptr;
};

} // namespace platform
