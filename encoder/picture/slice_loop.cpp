#include "encoder/picture/slice_loop.h"

#include "Common/h264/h264_tables.h"
#include "Common/h264/pic_order_cnt.h"
#include "encoder/code/macroblock_quantisers.h"
#include "encoder/code/macroblock_records.h"
#include "encoder/code/pcm.h"
#include "encoder/code/reconstruct.h"
#include "encoder/decide/macroblock_decision.h"
#include "encoder/decide/trial_coding.h"
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
NeighbourTables MakeNeighbourTables(bool IsCabac, const FrameLayout& Layout, const PictureJob<Sample>& Job,
                                    const SliceFacts<Sample>& s)
{
    const H264EncoderFrame<Sample>& Frame = *Job.pCurrent;
    const auto i = static_cast<size_t>(Job.FirstMb);
    NeighbourTables t{};
    t.FirstMb = s.first_mb;
    t.MbWidth = Layout.MbWidth;
    t.ChromaFormat = s.Syntax.chroma_format_idc;
    t.pGlobal = Frame.mb_global + i;
    t.pLocal = Job.LocalMacroblocks.data() + i;
    t.pIntraModes = Job.IntraModes.data() + 16 * i;
    t.Lists = h264::ListsOf(s.slice_type);
    for (int32_t List = 0; List < t.Lists; ++List) {
        t.pVectors[List] = Frame.mb_motion[List] + 16 * i;
        t.pReferences[List] = Frame.mb_reference[List] + 16 * i;
        t.pDifferences[List] = IsCabac ? Job.VectorDifferences[List].data() + 16 * i : nullptr;
    }
    t.pCounts = IsCabac ? nullptr : Job.CoeffCounts.data() + kCountsPerMb * i;
    return t;
}

// What the settings say of every slice, and the tables that its neighbours are read from.
template <class Sample>
void CompleteFacts(const EncoderSettings& Settings, const PictureSets& Sets, const PictureJob<Sample>& Job,
                   SliceFacts<Sample>& s)
{
    s.IsField = Job.IsField();
    s.IsBottom = Job.Structure == STRUCTURE_BOTTOM;
    s.MbFlags = s.IsField ? kFlagField : 0;
    s.deblock_idc = Settings.Params.deblocking_filter_idc;
    s.deblock_alpha = Settings.Params.deblocking_alpha_offset;
    s.deblock_beta = Settings.Params.deblocking_beta_offset;
    s.cabac_init_idc = Settings.Params.cabac_init_idc;
    s.Syntax = {.slice_type = s.slice_type,
                .chroma_format_idc = Job.IsAuxiliary ? int32_t{h264::CHROMA_400} : Settings.Layout.ChromaFormat,
                .entropy_coding_mode_flag = Sets.Pps.entropy_coding_mode_flag,
                .transform_8x8_mode_flag = Sets.Pps.transform_8x8_mode_flag,
                .direct_8x8_inference_flag = Sets.Sps.direct_8x8_inference_flag,
                .BitDepthLuma = Job.IsAuxiliary ? Settings.Params.bit_depth_aux : Settings.Params.bit_depth_luma,
                .BitDepthChroma = Settings.Params.bit_depth_chroma};
    s.Neighbours = MakeNeighbourTables(Sets.Pps.entropy_coding_mode_flag, Settings.Layout, Job, s);
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

template <class Sample>
void PointAt(const MacroblockPosition& At, const PictureJob<Sample>& Job, CurrentMacroblock<Sample>& mb)
{
    const int32_t SrcPitch = Job.Source.Pitch;
    const ptrdiff_t SrcLuma = At.Y * 16 * SrcPitch + At.X * 16,
                    SrcChroma = At.Y * mb.pSlice->ChromaHeight() * SrcPitch + At.X * 8;
    mb.SrcPitch = SrcPitch;
    mb.pSrcY = Job.Source.pY + SrcLuma;
    mb.pitch = Job.Reconstruction.Pitch;
    mb.pRecY = Job.Reconstruction.pY + At.Luma;
    if (!Job.Source.pU) return;
    mb.pSrcU = Job.Source.pU + SrcChroma;
    mb.pSrcV = Job.Source.pV + SrcChroma;
    mb.pRecU = Job.Reconstruction.pU + At.Chroma;
    mb.pRecV = Job.Reconstruction.pV + At.Chroma;
}

// The records of the slice's first macroblock.
template <class Sample>
MacroblockRecords FirstRecords(PictureJob<Sample>& Job, int32_t FirstMb)
{
    H264EncoderFrame<Sample>& Frame = *Job.pCurrent;
    const auto i = static_cast<size_t>(Job.FirstMb + FirstMb);
    MacroblockRecords r;
    r.pGlobal = Frame.mb_global + i;
    r.pLocal = Job.LocalMacroblocks.data() + i;
    for (size_t List = 0; List < 2; ++List) {
        r.pVectors[List] = Frame.mb_motion[List] + i * 16;
        r.pReferences[List] = Frame.mb_reference[List] + i * 16;
        r.pDifferences[List] = Job.VectorDifferences[List].data() + i * 16;
    }
    r.pIntraModes = Job.IntraModes.data() + i * 16;
    r.pCounts = Job.CoeffCounts.data() + i * kCountsPerMb;
    return r;
}

void Advance(MacroblockRecords& r, bool IsB)
{
    r.pGlobal += 1;
    r.pLocal += 1;
    for (size_t List = 0; List < (IsB ? 2 : 1); ++List) {
        r.pVectors[List] += 16;
        r.pReferences[List] += 16;
        r.pDifferences[List] += 16;
    }
    r.pIntraModes += 16;
    r.pCounts += kCountsPerMb;
}

// Makes Index the macroblock in hand, whose records are pointed at already.
template <class Sample>
void StartMacroblock(const EncoderSettings& Settings, const PictureJob<Sample>& Job, int32_t Index, int32_t SliceQp,
                     CurrentMacroblock<Sample>& mb)
{
    mb.mb_index = Index;
    mb.pPosition = &Settings.Positions[static_cast<size_t>(Index)];
    mb.mb_x = mb.pPosition->X;
    mb.mb_y = mb.pPosition->Y;
    h264::trace::BeginMacroblock(mb.mb_x, mb.mb_y);
    PointAt(*mb.pPosition, Job, mb);
    FillNeighbours(mb.Around, mb.pSlice->Neighbours, Index, mb.mb_x);
    StartRecords(mb, SliceQp);
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
