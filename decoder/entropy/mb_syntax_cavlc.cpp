// Macroblock syntax in Exp-Golomb codes, clauses 7.3.5 and 9.1.
#include "decoder/entropy/mb_syntax.h"

namespace UMC {

namespace {

uint32_t ReadUe(H264SegmentDecoder& d, uint32_t Max)
{
    const uint32_t Value = d.m_pBitstream->GetUE();
    if (Value > Max) throw h264_exception(StatusInvalidParams);
    return Value;
}

} // namespace

uint32_t CavlcSyntax::MbTypeI(H264SegmentDecoder& d) { return ReadUe(d, kIntraPcmType); }
uint32_t CavlcSyntax::MbTypeP(H264SegmentDecoder& d) { return ReadUe(d, kFirstIntraTypeP + kIntraPcmType); }
uint32_t CavlcSyntax::MbTypeB(H264SegmentDecoder& d) { return ReadUe(d, kFirstIntraTypeB + kIntraPcmType); }
uint32_t CavlcSyntax::SubMbTypeP(H264SegmentDecoder& d) { return ReadUe(d, 3); }
uint32_t CavlcSyntax::SubMbTypeB(H264SegmentDecoder& d) { return ReadUe(d, 12); }
uint32_t CavlcSyntax::TransformSize8x8Flag(H264SegmentDecoder& d) { return d.m_pBitstream->GetBit(); }

int CavlcSyntax::IntraMode(H264SegmentDecoder& d)
{
    return d.m_pBitstream->GetBit() ? -1 : static_cast<int>(d.m_pBitstream->GetBits(3));
}

uint8_t CavlcSyntax::IntraChromaMode(H264SegmentDecoder& d) { return static_cast<uint8_t>(ReadUe(d, 3)); }

uint8_t CavlcSyntax::CodedBlockPattern(H264SegmentDecoder& d, bool Intra)
{
    const bool HasChroma = d.m_pSeqParamSet->chroma_format_idc == 1 || d.m_pSeqParamSet->chroma_format_idc == 2;
    const uint32_t CodeNum = ReadUe(d, HasChroma ? 47 : 15);
    return h264::kCodedBlockPattern[HasChroma ? 0 : 1][Intra ? 0 : 1][CodeNum];
}

int CavlcSyntax::DeltaQp(H264SegmentDecoder& d) { return d.m_pBitstream->GetSE(); }

int CavlcSyntax::RefIdx(H264SegmentDecoder& d, int, int, int Count)
{
    if (Count == 2) return static_cast<int>(d.m_pBitstream->GetBit() ^ 1); // te(v) with a range of 0..1
    return static_cast<int>(ReadUe(d, static_cast<uint32_t>(Count - 1)));
}

h264::MotionVector CavlcSyntax::Mvd(H264SegmentDecoder& d, int, int, uint8_t*)
{
    const auto x = static_cast<int16_t>(d.m_pBitstream->GetSE());
    const auto y = static_cast<int16_t>(d.m_pBitstream->GetSE());
    return {x, y};
}

} // namespace UMC
