// The broker of a decoder without worker threads.
#pragma once

#include "decoder/jobs/task_broker.h"

namespace UMC {

// Hands whole slices to one caller, then their deblocking.
class TaskBrokerSingleThread : public TaskBroker
{
public:
    void TaskDone(const H264Task& Task) override;

protected:
    bool NextTaskLocked(H264Task& Task) override;

private:
    bool NextSliceTask(H264DecoderFrameInfo& Au, H264Task& Task);
    bool NextDeblockingTask(H264DecoderFrameInfo& Au, H264Task& Task);
    bool NextPictureDeblockingTask(H264DecoderFrameInfo& Au, H264Task& Task);
};

} // namespace UMC
