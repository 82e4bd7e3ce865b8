// Which coding tools a stream has really used, for tests and tools.
#pragma once

#include "encoder/session/encoder_core.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

struct ToolCounts {
#define TOOL(Name) int64_t Name = 0;
#include "encoder/session/tool_counts.def"
#undef TOOL
    int64_t References[kMaxReferences] = {}; // quadrants of inter macroblocks, by their index into list 0
};

/// Each count but that of the references.
struct ToolName {
    const char* pName;
    int64_t ToolCounts::*pCount;
};
inline constexpr ToolName kToolNames[]{
#define TOOL(Name) {#Name, &ToolCounts::Name},
#include "encoder/session/tool_counts.def"
#undef TOOL
};

/// Adds what the records of the picture that was coded last hold; nothing before the first.
template <class Sample>
void AddToolCounts(const EncoderCore<Sample>& c, ToolCounts& Counts);

} // namespace UMC_H264_ENCODER
