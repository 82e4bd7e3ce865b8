#include "tests/support/kernel_testing.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>

#include "kernels/dispatch/processor_class.h"

namespace kernel_testing {

using kernels::Tier;

Tier CpuTier() { return static_cast<Tier>(kernels::TierOfClass(kernels::DetectProcessorClass())); }

namespace {

class KernelTest : public testing::Test
{
public:
    KernelTest(Tier Of, std::function<void()> Body) : m_Tier(Of), m_Body(std::move(Body)) {}
    void TestBody() override
    {
        if (m_Tier > CpuTier()) GTEST_SKIP() << "a tier this processor lacks";
        m_Body();
    }

private:
    Tier m_Tier;
    std::function<void()> m_Body;
};

} // namespace

void AddKernelTest(const char* pKernel, Tier Of, std::function<void()> Body, const char* pFile, int Line)
{
    const std::string Suite = std::string("Tiers/") + pKernel;
    const std::string Title = std::string("EqualsReference/") + kernels::kTierNames[static_cast<size_t>(Of)];
    testing::RegisterTest(Suite.c_str(), Title.c_str(), nullptr, nullptr, pFile, Line,
                          [=]() -> testing::Test* { return new KernelTest(Of, Body); });
}

TestRandom::TestRandom()
{
    const char* const pSeed = std::getenv("TEST_SEED");
    m_Seed = pSeed ? static_cast<uint32_t>(std::strtoul(pSeed, nullptr, 10)) : 20264;
    m_Engine.seed(m_Seed);
}

int TestRandom::Range(int Least, int Most) { return std::uniform_int_distribution<int>(Least, Most)(m_Engine); }

std::vector<uint8_t> TestRandom::Bytes(Fill How, size_t Count)
{
    std::vector<uint8_t> Values(Count);
    int Level = Range(0, 255);
    for (uint8_t& Value : Values) switch (How) {
        case Fill::Random: Value = static_cast<uint8_t>(Range(0, 255)); break;
        case Fill::AllZero: Value = 0; break;
        case Fill::AllMax: Value = 255; break;
        case Fill::ZeroOrMax: Value = Range(0, 1) ? 255 : 0; break;
        case Fill::Smooth: // neighbours differ by a little, as in a picture
            Level = std::clamp(Level + Range(-3, 3), 0, 255);
            Value = static_cast<uint8_t>(Level);
            break;
        }
    return Values;
}

Block TestRandom::MakeBlock(Fill How, int Width, int Height, ptrdiff_t Step, size_t Shift)
{
    const size_t Rows = static_cast<size_t>(Height - 1) * static_cast<size_t>(Step);
    return {Bytes(How, Shift + Rows + static_cast<size_t>(Width)), Shift, Step};
}

} // namespace kernel_testing
