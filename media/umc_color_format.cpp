#include "media/umc_color_format.h"

namespace UMC {

// Rows in lookup order. A plane row: width divisor, height divisor, samples per pixel, alignment multiplier.
static constexpr ColorFormatInfo kFormats[] = {
    {YV12, 3, 8, 1, {{1, 1, 1, 2}, {2, 2, 1, 1}, {2, 2, 1, 1}}},
    {NV12, 2, 8, 2, {{1, 1, 1, 1}, {1, 2, 1, 1}}},
    {YUY2, 1, 8, 2, {{2, 1, 4, 1}}},
    {UYVY, 1, 8, 2, {{2, 1, 4, 1}}},
    {YUV411, 3, 8, 1, {{1, 1, 1, 1}, {4, 1, 1, 1}, {4, 1, 1, 1}}},
    {YUV420, 3, 8, 1, {{1, 1, 1, 1}, {2, 2, 1, 1}, {2, 2, 1, 1}}},
    {YUV422, 3, 8, 1, {{1, 1, 1, 1}, {2, 1, 1, 1}, {2, 1, 1, 1}}},
    {YUV444, 3, 8, 1, {{1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}}},
    {YUV420M, 3, 8, 1, {{1, 1, 1, 1}, {2, 2, 1, 1}, {2, 2, 1, 1}}},
    {Y411, 1, 8, 2, {{4, 1, 6, 1}}},
    {Y41P, 1, 8, 2, {{8, 1, 12, 1}}},
    {RGB32, 1, 8, 1, {{1, 1, 4, 1}}},
    {RGB24, 1, 8, 4, {{1, 1, 3, 1}}},
    {RGB565, 1, 16, 2, {{1, 1, 1, 1}}},
    {RGB555, 1, 16, 2, {{1, 1, 1, 1}}},
    {RGB444, 1, 16, 2, {{1, 1, 1, 1}}},
    {GRAY, 1, 8, 1, {{1, 1, 1, 1}}},
    {GRAYA, 2, 8, 1, {{1, 1, 1, 1}, {1, 1, 1, 1}}},
    {YUVA420, 4, 8, 1, {{1, 1, 1, 1}, {2, 2, 1, 1}, {2, 2, 1, 1}, {1, 1, 1, 1}}},
    {YUVA422, 4, 8, 1, {{1, 1, 1, 1}, {2, 1, 1, 1}, {2, 1, 1, 1}, {1, 1, 1, 1}}},
    {YUVA444, 4, 8, 1, {{1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}}},
    {YUV410, 3, 8, 1, {{1, 1, 1, 1}, {4, 4, 1, 1}, {4, 4, 1, 1}}},
};

const ColorFormatInfo* FindColorFormat(ColorFormat Id)
{
    for (const ColorFormatInfo& Row : kFormats)
        if (Row.Id == Id) return &Row;
    return nullptr;
}

} // namespace UMC
