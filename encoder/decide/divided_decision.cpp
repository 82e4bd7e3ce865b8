#include "encoder/decide/divided_decision.h"

#include "encoder/decide/block_search.h"
#include "encoder/state/motion_grid.h"

#include <algorithm>
#include <limits>

namespace UMC_H264_ENCODER {

namespace {

constexpr int32_t kNotTried = std::numeric_limits<int32_t>::max();

// Estimates of what a division costs beyond vectors and references, not the lengths of codes.
constexpr int32_t kBitsOfQuadrants = 4, kBitsOfHalves = 2;
constexpr int32_t kBitsOf4x4 = 5, kBitsOf8x4 = 3;
// A cost of the quadrants this far above that of the whole still lets the halves be tried.
constexpr int32_t kBitsOfChance = 8;

// A division with its cost.
struct Division {
    int32_t Cost = kNotTried;
    uint8_t Type;
    MacroblockMotion Motion;
};

// What a search of one part found.
struct FoundPart {
    int32_t Cost = kNotTried; // with the price of the reference
    int8_t Ref = -1;
    MotionVector Vector{0, 0};
};

// One macroblock's search of its divisions.
template <class Sample>
class DividedSearch
{
public:
    DividedSearch(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, const Candidate& Whole,
                  const MotionVector* pFound, WorkArea<Sample>& w)
        : m_Settings(Settings), m_Mb(mb), m_Whole(Whole), m_pFound(pFound), m_w(w), m_Grid(mb.Around.Motion[0]),
          m_Qp(mb.Records.pLocal->Qp), m_Limit(SearchLimit(Settings, m_Qp)), m_Count(mb.pSlice->num_ref_idx_l0),
          m_Last(Settings.AnalysisFlags & ENC_ANALYSE_ALL_REFS ? m_Count - 1 : Whole.Ref)
    {
    }

    Candidate Decide();

private:
    int32_t Price(int32_t Bits) const { return BitPrice(m_Qp, Bits); }
    FoundPart Search(uint8_t Type, MotionPart Part, int32_t Ref, int32_t Limit, const MotionVector* pNear,
                     int32_t NearCount);
    void SearchQuadrants(Division& d);
    void DivideQuadrants(Division& d);
    void DivideQuadrant(int Quadrant, int32_t Plain, Division& d);
    int32_t TryShape(int Quadrant, uint8_t Shape, const Division& d, MotionVector* pVectors);
    void SearchHalves(uint8_t Type, const Division& Quadrants, Division& d);
    FoundPart SearchHalf(uint8_t Type, MotionPart Part, const Division& Quadrants);

    const EncoderSettings& m_Settings;
    const CurrentMacroblock<Sample>& m_Mb;
    const Candidate& m_Whole;
    const MotionVector* m_pFound;
    WorkArea<Sample>& m_w;
    MotionGrid m_Grid;
    int32_t m_Qp, m_Limit;
    int32_t m_Count, m_Last; // active references, and the last one of interest
    int32_t m_QuadrantCosts[4];
};

// Starts from the vectors near by and the predictor; returns the cost with the price of the reference.
template <class Sample>
FoundPart DividedSearch<Sample>::Search(uint8_t Type, MotionPart Part, int32_t Ref, int32_t Limit,
                                        const MotionVector* pNear, int32_t NearCount)
{
    MEParams<Sample> p;
    p.pred_mv = PredictPart(m_Grid, Type, Part.x, Part.y, Part.Width, Ref);
    p.threshold = Limit;
    FillSearch(m_Settings, m_Mb, m_Mb.pSlice->ref_pic_lists.Pictures[0][Ref], Part,
               SearchMethodOfParts(m_Settings.Params), m_w, p);
    p.candidate_count = 0;
    for (int32_t i = 0; i < NearCount; ++i) AddCandidate(p, WholeSamples(pNear[i]));
    AddCandidate(p, WholeSamples(p.pred_mv));
    const int32_t ReferenceCost = ReferencePrice(m_Qp, Ref, m_Count);
    SearchBlock(p, ReferenceCost);
    return {p.best_cost + ReferenceCost, static_cast<int8_t>(Ref), p.best_mv};
}

template <class Sample>
void DividedSearch<Sample>::SearchQuadrants(Division& d)
{
    d.Cost = Price(kBitsOfQuadrants);
    for (int q = 0; q < 4; ++q) {
        const MotionPart Part{static_cast<int8_t>(q % 2 * 2), static_cast<int8_t>(q / 2 * 2), 2, 2};
        FoundPart Best;
        for (int32_t r = 0; r <= m_Last; ++r) {
            const FoundPart f = Search(MB_INTER8X8, Part, r, m_Limit >> 2, &m_pFound[r], 1);
            if (f.Cost < Best.Cost) Best = f;
        }
        d.Cost += Best.Cost;
        m_QuadrantCosts[q] = Best.Cost;
        d.Motion.References[0][q] = Best.Ref;
        d.Motion.SubTypes[q] = SUB_8X8;
        d.Motion.Set(0, Part.x, Part.y, 2, 2, Best.Vector);
        m_Grid.Set(Part.x, Part.y, 2, 2, Best.Vector, Best.Ref);
    }
}

// Cost of a quadrant in parts of a shape, whose vectors go to pVectors in the order of the parts. The grid holds them.
template <class Sample>
int32_t DividedSearch<Sample>::TryShape(int Quadrant, uint8_t Shape, const Division& d, MotionVector* pVectors)
{
    const int8_t Ref = d.Motion.References[0][Quadrant];
    const int32_t ReferenceCost = ReferencePrice(m_Qp, Ref, m_Count);
    const bool Is4x4 = Shape == SUB_4X4;
    int32_t Cost = ReferenceCost + Price(Is4x4 ? kBitsOf4x4 : kBitsOf8x4);
    m_Grid.Set(Quadrant % 2 * 2, Quadrant / 2 * 2, 2, 2, {0, 0}, h264::kRefUnavailable);
    ForEachPartOf(Quadrant, Shape, [&](MotionPart Part) {
        const MotionVector Plain = d.Motion.Vectors[0][Part.Raster()];
        const FoundPart f = Search(MB_INTER8X8, Part, Ref, m_Limit >> (Is4x4 ? 4 : 3), &Plain, 1);
        Cost += f.Cost - ReferenceCost;
        *pVectors++ = f.Vector;
        m_Grid.Set(Part.x, Part.y, Part.Width, Part.Height, f.Vector, Ref);
    });
    return Cost;
}

template <class Sample>
void DividedSearch<Sample>::DivideQuadrant(int Quadrant, int32_t Plain, Division& d)
{
    int32_t Best = Plain;
    uint8_t BestShape = SUB_8X8;
    MotionVector BestVectors[4]{d.Motion.Vectors[0][(Quadrant & 2) * 4 + Quadrant % 2 * 2]};
    for (const uint8_t Shape : {SUB_4X4, SUB_8X4, SUB_4X8}) {
        MotionVector Vectors[4];
        const int32_t Cost = TryShape(Quadrant, Shape, d, Vectors);
        if (Cost >= Best) continue;
        Best = Cost;
        BestShape = Shape;
        std::copy_n(Vectors, 4, BestVectors);
    }
    const MotionVector* pVector = BestVectors;
    ForEachPartOf(Quadrant, BestShape, [&](MotionPart Part) {
        d.Motion.Set(0, Part.x, Part.y, Part.Width, Part.Height, *pVector);
        m_Grid.Set(Part.x, Part.y, Part.Width, Part.Height, *pVector++, d.Motion.References[0][Quadrant]);
    });
    d.Motion.SubTypes[Quadrant] = BestShape;
    d.Cost += Best - Plain;
}

template <class Sample>
void DividedSearch<Sample>::DivideQuadrants(Division& d)
{
    m_Grid.Forget();
    for (int q = 0; q < 4; ++q) DivideQuadrant(q, m_QuadrantCosts[q], d);
}

// In the references that its two quadrants chose, or in all.
template <class Sample>
FoundPart DividedSearch<Sample>::SearchHalf(uint8_t Type, MotionPart Part, const Division& Quadrants)
{
    const int First = Part.Quadrant(), Second = Type == MB_INTER16X8 ? First + 1 : First + 2;
    const int8_t* const pRefs = Quadrants.Motion.References[0];
    const bool IsAll = (m_Settings.AnalysisFlags & ENC_ANALYSE_ALL_REFS) != 0;
    const int32_t Lowest = IsAll ? 0 : std::min(pRefs[First], pRefs[Second]);
    const int32_t Highest = IsAll ? m_Last : std::max(pRefs[First], pRefs[Second]);
    const int32_t Step = IsAll ? 1 : std::max(Highest - Lowest, 1);
    FoundPart Best;
    for (int32_t r = Lowest; r <= Highest; r += Step) {
        const FoundPart f = Search(Type, Part, r, m_Limit >> 1, &m_pFound[r], 1);
        if (f.Cost < Best.Cost) Best = f;
    }
    return Best;
}

template <class Sample>
void DividedSearch<Sample>::SearchHalves(uint8_t Type, const Division& Quadrants, Division& d)
{
    m_Grid.Forget();
    d.Type = Type;
    d.Cost = Price(kBitsOfHalves);
    std::fill_n(d.Motion.SubTypes, 4, SUB_NONE);
    ForEachPart(Type, d.Motion.SubTypes, [&](MotionPart Part) {
        const FoundPart Best = SearchHalf(Type, Part, Quadrants);
        d.Cost += Best.Cost;
        const int First = Part.Quadrant();
        d.Motion.References[0][First] = d.Motion.References[0][Type == MB_INTER16X8 ? First + 1 : First + 2] = Best.Ref;
        d.Motion.Set(0, Part.x, Part.y, Part.Width, Part.Height, Best.Vector);
        m_Grid.Set(Part.x, Part.y, Part.Width, Part.Height, Best.Vector, Best.Ref);
    });
}

template <class Sample>
Candidate DividedSearch<Sample>::Decide()
{
    Division Quadrants{}, Rows{}, Columns{};
    SearchQuadrants(Quadrants);
    if ((m_Settings.AnalysisFlags & ENC_ANALYSE_P_SUB8X8) && Quadrants.Cost < m_Whole.Cost && Quadrants.Cost > m_Limit)
        DivideQuadrants(Quadrants);
    if (Quadrants.Cost < m_Whole.Cost + Price(kBitsOfChance) && Quadrants.Cost > m_Limit) {
        SearchHalves(MB_INTER16X8, Quadrants, Rows);
        SearchHalves(MB_INTER8X16, Quadrants, Columns);
    }
    if (m_Whole.Cost <= std::min({Quadrants.Cost, Rows.Cost, Columns.Cost})) return m_Whole;
    const int8_t* const pRefs = Quadrants.Motion.References[0];
    Quadrants.Type = std::all_of(pRefs, pRefs + 4, [](int8_t r) { return r == 0; }) ? MB_INTER8X8_REF0 : MB_INTER8X8;
    const Division& Won = Quadrants.Cost <= std::min(Rows.Cost, Columns.Cost) ? Quadrants
                          : Rows.Cost > Columns.Cost                          ? Columns
                                                                              : Rows;
    m_w.Motion[m_Whole.Slot] = Won.Motion;
    return {.Cost = Won.Cost, .Type = static_cast<MacroblockType>(Won.Type), .Slot = m_Whole.Slot};
}

} // namespace

template <class Sample>
Candidate DecideDivided(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, const Candidate& Whole,
                        const MotionVector* pFound, WorkArea<Sample>& w)
{
    return DividedSearch<Sample>(Settings, mb, Whole, pFound, w).Decide();
}

template Candidate DecideDivided(const EncoderSettings&, const CurrentMacroblock<uint8_t>&, const Candidate&,
                                 const MotionVector*, WorkArea<uint8_t>&);

} // namespace UMC_H264_ENCODER
