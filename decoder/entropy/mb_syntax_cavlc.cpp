// Macroblock syntax in Exp-Golomb codes, clauses 7.3.5 and 9.1.
#include "decoder/entropy/mb_syntax.h"

namespace UMC {

namespace {

uint32_t ReadUe(EntropyState& State, uint32_t Max)
{
    const uint32_t Value = State.Bits.GetUE();
    if (Value > Max) throw h264_exception(StatusInvalidParams);
    return Value;
}

} // namespace

bool CavlcSyntax::FieldDecodingFlag(EntropyState& State, const MbState&) { return State.Bits.GetBit() != 0; }
uint32_t CavlcSyntax::MbTypeI(EntropyState& State, const MbState&) { return ReadUe(State, h264::kIntraPcmType); }
uint32_t CavlcSyntax::MbTypeP(EntropyState& State)
{
    return ReadUe(State, h264::kFirstIntraTypeP + h264::kIntraPcmType);
}
uint32_t CavlcSyntax::MbTypeB(EntropyState& State, const MbState&)
{
    return ReadUe(State, h264::kFirstIntraTypeB + h264::kIntraPcmType);
}
uint32_t CavlcSyntax::SubMbTypeP(EntropyState& State) { return ReadUe(State, 3); }
uint32_t CavlcSyntax::SubMbTypeB(EntropyState& State) { return ReadUe(State, 12); }
uint32_t CavlcSyntax::TransformSize8x8Flag(EntropyState& State, const MbState&) { return State.Bits.GetBit(); }

int CavlcSyntax::IntraMode(EntropyState& State)
{
    return State.Bits.GetBit() ? -1 : static_cast<int>(State.Bits.GetBits(3));
}

uint8_t CavlcSyntax::IntraChromaMode(EntropyState& State, const MbState&)
{
    return static_cast<uint8_t>(ReadUe(State, 3));
}

uint8_t CavlcSyntax::CodedBlockPattern(EntropyState& State, const MbState&, bool HasChroma, bool Intra)
{
    const uint32_t CodeNum = ReadUe(State, HasChroma ? 47 : 15);
    return h264::kCodedBlockPattern[HasChroma ? 0 : 1][Intra ? 0 : 1][CodeNum];
}

int CavlcSyntax::DeltaQp(EntropyState& State) { return State.Bits.GetSE(); }

int CavlcSyntax::RefIdx(EntropyState& State, const MbState&, int, int, int Count)
{
    if (Count == 2) return static_cast<int>(State.Bits.GetBit() ^ 1); // te(v) with a range of 0..1
    return static_cast<int>(ReadUe(State, static_cast<uint32_t>(Count - 1)));
}

h264::MotionVector CavlcSyntax::Mvd(EntropyState& State, const MotionCache&, int, uint8_t*)
{
    const auto x = static_cast<int16_t>(State.Bits.GetSE());
    const auto y = static_cast<int16_t>(State.Bits.GetSE());
    return {x, y};
}

} // namespace UMC
