#include "encoder/session/noise_median.h"

#include <cstdlib>
#include <utility>

namespace UMC_H264_ENCODER {

namespace {

// The centre and the neighbours that are close to it, in the order in which they are asked.
template <class Sample>
struct CloseSamples {
    static constexpr int32_t kCross = 5; // the centre and four neighbours
    Sample Value[9] = {};                // those beyond Count are 0
    int32_t Count = 0;
    int32_t Centre, Threshold;

    CloseSamples(Sample s, int32_t t) : Centre(s), Threshold(t) { Value[Count++] = s; }
    void Add(Sample s)
    {
        if (std::abs(s - Centre) < Threshold) Value[Count++] = s;
    }
    Sample Median() const
    {
        const Sample High = Value[Count / 2];
        return Count % 2 ? High : static_cast<Sample>((High + Value[Count / 2 - 1]) / 2);
    }
};

// Lets the entry at Last sink to its place among those before it, which fall already.
template <class Sample>
void Insert(Sample* pValues, int32_t Last)
{
    for (int32_t i = Last; i > 0; --i)
        if (pValues[i - 1] < pValues[i]) std::swap(pValues[i - 1], pValues[i]);
}

template <class Sample>
Sample MedianOf(const Sample* p, ptrdiff_t Pitch, const MedianThresholds& Thresholds)
{
    CloseSamples<Sample> s(*p, Thresholds.Neighbour);
    for (const ptrdiff_t Offset : {ptrdiff_t{-1}, ptrdiff_t{1}, -Pitch, Pitch}) s.Add(p[Offset]);
    if (!Thresholds.HasFourNeighbours)
        for (const ptrdiff_t Offset : {-Pitch - 1, -Pitch + 1, Pitch - 1, Pitch + 1}) s.Add(p[Offset]);
    // Four neighbours: all five places are sorted, deliberately, whatever their number is. A place that is not taken
    // counts as 0, so that it sinks behind the others, of which alone the median is taken.
    const int32_t Sorted = Thresholds.HasFourNeighbours ? CloseSamples<Sample>::kCross : s.Count;
    for (int32_t i = 1; i < Sorted; ++i) Insert(s.Value, i);
    return s.Median();
}

} // namespace

template <class Sample>
void ReduceByMedian(const NoisePlane<Sample>& Plane, const NoisePlane<Sample>& Previous,
                    const MedianThresholds& Thresholds)
{
    const auto Reduce = [&](int32_t x, int32_t y) {
        Sample* const p = Plane.Row(y) + x;
        if (std::abs(*p - Previous.Row(y)[x]) >= Thresholds.Trigger) *p = MedianOf(p, Plane.Pitch, Thresholds);
    };
    // Later medians see the earlier ones, so the order counts: two rows at a time, in pairs of columns, the upper row
    // of a pair before the lower one. What is left over on the left and on the right is a column of its own.
    const int32_t Last = Plane.Width - 2;
    for (int32_t y = 1; y < Plane.Height - 1; y += 2) {
        Reduce(1, y);
        Reduce(1, y + 1);
        for (int32_t x = 2; x < Last; x += 2) {
            Reduce(x, y);
            Reduce(x + 1, y);
            Reduce(x, y + 1);
            Reduce(x + 1, y + 1);
        }
        Reduce(Last, y);
        Reduce(Last, y + 1);
    }
}

template void ReduceByMedian(const NoisePlane<uint8_t>&, const NoisePlane<uint8_t>&, const MedianThresholds&);
template void ReduceByMedian(const NoisePlane<uint16_t>&, const NoisePlane<uint16_t>&, const MedianThresholds&);

} // namespace UMC_H264_ENCODER
