// Scaling lists of both parameter sets, sent, absent and asked for by default, in whole pictures as ffmpeg has them.
#include "tests/decoder/random_stream.h"

namespace {

using namespace test;

// Kinds of list: a for absent, d for the default, s for a short one, f for a full one.
ScalingLists MakeLists(RandomMacroblocks& Random, const std::string& Kinds)
{
    ScalingLists Lists;
    for (size_t i = 0; i < Kinds.size(); ++i) {
        std::vector<int32_t>& List = Lists.emplace_back();
        const size_t Size = i < 6 ? 16 : 64;
        if (Kinds[i] == 'd') List = {0};
        if (Kinds[i] == 's' || Kinds[i] == 'f') List.resize(Kinds[i] == 'f' ? Size : 5);
        if (Kinds[i] == 's' || Kinds[i] == 'f')
            for (int32_t& Value : List) Value = 6 + Random.Upto(40);
    }
    return Lists;
}

void ExpectAsFfmpeg(const std::string& SeqKinds, const std::string& PicKinds, bool Is8x8)
{
    SCOPED_TRACE(SeqKinds + ", " + PicKinds);
    RandomMacroblocks Random(61);
    RandomStream In({.profile_idc = 100, .scaling = MakeLists(Random, SeqKinds)},
                    {.num_ref_idx = {2, 1},
                     .has_transform_extension = true,
                     .transform_8x8_mode = Is8x8,
                     .scaling = MakeLists(Random, PicKinds)},
                    62);
    In.Start(2);
    for (uint32_t i = 2; i < 6; ++i) In.P(Numbered(i, 2 * i), {.intra = 4});
    In.ExpectAsFfmpeg();
}

TEST(ScalingLists, OfTheSequenceFollowRuleA)
{
    ExpectAsFfmpeg("ffffffff", "", true);
    ExpectAsFfmpeg("afafsada", "", true);
    ExpectAsFfmpeg("saafdaad", "", false);
    ExpectAsFfmpeg("aaaaaaaa", "", true);
}

TEST(ScalingLists, OfThePictureFollowRuleAWithoutAMatrixBeforeThem)
{
    ExpectAsFfmpeg("", "sfafdaad", true);
    ExpectAsFfmpeg("", "aasaafaf", true);
    ExpectAsFfmpeg("", "afaasa", false);
}

TEST(ScalingLists, OfThePictureFollowRuleBBehindThoseOfTheSequence)
{
    ExpectAsFfmpeg("ffffffff", "aaaaaaaa", true);
    ExpectAsFfmpeg("fffsffsf", "afasaaaf", true);
    ExpectAsFfmpeg("fffsffsf", "aadasafa", true);
    ExpectAsFfmpeg("fffsffsf", "daadaa", false);
}

} // namespace
