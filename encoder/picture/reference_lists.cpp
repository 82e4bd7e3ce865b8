// Reference numbers, lists and marking (clauses 8.2.4 and 8.2.5) of frame pictures.
#include "Common/h264/reference_numbers.h"
#include "encoder/state/encoder_core.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

template <class Core>
void NumberReferences(Core& c)
{
    const int32_t Current = c.current->frame_num;
    for (auto* p = c.reconstruction_list.Head(); p; p = p->next) {
        if (p->IsShortTerm()) {
            p->frame_num_wrap = h264::FrameNumWrap(p->frame_num, Current, c.frame_num_max);
            p->pic_num[0] = p->pic_num[1] = p->frame_num_wrap;
        } else if (p->IsLongTerm()) {
            p->long_term_pic_num[0] = p->long_term_pic_num[1] = p->long_term_frame_idx;
        }
    }
}

template <class Core>
struct CollectedReferences {
    std::array<typename Core::Frame*, kMaxReferences> Short, Long;
    size_t ShortCount = 0, LongCount = 0;

    explicit CollectedReferences(const Core& c)
    {
        for (auto* p = c.reconstruction_list.Head(); p; p = p->next) {
            if (p == c.current) continue;
            if (p->IsShortTerm() && ShortCount < Short.size()) Short[ShortCount++] = p;
            if (p->IsLongTerm() && LongCount < Long.size()) Long[LongCount++] = p;
        }
        std::sort(Long.begin(), Long.begin() + LongCount,
                  [](auto* a, auto* b) { return a->long_term_pic_num[0] < b->long_term_pic_num[0]; });
    }

    // The short-term pictures in the order that they have now, then the long-term ones.
    void Store(RefPicLists<typename Core::Pix>& Lists, int List) const
    {
        auto* p = std::copy_n(Short.begin(), ShortCount, Lists.Pictures[List]);
        const size_t Room = kMaxReferences - ShortCount;
        p = std::copy_n(Long.begin(), std::min(LongCount, Room), p);
        Lists.Count[List] = static_cast<int32_t>(p - Lists.Pictures[List]);
    }
};

// Clause 8.2.4.2.3: pictures before the current one by falling order count and those behind by rising, list 1 the
// other way round.
template <class Core>
void BuildListsB(const Core& c, CollectedReferences<Core>& Refs, RefPicLists<typename Core::Pix>& Lists)
{
    const int32_t Current = c.current->Poc();
    const auto Begin = Refs.Short.begin(), End = Begin + Refs.ShortCount;
    for (int List = 0; List < 2; ++List) {
        const bool bPastFirst = List == 0;
        std::sort(Begin, End, [=](auto* a, auto* b) {
            const bool bPastA = a->Poc() < Current, bPastB = b->Poc() < Current;
            if (bPastA != bPastB) return bPastA == bPastFirst;
            return bPastA ? a->Poc() > b->Poc() : a->Poc() < b->Poc();
        });
        Refs.Store(Lists, List);
    }
    const int32_t Count = Lists.Count[1];
    if (Count > 1 && std::equal(Lists.Pictures[0], Lists.Pictures[0] + Count, Lists.Pictures[1]))
        std::swap(Lists.Pictures[1][0], Lists.Pictures[1][1]);
}

} // namespace

template <class Core>
void UpdateRefLists(Core& c, typename Core::Slice& s)
{
    s.ref_pic_lists.Count[0] = s.ref_pic_lists.Count[1] = 0;
    s.num_ref_idx_l0 = s.num_ref_idx_l1 = 1;
    NumberReferences(c); // for I slices too: the sliding window behind the picture goes by these numbers
    if (s.slice_type == SLICE_I) return;
    CollectedReferences<Core> Refs(c);
    if (s.slice_type == SLICE_P) {
        std::sort(Refs.Short.begin(), Refs.Short.begin() + Refs.ShortCount,
                  [](auto* a, auto* b) { return a->pic_num[0] > b->pic_num[0]; });
        Refs.Store(s.ref_pic_lists, 0);
    } else {
        BuildListsB(c, Refs, s.ref_pic_lists);
    }
    const int32_t Most = std::max(c.params.num_ref_frames, 1);
    s.num_ref_idx_l0 = std::clamp(s.ref_pic_lists.Count[0], 1, Most);
    s.num_ref_idx_l1 = std::clamp(s.ref_pic_lists.Count[1], 1, Most);
    s.num_ref_idx_active_override = s.num_ref_idx_l0 != 1 || s.num_ref_idx_l1 != 1;
}

template <class Core>
void UpdateMarking(Core& c)
{
    auto& Current = *c.current;
    if (Current.is_idr) {
        for (auto* p = c.reconstruction_list.Head(); p; p = p->next)
            if (p != &Current) p->Unmark();
    } else {
        int32_t Count = 0;
        typename Core::Frame* pOldest = nullptr;
        for (auto* p = c.reconstruction_list.Head(); p; p = p->next) {
            if (p == &Current || p->is_reference == 0) continue;
            ++Count;
            if (p->IsShortTerm() && (!pOldest || p->frame_num_wrap < pOldest->frame_num_wrap)) pOldest = p;
        }
        if (pOldest && h264::IsWindowFull(Count, c.params.num_ref_frames)) pOldest->Unmark();
    }
    Current.is_reference = 3;
}

template void UpdateRefLists(Core8&, Core8::Slice&);
template void UpdateMarking(Core8&);

} // namespace UMC_H264_ENCODER
