#include "kernels/resize/resize_passes.h"
#include "kernels/resize/resize_work.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace kernels {

namespace {

constexpr int kBorderBits = 12;          // of fraction, in the borders between target pixels
constexpr double kLongestFine = 1 << 12; // source pixels to a target pixel up to which the fraction is kept
constexpr double kLongest = 1 << 24;     // the sums of whole rows fit into 32 bits up to here
static_assert(255LL * (1 << kBorderBits) * ((1 << 12) + 1) <= UINT32_MAX && 255LL * (1 << 24) <= UINT32_MAX);

// What a target column or row covers: the source pixels from First to Last, the two at the ends by so many units of
// the 1 << Bits that the others count. LastWeight is 0 when there is only one.
struct Cover {
    int32_t First, Last, FirstWeight, LastWeight;
    double PerUnit; // the reciprocal of all of it
};

// Without fraction when a target pixel covers so many that it cannot be seen: its sums fit into the same words.
int BitsFor(double Factor) { return Factor * kLongestFine >= 1.0 ? kBorderBits : 0; }

Cover CoverOf(int32_t Index, double Factor, int32_t SourceCount, int Bits)
{
    const auto Border = [&](double i) {
        return int64_t{std::llround(std::min(i / Factor, static_cast<double>(SourceCount)) * (1 << Bits))};
    };
    // Never empty: behind the source lies its last unit.
    const int64_t Begin = std::min(Border(Index), (int64_t{SourceCount} << Bits) - 1);
    const int64_t End = std::max(Border(Index + 1.0), Begin + 1);
    const int64_t First = Begin >> Bits, Last = (End - 1) >> Bits;
    return {.First = static_cast<int32_t>(First),
            .Last = static_cast<int32_t>(Last),
            .FirstWeight = static_cast<int32_t>(std::min(End, (First + 1) << Bits) - Begin),
            .LastWeight = First < Last ? static_cast<int32_t>(End - (Last << Bits)) : 0,
            .PerUnit = 1.0 / static_cast<double>(End - Begin)};
}

void AddCoveredRows(const ResizePasses& Passes, const ResizeSource& From, const Cover& Rows, int Bits, uint32_t* pSum)
{
    const int32_t Count = From.Width * Passes.Channels;
    const auto Weight = [&](int32_t y) {
        return y == Rows.First ? Rows.FirstWeight : y == Rows.Last ? Rows.LastWeight : 1 << Bits;
    };
    for (int32_t y = Rows.First; y <= Rows.Last; y += 2) {
        const uint8_t* const pRow = From.pPixels + y * From.Step;
        if (y < Rows.Last)
            Passes.pAddRows(pRow, Weight(y), pRow + From.Step, Weight(y + 1), Count, pSum);
        else
            Passes.pAddRows(pRow, Weight(y), pRow, 0, Count, pSum);
    }
}

// One target row from the sums of the source rows that it covers, with the reciprocal of their
// units.
template <int Channels>
void SumAlongRow(const uint32_t* pSum, const Cover* pColumns, int32_t Width, int Bits, double PerRowUnit, uint8_t* pOut)
{
    for (int32_t x = 0; x < Width; ++x, pOut += Channels) {
        const Cover& Columns = pColumns[x];
        const uint32_t* const pFirst = pSum + ptrdiff_t{Columns.First} * Channels;
        const uint32_t* const pLast = pSum + ptrdiff_t{Columns.Last} * Channels;
        uint64_t Sum[Channels]{}; // of the pixels that are covered from border to border, then of all
        for (const uint32_t* p = pFirst + Channels; p < pLast; p += Channels)
            for (int c = 0; c < Channels; ++c) Sum[c] += p[c];
        const double PerArea = Columns.PerUnit * PerRowUnit;
        for (int c = 0; c < Channels; ++c) {
            Sum[c] = (Sum[c] << Bits) + uint64_t{pFirst[c]} * static_cast<uint32_t>(Columns.FirstWeight) +
                     uint64_t{pLast[c]} * static_cast<uint32_t>(Columns.LastWeight);
            pOut[c] = static_cast<uint8_t>(
                static_cast<int32_t>(static_cast<double>(static_cast<int64_t>(Sum[c])) * PerArea + 0.5));
        }
    }
}

using SumAlongRowSig = decltype(SumAlongRow<1>);
constexpr SumAlongRowSig* kSumAlongRow[]{SumAlongRow<1>, SumAlongRow<2>, SumAlongRow<3>, SumAlongRow<4>};

} // namespace

int32_t ResizeArea(const ResizePasses& Passes, const ResizeSource& From, const ResizeTarget& To, double xFactor,
                   double yFactor)
{
    if (std::min(1.0 / yFactor, static_cast<double>(From.Height)) > kLongest) return kStatusSize;
    const int BitsX = BitsFor(xFactor), BitsY = BitsFor(yFactor);
    const int64_t RowLength = int64_t{From.Width} * Passes.Channels;
    ResizeWork Work;
    const int64_t SumPlace = Work.Reserve<uint32_t>(RowLength);
    const int64_t ColumnPlace = Work.Reserve<Cover>(To.Width);
    if (!Work.Allocate()) return kStatusNoMemory;
    uint32_t* const pSum = Work.At<uint32_t>(SumPlace);
    Cover* const pColumns = Work.At<Cover>(ColumnPlace);
    for (int32_t x = 0; x < To.Width; ++x) pColumns[x] = CoverOf(x, xFactor, From.Width, BitsX);

    for (int32_t y = 0; y < To.Height; ++y) {
        const Cover Rows = CoverOf(y, yFactor, From.Height, BitsY);
        std::memset(pSum, 0, static_cast<size_t>(RowLength) * sizeof *pSum);
        AddCoveredRows(Passes, From, Rows, BitsY, pSum);
        kSumAlongRow[Passes.Channels - 1](pSum, pColumns, To.Width, BitsX, Rows.PerUnit, To.pPixels + y * To.Step);
    }
    return kStatusOk;
}

} // namespace kernels
