#include "decoder/macroblock/intra_neighbours.h"

namespace UMC {

unsigned FindIntraNeighbours(const SliceView& Slice, const MbState& Mb)
{
    const MbGlobalInfo* const pGlobal = Slice.Records.pGlobal;
    const bool Constrained = Slice.pPictureSet->constrained_intra_pred_flag != 0;
    const auto Bit = [&](int32_t Neighbour, unsigned Flag) {
        return Neighbour >= 0 && (!Constrained || IsIntra(pGlobal[Neighbour])) ? Flag : 0u;
    };
    return Bit(Mb.Left, kernels::kLeft) | Bit(Mb.Top, kernels::kTop) | Bit(Mb.TopRight, kernels::kTopRight) |
           Bit(Mb.TopLeft, kernels::kTopLeft);
}

// A frame macroblock beside a field pair has rows of both fields beside each of its blocks, a field macroblock beside a
// frame pair one macroblock beside its upper half and the other beside its lower half.
IntraNeighbours<true>::IntraNeighbours(const SliceView& Slice, const MbState& Mb)
    : m_Around(FindIntraNeighbours(Slice, Mb))
{
    const MbGlobalInfo* const pGlobal = Slice.Records.pGlobal;
    const bool IsField = IsFieldMb(Mb);
    if (!Slice.pPictureSet->constrained_intra_pred_flag || Mb.Left < 0 || IsFieldMb(pGlobal[Mb.Left]) == IsField)
        return;
    const auto IsRowReadable = [&](int y) {
        const int32_t Neighbour = Mb.Pairs.At(Column::Left, y, 16, IsField).Mb;
        return Neighbour >= 0 && IsIntra(pGlobal[Neighbour]);
    };
    m_LeftsDiffer = true;
    bool All = true;
    for (int Row = 0; Row < 4; ++Row) {
        const bool Left = IsRowReadable(Row * 4) && IsRowReadable(Row * 4 + 1);
        m_Left[Row] = (Left ? kernels::kLeft : 0u) | (IsRowReadable(Row * 4 - 1) ? kernels::kTopLeft : 0u);
        All &= Left;
    }
    m_Around = (m_Around & ~kernels::kLeft) | (All ? kernels::kLeft : 0u);
}

} // namespace UMC
