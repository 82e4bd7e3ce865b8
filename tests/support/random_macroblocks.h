// Macroblocks of every inter type at random, for streams that are compared with another decoder's pictures.
#pragma once

#include "tests/support/h264_macroblock_writer.h"

#include <random>

namespace test {

// What the macroblocks of a slice may be.
struct MacroblockMix {
    int skip = 1, direct = 1, inter = 6, intra = 1; // parts of their sum; direct is B_Direct_16x16 in B slices
    bool residual = true;
    int max_mvd = 24; // quarter samples
};

class RandomMacroblocks
{
public:
    explicit RandomMacroblocks(uint32_t Seed) : m_Random(Seed) {}

    // A whole picture of I_PCM macroblocks: a slope with noise, another one at each call.
    Bytes Intra(const SeqParamSet& Seq, const PicParamSet& Pic, const Slice& Slice);
    // Count macroblocks of a P or B slice.
    Bytes Inter(const SeqParamSet& Seq, const PicParamSet& Pic, const Slice& Slice, int Count,
                const MacroblockMix& Mix = {});

    // The next macroblock of such a slice.
    Macroblock Any(const SeqParamSet& Seq, const PicParamSet& Pic, const Slice& Slice, const MacroblockMix& Mix);

    int Upto(int Limit) { return static_cast<int>(m_Random() % static_cast<uint32_t>(Limit + 1)); } // 0..Limit
    int Within(int Limit) { return Upto(2 * Limit) - Limit; }

private:
    void AddMotion(Macroblock& Mb, const PicParamSet& Pic, const Slice& Slice, const MacroblockMix& Mix);
    void AddResidual(Macroblock& Mb, const SeqParamSet& Seq, const PicParamSet& Pic, bool IsB);
    void AddLevels(std::array<int, 16>& Block, int First, int End);

    std::mt19937 m_Random;
    int m_Qp = 26;
};

} // namespace test
