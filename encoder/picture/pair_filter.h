// The edge filter of macroblocks in frames of pairs, whose neighbours may be of the other kind.
#pragma once

#include "Common/h264/pair_edges.h"
#include "encoder/picture/macroblock_filter.h"

namespace UMC_H264_ENCODER {

template <class Sample>
class PairFilter : private MacroblockFilter<Sample>
{
    using Base = MacroblockFilter<Sample>;

public:
    PairFilter(const EncoderSettings& Settings, const PictureJob<Sample>& Job, const SliceFacts<Sample>& s)
        : Base(Settings, Job, s), m_pOfFrame(Settings.Positions.data()), m_pOfFields(Settings.FieldPositions.data())
    {
        for (const auto Part : {STRUCTURE_TOP, STRUCTURE_BOTTOM, STRUCTURE_FRAME})
            m_Views[Part] = PartOf(Job.Reconstruction, Part);
    }

    void Filter(int32_t Index);

private:
    bool IsFieldMb(int32_t Mb) const { return (Base::m_pGlobal[Mb].Flags & kFlagField) != 0; }
    bool IsCoded(int32_t Mb, int32_t Block) const { return Base::m_pLocal[Mb].Coded >> h264::kBlockRaster[Block] & 1; }
    void UseKind(bool IsField, int32_t Index);
    // Of four samples across an edge between both kinds, which makes 1 the least (clause 8.7.2.1).
    uint32_t MixedStrength(int32_t Mb, int32_t Block, int32_t Other, int32_t OtherBlock, uint32_t Intra) const
    {
        if (IsIntra(Base::m_pGlobal[Mb].Type) || IsIntra(Base::m_pGlobal[Other].Type)) return Intra;
        return IsCoded(Mb, Block) || IsCoded(Other, OtherBlock) ? 2 : 1;
    }
    // As the strengths of mixed edges are asked for.
    auto Strengths() const
    {
        return [this](int32_t Mb, int32_t Block, int32_t Other, int32_t OtherBlock, uint32_t Intra) {
            return MixedStrength(Mb, Block, Other, OtherBlock, Intra);
        };
    }
    void FilterMixedLeft(const h264::PairPlace& p);
    void FilterFieldsAbove(int32_t Index, int32_t Above);

    const MacroblockPosition *m_pOfFrame, *m_pOfFields;
    PictureView<Sample> m_Views[3]; // by PictureStructure
};

template <class Sample>
void PairFilter<Sample>::UseKind(bool IsField, int32_t Index)
{
    Base::m_View = m_Views[IsField ? Index & 1 : int32_t{STRUCTURE_FRAME}];
    Base::m_pPositions = IsField ? m_pOfFields : m_pOfFrame;
    Base::m_VectorLimit = IsField ? 2 : 4;
    Base::m_IntraTop = IsField ? h264::kIntraFieldTop : h264::kIntraOuter;
    Base::m_CountsFields = IsField;
}

template <class Sample>
void PairFilter<Sample>::FilterMixedLeft(const h264::PairPlace& p)
{
    const GlobalMacroblock& Own = Base::m_pGlobal[p.Mb];
    const MacroblockPosition& At = Base::m_pPositions[p.Mb];
    const int32_t Pitch = Base::m_View.Pitch, Height = Base::m_ChromaHeight;
    EdgeParams Luma[2]{}, Chroma[2]{};
    for (int32_t Part = 0; Part < 2; ++Part) {
        const GlobalMacroblock& Other = Base::m_pGlobal[p.MixedLeft + Part];
        const uint32_t Edge = h264::MixedLeftStrengths(p, Part, Strengths());
        Base::SetThresholds(Luma[Part], 0, (Own.Qp + Other.Qp + 1) >> 1);
        Base::SetThresholds(Chroma[Part], 0, (Own.QpChroma + Other.QpChroma + 1) >> 1);
        for (EdgeParams* const pParams : {Luma + Part, Chroma + Part})
            std::memcpy(pParams->Strength, &Edge, sizeof Edge);
    }
    const int32_t Step = p.IsField ? Pitch : 2 * Pitch;
    Kernels<Sample>.FilterLumaMixed(Base::m_View.pY + At.Luma, p.IsField ? 8 * Pitch : Pitch, Step, Luma,
                                    Base::m_DepthLuma);
    if (Height == 0) return;
    Kernels<Sample>.FilterChromaMixed(Height, Base::m_View.pU + At.Chroma, Base::m_View.pV + At.Chroma,
                                      p.IsField ? Height / 2 * Pitch : Pitch, Step, Chroma, Chroma,
                                      Base::m_DepthChroma);
}

// The top edge of a frame macroblock below a field pair: with each field for itself, as if it were of that field.
template <class Sample>
void PairFilter<Sample>::FilterFieldsAbove(int32_t Index, int32_t Above)
{
    const GlobalMacroblock& Own = Base::m_pGlobal[Index];
    const MacroblockPosition& At = Base::m_pPositions[Index];
    for (int32_t Field = 0; Field < 2; ++Field) {
        const GlobalMacroblock& Other = Base::m_pGlobal[Above + Field];
        const uint32_t Edge = h264::MixedTopStrengths(Index, Above + Field, Strengths());
        const auto ParamsOf = [&](int32_t MeanQp) {
            EdgeParams p{};
            Base::SetThresholds(p, 0, MeanQp);
            std::memcpy(p.Strength, &Edge, sizeof Edge);
            return p;
        };
        const int32_t Pitch = Base::m_View.Pitch, Luma = At.Luma + Field * Pitch, Chroma = At.Chroma + Field * Pitch;
        const EdgeParams OfLuma = ParamsOf((Own.Qp + Other.Qp + 1) >> 1);
        Kernels<Sample>.FilterLuma(false, Base::m_View.pY + Luma, 2 * Pitch, &OfLuma, Base::m_DepthLuma);
        if (Base::m_ChromaHeight == 0) continue;
        const EdgeParams OfChroma = ParamsOf((Own.QpChroma + Other.QpChroma + 1) >> 1);
        Kernels<Sample>.FilterChroma(false, Base::m_ChromaHeight, Base::m_View.pU + Chroma, Base::m_View.pV + Chroma,
                                     2 * Pitch, &OfChroma, &OfChroma, Base::m_DepthChroma);
    }
}

template <class Sample>
void PairFilter<Sample>::Filter(int32_t Index)
{
    const h264::PairPlace p = h264::FindPairPlace(
        Index, m_pOfFrame[Index].X, Base::m_MbWidth, [&](int32_t Mb) { return IsFieldMb(Mb); },
        [&](int32_t Neighbour) { return Neighbour >= Base::m_FirstMb; });
    UseKind(p.IsField, Index);
    EdgeStrengths Vertical{}, Horizontal{};
    Base::Derive(Index, p.Left, p.Top, Vertical, Horizontal);
    if (p.FrameAbove >= 0) Horizontal.Edge[0] = h264::MixedTopStrengths(Index, p.FrameAbove, Strengths());
    if (p.MixedLeft >= 0) FilterMixedLeft(p);
    if (Vertical.Any()) Base::Run(Index, p.Left, Vertical, true);
    if (p.FieldsAbove >= 0) FilterFieldsAbove(Index, p.FieldsAbove);
    if (Horizontal.Any()) Base::Run(Index, p.Top >= 0 ? p.Top : p.FrameAbove, Horizontal, false);
}

} // namespace UMC_H264_ENCODER
