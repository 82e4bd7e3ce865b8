// Residual blocks in variable length codes (clause 9.2), and the bits they are written to: a value, which a trial
// copies.
#pragma once

#include "encoder/write/bit_writer.h"
#include "encoder/write/block_levels.h"

namespace UMC_H264_ENCODER {

template <class Output>
class BasicCavlcCoder
{
public:
    BasicCavlcCoder() = default;
    /// Goes on from another coder's state on an output of its own.
    template <class Other>
    explicit BasicCavlcCoder(const BasicCavlcCoder<Other>& From) : Bits(From.Bits.BitOffset()), skip_run(From.skip_run)
    {
    }

    /// mb_skip_run, with which a run of skipped macroblocks ends (clause 7.3.4).
    void PutSkipRun()
    {
        Bits.PutUE(skip_run);
        skip_run = 0;
    }

    /// residual_block_cavlc of clause 7.3.5.3.2.
    /// @param pBlock     null for a block without levels
    /// @param nC         0..16, or -1 for chroma DC of 4:2:0, -2 of 4:2:2
    /// @param Positions  coefficients of the block's list: 16, 15, 8 or 4
    template <class LevelType>
    void Block(const BlockLevels<LevelType>* pBlock, int32_t nC, uint32_t Positions);

    BasicBitWriter<Output> Bits;
    uint32_t skip_run = 0; // macroblocks skipped and not written yet

private:
    template <class LevelType>
    void Levels(const BlockLevels<LevelType>& b, uint32_t TrailingOnes);
    void Level(uint32_t Code, uint32_t SuffixLength);
    template <class LevelType>
    void Runs(const BlockLevels<LevelType>& b, uint32_t Positions);
};

using CavlcCoder = BasicCavlcCoder<StoredBits>;
using CavlcCounter = BasicCavlcCoder<CountedBits>;

} // namespace UMC_H264_ENCODER
