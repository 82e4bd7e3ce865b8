// The display adapters on the PCI buses: of this machine, beside what the kernel tells of it, and of a machine that is
// made up.
#include "front/adapters.h"

#include "platform/paths.h"
#include "tests/support/child_process.h"
#include "tests/support/system.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/whole_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <unistd.h>

using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

// A device as the kernel shows it: the beginning of its configuration space, and a link to its driver.
void AddDevice(const fs::path& Devices, const char* pSlot, uint16_t Vendor, uint16_t Device, uint32_t Class,
               bool bDriver)
{
    const fs::path Folder = Devices / pSlot;
    fs::create_directory(Folder);
    std::vector<uint8_t> Config(256);
    for (const auto& [Offset, Value, Bytes] : {std::tuple{0, uint32_t{Vendor}, 2}, {2, Device, 2}, {9, Class, 3}})
        for (int i = 0; i < Bytes; ++i) Config[static_cast<size_t>(Offset + i)] = static_cast<uint8_t>(Value >> 8 * i);
    test::WriteWholeFile((Folder / "config").string(), Config);
    char Number[16];
    for (const auto& [pName, Value] : {std::pair{"vendor", uint32_t{Vendor}},
                                       {"device", Device},
                                       {"class", Class},
                                       {"subsystem_vendor", 0u},
                                       {"subsystem_device", 0u},
                                       {"irq", 0u},
                                       {"revision", 0u}}) {
        std::snprintf(Number, sizeof Number, "0x%04x\n", Value);
        std::ofstream(Folder / pName) << Number;
    }
    if (bDriver) fs::create_symlink(Folder, Folder / "driver");
}

int DisplayDevicesOfTheKernel(bool bWithDriver)
{
    int Count = 0;
    std::error_code None;
    for (const auto& Device : fs::directory_iterator("/sys/bus/pci/devices", None)) {
        std::string Class;
        std::ifstream(Device.path() / "class") >> Class;
        if (Class.compare(0, 4, "0x03") == 0 && (!bWithDriver || fs::exists(Device.path() / "driver"))) ++Count;
    }
    return Count;
}

} // namespace

CHILD_BODY(PrintAdapters)
{
    for (const bool bOnlyOK : {false, true}) {
        std::vector<std::string> List;
        if (!MyGetDisplayVideoControllerList(List, bOnlyOK)) return 1;
        for (const std::string& Name : List) std::printf("%s%s\n", bOnlyOK ? "OK: " : "all: ", Name.c_str());
    }
    return 0;
}

TEST(LinuxAdapters, AreThoseThatTheKernelShows)
{
    for (const bool bOnlyOK : {false, true}) {
        std::vector<std::string> List;
        EXPECT_EQ(MyGetDisplayVideoControllerList(List, bOnlyOK), fs::exists("/sys/bus/pci"));
        EXPECT_EQ(static_cast<int>(List.size()), DisplayDevicesOfTheKernel(bOnlyOK));
    }
}

TEST(LinuxAdapters, HaveTheNamesOfTheList)
{
    TemporaryFolder Folder;
    const fs::path Buses = Folder.Path() / "bus", Devices = Buses / "pci/devices";
    fs::create_directories(Devices);
    AddDevice(Devices, "0000:00:02.0", 0x8086, 0x1912, 0x030000, true);  // VGA
    AddDevice(Devices, "0000:01:00.0", 0x10DE, 0x2330, 0x030200, true);  // a 3D controller
    AddDevice(Devices, "0000:02:00.0", 0x10DE, 0x1C03, 0x030000, false); // nobody drives it
    AddDevice(Devices, "0000:03:00.0", 0x8086, 0x10D3, 0x020000, true);  // a network card
    AddDevice(Devices, "0000:04:00.0", 0xFFF7, 0x0001, 0x038000, true);  // a maker that nobody knows
    AddDevice(Devices, "0000:05:00.0", 0x10DE, 0xFFF7, 0x030000, true);  // a device that nobody knows
    // Mounts are the command's own and end with it.
    const std::string Out = Folder.File("out");
    const std::string Command = std::string(geteuid() == 0 ? "" : "sudo --preserve-env ") +
                                "unshare --mount sh -c 'mount --bind " + Buses.string() +
                                " /sys/bus && QUILVEX_CHILD_BODY=PrintAdapters exec " + platform::ExecutablePath() +
                                "' > " + Out;
    ASSERT_EQ(test_system::RunCommand(Command), 0);
    const std::vector<uint8_t> Bytes = test::ReadWholeFile(Out);
    const std::string Text(Bytes.begin(), Bytes.end());
    EXPECT_THAT(Text, testing::MatchesRegex("all: Intel Corporation HD Graphics 530\n"
                                            "all: NVIDIA Corporation GH100.*\n"
                                            "all: NVIDIA Corporation GP106.*\n"
                                            "all: PCI device fff7:0001\n"
                                            "all: NVIDIA Corporation 10de:fff7\n"
                                            "OK: Intel Corporation HD Graphics 530\n"
                                            "OK: NVIDIA Corporation GH100.*\n"
                                            "OK: PCI device fff7:0001\n"
                                            "OK: NVIDIA Corporation 10de:fff7\n"))
        << Text;
}
