#include "kernels/intra/intra.h"

#include <algorithm>

namespace kernels {
namespace {

// Everything below is for samples of either width. Steps count samples; Depth is that of a sample in bits.
template <class Sample>
struct Target {
    Sample* p;
    ptrdiff_t Step;
    int Depth;
    Sample& At(int x, int y) const { return p[y * Step + x]; }
};

int Mean2(int a, int b) { return (a + b + 1) >> 1; }
int Mean3(int a, int b, int c) { return (a + 2 * b + c + 2) >> 2; }

template <class Sample>
void Fill(Target<Sample> Dst, int X, int Y, int Width, int Height, int Value)
{
    for (int y = Y; y < Y + Height; ++y) std::fill_n(&Dst.At(X, y), Width, static_cast<Sample>(Value));
}

template <class Sample>
int SumAbove(const Sample* pAround, ptrdiff_t Step, int Count)
{
    int Sum = 0;
    for (int x = 0; x < Count; ++x) Sum += pAround[x - Step];
    return Sum;
}

template <class Sample>
int SumLeft(const Sample* pAround, ptrdiff_t Step, int Count)
{
    int Sum = 0;
    for (int y = 0; y < Count; ++y) Sum += pAround[y * Step - 1];
    return Sum;
}

template <class Sample>
void PredictVertical(const Sample* pAround, ptrdiff_t AroundStep, Target<Sample> Dst, int Width, int Height)
{
    for (int y = 0; y < Height; ++y) std::copy_n(pAround - AroundStep, Width, &Dst.At(0, y));
}

template <class Sample>
void PredictHorizontal(const Sample* pAround, ptrdiff_t AroundStep, Target<Sample> Dst, int Width, int Height)
{
    for (int y = 0; y < Height; ++y) Fill(Dst, 0, y, Width, 1, pAround[y * AroundStep - 1]);
}

// 8.3.3.4 and 8.3.4.4: the slopes differ in their scale only, which goes by the side of 8 or 16 samples.
template <class Sample>
void PredictPlane(const Sample* pAround, ptrdiff_t AroundStep, Target<Sample> Dst, int Width, int Height)
{
    const Sample* const pAbove = pAround - AroundStep;
    const auto Slope = [](int Side, auto&& At) {
        const int Half = Side / 2;
        int Sum = 0;
        for (int i = 1; i <= Half; ++i) Sum += i * (At(Half - 1 + i) - At(Half - 1 - i));
        return ((Side == 16 ? 5 : 34) * Sum + 32) >> 6;
    };
    const int b = Slope(Width, [&](int x) { return int{pAbove[x]}; });
    const int c = Slope(Height, [&](int y) { return int{pAround[y * AroundStep - 1]}; });
    const int a = 16 * (pAround[(Height - 1) * AroundStep - 1] + pAbove[Width - 1]), Max = (1 << Dst.Depth) - 1;
    for (int y = 0; y < Height; ++y)
        for (int x = 0; x < Width; ++x)
            Dst.At(x, y) = static_cast<Sample>(
                std::clamp((a + b * (x - Width / 2 + 1) + c * (y - Height / 2 + 1) + 16) >> 5, 0, Max));
}

// ---- Directional modes -------------------------------------------------------------------------------------

// The neighbours of a Size x Size block on one line: left ones from the lowest up, above-left, above from the left on.
// Of a side that is not there the values are 0 and are not used.
template <class Sample, int Size>
struct Neighbours {
    Sample Line[3 * Size + 1] = {};
    Sample* Above() { return Line + Size + 1; } // [-1] is the one above-left
    const Sample* Above() const { return Line + Size + 1; }
    const Sample* Corner() const { return Line + Size; }
    int Left(int y) const { return Line[Size - 1 - y]; } // -1 is the one above-left
};

// 8.3.1.2.1 to 8.3.1.2.9 and 8.3.2.2.2 to 8.3.2.2.10: the same formulas over 4 and 8 samples.
template <class Sample, int Size>
void PredictDiagonalDownLeft(const Neighbours<Sample, Size>& n, Target<Sample> Dst)
{
    const Sample* const p = n.Above();
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const int i = x + y;
            Dst.At(x, y) = static_cast<Sample>(Mean3(p[i], p[i + 1], p[std::min(i + 2, 2 * Size - 1)]));
        }
}

template <class Sample, int Size>
void PredictDiagonalDownRight(const Neighbours<Sample, Size>& n, Target<Sample> Dst)
{
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const Sample* const p = n.Corner() + x - y;
            Dst.At(x, y) = static_cast<Sample>(Mean3(p[-1], p[0], p[1]));
        }
}

template <class Sample, int Size>
void PredictVerticalRight(const Neighbours<Sample, Size>& n, Target<Sample> Dst)
{
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const int z = 2 * x - y;
            const Sample* const p = n.Corner() + x - (y >> 1);
            Sample& Out = Dst.At(x, y);
            if (z < -1)
                Out = static_cast<Sample>(Mean3(n.Left(y - 2 * x - 1), n.Left(y - 2 * x - 2), n.Left(y - 2 * x - 3)));
            else
                Out = static_cast<Sample>(z & 1 ? Mean3(p[-1], p[0], p[1]) : Mean2(p[0], p[1]));
        }
}

template <class Sample, int Size>
void PredictHorizontalDown(const Neighbours<Sample, Size>& n, Target<Sample> Dst)
{
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const int z = 2 * y - x;
            const Sample* const p = n.Corner() - y + (x >> 1);
            const Sample* const pAbove = n.Above() + x - 2 * y;
            Sample& Out = Dst.At(x, y);
            if (z < -1)
                Out = static_cast<Sample>(Mean3(pAbove[-1], pAbove[-2], pAbove[-3]));
            else
                Out = static_cast<Sample>(z & 1 ? Mean3(p[-1], p[0], p[1]) : Mean2(p[-1], p[0]));
        }
}

template <class Sample, int Size>
void PredictVerticalLeft(const Neighbours<Sample, Size>& n, Target<Sample> Dst)
{
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const Sample* const p = n.Above() + x + (y >> 1);
            Dst.At(x, y) = static_cast<Sample>(y & 1 ? Mean3(p[0], p[1], p[2]) : Mean2(p[0], p[1]));
        }
}

template <class Sample, int Size>
void PredictHorizontalUp(const Neighbours<Sample, Size>& n, Target<Sample> Dst)
{
    for (int y = 0; y < Size; ++y)
        for (int x = 0; x < Size; ++x) {
            const int i = y + (x >> 1), Last = Size - 1; // past the last neighbour its value goes on
            const int a = n.Left(std::min(i, Last)), b = n.Left(std::min(i + 1, Last));
            Dst.At(x, y) = static_cast<Sample>(x & 1 ? Mean3(a, b, n.Left(std::min(i + 2, Last))) : Mean2(a, b));
        }
}

template <class Sample, int Size>
void PredictDc(const Neighbours<Sample, Size>& n, Target<Sample> Dst, unsigned Available)
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
    Fill(Dst, 0, 0, Size, Size, Count ? (Sum + Count / 2) / Count : 1 << (Dst.Depth - 1));
}

template <class Sample, int Size>
void PredictDirection(int Mode, const Neighbours<Sample, Size>& n, Target<Sample> Dst, unsigned Available)
{
    switch (Mode) {
    case 0:
        for (int y = 0; y < Size; ++y) std::copy_n(n.Above(), Size, &Dst.At(0, y));
        break;
    case 1:
        for (int y = 0; y < Size; ++y) Fill(Dst, 0, y, Size, 1, n.Left(y));
        break;
    case 2: PredictDc(n, Dst, Available); break;
    case 3: PredictDiagonalDownLeft(n, Dst); break;
    case 4: PredictDiagonalDownRight(n, Dst); break;
    case 5: PredictVerticalRight(n, Dst); break;
    case 6: PredictHorizontalDown(n, Dst); break;
    case 7: PredictVerticalLeft(n, Dst); break;
    default: PredictHorizontalUp(n, Dst); break;
    }
}

// The neighbours as they stand in the picture; those above-right are pTopRight's or repeat the last above.
template <class Sample, int Size>
Neighbours<Sample, Size> Gather(const Sample* pAround, ptrdiff_t Step, const Sample* pTopRight, unsigned Available)
{
    Neighbours<Sample, Size> n;
    if (Available & kLeft)
        for (int y = 0; y < Size; ++y) n.Line[Size - 1 - y] = pAround[y * Step - 1];
    if (Available & kTopLeft) n.Line[Size] = pAround[-Step - 1];
    if (Available & kTop) {
        std::copy_n(pAround - Step, Size, n.Above());
        if (Available & kTopRight)
            std::copy_n(pTopRight, Size, n.Above() + Size);
        else
            std::fill_n(n.Above() + Size, Size, n.Above()[Size - 1]);
    }
    return n;
}

// 8.3.2.2.1. Each run of neighbours is smoothed by 1 2 1; its ends repeat their own value where the next one is not
// there.
template <class Sample>
Neighbours<Sample, 8> Smooth(const Neighbours<Sample, 8>& In, unsigned Available)
{
    Neighbours<Sample, 8> Out;
    const bool Left = Available & kLeft, Top = Available & kTop, Corner = Available & kTopLeft;
    const Sample* const p = In.Line;
    const int First = Left ? 0 : Corner ? 8 : 9;
    const int Last = Top ? 24 : Corner ? 8 : 7;
    for (int i = First; i <= Last; ++i) {
        const bool Before = i > First && (i != 9 || Corner), After = i < Last && (i != 7 || Corner);
        Out.Line[i] = static_cast<Sample>(Mean3(Before ? p[i - 1] : p[i], p[i], After ? p[i + 1] : p[i]));
    }
    return Out;
}

// Mean of one 4x4 block of a chroma macroblock (8.3.4.1 to 8.3.4.3): the blocks that touch both sides or none use both,
// the others prefer the side that touches them.
template <class Sample>
int ChromaDc(const Sample* pAround, ptrdiff_t Step, int x, int y, unsigned Available, int Depth)
{
    const bool Top = Available & kTop, Left = Available & kLeft;
    const int Above = Top ? SumAbove(pAround + x, Step, 4) : 0;
    const int Beside = Left ? SumLeft(pAround + y * Step, Step, 4) : 0;
    if ((x > 0) == (y > 0) && Top && Left) return (Above + Beside + 4) >> 3;
    if (Top && ((x > 0 && y == 0) || !Left)) return (Above + 2) >> 2;
    return Left ? (Beside + 2) >> 2 : 1 << (Depth - 1);
}

template <class Sample>
void PredictChromaDc(const Sample* pAround, ptrdiff_t Step, Target<Sample> Dst, int Height, unsigned Available)
{
    int Dc[8]; // all first: the prediction may go to where the neighbours are
    for (int i = 0; i < Height / 2; ++i)
        Dc[i] = ChromaDc(pAround, Step, (i & 1) * 4, (i >> 1) * 4, Available, Dst.Depth);
    for (int i = 0; i < Height / 2; ++i) Fill(Dst, (i & 1) * 4, (i >> 1) * 4, 4, 4, Dc[i]);
}

template <class Sample>
void Predict16x16Dc(const Sample* pAround, ptrdiff_t Step, Target<Sample> Dst, unsigned Available)
{
    int Sum = 0, Count = 0;
    if (Available & kTop) Sum += SumAbove(pAround, Step, 16), Count += 16;
    if (Available & kLeft) Sum += SumLeft(pAround, Step, 16), Count += 16;
    Fill(Dst, 0, 0, 16, 16, Count ? (Sum + Count / 2) / Count : 1 << (Dst.Depth - 1));
}

template <class Sample>
void PredictChromaMode(int Mode, int Height, const Sample* pAround, ptrdiff_t Step, Target<Sample> Dst,
                       unsigned Available)
{
    switch (Mode) {
    case 0: return PredictChromaDc(pAround, Step, Dst, Height, Available);
    case 1: return PredictHorizontal(pAround, Step, Dst, 8, Height);
    case 2: return PredictVertical(pAround, Step, Dst, 8, Height);
    default: return PredictPlane(pAround, Step, Dst, 8, Height);
    }
}

// Steps of the functions below come in bytes.
Target<uint8_t> Narrow(uint8_t* p, ptrdiff_t Step) { return {p, Step, 8}; }
Target<uint16_t> Deep(uint16_t* p, ptrdiff_t Step, int Depth) { return {p, Step / 2, Depth}; }

} // namespace

void Predict16x16Vertical_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictVertical(pAround, AroundStep, Narrow(pDst, DstStep), 16, 16);
}

void Predict16x16Horizontal_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictHorizontal(pAround, AroundStep, Narrow(pDst, DstStep), 16, 16);
}

void Predict16x16Dc_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                       unsigned Available)
{
    Predict16x16Dc(pAround, AroundStep, Narrow(pDst, DstStep), Available);
}

void Predict16x16Plane_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictPlane(pAround, AroundStep, Narrow(pDst, DstStep), 16, 16);
}

void PredictChromaDc_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                        unsigned Available)
{
    PredictChromaDc(pAround, AroundStep, Narrow(pDst, DstStep), 8, Available);
}

void PredictChromaHorizontal_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                                unsigned)
{
    PredictHorizontal(pAround, AroundStep, Narrow(pDst, DstStep), 8, 8);
}

void PredictChromaVertical_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictVertical(pAround, AroundStep, Narrow(pDst, DstStep), 8, 8);
}

void PredictChromaPlane_px(const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep, unsigned)
{
    PredictPlane(pAround, AroundStep, Narrow(pDst, DstStep), 8, 8);
}

void PredictIntra4x4_px(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, const uint8_t* pTopRight, uint8_t* pDst,
                        ptrdiff_t DstStep, unsigned Available)
{
    PredictDirection(Mode, Gather<uint8_t, 4>(pAround, AroundStep, pTopRight, Available), Narrow(pDst, DstStep),
                     Available);
}

void PredictIntra8x8_px(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                        unsigned Available)
{
    const auto n = Gather<uint8_t, 8>(pAround, AroundStep, pAround - AroundStep + 8, Available);
    PredictDirection(Mode, Smooth(n, Available), Narrow(pDst, DstStep), Available);
}

void PredictChroma422_px(int Mode, const uint8_t* pAround, ptrdiff_t AroundStep, uint8_t* pDst, ptrdiff_t DstStep,
                         unsigned Available)
{
    PredictChromaMode(Mode, 16, pAround, AroundStep, Narrow(pDst, DstStep), Available);
}

void Predict16x16Deep_px(int Mode, const uint16_t* pAround, ptrdiff_t AroundStep, uint16_t* pDst, ptrdiff_t DstStep,
                         unsigned Available, int Depth)
{
    const Target<uint16_t> Dst = Deep(pDst, DstStep, Depth);
    const ptrdiff_t Step = AroundStep / 2;
    switch (Mode) {
    case 0: return PredictVertical(pAround, Step, Dst, 16, 16);
    case 1: return PredictHorizontal(pAround, Step, Dst, 16, 16);
    case 2: return Predict16x16Dc(pAround, Step, Dst, Available);
    default: return PredictPlane(pAround, Step, Dst, 16, 16);
    }
}

void PredictChromaDeep_px(int Mode, int Height, const uint16_t* pAround, ptrdiff_t AroundStep, uint16_t* pDst,
                          ptrdiff_t DstStep, unsigned Available, int Depth)
{
    PredictChromaMode(Mode, Height, pAround, AroundStep / 2, Deep(pDst, DstStep, Depth), Available);
}

void PredictIntra4x4Deep_px(int Mode, const uint16_t* pAround, ptrdiff_t AroundStep, const uint16_t* pTopRight,
                            uint16_t* pDst, ptrdiff_t DstStep, unsigned Available, int Depth)
{
    PredictDirection(Mode, Gather<uint16_t, 4>(pAround, AroundStep / 2, pTopRight, Available),
                     Deep(pDst, DstStep, Depth), Available);
}

void PredictIntra8x8Deep_px(int Mode, const uint16_t* pAround, ptrdiff_t AroundStep, uint16_t* pDst, ptrdiff_t DstStep,
                            unsigned Available, int Depth)
{
    const ptrdiff_t Step = AroundStep / 2;
    const auto n = Gather<uint16_t, 8>(pAround, Step, pAround - Step + 8, Available);
    PredictDirection(Mode, Smooth(n, Available), Deep(pDst, DstStep, Depth), Available);
}

} // namespace kernels
