// The rows of the tables against the suites that test them.
#include <set>
#include <string>

#include "kernels/dispatch/kernels.h"
#include "tests/support/kernel_testing.h"

namespace {

std::set<std::string> RowNames()
{
    return {
#define KERNEL(Kernel) kernels::k##Kernel.Name,
#include "kernels/dispatch/kernels.def"
#undef KERNEL
    };
}

TEST(KernelRows, EveryRowHasASuiteOfItsName)
{
    std::set<std::string> Suites;
    const testing::UnitTest& All = *testing::UnitTest::GetInstance();
    for (int i = 0; i < All.total_test_suite_count(); ++i) {
        const std::string Name = All.GetTestSuite(i)->name();
        if (Name.starts_with("Tiers/")) Suites.insert(Name.substr(6));
    }
    EXPECT_EQ(RowNames(), Suites);
}

template <class Sig>
void ExpectWhole(const kernels::KernelRow<Sig>& Row, const char* pName)
{
    EXPECT_STREQ(Row.Name, pName);
    EXPECT_NE(Row.At(kernels::Tier::px), nullptr) << pName;
}

TEST(KernelRows, TheReferenceIsThereAndTheNameIsTheRows)
{
#define KERNEL(Kernel) ExpectWhole(kernels::k##Kernel, #Kernel);
#include "kernels/dispatch/kernels.def"
#undef KERNEL
}

} // namespace
