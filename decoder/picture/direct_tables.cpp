#include "decoder/picture/direct_tables.h"

#include "decoder/picture/frame.h"

namespace UMC {

namespace {

struct ListEntry {
    int32_t OrderCount;
    bool IsThere, IsLongTerm;
};

ListEntry EntryOf(const H264RefList& List, int Index, bool IsField)
{
    const H264DecoderFrame* const pFrame = List.Frame[Index];
    if (!pFrame) return {0, false, false};
    return {pFrame->PicOrderCnt(IsField ? RefFlagField(List.Flag[Index]) : -1), true,
            (List.Flag[Index] & kRefFlagShortTerm) == 0};
}

int16_t ImplicitWeight(int32_t Current, const ListEntry& Entry0, const ListEntry& Entry1)
{
    if (!Entry0.IsThere || !Entry1.IsThere || Entry0.IsLongTerm || Entry1.IsLongTerm) return h264::kEvenWeight;
    return h264::ImplicitWeight(Current, Entry0.OrderCount, Entry1.OrderCount);
}

} // namespace

void ComputeDirectTables(const H264DecoderRefPicList& Lists, const SliceHeaderFields& Header, int32_t PicOrderCnt,
                         bool HasImplicitWeights, H264DirectTables& Tables)
{
    const bool IsField = Header.field_pic_flag != 0;
    const ListEntry Colocated = EntryOf(Lists.List[1], 0, IsField);
    for (int i = 0; i < Header.num_ref_idx_l0_active; ++i) {
        const ListEntry Entry0 = EntryOf(Lists.List[0], i, IsField);
        const bool IsScaled = Entry0.IsThere && !Entry0.IsLongTerm && Entry0.OrderCount != Colocated.OrderCount;
        Tables.DistScaleFactor[i] =
            IsScaled ? h264::DistScaleFactor(PicOrderCnt, Entry0.OrderCount, Colocated.OrderCount) : kNotScaled;
        if (!HasImplicitWeights) continue;
        for (int j = 0; j < Header.num_ref_idx_l1_active; ++j)
            Tables.ImplicitWeight[i][j] = ImplicitWeight(PicOrderCnt, Entry0, EntryOf(Lists.List[1], j, IsField));
    }
}

} // namespace UMC
