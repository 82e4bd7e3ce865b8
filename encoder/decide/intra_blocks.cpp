#include "encoder/decide/intra_blocks.h"

#include "Common/h264/h264_tables.h"
#include "Common/h264/intra_modes.h"
#include "encoder/code/coefficients.h"
#include "encoder/code/lossless.h"
#include "encoder/decide/intra_decision.h"
#include "kernels/intra/intra_neighbours.h"

#include <algorithm>
#include <array>
#include <bit>
#include <iterator>
#include <limits>

namespace UMC_H264_ENCODER {

namespace {

// Estimates of what the type costs beyond the modes counted.
constexpr int32_t kBitsOfIntra4x4 = 24, kBitsOfIntra8x8 = 12;

// Modes to try beside DC by the neighbours that are available, as a mask.
constexpr std::array<uint16_t, 16> kModesToTry = [] {
    std::array<uint16_t, 16> Table{};
    for (unsigned Available = 0; Available < Table.size(); ++Available)
        for (unsigned Mode = 0; Mode < std::size(kernels::kIntraBlockNeeds); ++Mode)
            if (Mode != h264::kIntraDcMode && (kernels::kIntraBlockNeeds[Mode] & ~Available) == 0)
                Table[Available] = static_cast<uint16_t>(Table[Available] | 1u << Mode);
    return Table;
}();

// The cheapest mode so far; of equal ones that with the lowest number.
class ModeChoice
{
public:
    bool Offer(int32_t Mode, int32_t Cost)
    {
        const int32_t Key = Cost * (1 << kModeBits) + Mode;
        if (Key >= m_Least) return false;
        m_Least = Key;
        return true;
    }
    uint8_t Mode() const { return static_cast<uint8_t>(m_Least & ((1 << kModeBits) - 1)); }
    int32_t Cost() const { return m_Least >> kModeBits; }

private:
    static constexpr int kModeBits = 4;
    int32_t m_Least = std::numeric_limits<int32_t>::max();
};

// What the tries at both sizes share.
template <class Sample>
class BlocksTrial
{
protected:
    BlocksTrial(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                IntraTrial<Sample>& t)
        : m_Mb(mb), m_w(w), m_t(t), m_Available(mb.Around.Available),
          m_UsesSad((Settings.AnalysisFlags & ENC_ANALYSE_SAD) != 0), m_ModePrice(BitPrice(mb.Records.pLocal->Qp, 4)),
          m_Discount(m_ModePrice - BitPrice(mb.Records.pLocal->Qp, 1))
    {
        LoadNeighbours();
        m_t.Coded = 0;
    }

    // The samples above are taken as far as the furthest block's above-right ones.
    void LoadNeighbours()
    {
        Sample* const pLocal = m_t.Local + m_t.kOrigin;
        if (m_Mb.Around.Has(kernels::kTop)) {
            const Sample* const pAbove = m_Mb.pRecY - m_Mb.pitch;
            std::copy(pAbove - 1, pAbove + 24, pLocal - m_t.kStep - 1);
        }
        if (!m_Mb.Around.Has(kernels::kLeft)) return;
        const Sample* pLeft = m_Mb.pRecY - 1;
        const ptrdiff_t Pitch = m_Mb.pitch;
        for (int32_t y = 0; y < 16; ++y, pLeft += Pitch) pLocal[y * m_t.kStep - 1] = *pLeft;
    }

    // Mode of a 4x4 block for the prediction of modes; -1 outside the slice. Columns and rows from -1.
    int32_t ModeOf(int32_t bx, int32_t by) const
    {
        if (bx < 0) return m_Mb.Around.LeftModes[by];
        if (by < 0) return m_Mb.Around.TopModes[bx];
        return m_t.Modes[by * 4 + bx];
    }

    int32_t PredictedModeAt(int32_t bx, int32_t by) const
    {
        return h264::PredictIntraMode(ModeOf(bx - 1, by), ModeOf(bx, by - 1));
    }

    const Sample* SourceAt(int32_t bx, int32_t by) const { return m_Mb.pSrcY + 4 * by * m_Mb.SrcPitch + 4 * bx; }
    Sample* LocalAt(int32_t bx, int32_t by) const { return m_t.Local + m_t.kOrigin + 4 * by * m_t.kStep + 4 * bx; }

    const CurrentMacroblock<Sample>& m_Mb;
    WorkArea<Sample>& m_w;
    IntraTrial<Sample>& m_t;
    unsigned m_Available;
    bool m_UsesSad;
    int32_t m_ModePrice, m_Discount; // of a mode, and what one that is predicted costs less
};

// One macroblock's try at Intra 4x4.
template <class Sample>
class Intra4x4Trial : public BlocksTrial<Sample>
{
public:
    Intra4x4Trial(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
        : BlocksTrial<Sample>(Settings, mb, w, w.Of4x4)
    {
    }

    [[gnu::always_inline]] inline int32_t Block(uint32_t Index); // whose sixteen turns share what is loaded

private:
    using Base = BlocksTrial<Sample>;
    using Base::m_Mb, Base::m_w, Base::m_t;
    void Code(uint32_t Index, Sample* pLocal, const Sample* pSrc, const Sample* pPred);
};

template <class Sample>
void Intra4x4Trial<Sample>::Code(uint32_t Index, Sample* pLocal, const Sample* pSrc, const Sample* pPred)
{
    const MacroblockQuant& q = *m_Mb.pQuant;
    auto* const pLevels = m_w.Intra4x4 + 16 * Index;
    const bool HasLevels = q.IsLossless
                               ? TakeDifferences(pSrc, m_Mb.SrcPitch, pPred, 4, 4, pLevels)
                               : Kernels<Sample>.ForwardQuant4x4(pSrc, m_Mb.SrcPitch, pPred, 4, pLevels, q.pLuma) != 0;
    for (int32_t y = 0; y < 4; ++y) std::copy_n(pPred + 4 * y, 4, pLocal + y * m_t.kStep);
    if (!HasLevels) return;
    m_t.Coded |= 1u << Index;
    ListLevels(pLevels, 0, ScanOf(*m_Mb.Records.pGlobal), m_w.Intra4x4Levels[Index]);
    if (q.IsLossless) [[unlikely]] {
        for (int32_t y = 0; y < 4; ++y) std::copy_n(pSrc + y * m_Mb.SrcPitch, 4, pLocal + y * m_t.kStep);
        return;
    }
    Kernels<Sample>.DequantBlocks(pLevels, 1, 1, q.pLumaScale, q.LumaPer, 0);
    Kernels<Sample>.AddResidual4x4(pLevels, pLocal, m_t.kStep, m_Mb.pSlice->Syntax.BitDepthLuma);
}

template <class Sample>
int32_t Intra4x4Trial<Sample>::Block(uint32_t Index)
{
    const int32_t Raster = h264::kBlockRaster[Index], bx = Raster & 3, by = Raster >> 2;
    const Sample* const pSrc = Base::SourceAt(bx, by);
    Sample* const pLocal = Base::LocalAt(bx, by);
    const unsigned Available = kernels::BlockNeighbours(Base::m_Available, bx, by, 4);

    alignas(16) Sample Predictions[9][16];
    int32_t Distances[9];
    Kernels<Sample>.PredictAll4x4(pSrc, m_Mb.SrcPitch, pLocal, m_t.kStep, Available, Predictions, Distances,
                                  m_Mb.pSlice->Syntax.BitDepthLuma);
    constexpr uint32_t kDc = 1u << h264::kIntraDcMode;
    if (!Base::m_UsesSad)
        for (uint32_t Modes = kModesToTry[Available] | kDc; Modes; Modes &= Modes - 1) {
            const int32_t Mode = std::countr_zero(Modes);
            Distances[Mode] = Kernels<Sample>.Satd4x4(pSrc, m_Mb.SrcPitch, Predictions[Mode], 4);
        }
    Distances[Base::PredictedModeAt(bx, by)] -= Base::m_Discount;
    ModeChoice Choice;
    Choice.Offer(h264::kIntraDcMode, Distances[h264::kIntraDcMode]);
    for (uint32_t Modes = kModesToTry[Available]; Modes; Modes &= Modes - 1) {
        const int32_t Mode = std::countr_zero(Modes);
        Choice.Offer(Mode, Distances[Mode]);
    }
    m_t.Modes[Raster] = Choice.Mode();
    Code(Index, pLocal, pSrc, Predictions[Choice.Mode()]);
    return Choice.Cost() + Base::m_ModePrice;
}

// One macroblock's try at Intra 8x8.
template <class Sample>
class Intra8x8Trial : public BlocksTrial<Sample>
{
public:
    Intra8x8Trial(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w)
        : BlocksTrial<Sample>(Settings, mb, w, w.Of8x8)
    {
    }

    int32_t Block(uint32_t Quadrant);

private:
    using Base = BlocksTrial<Sample>;
    using Base::m_Mb, Base::m_w, Base::m_t;
    void Code(uint32_t Quadrant, Sample* pLocal, const Sample* pSrc, const Sample* pPred);
};

template <class Sample>
void Intra8x8Trial<Sample>::Code(uint32_t Quadrant, Sample* pLocal, const Sample* pSrc, const Sample* pPred)
{
    const MacroblockQuant& q = *m_Mb.pQuant;
    auto* const pLevels = m_w.Intra8x8;
    const bool HasLevels =
        q.IsLossless ? TakeDifferences(pSrc, m_Mb.SrcPitch, pPred, 8, 8, pLevels)
                     : Kernels<Sample>.ForwardQuant8x8(pSrc, m_Mb.SrcPitch, pPred, 8, pLevels, q.pLuma8x8) != 0;
    Kernels<Sample>.CopyBlock8(pPred, 8, pLocal, m_t.kStep, 8);
    if (!HasLevels) return;
    m_t.Coded |= 15u << (4 * Quadrant);
    ListLevels8x8(pLevels, ScanOf(*m_Mb.Records.pGlobal), m_w.Luma8x8Levels[Quadrant]);
    if (q.IsLossless) [[unlikely]]
        return Kernels<Sample>.CopyBlock8(pSrc, m_Mb.SrcPitch, pLocal, m_t.kStep, 8);
    Kernels<Sample>.DequantBlocks8x8(pLevels, 1, 1, q.pLumaScale8x8, q.LumaPer);
    Kernels<Sample>.AddResidual8x8(pLevels, pLocal, m_t.kStep, m_Mb.pSlice->Syntax.BitDepthLuma);
}

template <class Sample>
int32_t Intra8x8Trial<Sample>::Block(uint32_t Quadrant)
{
    const auto x = static_cast<int32_t>(Quadrant & 1), y = static_cast<int32_t>(Quadrant >> 1);
    const int32_t bx = 2 * x, by = 2 * y;
    const Sample* const pSrc = Base::SourceAt(bx, by);
    Sample* const pLocal = Base::LocalAt(bx, by);
    const unsigned Available = kernels::BlockNeighbours(Base::m_Available, x, y, 2);
    const auto pDistance = Base::m_UsesSad ? Kernels<Sample>.Sad8x8 : Kernels<Sample>.Satd8x8;
    const int32_t Predicted = Base::PredictedModeAt(bx, by);
    ModeChoice Choice;

    alignas(16) Sample Predictions[2][64];
    Sample *pBest = Predictions[0], *pTrial = Predictions[1];
    const auto Try = [&](int32_t Mode) {
        Kernels<Sample>.PredictIntra8x8(Mode, pLocal, m_t.kStep, pTrial, 8, Available,
                                        m_Mb.pSlice->Syntax.BitDepthLuma);
        const int32_t Cost = pDistance(pSrc, m_Mb.SrcPitch, pTrial, 8) - (Mode == Predicted ? Base::m_Discount : 0);
        if (Choice.Offer(Mode, Cost)) std::swap(pBest, pTrial);
    };
    Try(h264::kIntraDcMode);
    for (uint32_t Modes = kModesToTry[Available]; Modes; Modes &= Modes - 1) Try(std::countr_zero(Modes));
    for (int32_t i = 0; i < 2; ++i) std::fill_n(m_t.Modes + 4 * (by + i) + bx, 2, Choice.Mode());
    Code(Quadrant, pLocal, pSrc, pBest);
    return Choice.Cost() + Base::m_ModePrice;
}

} // namespace

template <class Sample>
Candidate Intra4x4(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                   int32_t Limit)
{
    Candidate Tried{.Cost = 0, .Type = MB_INTRA4X4};
    Intra4x4Trial<Sample> Trial(Settings, mb, w);
    for (uint32_t Index = 0; Index < 16; ++Index) {
        Tried.Cost += Trial.Block(Index);
        if (Tried.Cost > Limit) return Tried;
    }
    Tried.Cost += BitPrice(mb.Records.pLocal->Qp, kBitsOfIntra4x4);
    return Tried;
}

template <class Sample>
Candidate Intra8x8(const EncoderSettings& Settings, const CurrentMacroblock<Sample>& mb, WorkArea<Sample>& w,
                   int32_t Limit)
{
    Candidate Tried{.Cost = 0, .Type = MB_INTRA4X4, .Transform8x8 = true};
    Intra8x8Trial<Sample> Trial(Settings, mb, w);
    for (uint32_t Quadrant = 0; Quadrant < 4; ++Quadrant) {
        Tried.Cost += Trial.Block(Quadrant);
        if (Tried.Cost > Limit) return Tried;
    }
    Tried.Cost += BitPrice(mb.Records.pLocal->Qp, kBitsOfIntra8x8);
    return Tried;
}

#define INSTANTIATE(Sample)                                                                                            \
    template Candidate Intra4x4(const EncoderSettings&, const CurrentMacroblock<Sample>&, WorkArea<Sample>&, int32_t); \
    template Candidate Intra8x8(const EncoderSettings&, const CurrentMacroblock<Sample>&, WorkArea<Sample>&, int32_t);
INSTANTIATE(uint8_t)
INSTANTIATE(uint16_t)
#undef INSTANTIATE

} // namespace UMC_H264_ENCODER
