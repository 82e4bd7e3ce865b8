// Searches of the parts of one macroblock in the pictures of one list.
#pragma once

#include "encoder/decide/block_search.h"
#include "encoder/state/motion_grid.h"

#include <limits>

namespace UMC_H264_ENCODER {

inline constexpr int32_t kNotTried = std::numeric_limits<int32_t>::max();

// What was found for a part.
struct FoundPart {
    int32_t Cost = kNotTried; // with the prices of reference and vector
    int32_t Ref = h264::kRefNone;
    MotionVector Vector{0, 0}, Predicted{0, 0};
};

// References to try, by their indices.
struct ReferenceRange {
    int32_t First, Last, Step = 1;
};

/// The grid is begun and set by who searches parts.
template <class Sample>
class ListSearch
{
public:
    ListSearch(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, int List, WorkArea<Sample>& w)
        : m_Settings(Settings), m_Mb(mb), m_w(w), m_List(List)
    {
    }

    /// Before parts are searched.
    void BeginParts() { Grid.Begin(m_Mb.Around.Motion[m_List]); }

    int32_t Count() const { return m_List ? m_Mb.pSlice->num_ref_idx_l1 : m_Mb.pSlice->num_ref_idx_l0; }

    /// The macroblock in one part, in one reference. Inlined, as the product searches nothing else.
    [[gnu::always_inline]] FoundPart SearchWhole(int32_t Ref, MotionVector Predicted, int32_t Limit)
    {
        MEParams<Sample> p;
        p.pred_mv = Predicted;
        p.threshold = Limit;
        const Reference<Sample>& Picture = m_Mb.pSlice->ref_pic_lists.Pictures[m_List][Ref];
        FillSearch(m_Settings, m_Mb, Picture, {0, 0, 4, 4}, SearchMethodOf16x16(m_Settings.Params), m_w, p);
        BuildCandidates(m_Mb, m_List, Picture, p);
        const FoundPart Found = Run(p, Ref, Predicted);
        Whole[Ref] = Found.Vector;
        return Found;
    }

    /// A smaller part, from a vector near by and the predictor.
    FoundPart Search(uint8_t Type, MotionPart Part, int32_t Ref, int32_t Limit, MotionVector Near)
    {
        MEParams<Sample> p;
        const MotionVector Predicted = PredictPart(Grid, Type, Part.x, Part.y, Part.Width, Ref);
        p.pred_mv = Predicted;
        p.threshold = Limit;
        FillSearch(m_Settings, m_Mb, m_Mb.pSlice->ref_pic_lists.Pictures[m_List][Ref], Part,
                   SearchMethodOfParts(m_Settings.Params), m_w, p);
        p.candidate_count = 0;
        AddCandidate(p, WholeSamples(Near));
        AddCandidate(p, WholeSamples(Predicted));
        return Run(p, Ref, Predicted);
    }

    /// The best of a range of references, from what was found for the whole macroblock in each.
    FoundPart SearchRange(uint8_t Type, MotionPart Part, const ReferenceRange& Range, int32_t Limit)
    {
        FoundPart Best;
        for (int32_t r = Range.First; r <= Range.Last; r += Range.Step) {
            const FoundPart f = Search(Type, Part, r, Limit, Whole[r]);
            if (f.Cost < Best.Cost) Best = f;
        }
        return Best;
    }

    MotionGrid Grid;
    MotionVector Whole[kMaxReferences]; // found by SearchWhole
    int32_t Last = 0;                   // the last reference of interest to parts

private:
    FoundPart Run(MEParams<Sample>& p, int32_t Ref, MotionVector Predicted)
    {
        const int32_t Price = ReferencePrice(m_Mb.Records.pLocal->Qp, Ref, Count());
        SearchBlock(p, Price);
        return {p.best_cost + Price, Ref, p.best_mv, Predicted};
    }

    const EncoderSettings& m_Settings;
    const CurrentMacroblock<Sample>& m_Mb;
    WorkArea<Sample>& m_w;
    int m_List;
};

} // namespace UMC_H264_ENCODER
