// Whole streams with slices lost, cut and out of order, against a model of concealment that is written from its rules
// alone: planes of numbers, and nothing of the decoder.
#include "tests/decoder/random_stream.h"
#include "tests/support/cabac_encoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

namespace {

using namespace test;

enum Structure { kFrames, kTopFieldFirst, kPairs }; // kPairs: frames with macroblock-adaptive field decoding
constexpr int kWidth = 3, kFrameHeight = 8;         // macroblocks
constexpr int kAny = -1;                            // a sample that is whatever the memory held before
constexpr uint32_t kTypeP = 5, kTypeI = 7;

struct Kind {
    const char* pName;
    Structure Pictures;
    bool IsCabac;
    uint32_t ChromaFormat, Depth;
};

struct ModelPlane {
    int Side[2]; // of a macroblock: columns, rows
    int Columns, Pitch;
    std::vector<int> Samples;
};

struct ModelPicture {
    std::array<ModelPlane, 3> Planes;
    int PicOrderCnt = 0;

    explicit ModelPicture(const Kind& k)
    {
        for (int i = 0; i < 3; ++i) {
            const int Half = i > 0 && k.ChromaFormat != 3;
            ModelPlane& p = Planes[static_cast<size_t>(i)];
            p.Side[0] = 16 >> Half;
            p.Side[1] = i > 0 && k.ChromaFormat < 2 ? 8 : 16;
            p.Columns = kWidth * p.Side[0];
            p.Pitch = 64 >> Half; // luma lines begin at multiples of 64 samples
            p.Samples.assign(static_cast<size_t>(p.Columns * kFrameHeight * p.Side[1]),
                             i > 0 && k.ChromaFormat == 0 ? 128 : kAny);
        }
    }
};

// One frame, or one field of it, being put together.
class ModelDecoder
{
public:
    ModelDecoder(const Kind& k, ModelPicture& Out, int Parity) : m_Kind(k), m_Out(Out), m_Parity(Parity) {}

    int MbCount() const { return kWidth * kFrameHeight / (m_Kind.Pictures == kTopFieldFirst ? 2 : 1); }

    // Macroblocks of one value, or copied from a picture.
    void Put(int First, int Count, int Value, const ModelPicture* pFrom)
    {
        ForEachSample([&](int Plane, int x, int y, size_t At, const ModelPlane& p) {
            if (MbOf(p, x, y) >= First && MbOf(p, x, y) < First + Count) Set(Plane, At, pFrom, Value);
        });
    }
    // The samples from the top left one of macroblock Start up to that of End as they follow in memory.
    void Restore(int Start, int End, const ModelPicture* pFrom)
    {
        if (Start >= End) return;
        ForEachSample([&](int Plane, int x, int y, size_t At, const ModelPlane& p) {
            const auto Offset = [&](int Mb) {
                return Mb / kWidth * p.Side[1] * LinePitch(p) + Mb % kWidth * p.Side[0];
            };
            const int Begin = Offset(Start), Place = y * LinePitch(p) + x;
            int Length = Offset(End) - Begin;
            if (m_Kind.Pictures == kTopFieldFirst && m_Parity == 1) Length /= 2;
            if (Place < Begin || Place >= Begin + Length) return;
            // Fields and pairs: nothing that was decoded is overwritten.
            if (m_Kind.Pictures == kTopFieldFirst && MbOf(p, x, y) < Start) return;
            if (m_Kind.Pictures == kPairs && (MbOf(p, x, y) / 2 < (Start + 1) / 2 || MbOf(p, x, y) / 2 >= End / 2))
                return;
            Set(Plane, At, pFrom, 128);
        });
    }

private:
    int LinePitch(const ModelPlane& p) const { return p.Pitch * (m_Kind.Pictures == kTopFieldFirst ? 2 : 1); }
    // The number of the macroblock that a sample belongs to, y counted in lines of the picture; of pairs, which are all
    // of frame macroblocks here, the numbers go down first.
    int MbOf(const ModelPlane& p, int x, int y) const
    {
        const int Column = x / p.Side[0], Row = y / p.Side[1];
        return m_Kind.Pictures == kPairs ? (Row / 2 * kWidth + Column) * 2 + Row % 2 : Row * kWidth + Column;
    }
    template <class F>
    void ForEachSample(F&& Visit) const
    {
        const bool IsField = m_Kind.Pictures == kTopFieldFirst;
        for (int i = 0; i < (m_Kind.ChromaFormat ? 3 : 1); ++i) {
            const ModelPlane& p = m_Out.Planes[static_cast<size_t>(i)];
            for (size_t At = 0; At < p.Samples.size(); ++At) {
                const int x = static_cast<int>(At) % p.Columns, Line = static_cast<int>(At) / p.Columns;
                if (!IsField) Visit(i, x, Line, At, p);
                if (IsField && Line % 2 == m_Parity) Visit(i, x, Line / 2, At, p);
            }
        }
    }
    void Set(int Plane, size_t At, const ModelPicture* pFrom, int Value) const
    {
        const auto i = static_cast<size_t>(Plane);
        m_Out.Planes[i].Samples[At] = pFrom ? pFrom->Planes[i].Samples[At] : Value;
    }

    const Kind& m_Kind;
    ModelPicture& m_Out;
    const int m_Parity;
};

struct SentSlice {
    int First, End, Sent; // macroblocks: the first one, the first one behind, and how many have data
    bool IsP;
    int Value;
};

// A stream under way, and what the model makes of it.
class DamagedStream
{
public:
    DamagedStream(const Kind& k, uint32_t Seed) : m_Kind(k), m_Random(Seed)
    {
        m_Seq = {.profile_idc = k.ChromaFormat == 3 ? 144u : 122u,
                 .chroma_format_idc = k.ChromaFormat,
                 .bit_depth = k.Depth,
                 .num_ref_frames = 4};
        m_Seq.width_mbs = kWidth;
        m_Seq.frame_mbs_only = k.Pictures == kFrames;
        m_Seq.mbaff = k.Pictures == kPairs;
        m_Seq.height_map_units = kFrameHeight / (m_Seq.frame_mbs_only ? 1 : 2);
        m_Pic.cabac = k.IsCabac;
        Data = Write(m_Seq) + Write(m_Pic);
        Picture(false);
        Shown.push_back(m_Decoded.back());
    }
    // A picture, damaged as a rule, and one that shows what it has become.
    void Step()
    {
        if (!Picture(true)) Shown.push_back(m_Decoded.back());
        Reveal();
    }

    Bytes Data;
    std::vector<ModelPicture> Shown;
    int Withheld = 0;

private:
    bool IsFields() const { return m_Kind.Pictures == kTopFieldFirst; }
    int Below(int Limit) { return static_cast<int>(m_Random() % static_cast<uint32_t>(Limit)); }

    std::vector<SentSlice> Slices(int MbCount, bool MayLose)
    {
        const int Step = m_Kind.Pictures == kPairs ? 2 : 1;
        std::vector<SentSlice> Result;
        for (int First = 0; First < MbCount;) {
            const int End = std::min(MbCount, First + Step * (1 + Below(MbCount / Step)));
            SentSlice s{First, End, End - First, MayLose && Below(2) == 0, 10 + Below(200)};
            const int Fate = MayLose ? Below(5) : 4;
            if (Fate == 0) s.Sent = Step * Below(s.Sent / Step); // 0: lost, else cut
            if (Fate == 1) s.Sent = 0;
            Result.push_back(s);
            First = End;
        }
        if (std::none_of(Result.begin(), Result.end(), [](const SentSlice& s) { return s.Sent > 0; }))
            Result.front().Sent = Step;
        return Result;
    }
    // True when it is damaged.
    bool Picture(bool MayLose)
    {
        ModelPicture Out(m_Kind);
        std::vector<SentSlice> Sent[2];
        bool IsDamaged = false;
        for (int Field = 0; Field <= IsFields(); ++Field) {
            Sent[Field] = Slices(ModelDecoder(m_Kind, Out, Field).MbCount(), MayLose);
            for (const SentSlice& s : Sent[Field]) IsDamaged |= s.Sent != s.End - s.First;
        }
        // Only what is not shown may have a place of its own in output order.
        Out.PicOrderCnt = m_PicOrderCnt += 4;
        if (IsDamaged) Out.PicOrderCnt -= 2 + 4 * Below(4);
        for (int Field = 0; Field <= IsFields(); ++Field) {
            Send(Sent[Field], Field, Out.PicOrderCnt);
            Decode(Sent[Field], Field, Out);
        }
        m_Decoded.push_back(Out);
        ++m_FrameNum;
        Withheld += IsDamaged;
        return IsDamaged;
    }
    void Reveal() // copies the picture before
    {
        m_PicOrderCnt += 4;
        for (int Field = 0; Field <= IsFields(); ++Field) {
            const int MbCount = kWidth * kFrameHeight / (IsFields() ? 2 : 1);
            Send({{0, MbCount, MbCount, true, 0}}, Field, m_PicOrderCnt);
        }
        m_Decoded.push_back(m_Decoded.back());
        m_Decoded.back().PicOrderCnt = m_PicOrderCnt;
        Shown.push_back(m_Decoded.back());
        ++m_FrameNum;
    }
    void Send(std::vector<SentSlice> Slices, int Field, int PicOrderCnt)
    {
        std::shuffle(Slices.begin(), Slices.end(), m_Random);
        for (const SentSlice& s : Slices) {
            if (s.Sent == 0) continue;
            Slice h{.nal_unit_type = m_Decoded.empty() && Field == 0 ? 5u : 1u};
            h.first_mb = static_cast<uint32_t>(s.First / (m_Kind.Pictures == kPairs ? 2 : 1));
            h.slice_type = s.IsP ? kTypeP : kTypeI;
            h.frame_num = m_FrameNum & 15;
            h.poc_lsb = static_cast<uint32_t>(PicOrderCnt + Field) & 255;
            h.field = IsFields();
            h.bottom = Field == 1;
            if (s.IsP)
                Data += m_Kind.IsCabac ? CabacSkipSlice(m_Seq, m_Pic, h, s.Sent) : SkipSlice(m_Seq, m_Pic, h, s.Sent);
            else if (m_Kind.Pictures == kPairs)
                Data += PcmPairs(h, s.Value, s.Sent / 2);
            else
                Data += m_Kind.IsCabac ? CabacPcmSlice(m_Seq, m_Pic, h, static_cast<uint8_t>(s.Value), s.Sent)
                                       : PcmSlice(m_Seq, m_Pic, h, static_cast<uint8_t>(s.Value), s.Sent);
        }
    }
    Bytes PcmPairs(const Slice& h, int Value, int Pairs) const
    {
        BitWriter Bits = Header(m_Seq, m_Pic, h);
        const h264::ChromaGeometry& Chroma = h264::kChromaGeometry[m_Kind.ChromaFormat];
        for (int Mb = 0; Mb < 2 * Pairs; ++Mb) {
            if (Mb % 2 == 0) Bits.U(1, 0); // mb_field_decoding_flag
            Bits.UE(25);                   // I_PCM
            Bits.Align();
            for (int i = 0; i < 256 + 2 * Chroma.MbWidth * Chroma.MbHeight; ++i)
                Bits.U(static_cast<int>(m_Kind.Depth), static_cast<uint32_t>(Value));
        }
        return Finish(Bits, h);
    }
    void Decode(const std::vector<SentSlice>& All, int Field, ModelPicture& Out)
    {
        ModelDecoder Model(m_Kind, Out, Field);
        std::vector<SentSlice> Received;
        std::copy_if(All.begin(), All.end(), std::back_inserter(Received),
                     [](const SentSlice& s) { return s.Sent > 0; });
        Model.Restore(0, Received.front().First, Source(Received.front(), Out));
        for (size_t i = 0; i < Received.size(); ++i) {
            const SentSlice& s = Received[i];
            const int Max = i + 1 < Received.size() ? Received[i + 1].First : Model.MbCount();
            Model.Put(s.First, s.Sent, s.Value, s.IsP ? &m_Decoded.back() : nullptr);
            Model.Restore(s.First + s.Sent, Max, Source(s, Out));
        }
    }
    // The first picture of the slice's list, which is the one before, or the last one decoded that precedes in output
    // order; null for none.
    const ModelPicture* Source(const SentSlice& s, const ModelPicture& Out) const
    {
        if (s.IsP) return &m_Decoded.back();
        const auto Earlier = std::find_if(m_Decoded.rbegin(), m_Decoded.rend(),
                                          [&](const ModelPicture& p) { return p.PicOrderCnt < Out.PicOrderCnt; });
        return Earlier == m_Decoded.rend() ? nullptr : &*Earlier;
    }

    const Kind m_Kind;
    std::mt19937 m_Random;
    SeqParamSet m_Seq;
    PicParamSet m_Pic{};
    std::vector<ModelPicture> m_Decoded;
    uint32_t m_FrameNum = 0;
    int m_PicOrderCnt = -4;
};

class ConcealedStreams : public testing::TestWithParam<Kind>
{
};

TEST_P(ConcealedStreams, AreThoseOfTheModel)
{
    int Withheld = 0, Known = 0;
    for (uint32_t Seed = 0; Seed < 4; ++Seed) {
        SCOPED_TRACE(Seed);
        DamagedStream In(GetParam(), Seed);
        for (int i = 0; i < 7; ++i) In.Step();
        Withheld += In.Withheld;
        const auto Pictures = DecodeAll(In.Data);
        ASSERT_EQ(Pictures.size(), In.Shown.size()) << "damaged pictures are withheld, and no others";
        for (size_t n = 0; n < Pictures.size(); ++n) {
            const size_t Bytes = GetParam().Depth > 8 ? 2 : 1;
            size_t At = 0;
            for (const ModelPlane& p : In.Shown[n].Planes)
                for (size_t i = 0; i < p.Samples.size(); ++i, At += Bytes) {
                    if (p.Samples[i] == kAny) continue;
                    ++Known;
                    const int Sample = Pictures[n][At] + (Bytes > 1 ? 256 * Pictures[n][At + 1] : 0);
                    ASSERT_EQ(Sample, p.Samples[i])
                        << "picture " << n << ", plane " << &p - In.Shown[n].Planes.data() << ", column "
                        << static_cast<int>(i) % p.Columns << ", line " << static_cast<int>(i) / p.Columns;
                }
            ASSERT_EQ(At, Pictures[n].size());
        }
    }
    EXPECT_GT(Withheld, 15);
    EXPECT_GT(Known, 100000);
}

constexpr Kind kKinds[]{{"Frames", kFrames, false, 1, 8},
                        {"FramesInCabac", kFrames, true, 1, 8},
                        {"DeepFrames422", kFrames, false, 2, 10},
                        {"MonochromeFrames", kFrames, false, 0, 8},
                        {"Fields", kTopFieldFirst, false, 1, 8},
                        {"FieldsInCabac", kTopFieldFirst, true, 1, 8},
                        {"Fields422", kTopFieldFirst, false, 2, 8},
                        {"DeepFields", kTopFieldFirst, false, 1, 12},
                        {"Pairs", kPairs, false, 1, 8},
                        {"Pairs422", kPairs, false, 2, 8},
                        {"MonochromePairs", kPairs, false, 0, 8},
                        {"Frames444", kFrames, false, 3, 8},
                        {"DeepFields444", kTopFieldFirst, false, 3, 14},
                        {"Pairs444", kPairs, false, 3, 8}};
INSTANTIATE_TEST_SUITE_P(Kinds, ConcealedStreams, testing::ValuesIn(kKinds),
                         [](const auto& Info) { return Info.param.pName; });

} // namespace
