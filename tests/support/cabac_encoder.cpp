#include "tests/support/cabac_encoder.h"

#include "Common/h264/h264_tables.h"
#include "tests/support/pair_blocks.h"

#include <algorithm>
#include <cstdlib>

namespace test {

namespace {

// ctxIdx of the first bin (Table 9-34); of the residual that of 4x4 blocks of luma.
constexpr int kMbTypeI = 3, kSkipFlagP = 11, kMbTypeP = 14, kSkipFlagB = 24, kMbTypeB = 27, kSubMbTypeB = 36,
              kMvdX = 40, kMvdY = 47, kRefIdx = 54, kMbQpDelta = 60, kIntraChromaMode = 64, kMbField = 70,
              kLumaPattern = 73, kChromaPattern = 77, kCodedBlockFlag = 93, kSignificant = 134, kLast = 195,
              kAbsLevel = 247, kTransformSize8x8 = 399;

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
        const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[Seq.chroma_format_idc];
        for (int i = 0; i < 256 + 2 * Chroma.MbWidth * Chroma.MbHeight; ++i) Data.Byte(Value);
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

// What the levels of any macroblock are written with.
class CabacLevels
{
protected:
    CabacLevels(CabacEncoder& e, bool IsField) : m_Encoder(e), m_IsField(IsField) {}

    void ExpGolomb(uint32_t Value, int k)
    {
        for (; Value >= 1u << k; ++k) {
            m_Encoder.Bypass(1);
            Value -= 1u << k;
        }
        m_Encoder.Bypass(0);
        while (k-- > 0) m_Encoder.Bypass(Value >> k & 1);
    }
    // Clause 7.3.5.3.3; at least one level is not 0.
    void Block(h264::BlockCat Cat, const int* pLevels, int Count)
    {
        const h264::BlockCatContexts& c = h264::kBlockCatContexts[Cat];
        const bool Is8x8 = Cat == h264::CAT_LUMA_8x8, IsDc = Cat == h264::CAT_CHROMA_DC;
        int Last = Count - 1;
        while (pLevels[Last] == 0) --Last;
        for (int i = 0; i <= Last && i < Count - 1; ++i) {
            const int Significant = Is8x8  ? h264::kSignificantCtx8x8[m_IsField][i]
                                    : IsDc ? std::min(i / (Count / 4), 2)
                                           : i;
            const int IsLast = Is8x8 ? h264::kLastCtx8x8[i] : IsDc ? std::min(i / (Count / 4), 2) : i;
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
    bool m_IsField;
};

// A slice's only macroblock, so that no neighbour has a say in a context.
class CabacInterMacroblock : CabacLevels
{
public:
    CabacInterMacroblock(CabacEncoder& e, bool IsField, const h264::ChromaGeometry& Chroma)
        : CabacLevels(e, IsField), m_Chroma(Chroma)
    {
    }

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
            Flagged(h264::CAT_CHROMA_DC, Mb.chroma_dc[Plane].data(), m_Chroma.Blocks, 0, 0, None);
        }
        for (int Plane = 0; Plane < 2 && Chroma == 2; ++Plane) {
            bool Coded[4][4] = {};
            for (int i = 0; i < m_Chroma.Blocks; ++i) {
                const bool IsLikeLuma = m_Chroma.Blocks == 16;
                const int Place = IsLikeLuma ? h264::kBlockRaster[i] : i, Columns = IsLikeLuma ? 4 : 2;
                Flagged(h264::CAT_CHROMA_AC, Mb.chroma_ac[Plane][i].data(), 15, Place % Columns, Place / Columns,
                        Coded);
            }
        }
    }

private:
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

    const h264::ChromaGeometry m_Chroma;
};

} // namespace

Bytes CabacInterSlice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice s, const Macroblock& Mb)
{
    s.slice_type = 5;
    CabacSlice Data(Seq, Pic, s);
    CabacEncoder& e = Data.Encoder();
    CabacInterMacroblock Writer(e, s.field, h264::kChromaGeometry[Seq.chroma_format_idc]);
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

namespace {

// The macroblocks of a slice, all of them Intra_16x16, with what their neighbours' contexts ask for.
class CabacIntraMacroblocks : CabacLevels
{
public:
    CabacIntraMacroblocks(CabacEncoder& e, const SeqParamSet& Seq, const Slice& s)
        : CabacLevels(e, s.field), m_Width(static_cast<int>(Seq.width_mbs)), m_IsLikeLuma(Seq.chroma_format_idc == 3),
          m_IsMbaff(Seq.mbaff && !s.field), m_Done(PictureMbs(Seq, s)), m_FieldPairs(m_Done.size())
    {
    }
    void Put(int Number, const Macroblock& Mb)
    {
        if (m_IsMbaff && Number % 2 == 0) PutFieldFlag(Number / 2, Mb.field_decoding);
        const Record *const pLeft = At(Beside(Number, 0).Mb), *const pTop = At(Above(Number).Mb);
        const auto Type = static_cast<int>(Mb.mb_type) - 1;
        const int Chroma = Type / 4 % 3;
        Record& r = m_Done[static_cast<size_t>(Number)];
        r.IsThere = true;
        m_Encoder.Decide(kMbTypeI + (pLeft != nullptr) + (pTop != nullptr), 1);
        m_Encoder.Terminate(0);
        m_Encoder.Decide(kMbTypeI + 3, Type >= 12);
        m_Encoder.Decide(kMbTypeI + 4, Chroma != 0);
        if (Chroma != 0) m_Encoder.Decide(kMbTypeI + 5, Chroma == 2);
        for (const int Bit : {1, 0}) m_Encoder.Decide(kMbTypeI + 7 - Bit, Type >> Bit & 1);
        if (m_IsLikeLuma) {
            r.ChromaMode = Mb.intra_chroma_pred_mode;
            const int Inc = (pLeft && pLeft->ChromaMode != 0) + (pTop && pTop->ChromaMode != 0);
            for (uint32_t i = 0; i <= r.ChromaMode && i < 3; ++i)
                m_Encoder.Decide(kIntraChromaMode + (i == 0 ? Inc : 3), i < r.ChromaMode);
        }
        QpDelta(Mb.mb_qp_delta);
        Dc(h264::CAT_LUMA_DC, Mb.luma_dc.data(), 0, r, pLeft, pTop);
        if (Type >= 12) Ac(h264::CAT_LUMA_AC, Mb.luma, 1, 0, Number);
        for (int i = 0; i < 2 && Chroma != 0; ++i)
            Dc(h264::CAT_CHROMA_DC, Mb.chroma_dc[i].data(), 1 + i, r, pLeft, pTop);
        for (int i = 0; i < 2 && Chroma == 2; ++i) Ac(h264::CAT_CHROMA_AC, Mb.chroma_ac[i], 0, 1 + i, Number);
    }

private:
    struct Record {
        bool IsThere = false;
        uint32_t ChromaMode = 0;
        bool Dc[3] = {}, Ac[3][16] = {}; // coded_block_flag by plane, blocks in raster order
    };

    // Null outside the slice.
    const Record* At(int Number) const
    {
        return Number >= 0 && m_Done[static_cast<size_t>(Number)].IsThere ? &m_Done[static_cast<size_t>(Number)]
                                                                          : nullptr;
    }
    BlockRow Beside(int Number, int Row) const
    {
        if (m_IsMbaff) return FindInPairs(Number, true, Row, 4, m_Width, m_FieldPairs);
        return {Number % m_Width != 0 ? Number - 1 : -1, Row};
    }
    BlockRow Above(int Number) const
    {
        if (m_IsMbaff) return FindInPairs(Number, false, -1, 4, m_Width, m_FieldPairs);
        return {Number - m_Width, 3};
    }
    void PutFieldFlag(int Pair, bool IsField)
    {
        const auto IsFieldPair = [&](int Other) { return At(2 * Other) && m_FieldPairs[static_cast<size_t>(Other)]; };
        const bool Left = Pair % m_Width != 0 && IsFieldPair(Pair - 1),
                   Top = Pair >= m_Width && IsFieldPair(Pair - m_Width);
        m_Encoder.Decide(kMbField + Left + Top, IsField);
        m_FieldPairs[static_cast<size_t>(Pair)] = m_IsField = IsField;
    }
    void QpDelta(int32_t Delta)
    {
        const int32_t Ones = Delta > 0 ? 2 * Delta - 1 : -2 * Delta;
        for (int32_t i = 0; i <= Ones; ++i)
            m_Encoder.Decide(kMbQpDelta + (i == 0 ? m_HasDelta : i == 1 ? 2 : 3), i < Ones);
        m_HasDelta = Delta != 0;
    }
    bool Flagged(h264::BlockCat Cat, const int* pLevels, int Count, bool Left, bool Top)
    {
        const bool IsCoded = std::any_of(pLevels, pLevels + Count, [](int Level) { return Level != 0; });
        m_Encoder.Decide(h264::kBlockCatContexts[Cat].CodedBlockFlag + Left + 2 * Top, IsCoded);
        if (IsCoded) Block(Cat, pLevels, Count);
        return IsCoded;
    }
    void Dc(h264::BlockCat Cat, const int* pLevels, int Plane, Record& r, const Record* pLeft, const Record* pTop)
    {
        r.Dc[Plane] = Flagged(Cat, pLevels, 16, !pLeft || pLeft->Dc[Plane], !pTop || pTop->Dc[Plane]);
    }
    void Ac(h264::BlockCat Cat, const std::array<int, 16>* pBlocks, int First, int Plane, int Number)
    {
        const auto IsCoded = [&](BlockRow b, int x) {
            const Record* const p = At(b.Mb);
            return !p || p->Ac[Plane][b.Row * 4 + x];
        };
        for (int i = 0; i < 16; ++i) {
            const int x = h264::kBlockRaster[i] % 4, y = h264::kBlockRaster[i] / 4;
            const bool Left = x > 0 ? IsCoded({Number, y}, x - 1) : IsCoded(Beside(Number, y), 3);
            const bool Top = IsCoded(y > 0 ? BlockRow{Number, y - 1} : Above(Number), x);
            m_Done[static_cast<size_t>(Number)].Ac[Plane][y * 4 + x] =
                Flagged(Cat, pBlocks[i].data() + First, 15, Left, Top);
        }
    }

    const int m_Width;
    const bool m_IsLikeLuma, m_IsMbaff;
    std::vector<Record> m_Done;
    std::vector<bool> m_FieldPairs;
    bool m_HasDelta = false;
};

} // namespace

Bytes CabacIntra16x16Slice(const SeqParamSet& Seq, const PicParamSet& Pic, Slice s, const std::vector<Macroblock>& Mbs)
{
    s.slice_type = 7;
    CabacSlice Data(Seq, Pic, s);
    CabacIntraMacroblocks Writer(Data.Encoder(), Seq, s);
    const bool IsMbaff = Seq.mbaff && !s.field;
    for (size_t i = 0; i < Mbs.size(); ++i) {
        Writer.Put(static_cast<int>((s.first_mb << IsMbaff) + i), Mbs[i]);
        if (!IsMbaff || i % 2 == 1) Data.Encoder().Terminate(i + 1 == Mbs.size());
    }
    return Data.Unit();
}

} // namespace test
