// The walks of the search patterns over distances that a test states: the order of the points, and what moves.
#include "encoder/decide/motion_search.h"
#include "kernels/dispatch/kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <functional>
#include <random>
#include <set>
#include <utility>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;

using Place = std::pair<int32_t, int32_t>; // whole samples
using Surface = std::function<int32_t(int32_t, int32_t)>;

// What is asked of a search. Vectors cost nothing.
struct Question {
    int32_t Method = SEARCH_LOG, RangeX = 8, RangeY = 8, Threshold = -1, Width = 8, Height = 8;
    int32_t Left = -127, Top = -127, Right = 127, Bottom = 127;
    std::vector<Place> Starts{{0, 0}};
};
struct Answer {
    Place Best{0, 0};
    int32_t Cost = INT_MAX;
    std::vector<Place> Measured; // in order
};

// Each pattern once more, point by point.
class PlainWalk
{
public:
    PlainWalk(const Question& q, const Surface& s) : m_q(q), m_s(s), w{q.Left, q.Top, q.Right, q.Bottom} {}

    Answer Walk()
    {
        for (const Place& p : m_q.Starts) Try(p.first, p.second);
        w = {std::max(w.Left, X() - m_q.RangeX), std::max(w.Top, Y() - m_q.RangeY), std::min(w.Right, X() + m_q.RangeX),
             std::min(w.Bottom, Y() + m_q.RangeY)};
        switch (m_q.Method) {
        case 0: Full(); break;
        case 1: CrossLog(); break;
        case 2: Log(); break;
        case 3: HexagonLog(); break;
        case 4: Cross(); break;
        case 5: AxisBisection(); break;
        case 8: Umbrella(); break;
        default: Directions(1, 1);
        }
        return a;
    }

private:
    static constexpr int32_t kX[9]{0, -1, 0, 1, 1, 1, 0, -1, -1}, kY[9]{0, -1, -1, -1, 0, 1, 1, 1, 0};
    static std::vector<int> After(int Direction)
    {
        static const std::vector<int> kNext[9]{
            {1, 2, 3, 4, 5, 6, 7, 8}, {1, 2, 3, 7, 8}, {1, 2, 3},       {1, 2, 3, 4, 5}, {3, 4, 5},
            {3, 4, 5, 6, 7},          {5, 6, 7},       {5, 6, 7, 8, 1}, {7, 8, 1}};
        return kNext[Direction];
    }
    int32_t X() const { return a.Best.first; }
    int32_t Y() const { return a.Best.second; }
    bool HasStopped() const { return a.Cost <= m_q.Threshold; }
    bool Keep(int32_t Cost, const Place& p)
    {
        if (Cost >= a.Cost) return false;
        a.Cost = Cost;
        a.Best = p;
        return true;
    }
    bool Try(int32_t x, int32_t y)
    {
        if (HasStopped() || x < w.Left || x > w.Right || y < w.Top || y > w.Bottom) return false;
        a.Measured.emplace_back(x, y);
        return Keep(m_s(x, y), {x, y});
    }
    // The centre stays while its points are tried.
    bool TryAround(const std::vector<Place>& Offsets)
    {
        const Place c = a.Best;
        for (const auto& [dx, dy] : Offsets) Try(c.first + dx, c.second + dy);
        return a.Best != c;
    }
    static std::vector<Place> Times(int32_t p, std::vector<Place> Offsets)
    {
        for (auto& [dx, dy] : Offsets) dx *= p, dy *= p;
        return Offsets;
    }

    void Full()
    {
        for (int32_t y = w.Top; y <= w.Bottom; ++y)
            for (int32_t x = w.Left; x <= w.Right; ++x) Try(x, y);
    }
    void CrossLog()
    {
        int32_t p = 1;
        while (4 * p <= std::max(m_q.RangeX, m_q.RangeY)) p *= 2;
        for (p = std::max(p, 2); p > 1;)
            if (!TryAround(Times(p, {{0, -1}, {-1, 0}, {0, 1}, {1, 0}}))) p /= 2;
        TryAround({{-1, -1}, {0, -1}, {1, -1}, {-1, 0}, {0, 0}, {1, 0}, {-1, 1}, {0, 1}, {1, 1}});
    }
    void Log()
    {
        for (int32_t sx = m_q.RangeX, sy = m_q.RangeY; sx > 0 && sy > 0; sx /= 2, sy /= 2) Directions(sx, sy);
    }
    void Directions(int32_t sx, int32_t sy)
    {
        for (int Towards = 0, Moved = 1; Moved; Towards = Moved) {
            const Place c = a.Best;
            Moved = 0;
            for (const int d : After(Towards))
                if (Try(c.first + kX[d] * sx, c.second + kY[d] * sy)) Moved = d;
        }
    }
    void HexagonLog()
    {
        for (int32_t p = (w.Right - w.Left + w.Bottom - w.Top) / 4; p > 0;)
            if (!TryAround(Times(p, {{-1, -1}, {0, -2}, {1, -1}, {2, 0}, {1, 1}, {0, 2}, {-1, 1}, {-2, 0}}))) p /= 2;
        TryAround({{0, -1}, {1, 0}, {0, 1}, {-1, 0}});
    }
    // Measured in row 0, while the row of the best point stays.
    void TryColumn(int32_t x)
    {
        if (HasStopped() || x < w.Left || x > w.Right) return;
        a.Measured.emplace_back(x, 0);
        Keep(m_s(x, 0), {x, Y()});
    }
    void Cross()
    {
        const int32_t cx = X(), cy = Y();
        for (int32_t x = cx - m_q.RangeX; x < cx + m_q.RangeX; x += 2) TryColumn(x);
        const int32_t Column = X();
        for (int32_t y = cy - m_q.RangeY; y < cy + m_q.RangeY; y += 2) Try(Column, y);
    }
    void AxisBisection()
    {
        for (int32_t s = m_q.RangeX; s > 0;) {
            const int32_t c = X();
            TryColumn(c - s);
            TryColumn(c + s);
            if (X() == c) s /= 2;
        }
        for (int32_t s = m_q.RangeY; s > 0;)
            if (!TryAround({{0, -s}, {0, s}})) s /= 2;
    }
    void Visit(int32_t x, int32_t y)
    {
        if (m_Visited.insert({x, y}).second) Try(x, y);
    }
    void Umbrella()
    {
        const int32_t Enough = m_q.Width == 16 ? 1000 : 250; // of the two sizes asked about
        if (a.Cost < Enough) return;
        const auto [cx, cy] = a.Best;
        for (int32_t x = cx - m_q.RangeX; x < cx + m_q.RangeX; x += 2) Visit(x, cy);
        const int32_t Half = m_q.RangeY / 2;
        for (int32_t y = cy - Half; y < cy + Half; y += 2) Visit(cx, y);
        const auto [sx, sy] = a.Best;
        for (int32_t dy = -2; dy <= 2; ++dy)
            for (int32_t dx = -2; dx <= 2; ++dx) Visit(sx + dx, sy + dy);
        const auto [rx, ry] = a.Best;
        static const std::vector<Place> kRing{{0, -4}, {2, -3},  {4, -2},  {4, -1}, {4, 0},  {4, 1},
                                              {4, 2},  {2, 3},   {0, 4},   {-2, 3}, {-4, 2}, {-4, 1},
                                              {-4, 0}, {-4, -1}, {-4, -2}, {-2, -3}};
        for (int32_t r = 1; r <= std::max(m_q.RangeX, m_q.RangeY) / 4; ++r) {
            Visit(rx, ry);
            for (const auto& [dx, dy] : kRing) Visit(rx + r * dx, ry + r * dy);
        }
        if (a.Cost < Enough) return;
        while (TryAround({{-1, -2}, {1, -2}, {2, 0}, {1, 2}, {-1, 2}, {-2, 0}})) {
        }
        while (TryAround({{0, -1}, {1, 0}, {0, 1}, {-1, 0}})) {
        }
    }

    const Question& m_q;
    const Surface& m_s;
    struct {
        int32_t Left, Top, Right, Bottom;
    } w;
    Answer a;
    std::set<Place> m_Visited;
};

class SearchWalks : public testing::Test
{
protected:
    void SetUp() override
    {
        s_pTest = this;
        auto& k = kernels::g_Kernels;
        k.Sad16x16 = k.Sad16x8 = k.Sad8x16 = k.Sad8x8 = k.Sad8x4 = k.Sad4x8 =
            k.Sad4x4 = [](const uint8_t*, ptrdiff_t, const uint8_t* p, ptrdiff_t) { return s_pTest->At(p); };
        k.Sad16x16x4 = [](const uint8_t*, ptrdiff_t, const uint8_t* const pp[4], ptrdiff_t, int32_t* pSum) {
            for (int i = 0; i < 4; ++i) pSum[i] = s_pTest->At(pp[i]);
        };
    }
    void TearDown() override { kernels::g_Kernels = m_Kernels; }

    void ExpectPlainWalks(int32_t Size);
    Answer Search(const Question& q, const Surface& s)
    {
        static constexpr BitCostRow kFree{};
        m_Surface = s;
        m_Measured.clear();
        MEParams<uint8_t> p{};
        p.src_y = m_Plane.data();
        p.ref_y = m_Plane.data() + kCentre * kStep + kCentre;
        p.pitch = p.SrcPitch = kStep;
        p.block_width = q.Width, p.block_height = q.Height;
        p.mv_cost_table = &kFree;
        p.limit_left = q.Left, p.limit_right = q.Right, p.limit_top = q.Top, p.limit_bottom = q.Bottom;
        p.range_x = q.RangeX, p.range_y = q.RangeY;
        p.flags = ENC_ANALYSE_SAD;
        p.method = q.Method;
        p.threshold = q.Threshold;
        p.pVisited = m_Visited.data();
        for (const auto& [x, y] : q.Starts) AddCandidate(p, {static_cast<int16_t>(x), static_cast<int16_t>(y)});
        SearchInteger(p);
        return {{p.best_mv.x / 4, p.best_mv.y / 4}, p.best_cost, m_Measured};
    }

private:
    int32_t At(const uint8_t* p)
    {
        const auto i = static_cast<int32_t>(p - m_Plane.data());
        m_Measured.emplace_back(i % kStep - kCentre, i / kStep - kCentre);
        return m_Surface(m_Measured.back().first, m_Measured.back().second);
    }

    static constexpr int32_t kStep = 320, kCentre = 152;
    static inline SearchWalks* s_pTest = nullptr;
    kernels::KernelSlots m_Kernels = kernels::g_Kernels; // those of the processor, which come back at the end
    std::vector<uint8_t> m_Plane = std::vector<uint8_t>(kStep * kStep),
                         m_Visited = std::vector<uint8_t>(kVisitedPoints);
    Surface m_Surface;
    std::vector<Place> m_Measured;
};

// A funnel around a place, with bumps that make ties and lead astray.
Surface RandomSurface(std::mt19937& Rng)
{
    const auto Below = [&Rng](uint32_t n) { return static_cast<int32_t>(Rng() % n); };
    const int32_t cx = Below(60) - 30, cy = Below(60) - 30, Slope = Below(12), Floor = Below(1200);
    std::vector<int32_t> Bumps(64 * 64);
    const auto Height = static_cast<uint32_t>(1 + Rng() % 60);
    for (int32_t& b : Bumps) b = Below(Height);
    return [=](int32_t x, int32_t y) {
        return Floor + Slope * (std::abs(x - cx) + std::abs(y - cy)) +
               Bumps[static_cast<size_t>((y & 63) * 64 + (x & 63))];
    };
}

Question RandomQuestion(std::mt19937& Rng, int32_t Method, int32_t Size)
{
    const auto Within = [&Rng](int32_t Least, int32_t Most) {
        return Least + static_cast<int32_t>(Rng() % static_cast<uint32_t>(Most - Least + 1));
    };
    Question q{.Method = Method,
               .RangeX = Within(0, 20),
               .RangeY = Within(0, 20),
               .Threshold = -1,
               .Width = Size,
               .Height = Size};
    if (Rng() % 2) q.Threshold = Within(0, 1200);
    if (Rng() % 2) q.Left = -Within(2, 30), q.Right = Within(2, 30), q.Top = -Within(2, 30), q.Bottom = Within(2, 30);
    for (int i = Within(0, 3); i > 0; --i) {
        const Place p{Within(-25, 25), Within(-25, 25)};
        if (std::find(q.Starts.begin(), q.Starts.end(), p) == q.Starts.end()) q.Starts.push_back(p);
    }
    return q;
}

// Of blocks of one size, with all methods.
void SearchWalks::ExpectPlainWalks(int32_t Size)
{
    std::mt19937 Rng(11);
    for (int i = 0; i < 300; ++i)
        for (int32_t Method = 0; Method <= 8; ++Method) {
            SCOPED_TRACE(testing::Message() << "method " << Method << ", turn " << i);
            const Question q = RandomQuestion(Rng, Method, Size);
            const Surface s = RandomSurface(Rng);
            const Answer Wanted = PlainWalk(q, s).Walk(), Got = Search(q, s);
            if (Size < 16) {
                ASSERT_EQ(Got.Measured, Wanted.Measured);
            }
            ASSERT_EQ(Got.Best, Wanted.Best);
            ASSERT_EQ(Got.Cost, Wanted.Cost);
        }
}

TEST_F(SearchWalks, OfSmallBlocksMeasureTheirPointsInOrder) { ExpectPlainWalks(8); }

// Several points of a whole macroblock are measured at once; what comes of them is the same.
TEST_F(SearchWalks, OfWholeMacroblocksEndWhereSinglePointsLead) { ExpectPlainWalks(16); }

// The stages of the umbrella end below a cost of 1000, halved for each step down in size.
TEST_F(SearchWalks, OfTheUmbrellaEndAtACostBySize)
{
    const auto Measured = [this](int32_t Width, int32_t Height, int32_t Cost) {
        return Search({.Method = SEARCH_UMBRELLA, .Width = Width, .Height = Height},
                      [=](int32_t, int32_t) { return Cost; })
            .Measured.size();
    };
    const struct {
        int32_t Width, Height, Enough;
    } kSizes[]{{16, 16, 1000}, {16, 8, 500}, {8, 16, 500}, {8, 8, 250}, {8, 4, 125}, {4, 8, 125}, {4, 4, 62}};
    for (const auto& s : kSizes) {
        EXPECT_EQ(Measured(s.Width, s.Height, s.Enough - 1), 1u) << s.Width << 'x' << s.Height;
        EXPECT_GT(Measured(s.Width, s.Height, s.Enough), 1u) << s.Width << 'x' << s.Height;
    }
    // The last point of the rings comes to such a cost, and no walk follows.
    for (const int32_t Cost : {999, 1000}) {
        const Answer a = Search({.Method = SEARCH_UMBRELLA, .Width = 16, .Height = 16},
                                [=](int32_t x, int32_t y) { return x == -4 && y == -6 ? Cost : 5000; });
        EXPECT_EQ(a.Best, (Place{-4, -6}));
        EXPECT_EQ(std::count(a.Measured.begin(), a.Measured.end(), Place{-5, -8}), Cost == 1000) << Cost;
    }
}

} // namespace
