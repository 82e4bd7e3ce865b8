// How an input of a target that reads whole streams is cut into what a client hands over at once.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace fuzz {

// The first byte. Bit 0: samples of MP4 files, each behind its length in two bytes, the configuration record first.
// Else a byte stream, as a whole when bits 1 and 2 are 0, or in pieces of 16 << bits 3 to 5 bytes.
inline bool IsMp4(uint8_t Form) { return (Form & 1) != 0; }

// Calls Take(piece) for each piece as long as it returns true.
template <class F>
void ForEachPiece(uint8_t Form, std::span<const uint8_t> Input, F&& Take)
{
    const size_t Fixed = (Form >> 1 & 3) == 0 ? Input.size() : size_t{16} << (Form >> 3 & 7);
    while (!Input.empty()) {
        size_t Size = Fixed;
        if (IsMp4(Form)) {
            Size = Input.size() < 2 ? 0 : size_t{Input[0]} * 256 + Input[1];
            Input = Input.subspan(std::min<size_t>(2, Input.size()));
        }
        const auto Piece = Input.first(std::min(Size, Input.size()));
        if (!Take(Piece)) return;
        Input = Input.subspan(Piece.size());
    }
}

} // namespace fuzz
