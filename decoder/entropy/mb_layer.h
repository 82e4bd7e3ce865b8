// The parts of a macroblock's syntax that do not depend on the sample type or the chroma format: types, motion and
// intra modes, read through one of the two syntax classes.
#pragma once

#include "decoder/entropy/mb_syntax.h"
#include "decoder/jobs/segment_decoder.h"

#include <cstdint>

namespace UMC {

inline constexpr int kQpBias = 64; // added to QPY to index H264SegmentDecoder::m_ChromaQp

// Points m_Mb at macroblock Number of the picture, in column X and row Y, finds its neighbours and clears its records.
[[gnu::always_inline]] inline void BeginMacroblock(H264SegmentDecoder& Decoder, int32_t Number, int32_t X, int32_t Y)
{
    MbState& Mb = Decoder.m_Mb;
    MbGlobalInfo* const pGlobal = Decoder.m_MbInfo.m_pGlobal;
    const auto SliceId = static_cast<uint16_t>(Decoder.m_pSlice->m_SliceNumber);
    const int32_t n = Number + Decoder.m_FieldOffset;
    const auto Find = [&](bool Inside, int32_t Neighbour) {
        return Inside && pGlobal[Neighbour].SliceId == SliceId ? Neighbour : -1;
    };
    Mb.m_Mb = n;
    Mb.m_X = X;
    Mb.m_Y = Y;
    Mb.m_Left = Find(X > 0, n - 1);
    Mb.m_Top = Find(Y > 0, n - Decoder.m_MbWidth);
    Mb.m_TopRight = Find(Y > 0 && X + 1 < Decoder.m_MbWidth, n - Decoder.m_MbWidth + 1);
    Mb.m_TopLeft = Find(Y > 0 && X > 0, n - Decoder.m_MbWidth - 1);
    Mb.m_pLeftGlobal = Mb.m_Left >= 0 ? pGlobal + Mb.m_Left : &Decoder.m_NoGlobal;
    Mb.m_pTopGlobal = Mb.m_Top >= 0 ? pGlobal + Mb.m_Top : &Decoder.m_NoGlobal;
    Mb.m_pLeftLocal = Mb.m_Left >= 0 ? Decoder.m_Local.m_pLocal + Mb.m_Left : &Decoder.m_NoLocal;
    Mb.m_pTopLocal = Mb.m_Top >= 0 ? Decoder.m_Local.m_pLocal + Mb.m_Top : &Decoder.m_NoLocal;
    Mb.m_pGlobal = pGlobal + n;
    Mb.m_pLocal = Decoder.m_Local.m_pLocal + n;
    *Mb.m_pGlobal = MbGlobalInfo{};
    Mb.m_pGlobal->SliceId = SliceId;
    *Mb.m_pLocal = MbLocalInfo{};
    Mb.m_pLocal->Qp = static_cast<int8_t>(Decoder.m_QpLuma);
    Decoder.m_ResidualBits[0] = Decoder.m_ResidualBits[1] = Decoder.m_ResidualBits[2] = 0;
}

// Adds mb_qp_delta to the running QP (equation 7-37). Throws h264_exception when it is out of range.
void SetQp(H264SegmentDecoder& Decoder, int Delta);

// Motion of a skipped macroblock (clauses 8.4.1.1 and 8.4.1.2), with its records.
void SkipMotionP(H264SegmentDecoder& Decoder);
void SkipMotionB(H264SegmentDecoder& Decoder);

// No references in the records of an intra macroblock of a P or B slice.
void ClearMotion(H264SegmentDecoder& Decoder, bool IsBSlice);

// mb_type (0..4 in P, 0..22 in B slices), sub types, references and vectors of an inter macroblock. Returns whether the
// 8x8 transform may be used with it.
template <class Syntax, SliceType kSlice>
bool ReadMotion(H264SegmentDecoder& Decoder, uint32_t Type);

// Modes of Intra 4x4, or of Intra 8x8 when the macroblock's flag says so, into m_pIntraModes
// (clauses 8.3.1.1, 8.3.2.1).
template <class Syntax>
void ReadIntraModes(H264SegmentDecoder& Decoder);

} // namespace UMC
