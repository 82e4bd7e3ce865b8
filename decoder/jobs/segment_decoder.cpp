#include "decoder/jobs/segment_decoder.h"

#include "decoder/jobs/concealment.h"
#include "decoder/jobs/segment_decoder_hp.h"
#include "decoder/macroblock/deblocking.h"
#include "decoder/macroblock/pair_deblocking.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace UMC {

Status H264SegmentDecoder::Init(int32_t /*ThreadNumber*/) { return StatusOk; }

H264SegmentDecoderMultiThreaded::H264SegmentDecoderMultiThreaded(TaskSource* pTasks, const H264DBPList* pDpb)
    : m_pTasks(pTasks), m_pDpb(pDpb)
{
}

Status H264SegmentDecoderMultiThreaded::ProcessSegment()
{
    H264Task Task;
    while (m_pTasks->GetNextTask(Task)) ProcessTask(Task);
    return StatusOk;
}

// The end of the data is normal; whatever macroblocks are missing then are patched.
void H264SegmentDecoderMultiThreaded::ProcessTask(H264Task& Task)
{
    Status Result;
    m_Cursor.CurrentMb = Task.FirstMb;
    m_Cursor.MbsDone = 0;
    m_pSlice = nullptr;
    try {
        InitializeSlice(Task);
        const H264Slice& Any = m_pSlice ? *m_pSlice : *m_pPictureAu->m_Slices.front();
        Result = Any.m_pFrame->m_IsSkipped ? Status{StatusOk} : RunTask(Task);
        if (Result == StatusEndOfSegment) {
            RestoreErrorRect(m_Cursor.CurrentMb, m_pSlice->m_MaxMbNumber, m_pSlice);
            Result = StatusOk;
        }
    } catch (const h264_exception& e) {
        Result = e.GetStatus();
    } catch (...) {
        Result = StatusInvalidParams;
    }
    if (Result != StatusOk) TryRestore(m_Cursor.CurrentMb, m_pSlice);
    FinishTask(Task);
}

void H264SegmentDecoderMultiThreaded::TryRestore(int32_t Start, const H264Slice* pSlice)
try {
    if (pSlice) RestoreErrorRect(Start, pSlice->m_MaxMbNumber, pSlice);
} catch (...) { // the picture is withheld already: nothing more can be done for it
}

Status H264SegmentDecoderMultiThreaded::RunTask(H264Task& Task)
{
    switch (Task.TaskId) {
    case TASK_PROCESS: return ProcessSlice(Task.FirstMb, Task.MbCount);
    case TASK_DEBLOCK_SLICE:
    case TASK_DEBLOCK_PICTURE: return DeblockSegmentTask(Task.FirstMb, Task.MbCount);
    }
    return StatusUnsupported;
}

void H264SegmentDecoderMultiThreaded::FinishTask(H264Task& Task)
{
    if (m_pSlice && Task.TaskId == TASK_PROCESS) {
        const int32_t Lines = ((m_Cursor.Motion.MaxMv + 6) >> 2)
                              << (m_pSlice->m_Header.field_pic_flag || m_pSlice->m_Header.MbaffFrameFlag ? 1 : 0);
        m_pProgress->MaxMvDistance = std::max(m_pProgress->MaxMvDistance, Lines);
    }
    m_pTasks->TaskDone(Task);
}

void H264SegmentDecoderMultiThreaded::InitializeSlice(const H264Task& Task)
{
    if (Task.TaskId == TASK_DEBLOCK_PICTURE) {
        m_Cursor.View(*Task.pAu->m_Slices.front());
        m_pPictureAu = Task.pAu;
        return;
    }
    m_pSlice = Task.pSlice;
    m_pProgress = Task.pProgress;
    m_Cursor.View(*m_pSlice);
    const Status Result = CreateSegmentDecoder();
    if (Result != StatusOk) throw h264_exception(Result);
    if (Task.TaskId != TASK_PROCESS) return;
    m_Cursor.Begin(*m_pSlice);
    m_Cursor.BeginReading(*m_pSlice, m_PaddedUnit);
}

Status H264SegmentDecoderMultiThreaded::CreateSegmentDecoder()
{
    const SliceHeaderFields& Header = m_pSlice->m_Header;
    m_pSegment = FindSegmentDecoder(*m_pSlice->m_pSeqParamSet, Header.field_pic_flag != 0, Header.MbaffFrameFlag != 0);
    return m_pSegment ? StatusOk : StatusUnsupported;
}

Status H264SegmentDecoderMultiThreaded::DecodeRun(int32_t FirstMb, int32_t Count)
{
    const Status Result = m_pSlice->m_pPicParamSet->entropy_coding_mode_flag
                              ? m_pSegment->DecodeSegmentCABACSingle(FirstMb, Count, *this)
                              : m_pSegment->DecodeSegmentCAVLCSingle(FirstMb, Count, *this);
    m_pProgress->MbSkipRun = m_Cursor.Entropy.MbSkipRun;
    m_pProgress->QpLuma = m_Cursor.Entropy.QpLuma;
    m_pProgress->PrevDeltaQp = m_Cursor.Entropy.PrevDeltaQp;
    return Result;
}

Status H264SegmentDecoderMultiThreaded::ProcessSlice(int32_t FirstMb, int32_t& Count)
{
    const uint32_t FilterIdc = m_pSlice->m_Header.disable_deblocking_filter_idc;
    const bool Deblock =
        FilterIdc != 1 && (FilterIdc == 2 || m_pProgress->DeblockFromTask) && !m_pSlice->m_UsesSliceGroups;
    const int32_t Budget = Count;
    try {
        if (m_pSlice->m_UsesSliceGroups)
            DecodeRun(FirstMb, Budget);
        else
            ProcessRows(FirstMb, std::min(FirstMb + Budget, m_Cursor.Slice.Picture.MbCount()), Deblock);
    } catch (...) {
        Count = m_Cursor.MbsDone;
        throw;
    }
    Count = m_Cursor.MbsDone;
    return StatusEndOfSegment;
}

// Row by row. Deblocking stays a row behind: the row below is still to be predicted from samples before the filter.
void H264SegmentDecoderMultiThreaded::ProcessRows(int32_t FirstMb, int32_t End, bool Deblock)
{
    const int32_t Width = m_Cursor.Slice.Picture.MbWidth;
    const bool IsMbaff = m_pSlice->m_Header.MbaffFrameFlag != 0; // rows are those of pairs then
    const int32_t Length = IsMbaff ? RowLength<true>(Width) : RowLength<false>(Width);
    int32_t Deblocked = FirstMb;
    for (int32_t Mb = FirstMb; Mb < End;) {
        const int32_t RowEnd = std::min(IsMbaff ? NextRow<true>(Mb, Width) : NextRow<false>(Mb, Width), End);
        const bool Ended = DecodeRun(Mb, RowEnd - Mb) != StatusOk;
        Mb = m_Cursor.CurrentMb;
        if (Ended) break;
        const int32_t Safe = Mb - Length;
        if (Deblock && Safe > Deblocked) {
            DeblockSegment(Deblocked, Safe - Deblocked);
            Deblocked = Safe;
        }
    }
    if (Deblock) DeblockSegment(Deblocked, m_Cursor.CurrentMb - Deblocked);
}

template <class Deblocker>
void H264SegmentDecoderMultiThreaded::DeblockRun(int32_t FirstMb, int32_t Count) const
{
    const PictureView& Picture = m_Cursor.Slice.Picture;
    const Deblocker Filter(Picture, *m_pSlice);
    const auto SliceId = static_cast<uint16_t>(m_pSlice->m_SliceNumber);
    MbPlace Place = PlaceOf<Deblocker::kMbaff>(FirstMb, Picture.MbWidth);
    for (int32_t Mb = FirstMb; Mb < FirstMb + Count; ++Mb) {
        // A macroblock that was lost belongs to no slice.
        if (m_Cursor.Slice.Records.pGlobal[Mb + Picture.FirstMb].SliceId == SliceId) Filter.Filter(Place.X, Place.Y);
        Place = NextPlace<Deblocker::kMbaff>(Place, Picture.MbWidth);
    }
}

// A picture with slice groups: neighbouring macroblocks belong to different slices, which stand in the order of their
// numbers. One filter is kept for each slice group that there may be.
template <class Deblocker>
void H264SegmentDecoderMultiThreaded::DeblockPicture(int32_t FirstMb, int32_t End) const
{
    const PictureView& Picture = m_Cursor.Slice.Picture;
    const MbGlobalInfo* const pGlobal = m_Cursor.Slice.Records.pGlobal;
    const auto& Slices = m_pPictureAu->m_Slices;
    const auto FirstNumber = static_cast<size_t>(Slices.front()->m_SliceNumber);
    std::optional<Deblocker> Kept[8];
    size_t KeptSlice[8];
    std::fill(std::begin(KeptSlice), std::end(KeptSlice), Slices.size());
    for (int32_t Mb = FirstMb; Mb < End; ++Mb) {
        const size_t i = pGlobal[Mb + Picture.FirstMb].SliceId - FirstNumber;
        if (i >= Slices.size() || Slices[i]->m_Header.disable_deblocking_filter_idc == 1) continue; // or it is lost
        std::optional<Deblocker>& Filter = Kept[i % 8];
        if (KeptSlice[i % 8] != i) Filter.emplace(Picture, *Slices[i]);
        KeptSlice[i % 8] = i;
        const MbPlace Place = PlaceOf<Deblocker::kMbaff>(Mb, Picture.MbWidth);
        Filter->Filter(Place.X, Place.Y);
    }
}

// The macroblocks of the slice in hand, or of a picture with slice groups.
template <class Deblocker>
void H264SegmentDecoderMultiThreaded::DeblockBy(int32_t FirstMb, int32_t Count) const
{
    if (m_pSlice)
        DeblockRun<Deblocker>(FirstMb, Count);
    else
        DeblockPicture<Deblocker>(FirstMb, FirstMb + Count);
}

template <class Sample, int color_format>
void H264SegmentDecoderMultiThreaded::DeblockFormat(int32_t FirstMb, int32_t Count) const
{
    const H264Slice& Any = m_pSlice ? *m_pSlice : *m_pPictureAu->m_Slices.front();
    if (Any.m_Header.MbaffFrameFlag)
        DeblockBy<PairDeblocker<Sample, color_format>>(FirstMb, Count);
    else
        DeblockBy<H264Deblocker<Sample, color_format>>(FirstMb, Count);
}

void H264SegmentDecoderMultiThreaded::DeblockMacroblocks(int32_t FirstMb, int32_t Count) const
{
    using Self = H264SegmentDecoderMultiThreaded;
    static constexpr void (Self::*kByFormat[2][4])(int32_t, int32_t)
        const = {{&Self::DeblockFormat<uint8_t, 0>, &Self::DeblockFormat<uint8_t, 1>, &Self::DeblockFormat<uint8_t, 2>,
                  &Self::DeblockFormat<uint8_t, 3>},
                 {&Self::DeblockFormat<uint16_t, 0>, &Self::DeblockFormat<uint16_t, 1>,
                  &Self::DeblockFormat<uint16_t, 2>, &Self::DeblockFormat<uint16_t, 3>}};
    const PictureView& Picture = m_Cursor.Slice.Picture;
    (this->*kByFormat[Picture.SampleBytes - 1][Picture.ChromaFormat])(FirstMb, Count);
}

Status H264SegmentDecoderMultiThreaded::DeblockSegment(int32_t FirstMb, int32_t Count)
{
    if (m_pSlice->m_Header.disable_deblocking_filter_idc != 1) DeblockMacroblocks(FirstMb, Count);
    return StatusOk;
}

Status H264SegmentDecoderMultiThreaded::DeblockSegmentTask(int32_t FirstMb, int32_t& Count)
{
    const int32_t Left = std::min(Count, m_Cursor.Slice.Picture.MbCount() - FirstMb);
    if (m_pSlice) return DeblockSegment(FirstMb, Left);
    DeblockMacroblocks(FirstMb, Left);
    return StatusOk;
}

void H264SegmentDecoderMultiThreaded::RestoreErrorRect(int32_t Start, int32_t End, const H264Slice* pSlice)
{
    if (pSlice) ConcealMacroblocks(Start, End, *pSlice, m_pDpb);
}

} // namespace UMC
