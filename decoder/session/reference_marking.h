// Reference marking, H.264 clause 8.2.5.
#pragma once

#include "Common/h264/pic_order_cnt.h"
#include "decoder/picture/dpb.h"
#include "decoder/session/pictures_in_work.h"

#include <cstdint>

namespace UMC {

// Run when a picture's slices are complete and before it is decoded. It alone writes the marks of references; a frame
// that is reset as a whole (H264DecoderFrame::Reset) begins without.
class ReferenceMarking
{
public:
    ReferenceMarking(H264DBPList& Dpb, PicturesInWork& Work, h264::PicOrderCounter& PicOrder)
        : m_Dpb(Dpb), m_Work(Work), m_PicOrder(PicOrder)
    {
    }

    // Marks the picture whose slices stand in a field of Frame and releases what its headers say. True when a memory
    // reset was among the commands: the picture counts as the first of a new sequence then.
    bool MarkReferences(H264DecoderFrame& Frame, int Field);
    void MarkMadeUp(H264DecoderFrame& Frame); // both fields of a frame that stands for one that never came
    // A field that did not come is a reference where the other one is.
    void MarkMissingField(H264DecoderFrame& Frame, int Missing);
    // Clause 8.2.5.3, in front of one more reference.
    void SlideWindow(const H264DecoderFrame& Frame, int32_t MaxReferences);
    void RemoveAllReferences(const H264DecoderFrame* pExcept);
    // Pictures of another size or format cannot be predicted from; a stream that changes them anywhere but at an IDR
    // picture is damaged.
    void RemoveUnusableReferences(const PictureFormat& Format);
    void Reset() { m_MaxLongTermFrameIdx = -1; }

private:
    void MarkIdr(H264DecoderFrame& Frame, const SliceHeaderFields& Header);
    bool RunMarkingCommands(H264DecoderFrame& Frame, const SliceHeaderFields& Header, const AdaptiveMarking& Marking,
                            int32_t MaxFrameNum);
    void MakeLongTerm(H264DecoderFrame& Frame, const SliceHeaderFields& Header, uint32_t Idx);
    void FreeShortTerm(int32_t PicNum, bool IsField);
    void FreeLongTerm(int32_t LongTermPicNum, bool IsField);
    void FreeLongTermByIdx(int32_t Idx, const H264DecoderFrame* pExcept);
    void FreeLongTermAbove(int32_t MaxIdx);
    void ConvertToLongTerm(int32_t PicNum, uint32_t Idx, bool IsField);
    void ApplyMemoryReset(H264DecoderFrame& Frame, const SliceHeaderFields& Header);
    void ReleaseReference(H264DecoderFrame& Frame); // unless a mark is left
    void RemoveReference(H264DecoderFrame& Frame);

    H264DBPList& m_Dpb;
    PicturesInWork& m_Work;
    h264::PicOrderCounter& m_PicOrder;  // a memory reset begins a new count
    int32_t m_MaxLongTermFrameIdx = -1; // -1: no long-term indices
};

} // namespace UMC
