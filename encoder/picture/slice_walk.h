// The way over the macroblocks of a slice: where the samples and the records of each lie, and what it finds around it.
#pragma once

#include "Common/h264/trace/element_trace.h"
#include "encoder/code/macroblock_records.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/picture_job.h"

namespace UMC_H264_ENCODER {

/// Makes Index the macroblock in hand: points it at its samples in the source and in the reconstruction, both of a
/// frame or of a field.
template <class Sample>
void GoTo(int32_t Index, const MacroblockPosition& At, const PictureView<const Sample>& Source,
          const PictureView<Sample>& Reconstruction, CurrentMacroblock<Sample>& mb)
{
    mb.mb_index = Index;
    mb.pPosition = &At;
    mb.mb_x = At.X;
    mb.mb_y = At.Y;
    const int32_t SrcPitch = Source.Pitch;
    const ptrdiff_t SrcLuma = At.Y * 16 * SrcPitch + At.X * 16,
                    SrcChroma = At.Y * mb.pSlice->ChromaHeight() * SrcPitch + At.X * 8;
    mb.SrcPitch = SrcPitch;
    mb.pSrcY = Source.pY + SrcLuma;
    mb.pitch = Reconstruction.Pitch;
    mb.pRecY = Reconstruction.pY + At.Luma;
    if (!Source.pU) return;
    mb.pSrcU = Source.pU + SrcChroma;
    mb.pSrcV = Source.pV + SrcChroma;
    mb.pRecU = Reconstruction.pU + At.Chroma;
    mb.pRecV = Reconstruction.pV + At.Chroma;
}

/// The records of a macroblock of the picture.
template <class Sample>
MacroblockRecords RecordsOf(PictureJob<Sample>& Job, int32_t Index)
{
    H264EncoderFrame<Sample>& Frame = *Job.pCurrent;
    const auto i = static_cast<size_t>(Job.FirstMb + Index);
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

/// Starts a macroblock, whose records are pointed at already.
template <class Sample>
[[gnu::always_inline]] inline void StartMacroblock(const EncoderSettings& Settings, const PictureJob<Sample>& Job,
                                                   int32_t Index, int32_t SliceQp, CurrentMacroblock<Sample>& mb)
{
    const MacroblockPosition& At = Settings.Positions[static_cast<size_t>(Index)];
    h264::trace::BeginMacroblock(At.X, At.Y);
    GoTo(Index, At, Job.Source, Job.Reconstruction, mb);
    FillNeighbours(mb.Around, mb.pSlice->Neighbours, Index, mb.mb_x);
    StartRecords(mb, SliceQp);
}

} // namespace UMC_H264_ENCODER
