// The start of every test program. The kernels have bound themselves for this processor; TEST_TIER (0 to 5) binds those
// of another tier, so that a whole run can be repeated at each.
#include "kernels/dispatch/kernels.h"
#include "tests/support/child_process.h"

#include <gmock/gmock.h>

#include <cstdlib>

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    if (const char* const pTier = std::getenv("TEST_TIER")) kernels::InitKernelsForTier(std::atoi(pTier));
    int Status;
    return RunAsChild(Status) ? Status : RUN_ALL_TESTS();
}
