#include "kernels/intra/intra_neighbours.h"

#include <gtest/gtest.h>

namespace kernels {
namespace {

// By the order of decoding: a block of the macroblock is there when it comes before, one outside with its macroblock.
unsigned ByOrder(unsigned Mb, int x, int y, int Size)
{
    const auto Place = [](int bx, int by) { return (bx & 1) | (by & 1) << 1 | (bx & 2) << 1 | (by & 2) << 2; };
    const auto Has = [&](int bx, int by) {
        if (bx >= 0 && by >= 0) return bx < Size && Place(bx, by) < Place(x, y);
        if (by >= 0) return (Mb & kLeft) != 0;
        return (Mb & (bx < 0 ? kTopLeft : bx < Size ? kTop : kTopRight)) != 0;
    };
    return (Has(x - 1, y) ? kLeft : 0u) | (Has(x, y - 1) ? kTop : 0u) | (Has(x + 1, y - 1) ? kTopRight : 0u) |
           (Has(x - 1, y - 1) ? kTopLeft : 0u);
}

TEST(IntraNeighbours, OfABlockAreThoseDecodedBefore)
{
    for (const int Size : {2, 4})
        for (unsigned Mb = 0; Mb < 16; ++Mb)
            for (int y = 0; y < Size; ++y)
                for (int x = 0; x < Size; ++x)
                    EXPECT_EQ(BlockNeighbours(Mb, x, y, Size), ByOrder(Mb, x, y, Size))
                        << "block " << x << ", " << y << " of " << Size << ", macroblock " << Mb;
}

TEST(IntraNeighbours, AModeNeedsWhatItsTableSays)
{
    constexpr unsigned kAround = kLeft | kTop | kTopLeft;
    // Vertical, horizontal, DC, diagonal down left and right, vertical right, horizontal down, vertical left,
    // horizontal up.
    constexpr unsigned kBlock[] = {kTop, kLeft, 0, kTop, kAround, kAround, kAround, kTop, kLeft};
    for (size_t Mode = 0; Mode < 9; ++Mode) EXPECT_EQ(kIntraBlockNeeds[Mode], kBlock[Mode]) << Mode;
    constexpr unsigned k16x16[] = {kTop, kLeft, 0, kAround}, kChroma[] = {0, kLeft, kTop, kAround};
    for (size_t Mode = 0; Mode < 4; ++Mode) {
        EXPECT_EQ(kIntra16x16Needs[Mode], k16x16[Mode]) << Mode;
        EXPECT_EQ(kIntraChromaNeeds[Mode], kChroma[Mode]) << Mode;
    }
}

} // namespace
} // namespace kernels
