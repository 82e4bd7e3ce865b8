#include "encoder/picture/b_slice_facts.h"

#include "Common/h264/motion_prediction.h"
#include "Common/h264/temporal_distance.h"

#include <algorithm>

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
void DeriveBSliceFacts(bool HasImplicitWeights, const PictureJob<Sample>& Job, SliceFacts<Sample>& s)
{
    const int32_t Poc = Job.Poc();
    const Reference<Sample>* const pLists[2]{s.ref_pic_lists.Pictures[0], s.ref_pic_lists.Pictures[1]};
    s.B.HasImplicitWeights = HasImplicitWeights;
    for (int32_t i = 0; i < s.num_ref_idx_l0; ++i) {
        const int32_t Poc0 = pLists[0][i].Poc, Poc1 = pLists[1][0].Poc;
        s.B.DistScale[i] = Poc0 == Poc1 ? kNotScaled : h264::DistScaleFactor(Poc, Poc0, Poc1);
        for (int32_t j = 0; j < s.num_ref_idx_l1; ++j)
            s.B.ImplicitWeight[i][j] =
                HasImplicitWeights ? h264::ImplicitWeight(Poc, Poc0, pLists[1][j].Poc) : h264::kEvenWeight;
    }
    const auto* const pColIds = pLists[1][0].pIds;
    for (int List = 0; List < 2; ++List)
        for (int i = 0; i < kMaxReferences; ++i)
            s.B.RefOfCol[List][i] = pColIds ? FindInList0(s, pColIds[List][i]) : h264::kRefNone;
}

template void DeriveBSliceFacts(bool, const PictureJob<uint8_t>&, SliceFacts<uint8_t>&);
template void DeriveBSliceFacts(bool, const PictureJob<uint16_t>&, SliceFacts<uint16_t>&);

} // namespace UMC_H264_ENCODER
