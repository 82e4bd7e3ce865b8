#include "tests/support/cabac_encoder.h"

#include "Common/h264/h264_tables.h"

#include <algorithm>
#include <cstdlib>

namespace test {

namespace {

// ctxIdx of the first bin (Table 9-34); of the residual that of 4x4 blocks of luma.
constexpr int kMbTypeI = 3, kSkipFlagP = 11, kMbTypeP = 14, kSkipFlagB = 24, kMbTypeB = 27, kSubMbTypeB = 36,
              kMvdX = 40, kMvdY = 47, kRefIdx = 54, kMbQpDelta = 60, kLumaPattern = 73, kChromaPattern = 77,
              kCodedBlockFlag = 93, kSignificant = 134, kLast = 195, kAbsLevel = 247, kTransformSize8x8 = 399;

// A slice under way: the header is written, the engine stands at the first macroblock.
class CabacSlice
{
public:
    CabacSlice(const SeqParamSet& Seq, const PicParamSet& Pic, const Slice& s) : m_Slice(s), m_Encoder(Contexts(Pic, s))
    {
        for (const uint8_t Bit : Header(Seq, Pic, s).Bits()) m_Encoder.m_Bits.push_back(Bit != 0);
        Align(true); // cabac_alignment_one_bit
    }
    CabacEncoder& Encoder() { return m_Encoder; }
    void Align(bool Filler)
    {
        while (m_Encoder.m_Bits.size() % 8 != 0) m_Encoder.m_Bits.push_back(Filler);
    }
    void Byte(uint8_t Value)
    {
        for (int i = 7; i >= 0; --i) m_Encoder.m_Bits.push_back((Value >> i & 1) != 0);
    }
    Bytes Unit() // end_of_slice_flag has written rbsp_stop_one_bit
    {
        Align(false);
        BitWriter Bits;
        for (const bool Bit : m_Encoder.m_Bits) Bits.U(1, Bit);
        return NalUnit(m_Slice.nal_ref_idc, m_Slice.nal_unit_type, Bits.Data());
    }

private:
    static h264::CabacContexts Contexts(const PicParamSet& Pic, const Slice& s)
    {
        h264::CabacContexts c;
        h264::InitCabacContexts(c, h264::kContextInit[s.slice_type % 5 == 2 ? 0 : 1 + s.cabac_init_idc],
                                Pic.pic_init_qp + s.qp_delta);
        return c;
    }

    Slice m_Slice;
    CabacEncoder m_Encoder;
};

} // namespace

Bytes CabacPcmSlice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice s, uint8_t Value, int Count)
{
    s.slice_type = 7;
    CabacSlice Data(Seq, Pic, s);
    const int Width = static_cast<int>(Seq.width_mbs), First = static_cast<int>(s.first_mb);
    for (int Mb = First; Mb < First + Count; ++Mb) {
        const int HasLeft = Mb % Width != 0 && Mb > First, HasTop = Mb - Width >= First;
        Data.Encoder().Decide(kMbTypeI + HasLeft + HasTop, 1); // neighbours that are not I_NxN
        Data.Encoder().Terminate(1);                           // I_PCM
        Data.Align(false);
        for (int i = 0; i < 384; ++i) Data.Byte(Value);
        Data.Encoder().Restart();
        Data.Encoder().Terminate(Mb + 1 == First + Count); // end_of_slice_flag
    }
    return Data.Unit();
}

Bytes CabacSkipSlice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice s, int Count)
{
    s.slice_type = 5;
    CabacSlice Data(Seq, Pic, s);
    for (int i = 0; i < Count; ++i) {
        Data.Encoder().Decide(kSkipFlagP, 1); // every neighbour there is is skipped, too
        Data.Encoder().Terminate(i + 1 == Count);
    }
    return Data.Unit();
}

Bytes CabacDirect8x8Slice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice s, bool HasFlag)
{
    s.slice_type = 6;
    CabacSlice Data(Seq, Pic, s);
    CabacEncoder& e = Data.Encoder();
    e.Decide(kSkipFlagB, 0);
    for (const int Inc : {0, 3, 4, 5, 5, 5}) e.Decide(kMbTypeB + Inc, 1); // B_8x8
    for (int i = 0; i < 4; ++i) e.Decide(kSubMbTypeB, 0);
    e.Decide(kLumaPattern, 1); // the first quarter alone
    for (const int Inc : {0, 0, 3}) e.Decide(kLumaPattern + Inc, 0);
    e.Decide(kChromaPattern, 0);
    if (HasFlag) e.Decide(kTransformSize8x8, 0);
    e.Decide(kMbQpDelta, 0);
    e.Decide(kCodedBlockFlag, 1);
    e.Decide(kSignificant, 1);
    e.Decide(kLast, 1);
    e.Decide(kAbsLevel + 1, 0);
    e.Bypass(0);
    for (const int Inc : {1, 2, 0}) e.Decide(kCodedBlockFlag + Inc, 0); // the other 4x4 blocks of the quarter
    e.Terminate(1);
    return Data.Unit();
}

namespace {

// A slice's only macroblock, so that no neighbour has a say in a context.
class CabacInterMacroblock
{
public:
    CabacInterMacroblock(CabacEncoder& e, bool IsField) : m_Encoder(e), m_IsField(IsField) {}

    void RefIdx(uint32_t Value)
    {
        for (uint32_t i = 0; i <= Value; ++i) m_Encoder.Decide(kRefIdx + (i == 0 ? 0 : i == 1 ? 4 : 5), i < Value);
    }
    void Mvd(int First, int32_t Value) // UEG3 with a sign, up to 9 ones in front (clause 9.3.2.3)
    {
        const int Magnitude = Value < 0 ? -Value : Value;
        for (int i = 0; i < 9 && i <= Magnitude; ++i)
            m_Encoder.Decide(First + (i == 0 ? 0 : i < 4 ? 2 + i : 6), i < Magnitude);
        if (Magnitude >= 9) ExpGolomb(static_cast<uint32_t>(Magnitude - 9), 3);
        if (Magnitude != 0) m_Encoder.Bypass(Value < 0);
    }
    void CodedBlockPattern(uint32_t Pattern)
    {
        const auto Is0 = [&](int i) { return static_cast<int>(~Pattern >> i & 1); };
        const int Inc[4] = {0, Is0(0), 2 * Is0(0), Is0(2) + 2 * Is0(1)};
        for (int i = 0; i < 4; ++i) m_Encoder.Decide(kLumaPattern + Inc[i], Pattern >> i & 1);
        m_Encoder.Decide(kChromaPattern, Pattern >> 4 != 0);
        if (Pattern >> 4 != 0) m_Encoder.Decide(kChromaPattern + 4, Pattern >> 4 == 2);
    }
    void Residual(const Macroblock& Mb)
    {
        const uint32_t Luma = Mb.coded_block_pattern & 15, Chroma = Mb.coded_block_pattern >> 4;
        bool Flags[4][4] = {};
        for (int i = 0; i < 16; ++i) {
            if (!(Luma >> (i / 4) & 1)) continue;
            const int Raster = h264::kBlockRaster[i], x = Raster % 4, y = Raster / 4;
            if (!Mb.transform_size_8x8)
                Flagged(h264::CAT_LUMA_4x4, Mb.luma[i].data(), 16, x, y, Flags);
            else if (i % 4 == 0)
                Block8x8(&Mb.luma[i]);
        }
        for (int Plane = 0; Plane < 2 && Chroma != 0; ++Plane) {
            bool None[4][4] = {};
            Flagged(h264::CAT_CHROMA_DC, Mb.chroma_dc[Plane].data(), 4, 0, 0, None);
        }
        for (int Plane = 0; Plane < 2 && Chroma == 2; ++Plane) {
            bool Coded[4][4] = {};
            for (int i = 0; i < 4; ++i)
                Flagged(h264::CAT_CHROMA_AC, Mb.chroma_ac[Plane][i].data(), 15, i % 2, i / 2, Coded);
        }
    }

private:
    void ExpGolomb(uint32_t Value, int k)
    {
        for (; Value >= 1u << k; ++k) {
            m_Encoder.Bypass(1);
            Value -= 1u << k;
        }
        m_Encoder.Bypass(0);
        while (k-- > 0) m_Encoder.Bypass(Value >> k & 1);
    }
    // With its coded_block_flag, whose contexts come from the blocks to the left and above.
    void Flagged(h264::BlockCat Cat, const int* pLevels, int Count, int x, int y, bool (&Flags)[4][4])
    {
        const int Inc = (x > 0 && Flags[y][x - 1] ? 1 : 0) + (y > 0 && Flags[y - 1][x] ? 2 : 0);
        Flags[y][x] = std::any_of(pLevels, pLevels + Count, [](int Level) { return Level != 0; });
        m_Encoder.Decide(h264::kBlockCatContexts[Cat].CodedBlockFlag + Inc, Flags[y][x]);
        if (Flags[y][x]) Block(Cat, pLevels, Count);
    }
    void Block8x8(const std::array<int, 16>* pParts)
    {
        int Levels[64] = {};
        for (int i = 0; i < 4; ++i) std::copy(pParts[i].begin(), pParts[i].end(), Levels + i * 16);
        if (std::all_of(Levels, Levels + 64, [](int Level) { return Level == 0; })) Levels[0] = 1; // there is no flag
        Block(h264::CAT_LUMA_8x8, Levels, 64);
    }
    // Clause 7.3.5.3.3; at least one level is not 0.
    void Block(h264::BlockCat Cat, const int* pLevels, int Count)
    {
        const h264::BlockCatContexts& c = h264::kBlockCatContexts[Cat];
        const bool Is8x8 = Cat == h264::CAT_LUMA_8x8, IsDc = Cat == h264::CAT_CHROMA_DC;
        int Last = Count - 1;
        while (pLevels[Last] == 0) --Last;
        for (int i = 0; i <= Last && i < Count - 1; ++i) {
            const int Significant = Is8x8 ? h264::kSignificantCtx8x8[m_IsField][i] : IsDc ? std::min(i, 2) : i;
            const int IsLast = Is8x8 ? h264::kLastCtx8x8[i] : IsDc ? std::min(i, 2) : i;
            m_Encoder.Decide(c.Significant[m_IsField] + Significant, pLevels[i] != 0);
            if (pLevels[i] != 0) m_Encoder.Decide(c.Last[m_IsField] + IsLast, i == Last);
        }
        int Ones = 0, Above1 = 0;
        for (int i = Last; i >= 0; --i) {
            if (pLevels[i] == 0) continue;
            const int Magnitude = std::abs(pLevels[i]);
            m_Encoder.Decide(c.AbsLevel + (Above1 > 0 ? 0 : std::min(4, 1 + Ones)), Magnitude > 1);
            const int Inc = 5 + std::min(IsDc ? 3 : 4, Above1);
            for (int Prefix = 2; Magnitude > 1 && Prefix <= std::min(Magnitude, 14); ++Prefix)
                m_Encoder.Decide(c.AbsLevel + Inc, Prefix < Magnitude);
            if (Magnitude >= 15) ExpGolomb(static_cast<uint32_t>(Magnitude - 15), 0);
            m_Encoder.Bypass(pLevels[i] < 0);
            ++(Magnitude > 1 ? Above1 : Ones);
        }
    }

    CabacEncoder& m_Encoder;
    const bool m_IsField;
};

} // namespace

Bytes CabacInterSlice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice s, const Macroblock& Mb)
{
    s.slice_type = 5;
    CabacSlice Data(Seq, Pic, s);
    CabacEncoder& e = Data.Encoder();
    CabacInterMacroblock Writer(e, s.field);
    e.Decide(kSkipFlagP, 0);
    for (const int Inc : {0, 1, 2}) e.Decide(kMbTypeP + Inc, 0);
    if (ActiveRefs(Pic, s, 0) > 1) Writer.RefIdx(Mb.ref_idx[0][0]);
    Writer.Mvd(kMvdX, Mb.mvd[0][0][0][0]);
    Writer.Mvd(kMvdY, Mb.mvd[0][0][0][1]);
    Writer.CodedBlockPattern(Mb.coded_block_pattern);
    if ((Mb.coded_block_pattern & 15) != 0 && Pic.transform_8x8_mode)
        e.Decide(kTransformSize8x8, Mb.transform_size_8x8);
    if (Mb.coded_block_pattern != 0) e.Decide(kMbQpDelta, 0);
    Writer.Residual(Mb);
    e.Terminate(1);
    return Data.Unit();
}

} // namespace test
