// The selection chain: which engine serves a request.
#pragma once

#include "quilvex/IVCodec.h"

#include <atomic>
#include <cstdint>
#include <string>

/// Settled by the request id: id / 100 and id % 100, unsigned.
struct RequestId {
    uint32_t bDecoder; // 0 encoder, anything else decoder
    uint32_t Mode;
    explicit RequestId(uint32_t id) : bDecoder(id / 100), Mode(id % 100) {}
};
enum RequestMode : uint32_t { kModeHardwareFirst = 1, kModeIntelSoftware = 2, kModeHardwareOnly = 11 };

/// The chain inside its exception frame: any fault or exception ends in a software codec.
IVCodec* SelectVCodec(uint32_t id);

// State of the process; none of it is ever reset in the product.
extern std::atomic<int32_t> AmdProbeHangCount; // AMD probes that had to be killed
int32_t GetIntelH264hwDevFailed();             // 1 once the Intel hardware session has failed in this process
void SetIntelH264hwDevFailed();
/// Back to the state of a fresh process, for tests: the counters above and the cached adapter name.
void ResetSelectionState();

/// Whether the settings name the adapter of this machine as one that NVIDIA is not to be tried on.
bool IsNvidiaDisabled();
/// Writes the present adapter's name to the settings; without an NVIDIA adapter nothing is written.
void DisableNvidiaAdapter();
/// The last adapter listed whose name holds "nvidia" in any case; empty when there is none. Slow.
std::string GetNvidiaAdapterName();
/// The same, asked for again after ten minutes only.
std::string GetCachedNvidiaAdapterName();
