// The start of every test program: the kernels are bound as the library binds them at load, or for the tier named in
// TEST_TIER (0 to 5), so that a whole run can be repeated at each tier.
#include "kernels/dispatch/kernels.h"

#include <gmock/gmock.h>

#include <cstdlib>

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    if (const char* const pTier = std::getenv("TEST_TIER"))
        kernels::InitKernelsForTier(std::atoi(pTier));
    else
        kernels::InitKernelsWaterfall();
    kernels::InitKernelsStatic();
    return RUN_ALL_TESTS();
}
