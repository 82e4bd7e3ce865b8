// Picture layouts and conversions in exact arithmetic, written from the layouts' definitions: what the conversion
// kernels are compared with.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace colour_model {

enum class Layout { Nv12, Yuy2, Uyvy, Yuv411, Yuv420, Yuv422, Y41p, Rgb32, Rgb24, Rgb565, Rgb555, Rgb444 };

int PlaneCount(Layout Id);
/// Bytes that a row of the plane holds for pictures of that width, and rows for that height.
int RowBytes(Layout Id, int Plane, int Width);
int Rows(Layout Id, int Plane, int Height);

struct PlaneView {
    const uint8_t* pFirst;
    ptrdiff_t Step;
    const uint8_t* At(int x, int y) const { return pFirst + y * Step + x; }
};

/// Values by component: Y, U, V, each chroma value for ChromaColumns x ChromaRows pixels; or R, G, B, alpha.
struct Picture {
    bool bRgb;
    int Width, Height;
    int ChromaColumns, ChromaRows;
    std::array<int, 4> Bits; // of each component, 0: there is none
    std::array<std::vector<double>, 4> Value;

    int Columns(int Component) const; ///< of the component's values
    int Lines(int Component) const;
    double& At(int Component, int x, int y) { return Value[static_cast<size_t>(Component)][Index(Component, x, y)]; }
    double At(int Component, int x, int y) const
    {
        return Value[static_cast<size_t>(Component)][Index(Component, x, y)];
    }

private:
    size_t Index(int Component, int x, int y) const { return static_cast<size_t>(y * Columns(Component) + x); }
};

Picture Read(Layout Id, const std::array<PlaneView, 3>& Planes, int Width, int Height);

enum class ChromaRule {
    Mean,         // over the source's samples of the pixels that the target's sample stands for, a half up
    LinesBetween, // linear interpolation between lines, from the first line to the last
    LinesCentred  // the same with the centres of the lines in proportion
};

/// The picture in another layout. RGB is in 8-bit levels, whatever the layout's bits; luma and chroma that come from
/// luma and chroma are whole numbers under ChromaRule::Mean.
Picture Convert(const Picture& From, Layout To, ChromaRule Rule = ChromaRule::Mean);

/// The largest difference of any value, in 8-bit levels, counted from the exact value's range where the actual one has
/// been cut to fewer bits.
double LargestDifference(const Picture& Exact, const Picture& Actual);

} // namespace colour_model
