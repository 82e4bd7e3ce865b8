#include "decoder/picture/direct_tables.h"

#include "decoder/picture/frame.h"

#include <algorithm>
#include <cstdlib>

namespace UMC {

namespace {

// DiffPicOrderCnt limited as clauses 8.4.1.2.3 and 8.4.2.3.1 limit it.
int32_t Distance(int32_t Count, int32_t From)
{
    return static_cast<int32_t>(std::clamp<int64_t>(int64_t{Count} - From, -128, 127));
}

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

int32_t ScaleFactor(int32_t Current, int32_t Count0, int32_t Count1) // the two must differ
{
    const int32_t tb = Distance(Current, Count0), td = Distance(Count1, Count0);
    const int32_t tx = (16384 + std::abs(td / 2)) / td;
    return std::clamp((tb * tx + 32) >> 6, -1024, 1023);
}

int16_t ImplicitWeight(int32_t Current, const ListEntry& Entry0, const ListEntry& Entry1)
{
    if (!Entry0.IsThere || !Entry1.IsThere || Entry0.IsLongTerm || Entry1.IsLongTerm ||
        Entry0.OrderCount == Entry1.OrderCount)
        return kEvenWeight;
    const int32_t Weight = ScaleFactor(Current, Entry0.OrderCount, Entry1.OrderCount) >> 2;
    return Weight < -64 || Weight > 128 ? kEvenWeight : static_cast<int16_t>(Weight);
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
            IsScaled ? ScaleFactor(PicOrderCnt, Entry0.OrderCount, Colocated.OrderCount) : kNotScaled;
        if (!HasImplicitWeights) continue;
        for (int j = 0; j < Header.num_ref_idx_l1_active; ++j)
            Tables.ImplicitWeight[i][j] = ImplicitWeight(PicOrderCnt, Entry0, EntryOf(Lists.List[1], j, IsField));
    }
}

} // namespace UMC
