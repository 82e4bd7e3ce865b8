#include "platform/linux/pci_devices.h"

#include <cstdio>
#include <pciaccess.h>

namespace platform {

namespace {

std::string NameOf(const pci_device* pDevice)
{
    char Numbers[32];
    std::snprintf(Numbers, sizeof Numbers, "%04x:%04x", pDevice->vendor_id, pDevice->device_id);
    const char* const pMaker = pci_device_get_vendor_name(pDevice);
    if (!pMaker) return std::string("PCI device ") + Numbers;
    const char* const pName = pci_device_get_device_name(pDevice);
    return std::string(pMaker) + " " + (pName ? pName : Numbers);
}

} // namespace

PciDevices::~PciDevices()
{
    if (m_pIterator) pci_iterator_destroy(m_pIterator);
    if (m_bOpen) pci_system_cleanup();
}

bool PciDevices::Open()
{
    m_bOpen = pci_system_init() == 0;
    return m_bOpen;
}

bool PciDevices::SelectClass(uint32_t BaseClass)
{
    const pci_id_match Match{PCI_MATCH_ANY, PCI_MATCH_ANY, PCI_MATCH_ANY, PCI_MATCH_ANY, BaseClass << 16, 0xFF0000, 0};
    m_pIterator = pci_id_match_iterator_create(&Match);
    return m_pIterator != nullptr;
}

bool PciDevices::Next(PciDevice& Device)
{
    pci_device* const pDevice = pci_device_next(m_pIterator);
    if (!pDevice) return false;
    Device = {NameOf(pDevice), pci_device_has_kernel_driver(pDevice) != 0};
    return true;
}

} // namespace platform
