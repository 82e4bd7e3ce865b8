// What a picture costs from an earlier one.
#include "encoder/picture/picture_trial.h"

#include "encoder/session/make_settings.h"
#include "media/umc_default_memory_allocator.h"
#include "tests/encoder/encoder_testing.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace encoder_testing;
using namespace UMC_H264_ENCODER;

constexpr int32_t kQp = 28;

template <class Sample>
class Trials
{
public:
    explicit Trials(const UMC::H264EncoderParams& p)
    {
        EXPECT_EQ(MakeSettings<Sample>(p, m_Settings), UMC::StatusOk);
        m_pTrial = std::make_unique<PictureTrial<Sample>>(m_Settings, kQp);
        for (auto* const f : {&m_Source, &m_First, &m_Second}) EXPECT_EQ(f->Allocate(m_Settings.Layout), UMC::StatusOk);
    }
    /// Of a picture from an earlier one; samples of 8 bits, luma alone.
    TrialCost Run(const Picture& p, const Picture& Earlier)
    {
        Copy(Earlier, m_First);
        Copy(p, m_Second);
        return m_pTrial->Run(m_Second, m_First);
    }
    const H264EncoderFrame<Sample>& Last() const { return m_Second; }

private:
    // Beyond the visible samples lies something else each time.
    void Copy(const Picture& p, H264EncoderFrame<Sample>& To)
    {
        const FrameLayout& l = m_Settings.Layout;
        ++m_Leftover;
        for (int32_t y = 0; y < l.AlignedHeight; ++y)
            for (int32_t x = 0; x < l.AlignedWidth; ++x)
                m_Source.m_pY[y * l.Pitch + x] =
                    x < l.Width && y < l.Height ? p[static_cast<size_t>(y * l.Width + x)] : m_Leftover;
        m_pTrial->CopyPicture(m_Source, To);
    }

    UMC::DefaultMemoryAllocator m_Allocator;
    EncoderSettings m_Settings;
    std::unique_ptr<PictureTrial<Sample>> m_pTrial;
    H264EncoderFrame<Sample> m_Source{&m_Allocator}, m_First{&m_Allocator}, m_Second{&m_Allocator};
    uint8_t m_Leftover = 0;
};

template <class Sample>
class PictureTrials : public testing::Test
{
};
using SampleTypes = testing::Types<uint8_t, uint16_t>;
TYPED_TEST_SUITE(PictureTrials, SampleTypes);

TYPED_TEST(PictureTrials, OfTheSamePictureCostNothing)
{
    for (const int32_t CodingType : {0, 1}) {
        UMC::H264EncoderParams p = SizedParams(50, 34);
        p.coding_type = CodingType;
        Trials<TypeParam> t(p);
        const Picture Source = MakeClip(Scene::Pan, 50, 34, 1)[0];
        const TrialCost c = t.Run(Source, Source);
        EXPECT_EQ(c.Cost, 0);
        EXPECT_EQ(c.IntraCount, 0);
    }
}

// Beyond the visible samples the last column, and the last row, of its field in fields.
TYPED_TEST(PictureTrials, AreOfCopiesThatRepeatTheLastSamples)
{
    for (const int32_t CodingType : {0, 1}) {
        UMC::H264EncoderParams p = SizedParams(20, 18);
        p.coding_type = CodingType;
        Trials<TypeParam> t(p);
        const Picture Source = MakeClip(Scene::Noise, 20, 18, 1)[0];
        t.Run(Source, Source);
        for (int32_t y = 0; y < 32; ++y)
            for (int32_t x = 0; x < 32; ++x) {
                const int32_t Row = y < 18 ? y : CodingType ? 16 + y % 2 : 17;
                ASSERT_EQ(t.Last().m_pY[y * t.Last().m_Pitch + x],
                          Source[static_cast<size_t>(20 * Row + std::min(x, 19))])
                    << x << ',' << y;
            }
    }
}

// Lines of noise in one field and none in the other: as a frame it moves, as fields each stands still in its own.
TYPED_TEST(PictureTrials, OfFieldsAreAgainstTheirOwnParity)
{
    UMC::H264EncoderParams p = SizedParams(32, 64);
    p.coding_type = 1;
    Trials<TypeParam> t(p);
    const Picture Noise = MakeClip(Scene::Noise, 32, 64, 1)[0];
    Picture Top(Noise.size(), 128), Both = Noise;
    for (size_t y = 0; y < 64; y += 2) std::copy_n(&Noise[32 * y], 32, &Top[32 * y]);
    EXPECT_EQ(t.Run(Top, Top).Cost, 0);
    const TrialCost c = t.Run(Top, Both); // the bottom field has become flat
    EXPECT_EQ(c.IntraCount, 4);
    EXPECT_GT(c.Cost, 0);
    EXPECT_EQ(t.Run(Both, Both).Cost, 0);
}

// Finer forms are not tried, and what is found lies in the copy.
TYPED_TEST(PictureTrials, AreInOnePart)
{
    UMC::H264EncoderParams p = SizedParams(96, 80);
    p.partition_level = 3;
    p.analysis_level = 3;
    p.profile_idc = 100;
    p.transform_8x8_mode = 1;
    Trials<TypeParam> t(p);
    const std::vector<Picture> Clip = MakeClip(Scene::Mixed, 96, 80, 2);
    const TrialCost c = t.Run(Clip[1], Clip[0]);
    int64_t Intra = 0;
    for (int i = 0; i < 30; ++i) {
        const uint8_t Type = t.Last().mb_global[i].Type;
        EXPECT_TRUE(Type == MB_INTRA16X16 || Type == MB_INTER16X16 || Type == MB_SKIP_P) << i << ' ' << int{Type};
        Intra += Type == MB_INTRA16X16;
    }
    EXPECT_EQ(c.IntraCount, Intra);
    EXPECT_GT(c.Cost, 0);
}

} // namespace
