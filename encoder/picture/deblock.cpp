#include "encoder/picture/deblock.h"

#include "encoder/picture/pair_filter.h"

namespace UMC_H264_ENCODER {

template <class Sample>
void DeblockSlice(const EncoderSettings& Settings, const PictureJob<Sample>& Job, const SliceFacts<Sample>& s,
                  int32_t MbCount)
{
    if (s.deblock_idc == 1) return;
    const auto FilterAll = [&](auto&& Filter) {
        for (int32_t i = 0; i < MbCount; ++i) Filter.Filter(s.first_mb + i);
    };
    if (s.IsAdaptive)
        FilterAll(PairFilter<Sample>(Settings, Job, s));
    else
        FilterAll(MacroblockFilter<Sample>(Settings, Job, s));
}

template void DeblockSlice(const EncoderSettings&, const PictureJob<uint8_t>&, const SliceFacts<uint8_t>&, int32_t);
template void DeblockSlice(const EncoderSettings&, const PictureJob<uint16_t>&, const SliceFacts<uint16_t>&, int32_t);

} // namespace UMC_H264_ENCODER
