// The parts of a macroblock's syntax that do not depend on the sample type or the chroma format: types, motion and
// intra modes, read through one of the two syntax classes.
#pragma once

#include "decoder/entropy/mb_syntax.h"
#include "decoder/slice/slice_cursor.h"

#include <cstdint>

namespace UMC {

// Motion of a skipped macroblock (clauses 8.4.1.1 and 8.4.1.2), with its records.
template <bool kMbaff>
void SkipMotionP(const SliceView& Slice, const MbState& Mb, MotionState& Motion);
template <bool kMbaff>
void SkipMotionB(const SliceView& Slice, const MbState& Mb, MotionState& Motion);

// No references in the records of an intra macroblock of a P or B slice.
void ClearMotion(const H264MbInfo& Records, int32_t Number, bool IsBSlice);

// mb_type (0..4 in P, 0..22 in B slices), sub types, references and vectors of an inter macroblock. Returns whether the
// 8x8 transform may be used with it.
template <class Syntax, SliceType kSlice>
bool ReadMotion(const SliceView& Slice, const MbState& Mb, EntropyState& State, MotionState& Motion, uint32_t Type);

// Modes of Intra 4x4, or of Intra 8x8 when the macroblock's flag says so, into Local.pIntraModes
// (clauses 8.3.1.1, 8.3.2.1).
template <class Syntax>
void ReadIntraModes(const SliceView& Slice, const MbState& Mb, EntropyState& State);

} // namespace UMC
