#include "decoder/slice/picture_slices.h"

#include <algorithm>
#include <new>

namespace UMC {

bool IsAllDecoded(const H264DecoderFrameInfo& Au)
{
    return std::all_of(Au.m_Slices.begin(), Au.m_Slices.end(), [](const H264Slice* pSlice) {
        return pSlice->m_Progress.Decoded && pSlice->m_Progress.Deblocked;
    });
}

bool IsComplete(const H264DecoderFrameInfo& Au)
{
    return Au.m_Status == AuStatus::Finished || (!Au.m_Slices.empty() && IsAllDecoded(Au));
}

Status ReserveSlice(H264DecoderFrame& Frame, int Field)
try {
    Frame.m_RefPicLists.Reserve();
    GrowTable(Frame.m_Au[Field].m_Slices);
    return StatusOk;
} catch (const std::bad_alloc&) {
    return StatusAllocFailed;
}

void AddSlice(H264DecoderFrame& Frame, int Field, H264Slice& Slice)
{
    Slice.m_SliceNumber = Frame.m_RefPicLists.Add();
    Slice.m_pRefPicList = Frame.m_RefPicLists.ListsOf(static_cast<uint32_t>(Slice.m_SliceNumber));
    Frame.m_Au[Field].m_Slices.push_back(&Slice);
}

void ReleaseSlices(H264DecoderFrame& Frame, SlicePool& Pool)
{
    if (Frame.m_pAuxiliary) ReleaseSlices(*Frame.m_pAuxiliary, Pool);
    for (H264DecoderFrameInfo& Au : Frame.m_Au) {
        for (size_t i = 1; i < Au.m_Slices.size(); ++i) Pool.Free(Au.m_Slices[i]);
        if (Au.m_Slices.empty()) continue;
        Au.m_Slices.resize(1);
        Au.m_Slices.front()->ReleaseUnit();
        Au.m_Slices.front()->m_pRefPicList = nullptr;
        Au.m_Status = AuStatus::Finished;
    }
    Frame.m_RefPicLists.ReleaseLists();
    Frame.m_pLocalMemory.reset();
}

void ResetFrame(H264DecoderFrame& Frame, SlicePool& Pool)
{
    if (Frame.m_pAuxiliary) ResetFrame(*Frame.m_pAuxiliary, Pool);
    for (const H264DecoderFrameInfo& Au : Frame.m_Au)
        for (H264Slice* const pSlice : Au.m_Slices) Pool.Free(pSlice);
    Frame.Reset();
}

} // namespace UMC
