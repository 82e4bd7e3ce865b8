#include "tests/support/cabac_encoder.h"

namespace test {

namespace {

// ctxIdx of the first bin (Table 9-34); of the residual that of 4x4 blocks of luma.
constexpr int kMbTypeI = 3, kSkipFlagP = 11, kSkipFlagB = 24, kMbTypeB = 27, kSubMbTypeB = 36, kMbQpDelta = 60,
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

} // namespace test
