// What a candidate really costs: its distortion and its bits, from a trial at coding it.
#pragma once

#include "encoder/state/candidate.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/work_area.h"
#include "encoder/write/pbs_fake.h"

namespace UMC_H264_ENCODER {

/// Codes candidates of the macroblock in hand to nowhere. Only the work area is written to: what lies there of the
/// candidate's blocks is of no use to a later reconstruction.
template <class Sample>
class TrialCoder
{
public:
    using Writer = CH264pBs<Sample, typename CodecTraits<Sample>::Coeff>;

    /// @param mb    the macroblock in hand, whichever that is at a trial
    /// @param Bits  what has been written so far, in CABAC
    TrialCoder(const CurrentMacroblock<Sample>& mb, Writer& Bits) : m_Real(mb), m_Bits(Bits) {}

    /// Squared differences of all planes plus lambda_rd for each bit. An intra candidate's chroma mode is set.
    int32_t Cost(const Candidate& c, WorkArea<Sample>& w);

private:
    void Begin();
    int64_t Distortion() const;

    const CurrentMacroblock<Sample>& m_Real;
    Writer& m_Bits;
    CH264pBsFake<Sample, typename CodecTraits<Sample>::Coeff> m_Fake;

    // The macroblock of a trial: that in hand, but for its records and its reconstruction.
    static constexpr int32_t kStep = 16;
    CurrentMacroblock<Sample> m_Mb;
    GlobalMacroblock m_Global;
    LocalMacroblock m_Local;
    MotionVector m_Vectors[2][16], m_Differences[2][16];
    int8_t m_References[2][16];
    uint8_t m_IntraModes[16], m_Counts[kCountsPerMb];
    alignas(16) Sample m_RecY[16 * kStep];
    alignas(16) Sample m_RecU[16 * kStep];
    alignas(16) Sample m_RecV[16 * kStep];
};

} // namespace UMC_H264_ENCODER
