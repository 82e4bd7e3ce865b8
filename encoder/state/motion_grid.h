// Motion of one list in and around a macroblock by 4x4 block, as the prediction of its parts' vectors asks for it.
#pragma once

#include "encoder/state/neighbour_cache.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

/// Parts are set in the order in which they are coded: what is not set yet is not available to those before it, which
/// is the availability of clause 6.4.11.7. Columns and rows are of 4x4 blocks, 0..3 in the macroblock.
class MotionGrid
{
public:
    /// Takes what lies around; nothing of the macroblock is known.
    void Begin(const NeighbourMotion& n)
    {
        std::fill_n(m_Refs, kSize, h264::kRefUnavailable);
        std::fill_n(m_Vectors, kSize, MotionVector{0, 0});
        Put(At(-1, -1), n.TopLeft);
        Put(At(4, -1), n.TopRight);
        m_HasLeftCorners = n.HasLeftCorners;
        if (m_HasLeftCorners) {
            Put(At(-2, -1), n.TopLeft);
            for (int i = 0; i < 3; ++i) Put(At(-2, i), n.LeftCorners[i]);
        }
        for (int i = 0; i < 4; ++i) {
            const auto Place = static_cast<size_t>(i);
            Put(At(i, -1), n.Top(Place));
            Put(At(-1, i), n.Left(Place));
        }
    }

    /// Nothing of the macroblock is known again.
    void Forget()
    {
        for (int y = 0; y < 4; ++y) std::fill_n(m_Refs + At(0, y), 4, h264::kRefUnavailable);
    }

    void Set(int x, int y, int Width, int Height, MotionVector v, int8_t Ref)
    {
        for (int Row = y; Row < y + Height; ++Row) {
            std::fill_n(m_Vectors + At(x, Row), Width, v);
            std::fill_n(m_Refs + At(x, Row), Width, Ref);
        }
    }

    /// A, B and C of a part, D in place of a C that is not available (clause 8.4.1.3.2).
    h264::MotionNeighbours Around(int x, int y, int Width) const
    {
        const int C = At(x + Width, y - 1);
        const int D = At(x == 0 && m_HasLeftCorners ? -2 : x - 1, y - 1);
        return {Get(At(x - 1, y)), Get(At(x, y - 1)), Get(m_Refs[C] == h264::kRefUnavailable ? D : C)};
    }

private:
    // Column -2 has what lies above-left of the blocks in the left column, where that is not in column -1.
    static constexpr int kStep = 7, kSize = 5 * kStep;
    static constexpr int At(int x, int y) { return (y + 1) * kStep + x + 2; }
    h264::BlockMotion Get(int Place) const { return {m_Vectors[Place], m_Refs[Place]}; }
    void Put(int Place, h264::BlockMotion m)
    {
        m_Vectors[Place] = m.Mv;
        m_Refs[Place] = static_cast<int8_t>(m.RefIdx);
    }

    MotionVector m_Vectors[kSize];
    int8_t m_Refs[kSize];
    bool m_HasLeftCorners;
};

/// The vector that a part of a macroblock is coded against (clause 8.4.1.3).
/// @param Type  MB_INTER16X8 and MB_INTER8X16 have predictions of their own
inline MotionVector PredictPart(const MotionGrid& Grid, uint8_t Type, int x, int y, int Width, int Ref)
{
    const h264::MotionNeighbours n = Grid.Around(x, y, Width);
    if (Type == MB_INTER16X8) return h264::PredictHalfRows(n, y != 0, Ref);
    if (Type == MB_INTER8X16) return h264::PredictHalfColumns(n, x != 0, Ref);
    return h264::PredictMedian(n, Ref);
}

} // namespace UMC_H264_ENCODER
