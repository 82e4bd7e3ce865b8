// The parts of a macroblock's syntax that do not depend on the sample type or the chroma format: types, motion and
// intra modes, read through one of the two syntax classes.
#pragma once

#include "decoder/entropy/mb_syntax.h"
#include "decoder/slice/slice_cursor.h"

#include <cstdint>

namespace UMC {

// Points the cursor at macroblock Number of the picture, in column X and row Y, finds its neighbours and clears its
// records.
[[gnu::always_inline]] inline void BeginMacroblock(SliceCursor& Cursor, int32_t Number, int32_t X, int32_t Y)
{
    const SliceView& s = Cursor.Slice;
    MbState& Mb = Cursor.Mb;
    MbGlobalInfo* const pGlobal = s.Records.m_pGlobal;
    const int32_t n = Number + s.Picture.FirstMb, Width = s.Picture.MbWidth;
    const auto Find = [&](bool Inside, int32_t Neighbour) {
        return Inside && pGlobal[Neighbour].SliceId == s.SliceId ? Neighbour : -1;
    };
    Mb.Number = n;
    Mb.X = X;
    Mb.Y = Y;
    Mb.Left = Find(X > 0, n - 1);
    Mb.Top = Find(Y > 0, n - Width);
    Mb.TopRight = Find(Y > 0 && X + 1 < Width, n - Width + 1);
    Mb.TopLeft = Find(Y > 0 && X > 0, n - Width - 1);
    Mb.pLeftGlobal = Mb.Left >= 0 ? pGlobal + Mb.Left : &s.NoGlobal;
    Mb.pTopGlobal = Mb.Top >= 0 ? pGlobal + Mb.Top : &s.NoGlobal;
    Mb.pLeftLocal = Mb.Left >= 0 ? s.Local.m_pLocal + Mb.Left : &s.NoLocal;
    Mb.pTopLocal = Mb.Top >= 0 ? s.Local.m_pLocal + Mb.Top : &s.NoLocal;
    Mb.pGlobal = pGlobal + n;
    Mb.pLocal = s.Local.m_pLocal + n;
    *Mb.pGlobal = MbGlobalInfo{};
    Mb.pGlobal->SliceId = s.SliceId;
    *Mb.pLocal = MbLocalInfo{};
    Mb.pLocal->Qp = static_cast<int8_t>(Cursor.Entropy.QpLuma);
    for (uint32_t& Bits : Cursor.Coeffs.Bits) Bits = 0;
}

// Motion of a skipped macroblock (clauses 8.4.1.1 and 8.4.1.2), with its records.
void SkipMotionP(const SliceView& Slice, const MbState& Mb, MotionState& Motion);
void SkipMotionB(const SliceView& Slice, const MbState& Mb, MotionState& Motion);

// No references in the records of an intra macroblock of a P or B slice.
void ClearMotion(const H264MbInfo& Records, int32_t Number, bool IsBSlice);

// mb_type (0..4 in P, 0..22 in B slices), sub types, references and vectors of an inter macroblock. Returns whether the
// 8x8 transform may be used with it.
template <class Syntax, SliceType kSlice>
bool ReadMotion(const SliceView& Slice, const MbState& Mb, EntropyState& State, MotionState& Motion, uint32_t Type);

// Modes of Intra 4x4, or of Intra 8x8 when the macroblock's flag says so, into Local.m_pIntraModes
// (clauses 8.3.1.1, 8.3.2.1).
template <class Syntax>
void ReadIntraModes(const SliceView& Slice, const MbState& Mb, EntropyState& State);

} // namespace UMC
