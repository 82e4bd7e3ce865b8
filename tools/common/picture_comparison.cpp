#include "tools/common/picture_comparison.h"

#include <algorithm>
#include <cstring>

namespace {

struct Difference {
    int32_t MbX = INT32_MAX, MbY = INT32_MAX;
    size_t Plane = 0;
    int32_t x = 0, y = 0; // in samples of the plane
    int32_t Value = 0, Expected = 0;

    bool IsAfter(int32_t OtherMbX, int32_t OtherMbY) const
    {
        return OtherMbY < MbY || (OtherMbY == MbY && OtherMbX < MbX);
    }
};

int32_t SampleAt(const uint8_t* pRow, int32_t x, int32_t SampleBytes)
{
    return SampleBytes == 1 ? pRow[x] : pRow[2 * x] | pRow[2 * x + 1] << 8;
}

// Takes the plane's first difference in macroblock order when it lies in an earlier macroblock than what is known.
void LookThrough(const ComparedPlane& Plane, size_t Index, const uint8_t* pExpected, Difference& First)
{
    const auto RowBytes = static_cast<size_t>(Plane.Width) * static_cast<size_t>(Plane.SampleBytes);
    for (int32_t y = 0; y < Plane.Height; ++y, pExpected += RowBytes) {
        const uint8_t* const pRow = Plane.pSamples + y * Plane.Pitch;
        if (std::memcmp(pRow, pExpected, RowBytes) == 0) continue;
        const int32_t MbY = y * Plane.HeightDiv / 16;
        for (int32_t x = 0; x < Plane.Width; ++x) {
            const int32_t Value = SampleAt(pRow, x, Plane.SampleBytes);
            const int32_t Wanted = SampleAt(pExpected, x, Plane.SampleBytes);
            const int32_t MbX = x * Plane.WidthDiv / 16;
            if (Value != Wanted && First.IsAfter(MbX, MbY)) First = {MbX, MbY, Index, x, y, Value, Wanted};
        }
    }
}

} // namespace

std::string PictureComparison::Next(std::span<const ComparedPlane> Planes)
{
    constexpr const char* kPlaneName[] = {"Y", "Cb", "Cr"};
    const std::string Picture = "picture " + std::to_string(m_Count);
    Difference First;
    for (size_t i = 0; i < Planes.size(); ++i) {
        const ComparedPlane& Plane = Planes[i];
        m_Expected.resize(static_cast<size_t>(Plane.Width) * static_cast<size_t>(Plane.Height) *
                          static_cast<size_t>(Plane.SampleBytes));
        if (std::fread(m_Expected.data(), 1, m_Expected.size(), m_File.get()) != m_Expected.size())
            return Picture + ": the other decoder has no more";
        LookThrough(Plane, i, m_Expected.data(), First);
    }
    if (First.MbX == INT32_MAX) {
        ++m_Count;
        return {};
    }
    const auto Pair = [](int32_t a, int32_t b) {
        std::string Text = std::to_string(a); // g++ 12 takes a text in front of a number's for an overlap
        return Text.insert(0, 1, '(').append(", ").append(std::to_string(b)).append(1, ')');
    };
    return Picture + ", macroblock " + Pair(First.MbX, First.MbY) + ", plane " + kPlaneName[First.Plane] + ", sample " +
           Pair(First.x, First.y) + ": " + std::to_string(First.Value) + ", expected " + std::to_string(First.Expected);
}

bool PictureComparison::IsAtEnd()
{
    const int Byte = std::fgetc(m_File.get());
    if (Byte != EOF) std::ungetc(Byte, m_File.get());
    return Byte == EOF;
}
