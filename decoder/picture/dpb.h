// The decoded picture buffer's rules over the frames of the decoder. Frames are few, so every question is answered by a
// walk.
#pragma once

#include "decoder/picture/frame_list.h"

#include <cstdint>

namespace UMC {

class H264DBPList : public H264DecoderFrameList
{
public:
    // Room.
    static bool IsDisposable(const H264DecoderFrame& Frame); // no reference, nothing left to show, nobody reads it
    H264DecoderFrame* FindOldestDisposable() const;          // in output order; null for none
    int32_t CountDisplayable() const;
    int32_t CountAll() const;
    int32_t FreeIndex() const; // lowest of 0..31 that no frame uses, else -1

    // Next frame to show, or one still in work that has to be shown before the others; null for none. Looks at Limit +
    // 2 candidates at most.
    H264DecoderFrame* FindOldestDisplayable(int32_t Limit) const;

    // References. Short counts frames with a short-term field; Long those of the others with a long-term field.
    void CountReferences(int32_t& Short, int32_t& Long) const;
    bool HasReferences() const;
    H264DecoderFrame* FindOldestShortTerm() const; // lowest FrameNumWrap
    // By picture number of clause 8.2.4.1. Field receives 0 or 1 when fields are numbered, 0 for frames. Null for none.
    H264DecoderFrame* FindShortTerm(int32_t PicNum, bool IsField, int& Field) const;
    H264DecoderFrame* FindLongTerm(int32_t LongTermPicNum, bool IsField, int& Field) const;
    void IncreaseResetCount(const H264DecoderFrame* pExcept);
    // FrameNumWrap, PicNum and LongTermPicNum of every reference for the picture of a slice, clause 8.2.4.1.
    void ComputePicNums(const SliceHeaderFields& Header, int32_t MaxFrameNum);

    // The picture to patch holes of a frame from: the last in list order in front of it that is shown before it, has
    // its size and format and samples of its own. Null for none.
    H264DecoderFrame* FindClosestForConcealment(const H264DecoderFrame* pFrame) const;
};

} // namespace UMC
