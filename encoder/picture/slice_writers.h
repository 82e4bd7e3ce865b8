// How the macroblocks of a slice are written, by entropy coder.
#pragma once

#include "encoder/code/cabac_syntax.h"
#include "encoder/code/cavlc_syntax.h"
#include "encoder/code/macroblock_syntax.h"
#include "encoder/code/traced_syntax.h"
#include "encoder/state/slice_context.h"

#include <type_traits>
#include <utility>

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
    bool WriteMacroblock(const Syntax& m, MacroblockRecords& Records)
    {
        return WriteMacroblockSyntax(m, PolicyFor(m, Records));
    }
    void EndMacroblock(bool IsLast) { m_Bits.EncodeTerminate(IsLast); }
    size_t Bytes() const { return m_Bits.CoderBytes(); }
    static constexpr bool kIsGuarded = false, kIsInPairs = false;
    void End() { m_Bits.TerminateEncode(); }

protected:
    auto PolicyFor(const Syntax& m, MacroblockRecords&)
    {
        return Listed<CabacSyntax<StoredBytes>>(m_Bits.Cabac(), m.Around, IsIntra(m.Type));
    }

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
        return WriteMacroblockSyntax(m, PolicyFor(m, Records));
    }
    void EndMacroblock(bool) {}
    size_t Bytes() const { return m_Bits.Bytes(); }
    // A macroblock can be taken back, so its size can be limited.
    static constexpr bool kIsGuarded = true, kIsInPairs = false;
    using Place = CavlcCoder;
    Place Keep() const { return m_Bits.Cavlc(); }
    void PutBack(const Place& p) { m_Bits.Cavlc() = p; }
    int64_t BitsSince(const Place& p) const { return m_Bits.Cavlc().Bits.Bits() - p.Bits.Bits(); }
    void End()
    {
        if (m_Bits.Cavlc().skip_run > 0) m_Bits.Cavlc().PutSkipRun();
        m_Bits.WriteTrailingBits();
    }

protected:
    auto PolicyFor(const Syntax& m, MacroblockRecords& Records)
    {
        return Listed<CavlcSyntax<StoredBits>>(m_Bits.Cavlc(), m.Around, Records.pCounts);
    }

private:
    SliceBits<Sample>& m_Bits;
};

// The same in frames of pairs: mb_field_decoding_flag stands in front of the first macroblock layer of a pair (clause
// 7.3.4). Until then a pair is taken for what clause 7.4.4 infers.
template <class Slice>
class InPairs : public Slice
{
public:
    using Slice::Slice;
    static constexpr bool kIsInPairs = true;

    /// @param Pairs  found for the pair; the loop lets it go to each macroblock
    void BeginPair(const h264::PairNeighbours& Pairs, const GlobalMacroblock* pGlobal, bool IsField)
    {
        m_pPairs = &Pairs;
        m_pGlobal = pGlobal;
        m_IsField = IsField;
        m_IsTold = m_IsLower = false;
    }
    void GoToLower() { m_IsLower = true; }
    /// Whether the macroblock must not be skipped: nothing else would tell of what kind the pair is.
    bool MustTellKind() const { return m_IsLower && !m_IsTold && m_IsField != m_pPairs->InfersField(); }

    bool WriteMacroblock(const typename Slice::Syntax& m, MacroblockRecords& Records)
    {
        auto Policy = Slice::PolicyFor(m, Records);
        if (m.Slice.slice_type != h264::SLICE_I) {
            const h264::MbAround Around = m_pPairs->Around(m_IsTold ? m_IsField : m_pPairs->InfersField());
            Policy.SkipBeside(IsSkip(m.Type), m.Slice.slice_type == h264::SLICE_B, TypeOf(Around.Left),
                              TypeOf(Around.Top));
        }
        if (IsSkip(m.Type)) {
            Policy.NoQpDelta();
            return false;
        }
        if (!m_IsTold) Policy.FieldFlag(m_IsField, static_cast<uint32_t>(m_pPairs->FieldPairsAround()));
        m_IsTold = true;
        return WriteMacroblockLayer(m, Policy);
    }
    auto Keep() const { return std::pair(Slice::Keep(), m_IsTold); }
    template <class Place>
    void PutBack(const Place& p)
    {
        Slice::PutBack(p.first);
        m_IsTold = p.second;
    }
    template <class Place>
    int64_t BitsSince(const Place& p) const
    {
        return Slice::BitsSince(p.first);
    }

private:
    uint8_t TypeOf(int32_t Mb) const { return Mb < 0 ? kNoMacroblock : m_pGlobal[Mb].Type; }

    const h264::PairNeighbours* m_pPairs = nullptr;
    const GlobalMacroblock* m_pGlobal = nullptr;
    bool m_IsField = false, m_IsTold = false, m_IsLower = false;
};

} // namespace UMC_H264_ENCODER
