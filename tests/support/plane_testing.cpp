#include "tests/support/plane_testing.h"

#include <cmath>
#include <limits>

namespace kernel_testing {
namespace {

// Halves, limits of the conversions, and what is no number.
float SpecialValue(TestRandom& Rng)
{
    using Limits = std::numeric_limits<float>;
    static constexpr float kValues[]{0.0f,
                                     -0.0f,
                                     0.5f,
                                     1.5f,
                                     2.5f,
                                     254.5f,
                                     255.0f,
                                     255.4f,
                                     255.5f,
                                     256.0f,
                                     -0.5f,
                                     -1.0f,
                                     1.0f,
                                     0.49999997f,
                                     3e9f,
                                     -3e9f,
                                     1e30f,
                                     Limits::min(),
                                     Limits::max(),
                                     Limits::lowest(),
                                     Limits::infinity(),
                                     -Limits::infinity(),
                                     Limits::quiet_NaN()};
    return kValues[Rng.Range(0, static_cast<int>(std::size(kValues)) - 1)];
}

} // namespace

FloatPlane MakeFloatPlane(TestRandom& Rng, FloatFill How, int Width, int Height, size_t Shift, int Gap)
{
    const auto Random = [&] { return static_cast<float>(Rng.Range(-1000000, 1000000)) / 1000000.0f; };
    const auto Count = Shift + static_cast<size_t>((Width + Gap) * (Height - 1) + Width);
    FloatPlane Plane{std::vector<float>(Count), Shift, 4 * (Width + Gap)};
    for (float& Sample : Plane.Samples) switch (How) {
        case FloatFill::Unit: Sample = std::abs(Random()); break;
        case FloatFill::Signed: Sample = 400.0f * Random(); break;
        case FloatFill::Huge: Sample = std::ldexp(Random(), Rng.Range(-20, 60)); break;
        case FloatFill::Special: Sample = SpecialValue(Rng); break;
        }
    return Plane;
}

} // namespace kernel_testing
