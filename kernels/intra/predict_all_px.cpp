#include "kernels/intra/intra.h"

#include <cstdlib>

namespace kernels {

namespace {

// Predict(Mode, pDst, Available) makes each prediction. SrcStep counts samples.
template <class Sample, class Prediction>
void PredictAll(const Sample* pSrc, ptrdiff_t SrcStep, unsigned Available, Sample (*pPredictions)[16], int32_t* pSad,
                Prediction Predict)
{
    constexpr int kDc = 2;
    for (int Mode = 0; Mode < 9; ++Mode) {
        Sample* const p = pPredictions[Mode];
        Predict(Mode, p, Mode == kDc ? Available : Available | kLeft | kTop | kTopLeft);
        pSad[Mode] = 0;
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x) pSad[Mode] += std::abs(pSrc[y * SrcStep + x] - p[4 * y + x]);
    }
}

} // namespace

void PredictAll4x4_px(const uint8_t* pSrc, ptrdiff_t SrcStep, const uint8_t* pAround, ptrdiff_t AroundStep,
                      unsigned Available, uint8_t (*pPredictions)[16], int32_t* pSad)
{
    PredictAll(pSrc, SrcStep, Available, pPredictions, pSad, [&](int Mode, uint8_t* pDst, unsigned Taken) {
        PredictIntra4x4_px(Mode, pAround, AroundStep, pAround - AroundStep + 4, pDst, 4, Taken);
    });
}

void PredictAll4x4Deep_px(const uint16_t* pSrc, ptrdiff_t SrcStep, const uint16_t* pAround, ptrdiff_t AroundStep,
                          unsigned Available, uint16_t (*pPredictions)[16], int32_t* pSad, int Depth)
{
    PredictAll(pSrc, SrcStep / 2, Available, pPredictions, pSad, [&](int Mode, uint16_t* pDst, unsigned Taken) {
        PredictIntra4x4Deep_px(Mode, pAround, AroundStep, pAround - AroundStep / 2 + 4, pDst, 8, Taken, Depth);
    });
}

} // namespace kernels
