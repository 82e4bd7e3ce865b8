// A machine with the drivers that a test gives it: the chain and the engines of the build over substitutes.
#pragma once

#include "front/load.h"
#include "front/selection.h"
#include "platform/driver_names.h"
#include "tests/front/forwarding_engines.h"
#include "tests/support/drivers/driver_libraries.h"
#include "tests/support/drivers/driver_script.h"
#include "tests/support/leaks_allowed.h"
#include "tests/support/recording_log.h"
#include "tests/support/user_folder.h"

#include <optional>
#include <ostream>

/// What a driver does when an engine is tried with it.
enum class Driver { Absent, Works, Refuses, Crashes, Hangs };

inline void PrintTo(Driver d, std::ostream* pOut)
{
    constexpr const char* kNames[] = {"absent", "works", "refuses", "crashes", "hangs"};
    *pOut << kNames[static_cast<int>(d)];
}

/// From the load of the library to its unload; one at a time.
class Machine
{
public:
    explicit Machine(Driver Nvidia = Driver::Absent, Driver Amd = Driver::Absent, Driver Intel = Driver::Absent)
    {
        // A trial that a fault cuts short leaves its objects, and the Intel decoder the records of its surfaces.
        if (Nvidia == Driver::Crashes || Intel != Driver::Absent) m_Told.emplace();
        ResetSelectionState();
        if (Nvidia != Driver::Absent) {
            for (const char* const pName : {platform::kCudaLibrary, platform::kCuvidLibrary, platform::kNvencLibrary})
                Libraries.Add(pName);
            Engines.Adapters = {kNvidiaAdapter};
            Behave("nvEncOpenEncodeSessionEx", Nvidia, 2);
            Behave("cuvidCreateVideoParser", Nvidia, 2);
        }
        if (Amd != Driver::Absent) {
            Libraries.Add(platform::kAmfLibrary);
            Behave("Factory.CreateComponent", Amd, 30);
        }
        if (Intel != Driver::Absent) // behind the library's own dispatcher, where that serves
            for (const char* const pName : {platform::kMfxHardwareLibrary, platform::kMfxSoftwareLibrary})
                Libraries.Add(pName);
        Behave("MFXInit", Intel == Driver::Absent ? Driver::Refuses : Intel, -3);
        OnLibraryLoad();
        Log.Clear();
    }
    ~Machine() { OnLibraryUnload(); }

    static constexpr char kNvidiaAdapter[] = "NVIDIA Corporation Substitute";

    UserFolder Home;
    RecordingLog Log;
    DriverScript Script;
    DriverLibraries Libraries{};
    ForwardingEngines Engines;

private:
    std::optional<LeaksAllowed> m_Told;

    void Behave(const char* pOperation, Driver How, int64_t Refusal)
    {
        if (How == Driver::Refuses) Script.Answer(pOperation, Refusal);
        if (How == Driver::Crashes) Script.Fault(pOperation, kDriverAccess);
        if (How == Driver::Hangs) Script.Fault(pOperation, kDriverHang);
    }
};
