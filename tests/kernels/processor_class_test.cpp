#include "kernels/dispatch/processor_class.h"

#include <cstring>
#include <vector>

#include <gtest/gtest.h>

namespace {

using kernels::DetectProcessorClass;
using kernels::TierOfClass;
using platform::CpuidAnswers;

constexpr uint32_t kSse = 1u << 25, kSse2 = 1u << 26, kHyperThreading = 1u << 28, kIa64 = 1u << 30; // edx
constexpr uint32_t kSse3 = 1u << 0, kSsse3 = 1u << 9, kSse41 = 1u << 19, kSse42 = 1u << 20;         // ecx
constexpr uint32_t kSixtyFourBit = 1u << 29;                                                        // edx of 0x80000001

CpuidAnswers Processor(const char* pVendor, uint32_t Version, uint32_t Edx, uint32_t Ecx)
{
    CpuidAnswers Answers;
    Answers.Available = true;
    std::memcpy(Answers.Vendor.data(), pVendor, 12);
    Answers.MaxLeaf = 1;
    Answers.Leaf1.Eax = Version;
    Answers.Leaf1.Edx = Edx;
    Answers.Leaf1.Ecx = Ecx;
    return Answers;
}

// Version word: extended family, extended model, family, model.
constexpr uint32_t Version(uint32_t Family, uint32_t Model, uint32_t ExtendedModel = 0, uint32_t ExtendedFamily = 0)
{
    return ExtendedFamily << 20 | ExtendedModel << 16 | Family << 8 | Model << 4;
}

CpuidAnswers Intel(uint32_t V, uint32_t Edx = 0, uint32_t Ecx = 0) { return Processor("GenuineIntel", V, Edx, Ecx); }
CpuidAnswers Other(uint32_t Edx, uint32_t Ecx) { return Processor("AuthenticAMD", Version(15, 1, 2, 8), Edx, Ecx); }

TEST(ProcessorClass, WithoutTheInstructionItIs0)
{
    CpuidAnswers Answers = Intel(Version(6, 10, 1), kSse | kSse2, kSse42);
    Answers.Available = false;
    EXPECT_EQ(DetectProcessorClass(Answers), 0);
    EXPECT_EQ(TierOfClass(0), 0);
}

TEST(ProcessorClass, OlderIntelModels)
{
    EXPECT_EQ(DetectProcessorClass(Intel(Version(5, 1))), 1);
    EXPECT_EQ(DetectProcessorClass(Intel(Version(5, 2))), 1);
    EXPECT_EQ(DetectProcessorClass(Intel(Version(5, 4))), 2);
    const int Family6[][2]{{1, 3},  {3, 4},  {5, 4}, {6, 4},  {7, 5},   {8, 5},
                           {10, 5}, {11, 5}, {9, 9}, {13, 9}, {14, 10}, {15, 33}};
    for (const auto& [Model, Class] : Family6)
        EXPECT_EQ(DetectProcessorClass(Intel(Version(6, static_cast<uint32_t>(Model)))), Class) << Model;
}

TEST(ProcessorClass, TheExtendedModelCountsInFamily6)
{
    EXPECT_EQ(DetectProcessorClass(Intel(Version(6, 7, 1))), 68);  // 23
    EXPECT_EQ(DetectProcessorClass(Intel(Version(6, 10, 1))), 35); // 26
    EXPECT_EQ(DetectProcessorClass(Intel(Version(6, 12, 1))), 36); // 28
    EXPECT_EQ(DetectProcessorClass(Intel(Version(5, 4, 1))), 2);   // not in family 5
}

TEST(ProcessorClass, CoresDecideModels14And15)
{
    CpuidAnswers Answers = Intel(Version(6, 14));
    Answers.MaxLeaf = 4;
    Answers.Leaf4.Eax = 1u << 26; // two cores
    EXPECT_EQ(DetectProcessorClass(Answers), 11);
    Answers.Leaf1.Eax = Version(6, 15);
    EXPECT_EQ(DetectProcessorClass(Answers), 33);
    Answers.Leaf4.Eax = 2u << 26;
    EXPECT_EQ(DetectProcessorClass(Answers), 34);
    Answers.MaxLeaf = 3; // the leaf is not there: one core
    EXPECT_EQ(DetectProcessorClass(Answers), 33);
}

TEST(ProcessorClass, Family15)
{
    EXPECT_EQ(DetectProcessorClass(Intel(Version(15, 2), kSse2)), 6);
    CpuidAnswers Threads = Intel(Version(15, 2), kSse2 | kHyperThreading);
    EXPECT_EQ(DetectProcessorClass(Threads), 6); // no logical processors
    Threads.Leaf1.Ebx = 2u << 16;
    EXPECT_EQ(DetectProcessorClass(Threads), 7);
    CpuidAnswers Sse3 = Intel(Version(15, 3), kSse2, kSse3);
    EXPECT_EQ(DetectProcessorClass(Sse3), 8);
    Sse3.ExtendedLeaf1.Edx = kSixtyFourBit;
    EXPECT_EQ(DetectProcessorClass(Sse3), 8); // the extended leaf is not there
    Sse3.MaxExtendedLeaf = 0x80000001;
    EXPECT_EQ(DetectProcessorClass(Sse3), 32);
    // An extended family makes it another family, which no Intel test knows.
    EXPECT_EQ(DetectProcessorClass(Intel(Version(15, 3, 0, 1), kSse2, kSse3)), 66);
}

TEST(ProcessorClass, Bit30TellsFamily7FromTheRest)
{
    EXPECT_EQ(DetectProcessorClass(Intel(Version(7, 0), kIa64)), 16);
    EXPECT_EQ(DetectProcessorClass(Intel(Version(6, 9), kIa64)), 17);
    EXPECT_EQ(DetectProcessorClass(Processor("AuthenticAMD", Version(7, 0), kIa64, 0)), 0);
}

TEST(ProcessorClass, OthersGoByTheirHighestFeature)
{
    EXPECT_EQ(DetectProcessorClass(Other(kSse | kSse2, kSse3 | kSsse3 | kSse41 | kSse42)), 69);
    EXPECT_EQ(DetectProcessorClass(Other(kSse | kSse2, kSse3 | kSsse3 | kSse41)), 68);
    EXPECT_EQ(DetectProcessorClass(Other(kSse | kSse2, kSse3 | kSsse3)), 67);
    EXPECT_EQ(DetectProcessorClass(Other(kSse | kSse2, kSse3)), 66);
    EXPECT_EQ(DetectProcessorClass(Other(kSse, 0)), 64);
    EXPECT_EQ(DetectProcessorClass(Other(0, 0)), 0);
    CpuidAnswers Plain = Other(0, 0);
    Plain.MaxExtendedLeaf = 0x80000008;
    Plain.ExtendedLeaf1.Edx = kSixtyFourBit;
    EXPECT_EQ(DetectProcessorClass(Plain), 96);
}

TEST(ProcessorClass, ANewIntelModelGoesByItsFeaturesToo)
{
    EXPECT_EQ(DetectProcessorClass(Intel(Version(6, 5, 5), kSse | kSse2, kSse3 | kSsse3 | kSse41 | kSse42)), 69);
}

TEST(ProcessorClass, Sse2OnlyOfAnotherVendorIsTier2)
{
    const int Class = DetectProcessorClass(Other(kSse | kSse2, 0));
    EXPECT_EQ(Class, 65);
    EXPECT_EQ(TierOfClass(Class), 2);
}

TEST(ProcessorClass, EveryClassHasItsTier)
{
    const std::vector<std::vector<int>> Classes{
        {}, {5, 16, 17, 64}, {6, 7, 9, 65}, {8, 10, 11, 32, 66}, {33, 34, 36, 67}, {35, 37, 68, 69}};
    for (int Class = -1; Class < 128; ++Class) {
        int Want = 0;
        for (size_t Tier = 1; Tier < Classes.size(); ++Tier)
            for (const int c : Classes[Tier])
                if (c == Class) Want = static_cast<int>(Tier);
        EXPECT_EQ(TierOfClass(Class), Want) << Class;
    }
}

} // namespace
