// Every decision of whole pictures equals a full computation of it.
#include "tests/encoder/decision_model.h"

#include "media/umc_default_memory_allocator.h"

#include <gtest/gtest.h>

namespace {

using namespace encoder_testing;

struct ModelCase {
    const char* Title;
    Scene What;
    int32_t Qp;
    std::function<void(UMC::H264EncoderParams&)> Set;
    uint32_t ClearFlags, SetFlags; // of the analysis flags, some of which no setting reaches
};
void PrintTo(const ModelCase& c, std::ostream* pOut) { *pOut << c.Title << " at QP " << c.Qp; }

class DecisionsOfAPicture : public testing::TestWithParam<ModelCase>
{
};
TEST_P(DecisionsOfAPicture, EqualTheFullComputation)
{
    constexpr int32_t kWidth = 96, kHeight = 64;
    constexpr int kPictures = 5;
    const ModelCase& Case = GetParam();
    UMC::H264EncoderParams p = SizedParams(kWidth, kHeight);
    p.rate_control_method = 3;
    p.quant_i = p.quant_p = static_cast<uint8_t>(Case.Qp);
    p.deblocking_filter_idc = 1; // the samples that intra prediction saw are those that are left
    if (Case.Set) Case.Set(p);
    UMC::DefaultMemoryAllocator Allocator;
    Core8 c;
    ASSERT_EQ(InitCore(c, p, &Allocator), UMC::StatusOk);
    c.Settings.AnalysisFlags = (c.Settings.AnalysisFlags & ~Case.ClearFlags) | Case.SetFlags;
    UMC::VideoData Input;
    Input.Init(kWidth, kHeight, UMC::YUV420, 8);
    UMC::MediaData Output(1 << 20);
    int n = 0;
    for (Picture& Source : MakeClip(Case.What, kWidth, kHeight, kPictures)) {
        Input.SetBufferPointer(Source.data(), Source.size());
        Output.Reset();
        ASSERT_EQ(FrameStep(c, &Input, &Output), UMC::StatusOk);
        DecisionModel Model(c, Source, Case.Qp);
        for (int32_t Mb = 0; Mb < c.Settings.Layout.MbCount; ++Mb)
            ASSERT_EQ(DecisionOf(c, Mb), Model.Decide(Mb)) << "picture " << n << ", macroblock " << Mb;
        ++n;
    }
}

#define CASE(Title, What, Qp, ...)                                                                                     \
    ModelCase                                                                                                          \
    {                                                                                                                  \
#Title, Scene::What, Qp, [](UMC::H264EncoderParams& p) { (void)p; __VA_ARGS__; }, 0, 0                                 \
    }
#define FLAGS(Title, What, Qp, Clear, Set)                                                                             \
    ModelCase { #Title, Scene::What, Qp, {}, Clear, Set }

std::vector<ModelCase> Contents()
{
    std::vector<ModelCase> Cases;
    for (const Scene s : {Scene::Pan, Scene::Mixed, Scene::Cut, Scene::Noise, Scene::Still})
        for (const int32_t Qp : {8, 20, 27, 33, 39, 47}) Cases.push_back({"contents", s, Qp, {}, 0, 0});
    return Cases;
}
INSTANTIATE_TEST_SUITE_P(Contents, DecisionsOfAPicture, testing::ValuesIn(Contents()));

INSTANTIATE_TEST_SUITE_P(
    Settings, DecisionsOfAPicture,
    testing::Values(CASE(Slices, Pan, 30, p.num_slices = 3), CASE(TwoReferences, Turns, 28, p.num_ref_frames = 2),
                    CASE(FourReferences, Turns, 24, p.num_ref_frames = 4),
                    CASE(ReferencesOfNoise, Mixed, 22, p.num_ref_frames = 3),
                    CASE(SatdAndChroma, Pan, 26, p.analysis_level = 1), CASE(SatdOfACut, Cut, 34, p.analysis_level = 1),
                    CASE(SatdReferences, Turns, 30, p.analysis_level = 1; p.num_ref_frames = 2),
                    CASE(FullSearch, Pan, 26, p.search_method = 0; p.search_x = 4; p.search_y = 3),
                    CASE(NarrowLog, Pan, 30, p.search_x = 8; p.search_y = 2),
                    CASE(WideLog, Mixed, 30, p.search_x = 32; p.search_y = 32),
                    FLAGS(SearchesBeforeTheSkipTest, Pan, 32, ENC_ANALYSE_ME_EARLY_EXIT, 0),
                    FLAGS(SearchesStillScenes, Still, 36, ENC_ANALYSE_ME_EARLY_EXIT, 0),
                    FLAGS(WholeSamplesOnly, Pan, 28, ENC_ANALYSE_SUBPEL, 0),
                    FLAGS(NoFineIntra, Cut, 24, ENC_ANALYSE_I4X4, 0), FLAGS(SatdAlone, Pan, 29, ENC_ANALYSE_SAD, 0),
                    FLAGS(ChromaAlone, Pan, 23, 0, ENC_ANALYSE_ME_CHROMA)));

} // namespace
