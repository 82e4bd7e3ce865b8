// Intra slices of MBAFF frames, read macroblock by macroblock with the flags of their pairs read here.
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
        for (int32_t i = 0; i < Mbs; i += 2) {
            c.BeginMacroblock<true>(i, PlaceOf<true>(i, Width).X, PlaceOf<true>(i, Width).Y);
            const bool IsField = IsCabac ? ReadFlag(c, i) : c.Entropy.Bits.GetBit() != 0;
            ++s_Pairs[IsField];
            for (int32_t Number = i; Number < i + 2; ++Number) {
                const MbPlace Place = PlaceOf<true>(Number, Width);
                c.BeginMacroblock<true>(Number, Place.X, Place.Y, IsField);
                if (IsCabac)
                    DecodeMbCABAC<SLICE_I, true>(c);
                else
                    DecodeMbCAVLC<SLICE_I, true>(c);
                std::memset(c.Coeffs.Coefficients, 0, sizeof c.Coeffs.Coefficients);
            }
            if (IsCabac) {
                ASSERT_EQ(c.Entropy.Cabac.m_Engine.Terminate(), i + 2u == static_cast<uint32_t>(Mbs)) << i;
            }
        }
        if (!IsCabac) {
            EXPECT_FALSE(c.Entropy.Bits.MoreRbspData());
        }
    }

private:
    static bool ReadFlag(SliceCursor& c, int32_t Number) // clause 9.3.3.1.1.10
    {
        const int32_t Width = c.Slice.Picture.MbWidth;
        const auto IsField = [&](int32_t Pair) { return IsFieldMb(c.Slice.Records.pGlobal[Pair]); };
        const uint32_t Inc =
            (Number / 2 % Width && IsField(Number - 2)) + (Number >= 2 * Width && IsField(Number - 2 * Width));
        return c.Entropy.Cabac.m_Engine.Decide(c.Entropy.Cabac.m_Contexts[70 + Inc]) != 0;
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
