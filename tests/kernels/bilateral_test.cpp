#include "kernels/bilateral/bilateral_rows.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/support/plane_testing.h"

namespace {

using namespace kernels;
using namespace kernel_testing;

struct Window {
    int32_t Type, Width, Height, StepInKernel;
    float ValueSquareSigma, PositionSquareSigma;
};

constexpr Window kNineTaps{kBilateralGauss, 13, 13, 6, 200.0f, 200.0f};
constexpr Window kWindows[]{
    kNineTaps,
    {kBilateralGaussFull, 13, 13, 6, 200.0f, 200.0f},
    {kBilateralGauss, 3, 3, 1, 100.0f, 5.0f},
    {kBilateralGauss, 5, 5, 1, 200.0f, 50.0f},
    {kBilateralGauss, 7, 7, 1, 150.0f, 9.0f},
    {kBilateralGauss, 9, 5, 2, 60.0f, 8.0f},
    {kBilateralGauss, 1, 11, 1, 200.0f, 30.0f},
    {kBilateralGauss, 21, 1, 3, 200.0f, 100.0f},
    {kBilateralGauss, 13, 13, 7, 200.0f, 200.0f}, // the centre alone
    {kBilateralGauss, 1, 1, 1, 200.0f, 200.0f},
    {kBilateralGauss, 5, 5, 2, 0.01f, 1e-3f},
    {kBilateralGaussFull, 13, 13, 6, 190.0f, 1e9f},
    // Those below need the wide weights.
    {kBilateralGauss, 13, 13, 1, 200.0f, 200.0f},
    {kBilateralGauss, 13, 13, 6, 2000.0f, 200.0f},
    {kBilateralGaussFull, 13, 13, 6, 2000.0f, 200.0f},
    {kBilateralGauss, 5, 5, 1, 4000.0f, 1e9f},
    {kBilateralGauss, 13, 13, 6, 1e12f, 1e12f},
    {kBilateralGaussFull, 3, 3, 1, std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity()},
};

// A work buffer for the window, Shift bytes off alignment and with guard bytes behind it.
class WorkBuffer
{
public:
    WorkBuffer(const Window& w, int32_t Width, int32_t Height, size_t Shift) : m_Shift(Shift)
    {
        EXPECT_EQ(BilateralGetSize_px(w.Type, Width, Height, w.Width, w.Height, &m_Size), kStatusOk);
        m_Bytes.assign(m_Shift + static_cast<size_t>(m_Size) + 64, kGuard);
        EXPECT_EQ(BilateralInit_px(w.Type, w.Width, w.Height, w.ValueSquareSigma, w.PositionSquareSigma, w.StepInKernel,
                                   Data()),
                  kStatusOk);
    }
    ~WorkBuffer() { EXPECT_EQ(std::count(m_Bytes.end() - 64, m_Bytes.end(), kGuard), 64); }
    uint8_t* Data() { return m_Bytes.data() + m_Shift; }

private:
    std::vector<uint8_t> m_Bytes;
    size_t m_Shift;
    int32_t m_Size = 0;
};

// Width x Height samples with half a window on every side, ending with the last of them.
Block WithBorder(TestRandom& Rng, Fill How, const Window& w, int Width, int Height, size_t Shift)
{
    const int Columns = Width + w.Width - 1;
    return Rng.MakeBlock(How, Columns, Height + w.Height - 1, Columns + 3, Shift);
}

// The weighted mean in double precision, with every value of the table.
double ExactMean(const Block& Source, const Window& w, int x, int y)
{
    const int HalfWidth = w.Width / 2, HalfHeight = w.Height / 2, s = w.StepInKernel;
    const double Centre = *Source.At(x + HalfWidth, y + HalfHeight);
    double Weights = 0, Sum = 0;
    for (int dy = -(HalfHeight / s) * s; dy <= HalfHeight; dy += s)
        for (int dx = -(HalfWidth / s) * s; dx <= HalfWidth; dx += s) {
            const double Sample = *Source.At(x + HalfWidth + dx, y + HalfHeight + dy);
            const double v = Sample - Centre;
            const double Weight = std::exp(-0.5 * (dx * dx + dy * dy) / w.PositionSquareSigma) *
                                  std::exp(-0.5 * v * v / w.ValueSquareSigma);
            Weights += Weight;
            Sum += Weight * Sample;
        }
    return Sum / Weights;
}

// Noise of the size of a camera's over steps of all heights.
Block CameraLike(TestRandom& Rng, const Window& w, int Width, int Height)
{
    Block Plane = WithBorder(Rng, Fill::AllZero, w, Width, Height, 0);
    for (size_t i = 0; i < Plane.Bytes.size(); ++i) {
        const auto x = static_cast<int>(i) % static_cast<int>(Plane.Step);
        Plane.Bytes[i] = static_cast<uint8_t>(std::clamp(x / 8 * 37 % 200 + Rng.Range(0, 40), 0, 255));
    }
    return Plane;
}

struct Deviation {
    double Largest = 0; // of a result from the exact mean
    int Level = 0;      // of a result from the rounded mean
    int64_t Different = 0, Samples = 0;
};

void Measure(BilateralFilterSig* pFn, const Window& w, const Block& Source, int Width, int Height, Deviation* pSum)
{
    WorkBuffer Buffer(w, Width, Height, 0);
    Block Got = GuardedBlock(Width, Height, 0);
    ASSERT_EQ(pFn(Source.At(w.Width / 2, w.Height / 2), Source.Step, Got.At(0, 0), Got.Step, Width, Height, w.Width,
                  w.Height, Buffer.Data()),
              kStatusOk);
    for (int y = 0; y < Height; ++y)
        for (int x = 0; x < Width; ++x) {
            const double Exact = ExactMean(Source, w, x, y);
            const int Level = std::abs(*Got.At(x, y) - static_cast<int>(std::lrint(Exact)));
            pSum->Largest = std::max(pSum->Largest, std::abs(*Got.At(x, y) - Exact));
            pSum->Level = std::max(pSum->Level, Level);
            pSum->Different += Level != 0;
            ++pSum->Samples;
        }
}

Deviation MeasureAll(BilateralFilterSig* pFn, const Window& w, TestRandom& Rng, int Size)
{
    Deviation Sum;
    for (const Fill How : kAllFills) Measure(pFn, w, WithBorder(Rng, How, w, Size, Size, 0), Size, Size, &Sum);
    Measure(pFn, w, CameraLike(Rng, w, Size, Size), Size, Size, &Sum);
    return Sum;
}

// In place and out of place, with the shapes of vector loops, against px.
void CheckShapes(BilateralFilterSig* pFn, BilateralFilterSig* pReference, const Window& w, TestRandom& Rng)
{
    ForEachShape([&](int Width, int Height, size_t Shift) {
        WorkBuffer Buffer(w, Width, Height, Shift), Other(w, Width, Height, 15 - Shift);
        const Block Source = WithBorder(Rng, Width % 2 ? Fill::Random : Fill::Smooth, w, Width, Height, Shift);
        const uint8_t* const pSource = Source.At(w.Width / 2, w.Height / 2);
        Block Want = GuardedBlock(Width, Height, 15 - Shift), Got = Want, InPlace = Source;
        ASSERT_EQ(
            pReference(pSource, Source.Step, Want.At(0, 0), Want.Step, Width, Height, w.Width, w.Height, Other.Data()),
            kStatusOk);
        ASSERT_EQ(pFn(pSource, Source.Step, Got.At(0, 0), Got.Step, Width, Height, w.Width, w.Height, Buffer.Data()),
                  kStatusOk);
        ASSERT_EQ(Got, Want) << Width << " x " << Height;
        uint8_t* const pPlane = InPlace.At(w.Width / 2, w.Height / 2);
        ASSERT_EQ(pFn(pPlane, InPlace.Step, pPlane, InPlace.Step, Width, Height, w.Width, w.Height, Buffer.Data()),
                  kStatusOk);
        Block WantInPlace = Source;
        for (int y = 0; y < Height; ++y)
            std::copy_n(Want.At(0, y), Width, WantInPlace.At(w.Width / 2, y + w.Height / 2));
        ASSERT_EQ(InPlace, WantInPlace) << Width << " x " << Height;
    });
}

void ExpectRefusals(BilateralFilterSig* pFn)
{
    Block Source = GuardedBlock(20, 20, 0), Target = Source;
    const uint8_t* const p = Source.At(6, 6);
    uint8_t* const q = Target.At(6, 6);
    WorkBuffer Buffer(kNineTaps, 8, 8, 0);
    uint8_t* const pBuffer = Buffer.Data();
    EXPECT_EQ(pFn(nullptr, 29, q, 29, 0, 8, 13, 13, pBuffer), kStatusNullPointer);
    EXPECT_EQ(pFn(p, 29, nullptr, 29, 8, 8, 13, 13, pBuffer), kStatusNullPointer);
    EXPECT_EQ(pFn(p, 29, q, 29, 8, 8, 13, 13, nullptr), kStatusNullPointer);
    for (const auto& [Width, Height] : {std::pair{0, 8}, {-1, 8}, {8, 0}, {8, -4}})
        EXPECT_EQ(pFn(p, 0, q, 29, Width, Height, 13, 13, pBuffer), kStatusSize);
    for (const ptrdiff_t Step : {0, -29}) {
        EXPECT_EQ(pFn(p, Step, q, 29, 8, 8, 12, 13, pBuffer), kStatusStep);
        EXPECT_EQ(pFn(p, 29, q, Step, 8, 8, 12, 13, pBuffer), kStatusStep);
    }
    for (const auto& [Width, Height] : {std::pair{11, 13}, {13, 11}, {12, 13}, {13, 0}, {-1, 13}, {13, INT32_MAX}})
        EXPECT_EQ(pFn(p, 29, q, 29, 8, 8, Width, Height, pBuffer), kStatusMask);
    std::vector<uint8_t> Untagged(100000, 0);
    EXPECT_EQ(pFn(p, 29, q, 29, 8, 8, 13, 13, Untagged.data()), kStatusContext);
    EXPECT_EQ(pFn(p, 29, q, 29, 8, 8, 12, 13, Untagged.data()), kStatusMask);
    EXPECT_EQ(Target, Source);
}

void CheckFilter(BilateralFilterSig* pFn, BilateralFilterSig* pReference)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    for (const Window& w : kWindows) {
        SCOPED_TRACE(testing::Message() << w.Width << " x " << w.Height << " step " << w.StepInKernel << " value "
                                        << w.ValueSquareSigma << " type " << w.Type);
        CheckShapes(pFn, pReference, w, Rng);
        // Half a level of rounding, a tenth of the table's end, and the weights' own rounding.
        const Deviation d = MeasureAll(pFn, w, Rng, 48);
        EXPECT_LE(d.Largest, 0.66);
        EXPECT_LE(d.Level, 1);
        EXPECT_LE(d.Different * 100, d.Samples);
    }
    ExpectRefusals(pFn);
}
KERNEL_TEST(BilateralFilter, CheckFilter);

TEST(BilateralFilterReference, NineTapsAreTheRoundedMean)
{
    TestRandom Rng;
    SCOPED_TRACE(Rng.Seed());
    const Deviation d = MeasureAll(BilateralFilter_px, kNineTaps, Rng, 320);
    RecordProperty("LargestDeviation", testing::PrintToString(d.Largest));
    RecordProperty("Different", testing::PrintToString(d.Different));
    RecordProperty("Samples", testing::PrintToString(d.Samples));
    EXPECT_LE(d.Largest, 0.52);
    EXPECT_LE(d.Different * 1000, d.Samples);
}

TEST(BilateralFilterReference, AFlatPlaneAndAnEdgeStay)
{
    std::vector<uint8_t> Plane(40 * 40);
    for (size_t i = 0; i < Plane.size(); ++i) Plane[i] = i % 40 < 20 ? 30 : 180;
    const auto Before = Plane;
    WorkBuffer Buffer(kNineTaps, 28, 28, 0);
    uint8_t* const p = &Plane[6 * 40 + 6];
    EXPECT_EQ(BilateralFilter_px(p, 40, p, 40, 28, 28, 13, 13, Buffer.Data()), kStatusOk);
    EXPECT_EQ(Plane, Before);
}

TEST(BilateralFilterReference, OneTapBesideTheCentre)
{
    // 100 and, six columns to the right of it, 110: weight exp(-36 / 400) * exp(-100 / 400) = 0.712. Six others of the
    // nine taps are 100, with weights of 0.914 (three) and 0.835 (four): 0.712 * 10 / 7.786 = 0.91.
    std::vector<uint8_t> Plane(13 * 13, 100);
    Plane[6 * 13 + 12] = 110;
    uint8_t Target = 0;
    WorkBuffer Buffer(kNineTaps, 1, 1, 0);
    EXPECT_EQ(BilateralFilter_px(&Plane[6 * 13 + 6], 13, &Target, 1, 1, 1, 13, 13, Buffer.Data()), kStatusOk);
    EXPECT_EQ(Target, 101);
    Plane[6 * 13 + 11] = 200; // not on the grid
    BilateralFilter_px(&Plane[6 * 13 + 6], 13, &Target, 1, 1, 1, 13, 13, Buffer.Data());
    EXPECT_EQ(Target, 101);
}

void CheckGetSize(BilateralGetSizeSig* pFn, BilateralGetSizeSig*)
{
    int32_t Size = 7;
    EXPECT_EQ(pFn(kBilateralGauss, 0, 720, 13, 13, nullptr), kStatusNullPointer);
    for (const auto& [Width, Height] : {std::pair{0, 720}, {-1, 720}, {1280, 0}, {1280, -9}})
        EXPECT_EQ(pFn(0, Width, Height, 12, 13, &Size), kStatusSize);
    for (const auto& [Width, Height] : {std::pair{12, 13}, {13, 12}, {0, 13}, {13, -1}, {4097, 4097}, {1, INT32_MAX}})
        EXPECT_EQ(pFn(0, 1280, 720, Width, Height, &Size), kStatusMask);
    for (const int32_t Type : {-1, 0, 99, 102}) EXPECT_EQ(pFn(Type, 1280, 720, 13, 13, &Size), kStatusMode);
    EXPECT_EQ(pFn(kBilateralGauss, INT32_MAX, 1, 13, 13, &Size), kStatusSize);
    EXPECT_EQ(pFn(kBilateralGauss, INT32_MAX, 1, 1, 1, &Size), kStatusSize);
    EXPECT_EQ(Size, 7);
    for (const int32_t Type : {kBilateralGauss, kBilateralGaussFull}) {
        EXPECT_EQ(pFn(Type, 1280, INT32_MAX, 13, 13, &Size), kStatusOk);
        EXPECT_GT(Size, 0);
        Size = 7;
    }
}
KERNEL_TEST(BilateralGetSize, CheckGetSize);

void CheckInit(BilateralInitSig* pFn, BilateralInitSig*)
{
    int32_t Size = 0;
    ASSERT_EQ(BilateralGetSize_px(kBilateralGauss, 64, 8, 13, 13, &Size), kStatusOk);
    std::vector<uint8_t> Buffer(static_cast<size_t>(Size), kGuard);
    const auto Before = Buffer;
    uint8_t* const p = Buffer.data();
    const float Bad[]{0.0f, -1.0f, std::numeric_limits<float>::quiet_NaN()};
    EXPECT_EQ(pFn(kBilateralGauss, 12, 13, 200, 200, 6, nullptr), kStatusNullPointer);
    for (const auto& [Width, Height] : {std::pair{12, 13}, {13, 12}, {0, 13}, {13, -1}, {4097, 4097}})
        EXPECT_EQ(pFn(0, Width, Height, 200, 200, 6, p), kStatusMask);
    for (const int32_t Type : {-1, 0, 99, 102}) EXPECT_EQ(pFn(Type, 13, 13, 0, 200, 6, p), kStatusMode);
    for (const float Sigma : Bad) {
        EXPECT_EQ(pFn(kBilateralGauss, 13, 13, Sigma, 200, 6, p), kStatusSigma);
        EXPECT_EQ(pFn(kBilateralGauss, 13, 13, 200, Sigma, 6, p), kStatusSigma);
    }
    for (const int32_t Step : {0, -6}) EXPECT_EQ(pFn(kBilateralGauss, 13, 13, 200, 200, Step, p), kStatusSigma);
    EXPECT_EQ(Buffer, Before);
    EXPECT_EQ(pFn(kBilateralGauss, 13, 13, 200, 200, INT32_MAX, p), kStatusOk);
    EXPECT_EQ(pFn(kBilateralGauss, 13, 13, 200, 200, 6, p), kStatusOk);
    const auto Gauss = Buffer;
    EXPECT_EQ(pFn(kBilateralGaussFull, 13, 13, 200, 200, 6, p), kStatusOk);
    EXPECT_NE(Buffer, Gauss); // each type has its own tag
}
KERNEL_TEST(BilateralInit, CheckInit);

} // namespace
