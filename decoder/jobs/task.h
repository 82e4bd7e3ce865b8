// One piece of work that the task broker hands to a segment decoder.
#pragma once

#include <cstdint>

namespace UMC {

class H264Slice;
struct H264DecoderFrameInfo;
struct SliceProgress;

enum TaskId : int32_t {
    TASK_PROCESS = 0,        // a whole slice: entropy decoding and reconstruction together
    TASK_DEBLOCK_SLICE = 3,  // deblocking of a whole slice
    TASK_DEBLOCK_PICTURE = 6 // deblocking of a whole picture, whose slices lie across each other
};

// A copy for the thread that asked: the broker fills it, and of its fields the segment decoder writes MbCount alone.
struct H264Task {
    const H264Slice* pSlice = nullptr;  // of a whole picture the one with the lowest macroblock
    SliceProgress* pProgress = nullptr; // of that slice, which the task holds until it is done
    H264DecoderFrameInfo* pAu = nullptr;
    int32_t FirstMb = 0;
    int32_t MaxMb = 0;   // stop position
    int32_t MbCount = 0; // budget; on return, macroblocks done
    UMC::TaskId TaskId = TASK_PROCESS;
};

// What a segment decoder needs of the broker.
class TaskSource
{
public:
    virtual ~TaskSource() = default;
    virtual bool GetNextTask(H264Task& Task) = 0; // false: no work left for this thread
    virtual void TaskDone(const H264Task& Task) = 0;
};

} // namespace UMC
