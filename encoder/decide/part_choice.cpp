#include "encoder/decide/part_choice.h"

#include "Common/h264/chroma_geometry.h"
#include "encoder/decide/block_distance.h"

namespace UMC_H264_ENCODER {

template <class Sample>
int32_t PartDistance(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, MotionPart Part,
                     const Sample* pY, const Sample* pUV)
{
    constexpr int32_t kStep = WorkArea<Sample>::kPredStep;
    const bool IsSad = (Settings.AnalysisFlags & ENC_ANALYSE_SAD) != 0;
    const int32_t x = 4 * Part.x, y = 4 * Part.y, Width = 4 * Part.Width, Height = 4 * Part.Height;
    const auto pDistance =
        IsSad ? SadFunction<Sample>(SizeCode(Width, Height)) : SatdFunction<Sample>(SizeCode(Width, Height));
    int32_t Sum = pDistance(mb.pSrcY + y * mb.SrcPitch + x, mb.SrcPitch, pY + y * kStep + x, kStep);
    if (!(Settings.AnalysisFlags & ENC_ANALYSE_ME_CHROMA) || mb.pSlice->Syntax.chroma_format_idc == h264::CHROMA_400)
        return Sum;
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[mb.pSlice->Syntax.chroma_format_idc];
    const int32_t cx = x >> Chroma.ShiftX, cy = y >> Chroma.ShiftY;
    for (int Plane = 0; Plane < 2; ++Plane)
        Sum += ChromaBlockDistance(IsSad, (Plane ? mb.pSrcV : mb.pSrcU) + cy * mb.SrcPitch + cx, mb.SrcPitch,
                                   pUV + 8 * Plane + cy * kStep + cx, Width >> Chroma.ShiftX, Height >> Chroma.ShiftY);
    return Sum;
}

template <class Sample>
PartChoice ChooseLists(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, MotionPart Part,
                       const FoundPart (&Found)[2], const ListPrices& Prices, WorkArea<Sample>& w)
{
    PartChoice Best;
    const auto Offer = [&Best](int32_t Cost, const PartMotion& m) {
        if (Cost < Best.Cost) Best = {Cost, m};
    };
    const FoundPart &a = Found[0], &b = Found[1];
    if (a.Ref >= 0) Offer(a.Cost + Prices.One, {{a.Ref, h264::kRefNone}, {a.Vector, {0, 0}}});
    if (b.Ref >= 0) Offer(b.Cost + Prices.One, {{h264::kRefNone, b.Ref}, {{0, 0}, b.Vector}});
    if (a.Ref < 0 || b.Ref < 0) return Best;
    const PartMotion Both{{a.Ref, b.Ref}, {a.Vector, b.Vector}};
    const int32_t Qp = mb.Records.pLocal->Qp;
    // Before any sample is touched.
    const int32_t Price = Prices.Both + DifferencePrice(Qp, a.Vector, a.Predicted) +
                          ReferencePrice(Qp, a.Ref, mb.pSlice->num_ref_idx_l0) +
                          DifferencePrice(Qp, b.Vector, b.Predicted) +
                          ReferencePrice(Qp, b.Ref, mb.pSlice->num_ref_idx_l1);
    if (Price >= Best.Cost) return Best;
    PredictPartLuma(Both, Part, mb, w, w.JoinedY);
    if (Settings.AnalysisFlags & ENC_ANALYSE_ME_CHROMA) PredictPartChroma(Both, Part, mb, w, w.JoinedUV);
    Offer(Price + PartDistance(Settings, mb, Part, w.JoinedY, w.JoinedUV), Both);
    return Best;
}

#define INSTANTIATE(Sample)                                                                                            \
    template int32_t PartDistance(const EncoderSettings&, const CurrentMacroblock<Sample>&, MotionPart, const Sample*, \
                                  const Sample*);                                                                      \
    template PartChoice ChooseLists(const EncoderSettings&, const CurrentMacroblock<Sample>&, MotionPart,              \
                                    const FoundPart(&)[2], const ListPrices&, WorkArea<Sample>&);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
