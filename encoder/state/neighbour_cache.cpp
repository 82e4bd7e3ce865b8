#include "encoder/state/neighbour_cache.h"

#include "Common/h264/intra_modes.h"

#include <cstring>

namespace UMC_H264_ENCODER {

namespace {

constexpr LocalMacroblock kAbsent = [] {
    LocalMacroblock m{};
    m.Pattern = 15;
    return m;
}();

// The blocks at the border: of a left macroblock by row, and the first of an upper one.
constexpr int32_t RightOf(int32_t Row) { return 4 * Row + 3; }
constexpr int32_t kLowerRow = 12;

constexpr h264::BlockMotion kNoMotion{{0, 0}, h264::kRefUnavailable};

void CopyLeft(NeighbourCache& n, const NeighbourTables& t, ptrdiff_t Mb)
{
    n.LeftType = t.pGlobal[Mb].Type;
    n.pLeft = &t.pLocal[Mb];
    const ptrdiff_t Blocks = Mb * 16;
    if (n.LeftType == MB_INTRA4X4)
        for (int32_t i = 0; i < 4; ++i) n.LeftModes[i] = static_cast<int8_t>(t.pIntraModes[Blocks + RightOf(i)]);
    else
        std::memset(n.LeftModes, h264::kIntraDcMode, sizeof(n.LeftModes));
    for (int32_t List = 0; List < t.Lists; ++List) {
        NeighbourCache::Motion& m = n.Motions[List];
        for (int32_t i = 0; i < 4; ++i) m.LeftVectors[i] = t.pVectors[List][Blocks + RightOf(i)];
        for (int32_t i = 0; i < 4; ++i) m.LeftRefs[i] = t.pReferences[List][Blocks + RightOf(i)];
        if (!t.pDifferences[List]) continue;
        for (int32_t i = 0; i < 4; ++i) m.LeftDifferences[i] = t.pDifferences[List][Blocks + RightOf(i)];
    }
}

void ClearLeft(NeighbourCache& n, const NeighbourTables& t)
{
    n.LeftType = kNoMacroblock;
    n.pLeft = &kAbsent;
    std::memset(n.LeftModes, -1, 4);
    for (int32_t List = 0; List < t.Lists; ++List) {
        NeighbourCache::Motion& m = n.Motions[List];
        std::memset(m.LeftVectors, 0, sizeof(m.LeftVectors));
        std::memset(m.LeftRefs, h264::kRefUnavailable, sizeof(m.LeftRefs));
        std::memset(m.LeftDifferences, 0, sizeof(m.LeftDifferences));
    }
}

void CopyTop(NeighbourCache& n, const NeighbourTables& t, ptrdiff_t Mb)
{
    n.TopType = t.pGlobal[Mb].Type;
    n.pTop = &t.pLocal[Mb];
    const ptrdiff_t Blocks = Mb * 16 + kLowerRow;
    std::memcpy(n.TopModes, t.pIntraModes + Blocks, sizeof(n.TopModes));
    for (int32_t List = 0; List < t.Lists; ++List) {
        NeighbourCache::Motion& m = n.Motions[List];
        std::memcpy(m.TopVectors, t.pVectors[List] + Blocks, sizeof(m.TopVectors));
        std::memcpy(m.TopRefs, t.pReferences[List] + Blocks, sizeof(m.TopRefs));
        if (t.pDifferences[List])
            std::memcpy(m.TopDifferences, t.pDifferences[List] + Blocks, sizeof(m.TopDifferences));
    }
}

void ClearTop(NeighbourCache& n, const NeighbourTables& t)
{
    n.TopType = kNoMacroblock;
    n.pTop = &kAbsent;
    std::memset(n.TopModes, -1, 4);
    for (int32_t List = 0; List < t.Lists; ++List) {
        NeighbourCache::Motion& m = n.Motions[List];
        std::memset(m.TopVectors, 0, sizeof(m.TopVectors));
        std::memset(m.TopRefs, h264::kRefUnavailable, sizeof(m.TopRefs));
        std::memset(m.TopDifferences, 0, sizeof(m.TopDifferences));
    }
}

void FillCounts(NeighbourCache& n, const uint8_t* pCounts, ptrdiff_t Left, ptrdiff_t Top)
{
    std::memset(n.LeftCounts, h264::kNoCount, sizeof(n.LeftCounts));
    std::memset(n.TopCounts, h264::kNoCount, sizeof(n.TopCounts));
    for (size_t Plane = 0; Plane < 3; ++Plane) {
        const int32_t Side = Plane == 0 ? 4 : 2, First = kFirstCount[Plane];
        for (int32_t i = 0; i < Side; ++i) {
            if (n.Has(kernels::kLeft)) n.LeftCounts[Plane][i] = pCounts[Left + First + Side * i + Side - 1];
            if (n.Has(kernels::kTop)) n.TopCounts[Plane][i] = pCounts[Top + First + Side * (Side - 1) + i];
        }
    }
}

} // namespace

void FillNeighbours(NeighbourCache& n, const NeighbourTables& t, int32_t Index, int32_t X)
{
    const int32_t w = t.MbWidth, Left = Index - 1, Top = Index - w;
    // A macroblock of the same slice lies at or behind the slice's first one.
    const bool bLeft = X > 0 && Left >= t.FirstMb, bTop = Top >= t.FirstMb;
    const bool bTopRight = X + 1 < w && Top + 1 >= t.FirstMb, bTopLeft = X > 0 && Top - 1 >= t.FirstMb;
    n.Available = (bLeft ? kernels::kLeft : 0u) | (bTop ? kernels::kTop : 0u) | (bTopRight ? kernels::kTopRight : 0u) |
                  (bTopLeft ? kernels::kTopLeft : 0u);
    if (bLeft)
        CopyLeft(n, t, Left);
    else
        ClearLeft(n, t);
    if (bTop)
        CopyTop(n, t, Top);
    else
        ClearTop(n, t);
    for (int32_t List = 0; List < t.Lists; ++List) {
        const auto At = [&t, List](ptrdiff_t Block) {
            return h264::BlockMotion{t.pVectors[List][Block], t.pReferences[List][Block]};
        };
        const ptrdiff_t Above = ptrdiff_t{Top} * 16 + kLowerRow;
        n.Motions[List].TopRight = bTopRight ? At(Above + 16) : kNoMotion;
        n.Motions[List].TopLeft = bTopLeft ? At(Above - 16 + 3) : kNoMotion;
    }
    if (t.pCounts) FillCounts(n, t.pCounts, ptrdiff_t{Left} * kCountsPerMb, ptrdiff_t{Top} * kCountsPerMb);
}

} // namespace UMC_H264_ENCODER
