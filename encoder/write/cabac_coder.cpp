#include "encoder/write/cabac_coder.h"

namespace UMC_H264_ENCODER {

template <class Output>
template <class LevelType>
void BasicCabacCoder<Output>::Levels(h264::BlockCat Cat, const BlockLevels<LevelType>& Block, uint32_t Positions,
                                     bool IsField)
{
    // Chroma DC of 4:2:0 has three positions of its own, so its context is the position as well (NumC8x8 is 1).
    const auto Context = [](uint32_t Position) { return Position; };
    ListedLevels(Cat, Block, Positions, IsField, Context, Context);
}

template <class Output>
template <class LevelType>
void BasicCabacCoder<Output>::ChromaDc422Levels(const BlockLevels<LevelType>& Block, bool IsField)
{
    const auto Context = [](uint32_t Position) { return std::min(Position / 2, 2u); };
    ListedLevels(h264::CAT_CHROMA_DC, Block, 8, IsField, Context, Context);
}

template <class Output>
template <class LevelType>
void BasicCabacCoder<Output>::Levels8x8(const BlockLevels8x8<LevelType>& Block, bool IsField)
{
    const uint8_t* const pContext = h264::kSignificantCtx8x8[IsField];
    ListedLevels(
        h264::CAT_LUMA_8x8, Block, 64, IsField, [pContext](uint32_t Position) { return uint32_t{pContext[Position]}; },
        [](uint32_t Position) { return uint32_t{h264::kLastCtx8x8[Position]}; });
}

template <class Output>
template <class Block, class ContextOf, class LastOf>
[[gnu::always_inline]] inline void BasicCabacCoder<Output>::ListedLevels(h264::BlockCat Cat, const Block& Listed,
                                                                         uint32_t Positions, bool IsField,
                                                                         ContextOf Context, LastOf Last)
{
    const h264::BlockCatContexts& Ctx = h264::kBlockCatContexts[Cat];
    // A copy that nothing else can point to stays in registers.
    BasicArithmeticCoder<Output> Coder = Arithmetic;
    h264::CabacContext* const pSignificant = Contexts.data() + Ctx.Significant[IsField];
    h264::CabacContext* const pLast = Contexts.data() + Ctx.Last[IsField];
    const uint32_t Count = Listed.Count;
    uint32_t Position = 0;
    for (uint32_t i = 0; i < Count; ++i, ++Position) {
        const uint32_t Next = Listed.Position[i];
        for (; Position < Next; ++Position) Coder.EncodeBin(pSignificant[Context(Position)], 0);
        if (Position == Positions - 1) break; // the last one needs no flag
        Coder.EncodeBin(pSignificant[Context(Position)], 1);
        Coder.EncodeBin(pLast[Last(Position)], i + 1 == Count);
    }
    h264::CabacContext* const pAbs = Contexts.data() + Ctx.AbsLevel;
    const uint32_t GreaterMax = Cat == h264::CAT_CHROMA_DC ? 3 : 4;
    uint32_t Ones = 0, Greater = 0;
    for (uint32_t i = Count; i-- > 0;) {
        const int32_t Level = Listed.Level[i];
        const auto Minus1 = static_cast<uint32_t>(std::abs(Level)) - 1;
        h264::CabacContext& First = pAbs[Greater ? 0 : std::min(4u, 1 + Ones)];
        if (Minus1 == 0) {
            Coder.EncodeBin(First, 0);
            ++Ones;
        } else {
            constexpr uint32_t kPrefixMax = 14;
            Coder.EncodeBin(First, 1);
            h264::CabacContext& Other = pAbs[5 + std::min(GreaterMax, Greater)];
            for (uint32_t b = 1; b < std::min(Minus1, kPrefixMax); ++b) Coder.EncodeBin(Other, 1);
            if (Minus1 < kPrefixMax)
                Coder.EncodeBin(Other, 0);
            else
                EncodeEscape(Coder, Minus1 - kPrefixMax, 0);
            ++Greater;
        }
        Coder.EncodeBypass(Level < 0);
    }
    Arithmetic = Coder;
}

#define INSTANTIATE_LEVELS(Coder, LevelType)                                                                           \
    template void Coder::Levels(h264::BlockCat, const BlockLevels<LevelType>&, uint32_t, bool);                        \
    template void Coder::ChromaDc422Levels(const BlockLevels<LevelType>&, bool);                                       \
    template void Coder::Levels8x8(const BlockLevels8x8<LevelType>&, bool);
INSTANTIATE_LEVELS(CabacCoder, int16_t)
INSTANTIATE_LEVELS(CabacCounter, int16_t)
INSTANTIATE_LEVELS(CabacCoder, int32_t)
INSTANTIATE_LEVELS(CabacCounter, int32_t)
#undef INSTANTIATE_LEVELS

} // namespace UMC_H264_ENCODER
