// Motion search of one block in one reference picture: an integer stage and a quarter-sample refinement.
#pragma once

#include "encoder/decide/block_distance.h"
#include "encoder/decide/motion_tables.h"
#include "encoder/state/encoder_types.h"
#include "encoder/state/work_area.h"

#include <cstdint>

namespace UMC_H264_ENCODER {

inline constexpr int32_t kMethodWalkingRefinement = 64;

/// What one search is asked and what it answers: the inter decision fills it, the two stages of the search write
/// best_mv and best_cost. Vectors in quarter samples unless said; planes at the block's place.
template <class Sample>
struct MEParams {
    const Sample *src_y, *src_u, *src_v;
    const Sample *ref_y, *ref_u, *ref_v;
    int32_t pitch;            // samples, of the reference
    int32_t bit_depth;        // of luma
    int32_t chroma_mv_offset; // quarter samples, of vertical vectors in chroma: -2, 0 or 2 between fields
    int32_t chroma_format;
    int32_t block_width, block_height; // 16, 8 or 4
    int32_t candidate_count;
    MotionVector candidates[8]; // whole samples
    MotionVector pred_mv;       // also the ninth candidate, see AddCandidate
    MotionVector best_mv;
    const BitCostRow* mv_cost_table;                          // the row of MVBitCost
    int32_t limit_left, limit_right, limit_top, limit_bottom; // whole samples
    int32_t range_x, range_y;
    uint32_t flags; // AnalysisFlag
    int32_t method; // low four bits the pattern; above 31: the refinement walks
    int32_t threshold;
    int32_t best_cost;
    int32_t SrcPitch;
    HalfPlanes<Sample>* pHalves; // scratch of the refinement
    Sample* pTrial;              // 16 * 16
    Sample* pTrialUV;            // 16 * 8, Cb in columns 0..7
    uint8_t* pVisited;           // kVisitedPoints, for SEARCH_UMBRELLA
};

/// Appends a whole-sample vector unless it is in the list already.
///
/// There is room for eight. A ninth falls on pred_mv, the field behind the list: it is tried as a candidate and takes
/// the predictor's place in every vector cost of this search. That is deliberate.
template <class Sample>
void AddCandidate(MEParams<Sample>& p, MotionVector Whole)
{
    for (int32_t i = 0; i < p.candidate_count; ++i)
        if ((i < 8 ? p.candidates[i] : p.pred_mv) == Whole) return;
    (p.candidate_count < 8 ? p.candidates[p.candidate_count] : p.pred_mv) = Whole;
    ++p.candidate_count;
}

/// Price of coding a vector with this record's predictor.
template <class Sample>
int32_t VectorCost(const MEParams<Sample>& p, int32_t x, int32_t y)
{
    const uint8_t* const pBits = MVBits();
    return (*p.mv_cost_table)[static_cast<size_t>(pBits[x - p.pred_mv.x] + pBits[y - p.pred_mv.y])];
}

/// The best whole-sample vector: best_mv (a multiple of 4) and best_cost.
template <class Sample>
void SearchInteger(MEParams<Sample>& p);
/// Moves best_mv by up to three quarter samples in each direction where that is cheaper.
template <class Sample>
void SearchSubpel(MEParams<Sample>& p);

/// Distortion of both chroma blocks at a vector.
template <class Sample>
int32_t ChromaDistortion(const MEParams<Sample>& p, int32_t x, int32_t y);

// ---- Shared by the patterns ---------------------------------------------------------------------------------

struct Direction {
    int8_t dx, dy;
};
// 0 none, then clockwise from top-left.
inline constexpr Direction kDirections[9]{{0, 0}, {-1, -1}, {0, -1}, {1, -1}, {1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}};
struct DirectionRow {
    int32_t Count;
    int8_t Next[8];
};
// Directions tried after a move.
inline constexpr DirectionRow kNextDirections[9]{
    {8, {1, 2, 3, 4, 5, 6, 7, 8}}, {5, {1, 2, 3, 7, 8}}, {3, {1, 2, 3}},       {5, {1, 2, 3, 4, 5}}, {3, {3, 4, 5}},
    {5, {3, 4, 5, 6, 7}},          {3, {5, 6, 7}},       {5, {5, 6, 7, 8, 1}}, {3, {7, 8, 1}}};

/// The integer stage at work: the window, and the best point so far in whole samples.
template <class Sample>
class IntegerSearch
{
public:
    explicit IntegerSearch(MEParams<Sample>& Params);

    void TryCandidates();
    void RunPattern();
    int32_t BestX() const { return m_BestX; }
    int32_t BestY() const { return m_BestY; }
    int32_t BestCost() const { return m_BestCost; }

private:
    // Tries a point of the window; true when it is the best so far.
    bool Try(int32_t x, int32_t y);
    // Tries up to eight points in order; returns the index of the last that improved, or -1.
    int32_t TryPoints(const MotionVector* pPoints, int32_t Count);
    // Tries the points at the directions of a row, at steps from the best point so far; returns the direction of the
    // last that improved, or -1.
    int32_t TryRing(const DirectionRow& Row, int32_t StepX, int32_t StepY);
    int32_t TryRing16x16(const DirectionRow& Row, int32_t StepX, int32_t StepY);

    // Points that may still win, with their price.
    struct KeptPoints {
        int32_t Count = 0;
        int32_t Index[8], Price[8];
        const Sample* pBlock[8];
    };
    // Measures them four at a time and keeps the best. Returns the place in the list of the last that improved, or -1.
    int32_t Measure(KeptPoints& k);
    bool InWindow(int32_t x, int32_t y) const { return x >= m_Left && x <= m_Right && y >= m_Top && y <= m_Bottom; }
    int32_t Distance(int32_t x, int32_t y) const
    {
        return m_pDistance(m_p.src_y, m_p.SrcPitch, m_p.ref_y + y * m_p.pitch + x, m_p.pitch);
    }

    void SetWindow();
    void Full();
    void CrossLog();
    void Log();
    void HexagonLog();
    void Cross();
    void AxisBisection();
    void Umbrella();
    void UmbrellaRings(const MotionVector& Centre, int32_t Rings);
    void Walk(const MotionVector* pPoints, int32_t Count);
    void DirectionWalk();
    bool TryUnvisited(int32_t x, int32_t y);
    bool TryInRowZero(int32_t x);

    MEParams<Sample>& m_p;
    DistanceFunction<Sample>* m_pDistance;
    int32_t m_BestX = 0, m_BestY = 0;
    int32_t m_BestCost;
    bool m_HasStopped = false; // the threshold is reached
    int32_t m_Left = 0, m_Right = 0, m_Top = 0, m_Bottom = 0;
};

} // namespace UMC_H264_ENCODER
