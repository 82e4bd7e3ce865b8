// How the macroblocks of a slice are written, by entropy coder.
#pragma once

#include "encoder/code/cabac_syntax.h"
#include "encoder/code/cavlc_syntax.h"
#include "encoder/code/macroblock_syntax.h"
#include "encoder/code/traced_syntax.h"
#include "encoder/state/slice_context.h"

#include <type_traits>

namespace UMC_H264_ENCODER {

// With a listing in developer builds.
template <class Policy>
using Listed = std::conditional_t<h264::trace::kIsBuilt, TracedSyntax<Policy>, Policy>;

// The writer of a slice, with whichever coder runs on it.
template <class Sample>
using SliceBits = CH264pBs<Sample, typename CodecTraits<Sample>::Coeff>;

// A slice in CABAC.
template <class Sample>
class CabacSlice
{
public:
    using Syntax = MacroblockSyntax<typename CodecTraits<Sample>::Level>;

    CabacSlice(const SliceFacts<Sample>& Facts, int32_t SliceQp, SliceBits<Sample>& Bits) : m_Bits(Bits)
    {
        Bits.Align(1); // cabac_alignment_one_bit
        Bits.InitContexts(Facts.slice_type, Facts.cabac_init_idc, SliceQp);
    }
    bool WriteMacroblock(const Syntax& m, MacroblockRecords&)
    {
        return WriteMacroblockSyntax(m, Listed<CabacSyntax<StoredBytes>>(m_Bits.Cabac(), m.Around, IsIntra(m.Type)));
    }
    void EndMacroblock(bool IsLast) { m_Bits.EncodeTerminate(IsLast); }
    size_t Bytes() const { return m_Bits.CoderBytes(); }
    static constexpr bool kIsGuarded = false;
    void End() { m_Bits.TerminateEncode(); }

private:
    SliceBits<Sample>& m_Bits;
};

// A slice in variable length codes.
template <class Sample>
class CavlcSlice
{
public:
    using Syntax = MacroblockSyntax<typename CodecTraits<Sample>::Level>;

    explicit CavlcSlice(SliceBits<Sample>& Bits) : m_Bits(Bits) { Bits.Cavlc().skip_run = 0; }
    bool WriteMacroblock(const Syntax& m, MacroblockRecords& Records)
    {
        return WriteMacroblockSyntax(m, Listed<CavlcSyntax<StoredBits>>(m_Bits.Cavlc(), m.Around, Records.pCounts));
    }
    void EndMacroblock(bool) {}
    size_t Bytes() const { return m_Bits.Bytes(); }
    // A macroblock can be taken back, so its size can be limited.
    static constexpr bool kIsGuarded = true;
    using Place = CavlcCoder;
    Place Keep() const { return m_Bits.Cavlc(); }
    void PutBack(const Place& p) { m_Bits.Cavlc() = p; }
    int64_t BitsSince(const Place& p) const { return m_Bits.Cavlc().Bits.Bits() - p.Bits.Bits(); }
    void End()
    {
        if (m_Bits.Cavlc().skip_run > 0) m_Bits.Cavlc().PutSkipRun();
        m_Bits.WriteTrailingBits();
    }

private:
    SliceBits<Sample>& m_Bits;
};

} // namespace UMC_H264_ENCODER
