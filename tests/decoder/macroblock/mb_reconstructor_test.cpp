// Intra macroblocks, residuals and PCM for both sample types and the chroma formats: deep samples that hold 8 bits give
// what the 8-bit kernels give.
#include "decoder/macroblock/intra_prediction.h"
#include "decoder/macroblock/mb_reconstructor.h"
#include "tests/decoder/picture_fixture.h"
#include "tests/decoder/sample_planes.h"

#include <algorithm>
#include <random>
#include <vector>

namespace UMC {

namespace {

template <class Sample, int color_format>
struct Reconstructor : MBReconstructor<Sample, color_format, true> {
    using MBReconstructor<Sample, color_format, true>::ReconstructIntra;
};

class Reconstruction : public PictureFixture
{
protected:
    static constexpr int kMb = 5, kX = 1, kY = 1;

    Reconstruction() : m_pDeep(std::make_unique<SliceCursor>())
    {
        for (const int Mb : {0, 1, 2, 4}) SetIntra(Mb);
        m_pDeep->View(m_Slice);
    }
    // A picture that a cursor decodes into.
    template <class Sample>
    SamplePlanes<Sample> PlanesOf(SliceCursor& Cursor, int32_t Format)
    {
        SamplePlanes<Sample> Planes(Format, kWidth, kHeight);
        Planes.ShowIn(Cursor.Slice.Picture);
        return Planes;
    }
    // Runs Set on both cursors at the macroblock in the middle.
    template <class F>
    void Begin(F&& Set)
    {
        for (SliceCursor* const p : {m_pCursor.get(), m_pDeep.get()}) {
            std::fill(std::begin(p->Coeffs.Coefficients), std::end(p->Coeffs.Coefficients), uint8_t{0});
            p->BeginMacroblock<false>(kMb, kX, kY);
            Set(*p);
        }
    }
    // Coefficients that no sum of 16 bits wraps with, in blocks drawn at random.
    void AddResiduals(uint32_t Seed, int ChromaBlocks)
    {
        std::minstd_rand Random(Seed);
        const bool Is8x8 = (m_Global[kMb].MbFlags & MBFLAG_TRANSFORM8x8) != 0;
        const int Count[3] = {16, ChromaBlocks, ChromaBlocks};
        for (int Plane = 0, First = 0; Plane < 3; First += Count[Plane++]) {
            auto Bits = static_cast<uint32_t>(Random() >> 4) & ((1u << Count[Plane]) - 1);
            if (Plane == 0 && Is8x8) Bits = (Bits & 0x1111) * 15;
            m_pCursor->Coeffs.Bits[Plane] = m_pDeep->Coeffs.Bits[Plane] = Bits;
            for (int i = 0; i < Count[Plane] * 16; ++i)
                if (Bits >> i / 16 & 1) {
                    const auto Value = static_cast<int16_t>(static_cast<int>(Random() >> 8) % 400 - 200);
                    m_pCursor->Coeffs.As<int16_t>()[First * 16 + i] = Value;
                    m_pDeep->Coeffs.As<int32_t>()[First * 16 + i] = Value;
                }
        }
    }
    void SetModes(uint32_t Seed, int Mode)
    {
        std::minstd_rand Random(Seed);
        for (size_t i = 0; i < 16; ++i)
            m_IntraModes[kMb * 16 + i] = static_cast<uint8_t>(Mode < 9 ? Mode : Random() % 9);
        if (m_Global[kMb].MbFlags & MBFLAG_TRANSFORM8x8) // one for each 8x8
            for (size_t i = 0; i < 16; ++i) m_IntraModes[kMb * 16 + i] = m_IntraModes[kMb * 16 + (i & 8) + (i & 2)];
    }
    template <int color_format>
    void ExpectEqual(int8_t Type, uint8_t Flags)
    {
        auto Narrow = PlanesOf<uint8_t>(*m_pCursor, color_format);
        auto Deep = PlanesOf<uint16_t>(*m_pDeep, color_format);
        for (uint32_t Seed = 1; Seed < 40; ++Seed) {
            SCOPED_TRACE(testing::Message() << "format " << color_format << ", type " << int{Type} << ", " << Seed);
            Narrow.Fill(Seed);
            Deep.Fill(Seed);
            Begin([&](SliceCursor& c) {
                c.Mb.pGlobal->MbType = Type;
                c.Mb.pGlobal->MbFlags = Flags;
                c.Mb.pLocal->SubBlockDirection[0] = c.Mb.pLocal->SubBlockDirection[2] = Seed & 3;
            });
            SetModes(Seed, static_cast<int>(Seed % 10));
            AddResiduals(Seed, h264::kChromaGeometry[color_format].Blocks);
            Reconstructor<uint8_t, color_format>::ReconstructIntra(m_pCursor->Slice, m_pCursor->Mb, m_pCursor->Coeffs);
            Reconstructor<uint16_t, color_format>::ReconstructIntra(m_pDeep->Slice, m_pDeep->Mb, m_pDeep->Coeffs);
            for (int i = 0; i < 3; ++i) ASSERT_TRUE(HaveEqualSamples(Narrow, Deep, i)) << "plane " << i;
            ASSERT_TRUE(std::all_of(std::begin(m_pDeep->Coeffs.Coefficients), std::end(m_pDeep->Coeffs.Coefficients),
                                    [](uint8_t b) { return b == 0; }));
        }
    }
    void ExpectEqualInEveryFormat(int8_t Type, uint8_t Flags = 0)
    {
        ExpectEqual<0>(Type, Flags);
        ExpectEqual<1>(Type, Flags);
        ExpectEqual<2>(Type, Flags);
        ExpectEqual<3>(Type, Flags);
    }

    std::unique_ptr<SliceCursor> m_pDeep;
};

TEST_F(Reconstruction, OfIntra16x16IsTheSameForBothSampleTypes) { ExpectEqualInEveryFormat(MBTYPE_INTRA16x16); }

TEST_F(Reconstruction, OfIntra4x4IsTheSameForBothSampleTypes) { ExpectEqualInEveryFormat(MBTYPE_INTRA4x4); }

TEST_F(Reconstruction, OfIntra8x8IsTheSameForBothSampleTypes)
{
    ExpectEqualInEveryFormat(MBTYPE_INTRA4x4, MBFLAG_TRANSFORM8x8);
}

TEST_F(Reconstruction, OfPcmPutsEverySampleInItsPlace)
{
    auto Deep = PlanesOf<uint16_t>(*m_pDeep, 2);
    Begin([](SliceCursor& c) { c.Mb.pGlobal->MbType = MBTYPE_PCM; });
    for (uint16_t i = 0; i < 512; ++i) m_pDeep->Coeffs.As<uint16_t>()[i] = i;
    Reconstructor<uint16_t, 2>::ReconstructIntra(m_pDeep->Slice, m_pDeep->Mb, m_pDeep->Coeffs);
    for (size_t y = 0; y < 16; ++y) {
        for (size_t x = 0; x < 16; ++x) ASSERT_EQ(Deep.Plane[0][(16 + y) * kWidth * 16 + 16 + x], y * 16 + x);
        for (size_t x = 0; x < 8; ++x) {
            ASSERT_EQ(Deep.Plane[1][(16 + y) * kWidth * 8 + 8 + x], 256 + y * 8 + x);
            ASSERT_EQ(Deep.Plane[2][(16 + y) * kWidth * 8 + 8 + x], 384 + y * 8 + x);
        }
    }
    EXPECT_TRUE(std::all_of(std::begin(m_pDeep->Coeffs.Coefficients), std::end(m_pDeep->Coeffs.Coefficients),
                            [](uint8_t b) { return b == 0; }));
}

TEST_F(Reconstruction, OfTenBitsStartsAtTheirMiddleAndEndsAtTheirLimit)
{
    auto Deep = PlanesOf<uint16_t>(*m_pDeep, 0);
    m_pDeep->Slice.BitDepthLuma = 10;
    for (MbGlobalInfo& Mb : m_Global) Mb.SliceId = kNoSlice;
    for (const auto& [Dc, Sample] : {std::pair{0, 512}, {64 * 3, 515}, {64 * 600, 1023}, {-64 * 600, 0}}) {
        Begin([](SliceCursor& c) {
            c.Mb.pGlobal->MbType = MBTYPE_INTRA16x16;
            c.Mb.pLocal->SubBlockDirection[0] = 2;
        });
        m_pDeep->Coeffs.Bits[0] = 1u << 15;
        m_pDeep->Coeffs.As<int32_t>()[15 * 16] = Dc;
        Reconstructor<uint16_t, 0>::ReconstructIntra(m_pDeep->Slice, m_pDeep->Mb, m_pDeep->Coeffs);
        EXPECT_EQ(Deep.Plane[0][16 * kWidth * 16 + 16], 512);
        EXPECT_EQ(Deep.Plane[0][31 * kWidth * 16 + 31], Sample);
    }
}

// 8.3.4.1 to 8.3.4.3: values of the left neighbours by row of blocks, of those above by column.
TEST_F(Reconstruction, OfChroma422MeansGoByTheSidesThatABlockTouches)
{
    constexpr int kLeft[4] = {10, 20, 30, 40}, kAbove[2] = {50, 90};
    constexpr int kBoth[4][2] = {{30, 90}, {20, 55}, {30, 60}, {40, 65}};
    for (const bool HasLeft : {true, false})
        for (const bool HasTop : {true, false}) {
            auto Narrow = PlanesOf<uint8_t>(*m_pCursor, 2);
            std::vector<uint8_t>& Cb = Narrow.Plane[1];
            constexpr size_t kPitch = kWidth * 8;
            for (size_t i = 0; i < 16; ++i) Cb[(16 + i) * kPitch + 7] = static_cast<uint8_t>(kLeft[i / 4]);
            for (size_t i = 0; i < 8; ++i) Cb[15 * kPitch + 8 + i] = static_cast<uint8_t>(kAbove[i / 4]);
            m_Global[4].SliceId = HasLeft ? 0 : kNoSlice;
            m_Global[1].SliceId = HasTop ? 0 : kNoSlice;
            Begin([](SliceCursor& c) {
                c.Mb.pGlobal->MbType = MBTYPE_INTRA16x16;
                c.Mb.pLocal->SubBlockDirection[0] = 2;
            });
            Reconstructor<uint8_t, 2>::ReconstructIntra(m_pCursor->Slice, m_pCursor->Mb, m_pCursor->Coeffs);
            for (size_t y = 0; y < 16; ++y)
                for (size_t x = 0; x < 8; ++x) {
                    const int Want = HasLeft && HasTop ? kBoth[y / 4][x / 4]
                                     : HasLeft         ? kLeft[y / 4]
                                     : HasTop          ? kAbove[x / 4]
                                                       : 128;
                    ASSERT_EQ(Cb[(16 + y) * kPitch + 8 + x], Want) << HasLeft << HasTop << ": " << x << ", " << y;
                }
        }
}

TEST_F(Reconstruction, OfChroma422PlanesGoOnWithTheSlopesAround)
{
    auto Narrow = PlanesOf<uint8_t>(*m_pCursor, 2);
    std::vector<uint8_t>& Cr = Narrow.Plane[2];
    constexpr int kPitch = kWidth * 8;
    const auto At = [&](int x, int y) -> uint8_t& { return Cr[static_cast<size_t>((16 + y) * kPitch + 8 + x)]; };
    const auto Slope = [](int x, int y) { return static_cast<uint8_t>(40 + 3 * x + 2 * y); };
    for (int i = -1; i < 16; ++i) At(-1, i) = Slope(-1, i);
    for (int i = 0; i < 8; ++i) At(i, -1) = Slope(i, -1);
    Begin([](SliceCursor& c) {
        c.Mb.pGlobal->MbType = MBTYPE_INTRA16x16;
        c.Mb.pLocal->SubBlockDirection[0] = 2;
        c.Mb.pLocal->SubBlockDirection[2] = 3;
    });
    Reconstructor<uint8_t, 2>::ReconstructIntra(m_pCursor->Slice, m_pCursor->Mb, m_pCursor->Coeffs);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 8; ++x) ASSERT_EQ(At(x, y), Slope(x, y)) << x << ", " << y;
}

} // namespace
} // namespace UMC
