// The search of one block of a macroblock in one picture: what the motion search is told about the macroblock.
#pragma once

#include "encoder/decide/intra_decision.h"
#include "encoder/decide/motion_search.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/encoder_settings.h"
#include "encoder/state/macroblock_motion.h"
#include "encoder/state/work_area.h"

namespace UMC_H264_ENCODER {

inline MotionVector WholeSamples(MotionVector v)
{
    return {static_cast<int16_t>(v.x >> 2), static_cast<int16_t>(v.y >> 2)};
}

/// How the settings have 16x16 blocks searched.
inline int32_t SearchMethodOf16x16(const UMC::H264EncoderParams& p)
{
    return p.search_method + (p.search_method > 0 ? kMethodWalkingRefinement : 0);
}
/// And all smaller ones: the walk in both stages, except that a full refinement stays one.
inline int32_t SearchMethodOfParts(const UMC::H264EncoderParams& p) { return p.search_method > 0 ? 330 : 0; }

/// The cost at which the search of a whole macroblock may stop; that of its parts is a share of it.
inline int32_t SearchLimit(const EncoderSettings& Settings, int32_t Qp)
{
    return Settings.AnalysisFlags & ENC_ANALYSE_ME_EARLY_EXIT ? Settings.ThresholdME[PriceIndex(Qp)] : 0;
}

/// Price of naming reference r of n.
inline int32_t ReferencePrice(int32_t Qp, int32_t r, int32_t n)
{
    if (n == 1) return BitPrice(Qp, 1);
    if (n == 2) return BitPrice(Qp, r == 0 ? 1 : 2);
    return BitPrice(Qp, MVBits()[r]);
}

/// Everything but candidates, predictor and threshold.
template <class Sample>
void FillSearch(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, const Reference<Sample>& Ref,
                MotionPart Part, int32_t Method, WorkArea<Sample>& w, MEParams<Sample>& p);

/// Vectors that a 16x16 search of a list starts from: the predictor, none, the neighbours, and what the reference
/// picture did here.
template <class Sample>
void BuildCandidates(const CurrentMacroblock<Sample>& mb, int List, const Reference<Sample>& Ref, MEParams<Sample>& p);

/// Both stages of a search that is filled: the refinement where what was found, named for Price, is not good enough.
template <class Sample>
void SearchBlock(MEParams<Sample>& p, int32_t Price)
{
    SearchInteger(p);
    if ((p.flags & ENC_ANALYSE_SUBPEL) && p.best_cost + Price > p.threshold) SearchSubpel(p);
}

} // namespace UMC_H264_ENCODER
