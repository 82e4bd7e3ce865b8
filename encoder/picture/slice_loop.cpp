#include "encoder/picture/slice_loop.h"

#include "Common/h264/h264_tables.h"
#include "Common/h264/pic_order_cnt.h"
#include "encoder/code/macroblock_quantisers.h"
#include "encoder/code/macroblock_records.h"
#include "encoder/code/pcm.h"
#include "encoder/code/reconstruct.h"
#include "encoder/decide/macroblock_decision.h"
#include "encoder/decide/trial_coding.h"
#include "encoder/picture/slice_walk.h"
#include "encoder/picture/slice_writers.h"

#include <optional>

namespace UMC_H264_ENCODER {

namespace {

template <class Sample>
SliceHeader MakeSliceHeader(const PictureSets& Sets, const PictureJob<Sample>& Job, const SliceFacts<Sample>& s)
{
    SliceHeader h{};
    h.first_mb_in_slice = s.first_mb;
    h.slice_type = s.slice_type;
    h.frame_num = Job.pCurrent->frame_num;
    h.is_idr = Job.picture_class == CLASS_IDR && !Job.IsAuxiliary; // by the type of the NAL unit, which is its own
    h.idr_pic_id = Sets.idr_pic_id;
    h.nal_ref_idc = Job.picture_class != CLASS_DISPOSABLE;
    h.pic_order_cnt_lsb = h264::PicOrderCntLsb(Job.pCurrent->poc[s.IsBottom], 1 << Sets.Sps.log2_max_pic_order_cnt_lsb);
    h.field_pic_flag = s.IsField;
    h.bottom_field_flag = s.IsBottom;
    h.delta_pic_order_cnt_bottom = Job.pCurrent->poc[1] - Job.pCurrent->poc[0];
    h.direct_spatial_mv_pred = s.B.direct_spatial_mv_pred;
    h.num_ref_idx_l0 = s.num_ref_idx_l0;
    h.num_ref_idx_l1 = s.num_ref_idx_l1;
    h.cabac_init_idc = s.cabac_init_idc;
    h.slice_qp_delta = s.slice_qp_delta;
    h.disable_deblocking_filter_idc = s.deblock_idc;
    h.slice_alpha_c0_offset = s.deblock_alpha;
    h.slice_beta_offset = s.deblock_beta;
    return h;
}

template <class Sample>
void StartSlice(const EncoderSettings& Settings, const PictureSets& Sets, const PictureJob<Sample>& Job,
                SliceContext<Sample>& s)
{
    CompleteFacts(Settings, Sets, Job, s.Facts);
    s.Progress = {.slice_qp = Sets.Pps.pic_init_qp + s.Facts.slice_qp_delta, .mb_count = 0, .intra_count = 0};
    s.Quant.Qp = kNoQp;
    s.bitstream.WriteSliceHeader(MakeSliceHeader(Sets, Job, s.Facts), Sets.Sps, Sets.Pps);
}

// The most bits that a macroblock in variable length codes may have without rate control.
constexpr int64_t kMacroblockBitsAtMost = 2750;

// Decides, reconstructs and writes the macroblock in hand at its QP.
template <class Sample, class Entropy>
void CodeMacroblock(const EncoderSettings& Settings, SliceContext<Sample>& s, Entropy& Writer,
                    TrialCoder<Sample>* pTrials = nullptr)
{
    CurrentMacroblock<Sample>& mb = s.cur_mb;
    const int32_t Qp = mb.Records.pLocal->Qp;
    if (s.Quant.Qp != Qp) SetQuantisers(Settings, s.Facts.Syntax, Qp, s.Quant);
    const Candidate Won = AnalyseMacroblock(Settings, mb, s.work_area, pTrials);
    Commit(Won, s.work_area, mb);
    Reconstruct(Won, mb, s.work_area);
    if (Writer.WriteMacroblock(SyntaxOf(mb, s.Progress.slice_qp, s.work_area), mb.Records)) s.Progress.slice_qp = Qp;
}

template <class Sample, class Entropy>
void CodeAsPcm(SliceContext<Sample>& s, Entropy& Writer)
{
    CurrentMacroblock<Sample>& mb = s.cur_mb;
    Commit(Candidate{.Cost = 0, .Type = MB_PCM}, s.work_area, mb);
    ReconstructPcm(mb, s.work_area);
    Writer.WriteMacroblock(SyntaxOf(mb, s.Progress.slice_qp, s.work_area), mb.Records);
}

// Codes a macroblock again, coarser by up to two steps, until its bits are few enough, and else as it stands.
template <class Sample, class Entropy>
void CodeGuarded(const EncoderSettings& Settings, SliceContext<Sample>& s, Entropy& Writer)
{
    CurrentMacroblock<Sample>& mb = s.cur_mb;
    KeepSource(mb, s.work_area);
    const auto Before = Writer.Keep();
    const int32_t SliceQp = s.Progress.slice_qp;
    for (int32_t Qp = SliceQp;;) {
        CodeMacroblock(Settings, s, Writer);
        if (Writer.BitsSince(Before) <= kMacroblockBitsAtMost) return;
        Writer.PutBack(Before);
        s.Progress.slice_qp = SliceQp;
        if (Qp - SliceQp >= 2 || Qp == 51) break;
        StartRecords(mb, ++Qp);
    }
    CodeAsPcm(s, Writer);
}

template <class Sample, class Entropy>
void CodeMacroblocks(const EncoderSettings& Settings, PictureJob<Sample>& Job, SliceContext<Sample>& s, Entropy Writer)
{
    CurrentMacroblock<Sample>& mb = s.cur_mb;
    mb.pSlice = &s.Facts;
    mb.pQuant = &s.Quant;
    mb.Records = FirstRecords(Job, s.Facts.first_mb);
    // Trials are written in CABAC: the flags for them need it.
    std::optional<TrialCoder<Sample>> Trials;
    if (Settings.AnalysisFlags & (ENC_ANALYSE_RD_MODE | ENC_ANALYSE_RD_OPT)) Trials.emplace(mb, s.bitstream);
    const bool IsGuarded = Entropy::kIsGuarded && Settings.Params.rate_control_method == RATE_CONTROL_NONE;
    const int32_t End = s.Facts.first_mb + s.Facts.MbLimit;
    for (int32_t Index = s.Facts.first_mb; Index < End;) {
        StartMacroblock(Settings, Job, Index, s.Progress.slice_qp, mb);
        if (Settings.PcmEvery > 0 && Index % Settings.PcmEvery == 0) [[unlikely]] {
            CodeAsPcm(s, Writer);
        } else if constexpr (Entropy::kIsGuarded) {
            if (IsGuarded)
                CodeGuarded(Settings, s, Writer);
            else
                CodeMacroblock(Settings, s, Writer);
        } else {
            CodeMacroblock(Settings, s, Writer, Trials ? &*Trials : nullptr);
        }
        s.Progress.intra_count += IsIntra(mb.Records.pGlobal->Type);
        ++s.Progress.mb_count;
        Writer.EndMacroblock(++Index == End);
        // The writer does not look at the end of its buffer; there is room behind it for one macroblock more.
        if (Writer.Bytes() > s.bitstream.BufferSize()) break;
        if (Index < End) Advance(mb.Records, s.Facts.slice_type == h264::SLICE_B);
    }
    Writer.End();
}

} // namespace

template <class Sample>
void CompressSlice(const EncoderSettings& Settings, const PictureSets& Sets, PictureJob<Sample>& Job,
                   SliceContext<Sample>& s)
{
    StartSlice(Settings, Sets, Job, s);
    if (Sets.Pps.entropy_coding_mode_flag)
        CodeMacroblocks(Settings, Job, s, CabacSlice<Sample>(s.Facts, s.Progress.slice_qp, s.bitstream));
    else
        CodeMacroblocks(Settings, Job, s, CavlcSlice<Sample>(s.bitstream));
}

template void CompressSlice(const EncoderSettings&, const PictureSets&, PictureJob<uint8_t>&, SliceContext<uint8_t>&);
template void CompressSlice(const EncoderSettings&, const PictureSets&, PictureJob<uint16_t>&, SliceContext<uint16_t>&);

} // namespace UMC_H264_ENCODER
