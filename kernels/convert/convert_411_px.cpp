// The layouts with one chroma sample for four pixels in a line, which libyuv does not have.
#include "kernels/convert/convert_arguments.h"

#include <algorithm>
#include <cstring>

namespace kernels {

namespace {

void CopyLuma(const SourcePlanes& From, const TargetPlanes& To, int32_t Width, int32_t Height)
{
    for (int32_t y = 0; y < Height; ++y)
        std::memcpy(To.pPlane[0] + ptrdiff_t{y} * To.Step[0], From.pPlane[0] + ptrdiff_t{y} * From.Step[0],
                    static_cast<size_t>(Width));
}

uint8_t Mean(uint8_t a, uint8_t b) { return static_cast<uint8_t>((a + b + 1) >> 1); }

constexpr int32_t kGroupPixels = 8, kGroupBytes = 12;
// Bytes of a group that hold the luma of pixel 0 to 7.
constexpr int kLuma[kGroupPixels]{1, 3, 5, 7, 8, 9, 10, 11};

// One row from luma and 4:2:0 chroma. Pixels and samples beyond the width repeat the last one.
void PackRow(const uint8_t* pY, const uint8_t* pU, const uint8_t* pV, uint8_t* pTo, int32_t Width)
{
    const int32_t LastPixel = Width - 1, LastChroma = LastPixel / 2;
    for (int32_t x = 0; x < Width; x += kGroupPixels, pTo += kGroupBytes) {
        for (int32_t i = 0; i < kGroupPixels; ++i) pTo[kLuma[i]] = pY[std::min(x + i, LastPixel)];
        for (int32_t i = 0; i < 2; ++i) {
            const int32_t a = std::min(x / 2 + 2 * i, LastChroma), b = std::min(a + 1, LastChroma);
            pTo[4 * i] = Mean(pU[a], pU[b]);
            pTo[4 * i + 2] = Mean(pV[a], pV[b]);
        }
    }
}

void UnpackLuma(const uint8_t* pFrom, uint8_t* pY, int32_t Width)
{
    for (int32_t x = 0; x < Width; ++x) pY[x] = pFrom[x / kGroupPixels * kGroupBytes + kLuma[x % kGroupPixels]];
}

// Chroma of two rows, which may be the same one, to one row of Width 4:2:0 samples.
void UnpackChroma(const uint8_t* pUpper, const uint8_t* pLower, uint8_t* pU, uint8_t* pV, int32_t Width)
{
    for (int32_t x = 0; x < Width; ++x) {
        const int32_t Place = x / 4 * kGroupBytes + x % 4 / 2 * 4;
        pU[x] = Mean(pUpper[Place], pLower[Place]);
        pV[x] = Mean(pUpper[Place + 2], pLower[Place + 2]);
    }
}

} // namespace

int32_t Yuv411ToYuv422_px(const SourcePlanes* pFrom, const TargetPlanes* pTo, int32_t Width, int32_t Height)
{
    if (const int32_t Status = ConvertRefusal(pFrom, 3, pTo, 3, Width, Height)) return Status;
    CopyLuma(*pFrom, *pTo, Width, Height);
    const int32_t ChromaWidth = Width / 2 + Width % 2;
    for (int i = 1; i < 3; ++i)
        for (int32_t y = 0; y < Height; ++y) {
            const uint8_t* const pSource = pFrom->pPlane[i] + ptrdiff_t{y} * pFrom->Step[i];
            uint8_t* const pTarget = pTo->pPlane[i] + ptrdiff_t{y} * pTo->Step[i];
            for (int32_t x = 0; x < ChromaWidth; ++x) pTarget[x] = pSource[x / 2];
        }
    return kStatusOk;
}

int32_t Yuv420ToYuv411_px(const SourcePlanes* pFrom, const TargetPlanes* pTo, int32_t Width, int32_t Height)
{
    if (const int32_t Status = ConvertRefusal(pFrom, 3, pTo, 3, Width, Height)) return Status;
    CopyLuma(*pFrom, *pTo, Width, Height);
    const int32_t ChromaWidth = Width / 2 + Width % 2;
    for (int i = 1; i < 3; ++i)
        for (int32_t y = 0; y < Height; ++y) {
            const uint8_t* const pSource = pFrom->pPlane[i] + ptrdiff_t{y / 2} * pFrom->Step[i];
            uint8_t* const pTarget = pTo->pPlane[i] + ptrdiff_t{y} * pTo->Step[i];
            for (int32_t x = 0; x < ChromaWidth; x += 2)
                pTarget[x / 2] = Mean(pSource[x], pSource[std::min(x + 1, ChromaWidth - 1)]);
        }
    return kStatusOk;
}

int32_t Yuv420ToY41p_px(const SourcePlanes* pFrom, const TargetPlanes* pTo, int32_t Width, int32_t Height)
{
    if (const int32_t Status = ConvertRefusal(pFrom, 3, pTo, 1, Width, Height)) return Status;
    const SourcePlanes& f = *pFrom;
    for (int32_t y = 0; y < Height; ++y)
        PackRow(f.pPlane[0] + ptrdiff_t{y} * f.Step[0], f.pPlane[1] + ptrdiff_t{y / 2} * f.Step[1],
                f.pPlane[2] + ptrdiff_t{y / 2} * f.Step[2], pTo->pPlane[0] + ptrdiff_t{y} * pTo->Step[0], Width);
    return kStatusOk;
}

int32_t Y41pToYuv420_px(const SourcePlanes* pFrom, const TargetPlanes* pTo, int32_t Width, int32_t Height)
{
    if (const int32_t Status = ConvertRefusal(pFrom, 1, pTo, 3, Width, Height)) return Status;
    const TargetPlanes& t = *pTo;
    const auto SourceRow = [&](int32_t y) { return pFrom->pPlane[0] + ptrdiff_t{y} * pFrom->Step[0]; };
    for (int32_t y = 0; y < Height; ++y) {
        UnpackLuma(SourceRow(y), t.pPlane[0] + ptrdiff_t{y} * t.Step[0], Width);
        if (y % 2 == 0)
            UnpackChroma(SourceRow(y), SourceRow(std::min(y + 1, Height - 1)),
                         t.pPlane[1] + ptrdiff_t{y / 2} * t.Step[1], t.pPlane[2] + ptrdiff_t{y / 2} * t.Step[2],
                         Width / 2 + Width % 2);
    }
    return kStatusOk;
}

} // namespace kernels
