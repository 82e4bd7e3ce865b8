// Which samples around a macroblock intra prediction may read, as sets of kernels::IntraAvailable.
#pragma once

#include "decoder/slice/slice_cursor.h"
#include "kernels/intra/intra_neighbours.h"

namespace UMC {

// Those of the macroblocks beside the first row and above: with constrained_intra_pred_flag only of intra ones.
unsigned FindIntraNeighbours(const SliceView& Slice, const MbState& Mb);

template <bool kMbaff>
class IntraNeighbours
{
public:
    IntraNeighbours(const SliceView& Slice, const MbState& Mb) : m_Around(FindIntraNeighbours(Slice, Mb)) {}

    unsigned OfMacroblock() const { return m_Around; }
    // Of the block in column x and row y of Size x Size.
    unsigned OfBlock(int x, int y, int Size) const { return kernels::BlockNeighbours(m_Around, x, y, Size); }

private:
    unsigned m_Around;
};

// In an MBAFF frame two macroblocks may lie to the left, of which one may not be readable.
template <>
class IntraNeighbours<true>
{
public:
    IntraNeighbours(const SliceView& Slice, const MbState& Mb);

    // The left ones are there when all of them are.
    unsigned OfMacroblock() const { return m_Around; }
    unsigned OfBlock(int x, int y, int Size) const
    {
        const unsigned Available = kernels::BlockNeighbours(m_Around, x, y, Size);
        if (x > 0 || !m_LeftsDiffer) return Available;
        const unsigned Beside = y > 0 ? kernels::kLeft | kernels::kTopLeft : unsigned{kernels::kLeft};
        return (Available & ~Beside) | (m_Left[y * 4 / Size] & Beside);
    }
    // Beside the upper or the lower half of the rows alone.
    bool HalvesDiffer() const { return m_LeftsDiffer && ((m_Left[0] ^ m_Left[2]) & kernels::kLeft) != 0; }
    unsigned OfHalf(int Half) const { return (m_Around & ~kernels::kLeft) | (m_Left[Half * 2] & kernels::kLeft); }

private:
    unsigned m_Around;
    bool m_LeftsDiffer = false;
    unsigned m_Left[4] = {}; // kLeft and kTopLeft of the first blocks of the rows of 4x4 blocks
};

} // namespace UMC
