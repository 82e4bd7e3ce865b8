#include "decoder/picture/dpb.h"

#include "Common/h264/reference_numbers.h"

#include <algorithm>

namespace UMC {

namespace {

constexpr int32_t kFrameNumWrapLimit = 0x0FFFFFFF; // more than any FrameNumWrap

bool HasShortTerm(const H264DecoderFrame& Frame) { return Frame.m_IsShortTerm[0] || Frame.m_IsShortTerm[1]; }
bool HasLongTerm(const H264DecoderFrame& Frame) { return Frame.m_IsLongTerm[0] || Frame.m_IsLongTerm[1]; }

// Pictures before a reset of the order counts come first, then the lower count.
bool IsEarlier(const H264DecoderFrame& a, const H264DecoderFrame& b)
{
    if (a.ResetCount() != b.ResetCount()) return a.ResetCount() > b.ResetCount();
    return a.PicOrderCnt() < b.PicOrderCnt();
}

// The frame whose Marked flags and Number match, by field or as a frame with both fields marked.
H264DecoderFrame* FindByNumber(H264DecoderFrame* pFrame, int32_t Number, bool IsField, int& Field,
                               bool (H264DecoderFrame::*pMarked)[2], int32_t (H264DecoderFrame::*pNumber)[2])
{
    for (; pFrame; pFrame = pFrame->m_pNext) {
        const bool(&Marked)[2] = pFrame->*pMarked;
        const int32_t(&Numbers)[2] = pFrame->*pNumber;
        for (Field = 0; IsField && Field < 2; ++Field)
            if (Marked[Field] && Numbers[Field] == Number) return pFrame;
        Field = 0;
        if (!IsField && Marked[0] && Marked[1] && Numbers[0] == Number) return pFrame;
    }
    return nullptr;
}

} // namespace

bool H264DBPList::IsDisposable(const H264DecoderFrame& Frame)
{
    return !Frame.IsReferenced() && !(Frame.m_IsDisplayable && !Frame.m_WasOutputted) && Frame.m_BusyCount == 0;
}

H264DecoderFrame* H264DBPList::FindOldestDisposable() const
{
    H264DecoderFrame* pOldest = nullptr;
    for (H264DecoderFrame* p = m_pHead; p; p = p->m_pNext)
        if (IsDisposable(*p) && (!pOldest || IsEarlier(*p, *pOldest))) pOldest = p;
    return pOldest;
}

int32_t H264DBPList::CountDisplayable() const
{
    int32_t Count = 0;
    for (const H264DecoderFrame* p = m_pHead; p; p = p->m_pNext)
        Count += (p->m_IsDisplayable && (!p->m_WasOutputted || p->IsReferenced())) || p->m_BusyCount != 0;
    return Count;
}

int32_t H264DBPList::CountAll() const
{
    int32_t Count = 0;
    for (const H264DecoderFrame* p = m_pHead; p; p = p->m_pNext) ++Count;
    return Count;
}

int32_t H264DBPList::FreeIndex() const
{
    uint32_t Taken = 0;
    for (const H264DecoderFrame* p = m_pHead; p; p = p->m_pNext)
        if (p->m_Index >= 0) Taken |= 1u << p->m_Index;
    int32_t Index = 0;
    while (Index < kMaxFrames && (Taken >> Index & 1) != 0) ++Index;
    return Index < kMaxFrames ? Index : -1;
}

H264DecoderFrame* H264DBPList::FindOldestDisplayable(int32_t Limit) const
{
    H264DecoderFrame* pOldest = nullptr;
    int32_t Candidates = 0;
    for (H264DecoderFrame* p = m_pHead; p && Candidates < Limit + 2; p = p->m_pNext) {
        if (p->m_WasOutputted || !(p->m_IsDisplayable || p->m_BusyCount >= 2)) continue;
        ++Candidates;
        if (!pOldest || IsEarlier(*p, *pOldest) ||
            (!IsEarlier(*pOldest, *p) && p->m_FrameExists && !pOldest->m_FrameExists))
            pOldest = p;
    }
    return pOldest;
}

void H264DBPList::CountReferences(int32_t& Short, int32_t& Long) const
{
    Short = Long = 0;
    for (const H264DecoderFrame* p = m_pHead; p; p = p->m_pNext) {
        if (HasShortTerm(*p)) {
            ++Short;
        } else if (HasLongTerm(*p)) {
            ++Long;
        }
    }
}

bool H264DBPList::HasReferences() const
{
    const H264DecoderFrame* p = m_pHead;
    while (p && !p->IsReferenced()) p = p->m_pNext;
    return p != nullptr;
}

H264DecoderFrame* H264DBPList::FindOldestShortTerm() const
{
    H264DecoderFrame* pOldest = nullptr;
    int32_t Lowest = kFrameNumWrapLimit;
    for (H264DecoderFrame* p = m_pHead; p; p = p->m_pNext)
        if (HasShortTerm(*p) && p->m_FrameNumWrap < Lowest) {
            pOldest = p;
            Lowest = p->m_FrameNumWrap;
        }
    return pOldest;
}

H264DecoderFrame* H264DBPList::FindShortTerm(int32_t PicNum, bool IsField, int& Field) const
{
    return FindByNumber(m_pHead, PicNum, IsField, Field, &H264DecoderFrame::m_IsShortTerm, &H264DecoderFrame::m_PicNum);
}

H264DecoderFrame* H264DBPList::FindLongTerm(int32_t LongTermPicNum, bool IsField, int& Field) const
{
    return FindByNumber(m_pHead, LongTermPicNum, IsField, Field, &H264DecoderFrame::m_IsLongTerm,
                        &H264DecoderFrame::m_LongTermPicNum);
}

void H264DBPList::IncreaseResetCount(const H264DecoderFrame* pExcept)
{
    for (H264DecoderFrame* p = m_pHead; p; p = p->m_pNext) {
        if (p == pExcept) continue;
        ++p->m_RefListResetCount[0];
        ++p->m_RefListResetCount[1];
    }
}

void H264DBPList::ComputePicNums(const SliceHeaderFields& Header, int32_t MaxFrameNum)
{
    for (H264DecoderFrame* p = m_pHead; p; p = p->m_pNext) {
        if (!p->IsReferenced()) continue;
        p->m_FrameNumWrap = h264::FrameNumWrap(p->m_FrameNum, Header.frame_num, MaxFrameNum);
        for (int Field = 0; Field < 2; ++Field) {
            const auto PicNum = [&](int32_t FrameNumber) {
                return Header.field_pic_flag ? h264::FieldPicNum(FrameNumber, Field == Header.bottom_field_flag)
                                             : FrameNumber;
            };
            p->m_PicNum[Field] = PicNum(p->m_FrameNumWrap);
            if (p->m_IsLongTerm[Field]) p->m_LongTermPicNum[Field] = PicNum(p->m_LongTermFrameIdx);
        }
    }
}

H264DecoderFrame* H264DBPList::FindClosestForConcealment(const H264DecoderFrame* pFrame) const
{
    H264DecoderFrame* pClosest = nullptr;
    for (H264DecoderFrame* p = m_pHead; p && p != pFrame; p = p->m_pNext) {
        const bool IsAlike = !p->m_IsSkipped && p->m_Format == pFrame->m_Format;
        if (IsAlike && p->ResetCount() == 0 && p->PicOrderCnt() < pFrame->PicOrderCnt()) pClosest = p;
    }
    return pClosest;
}

} // namespace UMC
