#include "encoder/code/pcm.h"

#include "encoder/code/macroblock_quantisers.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

// Calls f with each plane's source and reconstruction, columns and rows.
template <class Sample, class F>
void ForEachPlane(CurrentMacroblock<Sample>& mb, F&& f)
{
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[mb.pSlice->Syntax.chroma_format_idc];
    f(mb.pSrcY, mb.pRecY, 16, 16);
    if (Chroma.Blocks == 0) return;
    f(mb.pSrcU, mb.pRecU, Chroma.MbWidth, Chroma.MbHeight);
    f(mb.pSrcV, mb.pRecV, Chroma.MbWidth, Chroma.MbHeight);
}

} // namespace

template <class Sample>
void ReconstructPcm(CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    uint16_t* pPcm = w.Pcm;
    ForEachPlane(mb, [&](const Sample* pSrc, Sample* pRec, int32_t Width, int32_t Height) {
        for (int32_t y = 0; y < Height; ++y, pSrc += mb.SrcPitch, pRec += mb.pitch) {
            pPcm = std::copy_n(pSrc, Width, pPcm);
            if (pRec != pSrc) std::copy_n(pSrc, Width, pRec);
        }
    });
    LocalMacroblock& Local = *mb.Records.pLocal;
    Local.Coded = ~0u;
    Local.CodedDc = kCodedLumaDc | kCodedCbDc | kCodedCrDc;
    Local.Pattern = 15 | 2 << 4;
    // The edge filter takes QP'Y of I_PCM as 0 (clause 8.7.2.2), which of deep samples is a QPY below that. That of the
    // macroblocks behind it stays.
    const SyntaxOfSlice& Slice = mb.pSlice->Syntax;
    const int32_t Qp = -6 * (Slice.BitDepthLuma - 8);
    mb.Records.pGlobal->Qp = static_cast<int8_t>(Qp);
    mb.Records.pGlobal->QpChroma = static_cast<int8_t>(ChromaQp(Qp, Slice.BitDepthChroma));
}

template <class Sample>
void KeepSource(CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
{
    constexpr int32_t kStep = WorkArea<Sample>::kSourceStep;
    Sample* pTo = w.Source;
    ForEachPlane(mb, [&](const Sample*& pSrc, Sample*, int32_t Width, int32_t Height) {
        for (int32_t y = 0; y < Height; ++y) std::copy_n(pSrc + y * mb.SrcPitch, Width, pTo + y * kStep);
        pSrc = pTo;
        pTo += Height * kStep;
    });
    mb.SrcPitch = kStep;
}

template void ReconstructPcm(CurrentMacroblock<uint8_t>&, WorkArea<uint8_t>&);
template void KeepSource(CurrentMacroblock<uint8_t>&, WorkArea<uint8_t>&);
template void ReconstructPcm(CurrentMacroblock<uint16_t>&, WorkArea<uint16_t>&);
template void KeepSource(CurrentMacroblock<uint16_t>&, WorkArea<uint16_t>&);

} // namespace UMC_H264_ENCODER
