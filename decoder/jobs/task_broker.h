// Cuts the work of ready pictures into tasks for segment decoders.
#pragma once

#include "decoder/jobs/task.h"
#include "decoder/picture/frame.h"
#include "media/os/os_section.h"

#include <cstdint>

namespace UMC {

// What every form of the broker shares: which pictures are ready, and the list of infos that tasks are drawn from.
class TaskBroker : public TaskSource
{
public:
    ~TaskBroker() override = default;

    // Whether enough pictures from pFirst on are ready for decoding: one for each thread, or with Force any.
    virtual bool PrepareFrames(H264DecoderFrame* pFirst, bool Force);
    bool GetNextTask(H264Task& Task) override;
    virtual void Reset();
    virtual void Release();
    virtual bool Init(int32_t ConsumerCount);
    void TaskDone(const H264Task& Task) override = 0;

    // Takes the ready infos from pFirst on into work. PrepareFrames() has said yes with the same arguments.
    void Start(H264DecoderFrame* pFirst, bool Force);

    Mutex& Guard() { return m_Lock; }

protected:
    virtual bool NextTaskLocked(H264Task& Task) = 0; // there is an m_pCurrentAu

    Mutex m_Lock; // guards every progress field, the list of infos and the frames' progress
    int32_t m_ConsumerCount = 0;
    H264DecoderFrameInfo* m_pCurrentAu = nullptr; // tasks are drawn from it
};

} // namespace UMC
