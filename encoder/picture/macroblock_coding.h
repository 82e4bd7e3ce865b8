// The coding of one macroblock, whichever loop it is in.
#pragma once

#include "encoder/code/macroblock_quantisers.h"
#include "encoder/code/macroblock_records.h"
#include "encoder/code/pcm.h"
#include "encoder/code/reconstruct.h"
#include "encoder/decide/macroblock_decision.h"
#include "encoder/decide/skip_test.h"
#include "encoder/decide/trial_coding.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"

#include <optional>

namespace UMC_H264_ENCODER {

// The most bits that a macroblock in variable length codes may have without rate control.
inline constexpr int64_t kMacroblockBitsAtMost = 2750;

/// Codes the macroblocks of a slice, each once the loop has started it.
/// @tparam Entropy  CabacSlice or CavlcSlice, or one of them in a frame of pairs
template <class Sample, class Entropy>
class MacroblockCoder
{
public:
    MacroblockCoder(const EncoderSettings& Settings, SliceContext<Sample>& s, Entropy& Writer)
        : m_Settings(Settings), m_s(s), m_Mb(s.cur_mb), m_Writer(Writer),
          m_IsGuarded(Entropy::kIsGuarded && Settings.Params.rate_control_method == RATE_CONTROL_NONE)
    {
        // Trials are written in CABAC: the flags for them need it.
        if (!Entropy::kIsGuarded && (Settings.AnalysisFlags & (ENC_ANALYSE_RD_MODE | ENC_ANALYSE_RD_OPT)))
            m_Trials.emplace(m_Mb, s.bitstream);
    }

    /// Decides, reconstructs and writes the macroblock in hand.
    void Code()
    {
        if (m_Settings.PcmEvery > 0 && m_Mb.mb_index % m_Settings.PcmEvery == 0) [[unlikely]]
            CodeAsPcm();
        else if (m_IsGuarded)
            CodeGuarded();
        else
            CodeOnce();
        m_s.Progress.intra_count += IsIntra(m_Mb.Records.pGlobal->Type);
        ++m_s.Progress.mb_count;
    }

    /// Decides and reconstructs it, but writes nothing. @return what it was decided to be
    Candidate Try()
    {
        const Candidate Won = Analyse();
        Leave(Won);
        return Won;
    }

private:
    Candidate Analyse()
    {
        const int32_t Qp = m_Mb.Records.pLocal->Qp;
        if (m_s.Quant.Qp != Qp) SetQuantisers(m_Settings, m_s.Facts.Syntax, Qp, m_s.Quant);
        return AnalyseMacroblock(m_Settings, m_Mb, m_s.work_area, m_Trials ? &*m_Trials : nullptr);
    }
    void Leave(const Candidate& Won)
    {
        Commit(Won, m_s.work_area, m_Mb);
        Reconstruct(Won, m_Mb, m_s.work_area);
    }
    bool Write()
    {
        return m_Writer.WriteMacroblock(SyntaxOf(m_Mb, m_s.Progress.slice_qp, m_s.work_area), m_Mb.Records);
    }
    void CodeOnce()
    {
        Candidate Won = Analyse();
        if constexpr (Entropy::kIsInPairs)
            if (IsSkip(Won.Type) && m_Writer.MustTellKind()) Unskip(m_Mb, Won);
        Leave(Won);
        if (Write()) m_s.Progress.slice_qp = m_Mb.Records.pLocal->Qp;
    }
    void CodeAsPcm()
    {
        Commit(Candidate{.Cost = 0, .Type = MB_PCM}, m_s.work_area, m_Mb);
        ReconstructPcm(m_Mb, m_s.work_area);
        Write();
    }
    // Codes a macroblock again, coarser by up to two steps, until its bits are few enough, and else as it stands.
    void CodeGuarded()
    {
        if constexpr (Entropy::kIsGuarded) {
            KeepSource(m_Mb, m_s.work_area);
            const auto Before = m_Writer.Keep();
            const int32_t SliceQp = m_s.Progress.slice_qp;
            for (int32_t Qp = SliceQp;;) {
                CodeOnce();
                if (m_Writer.BitsSince(Before) <= kMacroblockBitsAtMost) return;
                m_Writer.PutBack(Before);
                m_s.Progress.slice_qp = SliceQp;
                if (Qp - SliceQp >= 2 || Qp == 51) break;
                StartRecords(m_Mb, ++Qp);
            }
            CodeAsPcm();
        }
    }

    const EncoderSettings& m_Settings;
    SliceContext<Sample>& m_s;
    CurrentMacroblock<Sample>& m_Mb;
    Entropy& m_Writer;
    const bool m_IsGuarded;
    std::optional<TrialCoder<Sample>> m_Trials;
};

} // namespace UMC_H264_ENCODER
