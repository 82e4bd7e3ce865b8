// CAVLC residual blocks of H.264 clause 9.2.
#pragma once

#include "Common/h264/h264_tables.h"
#include "decoder/stream/bitstream.h"

#include <bit>
#include <cstdint>

namespace UMC {

// A code whose words have at most three bits behind their first one: an entry for each count of leading zeros and each
// three bits that follow the one. Length 0 marks what is no code.
struct VlcTable {
    struct Entry {
        uint8_t Value;
        uint8_t Length;
    };
    Entry Entries[16 * 8];

    const Entry& Find(uint32_t Window) const // Window: the next 32 bits
    {
        const auto Zeros = static_cast<uint32_t>(std::countl_zero(Window | 0x10000)); // 0..15
        return Entries[Zeros * 8 + (Window << (Zeros + 1) >> 29)];
    }
    void Add(const h264::VlcCode& Code, uint32_t Value);
};

// The tables of clause 9.2 in the form that is looked up; built once, before any thread starts.
struct CavlcTables {
    CavlcTables();
    VlcTable CoeffToken[h264::kNcClasses]; // value: total_coeff * 4 + trailing_ones; kNc8Up is not filled
    uint8_t FixedToken[64];                // nC of 8 and more: by the six bits
    VlcTable TotalZeros4x4[16];
    VlcTable TotalZerosChromaDc420[4];
    VlcTable TotalZerosChromaDc422[8];
    VlcTable RunBefore;             // with more than 6 zeros left
    VlcTable::Entry ShortRun[8][8]; // by zeros left, 7 for all above 6, and three bits; length 0: a longer code
};
extern const CavlcTables g_CavlcTables;

// One block's levels, highest frequency first, and their places in the list of coefficients.
struct CavlcBlock {
    int32_t Level[16];
    uint8_t Position[16];
};

// Reads a block and returns total_coeff. Throws h264_exception on a code that does not exist. Of MaxCoeffs, 16 or 15,
// coefficients; the DC levels of chroma in 4:2:0 and 4:2:2.
int ReadCavlcBlock4x4(H264Bitstream& Bits, int nC, int MaxCoeffs, CavlcBlock& Block);
int ReadCavlcDc420(H264Bitstream& Bits, CavlcBlock& Block);
int ReadCavlcDc422(H264Bitstream& Bits, CavlcBlock& Block);

// The one that nC says: -1 and -2 are those of chroma DC.
inline int ReadCavlcBlock(H264Bitstream& Bits, int nC, int MaxCoeffs, CavlcBlock& Block)
{
    if (nC == -1) return ReadCavlcDc420(Bits, Block);
    if (nC == -2) return ReadCavlcDc422(Bits, Block);
    return ReadCavlcBlock4x4(Bits, nC, MaxCoeffs, Block);
}

} // namespace UMC
