// Intra slices of MBAFF frames, read macroblock by macroblock.
#include "decoder/entropy/mb_decoder.h"
#include "tests/decoder/unfiltered_stream.h"

namespace UMC {
namespace {

class PairReader : MBDecoder<int16_t, uint8_t, uint8_t, 1, false, true>
{
public:
    using SampleType = uint8_t;
    static inline int s_Pairs[2]; // of frame and of field macroblocks

    // Reads to the end and no further: what goes wrong before, in a context or a count, leaves neither.
    static void Decode(SliceCursor& c)
    {
        const int32_t Width = c.Slice.Picture.MbWidth, Mbs = c.Slice.Picture.MbCount();
        ASSERT_TRUE(c.Slice.pHeader->MbaffFrameFlag);
        const bool IsCabac = c.Slice.pPictureSet->entropy_coding_mode_flag != 0;
        for (c.CurrentMb = 0; c.CurrentMb < Mbs;) {
            if (!IsCabac) {
                DecodePair<false>(c, PlaceOf<true>(c.CurrentMb, Width));
                continue;
            }
            DecodePair<true>(c, PlaceOf<true>(c.CurrentMb, Width));
            ASSERT_EQ(c.Entropy.Cabac.m_Engine.Terminate(), c.CurrentMb == Mbs) << c.CurrentMb;
        }
        if (!IsCabac) {
            EXPECT_FALSE(c.Entropy.Bits.MoreRbspData());
        }
    }

private:
    template <bool kCabac>
    static void DecodePair(SliceCursor& c, MbPlace Place)
    {
        PairState Pair = BeginPair<kCabac, SLICE_I>(c, Place);
        ++s_Pairs[Pair.IsField];
        DecodeMacroblock<kCabac>(c, Pair);
        ++Place.Y;
        GoToLower<kCabac, SLICE_I>(c, Place, Pair);
        DecodeMacroblock<kCabac>(c, Pair);
    }
    template <bool kCabac>
    static void DecodeMacroblock(SliceCursor& c, const PairState& Pair)
    {
        DecodeInPair<kCabac, SLICE_I>(c, Pair);
        std::memset(c.Coeffs.Coefficients, 0, sizeof c.Coeffs.Coefficients);
        ++c.CurrentMb;
    }
};

TEST(IntraPairs, AreReadToTheEndOfTheSlice)
{
    for (const char* const pCoding : {" --no-cabac", "", " --no-cabac --no-8x8dct", " --no-8x8dct"})
        for (const char* const pQp : {" --qp 10", " --qp 27"}) {
            SCOPED_TRACE(testing::Message() << pCoding << pQp);
            std::fill_n(PairReader::s_Pairs, 2, 0);
            UnfilteredStream().Decode<PairReader>(
                EncodeUnfiltered(std::string("--interlaced --keyint 1") + pQp + pCoding, false));
            EXPECT_GE(PairReader::s_Pairs[0], 6);
            EXPECT_GE(PairReader::s_Pairs[1], 6);
        }
}

} // namespace
} // namespace UMC
