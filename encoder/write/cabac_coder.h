// The contexts of a slice and the arithmetic coder on them: a value, which a trial copies.
#pragma once

#include "Common/h264/slice_type.h"
#include "encoder/write/arithmetic_coder.h"
#include "encoder/write/block_levels.h"

#include <algorithm>
#include <cstdlib>

namespace UMC_H264_ENCODER {

template <class Output>
class BasicCabacCoder
{
public:
    BasicCabacCoder() = default;
    /// Goes on from another coder's state on an output of its own.
    template <class Other>
    explicit BasicCabacCoder(const BasicCabacCoder<Other>& From)
        : Contexts(From.Contexts), Arithmetic(From.Arithmetic), LastQpDelta(From.LastQpDelta)
    {
    }

    /// Contexts of a slice (clause 9.3.1), and the coder at its start.
    void StartSlice(int32_t SliceType, int32_t CabacInitIdc, int32_t SliceQp, const Output& Out)
    {
        const size_t Row = h264::ContextInitRow(SliceType == h264::SLICE_I, static_cast<uint32_t>(CabacInitIdc));
        h264::InitCabacContexts(Contexts, h264::kContextInit[Row], SliceQp);
        Arithmetic.Start(Out);
        LastQpDelta = 0;
    }

    void Bin(uint32_t Context, uint32_t Value) { Arithmetic.EncodeBin(Contexts[Context], Value); }
    /// The levels of a block that has some, behind its coded_block_flag (clause 7.3.5.3.3).
    /// @param Positions  coefficients of the block's list
    /// @param IsField    the macroblock is one of a field, whose maps have contexts of their own
    template <class LevelType>
    void Levels(h264::BlockCat Cat, const BlockLevels<LevelType>& Block, uint32_t Positions, bool IsField);
    /// Chroma DC of 4:2:2, whose eight positions share the contexts of 4:2:0 (NumC8x8 is 2).
    template <class LevelType>
    void ChromaDc422Levels(const BlockLevels<LevelType>& Block, bool IsField);
    /// An 8x8 block, whose 64 positions share contexts (Table 9-43).
    template <class LevelType>
    void Levels8x8(const BlockLevels8x8<LevelType>& Block, bool IsField);

    h264::CabacContexts Contexts{};
    BasicArithmeticCoder<Output> Arithmetic;
    int32_t LastQpDelta = 0; // mb_qp_delta of the macroblock before, for its context

private:
    // ContextOf, LastOf: ctxIdxInc of significant_coeff_flag and last_significant_coeff_flag by position.
    template <class Block, class ContextOf, class LastOf>
    void ListedLevels(h264::BlockCat Cat, const Block& Listed, uint32_t Positions, bool IsField, ContextOf Context,
                      LastOf Last);
};

/// The rest of a value from its unary prefix on, in Exp-Golomb code of order k (clause 9.3.2.3), all bypass bins.
template <class Output>
inline void EncodeEscape(BasicArithmeticCoder<Output>& Arithmetic, uint32_t Rest, uint32_t k)
{
    uint32_t Prefix = 0; // ones
    int Ones = 0;
    for (; Rest >= 1u << k; ++Ones) {
        Prefix = Prefix << 1 | 1;
        Rest -= 1u << k++;
    }
    Arithmetic.EncodeBypassBits(Prefix << 1, Ones + 1);
    Arithmetic.EncodeBypassBits(Rest, static_cast<int>(k));
}

using CabacCoder = BasicCabacCoder<StoredBytes>;
using CabacCounter = BasicCabacCoder<CountedBytes>;

/// A coder as it was, for the trials that write where it writes.
class SavedCabacCoder
{
public:
    SavedCabacCoder() = default;
    explicit SavedCabacCoder(const CabacCoder& Coder) : m_Coder(Coder), m_Tail(Coder.Arithmetic.Out().Keep()) {}
    void PutBack(CabacCoder& Coder) const
    {
        Coder = m_Coder;
        StoredBytes::PutBack(m_Tail);
    }

private:
    CabacCoder m_Coder;
    StoredBytes::Tail m_Tail{};
};

} // namespace UMC_H264_ENCODER
