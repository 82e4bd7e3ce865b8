#include "encoder/decide/divided_decision.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

// Estimates of what a division costs beyond vectors and references, not the lengths of codes.
constexpr int32_t kBitsOfQuadrantsP = 4, kBitsOfQuadrantsB = 9, kBitsOfHalves = 2;
constexpr int32_t kBitsOf4x4 = 5, kBitsOf8x4 = 3;
// A cost of the quadrants this far above that of the whole still lets the halves be tried.
constexpr int32_t kBitsOfChance = 8;

// A division with its cost.
struct Division {
    int32_t Cost = kNotTried;
    MacroblockType Type;
    MacroblockMotion Motion;
};

constexpr MotionPart QuadrantPart(int q)
{
    return {static_cast<int8_t>(q % 2 * 2), static_cast<int8_t>(q / 2 * 2), 2, 2};
}

// One macroblock's search of its divisions.
template <class Sample>
class DividedSearch
{
public:
    DividedSearch(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, const Candidate& Whole,
                  ListSearch<Sample>* pLists, const DirectOffer& Direct, WorkArea<Sample>& w,
                  TrialCoder<Sample>* pTrials)
        : m_Settings(Settings), m_Mb(mb), m_Whole(Whole), m_pLists(pLists), m_Direct(Direct), m_w(w),
          m_pTrials(Settings.AnalysisFlags & ENC_ANALYSE_RD_OPT ? pTrials : nullptr), m_Qp(mb.Records.pLocal->Qp),
          m_Limit(SearchLimit(Settings, m_Qp)), m_Lists(h264::ListsOf(mb.pSlice->slice_type))
    {
    }

    Candidate Decide();

private:
    int32_t Price(int32_t Bits) const { return BitPrice(m_Qp, Bits); }
    bool HasFlag(uint32_t P, uint32_t B) const { return (m_Settings.AnalysisFlags & (m_Lists == 2 ? B : P)) != 0; }
    void Forget();
    void Set(MotionPart Part, const PartMotion& m, Division& d);
    void SetDirect(int q, Division& d);
    PartChoice Choose(uint8_t Type, MotionPart Part, const ReferenceRange (&Ranges)[2], int32_t Limit);
    void SearchQuadrants(Division& d);
    void DivideQuadrants(Division& d);
    void DivideQuadrant(int q, Division& d);
    int32_t TryShape(int q, uint8_t Shape, int List, const Division& d, MotionVector* pVectors);
    void SearchHalves(MacroblockType Type, const Division& Quadrants, Division& d);
    Candidate Choose(const Division* const (&pDivisions)[3]) const;
    Candidate ChooseByTrial(const Division* const (&pDivisions)[3]);
    ReferenceRange RangeOfHalf(int List, int First, int Second, const Division& Quadrants) const;

    const EncoderSettings& m_Settings;
    const CurrentMacroblock<Sample>& m_Mb;
    const Candidate& m_Whole;
    ListSearch<Sample>* m_pLists;
    const DirectOffer& m_Direct;
    WorkArea<Sample>& m_w;
    TrialCoder<Sample>* m_pTrials; // null to compare by estimates
    int32_t m_Qp, m_Limit;
    int32_t m_Lists; // of the slice
    int32_t m_QuadrantCosts[4];
};

template <class Sample>
void DividedSearch<Sample>::Forget()
{
    for (int List = 0; List < m_Lists; ++List) m_pLists[List].Grid.Forget();
}

// Gives a part its motion, for the division and for the prediction of the parts behind it.
template <class Sample>
void DividedSearch<Sample>::Set(MotionPart Part, const PartMotion& m, Division& d)
{
    for (int List = 0; List < 2; ++List) {
        const auto Ref = static_cast<int8_t>(m.Ref[List]);
        for (int y = Part.y; y < Part.y + Part.Height; y += 2)
            for (int x = Part.x; x < Part.x + Part.Width; x += 2) d.Motion.References[List][(y & 2) + (x >> 1)] = Ref;
        d.Motion.Set(List, Part.x, Part.y, Part.Width, Part.Height, m.Vector[List]);
        if (List < m_Lists) m_pLists[List].Grid.Set(Part.x, Part.y, Part.Width, Part.Height, m.Vector[List], Ref);
    }
}

template <class Sample>
void DividedSearch<Sample>::SetDirect(int q, Division& d)
{
    const MacroblockMotion& From = *m_Direct.pMotion;
    d.Motion.Direct = static_cast<uint8_t>(d.Motion.Direct | 1 << q);
    d.Motion.SubTypes[q] = From.SubTypes[q];
    ForEachPartOf(q, From.SubTypes[q], [&](MotionPart Part) { Set(Part, MotionOf(From, Part), d); });
}

template <class Sample>
PartChoice DividedSearch<Sample>::Choose(uint8_t Type, MotionPart Part, const ReferenceRange (&Ranges)[2],
                                         int32_t Limit)
{
    FoundPart Found[2];
    for (int List = 0; List < m_Lists; ++List)
        Found[List] = m_pLists[List].SearchRange(Type, Part, Ranges[List], Limit);
    return ChooseLists(m_Settings, m_Mb, Part, Found, {0, 0}, m_w);
}

template <class Sample>
void DividedSearch<Sample>::SearchQuadrants(Division& d)
{
    d.Type = MB_INTER8X8;
    d.Cost = Price(m_Lists == 2 ? kBitsOfQuadrantsB : kBitsOfQuadrantsP);
    const ReferenceRange Ranges[2]{{0, m_pLists[0].Last}, {0, m_Lists == 2 ? m_pLists[1].Last : -1}};
    for (int q = 0; q < 4; ++q) {
        const MotionPart Part = QuadrantPart(q);
        const PartChoice Best = Choose(MB_INTER8X8, Part, Ranges, m_Limit >> 2);
        const bool IsDirect = m_Direct.pMotion && m_Direct.Distance[q] <= Best.Cost;
        m_QuadrantCosts[q] = IsDirect ? m_Direct.Distance[q] : Best.Cost;
        d.Cost += m_QuadrantCosts[q];
        if (IsDirect) {
            SetDirect(q, d);
        } else {
            d.Motion.SubTypes[q] = SUB_8X8;
            Set(Part, Best.Motion, d);
        }
    }
}

// Cost of a quadrant in parts of a shape, whose vectors go to pVectors in the order of the parts.
template <class Sample>
int32_t DividedSearch<Sample>::TryShape(int q, uint8_t Shape, int List, const Division& d, MotionVector* pVectors)
{
    ListSearch<Sample>& Search = m_pLists[List];
    const int8_t Ref = d.Motion.References[List][q];
    const bool Is4x4 = Shape == SUB_4X4;
    const MotionPart Quadrant = QuadrantPart(q);
    const int32_t PriceOfRef = ReferencePrice(m_Qp, Ref, Search.Count());
    int32_t Cost = PriceOfRef + Price(Is4x4 ? kBitsOf4x4 : kBitsOf8x4);
    Search.Grid.Set(Quadrant.x, Quadrant.y, 2, 2, {0, 0}, h264::kRefUnavailable);
    ForEachPartOf(q, Shape, [&](MotionPart Part) {
        const FoundPart f =
            Search.Search(MB_INTER8X8, Part, Ref, m_Limit >> (Is4x4 ? 4 : 3), d.Motion.Vectors[List][Part.Raster()]);
        Cost += f.Cost - PriceOfRef;
        *pVectors++ = f.Vector;
        Search.Grid.Set(Part.x, Part.y, Part.Width, Part.Height, f.Vector, Ref);
    });
    return Cost;
}

// Of a quadrant with one reference.
template <class Sample>
void DividedSearch<Sample>::DivideQuadrant(int q, Division& d)
{
    const int List = d.Motion.References[0][q] >= 0 ? 0 : 1;
    const int32_t Plain = m_QuadrantCosts[q];
    int32_t Best = Plain;
    uint8_t BestShape = SUB_8X8;
    MotionVector BestVectors[4]{d.Motion.Vectors[List][QuadrantPart(q).Raster()]};
    for (const uint8_t Shape : {SUB_4X4, SUB_8X4, SUB_4X8}) {
        MotionVector Vectors[4];
        const int32_t Cost = TryShape(q, Shape, List, d, Vectors);
        if (Cost >= Best) continue;
        Best = Cost;
        BestShape = Shape;
        std::copy_n(Vectors, 4, BestVectors);
    }
    PartMotion m{{d.Motion.References[0][q], d.Motion.References[1][q]}, {{0, 0}, {0, 0}}};
    const MotionVector* pVector = BestVectors;
    ForEachPartOf(q, BestShape, [&](MotionPart Part) {
        m.Vector[List] = *pVector++;
        Set(Part, m, d);
    });
    d.Motion.SubTypes[q] = BestShape;
    d.Cost += Best - Plain;
}

template <class Sample>
void DividedSearch<Sample>::DivideQuadrants(Division& d)
{
    Forget();
    for (int q = 0; q < 4; ++q) {
        const PartMotion m = MotionOf(d.Motion, QuadrantPart(q));
        if (d.Motion.Direct >> q & 1)
            SetDirect(q, d);
        else if (m.Ref[0] >= 0 && m.Ref[1] >= 0)
            Set(QuadrantPart(q), m, d);
        else
            DivideQuadrant(q, d);
    }
}

// The references that two quadrants chose, or all.
template <class Sample>
ReferenceRange DividedSearch<Sample>::RangeOfHalf(int List, int First, int Second, const Division& Quadrants) const
{
    if (m_Settings.AnalysisFlags & ENC_ANALYSE_ALL_REFS) return {0, m_pLists[List].Last};
    const int8_t* const pRefs = Quadrants.Motion.References[List];
    // A list that a quadrant does not use counts as its first reference.
    const int32_t a = std::max<int32_t>(pRefs[First], 0), b = std::max<int32_t>(pRefs[Second], 0);
    return {std::min(a, b), std::max(a, b), std::max(std::abs(a - b), 1)};
}

template <class Sample>
void DividedSearch<Sample>::SearchHalves(MacroblockType Type, const Division& Quadrants, Division& d)
{
    Forget();
    d.Type = Type;
    d.Cost = Price(kBitsOfHalves);
    std::fill_n(d.Motion.SubTypes, 4, SUB_NONE);
    ForEachPart(Type, d.Motion.SubTypes, [&](MotionPart Part) {
        const int First = Part.Quadrant(), Second = Type == MB_INTER16X8 ? First + 1 : First + 2;
        const ReferenceRange Ranges[2]{RangeOfHalf(0, First, Second, Quadrants),
                                       m_Lists == 2 ? RangeOfHalf(1, First, Second, Quadrants) : ReferenceRange{0, -1}};
        const PartChoice Best = Choose(Type, Part, Ranges, m_Limit >> 1);
        d.Cost += Best.Cost;
        Set(Part, Best.Motion, d);
    });
}

template <class Sample>
Candidate DividedSearch<Sample>::Decide()
{
    Division Quadrants{}, Rows{}, Columns{};
    for (int List = 0; List < m_Lists; ++List) m_pLists[List].BeginParts();
    SearchQuadrants(Quadrants);
    if (HasFlag(ENC_ANALYSE_P_SUB8X8, ENC_ANALYSE_B_SUB8X8) && Quadrants.Cost < m_Whole.Cost &&
        Quadrants.Cost > m_Limit)
        DivideQuadrants(Quadrants);
    if (Quadrants.Cost < m_Whole.Cost + Price(kBitsOfChance) && Quadrants.Cost > m_Limit) {
        SearchHalves(MB_INTER16X8, Quadrants, Rows);
        SearchHalves(MB_INTER8X16, Quadrants, Columns);
    }
    const int8_t* const pRefs = Quadrants.Motion.References[0];
    if (m_Lists == 1 && std::all_of(pRefs, pRefs + 4, [](int8_t r) { return r == 0; }))
        Quadrants.Type = MB_INTER8X8_REF0;
    const Division* const pDivisions[3]{&Quadrants, &Rows, &Columns};
    return m_pTrials ? ChooseByTrial(pDivisions) : Choose(pDivisions);
}

template <class Sample>
Candidate DividedSearch<Sample>::Choose(const Division* const (&pDivisions)[3]) const
{
    const Division* pWon = nullptr;
    int32_t Least = m_Whole.Cost;
    for (const Division* const p : pDivisions) {
        if (p->Cost >= Least) continue;
        Least = p->Cost;
        pWon = p;
    }
    if (!pWon) return m_Whole;
    m_w.Motion[m_Whole.Slot] = pWon->Motion;
    return {.Cost = pWon->Cost, .Type = pWon->Type, .Slot = m_Whole.Slot};
}

template <class Sample>
Candidate DividedSearch<Sample>::ChooseByTrial(const Division* const (&pDivisions)[3])
{
    const auto TrialSlot = static_cast<uint8_t>(m_Whole.Slot ^ 1);
    Candidate Best = m_Whole;
    Best.Cost = m_pTrials->Cost(m_Whole, m_w);
    Best.AtHand = BLOCKS_NONE; // the trial has used them up
    for (const Division* const p : pDivisions) {
        if (p->Cost == kNotTried) continue;
        m_w.Motion[TrialSlot] = p->Motion;
        Candidate Tried{.Cost = 0, .Type = p->Type, .Slot = TrialSlot};
        Tried.Cost = m_pTrials->Cost(Tried, m_w);
        if (Tried.Cost >= Best.Cost) continue;
        m_w.Motion[m_Whole.Slot] = p->Motion;
        Best = Tried;
        Best.Slot = m_Whole.Slot;
    }
    return Best;
}

} // namespace

template <class Sample>
Candidate DecideDivided(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, const Candidate& Whole,
                        ListSearch<Sample>* pLists, const DirectOffer& Direct, WorkArea<Sample>& w,
                        TrialCoder<Sample>* pTrials)
{
    return DividedSearch<Sample>(Settings, mb, Whole, pLists, Direct, w, pTrials).Decide();
}

#define INSTANTIATE(Sample)                                                                                            \
    template Candidate DecideDivided(const EncoderSettings&, const CurrentMacroblock<Sample>&, const Candidate&,       \
                                     ListSearch<Sample>*, const DirectOffer&, WorkArea<Sample>&, TrialCoder<Sample>*);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
