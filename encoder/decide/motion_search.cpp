#include "encoder/decide/motion_search.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace UMC_H264_ENCODER {

namespace {

// The furthest that two vectors of a macroblock are apart in either direction, in whole samples. Larger steps are
// outside of the window from wherever they start.
constexpr int32_t kReach = 2 * kFurthestVector;

// Bounds the steps of a search that halves both until one is 0, and tries the very points of the unbounded steps. A
// smaller step within reach is gone after eight halvings; until then a larger one is beyond it.
void BoundSteps(int32_t& StepX, int32_t& StepY)
{
    while (StepX > kReach && StepY > kReach) {
        StepX /= 2;
        StepY /= 2;
    }
    StepX = std::min(StepX, kReach << 8);
    StepY = std::min(StepY, kReach << 8);
}

// A range for lines of every second point, of the same parity: what lies beyond the window is not walked through.
int32_t LineRange(int32_t Range) { return Range > kReach ? kReach + 2 - (Range & 1) : Range; }

MotionVector Point(int32_t x, int32_t y) { return {static_cast<int16_t>(x), static_cast<int16_t>(y)}; }

} // namespace

template <class Sample>
IntegerSearch<Sample>::IntegerSearch(MEParams<Sample>& Params)
    : m_p(Params), m_pDistance(SadFunction<Sample>(SizeCode(Params.block_width, Params.block_height))),
      m_BestCost(std::numeric_limits<int32_t>::max())
{
}

template <class Sample>
void IntegerSearch<Sample>::TryCandidates()
{
    m_Left = m_p.limit_left, m_Right = m_p.limit_right;
    m_Top = m_p.limit_top, m_Bottom = m_p.limit_bottom;
    for (int32_t i = 0; i < m_p.candidate_count && !m_HasStopped; ++i) {
        const MotionVector v = i < 8 ? m_p.candidates[i] : m_p.pred_mv;
        Try(v.x, v.y);
    }
}

template <class Sample>
bool IntegerSearch<Sample>::Try(int32_t x, int32_t y)
{
    if (m_HasStopped || !InWindow(x, y)) return false;
    // The vector's price alone may already lose; then the picture is not touched.
    int32_t Cost = VectorCost(m_p, 4 * x, 4 * y);
    if (Cost >= m_BestCost) return false;
    Cost += Distance(x, y);
    if (Cost >= m_BestCost) return false;
    m_BestCost = Cost;
    m_BestX = x;
    m_BestY = y;
    m_HasStopped = Cost <= m_p.threshold;
    return true;
}

template <class Sample>
int32_t IntegerSearch<Sample>::TryPoints(const MotionVector* pPoints, int32_t Count)
{
    if (m_p.block_width != 16 || m_p.block_height != 16) {
        int32_t Last = -1;
        for (int32_t i = 0; i < Count; ++i)
            if (Try(pPoints[i].x, pPoints[i].y)) Last = i;
        return Last;
    }
    KeptPoints k;
    for (int32_t i = 0; i < Count; ++i) {
        const int32_t x = pPoints[i].x, y = pPoints[i].y;
        if (!InWindow(x, y)) continue;
        k.Index[k.Count] = i;
        k.Price[k.Count] = VectorCost(m_p, 4 * x, 4 * y);
        k.pBlock[k.Count] = m_p.ref_y + y * m_p.pitch + x;
        k.Count += k.Price[k.Count] < m_BestCost;
    }
    const int32_t Won = Measure(k);
    if (Won < 0) return -1;
    m_BestX = pPoints[k.Index[Won]].x;
    m_BestY = pPoints[k.Index[Won]].y;
    return k.Index[Won];
}

// The results are looked at in the order of the points. A point that was left out for its price would also lose here,
// as the best cost only falls.
template <class Sample>
int32_t IntegerSearch<Sample>::Measure(KeptPoints& k)
{
    int32_t Sum[8], Done = 0;
    for (; k.Count - Done >= 3; Done += 4) {
        for (int32_t i = k.Count; i < Done + 4; ++i) k.pBlock[i] = k.pBlock[Done];
        Kernels<Sample>.Sad16x16x4(m_p.src_y, m_p.SrcPitch, &k.pBlock[Done], m_p.pitch, &Sum[Done]);
    }
    for (; Done < k.Count; ++Done) Sum[Done] = m_pDistance(m_p.src_y, m_p.SrcPitch, k.pBlock[Done], m_p.pitch);
    int32_t Won = -1;
    for (int32_t i = 0; i < k.Count; ++i) {
        if (k.Price[i] + Sum[i] >= m_BestCost) continue;
        Won = i;
        m_BestCost = k.Price[i] + Sum[i];
        m_HasStopped = m_BestCost <= m_p.threshold;
        if (m_HasStopped) break;
    }
    return Won;
}

template <class Sample>
int32_t IntegerSearch<Sample>::TryRing(const DirectionRow& Row, int32_t StepX, int32_t StepY)
{
    if (m_p.block_width == 16 && m_p.block_height == 16) return TryRing16x16(Row, StepX, StepY);
    MotionVector Points[8];
    for (int32_t i = 0; i < Row.Count; ++i) {
        const Direction d = kDirections[Row.Next[i]];
        Points[i] = Point(m_BestX + d.dx * StepX, m_BestY + d.dy * StepY);
    }
    const int32_t Moved = TryPoints(Points, Row.Count);
    return Moved < 0 ? -1 : Row.Next[Moved];
}

// A ring has three columns and three rows: whether they lie in the window and what they cost is found once for each.
template <class Sample>
int32_t IntegerSearch<Sample>::TryRing16x16(const DirectionRow& Row, int32_t StepX, int32_t StepY)
{
    // Bits of a vector's component; outside of the window so few that the sum with the other's is below 0.
    const auto BitsOf = [](const uint8_t* pBits, int32_t Whole, int32_t First, int32_t Last) {
        return Whole >= First && Whole <= Last ? ptrdiff_t{pBits[4 * Whole]} : -2 * UINT8_MAX;
    };
    const uint8_t *const pBitsX = MVBits() - m_p.pred_mv.x, *const pBitsY = MVBits() - m_p.pred_mv.y;
    ptrdiff_t ColumnBits[3], RowBits[3], RowStart[3];
    for (int32_t i = 0; i < 3; ++i) {
        const int32_t y = m_BestY + (i - 1) * StepY;
        ColumnBits[i] = BitsOf(pBitsX, m_BestX + (i - 1) * StepX, m_Left, m_Right);
        RowBits[i] = BitsOf(pBitsY, y, m_Top, m_Bottom);
        // Wraps for steps beyond reach, which are not taken.
        RowStart[i] = static_cast<int32_t>(static_cast<uint32_t>(y) * static_cast<uint32_t>(m_p.pitch));
    }
    const int16_t* const pPrices = m_p.mv_cost_table->data();
    const Sample* const pColumn = m_p.ref_y + m_BestX;
    KeptPoints k;
    size_t Kept = 0;
    for (int32_t i = 0; i < Row.Count; ++i) {
        const auto Towards = static_cast<size_t>(Row.Next[i]);
        const ptrdiff_t dx = kDirections[Towards].dx, dy = kDirections[Towards].dy;
        const ptrdiff_t Bits = ColumnBits[dx + 1] + RowBits[dy + 1];
        if (Bits < 0) continue;
        k.Index[Kept] = Row.Next[i];
        k.Price[Kept] = pPrices[Bits];
        k.pBlock[Kept] = pColumn + RowStart[dy + 1] + dx * StepX;
        Kept += k.Price[Kept] < m_BestCost;
    }
    k.Count = static_cast<int32_t>(Kept);
    const int32_t Won = Measure(k);
    if (Won < 0) return -1;
    const Direction d = kDirections[k.Index[Won]];
    m_BestX += d.dx * StepX;
    m_BestY += d.dy * StepY;
    return k.Index[Won];
}

template <class Sample>
void IntegerSearch<Sample>::SetWindow()
{
    const int32_t RangeX = std::min(m_p.range_x, kReach), RangeY = std::min(m_p.range_y, kReach);
    m_Left = std::max(m_p.limit_left, m_BestX - RangeX);
    m_Right = std::min(m_p.limit_right, m_BestX + RangeX);
    m_Top = std::max(m_p.limit_top, m_BestY - RangeY);
    m_Bottom = std::min(m_p.limit_bottom, m_BestY + RangeY);
}

template <class Sample>
void IntegerSearch<Sample>::RunPattern()
{
    if (m_HasStopped) return;
    SetWindow();
    switch (m_p.method & 15) {
    case SEARCH_FULL: return Full();
    case SEARCH_CROSS_LOG: return CrossLog();
    case SEARCH_LOG: return Log();
    case SEARCH_HEXAGON_LOG: return HexagonLog();
    case SEARCH_CROSS: return Cross();
    case SEARCH_AXIS_BISECTION: return AxisBisection();
    case SEARCH_UMBRELLA: return Umbrella();
    default: return DirectionWalk();
    }
}

template <class Sample>
void IntegerSearch<Sample>::Full()
{
    for (int32_t y = m_Top; y <= m_Bottom && !m_HasStopped; ++y)
        for (int32_t x = m_Left; x <= m_Right && !m_HasStopped; ++x) Try(x, y);
}

template <class Sample>
void IntegerSearch<Sample>::Log()
{
    int32_t StepX = m_p.range_x, StepY = m_p.range_y, Towards = 0;
    if ((StepX | StepY) > kReach) [[unlikely]]
        BoundSteps(StepX, StepY);
    while (StepX > 0 && StepY > 0 && !m_HasStopped) {
        Towards = TryRing(kNextDirections[Towards], StepX, StepY);
        if (Towards >= 0) continue;
        Towards = 0;
        StepX /= 2;
        StepY /= 2;
    }
}

template <class Sample>
void IntegerSearch<Sample>::CrossLog()
{
    constexpr int32_t kLargestPower = 128;
    static_assert(2 * kLargestPower > kReach && kLargestPower <= kReach);
    const auto Range = static_cast<uint32_t>(std::max(m_p.range_x, m_p.range_y));
    const int32_t Log2 = static_cast<int32_t>(std::bit_width(Range)) - 1;
    int32_t Step = std::clamp(Log2 > 0 ? 1 << (Log2 - 1) : 0, 2, kLargestPower);
    while (Step > 1 && !m_HasStopped) {
        const MotionVector Points[4]{Point(m_BestX, m_BestY - Step), Point(m_BestX - Step, m_BestY),
                                     Point(m_BestX, m_BestY + Step), Point(m_BestX + Step, m_BestY)};
        if (TryPoints(Points, 4) < 0) Step /= 2;
    }
    const int32_t x = m_BestX, y = m_BestY;
    for (int32_t dy = -1; dy <= 1; ++dy)
        for (int32_t dx = -1; dx <= 1; ++dx) Try(x + dx, y + dy);
}

template <class Sample>
void IntegerSearch<Sample>::HexagonLog()
{
    static constexpr Direction kDiamond[8]{{-1, -1}, {0, -2}, {1, -1}, {2, 0}, {1, 1}, {0, 2}, {-1, 1}, {-2, 0}};
    int32_t Step = (m_Right - m_Left + m_Bottom - m_Top) / 4;
    while (Step > 0 && !m_HasStopped) {
        MotionVector Points[8];
        for (size_t i = 0; i < 8; ++i)
            Points[i] = Point(m_BestX + kDiamond[i].dx * Step, m_BestY + kDiamond[i].dy * Step);
        if (TryPoints(Points, 8) < 0) Step /= 2;
    }
    const MotionVector Near[4]{Point(m_BestX, m_BestY - 1), Point(m_BestX + 1, m_BestY), Point(m_BestX, m_BestY + 1),
                               Point(m_BestX - 1, m_BestY)};
    if (!m_HasStopped) TryPoints(Near, 4);
}

// Measures a column in row 0 of the vectors, whatever row the best point lies in, and keeps the column alone. That is
// deliberate in both patterns below.
template <class Sample>
bool IntegerSearch<Sample>::TryInRowZero(int32_t x)
{
    if (m_HasStopped || x < m_Left || x > m_Right) return false;
    const int32_t Cost = VectorCost(m_p, 4 * x, 0) + Distance(x, 0);
    if (Cost >= m_BestCost) return false;
    m_BestCost = Cost;
    m_BestX = x;
    m_HasStopped = Cost <= m_p.threshold;
    return true;
}

template <class Sample>
void IntegerSearch<Sample>::Cross()
{
    const int32_t CentreX = m_BestX, CentreY = m_BestY;
    const int32_t RangeX = LineRange(m_p.range_x), RangeY = LineRange(m_p.range_y);
    for (int32_t x = CentreX - RangeX; x < CentreX + RangeX; x += 2) TryInRowZero(x);
    const int32_t Column = m_BestX;
    for (int32_t y = CentreY - RangeY; y < CentreY + RangeY; y += 2) Try(Column, y);
}

template <class Sample>
void IntegerSearch<Sample>::AxisBisection()
{
    for (int32_t Step = m_p.range_x; Step > 0 && !m_HasStopped;) {
        const int32_t Centre = m_BestX, Bounded = std::min(Step, kReach + 1);
        TryInRowZero(Centre - Bounded);
        TryInRowZero(Centre + Bounded);
        if (m_BestX == Centre) Step /= 2;
    }
    for (int32_t Step = m_p.range_y; Step > 0 && !m_HasStopped;) {
        const int32_t Centre = m_BestY, Bounded = std::min(Step, kReach + 1);
        Try(m_BestX, Centre - Bounded);
        Try(m_BestX, Centre + Bounded);
        if (m_BestY == Centre) Step /= 2;
    }
}

template <class Sample>
void IntegerSearch<Sample>::DirectionWalk()
{
    for (int32_t Towards = 0; Towards >= 0 && !m_HasStopped;) Towards = TryRing(kNextDirections[Towards], 1, 1);
}

// Tries all points around the centre and moves there while one improves.
template <class Sample>
void IntegerSearch<Sample>::Walk(const MotionVector* pPoints, int32_t Count)
{
    for (bool HasMoved = true; HasMoved && !m_HasStopped;) {
        MotionVector Points[8];
        for (int32_t i = 0; i < Count; ++i) Points[i] = Point(m_BestX + pPoints[i].x, m_BestY + pPoints[i].y);
        HasMoved = TryPoints(Points, Count) >= 0;
    }
}

template <class Sample>
bool IntegerSearch<Sample>::TryUnvisited(int32_t x, int32_t y)
{
    if (!InWindow(x, y)) return false;
    uint8_t& Visited = m_p.pVisited[(y - m_Top) * (m_Right - m_Left + 1) + x - m_Left];
    if (Visited) return false;
    Visited = 1;
    return Try(x, y);
}

template <class Sample>
void IntegerSearch<Sample>::UmbrellaRings(const MotionVector& Centre, int32_t Rings)
{
    static constexpr int8_t kRingX[16]{0, 2, 4, 4, 4, 4, 4, 2, 0, -2, -4, -4, -4, -4, -4, -2};
    static constexpr int8_t kRingY[16]{-4, -3, -2, -1, 0, 1, 2, 3, 4, 3, 2, 1, 0, -1, -2, -3};
    for (int32_t r = 1; r <= Rings && !m_HasStopped; ++r) {
        TryUnvisited(Centre.x, Centre.y);
        for (size_t i = 0; i < 16; ++i) TryUnvisited(Centre.x + r * kRingX[i], Centre.y + r * kRingY[i]);
    }
}

template <class Sample>
void IntegerSearch<Sample>::Umbrella()
{
    const int32_t Sides = m_p.block_width + m_p.block_height;
    const int32_t m = Sides == 8 ? 4 : std::abs(Sides / 8 - 4);
    const int32_t Enough = 1000 >> m;
    if (m_BestCost < Enough || (m == 0 && m_BestCost < 800)) return;

    const int32_t x = m_BestX, y = m_BestY;
    std::memset(m_p.pVisited, 0, static_cast<size_t>(m_Bottom - m_Top + 1) * static_cast<size_t>(m_Right - m_Left + 1));
    const int32_t RangeX = LineRange(m_p.range_x), RangeY = LineRange(m_p.range_y / 2);
    for (int32_t i = x - RangeX; i < x + RangeX; i += 2) TryUnvisited(i, y);
    for (int32_t i = y - RangeY; i < y + RangeY; i += 2) TryUnvisited(x, i);
    const int32_t SquareX = m_BestX, SquareY = m_BestY;
    for (int32_t dy = -2; dy <= 2; ++dy)
        for (int32_t dx = -2; dx <= 2; ++dx) TryUnvisited(SquareX + dx, SquareY + dy);
    UmbrellaRings(Point(m_BestX, m_BestY), std::min(std::max(m_p.range_x, m_p.range_y) / 4, kReach));
    if (m_BestCost < Enough) return;

    static constexpr MotionVector kHexagon[6]{{-1, -2}, {1, -2}, {2, 0}, {1, 2}, {-1, 2}, {-2, 0}};
    static constexpr MotionVector kSmall[4]{{0, -1}, {1, 0}, {0, 1}, {-1, 0}};
    Walk(kHexagon, 6);
    Walk(kSmall, 4);
}

template <class Sample>
void SearchInteger(MEParams<Sample>& p)
{
    IntegerSearch<Sample> Search(p);
    Search.TryCandidates();
    Search.RunPattern();
    p.best_mv = Point(4 * Search.BestX(), 4 * Search.BestY());
    p.best_cost = Search.BestCost();
    if (!(p.flags & ENC_ANALYSE_SAD))
        p.best_cost = SATD(p.src_y, p.SrcPitch, p.ref_y + Search.BestY() * p.pitch + Search.BestX(), p.pitch,
                           SizeCode(p.block_width, p.block_height)) +
                      VectorCost(p, p.best_mv.x, p.best_mv.y);
    if (p.flags & ENC_ANALYSE_ME_CHROMA) p.best_cost += ChromaDistortion(p, p.best_mv.x, p.best_mv.y);
}

template class IntegerSearch<uint8_t>;
template void SearchInteger(MEParams<uint8_t>&);
template class IntegerSearch<uint16_t>;
template void SearchInteger(MEParams<uint16_t>&);

} // namespace UMC_H264_ENCODER
