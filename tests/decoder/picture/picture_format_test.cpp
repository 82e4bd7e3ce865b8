// What a sequence parameter set says about samples, and buffers made for it.
#include "decoder/picture/picture_format.h"

#include "decoder/picture/frame.h"
#include "media/umc_default_memory_allocator.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace UMC;

H264SeqParamSet Sequence(uint8_t ChromaFormat, uint8_t Luma, uint8_t Chroma)
{
    H264SeqParamSet Seq{};
    Seq.frame_width_in_mbs = 5;
    Seq.frame_height_in_mbs = 3;
    Seq.chroma_format_idc = ChromaFormat;
    Seq.bit_depth_luma = Luma;
    Seq.bit_depth_chroma = Chroma;
    return Seq;
}

TEST(PictureFormat, IsMadeOfASequence)
{
    const PictureFormat Format = PictureFormat::Of(Sequence(1, 8, 8));
    EXPECT_EQ(Format.Size, (PictureSize{80, 48}));
    EXPECT_EQ(Format.MbSize, (PictureSize{5, 3}));
    EXPECT_EQ(Format.MbCount(), 15);
    EXPECT_EQ(Format.BitDepth(), 8);
    EXPECT_EQ(Format.SampleBytes(), 1);
}

TEST(PictureFormat, SamplesAreAsWideAsTheDeeperOnes)
{
    EXPECT_EQ(PictureFormat::Of(Sequence(1, 8, 10)).BitDepth(), 10);
    EXPECT_EQ(PictureFormat::Of(Sequence(1, 10, 8)).SampleBytes(), 2);
    EXPECT_NE(PictureFormat::Of(Sequence(1, 10, 8)), PictureFormat::Of(Sequence(1, 8, 10)));
}

TEST(PictureFormat, ChromaSizesOfEachFormat)
{
    const PictureSize Planes[] = {
        {40, 24}, {40, 24}, {40, 48}, {80, 48}}; // grey planes lie beside a monochrome picture
    const uint32_t Bits[] = {256 * 8, 256 * 8 + 2 * 64 * 9, 256 * 8 + 2 * 128 * 9, 256 * 8 + 2 * 256 * 9};
    for (uint8_t i = 0; i < 4; ++i) {
        const PictureFormat Format = PictureFormat::Of(Sequence(i, 8, 9));
        EXPECT_EQ(Format.ChromaSize(), Planes[i]) << int{i};
        EXPECT_EQ(Format.MbSampleBits(), Bits[i]) << int{i};
    }
}

TEST(PictureFormat, CoversPartsOfMacroblocks)
{
    const PictureFormat Format = PictureFormat::Make({17, 33}, 1, 8, 8);
    EXPECT_EQ(Format.MbSize, (PictureSize{2, 3}));
    EXPECT_EQ(Format.InWholeMbs().Size, (PictureSize{32, 48}));
    EXPECT_EQ(Format.InWholeMbs().InWholeMbs(), Format.InWholeMbs());
}

class PicturePlanes : public testing::Test
{
protected:
    // A block that was freed may come back with what it held, so that what was asked for has to be counted.
    class CountingAllocator : public DefaultMemoryAllocator
    {
    public:
        Status Alloc(MemID* pMid, size_t Size, uint32_t Flags, uint32_t Align) override
        {
            ++m_Requests;
            const Status Result = DefaultMemoryAllocator::Alloc(pMid, Size, Flags, Align);
            if (Result == StatusOk) std::memset(Lock(*pMid), 0xA5, Size); // what somebody else left there
            if (Result == StatusOk) Unlock(*pMid);
            return Result;
        }
        int m_Requests = 0;
    };
    PicturePlanes() { m_Buffer.SetAllocator(&m_Allocator); }

    CountingAllocator m_Allocator;
    H264DecYUVWorkSpace m_Buffer;
};

TEST_F(PicturePlanes, AreThoseOfTheirFormat)
{
    for (uint8_t ChromaFormat = 0; ChromaFormat <= h264::CHROMA_444; ++ChromaFormat)
        for (const uint8_t Depth : {uint8_t{8}, uint8_t{10}, uint8_t{14}}) {
            SCOPED_TRACE(testing::Message() << int{ChromaFormat} << ", " << int{Depth});
            const PictureFormat Format = PictureFormat::Of(Sequence(ChromaFormat, 8, Depth));
            ASSERT_EQ(m_Buffer.Allocate(Format), StatusOk);
            EXPECT_EQ(m_Buffer.m_Format, Format);
            EXPECT_EQ(m_Buffer.m_PitchLuma, 128);
            EXPECT_EQ(m_Buffer.m_PitchChroma, ChromaFormat == 3 ? 128 : 64);
            const ptrdiff_t Luma = ptrdiff_t{128} * 48 * Format.SampleBytes();
            const ptrdiff_t Chroma =
                ptrdiff_t{m_Buffer.m_PitchChroma} * Format.ChromaSize().Height * Format.SampleBytes();
            EXPECT_GE(m_Buffer.m_pPlaneU - m_Buffer.m_pPlaneY, Luma);
            EXPECT_GE(m_Buffer.m_pPlaneV - m_Buffer.m_pPlaneU, Chroma);
            for (const uint8_t* const p : {m_Buffer.m_pPlaneY, m_Buffer.m_pPlaneU, m_Buffer.m_pPlaneV})
                EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 64, 0u);
            m_Buffer.FillGrey(); // all of it is there
        }
}

TEST_F(PicturePlanes, AreGreyWith128AtEveryDepth)
{
    ASSERT_EQ(m_Buffer.Allocate(PictureFormat::Of(Sequence(1, 8, 8))), StatusOk);
    m_Buffer.FillGrey();
    EXPECT_EQ(m_Buffer.m_pPlaneY[0], 128);
    for (const uint8_t Depth : {uint8_t{9}, uint8_t{10}, uint8_t{14}}) {
        ASSERT_EQ(m_Buffer.Allocate(PictureFormat::Of(Sequence(1, 8, Depth))), StatusOk);
        const auto* const pLuma = reinterpret_cast<const uint16_t*>(m_Buffer.m_pPlaneY);
        const auto* const pCr = reinterpret_cast<const uint16_t*>(m_Buffer.m_pPlaneV);
        m_Buffer.FillGrey();
        EXPECT_EQ(pLuma[0], 128) << int{Depth};
        EXPECT_EQ(pLuma[47 * m_Buffer.m_PitchLuma + 79], 128) << int{Depth};
        EXPECT_EQ(pCr[23 * m_Buffer.m_PitchChroma + 39], 128) << int{Depth};
    }
}

TEST_F(PicturePlanes, ShowNothingOfWhatTheirMemoryHeldBefore)
{
    for (const uint8_t Depth : {uint8_t{8}, uint8_t{12}}) {
        ASSERT_EQ(m_Buffer.Allocate(PictureFormat::Of(Sequence(2, Depth, Depth))), StatusOk);
        for (uint8_t* const pPlane : {m_Buffer.m_pPlaneY, m_Buffer.m_pPlaneU, m_Buffer.m_pPlaneV})
            EXPECT_EQ(Depth > 8 ? int{*reinterpret_cast<const uint16_t*>(pPlane)} : int{*pPlane}, 128) << int{Depth};
    }
}

TEST_F(PicturePlanes, StayWhereTheyAreForTheSameFormat)
{
    const PictureFormat Format = PictureFormat::Of(Sequence(1, 8, 8));
    ASSERT_EQ(m_Buffer.Allocate(Format), StatusOk);
    m_Buffer.FillGrey();
    *m_Buffer.m_pPlaneY = 7;
    ASSERT_EQ(m_Buffer.Allocate(Format), StatusOk);
    EXPECT_EQ(*m_Buffer.m_pPlaneY, 7);
    EXPECT_EQ(m_Allocator.m_Requests, 1);
    m_Buffer.Conditional(Format);
    EXPECT_NE(m_Buffer.m_pPlaneY, nullptr);
    m_Buffer.Conditional(PictureFormat::Of(Sequence(1, 8, 9)));
    EXPECT_EQ(m_Buffer.m_pPlaneY, nullptr);
    EXPECT_EQ(m_Buffer.m_Format, PictureFormat{});
}

TEST_F(PicturePlanes, AreRefusedOutsideOfTheirLimits)
{
    EXPECT_EQ(m_Buffer.Allocate(PictureFormat::Make({16, 16}, 1, 7, 8)), StatusUnsupported);
    EXPECT_EQ(m_Buffer.Allocate(PictureFormat::Make({16, 16}, 1, 8, 17)), StatusUnsupported);
    EXPECT_EQ(m_Buffer.Allocate(PictureFormat::Make({16, 16}, 4, 8, 8)), StatusInvalidParams);
    EXPECT_EQ(m_Buffer.Allocate(PictureFormat::Make({16, 16}, -1, 8, 8)), StatusInvalidParams);
    EXPECT_EQ(m_Buffer.Allocate(PictureFormat::Make({0, 16}, 1, 8, 8)), StatusAllocFailed);
    EXPECT_EQ(m_Buffer.Allocate(PictureFormat::Make({1 << 20, 1 << 20}, 1, 8, 8)), StatusAllocFailed);
    EXPECT_EQ(m_Buffer.Allocate(PictureFormat::Make({1 << 15, 1 << 16}, 1, 8, 8)), StatusAllocFailed);
    EXPECT_EQ(m_Allocator.m_Requests, 0) << "none of them is asked for";
}

} // namespace
