// Segment decoders: they take tasks from the broker and run the macroblock loops over a slice.
#pragma once

#include "decoder/jobs/task.h"
#include "decoder/slice/slice.h"
#include "decoder/slice/slice_cursor.h"

#include <cstdint>

namespace UMC {

class H264DBPList;
class SegmentDecoderHPBase;

// Decodes slices; it serves one thread.
class H264SegmentDecoder
{
public:
    virtual ~H264SegmentDecoder() = default;

    // Works until the broker has no task left. Returns 0, also after damaged pictures.
    virtual Status ProcessSegment() = 0;
    virtual Status Init(int32_t ThreadNumber);

    SliceCursor m_Cursor;                       // over the slice in hand
    const H264Slice* m_pSlice = nullptr;        // null in a task for a whole picture
    SliceProgress* m_pProgress = nullptr;       // of that slice
    SegmentDecoderHPBase* m_pSegment = nullptr; // the member of the family that decodes the slice
};

class H264SegmentDecoderMultiThreaded : public H264SegmentDecoder
{
public:
    // Neither object is owned; both must outlive the decoder. pDpb may be null: holes are then filled with grey.
    H264SegmentDecoderMultiThreaded(TaskSource* pTasks, const H264DBPList* pDpb);

    Status ProcessSegment() override;

    // Decodes and reconstructs Count macroblocks from FirstMb, with deblocking one row behind where the slice allows
    // it. Always ends with StatusEndOfSegment, also when the count is done; throws h264_exception on damaged data.
    // Count receives the macroblocks done in either case.
    virtual Status ProcessSlice(int32_t FirstMb, int32_t& Count);
    // Deblocks Count macroblocks of the slice in hand.
    virtual Status DeblockSegment(int32_t FirstMb, int32_t Count);
    // The same for the task in hand, which may have no slice: each macroblock then goes by its own slice.
    virtual Status DeblockSegmentTask(int32_t FirstMb, int32_t& Count);
    // Picks the member of the family for the slice in hand. StatusUnsupported when there is none.
    virtual Status CreateSegmentDecoder();
    // Takes the view of the task's slice. Throws h264_exception when the slice cannot be decoded.
    virtual void InitializeSlice(const H264Task& Task);
    virtual void FinishTask(H264Task& Task);

    // Patches the macroblocks Start..End - 1, which no data came for (jobs/concealment.h). Nothing happens without a
    // slice.
    void RestoreErrorRect(int32_t Start, int32_t End, const H264Slice* pSlice);

private:
    void ProcessTask(H264Task& Task);
    Status RunTask(H264Task& Task);
    void TryRestore(int32_t Start, const H264Slice* pSlice);
    Status DecodeRun(int32_t FirstMb, int32_t Count);
    void ProcessRows(int32_t FirstMb, int32_t End, bool Deblock);
    template <class Deblocker>
    void DeblockRun(int32_t FirstMb, int32_t Count) const;
    template <class Deblocker>
    void DeblockPicture(int32_t FirstMb, int32_t End) const;
    template <class Deblocker>
    void DeblockBy(int32_t FirstMb, int32_t Count) const;
    template <class Sample, int color_format>
    void DeblockFormat(int32_t FirstMb, int32_t Count) const;
    void DeblockMacroblocks(int32_t FirstMb, int32_t Count) const;

    const H264DecoderFrameInfo* m_pPictureAu = nullptr; // of a task for a whole picture
    TaskSource* m_pTasks;
    const H264DBPList* m_pDpb;
    // A unit that is kept without zeros behind it, with them.
    uint32_t m_PaddedUnit[2 * H264Bitstream::kReadPadding / 4];
};

} // namespace UMC
