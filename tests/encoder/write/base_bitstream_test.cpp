#include "tests/encoder/written_bits.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using namespace encoder_testing;

TEST(BaseBitstream, FixedCodesOfAllLengthsAtAllOffsets)
{
    std::mt19937 Rng(7);
    std::vector<std::pair<uint32_t, int32_t>> Codes;
    Writer w;
    for (int i = 0; i < 2000; ++i) {
        const auto Count = static_cast<int32_t>(Rng() % 25);
        const uint32_t Value = static_cast<uint32_t>(Rng()) & ((1u << Count) - 1);
        Codes.emplace_back(Value, Count);
        w.PutBits(Value | (Count < 24 ? 1u << Count : 0u), Count); // bits above the count do not matter
    }
    Reader r(w.Written());
    for (const auto& [Value, Count] : Codes) ASSERT_EQ(r.Bits(Count), Value);
    EXPECT_EQ(w.Bits(), static_cast<int64_t>(r.Position()));
}

TEST(BaseBitstream, ExpGolombCodes)
{
    Writer w;
    EXPECT_EQ(w.PutUE(0), 1);
    EXPECT_EQ(w.PutUE(1), 3);
    EXPECT_EQ(w.PutUE(65534), 31);
    for (const int32_t v : {0, 1, -1, 2, -2, 26, -26, 500}) w.PutSE(v);
    Reader r(w.Written());
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 1u);
    EXPECT_EQ(r.Ue(), 65534u);
    for (const int32_t v : {0, 1, -1, 2, -2, 26, -26, 500}) EXPECT_EQ(r.Se(), v);
}

TEST(BaseBitstream, BothCodersComeBackToTheSavedState)
{
    Writer Plain, Tried;
    for (Writer* w : {&Plain, &Tried}) {
        w->PutBits(0x2A5, 11);
        w->Cavlc().skip_run = 3;
        w->SaveState();
    }
    Tried.PutBits(0xFFFFFF, 24);
    Tried.Cavlc().PutSkipRun();
    Tried.RestoreState();
    for (Writer* w : {&Plain, &Tried}) {
        w->Cavlc().PutSkipRun();
        w->PutUE(8);
        w->WriteTrailingBits();
    }
    EXPECT_EQ(Plain.Written(), Tried.Written());
    Reader r(Tried.Written());
    EXPECT_EQ(r.Bits(11), 0x2A5u);
    EXPECT_EQ(r.Ue(), 3u);
    EXPECT_EQ(r.Ue(), 8u);
}

} // namespace
