#include "Common/h264/h264_tables.h"
#include "encoder/state/neighbour_cache.h"

#include <cstring>

namespace UMC_H264_ENCODER {

namespace {

constexpr int32_t kLastRow = 3; // of 4x4 blocks: what lies above is always that of a macroblock

// What lies around one macroblock of a frame of pairs.
class PairView
{
public:
    PairView(const NeighbourTables& t, const h264::PairNeighbours& Pairs, bool IsField)
        : m_t(t), m_Pairs(Pairs), m_IsField(IsField), m_Around(Pairs.Around(IsField)),
          m_IsMixed(m_Around.Left >= 0 && IsOtherKind(m_Around.Left))
    {
        for (int32_t i = 0; i < 4; ++i) {
            m_Left[i] = LeftBlock(4 * i);
            m_LeftCorners[i] = LeftBlock(4 * i - 1);
        }
    }

    void FillAvailable(NeighbourCache& n) const
    {
        const auto Bit = [](int32_t Mb, unsigned Flag) { return Mb >= 0 ? Flag : 0u; };
        n.Available = Bit(m_Around.Left, kernels::kLeft) | Bit(m_Around.Top, kernels::kTop) |
                      Bit(m_Around.TopRight, kernels::kTopRight) | Bit(m_Around.TopLeft, kernels::kTopLeft);
        n.LeftType = TypeOf(m_Around.Left), n.TopType = TypeOf(m_Around.Top);
        n.LeftFlags = FlagsOf(m_Around.Left), n.TopFlags = FlagsOf(m_Around.Top);
    }
    void FillRecords(NeighbourCache& n) const
    {
        n.pTop = RecordOf(m_Around.Top);
        n.pLeft = RecordOf(m_Around.Left);
        if (!m_IsMixed) return;
        SeeLeft(n.MixedLeft);
        n.pLeft = &n.MixedLeft;
    }
    void FillModes(NeighbourCache& n) const
    {
        const auto Mode = [&](ptrdiff_t Block) { return static_cast<int8_t>(Block < 0 ? -1 : m_t.pIntraModes[Block]); };
        for (int32_t i = 0; i < 4; ++i) {
            n.LeftModes[i] = Mode(m_Left[i]);
            n.TopModes[i] = Mode(TopBlock(m_Around.Top, i));
        }
    }
    void FillMotion(int32_t List, NeighbourMotion& m) const;
    void FillCounts(NeighbourCache& n) const;

private:
    uint8_t TypeOf(int32_t Mb) const { return Mb < 0 ? kNoMacroblock : m_t.pGlobal[Mb].Type; }
    uint8_t FlagsOf(int32_t Mb) const { return Mb < 0 ? uint8_t{0} : m_t.pGlobal[Mb].Flags; }
    bool IsOtherKind(int32_t Mb) const { return ((m_t.pGlobal[Mb].Flags & kFlagField) != 0) != m_IsField; }
    const LocalMacroblock* RecordOf(int32_t Mb) const { return Mb < 0 ? &kAbsentMacroblock : m_t.pLocal + Mb; }

    // Numbers of 4x4 blocks in the picture's tables; -1 where none is.
    ptrdiff_t LeftBlock(int32_t Line) const
    {
        const h264::NeighbourRow r = m_Pairs.At(h264::Column::Left, Line, 16, m_IsField);
        return r.Mb < 0 ? -1 : ptrdiff_t{r.Mb} * 16 + r.Row / 4 * 4 + 3;
    }
    static ptrdiff_t TopBlock(int32_t Mb, int32_t Column)
    {
        return Mb < 0 ? -1 : ptrdiff_t{Mb} * 16 + 4 * kLastRow + Column;
    }

    h264::BlockMotion MotionAt(int32_t List, ptrdiff_t Block) const
    {
        if (Block < 0) return {{0, 0}, h264::kRefUnavailable};
        h264::BlockMotion m{m_t.pVectors[List][Block], m_t.pReferences[List][Block]};
        if (m.RefIdx >= 0 && IsOtherKind(static_cast<int32_t>(Block / 16)))
            h264::SeeAcrossKinds(m_IsField, m.Mv, m.RefIdx);
        return m;
    }
    // Clause 9.3.3.1.1.7.
    MotionVector DifferenceAt(int32_t List, ptrdiff_t Block) const
    {
        if (Block < 0) return {0, 0};
        MotionVector d = m_t.pDifferences[List][Block];
        int32_t NoRef = 0;
        if (IsOtherKind(static_cast<int32_t>(Block / 16))) h264::SeeAcrossKinds(m_IsField, d, NoRef);
        return d;
    }
    void SeeLeft(LocalMacroblock& Seen) const;

    const NeighbourTables& m_t;
    const h264::PairNeighbours& m_Pairs;
    const bool m_IsField;
    const h264::MbAround m_Around;
    const bool m_IsMixed; // two macroblocks of the other kind lie to the left
    // Beside the first row of each row of blocks, and beside the row above that.
    ptrdiff_t m_Left[4], m_LeftCorners[4];
};

void PairView::FillMotion(int32_t List, NeighbourMotion& m) const
{
    const bool HasDifferences = m_t.pDifferences[List] != nullptr;
    const auto Put = [&](ptrdiff_t Block, MotionVector& Vector, int8_t& Ref, MotionVector& Difference) {
        const h264::BlockMotion Of = MotionAt(List, Block);
        Vector = Of.Mv;
        Ref = static_cast<int8_t>(Of.RefIdx);
        if (HasDifferences) Difference = DifferenceAt(List, Block);
    };
    for (int32_t i = 0; i < 4; ++i) {
        Put(m_Left[i], m.LeftVectors[i], m.LeftRefs[i], m.LeftDifferences[i]);
        Put(TopBlock(m_Around.Top, i), m.TopVectors[i], m.TopRefs[i], m.TopDifferences[i]);
    }
    for (int32_t i = 0; i < 3; ++i) m.LeftCorners[i] = MotionAt(List, m_LeftCorners[i + 1]);
    m.HasLeftCorners = true;
    m.TopLeft = MotionAt(List, m_LeftCorners[0]);
    m.TopRight = MotionAt(List, TopBlock(m_Around.TopRight, 0));
    m.pTopRightOfPicture = m_Around.TopRight < 0 ? nullptr : &m.TopRight.Mv;
}

// Row by row of blocks, what contexts read of the right column of the macroblocks to the left. All else is that of the
// one beside the first row (clauses 6.4.11.1 to 6.4.11.5).
void PairView::SeeLeft(LocalMacroblock& Seen) const
{
    const LocalMacroblock& First = *RecordOf(m_Around.Left);
    Seen = First;
    Seen.Coded = 0;
    Seen.Pattern = First.Pattern & 0x30;
    Seen.Direct = 0;
    for (int32_t i = 0; i < 4; ++i) {
        const ptrdiff_t Block = m_Left[i];
        const LocalMacroblock& From = m_t.pLocal[Block / 16];
        Seen.Coded |= (From.Coded >> h264::kBlockRaster[Block % 16] & 1) << h264::kBlockRaster[4 * i + 3];
        if (i % 2) continue;
        const int32_t Quadrant = i + 1, OfFrom = Block % 16 < 8 ? 1 : 3;
        Seen.Pattern = static_cast<uint8_t>(Seen.Pattern | (From.Pattern >> OfFrom & 1) << Quadrant);
        Seen.Direct = static_cast<uint8_t>(Seen.Direct | (From.Direct >> OfFrom & 1) << Quadrant);
    }
    const int32_t Height = h264::kChromaGeometry[m_t.ChromaFormat].MbHeight;
    for (int32_t y = 0; y < Height / 4; ++y) {
        const h264::NeighbourRow r = m_Pairs.At(h264::Column::Left, 4 * y, Height, m_IsField);
        for (const int Shift : {kCodedCbShift, kCodedCrShift})
            Seen.Coded |= (m_t.pLocal[r.Mb].Coded >> (Shift + r.Row / 4 * 2 + 1) & 1) << (Shift + 2 * y + 1);
    }
}

void PairView::FillCounts(NeighbourCache& n) const
{
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[m_t.ChromaFormat];
    std::memset(n.LeftCounts, h264::kNoCount, sizeof(n.LeftCounts));
    std::memset(n.TopCounts, h264::kNoCount, sizeof(n.TopCounts));
    const auto CountsOf = [&](int32_t Mb) { return m_t.pCounts + ptrdiff_t{Mb} * kCountsPerMb; };
    for (size_t Plane = 0; Plane < 3; ++Plane) {
        const int32_t Columns = Plane == 0 ? 4 : Chroma.MbWidth / 4, Height = Plane == 0 ? 16 : Chroma.MbHeight;
        const int32_t First = kFirstCount[Plane];
        for (int32_t y = 0; y < Height / 4 && m_Around.Left >= 0; ++y) {
            const h264::NeighbourRow r = m_Pairs.At(h264::Column::Left, 4 * y, Height, m_IsField);
            n.LeftCounts[Plane][y] = CountsOf(r.Mb)[First + Columns * (r.Row / 4) + Columns - 1];
        }
        for (int32_t x = 0; x < Columns && m_Around.Top >= 0; ++x)
            n.TopCounts[Plane][x] = CountsOf(m_Around.Top)[First + Columns * (Height / 4 - 1) + x];
    }
}

} // namespace

void FillNeighboursInPair(NeighbourCache& n, const NeighbourTables& t, const h264::PairNeighbours& Pairs, bool IsField)
{
    const PairView View(t, Pairs, IsField);
    View.FillAvailable(n);
    View.FillRecords(n);
    View.FillModes(n);
    for (int32_t List = 0; List < t.Lists; ++List) View.FillMotion(List, n.Motion[List]);
    if (t.pCounts) View.FillCounts(n);
}

} // namespace UMC_H264_ENCODER
