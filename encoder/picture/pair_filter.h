// The edge filter of macroblocks in frames of pairs, whose neighbours may be of the other kind.
#pragma once

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
    // Where a macroblock lies among others; -1 for what is not there or not of the kind.
    struct Place {
        bool IsField;
        int32_t Left = -1, Top = -1; // of the same kind
        int32_t MixedLeft = -1;      // the first of a pair of the other kind
        int32_t FrameAbove = -1;     // a frame macroblock above one of a field
        int32_t FieldsAbove = -1;    // the first of a field pair above a frame macroblock
    };

    bool IsFieldMb(int32_t Mb) const { return (Base::m_pGlobal[Mb].Flags & kFlagField) != 0; }
    bool IsCoded(int32_t Mb, int32_t Block) const { return Base::m_pLocal[Mb].Coded >> h264::kBlockRaster[Block] & 1; }
    Place FindPlace(int32_t Index) const;
    void UseKind(bool IsField, int32_t Index);
    // Of four samples across an edge between both kinds, which makes 1 the least (clause 8.7.2.1).
    uint32_t MixedStrength(int32_t Mb, int32_t Block, int32_t Other, int32_t OtherBlock, uint32_t Intra) const
    {
        if (IsIntra(Base::m_pGlobal[Mb].Type) || IsIntra(Base::m_pGlobal[Other].Type)) return Intra;
        return IsCoded(Mb, Block) || IsCoded(Other, OtherBlock) ? 2 : 1;
    }
    uint32_t RowStrengths(int32_t Index, int32_t Above) const;
    uint32_t LeftStrengths(int32_t Index, const Place& p, int32_t Part) const;
    void FilterMixedLeft(int32_t Index, const Place& p);
    void FilterFieldsAbove(int32_t Index, int32_t Above);

    const MacroblockPosition *m_pOfFrame, *m_pOfFields;
    PictureView<Sample> m_Views[3]; // by PictureStructure
};

template <class Sample>
auto PairFilter<Sample>::FindPlace(int32_t Index) const -> Place
{
    const int32_t Half = Index & 1, First = Index - Half, Left = First - 2, Above = First - 2 * Base::m_MbWidth;
    Place p{.IsField = IsFieldMb(First)};
    if (m_pOfFrame[Index].X > 0 && Left >= Base::m_FirstMb)
        (IsFieldMb(Left) == p.IsField ? p.Left : p.MixedLeft) = IsFieldMb(Left) == p.IsField ? Left + Half : Left;
    if (!p.IsField && Half == 1) {
        p.Top = First;
    } else if (Above >= Base::m_FirstMb) {
        if (p.IsField)
            (IsFieldMb(Above) ? p.Top : p.FrameAbove) = Above + (IsFieldMb(Above) ? Half : 1);
        else
            (IsFieldMb(Above) ? p.FieldsAbove : p.Top) = Above + (IsFieldMb(Above) ? 0 : 1);
    }
    return p;
}

template <class Sample>
void PairFilter<Sample>::UseKind(bool IsField, int32_t Index)
{
    Base::m_View = m_Views[IsField ? Index & 1 : int32_t{STRUCTURE_FRAME}];
    Base::m_pPositions = IsField ? m_pOfFields : m_pOfFrame;
    Base::m_VectorLimit = IsField ? 2 : 4;
    Base::m_IntraTop = IsField ? h264::kIntraFieldTop : h264::kIntraOuter;
    Base::m_CountsFields = IsField;
}

// Of the top edge, whose intra strength is that of fields.
template <class Sample>
uint32_t PairFilter<Sample>::RowStrengths(int32_t Index, int32_t Above) const
{
    uint32_t Edge = 0;
    for (int32_t i = 0; i < 4; ++i) Edge |= MixedStrength(Index, i, Above, 12 + i, 3) << (8 * i);
    return Edge;
}

// Beside a frame macroblock lie rows of both fields in turn, beside a field macroblock first the rows of the upper and
// then those of the lower frame macroblock. A strength is for two rows of one of the two, which is Part.
template <class Sample>
uint32_t PairFilter<Sample>::LeftStrengths(int32_t Index, const Place& p, int32_t Part) const
{
    const int32_t Half = Index & 1;
    uint32_t Edge = 0;
    for (int32_t i = 0; i < 4; ++i) {
        const int32_t Row = p.IsField ? Part * 2 + i / 2 : i, LeftRow = p.IsField ? i : Half * 2 + i / 2;
        Edge |= MixedStrength(Index, Row * 4, p.MixedLeft + Part, LeftRow * 4 + 3, 4) << (8 * i);
    }
    return Edge;
}

template <class Sample>
void PairFilter<Sample>::FilterMixedLeft(int32_t Index, const Place& p)
{
    const GlobalMacroblock& Own = Base::m_pGlobal[Index];
    const MacroblockPosition& At = Base::m_pPositions[Index];
    const int32_t Pitch = Base::m_View.Pitch, Height = Base::m_ChromaHeight;
    EdgeParams Luma[2]{}, Chroma[2]{};
    for (int32_t Part = 0; Part < 2; ++Part) {
        const GlobalMacroblock& Other = Base::m_pGlobal[p.MixedLeft + Part];
        const uint32_t Edge = LeftStrengths(Index, p, Part);
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
        const uint32_t Edge = RowStrengths(Index, Above + Field);
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
    const Place p = FindPlace(Index);
    UseKind(p.IsField, Index);
    EdgeStrengths Vertical{}, Horizontal{};
    Base::Derive(Index, p.Left, p.Top, Vertical, Horizontal);
    if (p.FrameAbove >= 0) Horizontal.Edge[0] = RowStrengths(Index, p.FrameAbove);
    if (p.MixedLeft >= 0) FilterMixedLeft(Index, p);
    if (Vertical.Any()) Base::Run(Index, p.Left, Vertical, true);
    if (p.FieldsAbove >= 0) FilterFieldsAbove(Index, p.FieldsAbove);
    if (Horizontal.Any()) Base::Run(Index, p.Top >= 0 ? p.Top : p.FrameAbove, Horizontal, false);
}

} // namespace UMC_H264_ENCODER
