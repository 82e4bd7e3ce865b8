// The way over the macroblocks of a slice: what each finds around it, and where its samples and records lie.
#pragma once

#include "Common/h264/chroma_geometry.h"
#include "Common/h264/trace/element_trace.h"
#include "encoder/code/macroblock_records.h"
#include "encoder/picture/picture_result.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"

namespace UMC_H264_ENCODER {

namespace detail {

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

} // namespace detail

/// What the settings say of every slice, and the tables that its neighbours are read from.
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
    s.Neighbours = detail::MakeNeighbourTables(Sets.Pps.entropy_coding_mode_flag, Settings.Layout, Job, s);
}

/// The records of the slice's first macroblock.
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

/// To those of the next macroblock.
inline void Advance(MacroblockRecords& r, bool IsB)
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

/// Makes Index the macroblock in hand, whose records are pointed at already.
template <class Sample>
[[gnu::always_inline]] inline void StartMacroblock(const EncoderSettings& Settings, const PictureJob<Sample>& Job,
                                                   int32_t Index, int32_t SliceQp, CurrentMacroblock<Sample>& mb)
{
    mb.mb_index = Index;
    mb.pPosition = &Settings.Positions[static_cast<size_t>(Index)];
    mb.mb_x = mb.pPosition->X;
    mb.mb_y = mb.pPosition->Y;
    h264::trace::BeginMacroblock(mb.mb_x, mb.mb_y);
    detail::PointAt(*mb.pPosition, Job, mb);
    FillNeighbours(mb.Around, mb.pSlice->Neighbours, Index, mb.mb_x);
    StartRecords(mb, SliceQp);
}

} // namespace UMC_H264_ENCODER
