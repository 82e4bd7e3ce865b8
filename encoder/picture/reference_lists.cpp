#include "encoder/picture/reference_lists.h"

#include "Common/h264/reference_numbers.h"
#include "Common/h264/reference_order.h"

#include <algorithm>
#include <utility>

namespace UMC_H264_ENCODER {

namespace {

// Chroma samples of the two fields lie a quarter of a sample apart (Table 8-9): what is added to vectors that lead to
// the other field, which is Part.
constexpr int32_t ChromaOffsetOf(PictureStructure Part) { return Part == STRUCTURE_BOTTOM ? -2 : 2; }

// A field of a frame in the list of a frame of pairs, for field macroblocks of a parity.
template <class Sample>
Reference<Sample> FieldOf(const Reference<Sample>& Frame, PictureStructure Part, PictureStructure Parity)
{
    Reference<Sample> r = Frame;
    r.View = PartOf(Frame.View, Part);
    r.View.LumaRowsAround = r.View.ChromaRowsAround = 0; // those are of the frame
    r.Poc = Frame.pFrame->poc[Part];
    r.Id = Frame.pFrame->picture_id + Part;
    r.ChromaMvOffset = Part == Parity ? 0 : ChromaOffsetOf(Part);
    return r;
}

// The frames with marked fields that a picture may refer to, short-term and long-term ones.
template <class Sample>
struct CollectedReferences {
    using Frame = H264EncoderFrame<Sample>;
    std::array<Frame*, kMaxReferences> Short, Long;
    size_t ShortCount = 0, LongCount = 0;

    // Of a frame whose second field is being coded, the first field may be referred to.
    CollectedReferences(const H264EncoderFrameList<Sample>& List, const PictureJob<Sample>& Job)
    {
        for (auto* p = List.Head(); p; p = p->next) {
            if (p == Job.pCurrent && !Job.IsField()) continue;
            if (p->IsShortTerm() && ShortCount < Short.size()) Short[ShortCount++] = p;
            if (p->IsLongTerm() && LongCount < Long.size()) Long[LongCount++] = p;
        }
        std::sort(Long.begin(), Long.begin() + LongCount, [](auto* a, auto* b) {
            return h264::IsBeforeInLongTerm(a->long_term_pic_num[0], b->long_term_pic_num[0]);
        });
    }

    template <class Less>
    void SortShort(Less&& IsBefore)
    {
        std::sort(Short.begin(), Short.begin() + ShortCount, IsBefore);
    }

    // The short-term pictures in the order that they have now, then the long-term ones.
    void Store(const PictureJob<Sample>& Job, RefPicLists<Sample>& Lists, int List) const
    {
        Lists.Count[List] = 0;
        for (const auto& [pFrames, Count] : {std::pair{&Short, ShortCount}, std::pair{&Long, LongCount}}) {
            if (Job.IsField())
                StoreFields(Job, pFrames->data(), Count, Lists, List);
            else
                for (size_t i = 0; i < Count; ++i) Add(Refer(*(*pFrames)[i], STRUCTURE_FRAME, Job), Lists, List);
        }
    }

private:
    static void Add(const Reference<Sample>& r, RefPicLists<Sample>& Lists, int List)
    {
        if (Lists.Count[List] < kMaxReferences) Lists.Pictures[List][Lists.Count[List]++] = r;
    }

    // Clause 8.2.4.2.5: fields of the frames by turns, that of the picture's own parity first; a field that is not
    // marked is passed over, and where a parity has no more the rest of the other follows.
    static void StoreFields(const PictureJob<Sample>& Job, Frame* const* pFrames, size_t Count,
                            RefPicLists<Sample>& Lists, int List)
    {
        size_t Next[2] = {}; // by parity
        const auto FindNext = [&](int Parity) {
            while (Next[Parity] < Count && !(pFrames[Next[Parity]]->is_reference >> Parity & 1)) ++Next[Parity];
            return Next[Parity] < Count;
        };
        for (int Parity = Job.Structure; FindNext(0) || FindNext(1);) {
            if (FindNext(Parity))
                Add(Refer(*pFrames[Next[Parity]++], static_cast<PictureStructure>(Parity), Job), Lists, List);
            if (FindNext(Parity ^ 1)) Parity ^= 1;
        }
    }
};

// The order count of a frame that is ordered by it: of the frame in work, that of its first field.
template <class Sample>
int32_t PocInOrder(const H264EncoderFrame<Sample>& f, const PictureJob<Sample>& Job)
{
    return &f == Job.pCurrent ? f.poc[STRUCTURE_TOP] : f.Poc();
}

// Clauses 8.2.4.2.3 and 8.2.4.2.4.
template <class Sample>
void BuildListsB(const PictureJob<Sample>& Job, CollectedReferences<Sample>& Refs, RefPicLists<Sample>& Lists)
{
    const int32_t Current = Job.Poc();
    for (int List = 0; List < 2; ++List) {
        Refs.SortShort([&](auto* a, auto* b) {
            return h264::IsBeforeInListB(List, PocInOrder(*a, Job), PocInOrder(*b, Job), Current);
        });
        Refs.Store(Job, Lists, List);
    }
    const int32_t Count = Lists.Count[1];
    if (Count > 1 && std::equal(Lists.Pictures[0], Lists.Pictures[0] + Count, Lists.Pictures[1],
                                [](const auto& a, const auto& b) { return a.Id == b.Id; }))
        std::swap(Lists.Pictures[1][0], Lists.Pictures[1][1]);
}

} // namespace

template <class Sample>
Reference<Sample> Refer(const H264EncoderFrame<Sample>& f, PictureStructure Part, const PictureJob<Sample>& Job)
{
    const bool IsField = Part != STRUCTURE_FRAME, IsBottom = Part == STRUCTURE_BOTTOM;
    Reference<Sample> r;
    r.pFrame = &f;
    const PicturePart Whole{Part, Job.IsAuxiliary};
    r.View = ReadOnly(Job.ViewOf(f, Whole));
    const ptrdiff_t FirstBlock = ptrdiff_t{16} * Job.FirstMbOf(Whole);
    for (int List = 0; List < 2; ++List) {
        r.pVectors[List] = f.mb_motion[List] + FirstBlock;
        r.pReferences[List] = f.mb_reference[List] + FirstBlock;
    }
    r.pIds = f.reference_ids[IsBottom];
    r.pGlobal = f.mb_global + Job.FirstMbOf(Whole);
    r.Poc = IsField ? f.poc[Part] : f.Poc();
    r.Id = f.picture_id + IsBottom;
    if (IsField && Part != Job.Structure) r.ChromaMvOffset = ChromaOffsetOf(Part);
    return r;
}

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
    CollectedReferences<Sample> Refs(Sequence.ReconstructionList, Job);
    if (s.slice_type == h264::SLICE_P) {
        // Fields go by the FrameNumWrap of their frames, which a frame's PicNum is too.
        Refs.SortShort([](auto* a, auto* b) { return h264::IsBeforeInListP(a->frame_num_wrap, b->frame_num_wrap); });
        Refs.Store(Job, s.ref_pic_lists, 0);
    } else {
        BuildListsB(Job, Refs, s.ref_pic_lists);
    }
    const int32_t Most = std::max(Settings.Params.num_ref_frames, 1) * (Job.IsField() ? 2 : 1);
    s.num_ref_idx_l0 = std::clamp(s.ref_pic_lists.Count[0], 1, Most);
    s.num_ref_idx_l1 = std::clamp(s.ref_pic_lists.Count[1], 1, Most);
}

template <class Sample>
void BuildFieldLists(const SliceFacts<Sample>& Frame, PictureStructure Parity, SliceFacts<Sample>& Field)
{
    for (int List = 0; List < 2; ++List) {
        const Reference<Sample>* const pFrom = Frame.ref_pic_lists.Pictures[List];
        Reference<Sample>* const pTo = Field.ref_pic_lists.Pictures[List];
        const int32_t Count = std::min(Frame.ref_pic_lists.Count[List], kMaxReferences / 2);
        for (int32_t i = 0; i < 2 * Count; ++i)
            pTo[i] = FieldOf(pFrom[i / 2], static_cast<PictureStructure>(Parity ^ (i & 1)), Parity);
        Field.ref_pic_lists.Count[List] = 2 * Count;
    }
    Field.num_ref_idx_l0 = 2 * Frame.num_ref_idx_l0;
    Field.num_ref_idx_l1 = 2 * Frame.num_ref_idx_l1;
}

template <class Sample>
void RecordReferences(const PictureJob<Sample>& Job, const SliceFacts<Sample>& s)
{
    for (int List = 0; List < 2; ++List)
        for (int i = 0; i < s.ref_pic_lists.Count[List]; ++i)
            Job.pCurrent->reference_ids[Job.Structure == STRUCTURE_BOTTOM][List][i] =
                s.ref_pic_lists.Pictures[List][i].Id;
}

template <class Sample>
void UpdateMarking(const EncoderSettings& Settings, const PictureJob<Sample>& Job, SequenceState<Sample>& Sequence)
{
    H264EncoderFrame<Sample>& Current = *Job.pCurrent;
    const auto& List = Sequence.ReconstructionList;
    if (Job.picture_class == CLASS_IDR) {
        for (auto* p = List.Head(); p; p = p->next)
            if (p != &Current) p->Unmark();
    } else if (Current.is_reference == 0) { // not so of a second field
        int32_t Count = 0;
        H264EncoderFrame<Sample>* pOldest = nullptr;
        for (auto* p = List.Head(); p; p = p->next) {
            if (p == &Current || p->is_reference == 0) continue;
            ++Count;
            if (p->IsShortTerm() && (!pOldest || p->frame_num_wrap < pOldest->frame_num_wrap)) pOldest = p;
        }
        if (pOldest && h264::IsWindowFull(Count, Settings.Params.num_ref_frames)) pOldest->Unmark();
    }
    Current.is_reference = static_cast<uint8_t>(Current.is_reference | (Job.IsField() ? 1 << Job.Structure : 3));
}

#define INSTANTIATE(Sample)                                                                                            \
    template Reference<Sample> Refer(const H264EncoderFrame<Sample>&, PictureStructure, const PictureJob<Sample>&);    \
    template void UpdateRefLists(SequenceState<Sample>&, const H264EncoderFrame<Sample>&);                             \
    template void BuildRefLists(const EncoderSettings&, const SequenceState<Sample>&, const PictureJob<Sample>&,       \
                                SliceFacts<Sample>&);                                                                  \
    template void BuildFieldLists(const SliceFacts<Sample>&, PictureStructure, SliceFacts<Sample>&);                   \
    template void RecordReferences(const PictureJob<Sample>&, const SliceFacts<Sample>&);                              \
    template void UpdateMarking(const EncoderSettings&, const PictureJob<Sample>&, SequenceState<Sample>&);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
