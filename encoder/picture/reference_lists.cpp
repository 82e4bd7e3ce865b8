#include "encoder/picture/reference_lists.h"

#include "Common/h264/reference_numbers.h"
#include "Common/h264/reference_order.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

template <class Sample>
struct CollectedReferences {
    using Frame = H264EncoderFrame<Sample>;
    std::array<Frame*, kMaxReferences> Short, Long;
    size_t ShortCount = 0, LongCount = 0;

    CollectedReferences(const H264EncoderFrameList<Sample>& List, const Frame* pCurrent)
    {
        for (auto* p = List.Head(); p; p = p->next) {
            if (p == pCurrent) continue;
            if (p->IsShortTerm() && ShortCount < Short.size()) Short[ShortCount++] = p;
            if (p->IsLongTerm() && LongCount < Long.size()) Long[LongCount++] = p;
        }
        std::sort(Long.begin(), Long.begin() + LongCount, [](auto* a, auto* b) {
            return h264::IsBeforeInLongTerm(a->long_term_pic_num[0], b->long_term_pic_num[0]);
        });
    }

    // The short-term pictures in the order that they have now, then the long-term ones.
    void Store(RefPicLists<Sample>& Lists, int List) const
    {
        const auto Refer = [](const Frame* f) {
            return Reference<Sample>{f, ReadOnly(f->View()), f->mb_motion[0], f->Poc(), f->picture_id};
        };
        auto* p = std::transform(Short.begin(), Short.begin() + ShortCount, Lists.Pictures[List], Refer);
        const size_t Room = kMaxReferences - ShortCount;
        p = std::transform(Long.begin(), Long.begin() + std::min(LongCount, Room), p, Refer);
        Lists.Count[List] = static_cast<int32_t>(p - Lists.Pictures[List]);
    }
};

// Clause 8.2.4.2.3; Current is the order count of the current picture.
template <class Sample>
void BuildListsB(int32_t Current, CollectedReferences<Sample>& Refs, RefPicLists<Sample>& Lists)
{
    const auto Begin = Refs.Short.begin(), End = Begin + Refs.ShortCount;
    for (int List = 0; List < 2; ++List) {
        std::sort(Begin, End,
                  [=](auto* a, auto* b) { return h264::IsBeforeInListB(List, a->Poc(), b->Poc(), Current); });
        Refs.Store(Lists, List);
    }
    const int32_t Count = Lists.Count[1];
    if (Count > 1 && std::equal(Lists.Pictures[0], Lists.Pictures[0] + Count, Lists.Pictures[1],
                                [](const auto& a, const auto& b) { return a.pFrame == b.pFrame; }))
        std::swap(Lists.Pictures[1][0], Lists.Pictures[1][1]);
}

} // namespace

template <class Sample>
void UpdateRefLists(SequenceState<Sample>& Sequence, const H264EncoderFrame<Sample>& Current)
{
    for (auto* p = Sequence.ReconstructionList.Head(); p; p = p->next) {
        if (p->IsShortTerm()) {
            p->frame_num_wrap = h264::FrameNumWrap(p->frame_num, Current.frame_num, EncoderSettings::frame_num_max);
            p->pic_num[0] = p->pic_num[1] = p->frame_num_wrap;
        } else if (p->IsLongTerm()) {
            p->long_term_pic_num[0] = p->long_term_pic_num[1] = p->long_term_frame_idx;
        }
    }
}

template <class Sample>
void BuildRefLists(const EncoderSettings& Settings, const SequenceState<Sample>& Sequence,
                   const PictureJob<Sample>& Job, SliceFacts<Sample>& s)
{
    s.ref_pic_lists.Count[0] = s.ref_pic_lists.Count[1] = 0;
    s.num_ref_idx_l0 = s.num_ref_idx_l1 = 1;
    if (s.slice_type == h264::SLICE_I) return;
    CollectedReferences<Sample> Refs(Sequence.ReconstructionList, Job.pCurrent);
    if (s.slice_type == h264::SLICE_P) {
        std::sort(Refs.Short.begin(), Refs.Short.begin() + Refs.ShortCount,
                  [](auto* a, auto* b) { return h264::IsBeforeInListP(a->pic_num[0], b->pic_num[0]); });
        Refs.Store(s.ref_pic_lists, 0);
    } else {
        BuildListsB(Job.pCurrent->Poc(), Refs, s.ref_pic_lists);
    }
    const int32_t Most = std::max(Settings.Params.num_ref_frames, 1);
    s.num_ref_idx_l0 = std::clamp(s.ref_pic_lists.Count[0], 1, Most);
    s.num_ref_idx_l1 = std::clamp(s.ref_pic_lists.Count[1], 1, Most);
}

template <class Sample>
void RecordReferences(const SliceFacts<Sample>& s, H264EncoderFrame<Sample>& Current)
{
    for (int List = 0; List < 2; ++List)
        for (int i = 0; i < s.ref_pic_lists.Count[List]; ++i)
            Current.reference_ids[List][i] = s.ref_pic_lists.Pictures[List][i].Id;
}

template <class Sample>
void UpdateMarking(const EncoderSettings& Settings, SequenceState<Sample>& Sequence, H264EncoderFrame<Sample>& Current)
{
    const auto& List = Sequence.ReconstructionList;
    if (Current.is_idr) {
        for (auto* p = List.Head(); p; p = p->next)
            if (p != &Current) p->Unmark();
    } else {
        int32_t Count = 0;
        H264EncoderFrame<Sample>* pOldest = nullptr;
        for (auto* p = List.Head(); p; p = p->next) {
            if (p == &Current || p->is_reference == 0) continue;
            ++Count;
            if (p->IsShortTerm() && (!pOldest || p->frame_num_wrap < pOldest->frame_num_wrap)) pOldest = p;
        }
        if (pOldest && h264::IsWindowFull(Count, Settings.Params.num_ref_frames)) pOldest->Unmark();
    }
    Current.is_reference = 3;
}

template void UpdateRefLists(SequenceState<uint8_t>&, const H264EncoderFrame<uint8_t>&);
template void BuildRefLists(const EncoderSettings&, const SequenceState<uint8_t>&, const PictureJob<uint8_t>&,
                            SliceFacts<uint8_t>&);
template void RecordReferences(const SliceFacts<uint8_t>&, H264EncoderFrame<uint8_t>&);
template void UpdateMarking(const EncoderSettings&, SequenceState<uint8_t>&, H264EncoderFrame<uint8_t>&);
template void UpdateRefLists(SequenceState<uint16_t>&, const H264EncoderFrame<uint16_t>&);
template void BuildRefLists(const EncoderSettings&, const SequenceState<uint16_t>&, const PictureJob<uint16_t>&,
                            SliceFacts<uint16_t>&);
template void RecordReferences(const SliceFacts<uint16_t>&, H264EncoderFrame<uint16_t>&);
template void UpdateMarking(const EncoderSettings&, SequenceState<uint16_t>&, H264EncoderFrame<uint16_t>&);

} // namespace UMC_H264_ENCODER
