#include "encoder/h264_pbs_fake.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using namespace UMC_H264_ENCODER;

class Writer : public CH264pBs<uint8_t, int16_t>
{
public:
    Writer() : m_Memory(1 << 20, 0xEE) { SetBuffer(m_Memory.data(), m_Memory.size()); }
    std::vector<uint8_t> Written() const
    {
        return {m_Memory.begin(), m_Memory.begin() + static_cast<ptrdiff_t>(Bytes())};
    }

private:
    std::vector<uint8_t> m_Memory;
};

// Reads what the writer wrote.
class Reader
{
public:
    explicit Reader(std::vector<uint8_t> Bytes) : m_Bytes(std::move(Bytes)) {}
    uint32_t Bits(int Count)
    {
        uint32_t v = 0;
        for (int i = 0; i < Count; ++i, ++m_Position)
            v = v << 1 | (m_Position / 8 < m_Bytes.size() ? m_Bytes[m_Position / 8] >> (7 - m_Position % 8) & 1u : 0u);
        return v;
    }
    uint32_t Ue()
    {
        int Zeros = 0;
        while (Bits(1) == 0) ++Zeros;
        return (1u << Zeros) - 1 + Bits(Zeros);
    }
    int32_t Se()
    {
        const uint32_t k = Ue();
        return k & 1 ? static_cast<int32_t>((k + 1) / 2) : -static_cast<int32_t>(k / 2);
    }
    size_t Position() const { return m_Position; }

private:
    std::vector<uint8_t> m_Bytes;
    size_t m_Position = 0;
};

TEST(BaseBitstream, FixedCodesOfAllLengthsAtAllOffsets)
{
    std::mt19937 Rng(7);
    std::vector<std::pair<uint32_t, int32_t>> Codes;
    Writer w;
    for (int i = 0; i < 2000; ++i) {
        const auto Count = static_cast<int32_t>(Rng() % 25);
        const uint32_t Value = static_cast<uint32_t>(Rng()) & ((1u << Count) - 1);
        Codes.emplace_back(Value, Count);
        w.PutBits(Value | (Count < 24 ? 1u << Count : 0u), Count); // bits above the count do not matter
    }
    Reader r(w.Written());
    for (const auto& [Value, Count] : Codes) ASSERT_EQ(r.Bits(Count), Value);
    EXPECT_EQ(w.Bits(), static_cast<int64_t>(r.Position()));
}

TEST(BaseBitstream, ExpGolombCodes)
{
    Writer w;
    EXPECT_EQ(w.PutUE(0), 1);
    EXPECT_EQ(w.PutUE(1), 3);
    EXPECT_EQ(w.PutUE(65534), 31);
    for (const int32_t v : {0, 1, -1, 2, -2, 26, -26, 500}) w.PutSE(v);
    Reader r(w.Written());
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 1u);
    EXPECT_EQ(r.Ue(), 65534u);
    for (const int32_t v : {0, 1, -1, 2, -2, 26, -26, 500}) EXPECT_EQ(r.Se(), v);
}

// ---- NAL framing -------------------------------------------------------------------------------------------

std::vector<uint8_t> Frame(const std::vector<uint8_t>& Payload, int32_t RefIdc, int32_t Type, bool bFirst)
{
    std::vector<uint8_t> Out(NalBytesAtMost(Payload.size()), 0xEE);
    Out.resize(FrameNAL(Out.data(), Payload.data(), Payload.size(), RefIdc, Type, bFirst));
    return Out;
}
using Bytes = std::vector<uint8_t>;

TEST(NalFraming, PreventsEmulation)
{
    EXPECT_EQ(Frame({0, 0, 0, 1, 9, 9}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0, 3, 0, 1, 9, 9}));
    EXPECT_EQ(Frame({0, 0, 3, 9, 9}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0, 3, 3, 9, 9}));
    EXPECT_EQ(Frame({0, 0, 4, 9, 9}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0, 4, 9, 9}));
    EXPECT_EQ(Frame({0, 0, 0, 0, 0, 0, 9, 9}, 0, 1, false), (Bytes{0, 0, 1, 1, 0, 0, 3, 0, 0, 3, 0, 0, 9, 9}));
}

TEST(NalFraming, PreventsEmulationUpToTheLastByte)
{
    EXPECT_EQ(Frame({0, 0, 0, 1}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0, 3, 0, 1}));
    EXPECT_EQ(Frame({0, 0, 1}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0, 3, 1}));
    EXPECT_EQ(Frame({9, 0, 0, 2, 9}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 9, 0, 0, 3, 2, 9}));
    EXPECT_EQ(Frame({0, 0, 0}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0, 3, 0}));
}

TEST(NalFraming, APayloadThatEndsInTwoZerosKeepsItsEnd)
{
    EXPECT_EQ(Frame({5, 0, 0}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 5, 0, 0}));
    EXPECT_EQ(Frame({0, 0}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0}));
    EXPECT_EQ(Frame({0, 0, 0, 0}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 0, 0, 3, 0, 0}));
    EXPECT_EQ(Frame({}, 1, 1, false), (Bytes{0, 0, 1, 0x21}));
    EXPECT_EQ(Frame({7}, 1, 1, false), (Bytes{0, 0, 1, 0x21, 7}));
}

// Frames a payload; what a decoder takes out again must be the payload, and no byte below 3 may stand behind two zeros.
void ExpectFramedSafely(const Bytes& Payload)
{
    const Bytes Unit = Frame(Payload, 1, 1, false);
    ASSERT_LE(Unit.size(), NalBytesAtMost(Payload.size()));
    ASSERT_EQ(FramedSize(Payload.data(), Payload.size(), 1, false), Unit.size());
    Bytes Read;
    size_t Zeros = 0;
    for (size_t i = 4; i < Unit.size(); ++i) {
        const bool bPrevention = Zeros >= 2 && Unit[i] == 3;
        ASSERT_TRUE(Zeros < 2 || Unit[i] >= 3) << testing::PrintToString(Unit);
        if (!bPrevention) Read.push_back(Unit[i]);
        Zeros = Unit[i] == 0 ? Zeros + 1 : 0;
    }
    ASSERT_EQ(Read, Payload) << testing::PrintToString(Unit);
}

TEST(NalFraming, EveryShortPayloadComesBackAndHoldsNoStartCode)
{
    constexpr size_t kValues = 5, kLongest = 7;
    for (size_t Length = 0, Count = 1; Length <= kLongest; ++Length, Count *= kValues)
        for (size_t Number = 0; Number < Count; ++Number) {
            Bytes Payload(Length);
            size_t Rest = Number;
            for (uint8_t& Byte : Payload) {
                Byte = static_cast<uint8_t>(Rest % kValues);
                Rest /= kValues;
            }
            ExpectFramedSafely(Payload);
            if (HasFatalFailure()) return;
        }
}

TEST(NalFraming, RandomPayloadsComeBackAndHoldNoStartCode)
{
    std::mt19937 Rng(7);
    for (int i = 0; i < 3000; ++i) {
        Bytes Payload(Rng() % 300);
        const uint32_t Values = 2u << Rng() % 8; // from zeros and ones to all bytes
        for (uint8_t& Byte : Payload) Byte = static_cast<uint8_t>(Rng() % Values);
        ExpectFramedSafely(Payload);
        if (HasFatalFailure()) return;
    }
}

TEST(NalFraming, TheFirstUnitOfAnAccessUnitHasAZeroByte)
{
    EXPECT_EQ(Frame({1, 2, 3}, 1, 5, true), (Bytes{0, 0, 0, 1, 0x25, 1, 2, 3}));
    EXPECT_EQ(Frame({1, 2, 3}, 1, 5, false), (Bytes{0, 0, 1, 0x25, 1, 2, 3}));
    EXPECT_EQ(Frame({1, 2, 3}, 1, 7, false), (Bytes{0, 0, 0, 1, 0x27, 1, 2, 3}));
    EXPECT_EQ(Frame({1, 2, 3}, 1, 8, false), (Bytes{0, 0, 0, 1, 0x28, 1, 2, 3}));
    for (int32_t Type = 1; Type < 20; ++Type) {
        bool bFirst = true;
        uint8_t Out[64];
        const uint8_t Payload[]{1, 2, 3};
        FrameNAL(Out, Payload, 3, 1, Type, bFirst);
        const bool bTakes = (Type <= 6) || Type == 9 || (Type >= 14 && Type <= 18);
        EXPECT_EQ(bFirst, !bTakes) << Type; // only these use the flag up
        EXPECT_EQ(Out[2], bTakes || Type == 7 || Type == 8 ? 0 : 1) << Type;
    }
}

TEST(NalFraming, EachUnitTakesTheBytesSinceTheLast)
{
    Writer w;
    w.PutBits(0xAB, 8);
    uint8_t Out[64];
    bool bFirst = true;
    EXPECT_EQ(w.PendingBytes(), 1u);
    EXPECT_EQ(w.WriteNAL(Out, 0, NAL_DELIMITER, bFirst), 6u);
    w.PutBits(0xCDEF, 16);
    EXPECT_EQ(w.WriteNAL(Out, 1, NAL_SLICE, bFirst), 6u);
    EXPECT_EQ((Bytes{Out, Out + 6}), (Bytes{0, 0, 1, 0x21, 0xCD, 0xEF}));
}

// ---- Parameter sets and headers ----------------------------------------------------------------------------

UMC::H264EncoderParams Sized(int32_t Width, int32_t Height)
{
    UMC::H264EncoderParams p;
    p.m_Info.m_Width = Width;
    p.m_Info.m_Height = Height;
    p.level_idc = 20;
    return p;
}

// Reads a Main profile SPS up to the cropping flag and checks what is fixed.
Reader OpenSps(const UMC::H264EncoderParams& p)
{
    Writer w;
    w.WriteSeqParams(MakeSeqParams(p));
    Reader r(w.Written());
    EXPECT_EQ(r.Bits(8), static_cast<uint32_t>(p.profile_idc));
    EXPECT_EQ(r.Bits(8), 0x40u);
    EXPECT_EQ(r.Bits(8), 20u);
    EXPECT_EQ(r.Ue(), 0u);
    return r;
}

TEST(SequenceParameterSet, MainProfileWithoutCropping)
{
    Reader r = OpenSps(Sized(176, 144));
    EXPECT_EQ(r.Ue(), 4u); // log2_max_frame_num_minus4
    EXPECT_EQ(r.Ue(), 2u); // pic_order_cnt_type
    EXPECT_EQ(r.Ue(), 1u); // num_ref_frames
    EXPECT_EQ(r.Bits(1), 0u);
    EXPECT_EQ(r.Ue(), 10u);
    EXPECT_EQ(r.Ue(), 8u);
    EXPECT_EQ(r.Bits(1), 1u); // frame_mbs_only_flag
    EXPECT_EQ(r.Bits(1), 1u); // direct_8x8_inference_flag
    EXPECT_EQ(r.Bits(1), 0u); // frame_cropping_flag
    EXPECT_EQ(r.Bits(1), 1u); // vui_parameters_present_flag
    EXPECT_EQ(r.Bits(1), 1u);
    EXPECT_EQ(r.Bits(8), 1u); // square
    EXPECT_EQ(r.Bits(8), 0u); // no other part of the VUI
    EXPECT_EQ(r.Bits(1), 1u); // rbsp_stop_one_bit
}

TEST(SequenceParameterSet, CropsInUnitsOfTheChromaFormat)
{
    Reader r = OpenSps(Sized(180, 146));
    for (int i = 0; i < 3; ++i) r.Ue();
    r.Bits(1);
    EXPECT_EQ(r.Ue(), 11u);
    EXPECT_EQ(r.Ue(), 9u);
    EXPECT_EQ(r.Bits(2), 3u);
    EXPECT_EQ(r.Bits(1), 1u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 6u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 7u);
}

TEST(SequenceParameterSet, CropUnitsByFormatAndStructure)
{
    UMC::H264EncoderParams p = Sized(1920, 1080);
    EXPECT_EQ(MakeSeqParams(p).crop_bottom, 4);
    p.coding_type = 1;
    EXPECT_EQ(MakeSeqParams(p).crop_bottom, 2);
    EXPECT_EQ(MakeSeqParams(p).pic_height_in_map_units, 34);
    p.coding_type = 0;
    p.chroma_format_idc = 2;
    EXPECT_EQ(MakeSeqParams(p).crop_bottom, 8);
    p.chroma_format_idc = 0;
    p.m_Info.m_Width = 1915;
    EXPECT_EQ(MakeSeqParams(p).crop_right, 5);
}

TEST(SequenceParameterSet, OrderCountBits)
{
    EXPECT_EQ(PocLsbBits(1, 0, 1), 4);
    EXPECT_EQ(PocLsbBits(7, 0, 9), 7);
    EXPECT_EQ(PocLsbBits(7, 2, 2), 7);
    EXPECT_EQ(PocLsbBits(0, 0, 1), 4);
    EXPECT_EQ(PocLsbBits(1 << 20, 0, 1), 16);
}

TEST(SequenceParameterSet, HighProfileWithTheDefaultMatrix)
{
    UMC::H264EncoderParams p = Sized(176, 144);
    p.profile_idc = 100;
    p.use_default_scaling_matrix = 1;
    Reader r = OpenSps(p);
    EXPECT_EQ(r.Ue(), 1u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Bits(2), 1u); // no bypass, a matrix
    for (int List = 0; List < 8; ++List) {
        ASSERT_EQ(r.Bits(1), 1u);
        const int Size = List < 6 ? 16 : 64;
        int Last = 8, Next = 8;
        for (int i = 0; i < Size; ++i) { // clause 7.3.2.1.1.1
            if (Next != 0) Next = (Last + r.Se() + 256) % 256;
            ASSERT_FALSE(i == 0 && Next == 0);
            Last = Next == 0 ? Last : Next;
            ASSERT_EQ(Last, List < 6 ? 16 : h264::kDefaultScaling8x8[1][i]) << List << ' ' << i;
        }
    }
    EXPECT_EQ(r.Ue(), 4u);
}

TEST(SequenceParameterSet, ExtensionCarriesTheAlphaValues)
{
    SeqParamSet s{};
    s.aux_format_idc = 1;
    s.bit_depth_aux = 8;
    s.alpha_incr = true;
    s.alpha_opaque_value = 255;
    s.alpha_transparent_value = 17;
    Writer w;
    w.WriteSeqExtension(s);
    Reader r(w.Written());
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 1u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Bits(1), 1u);
    EXPECT_EQ(r.Bits(9), 255u);
    EXPECT_EQ(r.Bits(9), 17u);
    EXPECT_EQ(r.Bits(2), 1u); // additional_extension_flag, stop bit
}

TEST(PictureParameterSet, ElementsOfTheMainProfile)
{
    const UMC::H264EncoderParams p = Sized(176, 144);
    Writer w;
    w.WritePicParams(MakePicParams(p, 30), MakeSeqParams(p));
    Reader r(w.Written());
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Bits(1), 1u); // entropy_coding_mode_flag
    EXPECT_EQ(r.Bits(1), 0u);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Bits(3), 0u);
    EXPECT_EQ(r.Se(), 4);
    EXPECT_EQ(r.Se(), 0);
    EXPECT_EQ(r.Se(), 0);
    EXPECT_EQ(r.Bits(3), 4u); // deblocking_filter_control_present_flag
    EXPECT_EQ(r.Bits(1), 1u); // stop bit
}

TEST(SliceHeaderSyntax, HasNoOrderCountWithoutReordering)
{
    const UMC::H264EncoderParams p = Sized(176, 144);
    SliceHeader h{};
    h.first_mb_in_slice = 24;
    h.slice_type = SLICE_P;
    h.frame_num = 200;
    h.nal_ref_idc = 1;
    h.num_ref_idx_l0 = h.num_ref_idx_l1 = 1;
    h.cabac_init_idc = 1;
    h.slice_qp_delta = -3;
    h.alpha_c0_offset = 2;
    h.beta_offset = -3;
    Writer w;
    w.WriteSliceHeader(h, MakeSeqParams(p), MakePicParams(p, 26));
    Reader r(w.Written());
    EXPECT_EQ(r.Ue(), 24u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Bits(8), 200u);
    EXPECT_EQ(r.Bits(3), 0u); // no override, no reordering, no adaptive marking
    EXPECT_EQ(r.Ue(), 1u);    // cabac_init_idc
    EXPECT_EQ(r.Se(), -3);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Se(), 1);
    EXPECT_EQ(r.Se(), -2); // halved downwards
    EXPECT_EQ(static_cast<int64_t>(r.Position()), w.Bits());
}

TEST(SliceHeaderSyntax, OfAnIdrPictureWithMoreReferencesAndTheFilterOff)
{
    UMC::H264EncoderParams p = Sized(176, 144);
    p.num_b_frames = 1;
    SliceHeader h{};
    h.slice_type = SLICE_I;
    h.idr = true;
    h.idr_pic_id = 5;
    h.nal_ref_idc = 1;
    h.pic_order_cnt_lsb = 9;
    h.disable_deblocking_filter_idc = 1;
    Writer w;
    w.WriteSliceHeader(h, MakeSeqParams(p), MakePicParams(p, 26));
    Reader r(w.Written());
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Ue(), 2u);
    EXPECT_EQ(r.Ue(), 0u);
    EXPECT_EQ(r.Bits(8), 0u);
    EXPECT_EQ(r.Ue(), 5u);
    EXPECT_EQ(r.Bits(4), 9u); // order count of four bits
    EXPECT_EQ(r.Bits(2), 0u);
    EXPECT_EQ(r.Se(), 0);
    EXPECT_EQ(r.Ue(), 1u);
    EXPECT_EQ(static_cast<int64_t>(r.Position()), w.Bits());
}

TEST(SliceHeaderSyntax, TellsHowManyReferencesAreActive)
{
    const UMC::H264EncoderParams p = Sized(176, 144);
    SliceHeader h{};
    h.slice_type = SLICE_P;
    h.nal_ref_idc = 1;
    h.num_ref_idx_l0 = 3;
    h.num_ref_idx_l1 = 1;
    Writer w;
    w.WriteSliceHeader(h, MakeSeqParams(p), MakePicParams(p, 26));
    Reader r(w.Written());
    r.Ue(), r.Ue(), r.Ue();
    r.Bits(8);
    EXPECT_EQ(r.Bits(1), 1u);
    EXPECT_EQ(r.Ue(), 2u);
}

// ---- Arithmetic coder --------------------------------------------------------------------------------------

// Clause 9.3.3.2, one bit at a time.
class Decoder
{
public:
    Decoder(std::vector<uint8_t> Bytes, size_t From) : m_Reader(std::move(Bytes))
    {
        m_Reader.Bits(static_cast<int>(From));
        m_Offset = m_Reader.Bits(9);
    }
    uint32_t Decision(uint8_t& Context)
    {
        const uint32_t State = Context >> 1, Mps = Context & 1, Lps = h264::kRangeLps[State][m_Range >> 6 & 3];
        m_Range -= Lps;
        uint32_t Bin = Mps;
        if (m_Offset >= m_Range) {
            Bin = 1 - Mps;
            m_Offset -= m_Range;
            m_Range = Lps;
            Context = static_cast<uint8_t>(h264::kTransIdxLps[State] * 2 + (State == 0 ? 1 - Mps : Mps));
        } else {
            Context = static_cast<uint8_t>(h264::kTransIdxMps[State] * 2 + Mps);
        }
        Renormalise();
        return Bin;
    }
    uint32_t Bypass()
    {
        m_Offset = m_Offset << 1 | m_Reader.Bits(1);
        if (m_Offset < m_Range) return 0;
        m_Offset -= m_Range;
        return 1;
    }
    uint32_t Terminate()
    {
        m_Range -= 2;
        if (m_Offset >= m_Range) return 1;
        Renormalise();
        return 0;
    }

private:
    void Renormalise()
    {
        while (m_Range < 256) {
            m_Range <<= 1;
            m_Offset = m_Offset << 1 | m_Reader.Bits(1);
        }
    }
    Reader m_Reader;
    uint32_t m_Range = 510, m_Offset = 0;
};

TEST(ArithmeticCoder, InitialStateOfAContext)
{
    h264::ContextInit Table[h264::kContextCount]{};
    Table[0] = {0, 64};
    Table[1] = {0, 63};
    Table[2] = {-28, 127};
    Table[3] = {127, 127};
    Table[4] = {-127, 0};
    Table[276] = {9, 9};
    CabacContexts c;
    InitCabacContexts(c, Table, 26);
    EXPECT_EQ(c[0], 0 * 2 + 1); // preCtxState 64
    EXPECT_EQ(c[1], 0 * 2 + 0);
    EXPECT_EQ(c[2], (((-28 * 26) >> 4) + 127 - 64) * 2 + 1);
    EXPECT_EQ(c[3], 62 * 2 + 1);
    EXPECT_EQ(c[4], 62 * 2 + 0);
    EXPECT_EQ(c[276], 63 * 2); // the terminate decision has a state of its own
}

// Kinds of bins: 0 and 1 with a context, 2 bypass, 3 a terminate bin of 0.
void RoundTrip(uint32_t Seed, uint32_t OneIn, int Count)
{
    std::mt19937 Rng(Seed);
    Writer w;
    w.PutBits(0x5, 3);
    w.Align(1);
    w.InitContexts(SLICE_P, 1, 30);
    const CabacContexts Start = w.Contexts();
    struct Symbol {
        uint32_t Kind, Context, Bin;
    };
    std::vector<Symbol> Symbols;
    for (int i = 0; i < Count; ++i) {
        Symbol s{static_cast<uint32_t>(Rng()) % 16, static_cast<uint32_t>(Rng()) % 276, Rng() % OneIn == 0};
        Symbols.push_back(s);
        if (s.Kind == 0)
            w.EncodeTerminate(0);
        else if (s.Kind < 4)
            w.EncodeBypass(s.Bin);
        else
            w.EncodeBin(s.Context, s.Bin);
    }
    w.EncodeTerminate(1);
    w.TerminateEncode();
    ASSERT_EQ(w.Bits() % 8, 0);
    const Bytes Written = w.Written();
    Decoder d(Written, 8);
    CabacContexts Contexts = Start;
    for (size_t i = 0; i < Symbols.size(); ++i) {
        const Symbol& s = Symbols[i];
        if (s.Kind == 0)
            ASSERT_EQ(d.Terminate(), 0u) << i;
        else if (s.Kind < 4)
            ASSERT_EQ(d.Bypass(), s.Bin) << i;
        else
            ASSERT_EQ(d.Decision(Contexts[s.Context]), s.Bin) << i;
    }
    EXPECT_EQ(d.Terminate(), 1u);
    EXPECT_EQ(Contexts, w.Contexts());
    uint8_t Last = Written.back();
    EXPECT_NE(Last, 0); // the stop bit is in the last byte
}

TEST(ArithmeticCoder, ADecoderReadsWhatWasWritten)
{
    for (uint32_t Seed = 0; Seed < 60; ++Seed)
        for (const uint32_t OneIn : {1u, 2u, 3u, 50u, 100000u})
            RoundTrip(Seed, OneIn, Seed < 50 ? static_cast<int>(Seed) * 7 : 20000);
}

TEST(ArithmeticCoder, BypassBitsInOneGoEqualSingleOnes)
{
    std::vector<uint8_t> a(4096), b(4096);
    ArithmeticCoder One{}, Many{};
    One.Start(a.data() + 1);
    Many.Start(b.data() + 1);
    std::mt19937 Rng(3);
    for (int i = 0; i < 3000; ++i) {
        const int Count = 1 + static_cast<int>(Rng() % 8);
        const uint32_t Bins = static_cast<uint32_t>(Rng()) & ((1u << Count) - 1);
        for (int Bit = Count - 1; Bit >= 0; --Bit) One.EncodeBypass(Bins >> Bit & 1);
        Many.EncodeBypassBits(Bins, Count);
    }
    EXPECT_EQ(One.Bits(), Many.Bits());
    One.Finish();
    Many.Finish();
    EXPECT_EQ(a, b);
}

TEST(ArithmeticCoder, OneBypassBinAndTheEndIsAWholeByte)
{
    Writer w;
    w.InitContexts(SLICE_I, 0, 26);
    w.EncodeBypass(1);
    w.EncodeTerminate(1);
    w.TerminateEncode();
    EXPECT_EQ(w.Bits() % 8, 0);
    Decoder d(w.Written(), 0);
    EXPECT_EQ(d.Bypass(), 1u);
    EXPECT_EQ(d.Terminate(), 1u);
}

TEST(ArithmeticCoder, TheSavedStateComesBack)
{
    const auto Encode = [](Writer& w, uint32_t Seed, int Count) {
        std::mt19937 Rng(Seed);
        for (int i = 0; i < Count; ++i)
            w.EncodeBin(static_cast<uint32_t>(Rng()) % 276, static_cast<uint32_t>(Rng()) & 1);
    };
    Writer Plain, Tried;
    for (Writer* w : {&Plain, &Tried}) {
        w->InitContexts(SLICE_P, 0, 30);
        Encode(*w, 1, 500);
    }
    Tried.SaveState();
    Encode(Tried, 2, 77);
    Tried.RestoreState();
    for (Writer* w : {&Plain, &Tried}) {
        Encode(*w, 3, 500);
        w->EncodeTerminate(1);
        w->TerminateEncode();
    }
    EXPECT_EQ(Plain.Written(), Tried.Written());
}

// ---- Counting writer ---------------------------------------------------------------------------------------

TEST(CountingWriter, CountsCodesAsTheRealOneWritesThem)
{
    Writer Real;
    CH264pBsFake<uint8_t, int16_t> Fake;
    Fake.Reset();
    for (CBaseBitstream* w : {static_cast<CBaseBitstream*>(&Real), static_cast<CBaseBitstream*>(&Fake)}) {
        w->PutBit(1);
        w->PutBits(77, 13);
        w->PutVLCCode(3, 19);
        EXPECT_EQ(w->PutUE(1000), 19);
        w->PutSE(-40);
    }
    EXPECT_EQ(Fake.CountedBits(), Real.Bits());
}

TEST(CountingWriter, GoesOnFromARealWriter)
{
    Writer Real;
    CH264pBsFake<uint8_t, int16_t> Fake;
    Real.InitContexts(SLICE_P, 2, 28);
    std::mt19937 Rng(11);
    for (int i = 0; i < 333; ++i) Real.EncodeBin(static_cast<uint32_t>(Rng()) % 276, static_cast<uint32_t>(Rng()) & 1);
    Fake.Reset();
    Fake.CopyState(Real);
    EXPECT_EQ(Fake.CountedBits(), 0);
    const int64_t Before = Real.Coder().Bits();
    for (int i = 0; i < 1000; ++i) {
        const uint32_t Context = static_cast<uint32_t>(Rng()) % 276, Bin = static_cast<uint32_t>(Rng()) & 1;
        Real.EncodeBin(Context, Bin);
        Fake.EncodeBin(Context, Bin);
        Real.EncodeBypass(Bin);
        Fake.EncodeBypass(Bin);
        ASSERT_EQ(Fake.CountedBits(), Real.Coder().Bits() - Before);
    }
    EXPECT_EQ(Fake.Contexts(), Real.Contexts());
}

TEST(CountingWriter, AWholeSliceEndsOnAByte)
{
    Writer Real;
    CH264pBsFake<uint8_t, int16_t> Fake;
    Fake.Reset();
    Real.InitContexts(SLICE_I, 0, 20);
    Fake.InitContexts(SLICE_I, 0, 20);
    for (uint32_t i = 0; i < 100; ++i) {
        Real.EncodeBin(60 + i, i & 1);
        Fake.EncodeBin(60 + i, i & 1);
    }
    Real.EncodeTerminate(1);
    Fake.EncodeTerminate(1);
    Real.TerminateEncode();
    Fake.TerminateEncode();
    EXPECT_EQ(Fake.CountedBits() % 8, 0);
    EXPECT_EQ(Fake.CountedBits(), Real.Bits());
}

} // namespace
