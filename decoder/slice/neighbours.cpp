#include "decoder/slice/neighbours.h"

namespace UMC {

// The table is the geometry of the pair. A row of the macroblock is a line of its pair: every second one in a field
// macroblock. What lies at that line beside the pair, or that many lines above its end in the pair above, is the
// neighbour, whichever way that pair is divided.
NeighbourRow PairNeighbours::At(Column Where, int y, int Height, bool IsField) const
{
    int Line = IsField ? 2 * y + m_IsBottom : y + m_IsBottom * Height;
    int32_t Pair;
    if (Line >= 0) {
        Pair = Where == Column::Left ? m_Around.Left : Where == Column::Own ? m_Pair : -1;
    } else {
        Line += 2 * Height;
        Pair = Where == Column::Left ? m_Around.TopLeft : Where == Column::Own ? m_Around.Top : m_Around.TopRight;
    }
    if (Pair < 0) return {-1, 0};
    const bool Fields = Pair == m_Pair ? IsField : IsFieldPair(Pair);
    if (Fields) return {Pair + (Line & 1), Line >> 1};
    return {Pair + (Line >= Height), Line % Height};
}

MbAround PairNeighbours::Around(bool IsField) const
{
    constexpr int kHeight = 16;
    return {At(Column::Left, 0, kHeight, IsField).Mb, At(Column::Own, -1, kHeight, IsField).Mb,
            At(Column::Right, -1, kHeight, IsField).Mb, At(Column::Left, -1, kHeight, IsField).Mb};
}

} // namespace UMC
