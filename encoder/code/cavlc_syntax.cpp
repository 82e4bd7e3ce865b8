#include "encoder/code/cavlc_syntax.h"

namespace UMC_H264_ENCODER {

const std::array<std::array<std::array<uint8_t, 48>, 2>, 2> g_PatternCodes = [] {
    std::array<std::array<std::array<uint8_t, 48>, 2>, 2> Codes{};
    for (size_t Chroma = 0; Chroma < 2; ++Chroma)
        for (size_t Kind = 0; Kind < 2; ++Kind)
            for (size_t Code = 0; Code < (Chroma == 0 ? 48 : 16); ++Code)
                Codes[Chroma][Kind][h264::kCodedBlockPattern[Chroma][Kind][Code]] = static_cast<uint8_t>(Code);
    return Codes;
}();

} // namespace UMC_H264_ENCODER
