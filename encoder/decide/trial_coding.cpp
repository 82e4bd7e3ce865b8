#include "encoder/decide/trial_coding.h"

#include "encoder/code/cabac_syntax.h"
#include "encoder/code/macroblock_records.h"
#include "encoder/code/reconstruct.h"
#include "encoder/decide/macroblock_decision.h"

#include <algorithm>
#include <array>
#include <limits>

namespace UMC_H264_ENCODER {

namespace {

// 2^((QP - 12) / 3), truncated, and 1 below QP 12: 8192 at QP 51.
constexpr std::array<int32_t, 52> kLambdaRd = [] {
    constexpr int64_t kThirds[3]{1099511627776, 1385297844439, 1745365914582}; // 2^(i / 3) of 2^40
    std::array<int32_t, 52> Table{};
    for (int Qp = 0; Qp < 52; ++Qp) {
        const int Over = std::max(Qp - 12, 0);
        Table[static_cast<size_t>(Qp)] = static_cast<int32_t>((kThirds[Over % 3] << (Over / 3)) >> 40);
    }
    return Table;
}();

template <class Sample>
int64_t SquaredDifferences(const Sample* pA, ptrdiff_t StepA, const Sample* pB, ptrdiff_t StepB, int32_t Width,
                           int32_t Height)
{
    int64_t Sum = 0;
    for (int32_t y = 0; y < Height; ++y, pA += StepA, pB += StepB)
        for (int32_t x = 0; x < Width; ++x) {
            const int32_t d = pA[x] - pB[x];
            Sum += d * d;
        }
    return Sum;
}

} // namespace

template <class Sample>
void TrialCoder<Sample>::Begin()
{
    m_Mb = m_Real;
    m_Mb.Records.pGlobal = &m_Global;
    m_Mb.Records.pLocal = &m_Local;
    for (int List = 0; List < 2; ++List) {
        m_Mb.Records.pVectors[List] = m_Vectors[List];
        m_Mb.Records.pReferences[List] = m_References[List];
        m_Mb.Records.pDifferences[List] = m_Differences[List];
    }
    m_Mb.Records.pIntraModes = m_IntraModes;
    m_Mb.Records.pCounts = m_Counts;
    m_Mb.pRecY = m_RecY;
    m_Mb.pRecU = m_RecU;
    m_Mb.pRecV = m_RecV;
    m_Mb.pitch = kStep;
    StartRecords(m_Mb, m_Real.Records.pLocal->Qp);
}

template <class Sample>
int64_t TrialCoder<Sample>::Distortion() const
{
    const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[m_Mb.pSlice->Syntax.chroma_format_idc];
    return SquaredDifferences<Sample>(m_Mb.pSrcY, m_Mb.SrcPitch, m_RecY, kStep, 16, 16) +
           SquaredDifferences<Sample>(m_Mb.pSrcU, m_Mb.SrcPitch, m_RecU, kStep, Chroma.MbWidth, Chroma.MbHeight) +
           SquaredDifferences<Sample>(m_Mb.pSrcV, m_Mb.SrcPitch, m_RecV, kStep, Chroma.MbWidth, Chroma.MbHeight);
}

template <class Sample>
int32_t TrialCoder<Sample>::Cost(const Candidate& c, WorkArea<Sample>& w)
{
    Begin();
    Commit(c, w, m_Mb);
    Reconstruct(c, m_Mb, w);
    m_Fake.CopyState(m_Bits);
    const auto Syntax = SyntaxOf(m_Mb, m_Local.Qp, w);
    WriteMacroblockSyntax(Syntax, CabacSyntax<CountedBytes>(m_Fake.Cabac(), m_Mb.Around, IsIntra(c.Type)));
    const int64_t Total = Distortion() + m_Fake.CountedBits() * kLambdaRd[PriceIndex(m_Local.Qp)];
    // Comparisons with twice a cost stay within 32 bits.
    return static_cast<int32_t>(std::min<int64_t>(Total, std::numeric_limits<int32_t>::max() / 4));
}

template class TrialCoder<uint8_t>;
template class TrialCoder<uint16_t>;

} // namespace UMC_H264_ENCODER
