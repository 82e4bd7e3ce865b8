// The best inter form of a macroblock in a B slice.
#include "encoder/decide/direct_motion.h"
#include "encoder/decide/divided_decision.h"
#include "encoder/decide/inter_decision.h"
#include "encoder/decide/skip_test.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

// Estimates of what a way to predict the whole macroblock costs beyond vectors and references.
constexpr int32_t kBitsOfDirect = 1, kBitsOfOneList = 3, kBitsOfBothLists = 5;

constexpr MotionPart kWhole{0, 0, 4, 4};

// The direct form of the macroblock, with what was made of its blocks in Inter[Slot].
struct DirectForm {
    bool IsUsable = false;
    MacroblockMotion Motion;
    SkipTest Tested{};
    int32_t Distance[4], Cost = kNotTried;
};

template <class Sample>
DirectForm TryDirect(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, uint8_t Slot,
                     WorkArea<Sample>& w)
{
    DirectForm d;
    InterTrial<Sample>& t = w.Inter[Slot];
    d.IsUsable = DeriveDirectMotion(mb, d.Motion);
    if (!d.IsUsable) return d;
    w.Motion[Slot] = d.Motion;
    const Candidate Direct{.Cost = 0, .Type = MB_DIRECT, .Slot = Slot};
    d.Tested = CheckSkipB(Direct, mb, w, t);
    if (d.Tested.IsSkip) return d;
    if ((Settings.AnalysisFlags & ENC_ANALYSE_ME_CHROMA) && d.Tested.AtHand < BLOCKS_ALL) {
        PredictInterChroma(Direct, mb, w, t.PredUV);
        d.Tested.AtHand = BLOCKS_ALL;
    }
    d.Cost = BitPrice(mb.Records.pLocal->Qp, kBitsOfDirect);
    for (int q = 0; q < 4; ++q) {
        const MotionPart Part{static_cast<int8_t>(q % 2 * 2), static_cast<int8_t>(q / 2 * 2), 2, 2};
        d.Distance[q] = PartDistance(Settings, mb, Part, t.PredY, t.PredUV);
        d.Cost += d.Distance[q];
    }
    return d;
}

// The best of a list's references for the whole macroblock.
template <class Sample>
FoundPart SearchList(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, int List, int32_t Limit,
                     ListSearch<Sample>& Search)
{
    const h264::MotionNeighbours Around = mb.Around.Motion[List].Of16x16();
    FoundPart Best;
    for (int32_t r = 0; r < Search.Count(); ++r) {
        const FoundPart Found = Search.SearchWhole(r, h264::PredictMedian(Around, r), Limit);
        if (Found.Cost < Best.Cost) {
            Best = Found;
            if (Best.Cost <= Limit) break;
        } else if (!(Settings.AnalysisFlags & (ENC_ANALYSE_ALL_REFS | ENC_ANALYSE_B_8X8))) {
            break;
        }
    }
    Search.Last = Best.Ref;
    return Best;
}

// The motion of a macroblock in one part.
MacroblockMotion MotionOfWhole(const PartMotion& m)
{
    MacroblockMotion Motion{};
    std::fill_n(Motion.SubTypes, 4, SUB_NONE);
    for (int List = 0; List < 2; ++List) {
        std::fill_n(Motion.References[List], 4, static_cast<int8_t>(m.Ref[List]));
        Motion.Set(List, 0, 0, 4, 4, m.Vector[List]);
    }
    return Motion;
}

} // namespace

template <class Sample>
Candidate DecideB(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, uint8_t Slot,
                  WorkArea<Sample>& w, TrialCoder<Sample>* pTrials)
{
    const int32_t Qp = mb.Records.pLocal->Qp, Limit = SearchLimit(Settings, Qp);
    const DirectForm Direct = TryDirect(Settings, mb, Slot, w);
    if (Direct.Tested.IsSkip) return {.Cost = 0, .Type = MB_SKIP_B, .Slot = Slot, .AtHand = BLOCKS_ALL};

    ListSearch<Sample> Lists[2]{{Settings, mb, 0, w}, {Settings, mb, 1, w}};
    const FoundPart Found[2]{SearchList(Settings, mb, 0, Limit, Lists[0]),
                             SearchList(Settings, mb, 1, Limit, Lists[1])};
    const PartChoice Whole =
        ChooseLists(Settings, mb, kWhole, Found, {BitPrice(Qp, kBitsOfOneList), BitPrice(Qp, kBitsOfBothLists)}, w);
    Candidate Best{.Cost = Direct.Cost, .Type = MB_DIRECT, .Slot = Slot, .AtHand = Direct.Tested.AtHand};
    if (Whole.Cost < Best.Cost) {
        Best = {.Cost = Whole.Cost, .Type = MB_INTER16X16, .Slot = Slot};
        w.Motion[Slot] = MotionOfWhole(Whole.Motion);
    }
    if (!(Settings.AnalysisFlags & ENC_ANALYSE_B_8X8) || Best.Cost <= Limit) return Best;
    if (Settings.AnalysisFlags & ENC_ANALYSE_ALL_REFS)
        for (ListSearch<Sample>& l : Lists) l.Last = l.Count() - 1;
    DirectOffer Offer;
    if (Direct.IsUsable) Offer.pMotion = &Direct.Motion;
    std::copy_n(Direct.Distance, 4, Offer.Distance);
    return DecideDivided(Settings, mb, Best, Lists, Offer, w, pTrials);
}

#define INSTANTIATE(Sample)                                                                                            \
    template Candidate DecideB(const EncoderSettings&, const CurrentMacroblock<Sample>&, uint8_t, WorkArea<Sample>&,   \
                               TrialCoder<Sample>*);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
