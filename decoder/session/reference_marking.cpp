#include "decoder/session/reference_marking.h"

#include "Common/h264/reference_numbers.h"
#include "decoder/slice/slice.h"
#include "decoder/stream/seq_info.h"

#include <algorithm>

namespace UMC {

namespace {

constexpr uint32_t kMaxLongTermIdx = 31; // of a field; a larger index only damaged streams use

// Sets the flags of one field, or of a frame's both.
void Mark(bool (&Flags)[2], bool IsField, int Parity, bool Value)
{
    for (int Field = 0; Field < 2; ++Field)
        if (!IsField || Field == Parity) Flags[Field] = Value;
}

} // namespace

bool ReferenceMarking::MarkReferences(H264DecoderFrame& Frame, int Field)
{
    const H264Slice& Slice = *Frame.m_Au[Field].m_Slices.front();
    const SliceHeaderFields& Header = Slice.m_Header;
    if (Header.nal_ref_idc == 0) return false;
    if (Header.IdrPicFlag) {
        MarkIdr(Frame, Header);
        return false;
    }
    bool IsReset = false;
    if (Header.adaptive_ref_pic_marking_mode_flag)
        IsReset = RunMarkingCommands(Frame, Header, Frame.m_Au[Field].m_Marking, MaxFrameNum(*Slice.m_pSeqParamSet));
    const int Parity = Header.bottom_field_flag;
    if (Frame.m_IsLongTerm[Parity]) return IsReset;
    if (Field == 0) SlideWindow(Frame, static_cast<int32_t>(Slice.m_pSeqParamSet->num_ref_frames));
    Mark(Frame.m_IsShortTerm, Header.field_pic_flag != 0, Parity, true);
    return IsReset;
}

void ReferenceMarking::MarkMadeUp(H264DecoderFrame& Frame) { Mark(Frame.m_IsShortTerm, false, 0, true); }

void ReferenceMarking::MarkMissingField(H264DecoderFrame& Frame, int Missing)
{
    Frame.m_IsShortTerm[Missing] = Frame.m_IsShortTerm[1 - Missing];
    Frame.m_IsLongTerm[Missing] = Frame.m_IsLongTerm[1 - Missing];
}

void ReferenceMarking::MarkIdr(H264DecoderFrame& Frame, const SliceHeaderFields& Header)
{
    RemoveAllReferences(&Frame);
    const bool IsLong = Header.long_term_reference_flag != 0;
    Mark(IsLong ? Frame.m_IsLongTerm : Frame.m_IsShortTerm, Header.field_pic_flag != 0, Header.bottom_field_flag, true);
    if (IsLong) Frame.m_LongTermFrameIdx = 0;
    m_MaxLongTermFrameIdx = IsLong ? 0 : -1;
}

bool ReferenceMarking::RunMarkingCommands(H264DecoderFrame& Frame, const SliceHeaderFields& Header,
                                          const AdaptiveMarking& Marking, int32_t MaxFrameNum)
{
    const bool IsField = Header.field_pic_flag != 0;
    const auto Current = static_cast<uint32_t>(CurrPicNum(Header));
    bool IsReset = false;
    for (uint32_t i = 0; i < Marking.count; ++i) {
        const uint32_t(&Value)[2] = Marking.value[i];
        // picNumX; for a difference that damage made too large a number that no picture has.
        const auto PicNum = static_cast<int32_t>(Current - (Value[0] & INT32_MAX) - 1);
        switch (Marking.operation[i]) {
        case 1: FreeShortTerm(PicNum, IsField); break;
        case 2: FreeLongTerm(static_cast<int32_t>(Value[0] & INT32_MAX), IsField); break;
        case 3:
            ConvertToLongTerm(PicNum, Value[1], IsField);
            // A command behind it may name the picture by the number that it has from now on.
            m_Dpb.ComputePicNums(Header, MaxFrameNum);
            break;
        case 4:
            m_MaxLongTermFrameIdx = static_cast<int32_t>(std::min(Value[0], kMaxLongTermIdx + 1)) - 1;
            FreeLongTermAbove(m_MaxLongTermFrameIdx);
            break;
        case 5:
            ApplyMemoryReset(Frame, Header);
            IsReset = true;
            break;
        case 6: MakeLongTerm(Frame, Header, Value[0]); break;
        default: break; // the slice header parser lets nothing else through
        }
    }
    return IsReset;
}

void ReferenceMarking::MakeLongTerm(H264DecoderFrame& Frame, const SliceHeaderFields& Header, uint32_t Idx)
{
    if (Idx > kMaxLongTermIdx) return;
    FreeLongTermByIdx(static_cast<int32_t>(Idx), &Frame);
    const bool IsField = Header.field_pic_flag != 0;
    Mark(Frame.m_IsLongTerm, IsField, Header.bottom_field_flag, true);
    Mark(Frame.m_IsShortTerm, IsField, Header.bottom_field_flag, false);
    Frame.m_LongTermFrameIdx = static_cast<int32_t>(Idx);
}

void ReferenceMarking::FreeShortTerm(int32_t PicNum, bool IsField)
{
    int Field = 0;
    H264DecoderFrame* const pFrame = m_Dpb.FindShortTerm(PicNum, IsField, Field);
    if (!pFrame) return;
    Mark(pFrame->m_IsShortTerm, IsField, Field, false);
    ReleaseReference(*pFrame);
}

void ReferenceMarking::FreeLongTerm(int32_t LongTermPicNum, bool IsField)
{
    int Field = 0;
    H264DecoderFrame* const pFrame = m_Dpb.FindLongTerm(LongTermPicNum, IsField, Field);
    if (!pFrame) return;
    Mark(pFrame->m_IsLongTerm, IsField, Field, false);
    ReleaseReference(*pFrame);
}

void ReferenceMarking::FreeLongTermByIdx(int32_t Idx, const H264DecoderFrame* pExcept)
{
    for (H264DecoderFrame* p = m_Dpb.Head(); p; p = p->m_pNext) {
        if (p == pExcept || !(p->m_IsLongTerm[0] || p->m_IsLongTerm[1]) || p->m_LongTermFrameIdx != Idx) continue;
        p->m_IsLongTerm[0] = p->m_IsLongTerm[1] = false;
        ReleaseReference(*p);
    }
}

void ReferenceMarking::FreeLongTermAbove(int32_t MaxIdx)
{
    for (H264DecoderFrame* p = m_Dpb.Head(); p; p = p->m_pNext) {
        if (!(p->m_IsLongTerm[0] || p->m_IsLongTerm[1]) || p->m_LongTermFrameIdx <= MaxIdx) continue;
        p->m_IsLongTerm[0] = p->m_IsLongTerm[1] = false;
        ReleaseReference(*p);
    }
}

void ReferenceMarking::RemoveAllReferences(const H264DecoderFrame* pExcept)
{
    for (H264DecoderFrame* p = m_Dpb.Head(); p; p = p->m_pNext)
        if (p != pExcept && p->IsReferenced()) RemoveReference(*p);
}

void ReferenceMarking::RemoveUnusableReferences(const PictureFormat& Format)
{
    for (H264DecoderFrame* p = m_Dpb.Head(); p; p = p->m_pNext)
        if (p->IsReferenced() && p->m_Format != Format) RemoveReference(*p);
}

void ReferenceMarking::ConvertToLongTerm(int32_t PicNum, uint32_t Idx, bool IsField)
{
    int Field = 0;
    H264DecoderFrame* const pFrame = m_Dpb.FindShortTerm(PicNum, IsField, Field);
    if (!pFrame || Idx > kMaxLongTermIdx) return;
    // The index stays with a field whose partner gets it too.
    FreeLongTermByIdx(static_cast<int32_t>(Idx), pFrame);
    Mark(pFrame->m_IsShortTerm, IsField, Field, false);
    Mark(pFrame->m_IsLongTerm, IsField, Field, true);
    pFrame->m_LongTermFrameIdx = static_cast<int32_t>(Idx);
}

// Operation 5: the picture becomes the first of a new count, as an IDR picture would be. A first field that its frame
// has already is a reference like all others (clause 8.2.5.4.5); the frame itself is in work.
void ReferenceMarking::ApplyMemoryReset(H264DecoderFrame& Frame, const SliceHeaderFields& Header)
{
    RemoveAllReferences(&Frame);
    Mark(Frame.m_IsShortTerm, false, 0, false);
    Mark(Frame.m_IsLongTerm, false, 0, false);
    m_Dpb.IncreaseResetCount(&Frame);
    m_MaxLongTermFrameIdx = -1;
    const int32_t Lowest = Frame.PicOrderCnt();
    for (int32_t& Count : Frame.m_PicOrderCnt)
        Count = static_cast<int32_t>(static_cast<uint32_t>(Count) - static_cast<uint32_t>(Lowest));
    Frame.m_PicNum[0] = Frame.m_PicNum[1] = Frame.m_FrameNum = 0;
    m_PicOrder.ApplyMemoryReset(Header.bottom_field_flag != 0, Frame.m_PicOrderCnt[0]);
}

// Clause 8.2.5.3.
void ReferenceMarking::SlideWindow(const H264DecoderFrame& Frame, int32_t MaxReferences)
{
    int32_t Short = 0, Long = 0;
    m_Dpb.CountReferences(Short, Long);
    if (!h264::IsWindowFull(Short + Long, MaxReferences)) return;
    H264DecoderFrame* const pOldest = m_Dpb.FindOldestShortTerm();
    if (!pOldest || pOldest == &Frame) return;
    pOldest->m_IsShortTerm[0] = pOldest->m_IsShortTerm[1] = false;
    ReleaseReference(*pOldest);
}

// One that its last command left without a mark goes.
void ReferenceMarking::ReleaseReference(H264DecoderFrame& Frame)
{
    if (Frame.IsReferenced()) return;
    if (!Frame.m_FrameExists) Frame.m_WasOutputted = true;
    m_Work.HoldReleased(Frame);
}

void ReferenceMarking::RemoveReference(H264DecoderFrame& Frame)
{
    for (int Field = 0; Field < 2; ++Field) Frame.m_IsShortTerm[Field] = Frame.m_IsLongTerm[Field] = false;
    ReleaseReference(Frame);
}

} // namespace UMC
