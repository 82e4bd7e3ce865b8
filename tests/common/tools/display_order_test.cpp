#include "tools/common/display_order.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// What is given out behind each picture that comes, in coding order.
std::vector<std::string> Out(const std::vector<int>& Places)
{
    DisplayOrder<std::string> o;
    std::vector<std::string> Shown;
    for (const int Place : Places) {
        o.Add(Place, std::to_string(Place));
        std::string Now;
        while (const auto p = o.Next()) Now += *p;
        Shown.push_back(Now);
    }
    Shown.push_back(std::to_string(o.Waiting()) + " left");
    return Shown;
}

TEST(DisplayOrder, PicturesWithoutReorderingComeAtOnce)
{
    EXPECT_EQ(Out({0, 1, 2}), (std::vector<std::string>{"0", "1", "2", "0 left"}));
}

TEST(DisplayOrder, AnAnchorWaitsForTheBPicturesBeforeIt)
{
    EXPECT_EQ(Out({0, 3, 1, 2, 6, 5, 4}), (std::vector<std::string>{"0", "", "1", "23", "", "", "456", "0 left"}));
}

TEST(DisplayOrder, APictureThatNeverComesHoldsTheRestBack)
{
    EXPECT_EQ(Out({0, 2, 3}), (std::vector<std::string>{"0", "", "", "2 left"}));
}

} // namespace
