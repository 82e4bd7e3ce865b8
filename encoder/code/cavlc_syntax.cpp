#include "encoder/code/cavlc_syntax.h"

namespace UMC_H264_ENCODER {

const std::array<std::array<uint8_t, 48>, 2> g_PatternCodes = [] {
    std::array<std::array<uint8_t, 48>, 2> Codes{};
    for (size_t Kind = 0; Kind < 2; ++Kind)
        for (size_t Code = 0; Code < 48; ++Code)
            Codes[Kind][h264::kCodedBlockPattern[0][Kind][Code]] = static_cast<uint8_t>(Code);
    return Codes;
}();

} // namespace UMC_H264_ENCODER
