#include "encoder/write/nal_unit.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

// Types that may open an access unit (clause 7.4.1.2.3).
bool MayOpenAccessUnit(h264::NalUnitType Type)
{
    return (Type >= h264::NAL_SLICE && Type <= h264::NAL_SEI) || Type == h264::NAL_DELIMITER ||
           (Type >= 14 && Type <= 18);
}

bool NeedsZeroByte(h264::NalUnitType Type, bool& IsFirstInAu)
{
    if (IsFirstInAu && MayOpenAccessUnit(Type)) {
        IsFirstInAu = false;
        return true;
    }
    return Type == h264::NAL_SEQ_PARAM_SET || Type == h264::NAL_PIC_PARAM_SET;
}

// The first place from From on where a 3 must go: ahead of a byte below 4 with two zero bytes before it, those at From
// and behind it (clause 7.4.1). Size when there is none.
size_t FindEmulation(const uint8_t* p, size_t From, size_t Size)
{
    for (size_t i = From + 2; i < Size;) {
        if (p[i] > 3) {
            i += 3; // no zero byte here for the two tests behind
        } else if (p[i - 1] == 0 && p[i - 2] == 0) {
            return i;
        } else {
            i += p[i] != 0 ? 3 : 1;
        }
    }
    return Size;
}

} // namespace

size_t FrameNAL(uint8_t* pDest, const uint8_t* pPayload, size_t Size, uint32_t NalRefIdc, h264::NalUnitType Type,
                bool& IsFirstInAu)
{
    uint8_t* p = pDest;
    if (NeedsZeroByte(Type, IsFirstInAu)) *p++ = 0;
    *p++ = 0;
    *p++ = 0;
    *p++ = 1;
    *p++ = static_cast<uint8_t>(NalRefIdc << 5 | Type);
    for (size_t Done = 0;;) {
        const size_t Next = FindEmulation(pPayload, Done, Size);
        p = std::copy(pPayload + Done, pPayload + Next, p);
        if (Next == Size) return static_cast<size_t>(p - pDest);
        *p++ = 3;
        Done = Next;
    }
}

size_t FramedSize(const uint8_t* pPayload, size_t Size, h264::NalUnitType Type, bool IsFirstInAu)
{
    size_t Bytes = (NeedsZeroByte(Type, IsFirstInAu) ? 5 : 4) + Size;
    for (size_t i = 0; (i = FindEmulation(pPayload, i, Size)) < Size;) ++Bytes;
    return Bytes;
}

} // namespace UMC_H264_ENCODER
