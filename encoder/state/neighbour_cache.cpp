#include "encoder/state/neighbour_cache.h"

#include "Common/h264/intra_modes.h"

#include <cstring>

namespace UMC_H264_ENCODER {

namespace {

// The blocks at the border: of a left macroblock by row, and the first of an upper one.
constexpr int32_t RightOf(int32_t Row) { return 4 * Row + 3; }
constexpr int32_t kLowerRow = 12;

constexpr h264::BlockMotion kNoMotion{{0, 0}, h264::kRefUnavailable};

void CopyLeft(NeighbourCache& n, const NeighbourTables& t, ptrdiff_t Mb)
{
    n.LeftType = t.pGlobal[Mb].Type;
    n.LeftFlags = t.pGlobal[Mb].Flags;
    n.pLeft = &t.pLocal[Mb];
    const ptrdiff_t Blocks = Mb * 16;
    if (n.LeftType == MB_INTRA4X4)
        for (int32_t i = 0; i < 4; ++i) n.LeftModes[i] = static_cast<int8_t>(t.pIntraModes[Blocks + RightOf(i)]);
    else
        std::memset(n.LeftModes, h264::kIntraDcMode, sizeof(n.LeftModes));
    for (int32_t List = 0; List < t.Lists; ++List) {
        NeighbourMotion& m = n.Motion[List];
        for (int32_t i = 0; i < 4; ++i) m.LeftVectors[i] = t.pVectors[List][Blocks + RightOf(i)];
        for (int32_t i = 0; i < 4; ++i) m.LeftRefs[i] = t.pReferences[List][Blocks + RightOf(i)];
        if (!t.pDifferences[List]) continue;
        for (int32_t i = 0; i < 4; ++i) m.LeftDifferences[i] = t.pDifferences[List][Blocks + RightOf(i)];
    }
}

void ClearLeft(NeighbourCache& n, int32_t Lists)
{
    n.LeftType = kNoMacroblock;
    n.LeftFlags = 0;
    n.pLeft = &kAbsentMacroblock;
    std::memset(n.LeftModes, -1, 4);
    for (int32_t List = 0; List < Lists; ++List) {
        NeighbourMotion& m = n.Motion[List];
        std::memset(m.LeftVectors, 0, sizeof(m.LeftVectors));
        std::memset(m.LeftRefs, h264::kRefUnavailable, sizeof(m.LeftRefs));
        std::memset(m.LeftDifferences, 0, sizeof(m.LeftDifferences));
    }
}

void CopyTop(NeighbourCache& n, const NeighbourTables& t, ptrdiff_t Mb)
{
    n.TopType = t.pGlobal[Mb].Type;
    n.TopFlags = t.pGlobal[Mb].Flags;
    n.pTop = &t.pLocal[Mb];
    const ptrdiff_t Blocks = Mb * 16 + kLowerRow;
    std::memcpy(n.TopModes, t.pIntraModes + Blocks, sizeof(n.TopModes));
    for (int32_t List = 0; List < t.Lists; ++List) {
        NeighbourMotion& m = n.Motion[List];
        std::memcpy(m.TopVectors, t.pVectors[List] + Blocks, sizeof(m.TopVectors));
        std::memcpy(m.TopRefs, t.pReferences[List] + Blocks, sizeof(m.TopRefs));
        if (!t.pDifferences[List]) continue;
        std::memcpy(m.TopDifferences, t.pDifferences[List] + Blocks, sizeof(m.TopDifferences));
    }
}

void ClearTop(NeighbourCache& n, int32_t Lists)
{
    n.TopType = kNoMacroblock;
    n.TopFlags = 0;
    n.pTop = &kAbsentMacroblock;
    std::memset(n.TopModes, -1, 4);
    for (int32_t List = 0; List < Lists; ++List) {
        NeighbourMotion& m = n.Motion[List];
        std::memset(m.TopVectors, 0, sizeof(m.TopVectors));
        std::memset(m.TopRefs, h264::kRefUnavailable, sizeof(m.TopRefs));
        std::memset(m.TopDifferences, 0, sizeof(m.TopDifferences));
    }
}

void FillCounts(NeighbourCache& n, const NeighbourTables& t, ptrdiff_t Left, ptrdiff_t Top)
{
    const uint8_t* const pCounts = t.pCounts;
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[t.ChromaFormat];
    std::memset(n.LeftCounts, h264::kNoCount, sizeof(n.LeftCounts));
    std::memset(n.TopCounts, h264::kNoCount, sizeof(n.TopCounts));
    for (size_t Plane = 0; Plane < 3; ++Plane) {
        const int32_t Columns = Plane == 0 ? 4 : Chroma.MbWidth / 4, Rows = Plane == 0 ? 4 : Chroma.MbHeight / 4;
        const ptrdiff_t First = kFirstCount[Plane];
        if (n.Has(kernels::kLeft))
            for (int32_t y = 0; y < Rows; ++y)
                n.LeftCounts[Plane][y] = pCounts[Left + First + Columns * y + Columns - 1];
        if (n.Has(kernels::kTop))
            for (int32_t x = 0; x < Columns; ++x)
                n.TopCounts[Plane][x] = pCounts[Top + First + Columns * (Rows - 1) + x];
    }
}

} // namespace

void FillNeighbours(NeighbourCache& n, const NeighbourTables& t, int32_t Index, int32_t X)
{
    const int32_t w = t.MbWidth, Left = Index - 1, Top = Index - w;
    // A macroblock of the same slice lies at or behind the slice's first one.
    const bool HasLeft = X > 0 && Left >= t.FirstMb, HasTop = Top >= t.FirstMb;
    const bool HasTopRight = X + 1 < w && Top + 1 >= t.FirstMb, HasTopLeft = X > 0 && Top - 1 >= t.FirstMb;
    n.Available = (HasLeft ? kernels::kLeft : 0u) | (HasTop ? kernels::kTop : 0u) |
                  (HasTopRight ? kernels::kTopRight : 0u) | (HasTopLeft ? kernels::kTopLeft : 0u);
    if (HasLeft)
        CopyLeft(n, t, Left);
    else
        ClearLeft(n, t.Lists);
    if (HasTop)
        CopyTop(n, t, Top);
    else
        ClearTop(n, t.Lists);
    for (int32_t List = 0; List < t.Lists; ++List) {
        const auto At = [&](ptrdiff_t Block) {
            return h264::BlockMotion{t.pVectors[List][Block], t.pReferences[List][Block]};
        };
        const ptrdiff_t Above = ptrdiff_t{Top} * 16 + kLowerRow;
        NeighbourMotion& m = n.Motion[List];
        m.TopRight = HasTopRight ? At(Above + 16) : kNoMotion;
        m.TopLeft = HasTopLeft ? At(Above - 16 + 3) : kNoMotion;
        m.pTopRightOfPicture = X + 1 < w && Top >= 0 ? t.pVectors[List] + Above + 16 : nullptr;
    }
    if (t.pCounts) FillCounts(n, t, ptrdiff_t{Left} * kCountsPerMb, ptrdiff_t{Top} * kCountsPerMb);
}

} // namespace UMC_H264_ENCODER
