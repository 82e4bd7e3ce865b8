// The deblocking filter of clause 8.7 on the pictures of the encoder.
#include "Common/h264/block_order.h"
#include "encoder/state/encoder_core.h"
#include "kernels/dispatch/kernels.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

namespace UMC_H264_ENCODER {

using kernels::EdgeParams;
using kernels::g_Kernels;

namespace {

// Four strengths of an edge in one word, piece 0 in the low byte.
constexpr uint32_t kAll1 = 0x01010101, kAll3 = 0x03030303, kAll4 = 0x04040404;

// Byte i is 0xFF where bit i is set.
constexpr std::array<uint32_t, 16> MakeSpread()
{
    std::array<uint32_t, 16> Table{};
    for (uint32_t Bits = 0; Bits < 16; ++Bits)
        for (uint32_t i = 0; i < 4; ++i)
            if (Bits >> i & 1) Table[Bits] |= 0xFFu << (8 * i);
    return Table;
}
constexpr std::array<uint32_t, 16> kSpread = MakeSpread();

// Strength 2 where a bit of the nibble is set, elsewhere what is given.
inline uint32_t CodedOr(uint32_t Nibble, uint32_t Otherwise)
{
    const uint32_t Mask = kSpread[Nibble & 15];
    return (Mask & (2 * kAll1)) | (Otherwise & ~Mask);
}

// Bits by raster position, rows and columns exchanged.
constexpr uint32_t Transpose(uint32_t Bits)
{
    const uint32_t a = (Bits ^ (Bits >> 3)) & 0x0A0A;
    Bits ^= a ^ (a << 3);
    const uint32_t b = (Bits ^ (Bits >> 6)) & 0x00CC;
    return Bits ^ b ^ (b << 6);
}

// Strengths of the four edges of one direction.
struct Strengths {
    uint32_t Edge[4];
    bool Any() const { return (Edge[0] | Edge[1] | Edge[2] | Edge[3]) != 0; }
};

template <class Core>
class MacroblockFilter
{
public:
    MacroblockFilter(const Core& c, const typename Core::Slice& s)
        : m_c(c), m_Frame(*c.current), m_OffsetA((s.deblock_alpha >> 1) * 2), m_OffsetB((s.deblock_beta >> 1) * 2),
          m_FirstMb(s.deblock_idc == 2 ? s.first_mb : 0), m_bISlice(s.slice_type == SLICE_I)
    {
    }

    void Filter(int32_t Index);

private:
    struct CachedParams {
        int32_t QpOuter = -1, QpInner = -1;
        EdgeParams Params;
    };

    uint32_t Coded(int32_t Index) const
    {
        return h264::SwapBlockOrder(m_c.local_macroblocks[static_cast<size_t>(Index)].Coded & kCodedLuma);
    }
    uint32_t OuterStrength(int32_t Index, int32_t Neighbour, uint32_t CodedPieces) const;
    void SetThresholds(EdgeParams& p, size_t Slot, int32_t MeanQp) const;
    void SetParams(CachedParams& p, const Strengths& s, int32_t QpOuter, int32_t QpInner) const;
    void Run(int32_t Index, int32_t Neighbour, const Strengths& s, bool bVertical);

    const Core& m_c;
    typename Core::Frame& m_Frame;
    int32_t m_OffsetA, m_OffsetB; // FilterOffsetA, FilterOffsetB
    int32_t m_FirstMb;            // neighbours before it are left alone
    bool m_bISlice;
    CachedParams m_Luma, m_Chroma;
};

// bS of the edge to a neighbour of inter macroblocks that have one vector each, or of any intra macroblock.
template <class Core>
uint32_t MacroblockFilter<Core>::OuterStrength(int32_t Index, int32_t Neighbour, uint32_t CodedPieces) const
{
    if (IsIntra(m_Frame.mb_global[Neighbour].Type)) return kAll4;
    const int32_t i = Index * 16, n = Neighbour * 16;
    const MotionVector a = m_Frame.mb_motion[0][i], b = m_Frame.mb_motion[0][n];
    const bool bMoves = m_Frame.mb_reference[0][i] != m_Frame.mb_reference[0][n] || std::abs(a.x - b.x) >= 4 ||
                        std::abs(a.y - b.y) >= 4;
    return CodedOr(CodedPieces, bMoves ? kAll1 : 0);
}

template <class Core>
void MacroblockFilter<Core>::SetThresholds(EdgeParams& p, size_t Slot, int32_t MeanQp) const
{
    const auto A = static_cast<size_t>(std::clamp(MeanQp + m_OffsetA, 0, 51));
    const auto B = static_cast<size_t>(std::clamp(MeanQp + m_OffsetB, 0, 51));
    p.Alpha[Slot] = h264::kAlpha[A];
    p.Beta[Slot] = h264::kBeta[B];
    std::memcpy(p.Clip[Slot], h264::kTc0[A], 4);
}

// Thresholds of an edge pair; those of the edge before mostly serve again, as the QP seldom changes.
template <class Core>
void MacroblockFilter<Core>::SetParams(CachedParams& p, const Strengths& s, int32_t QpOuter, int32_t QpInner) const
{
    if (p.QpOuter != QpOuter || p.QpInner != QpInner) {
        SetThresholds(p.Params, 0, QpOuter);
        SetThresholds(p.Params, 1, QpInner);
        p.QpOuter = QpOuter;
        p.QpInner = QpInner;
    }
    std::memcpy(p.Params.Strength, s.Edge, sizeof(p.Params.Strength));
}

template <class Core>
void MacroblockFilter<Core>::Run(int32_t Index, int32_t Neighbour, const Strengths& s, bool bVertical)
{
    if (!s.Any()) return;
    const GlobalMacroblock& Own = m_Frame.mb_global[Index];
    const GlobalMacroblock& Other = m_Frame.mb_global[Neighbour >= 0 ? Neighbour : Index];
    const MacroblockPosition& At = m_c.positions[static_cast<size_t>(Index)];
    SetParams(m_Luma, s, (Own.Qp + Other.Qp + 1) >> 1, Own.Qp);
    (bVertical ? g_Kernels.FilterLumaVertical : g_Kernels.FilterLumaHorizontal)(m_Frame.m_pY + At.LumaFrame,
                                                                                m_Frame.m_Pitch, &m_Luma.Params);
    if (!(s.Edge[0] | s.Edge[2])) return;
    SetParams(m_Chroma, s, (Own.QpChroma + Other.QpChroma + 1) >> 1, Own.QpChroma);
    (bVertical ? g_Kernels.FilterChromaVertical
               : g_Kernels.FilterChromaHorizontal)(m_Frame.m_pU + At.ChromaFrame, m_Frame.m_pV + At.ChromaFrame,
                                                   m_Frame.m_Pitch, &m_Chroma.Params, &m_Chroma.Params);
}

template <class Core>
void MacroblockFilter<Core>::Filter(int32_t Index)
{
    const MacroblockPosition& At = m_c.positions[static_cast<size_t>(Index)];
    const int32_t w = m_c.layout.MbWidth;
    const int32_t Left = At.X > 0 && Index - 1 >= m_FirstMb ? Index - 1 : -1;
    const int32_t Top = At.Y > 0 && Index - w >= m_FirstMb ? Index - w : -1;
    Strengths Vertical{}, Horizontal{};
    if (m_bISlice || IsIntra(m_Frame.mb_global[Index].Type)) {
        Vertical = {{Left >= 0 ? kAll4 : 0, kAll3, kAll3, kAll3}};
        Horizontal = {{Top >= 0 ? kAll4 : 0, kAll3, kAll3, kAll3}};
    } else {
        const uint32_t Rows = Coded(Index), Columns = Transpose(Rows);
        if (Left >= 0) Vertical.Edge[0] = OuterStrength(Index, Left, Columns | Transpose(Coded(Left)) >> 12);
        if (Top >= 0) Horizontal.Edge[0] = OuterStrength(Index, Top, Rows | Coded(Top) >> 12);
        for (uint32_t e = 1; Rows && e < 4; ++e) {
            Vertical.Edge[e] = CodedOr((Columns | Columns << 4) >> (4 * e), 0);
            Horizontal.Edge[e] = CodedOr((Rows | Rows << 4) >> (4 * e), 0);
        }
    }
    Run(Index, Left, Vertical, true);
    Run(Index, Top, Horizontal, false);
}

} // namespace

template <class Core>
void DeblockSlice(Core& c, typename Core::Slice& s)
{
    if (s.deblock_idc == 1) return;
    MacroblockFilter<Core> Filter(c, s);
    for (int32_t i = 0; i < s.mb_count; ++i) Filter.Filter(s.first_mb + i);
}

template void DeblockSlice(Core8&, Core8::Slice&);

} // namespace UMC_H264_ENCODER
