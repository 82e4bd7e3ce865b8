#include "kernels/intra/intra.h"

#include <algorithm>
#include <cstring>

namespace kernels {
namespace {

uint8_t Clip1(int Value) { return static_cast<uint8_t>(std::clamp(Value, 0, 255)); }
uint8_t Mean2(int a, int b) { return static_cast<uint8_t>((a + b + 1) >> 1); }
uint8_t Mean3(int a, int b, int c) { return static_cast<uint8_t>((a + 2 * b + c + 2) >> 2); }

void Fill(uint8_t* pDst, ptrdiff_t DstStep, int Width, int Height, int Value)
{
    for (int y = 0; y < Height; ++y, pDst += DstStep) std::memset(pDst, Value, static_cast<size_t>(Width));
}

int SumAbove(const uint8_t* pAround, ptrdiff_t Step, int Count)
{
    int Sum = 0;
    for (int x = 0; x < Count; ++x) Sum += pAround[x - Step];
    return Sum;
}

int SumLeft(const uint8_t* pAround, ptrdiff_t Step, int Count)
{
    int Sum = 0;
    for (int y = 0; y < Count; ++y) Sum += pAround[y * Step - 1];
    return Sum;
}

template <int Size>
void PredictVertical(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    for (int y = 0; y < Size; ++y, pDst += DstStep) std::memcpy(pDst, pAround - AroundStep, Size);
}

template <int Size>
void PredictHorizontal(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    for (int y = 0; y < Size; ++y, pAround += AroundStep, pDst += DstStep) std::memset(pDst, pAround[-1], Size);
}

// 8.3.3.4 with Size 16, 8.3.4.4 for 4:2:0 with Size 8: the slopes differ in their scale only.
template <int Size>
void PredictPlane(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep)
{
    constexpr int Half = Size / 2, Scale = Size == 16 ? 5 : 34;
    const uint8_t* const pAbove = pAround - AroundStep;
    int H = 0, V = 0;
    for (int i = 1; i <= Half; ++i) {
        H += i * (pAbove[Half - 1 + i] - pAbove[Half - 1 - i]);
        V += i * (pAround[(Half - 1 + i) * AroundStep - 1] - pAround[(Half - 1 - i) * AroundStep - 1]);
    }
    const int b = (Scale * H + 32) >> 6, c = (Scale * V + 32) >> 6;
    const int a = 16 * (pAround[(Size - 1) * AroundStep - 1] + pAbove[Size - 1]);
    for (int y = 0; y < Size; ++y, pDst += DstStep)
        for (int x = 0; x < Size; ++x) pDst[x] = Clip1((a + b * (x - Half + 1) + c * (y - Half + 1) + 16) >> 5);
}

// ---- Directional modes -------------------------------------------------------------------------------------

// The neighbours of a Size x Size block on one line: left ones from the lowest up, above-left, above from the left on.
// Of a side that is not there the values are 0 and are not used.
template <int Size>
struct Neighbours {
    uint8_t Line[3 * Size + 1] = {};
    uint8_t* Above() { return Line + Size + 1; } // [-1] is the one above-left
    const uint8_t* Above() const { return Line + Size + 1; }
    const uint8_t* Corner() const { return Line + Size; }
    int Left(int y) const { return Line[Size - 1 - y]; } // -1 is the one above-left
};

// 8.3.1.2.1 to 8.3.1.2.9 and 8.3.2.2.2 to 8.3.2.2.10: the same formulas over 4 and 8 samples.
template <int Size>
void PredictDiagonalDownLeft(const Neighbours<Size>& n, uint8_t* pDst, ptrdiff_t DstStep)
{
    const uint8_t* const p = n.Above();
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const int i = x + y;
            pDst[y * DstStep + x] = Mean3(p[i], p[i + 1], p[std::min(i + 2, 2 * Size - 1)]);
        }
}

template <int Size>
void PredictDiagonalDownRight(const Neighbours<Size>& n, uint8_t* pDst, ptrdiff_t DstStep)
{
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const uint8_t* const p = n.Corner() + x - y;
            pDst[y * DstStep + x] = Mean3(p[-1], p[0], p[1]);
        }
}

template <int Size>
void PredictVerticalRight(const Neighbours<Size>& n, uint8_t* pDst, ptrdiff_t DstStep)
{
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const int z = 2 * x - y;
            const uint8_t* const p = n.Corner() + x - (y >> 1);
            uint8_t& Out = pDst[y * DstStep + x];
            if (z < -1)
                Out = Mean3(n.Left(y - 2 * x - 1), n.Left(y - 2 * x - 2), n.Left(y - 2 * x - 3));
            else
                Out = z & 1 ? Mean3(p[-1], p[0], p[1]) : Mean2(p[0], p[1]);
        }
}

template <int Size>
void PredictHorizontalDown(const Neighbours<Size>& n, uint8_t* pDst, ptrdiff_t DstStep)
{
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const int z = 2 * y - x;
            const uint8_t* const p = n.Corner() - y + (x >> 1);
            const uint8_t* const pAbove = n.Above() + x - 2 * y;
            uint8_t& Out = pDst[y * DstStep + x];
            if (z < -1)
                Out = Mean3(pAbove[-1], pAbove[-2], pAbove[-3]);
            else
                Out = z & 1 ? Mean3(p[-1], p[0], p[1]) : Mean2(p[-1], p[0]);
        }
}

template <int Size>
void PredictVerticalLeft(const Neighbours<Size>& n, uint8_t* pDst, ptrdiff_t DstStep)
{
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const uint8_t* const p = n.Above() + x + (y >> 1);
            pDst[y * DstStep + x] = y & 1 ? Mean3(p[0], p[1], p[2]) : Mean2(p[0], p[1]);
        }
}

template <int Size>
void PredictHorizontalUp(const Neighbours<Size>& n, uint8_t* pDst, ptrdiff_t DstStep)
{
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const int i = y + (x >> 1), Last = Size - 1; // past the last neighbour its value goes on
            const int a = n.Left(std::min(i, Last)), b = n.Left(std::min(i + 1, Last));
            pDst[y * DstStep + x] = x & 1 ? Mean3(a, b, n.Left(std::min(i + 2, Last))) : Mean2(a, b);
        }
}

template <int Size>
void PredictDc(const Neighbours<Size>& n, uint8_t* pDst, ptrdiff_t DstStep, unsigned Available)
{
    int Sum = 0, Count = 0;
    if (Available & kTop) {
        for (int x = 0; x < Size; ++x) Sum += n.Above()[x];
        Count += Size;
    }
    if (Available & kLeft) {
        for (int y = 0; y < Size; ++y) Sum += n.Left(y);
        Count += Size;
    }
    Fill(pDst, DstStep, Size, Size, Count ? (Sum + Count / 2) / Count : 128);
}

template <int Size>
void PredictDirection(int Mode, const Neighbours<Size>& n, uint8_t* pDst, ptrdiff_t DstStep, unsigned Available)
{
    switch (Mode) {
    case 0:
        for (int y = 0; y < Size; ++y) std::memcpy(pDst + y * DstStep, n.Above(), Size);
        break;
    case 1:
        for (int y = 0; y < Size; ++y) std::memset(pDst + y * DstStep, n.Left(y), Size);
        break;
    case 2: PredictDc(n, pDst, DstStep, Available); break;
    case 3: PredictDiagonalDownLeft(n, pDst, DstStep); break;
    case 4: PredictDiagonalDownRight(n, pDst, DstStep); break;
    case 5: PredictVerticalRight(n, pDst, DstStep); break;
    case 6: PredictHorizontalDown(n, pDst, DstStep); break;
    case 7: PredictVerticalLeft(n, pDst, DstStep); break;
    default: PredictHorizontalUp(n, pDst, DstStep); break;
    }
}

// The neighbours as they stand in the picture; those above-right are pTopRight's or repeat the last above.
template <int Size>
Neighbours<Size> Gather(const uint8_t* pAround, ptrdiff_t Step, const uint8_t* pTopRight, unsigned Available)
{
    Neighbours<Size> n;
    if (Available & kLeft)
        for (int y = 0; y < Size; ++y) n.Line[Size - 1 - y] = pAround[y * Step - 1];
    if (Available & kTopLeft) n.Line[Size] = pAround[-Step - 1];
    if (Available & kTop) {
        std::memcpy(n.Above(), pAround - Step, Size);
        if (Available & kTopRight)
            std::memcpy(n.Above() + Size, pTopRight, Size);
        else
            std::memset(n.Above() + Size, n.Above()[Size - 1], Size);
    }
    return n;
}

// 8.3.2.2.1. Each run of neighbours is smoothed by 1 2 1; its ends repeat their own value where the next one is not
// there.
Neighbours<8> Smooth(const Neighbours<8>& In, unsigned Available)
{
    Neighbours<8> Out;
    const bool Left = Available & kLeft, Top = Available & kTop, Corner = Available & kTopLeft;
    const uint8_t* const p = In.Line;
    const int First = Left ? 0 : Corner ? 8 : 9;
    const int Last = Top ? 24 : Corner ? 8 : 7;
    for (int i = First; i <= Last; ++i) {
        const bool Before = i > First && (i != 9 || Corner), After = i < Last && (i != 7 || Corner);
        Out.Line[i] = Mean3(Before ? p[i - 1] : p[i], p[i], After ? p[i + 1] : p[i]);
    }
    return Out;
}

// Mean of one 4x4 quarter of a chroma block (8.3.4.1 to 8.3.4.3): the corner quarters of the diagonal use both sides,
// the others prefer the side that touches them.
int ChromaDc(const uint8_t* pAround, ptrdiff_t Step, int x, int y, unsigned Available)
{
    const bool Top = Available & kTop, Left = Available & kLeft;
    const int Above = Top ? SumAbove(pAround + x, Step, 4) : 0;
    const int Beside = Left ? SumLeft(pAround + y * Step, Step, 4) : 0;
    if (x == y && Top && Left) return (Above + Beside + 4) >> 3;
    if (Top && (x > y || !Left)) return (Above + 2) >> 2;
    return Left ? (Beside + 2) >> 2 : 128;
}

} // namespace

void Predict16x16Vertical_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictVertical<16>(pAround, AroundStep, pDst, DstStep);
}

void Predict16x16Horizontal_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictHorizontal<16>(pAround, AroundStep, pDst, DstStep);
}

void Predict16x16Dc_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                       unsigned Available)
{
    int Sum = 0, Count = 0;
    if (Available & kTop) Sum += SumAbove(pAround, AroundStep, 16), Count += 16;
    if (Available & kLeft) Sum += SumLeft(pAround, AroundStep, 16), Count += 16;
    Fill(pDst, DstStep, 16, 16, Count ? (Sum + Count / 2) / Count : 128);
}

void Predict16x16Plane_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictPlane<16>(pAround, AroundStep, pDst, DstStep);
}

void PredictChromaDc_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                        unsigned Available)
{
    int Dc[4];
    for (int i = 0; i < 4; ++i) Dc[i] = ChromaDc(pAround, AroundStep, (i & 1) * 4, (i >> 1) * 4, Available);
    for (int i = 0; i < 4; ++i) Fill(pDst + (i >> 1) * 4 * DstStep + (i & 1) * 4, DstStep, 4, 4, Dc[i]);
}

void PredictChromaHorizontal_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                                unsigned)
{
    PredictHorizontal<8>(pAround, AroundStep, pDst, DstStep);
}

void PredictChromaVertical_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictVertical<8>(pAround, AroundStep, pDst, DstStep);
}

void PredictChromaPlane_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictPlane<8>(pAround, AroundStep, pDst, DstStep);
}

void PredictIntra4x4_px(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, const uint8_t* pTopRight, uint8_t* pDst,
                        ptrdiff_t DstStep, unsigned Available)
{
    PredictDirection(Mode, Gather<4>(pAround, AroundStep, pTopRight, Available), pDst, DstStep, Available);
}

void PredictIntra8x8_px(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                        unsigned Available)
{
    const auto n = Gather<8>(pAround, AroundStep, pAround - AroundStep + 8, Available);
    PredictDirection(Mode, Smooth(n, Available), pDst, DstStep, Available);
}

} // namespace kernels
