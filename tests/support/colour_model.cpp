#include "tests/support/colour_model.h"

#include <algorithm>
#include <cmath>

namespace colour_model {

namespace {

int DivideUp(int Value, int Divisor) { return (Value + Divisor - 1) / Divisor; }

bool IsRgb(Layout Id) { return Id >= Layout::Rgb32; }

int ChromaColumns(Layout Id) { return IsRgb(Id) ? 1 : Id == Layout::Yuv411 || Id == Layout::Y41p ? 4 : 2; }
int ChromaRows(Layout Id) { return Id == Layout::Nv12 || Id == Layout::Yuv420 ? 2 : 1; }

std::array<int, 4> BitsOf(Layout Id)
{
    switch (Id) {
    case Layout::Rgb32: return {8, 8, 8, 8};
    case Layout::Rgb565: return {5, 6, 5, 0};
    case Layout::Rgb555: return {5, 5, 5, 1};
    case Layout::Rgb444: return {4, 4, 4, 4};
    default: return {8, 8, 8, 0};
    }
}

Picture Blank(Layout Id, int Width, int Height)
{
    Picture p{IsRgb(Id), Width, Height, ChromaColumns(Id), ChromaRows(Id), BitsOf(Id), {}};
    for (int c = 0; c < 4; ++c)
        if (p.Bits[static_cast<size_t>(c)])
            p.Value[static_cast<size_t>(c)].resize(static_cast<size_t>(p.Columns(c) * p.Lines(c)));
    return p;
}

// The byte of one value of a layout of luma and chroma.
uint8_t Sample(Layout Id, const std::array<PlaneView, 3>& Planes, int Component, int x, int y)
{
    constexpr int kLuma[8]{1, 3, 5, 7, 8, 9, 10, 11};
    const auto Plane = static_cast<size_t>(Component);
    switch (Id) {
    case Layout::Nv12: return Component ? *Planes[1].At(2 * x + Component - 1, y) : *Planes[0].At(x, y);
    case Layout::Yuy2: return *Planes[0].At(Component ? 4 * x + 2 * Component - 1 : 2 * x, y);
    case Layout::Uyvy: return *Planes[0].At(Component ? 4 * x + 2 * Component - 2 : 2 * x + 1, y);
    case Layout::Y41p:
        return *Planes[0].At(Component ? x / 2 * 12 + x % 2 * 4 + 2 * (Component - 1) : x / 8 * 12 + kLuma[x % 8], y);
    default: return *Planes[Plane].At(x, y);
    }
}

void ReadRgb(Picture& Out, Layout Id, const PlaneView& Plane)
{
    const int Bytes = RowBytes(Id, 0, 1);
    for (int y = 0; y < Out.Height; ++y)
        for (int x = 0; x < Out.Width; ++x) {
            unsigned Word = 0; // from the low end: blue, green, red, alpha
            for (int i = 0; i < Bytes; ++i) Word |= static_cast<unsigned>(*Plane.At(x * Bytes + i, y)) << 8 * i;
            for (const int c : {2, 1, 0, 3}) {
                const int Bits = Out.Bits[static_cast<size_t>(c)];
                if (Bits) Out.At(c, x, y) = Word & ((1u << Bits) - 1);
                Word >>= Bits;
            }
        }
}

// A value of fewer bits fills 8 bits with repetitions of itself.
double EightBits(double Level, int Bits)
{
    const auto Value = static_cast<int>(Level);
    if (Bits == 1) return Value * 255;
    return Bits == 8 ? Value : Value << (8 - Bits) | Value >> (2 * Bits - 8);
}

double Luma(double r, double g, double b) { return 16 + (65.481 * r + 128.553 * g + 24.966 * b) / 255; }
double ChromaU(double r, double g, double b) { return 128 + (-37.797 * r - 74.203 * g + 112 * b) / 255; }
double ChromaV(double r, double g, double b) { return 128 + (112 * r - 93.786 * g - 18.214 * b) / 255; }

// The mean of a component over the pixels that value (x, y) of a sampling by Columns x Lines stands for.
double MeanOver(const Picture& From, int Component, int x, int y, int Columns, int Lines)
{
    const int sx = Component && !From.bRgb ? From.ChromaColumns : 1, sy = Component && !From.bRgb ? From.ChromaRows : 1;
    const int Right = std::min((x + 1) * Columns, From.Width) - 1, Bottom = std::min((y + 1) * Lines, From.Height) - 1;
    double Sum = 0;
    int Count = 0;
    for (int j = y * Lines / sy; j <= Bottom / sy; ++j)
        for (int i = x * Columns / sx; i <= Right / sx; ++i, ++Count) {
            const double Value = From.At(Component, i, j);
            Sum += From.bRgb ? EightBits(Value, From.Bits[static_cast<size_t>(Component)]) : Value;
        }
    return Sum / Count;
}

double BetweenLines(const Picture& From, int Component, int x, double Line)
{
    const int Last = From.Lines(Component) - 1;
    Line = std::clamp(Line, 0.0, static_cast<double>(Last));
    const int Above = std::min(static_cast<int>(Line), Last), Below = std::min(Above + 1, Last);
    const double Share = Line - Above;
    return From.At(Component, x, Above) * (1 - Share) + From.At(Component, x, Below) * Share;
}

double Resampled(const Picture& From, const Picture& To, int Component, int x, int y, ChromaRule Rule)
{
    const double Lines = From.Lines(Component), Target = To.Lines(Component);
    if (Component && Rule == ChromaRule::LinesBetween)
        return BetweenLines(From, Component, x, Target > 1 ? y * (Lines - 1) / (Target - 1) : 0);
    if (Component && Rule == ChromaRule::LinesCentred)
        return BetweenLines(From, Component, x, (y + 0.5) * Lines / Target - 0.5);
    const double Mean = Component ? MeanOver(From, Component, x, y, To.ChromaColumns, To.ChromaRows) : From.At(0, x, y);
    return std::floor(Mean + 0.5);
}

double FromRgb(const Picture& From, const Picture& To, int Component, int x, int y)
{
    const int Columns = Component ? To.ChromaColumns : 1, Lines = Component ? To.ChromaRows : 1;
    const double r = MeanOver(From, 0, x, y, Columns, Lines), g = MeanOver(From, 1, x, y, Columns, Lines),
                 b = MeanOver(From, 2, x, y, Columns, Lines);
    return Component == 0 ? Luma(r, g, b) : Component == 1 ? ChromaU(r, g, b) : ChromaV(r, g, b);
}

double ToRgb(const Picture& From, int Component, int x, int y)
{
    const double l = 255.0 / 219 * (From.At(0, x, y) - 16);
    const double u = 255.0 / 224 * (From.At(1, x / From.ChromaColumns, y / From.ChromaRows) - 128);
    const double v = 255.0 / 224 * (From.At(2, x / From.ChromaColumns, y / From.ChromaRows) - 128);
    switch (Component) {
    case 0: return std::clamp(l + 1.402 * v, 0.0, 255.0);
    case 1: return std::clamp(l - 0.344136 * u - 0.714136 * v, 0.0, 255.0);
    case 2: return std::clamp(l + 1.772 * u, 0.0, 255.0);
    default: return 255;
    }
}

} // namespace

int PlaneCount(Layout Id)
{
    if (Id == Layout::Nv12) return 2;
    return Id == Layout::Yuv411 || Id == Layout::Yuv420 || Id == Layout::Yuv422 ? 3 : 1;
}

int RowBytes(Layout Id, int Plane, int Width)
{
    switch (Id) {
    case Layout::Nv12: return Plane ? DivideUp(Width, 2) * 2 : Width;
    case Layout::Yuy2:
    case Layout::Uyvy: return DivideUp(Width, 2) * 4;
    case Layout::Yuv411: return Plane ? DivideUp(Width, 4) : Width;
    case Layout::Yuv420:
    case Layout::Yuv422: return Plane ? DivideUp(Width, 2) : Width;
    case Layout::Y41p: return DivideUp(Width, 8) * 12;
    case Layout::Rgb32: return Width * 4;
    case Layout::Rgb24: return Width * 3;
    default: return Width * 2;
    }
}

int Rows(Layout Id, int Plane, int Height) { return Plane ? DivideUp(Height, ChromaRows(Id)) : Height; }

int Picture::Columns(int Component) const { return bRgb || Component == 0 ? Width : DivideUp(Width, ChromaColumns); }

int Picture::Lines(int Component) const { return bRgb || Component == 0 ? Height : DivideUp(Height, ChromaRows); }

Picture Read(Layout Id, const std::array<PlaneView, 3>& Planes, int Width, int Height)
{
    Picture p = Blank(Id, Width, Height);
    if (p.bRgb)
        ReadRgb(p, Id, Planes[0]);
    else
        for (int c = 0; c < 3; ++c)
            for (int y = 0; y < p.Lines(c); ++y)
                for (int x = 0; x < p.Columns(c); ++x) p.At(c, x, y) = Sample(Id, Planes, c, x, y);
    return p;
}

Picture Convert(const Picture& From, Layout To, ChromaRule Rule)
{
    Picture p = Blank(To, From.Width, From.Height);
    const auto Value = [&](int c, int x, int y) {
        if (!From.bRgb) return p.bRgb ? ToRgb(From, c, x, y) : Resampled(From, p, c, x, y, Rule);
        if (!p.bRgb) return FromRgb(From, p, c, x, y);
        const int Bits = From.Bits[static_cast<size_t>(c)];
        return Bits ? EightBits(From.At(c, x, y), Bits) : 255.0;
    };
    for (int c = 0; c < 4; ++c)
        if (p.Bits[static_cast<size_t>(c)])
            for (int y = 0; y < p.Lines(c); ++y)
                for (int x = 0; x < p.Columns(c); ++x) p.At(c, x, y) = Value(c, x, y);
    return p;
}

double LargestDifference(const Picture& Exact, const Picture& Actual)
{
    double Largest = 0;
    for (int c = 0; c < 4; ++c) {
        const int Bits = Actual.Bits[static_cast<size_t>(c)];
        if (!Bits) continue;
        const double Unit = 1 << (8 - Bits); // an actual level stands for Unit values from level * Unit on
        for (int y = 0; y < Exact.Lines(c); ++y)
            for (int x = 0; x < Exact.Columns(c); ++x) {
                const double Low = Actual.At(c, x, y) * Unit, Value = Exact.At(c, x, y);
                const double High = Bits == 8 ? Low : Low + Unit;
                Largest = std::max({Largest, Low - Value, Value - High});
            }
    }
    return Largest;
}

} // namespace colour_model
