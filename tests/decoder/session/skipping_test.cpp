// What a higher decoding speed leaves out.
#include "tests/decoder/random_stream.h"

namespace {

using namespace test;

std::vector<Bytes> DecodeAtSpeed(const Bytes& Stream, int32_t Speed)
{
    std::vector<Bytes> Pictures;
    tools::StreamDecoder Decoder([&](const UMC::VideoData& p) { Pictures.push_back(SamplesOf(p)); }, 1, false);
    EXPECT_EQ(Decoder.Decoder().ChangeVideoDecodingSpeed(&Speed), UMC::StatusOk);
    Decoder.Feed(Stream);
    Decoder.Drain();
    return Pictures;
}

// Reference pictures, or every second one no reference; the deblocking filter is off where NoFilter says so.
Bytes MakeStream(bool AllReferences, auto&& NoFilter)
{
    RandomStream In({.profile_idc = 77}, {.num_ref_idx = {2, 1}}, 3);
    In.Start(2);
    uint32_t FrameNum = 2;
    for (uint32_t i = 2; i < 10; ++i) {
        const bool IsReference = AllReferences || i % 2 == 0;
        Slice s = Numbered(FrameNum, 2 * i, IsReference);
        s.disable_deblocking = NoFilter(IsReference);
        In.P(s);
        FrameNum += IsReference;
    }
    return In.Data;
}

TEST(DecodingSpeed, SevenLeavesEverySampleAsReconstructed)
{
    const Bytes Filtered = MakeStream(true, [](bool) { return false; });
    const Bytes Unfiltered = MakeStream(true, [](bool) { return true; });
    ASSERT_NE(DecodeAll(Filtered), DecodeAll(Unfiltered));
    EXPECT_EQ(DecodeAtSpeed(Filtered, 7), DecodeAll(Unfiltered));
    EXPECT_EQ(DecodeAtSpeed(Filtered, 6), DecodeAll(Filtered));
}

TEST(DecodingSpeed, FiveFiltersReferencesOnly)
{
    const Bytes Filtered = MakeStream(false, [](bool) { return false; });
    std::vector<Bytes> Expected = DecodeAll(MakeStream(false, [](bool IsReference) { return !IsReference; }));
    ASSERT_EQ(Expected.size(), 10u);
    ASSERT_NE(Expected, DecodeAll(Filtered));
    for (const ptrdiff_t i : {9, 7, 3}) Expected.erase(Expected.begin() + i); // the first, third and fourth are skipped
    EXPECT_EQ(DecodeAtSpeed(Filtered, 5), Expected);
}

} // namespace
