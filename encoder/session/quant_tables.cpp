#include "encoder/session/quant_tables.h"

#include "Common/h264/h264_tables.h"

#include <algorithm>

namespace UMC_H264_ENCODER {

namespace {

constexpr uint32_t kFlat = 16; // an entry of a list that changes nothing

// A coefficient is at most the sum of magnitudes of the differences times the largest weight of its position: 1, 2 * 2
// or 2 in the three classes of positions.
int32_t ZeroSad(const kernels::QuantParams& p)
{
    const uint32_t Room = (1u << p.Shift) - 1 - p.Rounding;
    return static_cast<int32_t>(Room / std::max({1u * p.Factor[0], 4u * p.Factor[5], 2u * p.Factor[1]}));
}

// The chroma DC level is that of the sum over all 64 differences, four parts, with one bit more of shift.
int32_t ZeroSadOfChromaDc(const kernels::QuantParams& p)
{
    const uint32_t Room = (2u << p.Shift) - 1 - 2 * p.Rounding;
    return static_cast<int32_t>(Room / p.Factor[0] / 4);
}

// A factor by an entry of a list; four bits of shift make up for the division by 16 that is left out.
uint16_t WeightedFactor(uint32_t Factor, uint32_t Entry) { return static_cast<uint16_t>((Factor + Entry / 2) / Entry); }

// Entries of the default inter list in raster order.
std::array<uint8_t, 64> DefaultList8x8()
{
    std::array<uint8_t, 64> List{};
    for (size_t i = 0; i < 64; ++i) List[h264::kZigzag8x8[i]] = h264::kDefaultScaling8x8[1][i];
    return List;
}

template <class Params>
void SetRounding(Params& p, size_t Qp, int ShiftAtZero, bool HasMatrix, uint32_t Fraction)
{
    p.Shift = ShiftAtZero + static_cast<int>(Qp / 6) - (HasMatrix ? 4 : 0);
    p.Rounding = (1u << p.Shift) / Fraction;
}

void FillFactors(bool HasMatrix, uint32_t Fraction, QuantTables::BySteps<kernels::QuantParams>& Of4x4,
                 QuantTables::BySteps<kernels::QuantParams8x8>& Of8x8)
{
    const std::array<uint8_t, 64> List = DefaultList8x8();
    for (size_t Qp = 0; Qp < kQuantSteps; ++Qp) {
        SetRounding(Of4x4[Qp], Qp, 15, HasMatrix, Fraction);
        SetRounding(Of8x8[Qp], Qp, 16, HasMatrix, Fraction);
        for (size_t i = 0; i < 16; ++i) {
            const uint16_t Factor = h264::kQuantFactor4x4[Qp % 6][i];
            Of4x4[Qp].Factor[i] = HasMatrix ? WeightedFactor(Factor, kFlat) : Factor;
        }
        for (size_t i = 0; i < 64; ++i) {
            const uint16_t Factor = h264::kQuantFactor8x8[Qp % 6][i];
            Of8x8[Qp].Factor[i] = HasMatrix ? WeightedFactor(Factor, List[i]) : Factor;
        }
    }
}

} // namespace

void FillQuantTables(bool HasMatrix, QuantTables& q)
{
    FillFactors(HasMatrix, 3, q.Intra, q.Intra8x8);
    FillFactors(HasMatrix, 6, q.Inter, q.Inter8x8);
    for (size_t Qp = 0; Qp < kQuantSteps; ++Qp) {
        q.LumaZeroSad[Qp] = ZeroSad(q.Inter[Qp]);
        q.ChromaZeroSad[Qp] = std::min(q.LumaZeroSad[Qp], ZeroSadOfChromaDc(q.Inter[Qp]));
    }
    const std::array<uint8_t, 64> List = DefaultList8x8();
    for (size_t m = 0; m < 6; ++m) {
        for (size_t i = 0; i < 16; ++i) q.Scale[m][i] = static_cast<int16_t>(kFlat * h264::kNormAdjust4x4[m][i]);
        for (size_t i = 0; i < 64; ++i)
            q.Scale8x8[m][i] = static_cast<int16_t>((HasMatrix ? List[i] : kFlat) * h264::kNormAdjust8x8[m][i]);
    }
}

} // namespace UMC_H264_ENCODER
