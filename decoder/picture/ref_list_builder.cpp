#include "decoder/picture/ref_list_builder.h"

#include "Common/h264/reference_order.h"

#include <algorithm>
#include <utility>

namespace UMC {

namespace {

constexpr int kMaxInitialEntries = 32;
constexpr uint8_t kNoField = 7; // -1 in the low 3 bits of a flag byte

// Frames in the order in which a list takes them. Insertion beyond its end ends the building: the rest is dropped.
class FrameOrder
{
public:
    // Keeps the order given by Before; frames that compare equal stay in the order of insertion.
    template <class Compare>
    void Insert(H264DecoderFrame* pFrame, Compare Before)
    {
        if (m_Count == kMaxInitialEntries) return;
        int At = m_Count++;
        for (; At > 0 && Before(*pFrame, *m_Frames[At - 1]); --At) m_Frames[At] = m_Frames[At - 1];
        m_Frames[At] = pFrame;
    }
    int Count() const { return m_Count; }
    H264DecoderFrame* operator[](int i) const { return m_Frames[i]; }

private:
    H264DecoderFrame* m_Frames[kMaxInitialEntries];
    int m_Count = 0;
};

bool IsShortTermFor(const H264DecoderFrame& Frame, bool IsField)
{
    return IsField ? Frame.m_IsShortTerm[0] || Frame.m_IsShortTerm[1]
                   : Frame.m_IsShortTerm[0] && Frame.m_IsShortTerm[1];
}
bool IsLongTermFor(const H264DecoderFrame& Frame, bool IsField)
{
    return IsField ? Frame.m_IsLongTerm[0] || Frame.m_IsLongTerm[1] : Frame.m_IsLongTerm[0] && Frame.m_IsLongTerm[1];
}

// The initial lists of one slice. For a field slice they hold frames first, then fields.
class ListBuilder
{
public:
    ListBuilder(const RefListOrder& Order, const H264DecoderFrame& Frame, H264DBPList& Dpb,
                H264DecoderRefPicList& Lists)
        : m_Header(Order.Header), m_Reordering(Order.Reordering), m_MaxFrameNum(Order.MaxFrameNum), m_Frame(Frame),
          m_Dpb(Dpb), m_Lists(Lists), m_IsField(Order.Header.field_pic_flag != 0),
          m_IsB(Order.Header.slice_type == SLICE_B)
    {
    }

    void Build()
    {
        CollectLongTerm();
        if (m_IsB) {
            InitialListsB();
        } else {
            InitialListP();
        }
        for (int List = 0; List < 2; ++List) m_pFallback[List] = LastEntry(m_Lists.List[List], Active(List));
        if (m_IsField)
            for (int List = 0; List <= m_IsB; ++List) AlternateFields(m_Lists.List[List]);
        if (m_IsB) SwapEqualLists();
        for (int List = 0; List <= m_IsB; ++List) {
            m_Lists.List[List].Frame[Active(List)] = nullptr;
            Reorder(m_Lists.List[List], m_Reordering[List], Active(List));
            FillHoles(m_Lists.List[List], m_pFallback[List], Active(List));
        }
    }

private:
    int Active(int List) const { return List == 0 ? m_Header.num_ref_idx_l0_active : m_Header.num_ref_idx_l1_active; }

    void CollectLongTerm()
    {
        const auto Before = [this](const H264DecoderFrame& a, const H264DecoderFrame& b) {
            return m_IsField ? h264::IsBeforeInLongTerm(a.m_LongTermFrameIdx, b.m_LongTermFrameIdx)
                             : h264::IsBeforeInLongTerm(a.m_LongTermPicNum[0], b.m_LongTermPicNum[0]);
        };
        for (H264DecoderFrame* p = m_Dpb.Head(); p; p = p->m_pNext)
            if (IsLongTermFor(*p, m_IsField)) m_LongTerm.Insert(p, Before);
    }

    // Clauses 8.2.4.2.1 and 8.2.4.2.2.
    void InitialListP()
    {
        FrameOrder ShortTerm;
        const auto Before = [this](const H264DecoderFrame& a, const H264DecoderFrame& b) {
            return m_IsField ? h264::IsBeforeInListP(a.m_FrameNumWrap, b.m_FrameNumWrap)
                             : h264::IsBeforeInListP(a.m_PicNum[0], b.m_PicNum[0]);
        };
        for (H264DecoderFrame* p = m_Dpb.Head(); p; p = p->m_pNext)
            if (IsShortTermFor(*p, m_IsField)) ShortTerm.Insert(p, Before);
        m_ShortCount = ShortTerm.Count();
        Join(m_Lists.List[0], ShortTerm);
    }

    // Clauses 8.2.4.2.3 and 8.2.4.2.4.
    void InitialListsB()
    {
        FrameOrder ShortTerm[2];
        const int32_t Current = m_Frame.PicOrderCnt(m_IsField ? m_Header.bottom_field_flag : -1);
        for (H264DecoderFrame* p = m_Dpb.Head(); p; p = p->m_pNext) {
            if (!IsShortTermFor(*p, m_IsField)) continue;
            for (int List = 0; List < 2; ++List)
                ShortTerm[List].Insert(p, [&](const H264DecoderFrame& a, const H264DecoderFrame& b) {
                    return h264::IsBeforeInListB(List, OrderCount(a), OrderCount(b), Current);
                });
        }
        if (ShortTerm[0].Count() + m_LongTerm.Count() >= kMaxInitialEntries) return;
        m_ShortCount = ShortTerm[0].Count();
        for (int List = 0; List < 2; ++List) Join(m_Lists.List[List], ShortTerm[List]);
    }

    // Of the picture in work only the first field counts.
    int32_t OrderCount(const H264DecoderFrame& Frame) const
    {
        return &Frame == &m_Frame ? Frame.m_PicOrderCnt[1 - m_Header.bottom_field_flag] : Frame.PicOrderCnt();
    }

    void Join(H264RefList& List, const FrameOrder& ShortTerm)
    {
        int At = 0;
        for (const FrameOrder* const pGroup : {&ShortTerm, &std::as_const(m_LongTerm)})
            for (int i = 0; i < pGroup->Count() && At < kMaxInitialEntries; ++i) {
                List.Frame[At] = (*pGroup)[i];
                List.Flag[At++] = kNoField;
            }
    }

    static H264DecoderFrame* LastEntry(const H264RefList& List, int Count)
    {
        while (Count > 0 && !List.Frame[Count - 1]) --Count;
        return Count > 0 ? List.Frame[Count - 1] : nullptr;
    }

    // Clause 8.2.4.2.5: short-term fields, then long-term ones.
    void AlternateFields(H264RefList& List)
    {
        H264RefList Fields{};
        int At = 0;
        AlternatePass(List.Frame, List.Frame + m_ShortCount, &H264DecoderFrame::m_IsShortTerm, Fields, At);
        AlternatePass(List.Frame + m_ShortCount, List.Frame + kMaxInitialEntries, &H264DecoderFrame::m_IsLongTerm,
                      Fields, At);
        List = Fields;
    }

    // Takes fields by turns, the current parity first; when one parity runs out, the rest of the other follows.
    void AlternatePass(H264DecoderFrame* const* pBegin, H264DecoderFrame* const* pEnd,
                       bool (H264DecoderFrame::*pMarked)[2], H264RefList& Fields, int& At)
    {
        pEnd = std::find(pBegin, pEnd, nullptr);
        H264DecoderFrame* const* Next[2] = {pBegin, pBegin};
        int Parity = m_Header.bottom_field_flag;
        for (int Missed = 0; Missed < 2 && At < kMaxInitialEntries; Parity ^= 1) {
            H264DecoderFrame* const*& p = Next[Parity];
            while (p != pEnd && !((*p)->*pMarked)[Parity]) ++p;
            if (p == pEnd) {
                ++Missed;
                continue;
            }
            // With the other parity run out, this one goes on alone.
            Fields.Frame[At] = *p++;
            Fields.Flag[At++] = static_cast<uint8_t>(Parity);
            if (Missed == 1) Parity ^= 1;
        }
    }

    void SwapEqualLists()
    {
        H264RefList &List0 = m_Lists.List[0], &List1 = m_Lists.List[1];
        if (!List1.Frame[1]) return;
        const bool IsEqual = std::equal(std::begin(List0.Frame), std::end(List0.Frame), List1.Frame) &&
                             std::equal(std::begin(List0.Flag), std::end(List0.Flag), List1.Flag);
        if (!IsEqual) return;
        std::swap(List1.Frame[0], List1.Frame[1]);
        std::swap(List1.Flag[0], List1.Flag[1]);
    }

    // Clause 8.2.4.3.
    void Reorder(H264RefList& List, const RefPicListReordering& Commands, int ActiveCount)
    {
        const auto MaxPicNum = static_cast<uint32_t>(m_MaxFrameNum) << (m_IsField ? 1 : 0);
        const auto Current = static_cast<uint32_t>(CurrPicNum(m_Header));
        uint32_t Predicted = Current; // picNumLXNoWrap, modulo MaxPicNum
        for (int i = 0; i < static_cast<int>(Commands.count) && i < ActiveCount; ++i) {
            const uint32_t Value = Commands.value[i];
            int Field = 0;
            H264DecoderFrame* pFrame = nullptr;
            if (Commands.operation[i] == 2) {
                pFrame = m_Dpb.FindLongTerm(static_cast<int32_t>(Value & INT32_MAX), m_IsField, Field);
            } else {
                const uint32_t Distance = Value + 1;
                Predicted =
                    (Commands.operation[i] == 0 ? Predicted - Distance : Predicted + Distance) & (MaxPicNum - 1);
                const auto PicNum = static_cast<int32_t>(Predicted > Current ? Predicted - MaxPicNum : Predicted);
                pFrame = m_Dpb.FindShortTerm(PicNum, m_IsField, Field);
            }
            Place(List, i, ActiveCount, pFrame, m_IsField ? static_cast<uint8_t>(Field) : kNoField);
        }
    }

    // Puts a picture, or a hole, at a position; what stands from there on moves back to where the picture stood before.
    static void Place(H264RefList& List, int At, int ActiveCount, H264DecoderFrame* pFrame, uint8_t Flag)
    {
        int End = At;
        while (End < ActiveCount && !(pFrame && List.Frame[End] == pFrame && List.Flag[End] == Flag)) ++End;
        std::move_backward(List.Frame + At, List.Frame + End, List.Frame + End + 1);
        std::move_backward(List.Flag + At, List.Flag + End, List.Flag + End + 1);
        List.Frame[At] = pFrame;
        List.Flag[At] = Flag;
        List.Frame[ActiveCount] = nullptr;
    }

    void FillHoles(H264RefList& List, H264DecoderFrame* pFallback, int ActiveCount) const
    {
        uint8_t HoleField = 0;
        for (int i = 0; i < ActiveCount; ++i) {
            if (List.Frame[i]) {
                const int Field = m_IsField ? RefFlagField(List.Flag[i]) : 0;
                if (List.Frame[i]->m_IsShortTerm[Field]) List.Flag[i] |= kRefFlagShortTerm;
            } else {
                // Of its own frame a field can only read the first one: its own samples are still to come.
                const auto Field =
                    static_cast<uint8_t>(pFallback == &m_Frame ? 1 - m_Header.bottom_field_flag : HoleField);
                List.Frame[i] = pFallback;
                List.Flag[i] = (m_IsField ? Field : kNoField) | kRefFlagShortTerm;
                HoleField ^= 1;
            }
        }
    }

    const SliceHeaderFields& m_Header;
    const RefPicListReordering (&m_Reordering)[2];
    const int32_t m_MaxFrameNum;
    const H264DecoderFrame& m_Frame;
    H264DBPList& m_Dpb;
    H264DecoderRefPicList& m_Lists;
    const bool m_IsField, m_IsB;
    FrameOrder m_LongTerm;
    int m_ShortCount = 0; // frames in front of the long-term ones; one may stand in both groups, a field in each
    H264DecoderFrame* m_pFallback[2] = {};
};

} // namespace

Status BuildRefPicLists(const RefListOrder& Order, const H264DecoderFrame& Frame, H264DBPList& Dpb,
                        H264DecoderRefPicList& Lists)
{
    Dpb.ComputePicNums(Order.Header, Order.MaxFrameNum);
    Lists = {};
    if (Order.Header.slice_type == SLICE_I) return StatusOk;
    if (!Dpb.HasReferences()) return StatusInvalidParams;
    ListBuilder(Order, Frame, Dpb, Lists).Build();
    return StatusOk;
}

} // namespace UMC
