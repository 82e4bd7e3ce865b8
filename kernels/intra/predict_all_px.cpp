#include "kernels/intra/intra.h"

#include <cstdlib>

namespace kernels {

void PredictAll4x4_px(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pAround, ptrdiff_t AroundStep,
                      unsigned Available, uint8_t (*pPredictions)[16], int32_t* pSad)
{
    constexpr int kDc = 2;
    for (int Mode = 0; Mode < 9; ++Mode) {
        uint8_t* const p = pPredictions[Mode];
        const unsigned Taken = Mode == kDc ? Available : Available | kLeft | kTop | kTopLeft;
        PredictIntra4x4_px(Mode, pAround, AroundStep, pAround - AroundStep + 4, p, 4, Taken);
        pSad[Mode] = 0;
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x) pSad[Mode] += std::abs(pSrc[y * SrcStep + x] - p[4 * y + x]);
    }
}

} // namespace kernels
