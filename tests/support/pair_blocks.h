// Where blocks lie beside each other in the pairs of an MBAFF frame, for the writers of such macroblocks.
#pragma once

#include <cstddef>
#include <vector>

namespace test {

// A macroblock by number, -1 outside the picture, and one of its rows of 4x4 blocks.
struct BlockRow {
    int Mb, Row;
};

// Clause 6.4.12.2, by the lines that a pair covers: what lies to the left of a row of blocks of macroblock Mb, or with
// row -1 above its first. Rows: of blocks in a macroblock; Fields: the pairs of field macroblocks; Width: in pairs.
inline BlockRow FindInPairs(int Mb, bool IsLeft, int Row, int Rows, int Width, const std::vector<bool>& Fields)
{
    const int Pair = Mb / 2, Height = 4 * Rows, y = Row < 0 ? -1 : 4 * Row;
    int Line = Fields[static_cast<size_t>(Pair)] ? 2 * y + Mb % 2 : y + Mb % 2 * Height;
    const int Other = Pair - (Line < 0 ? Width : 0) - IsLeft;
    if (Other < 0 || (IsLeft && Pair % Width == 0)) return {-1, 0};
    if (Line < 0) Line += 2 * Height;
    if (Fields[static_cast<size_t>(Other)]) return {2 * Other + Line % 2, Line / 8};
    return {2 * Other + Line / Height, Line % Height / 4};
}

} // namespace test
