#include "decoder/jobs/task_broker_single_thread.h"

#include "decoder/slice/slice.h"

#include <algorithm>

namespace UMC {

namespace {

// With slice groups the macroblocks that a slice left over bound the next slice. They stand in the order of arrival.
void PassBudget(const H264DecoderFrameInfo& Au, const H264Slice& Slice)
{
    const auto Next = static_cast<size_t>(Slice.m_SliceNumber - Au.m_Slices.front()->m_SliceNumber) + 1;
    if (Next < Au.m_Slices.size()) Au.m_Slices[Next]->m_Progress.MbBudget = Slice.m_Progress.MbBudget;
}

void MarkDeblocked(SliceProgress& Progress)
{
    Progress.Deblocked = true;
    Progress.InWork = false;
}

// A task over the macroblocks from the slice's first one up to MaxMb.
H264Task TaskOf(TaskId Id, H264DecoderFrameInfo& Au, H264Slice& Slice, int32_t MaxMb)
{
    H264Task Task;
    Task.TaskId = Id;
    Task.pSlice = &Slice;
    Task.pProgress = &Slice.m_Progress;
    Task.pAu = &Au;
    Task.FirstMb = Slice.m_FirstMbNumber;
    Task.MaxMb = MaxMb;
    Task.MbCount = MaxMb - Task.FirstMb;
    return Task;
}

} // namespace

bool TaskBrokerSingleThread::NextTaskLocked(H264Task& Task)
{
    for (;;) {
        H264DecoderFrameInfo& Au = *m_pCurrentAu;
        if (NextSliceTask(Au, Task)) return true;
        if (Au.m_NeedsDeblocking &&
            (Au.m_UsesSliceGroups ? NextPictureDeblockingTask(Au, Task) : NextDeblockingTask(Au, Task)))
            return true;
        // The second field and the auxiliary picture follow in the same run, the next frame in the next one.
        if (!Au.m_pNext || Au.m_pNext->m_pFrame->Primary() != Au.m_pFrame->Primary()) return false;
        m_pCurrentAu = Au.m_pNext;
    }
}

bool TaskBrokerSingleThread::NextSliceTask(H264DecoderFrameInfo& Au, H264Task& Task)
{
    // What stands in front of the mark has been handed out: a picture's slices are looked at once.
    for (size_t& i = Au.m_NextToDecode; i < Au.m_Slices.size(); ++i) {
        H264Slice* const pSlice = Au.m_Slices[i];
        if (pSlice->m_Progress.InWork || pSlice->m_Progress.Decoded) continue;
        Task = TaskOf(TASK_PROCESS, Au, *pSlice, pSlice->m_MaxMbNumber);
        Task.MbCount = std::min(Task.MbCount, pSlice->m_Progress.MbBudget);
        pSlice->m_Progress.DeblockFromTask = pSlice->m_Header.disable_deblocking_filter_idc != 0;
        pSlice->m_Progress.InWork = true;
        return true;
    }
    return false;
}

// The first slice that is not deblocked, or a later one that stays within its own bounds.
bool TaskBrokerSingleThread::NextDeblockingTask(H264DecoderFrameInfo& Au, H264Task& Task)
{
    const auto& Slices = Au.m_Slices;
    while (Au.m_NextToDeblock < Slices.size() && Slices[Au.m_NextToDeblock]->m_Progress.Deblocked) ++Au.m_NextToDeblock;
    for (size_t i = Au.m_NextToDeblock; i < Slices.size(); ++i) { // the first one will do unless it is in work
        H264Slice* const pSlice = Slices[i];
        const bool MayBegin = i == Au.m_NextToDeblock || pSlice->m_Header.disable_deblocking_filter_idc == 2;
        if (pSlice->m_Progress.Deblocked || !MayBegin || !pSlice->m_Progress.Decoded || pSlice->m_Progress.InWork)
            continue;
        Task = TaskOf(TASK_DEBLOCK_SLICE, Au, *pSlice, pSlice->m_MaxMbNumber);
        pSlice->m_Progress.InWork = true;
        return true;
    }
    return false;
}

bool TaskBrokerSingleThread::NextPictureDeblockingTask(H264DecoderFrameInfo& Au, H264Task& Task)
{
    const auto& Slices = Au.m_Slices;
    if (std::all_of(Slices.begin(), Slices.end(), [](const H264Slice* p) { return p->m_Progress.Deblocked; }))
        return false;
    if (std::any_of(Slices.begin(), Slices.end(), [](const H264Slice* p) { return p->m_Progress.InWork; }))
        return false;
    for (H264Slice* const pSlice : Slices) pSlice->m_Progress.InWork = true;
    const auto First = std::min_element(Slices.begin(), Slices.end(), [](const H264Slice* a, const H264Slice* b) {
        return a->m_FirstMbNumber < b->m_FirstMbNumber;
    });
    Task = TaskOf(TASK_DEBLOCK_PICTURE, Au, **First, (*First)->m_MbWidth * (*First)->m_MbHeight);
    return true;
}

void TaskBrokerSingleThread::TaskDone(const H264Task& Task)
{
    const AutomaticMutex Hold(m_Lock);
    const H264Slice& Slice = *Task.pSlice;
    SliceProgress& Progress = *Task.pProgress;
    switch (Task.TaskId) {
    case TASK_PROCESS:
        if (Slice.m_UsesSliceGroups) {
            Progress.MbBudget -= Task.MbCount;
            PassBudget(*Task.pAu, Slice);
        } else if (!Progress.Deblocked) {
            Progress.Deblocked = Progress.DeblockFromTask;
        }
        Progress.Decoded = true;
        Progress.InWork = false;
        break;
    case TASK_DEBLOCK_SLICE: MarkDeblocked(Progress); break;
    case TASK_DEBLOCK_PICTURE:
        for (H264Slice* const pSlice : m_pCurrentAu->m_Slices) MarkDeblocked(pSlice->m_Progress);
        break;
    }
}

} // namespace UMC
