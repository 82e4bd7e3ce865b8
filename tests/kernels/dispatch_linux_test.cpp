// Where there is no desktop, the one message of the library goes to standard error.
#include "kernels/dispatch/kernels.h"

#include <string>

#include <gtest/gtest.h>

TEST(BoundKernelsWithoutADesktop, WriteTheirFailureToStandardError)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(kernels::InitKernelsForTier(6), 0);
    const std::string Shown = testing::internal::GetCapturedStderr();
    EXPECT_NE(Shown.find("Set IPP library error: No IPP matching to CPU was found during the Waterfall"),
              std::string::npos);
}
