#include "encoder/session/noise_borders.h"

#include <algorithm>
#include <cstdlib>

namespace UMC_H264_ENCODER {

namespace {

// What a test of the left or bottom edge counts; of 16-bit samples too, whose sums 32 bits would not hold.
struct EdgeSums {
    int64_t d01 = 0, d12 = 0, d23 = 0; // differences of neighbouring lines, counted from the edge
    int64_t Sum1 = 0;                  // samples of the line next to the edge
    int32_t Over = 0;                  // bright samples of the edge that are no darker than those two lines further in

    // Samples of lines 0 to 3 at one place.
    void Add(int32_t s0, int32_t s1, int32_t s2, int32_t s3, int32_t Bright, int32_t Step)
    {
        d01 += std::abs(s0 - s1);
        d12 += std::abs(s1 - s2);
        d23 += std::abs(s2 - s3);
        Sum1 += s1;
        Over += s0 > Bright && s0 + Step > s2;
    }
};

int32_t BrightLevel(bool IsHalf) { return IsHalf ? 75 : 150; }
int32_t BrightStep(bool IsHalf) { return IsHalf ? 5 : 10; }

// What is done to an edge of Length samples, and what becomes of its state.
enum class EdgeRepair { None, OneLine, TwoLines };
EdgeRepair Judge(const EdgeSums& s, int32_t Length, bool IsHalf, int32_t& State)
{
    const int64_t t1 = int64_t{IsHalf ? 10 : 20} * Length, t2 = int64_t{IsHalf ? 2 : 4} * Length;
    if (s.Over > Length / 8) {
        State = BORDER_TRUSTED;
        return EdgeRepair::None;
    }
    if (State == BORDER_UNKNOWN && std::llabs(s.d23 - s.d12) >= t2 && std::llabs(s.d01 - s.d12) < t1)
        return EdgeRepair::TwoLines;
    if (s.Sum1 > int64_t{Length} * BrightLevel(IsHalf)) State = BORDER_ONE_LINE;
    return EdgeRepair::OneLine;
}

template <class Sample>
void CopyRow(const NoisePlane<Sample>& p, int32_t From, int32_t To)
{
    if (p.pSamples) std::copy_n(p.Row(From), p.Width, p.Row(To));
}

template <class Sample>
void CopyColumn(const NoisePlane<Sample>& p, int32_t From, int32_t To)
{
    if (!p.pSamples) return;
    for (int32_t y = 0; y < p.Height; ++y) p.Row(y)[To] = p.Row(y)[From];
}

} // namespace

template <class Sample>
void NoiseBorders::RepairTop(const NoisePicture<Sample>& Picture)
{
    const NoisePlane<Sample>& Y = Picture.Y;
    const Sample *const p0 = Y.Row(0), *const p1 = Y.Row(1), *const p2 = Y.Row(2), *const p3 = Y.Row(3);
    int64_t s01 = 0, s12 = 0, s23 = 0, Sum0 = 0, Sum2 = 0;
    for (int32_t x = 0; x < Y.Width; ++x) {
        s01 += std::abs(p0[x] - p1[x]);
        s12 += std::abs(p1[x] - p2[x]);
        s23 += std::abs(p2[x] - p3[x]);
        Sum0 += p0[x];
        Sum2 += p2[x];
    }
    const int64_t t = int64_t{half_scale ? 2 : 4} * Y.Width;
    const bool IsInnerSmooth = std::llabs(s23 - s12) < t;
    if (std::llabs(s01 - s12) < t && IsInnerSmooth && Sum0 > Sum2 &&
        Sum2 > int64_t{Y.Width} * BrightLevel(half_scale)) {
        top_state = BORDER_TRUSTED;
        return;
    }
    if (top_state != BORDER_UNKNOWN || IsInnerSmooth) {
        CopyRow(Y, 1, 0);
        top_state = BORDER_ONE_LINE;
    } else {
        CopyRow(Y, 2, 0);
        CopyRow(Y, 2, 1);
    }
    // One line of chroma either way, deliberately: it stands for both lines of luma.
    CopyRow(Picture.U, 1, 0);
    CopyRow(Picture.V, 1, 0);
}

template <class Sample>
void NoiseBorders::RepairLeft(const NoisePicture<Sample>& Picture)
{
    const NoisePlane<Sample>& Y = Picture.Y;
    EdgeSums s;
    // The upper and the lower half go in step, so that all rows are seen.
    const int32_t Half = Y.Height / 2;
    for (int32_t y = 0; y < Half; ++y)
        for (const Sample* const p : {Y.Row(y), Y.Row(y + Half)})
            s.Add(p[0], p[1], p[2], p[3], BrightLevel(half_scale), BrightStep(half_scale));
    const EdgeRepair Repair = Judge(s, Y.Height, half_scale, left_state);
    if (Repair == EdgeRepair::None) return;
    if (Repair == EdgeRepair::TwoLines) CopyColumn(Y, 2, 1);
    CopyColumn(Y, 1, 0);
    CopyColumn(Picture.U, 1, 0);
    CopyColumn(Picture.V, 1, 0);
}

template <class Sample>
void NoiseBorders::RepairBottom(const NoisePicture<Sample>& Picture)
{
    const NoisePlane<Sample>& Y = Picture.Y;
    const int32_t Last = Y.Height - 1, LastChroma = Y.Height / 2 - 1;
    EdgeSums s;
    for (int32_t x = 0; x < Y.Width; ++x)
        s.Add(Y.Row(Last)[x], Y.Row(Last - 1)[x], Y.Row(Last - 2)[x], Y.Row(Last - 3)[x], BrightLevel(half_scale),
              BrightStep(half_scale));
    const EdgeRepair Repair = Judge(s, Y.Width, half_scale, bottom_state);
    if (Repair == EdgeRepair::None) return;
    if (Repair == EdgeRepair::TwoLines) CopyRow(Y, Last - 2, Last - 1);
    CopyRow(Y, Last - 1, Last);
    CopyRow(Picture.U, LastChroma - 1, LastChroma);
    CopyRow(Picture.V, LastChroma - 1, LastChroma);
}

template <class Sample>
void NoiseBorders::Repair(const NoisePicture<Sample>& Picture)
{
    if (top_state > BORDER_TRUSTED) RepairTop(Picture);
    if (left_state > BORDER_TRUSTED) RepairLeft(Picture);
    if (bottom_state > BORDER_TRUSTED) RepairBottom(Picture);
}

template void NoiseBorders::Repair(const NoisePicture<uint8_t>&);
template void NoiseBorders::Repair(const NoisePicture<uint16_t>&);

} // namespace UMC_H264_ENCODER
