// Streams with B pictures that others refer to. The turns that their coding order takes are kept for the whole process,
// so each test begins them anew with an anchor of its own: the P picture that every clip here has ahead of its runs.
#include "tests/encoder/stream_check.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace encoder_testing;

struct RunCase {
    int32_t BPictures, RefMode;
    int Pictures;
    const char* pTypes;  // in coding order
    const char* pPlaces; // in display order, as letters from 'a'
};
void PrintTo(const RunCase& c, std::ostream* pOut) { *pOut << c.BPictures << " B pictures, mode " << c.RefMode; }

UMC::H264EncoderParams ParamsOf(const RunCase& c, int32_t Direct)
{
    UMC::H264EncoderParams p = SizedParams(96, 80);
    p.num_b_frames = c.BPictures;
    p.b_ref_mode = c.RefMode;
    p.num_ref_frames = 4;
    p.direct_pred_mode = static_cast<uint8_t>(Direct);
    p.partition_level = 1;
    p.rate_control_method = 3;
    p.quant_i = p.quant_p = p.quant_b = 22;
    return p;
}

std::string LettersOf(const std::vector<int32_t>& Places)
{
    std::string s;
    for (const int32_t Place : Places) s += static_cast<char>('a' + Place);
    return s;
}

class ReferenceBRun : public testing::TestWithParam<RunCase>
{
};
TEST_P(ReferenceBRun, DecodesToTheReconstructionInItsOwnOrder)
{
    const RunCase& c = GetParam();
    for (const int32_t Direct : {0, 1}) {
        SCOPED_TRACE(Direct);
        Driver d(ParamsOf(c, Direct));
        ASSERT_EQ(d.InitResult(), UMC::StatusOk);
        EXPECT_EQ(d.EncodeAll(MakeClip(Scene::Pan, 96, 80, c.Pictures)), c.pTypes);
        EXPECT_EQ(LettersOf(d.Places), c.pPlaces);
        ExpectDecodesToReconstruction(d);
    }
}

// Pairs of both kinds and of different references lie side by side, and the filter goes by which fields those are.
TEST(ReferenceBRunOfPairs, DecodesToTheReconstruction)
{
    for (const int32_t Qp : {28, 36, 42}) {
        SCOPED_TRACE(Qp);
        UMC::H264EncoderParams p = ParamsOf({7, 2, 0, "", ""}, 1);
        p.coding_type = 2;
        p.partition_level = 2;
        p.analysis_level = 3;
        p.quant_i = p.quant_p = p.quant_b = static_cast<uint8_t>(Qp);
        p.deblocking_alpha_offset = p.deblocking_beta_offset = 12;
        Driver d(p);
        ASSERT_EQ(d.InitResult(), UMC::StatusOk);
        d.EncodeAll(MakeClip(Scene::Woven, 96, 80, 17));
        EXPECT_GT(d.Tools.in_fields, 0);
        EXPECT_GT(d.Tools.from_both_lists, 0);
        ExpectDecodesToReconstruction(d);
    }
}

// A run between P pictures is coded from both ends by turns with mode 2. In mode 1 the middle picture comes first, as
// the others are no references.
const RunCase kRuns[] = {{1, 0, 9, "IPBPBPBPB", "acbedgfih"},    {1, 1, 9, "IPBPBPBPB", "acbedgfih"},
                         {1, 2, 9, "IPBPBPBPB", "acbedgfih"},    {2, 0, 10, "IPBBPBBPBB", "adbcgefjhi"},
                         {2, 1, 10, "IPBBPBBPBB", "adbcgefjhi"}, {2, 2, 10, "IPBBPBBPBB", "adbcgefjhi"},
                         {3, 0, 9, "IPBBBPBBB", "aebcdifgh"},    {3, 1, 9, "IPBBBPBBB", "aecbdigfh"},
                         {3, 2, 9, "IPBBBPBBB", "aebdcifhg"},    {7, 0, 9, "IPBBBBBBB", "aibcdefgh"},
                         {7, 1, 9, "IPBBBBBBB", "aiebcdfgh"},    {7, 2, 9, "IPBBBBBBB", "aibhcgdfe"}};
INSTANTIATE_TEST_SUITE_P(Runs, ReferenceBRun, testing::ValuesIn(kRuns));

} // namespace
