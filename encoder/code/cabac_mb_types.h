// mb_type and sub_mb_type as bins (clause 9.3.2.5) on the contexts of clause 9.3.3.1.2.
#pragma once

#include "Common/h264/mb_type.h"
#include "encoder/write/cabac_coder.h"

#include <array>
#include <cstdint>

namespace UMC_H264_ENCODER {

// A string of bins, the first of them the highest of Count bits.
struct BinString {
    uint8_t Bins, Count;
};

// B types behind their first bin of 1; 0 and those of intra macroblocks are not in it.
inline constexpr std::array<BinString, 23> kMbTypeBinsB{{{},
                                                         {0b00, 2},
                                                         {0b01, 2},
                                                         {0b10000, 5},
                                                         {0b10001, 5},
                                                         {0b10010, 5},
                                                         {0b10011, 5},
                                                         {0b10100, 5},
                                                         {0b10101, 5},
                                                         {0b10110, 5},
                                                         {0b10111, 5},
                                                         {0b11110, 5},
                                                         {0b110000, 6},
                                                         {0b110001, 6},
                                                         {0b110010, 6},
                                                         {0b110011, 6},
                                                         {0b110100, 6},
                                                         {0b110101, 6},
                                                         {0b110110, 6},
                                                         {0b110111, 6},
                                                         {0b111000, 6},
                                                         {0b111001, 6},
                                                         {0b11111, 5}}};
inline constexpr BinString kIntraPrefixB{0b11101, 5};
inline constexpr std::array<BinString, 13> kSubMbTypeBinsB{{{0b0, 1},
                                                            {0b100, 3},
                                                            {0b101, 3},
                                                            {0b11000, 5},
                                                            {0b11001, 5},
                                                            {0b11010, 5},
                                                            {0b11011, 5},
                                                            {0b111000, 6},
                                                            {0b111001, 6},
                                                            {0b111010, 6},
                                                            {0b111011, 6},
                                                            {0b11110, 5},
                                                            {0b11111, 5}}};

template <class Output>
class CabacMbTypes
{
public:
    explicit CabacMbTypes(BasicCabacCoder<Output>& Coder) : m_Coder(Coder) {}

    /// @param Neighbours  left and above that are there and not of Intra NxN: 0..2
    void I(uint32_t Type, uint32_t Neighbours)
    {
        Bin(Offset::kMbTypeI + Neighbours, Type != h264::kIntraNxNType);
        if (Type != h264::kIntraNxNType) IntraRest(Offset::kMbTypeI + 3, 1, Type);
    }
    void P(uint32_t Type)
    {
        if (Type == 0) { // P_L0_16x16
            for (uint32_t i = 0; i < 3; ++i) Bin(Offset::kMbTypeP + i, 0);
            return;
        }
        if (Type >= h264::kFirstIntraTypeP) {
            Bin(Offset::kMbTypeP, 1);
            return IntraSuffix(Offset::kMbTypeIntraInP, Type - h264::kFirstIntraTypeP);
        }
        const bool IsHalves = Type < 3; // P_L0_L0_16x8, P_L0_L0_8x16
        Bin(Offset::kMbTypeP, 0);
        Bin(Offset::kMbTypeP + 1, IsHalves);
        Bin(Offset::kMbTypeP + (IsHalves ? 3 : 2), Type != 2);
    }
    /// @param Neighbours  left and above that are there and neither B_Skip nor B_Direct_16x16: 0..2
    [[gnu::noinline]] void B(uint32_t Type, uint32_t Neighbours)
    {
        Bin(Offset::kMbTypeB + Neighbours, Type != 0);
        if (Type == 0) return;
        const bool IsIntraMb = Type >= h264::kFirstIntraTypeB;
        const BinString s = IsIntraMb ? kIntraPrefixB : kMbTypeBinsB[Type];
        uint32_t Context = Offset::kMbTypeB + 3;
        for (int32_t i = s.Count; i-- > 0;) {
            const uint32_t b = s.Bins >> i & 1;
            Bin(Context, b);
            Context = Offset::kMbTypeB + (i + 1 == s.Count && b ? 4 : 5); // the third bin's asks what the second is
        }
        if (IsIntraMb) IntraSuffix(Offset::kMbTypeIntraInB, Type - h264::kFirstIntraTypeB);
    }

    [[gnu::noinline]] void SubP(uint32_t Type)
    {
        Bin(Offset::kSubMbTypeP, Type == 0);
        if (Type == 0) return;
        Bin(Offset::kSubMbTypeP + 1, Type != 1);
        if (Type != 1) Bin(Offset::kSubMbTypeP + 2, Type == 2);
    }
    [[gnu::noinline]] void SubB(uint32_t Type)
    {
        const BinString s = kSubMbTypeBinsB[Type];
        uint32_t Context = Offset::kSubMbTypeB;
        for (int32_t i = s.Count; i-- > 0;) {
            const int32_t Index = s.Count - 1 - i;
            const uint32_t b = s.Bins >> i & 1;
            Bin(Context, b);
            Context = Offset::kSubMbTypeB + (Index == 0 ? 1 : Index == 1 && b ? 2 : 3);
        }
    }

private:
    using Offset = h264::CtxIdxOffset;

    void Bin(uint32_t Context, uint32_t Value) { m_Coder.Bin(Context, Value); }
    // Type: of Table 7-11.
    void IntraSuffix(uint32_t First, uint32_t Type)
    {
        Bin(First, Type != h264::kIntraNxNType);
        if (Type != h264::kIntraNxNType) IntraRest(First + 1, 0, Type);
    }
    // Of Intra 16x16 and I_PCM, behind the first bin. Step: contexts advance by one in I slices only.
    void IntraRest(uint32_t First, uint32_t Step, uint32_t Type)
    {
        m_Coder.Arithmetic.EncodeTerminate(Type == h264::kIntraPcmType);
        if (Type == h264::kIntraPcmType) return;
        Type -= h264::kFirstIntra16x16Type;
        const uint32_t Chroma = Type / 4 % 3;
        Bin(First, Type >= 12);
        Bin(First + 1, Chroma != 0);
        if (Chroma != 0) Bin(First + 1 + Step, Chroma >> 1);
        Bin(First + 2 + Step, Type >> 1 & 1);
        Bin(First + 2 + 2 * Step, Type & 1);
    }

    BasicCabacCoder<Output>& m_Coder;
};

} // namespace UMC_H264_ENCODER
