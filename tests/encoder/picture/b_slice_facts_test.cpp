// What a B slice derives from the distances of its references and from the references of its co-located picture.
#include "encoder/picture/b_slice_facts.h"

#include "Common/h264/motion_prediction.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;

class BFacts : public testing::Test
{
protected:
    // Order counts of the picture and of its references; their numbers are 10, 11, .. in list 0 and 20, .. in list 1.
    void Derive(int32_t Poc, const std::vector<int32_t>& List0, const std::vector<int32_t>& List1,
                bool bImplicit = true)
    {
        for (int List = 0; List < 2; ++List) {
            const auto& Counts = List ? List1 : List0;
            for (size_t i = 0; i < Counts.size(); ++i) {
                auto& r = s().ref_pic_lists.Pictures[List][i];
                r.Poc = Counts[i];
                r.Id = 10 * (List + 1) + static_cast<int32_t>(i);
            }
        }
        s().ref_pic_lists.Pictures[1][0].pIds = m_ColIds;
        s().num_ref_idx_l0 = static_cast<int32_t>(List0.size());
        s().num_ref_idx_l1 = static_cast<int32_t>(List1.size());
        DeriveBSliceFacts(bImplicit, Poc, s());
    }
    SliceFacts<uint8_t>& s() { return *m_pSlice; }

    std::unique_ptr<SliceFacts<uint8_t>> m_pSlice = std::make_unique<SliceFacts<uint8_t>>();
    int32_t m_ColIds[2][kMaxReferences]{};
};

TEST_F(BFacts, ScaleByTheShareOfTheWay)
{
    Derive(4, {0, 2, 8}, {8, 12});
    EXPECT_EQ(s().B.DistScale[0], 128);
    EXPECT_EQ(s().B.DistScale[1], 85);         // 2 of 6
    EXPECT_EQ(s().B.DistScale[2], kNotScaled); // the first of list 1 itself
    EXPECT_EQ(s().B.ImplicitWeight[0][0], 32);
    EXPECT_EQ(s().B.ImplicitWeight[1][0], 21);
    EXPECT_EQ(s().B.ImplicitWeight[0][1], 21); // 4 of 12
    EXPECT_EQ(s().B.ImplicitWeight[2][0], 32);
    Derive(4, {0, 2, 8}, {8, 12}, false);
    EXPECT_EQ(s().B.ImplicitWeight[1][0], 32);
}

// Distances count as -128..127, factors as -1024..1023, and weights beyond -64..128 as even.
TEST_F(BFacts, LimitLongDistances)
{
    Derive(1000, {0}, {2000});
    EXPECT_EQ(s().B.DistScale[0], 256); // 127 of 127
    EXPECT_EQ(s().B.ImplicitWeight[0][0], 64);
    Derive(200, {0}, {254});
    EXPECT_EQ(s().B.DistScale[0], 256);
    Derive(64, {0}, {127});
    EXPECT_EQ(s().B.DistScale[0], 129);
    Derive(64, {0}, {128});
    EXPECT_EQ(s().B.DistScale[0], 129); // as one of 127
    Derive(200, {0}, {2});
    EXPECT_EQ(s().B.DistScale[0], 1023);
    EXPECT_EQ(s().B.ImplicitWeight[0][0], 32);
    Derive(-200, {0}, {2});
    EXPECT_EQ(s().B.DistScale[0], -1024);
    EXPECT_EQ(s().B.ImplicitWeight[0][0], 32);
}

TEST_F(BFacts, FindTheReferencesOfTheCoLocatedPictureInList0)
{
    m_ColIds[0][0] = 12, m_ColIds[0][1] = 20, m_ColIds[0][2] = 10;
    m_ColIds[1][0] = 11, m_ColIds[1][31] = 13;
    Derive(4, {3, 2, 1, 0}, {8});
    EXPECT_EQ(s().B.RefOfCol[0][0], 2);
    EXPECT_EQ(s().B.RefOfCol[0][1], h264::kRefNone); // it is in list 1
    EXPECT_EQ(s().B.RefOfCol[0][2], 0);
    EXPECT_EQ(s().B.RefOfCol[0][3], h264::kRefNone);
    EXPECT_EQ(s().B.RefOfCol[1][0], 1);
    EXPECT_EQ(s().B.RefOfCol[1][31], 3);
    Derive(4, {3, 2, 1}, {8}); // the last is no longer active
    EXPECT_EQ(s().B.RefOfCol[1][31], h264::kRefNone);
    s().ref_pic_lists.Pictures[1][0].pIds = nullptr;
    DeriveBSliceFacts(true, 4, s());
    for (const auto& List : s().B.RefOfCol)
        for (const int8_t Ref : List) EXPECT_EQ(Ref, h264::kRefNone);
}

} // namespace
