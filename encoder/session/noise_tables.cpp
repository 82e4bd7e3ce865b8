#include "encoder/session/noise_tables.h"

#include <algorithm>
#include <cstdlib>

namespace UMC_H264_ENCODER {

namespace {

constexpr int32_t kBlendZero = 255; // entry of a difference of 0

// The share of a difference v that is taken back. Its magnitude is at most that of v, so that no sum leaves the range
// of samples: 5/8, 1/2 and 3/8, where negative values are rounded down.
int32_t Share(int32_t v, const BlendThresholds& t)
{
    const int32_t a = std::abs(v);
    if (a < t.Low) return (v * 5 + 3) >> 3;
    if (a < t.Mid) return v >> 1;
    if (a < t.High) return (v * 3 + 3) >> 3;
    return 0;
}

// By magnitude: up to 86, from which on nothing is taken away.
constexpr int32_t kCoredBelow = 87;
constexpr auto kCoring = [] {
    std::array<uint8_t, kCoredBelow> t{0, 1, 1, 1, 1, 1, 1, 1, 2, 2, 3, 4, 6, 7, 8, 10, 11, 12, 14, 15, 17, 18};
    for (uint8_t d = 22; d <= 25; ++d) t[d] = static_cast<uint8_t>(d - 2);
    for (uint8_t d = 26; d < kCoredBelow; ++d) t[d] = static_cast<uint8_t>(d - 1);
    return t;
}();

} // namespace

BlendTable MakeBlendTable(const BlendThresholds& Thresholds)
{
    static_assert((127 * 5 + 3) >> 3 <= INT8_MAX); // below a limit of 128
    BlendTable t;
    for (int32_t i = 0; i < static_cast<int32_t>(t.Correction.size()); ++i)
        t.Correction[static_cast<size_t>(i)] = static_cast<int8_t>(Share(i - kBlendZero, Thresholds));
    return t;
}

template <class Sample>
void Blend(const NoisePlane<Sample>& Plane, const NoisePlane<Sample>& Previous, const BlendTable& Table)
{
    for (int32_t y = 0; y < Plane.Height; ++y) {
        Sample* const p = Plane.Row(y);
        const Sample* const pPrevious = Previous.Row(y);
        for (int32_t x = 0; x < Plane.Width; ++x) {
            // Differences that only 16-bit samples have are motion, as that of 255 is: no limit lies above 128.
            const int32_t v = std::clamp(pPrevious[x] - p[x], -kBlendZero, kBlendZero);
            p[x] = static_cast<Sample>(p[x] + Table.Correction[static_cast<size_t>(v + kBlendZero)]);
        }
    }
}

int32_t Coring(int32_t d)
{
    const int32_t a = std::abs(d);
    // So are those beyond 8 bits, which only 16-bit samples have.
    if (a >= kCoredBelow) return d;
    const int32_t Left = kCoring[static_cast<size_t>(a)];
    return d < 0 ? -Left : Left;
}

template <class Sample>
void Core(const NoisePlane<Sample>& Plane, const NoisePlane<Sample>& Previous)
{
    for (int32_t y = 0; y < Plane.Height; ++y) {
        Sample* const p = Plane.Row(y);
        const Sample* const pPrevious = Previous.Row(y);
        for (int32_t x = 0; x < Plane.Width; ++x)
            p[x] = static_cast<Sample>(pPrevious[x] + Coring(p[x] - pPrevious[x]));
    }
}

template void Blend(const NoisePlane<uint8_t>&, const NoisePlane<uint8_t>&, const BlendTable&);
template void Blend(const NoisePlane<uint16_t>&, const NoisePlane<uint16_t>&, const BlendTable&);
template void Core(const NoisePlane<uint8_t>&, const NoisePlane<uint8_t>&);
template void Core(const NoisePlane<uint16_t>&, const NoisePlane<uint16_t>&);

} // namespace UMC_H264_ENCODER
