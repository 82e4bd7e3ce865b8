#include "encoder/picture/b_slice_facts.h"

#include "Common/h264/motion_prediction.h"
#include "Common/h264/temporal_distance.h"

#include <algorithm>
#include <cstdlib>

namespace UMC_H264_ENCODER {

namespace {

// Index in list 0 of the picture with a number.
template <class Sample>
int8_t FindInList0(const SliceFacts<Sample>& s, int32_t Id)
{
    const Reference<Sample>* const pFirst = s.ref_pic_lists.Pictures[0];
    const auto* const pFound =
        std::find_if(pFirst, pFirst + s.num_ref_idx_l0, [Id](const Reference<Sample>& r) { return r.Id == Id; });
    return pFound == pFirst + s.num_ref_idx_l0 ? h264::kRefNone : static_cast<int8_t>(pFound - pFirst);
}

} // namespace

template <class Sample>
void DeriveDistances(int32_t Poc, SliceFacts<Sample>& s)
{
    const Reference<Sample>* const pLists[2]{s.ref_pic_lists.Pictures[0], s.ref_pic_lists.Pictures[1]};
    for (int32_t i = 0; i < s.num_ref_idx_l0; ++i) {
        const int32_t Poc0 = pLists[0][i].Poc, Poc1 = pLists[1][0].Poc;
        s.B.DistScale[i] = Poc0 == Poc1 ? kNotScaled : h264::DistScaleFactor(Poc, Poc0, Poc1);
        for (int32_t j = 0; j < s.num_ref_idx_l1; ++j)
            s.B.ImplicitWeight[i][j] =
                s.B.HasImplicitWeights ? h264::ImplicitWeight(Poc, Poc0, pLists[1][j].Poc) : h264::kEvenWeight;
    }
}

template <class Sample>
void DeriveBSliceFacts(bool HasImplicitWeights, int32_t Poc, SliceFacts<Sample>& s)
{
    const Reference<Sample>& Col = s.ref_pic_lists.Pictures[1][0];
    const auto Distance = [&](int Field) { return std::abs(int64_t{Col.pFrame->poc[Field]} - Poc); };
    s.B.HasImplicitWeights = HasImplicitWeights;
    DeriveDistances(Poc, s);
    s.B.ColField = Col.pFrame && Distance(0) >= Distance(1);
    for (int List = 0; List < 2; ++List)
        for (int i = 0; i < kMaxReferences; ++i)
            s.B.RefOfCol[List][i] = Col.pIds ? FindInList0(s, Col.pIds[List][i]) : h264::kRefNone;
}

#define INSTANTIATE(Sample)                                                                                            \
    template void DeriveDistances(int32_t, SliceFacts<Sample>&);                                                       \
    template void DeriveBSliceFacts(bool, int32_t, SliceFacts<Sample>&);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
