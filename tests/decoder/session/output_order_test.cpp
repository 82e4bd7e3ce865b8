// Which picture leaves at which call: streams of random order counts against a small model of the rule, which knows
// pictures as they come and nothing of the decoder.
#include "tests/decoder/random_fields.h"
#include "tests/decoder/session/fed_decoder.h"

#include <gmock/gmock.h>

#include <tuple>

namespace {

using namespace test;

// At most one picture a call: the one of the lowest count in front of the newest reset of the counts. A picture is
// decoded when the next one has come, and one that is not decoded yet holds back those that are behind it in order.
class DisplayModel
{
    struct Picture {
        int Value, Count[2]; // of its fields
        int Resets = 0;      // of the counts, behind it
        bool IsDecoded = false;

        std::tuple<int, int> Rank() const { return {-Resets, std::min(Count[0], Count[1])}; }
    };

public:
    // A call hands over the first field of a frame or all of it. The values that it gives: none or one. Behind a gap in
    // frame_num a picture finds its place when those in front of the gap are decoded.
    std::vector<int> Begin(int Value, int Top, int Bottom, bool IsIdr, bool HasGap)
    {
        std::vector<int> Given;
        if (HasGap) Decode(0, Given);
        if (IsIdr) ResetOthers(nullptr);
        m_Waiting.push_back({Value, {Top, Bottom}});
        Decode(1, Given);
        if (Given.empty()) Give(Given);
        return Given;
    }
    // A call hands over the frame's second field.
    std::vector<int> Second(bool IsBottom, int Count)
    {
        m_Waiting.back().Count[IsBottom] = Count;
        std::vector<int> Given;
        Give(Given);
        return Given;
    }
    // The newest picture, field or frame, had a memory reset; to be told in front of the next call.
    void Reset()
    {
        Picture& Newest = m_Waiting.back();
        ResetOthers(&Newest);
        const int Lowest = std::min(Newest.Count[0], Newest.Count[1]);
        for (int& Count : Newest.Count) Count -= Lowest;
    }
    std::vector<int> End()
    {
        for (Picture& p : m_Waiting) p.IsDecoded = true;
        std::vector<int> Given;
        while (!m_Waiting.empty()) Give(Given);
        return Given;
    }

private:
    // Decodes the picture that has so many behind it; what may leave leaves first.
    void Decode(size_t Behind, std::vector<int>& Given)
    {
        if (m_Waiting.size() <= Behind || m_Waiting.rbegin()[static_cast<ptrdiff_t>(Behind)].IsDecoded) return;
        Give(Given);
        m_Waiting.rbegin()[static_cast<ptrdiff_t>(Behind)].IsDecoded = true;
    }
    void ResetOthers(const Picture* pExcept)
    {
        for (Picture& p : m_Waiting) p.Resets += &p != pExcept;
    }
    void Give(std::vector<int>& Given)
    {
        const auto First = std::min_element(m_Waiting.begin(), m_Waiting.end(),
                                            [](const Picture& a, const Picture& b) { return a.Rank() < b.Rank(); });
        if (First == m_Waiting.end() || !First->IsDecoded) return;
        Given.push_back(First->Value);
        m_Waiting.erase(First);
    }

    std::vector<Picture> m_Waiting; // in decoding order
};

// Frames, pairs and lone fields with counts out of order, resets of both kinds and gaps, call by call.
class RandomOrder
{
public:
    RandomOrder(uint32_t Seed, int Disorder) : m_Random(Seed), m_Disorder(Disorder)
    {
        m_Decoder.Give(Write(m_Seq) + Write(m_Pic));
        for (int i = 0; i < 70; ++i) Add(i);
        Compare(m_Decoder.DrainValues(), m_Model.End(), 70);
    }

private:
    void Add(int i)
    {
        const bool IsIdr = i == 0 || m_Random.Upto(19) == 0;
        const uint32_t RefIdc = IsIdr || m_Random.Upto(2) != 0;
        if (IsIdr) m_FrameNum = m_Base = 0;
        // Even counts for frames and first fields; equal ones come, too.
        const int Count = IsIdr ? 0 : m_Base + 2 * m_Random.Upto(m_Disorder);
        m_Base += 2;
        Slice s = Numbered(m_FrameNum & 15, static_cast<uint32_t>(Count), RefIdc);
        s.nal_unit_type = IsIdr ? 5 : 1;
        s.idr_pic_id = static_cast<uint32_t>(i);
        s.field = m_Random.Upto(1) != 0;
        const bool IsAlone = s.field && m_Random.Upto(5) == 0;
        const bool IsReset = RefIdc != 0 && !IsIdr && !IsAlone && m_Random.Upto(9) == 0;
        const bool IsSecondReset = IsReset && s.field && m_Random.Upto(1) != 0;
        if (IsReset && !IsSecondReset) s.marking = {{5}};
        // Parity alone makes pairs: behind a field that stays alone comes none of the other one.
        s.bottom = s.field && (m_IsAlone ? m_IsBottom : m_Random.Upto(1) != 0);
        s.delta_poc_bottom = s.field ? 0 : 1;
        const int Bottom = s.field ? Count : Count + 1;
        m_Value = m_Value % 200 + 1;
        Compare(Feed(s), m_Model.Begin(m_Value, Count, Bottom, IsIdr, m_HasGap && !IsIdr), i);
        m_IsAlone = IsAlone;
        m_IsBottom = s.bottom;
        if (IsReset && !IsSecondReset) Reset();
        if (s.field && !IsAlone) AddSecond(s, IsReset && !IsSecondReset ? 1 : Count + 1, IsSecondReset, i);
        // A gap now and then: frames that are never shown.
        m_HasGap = m_Random.Upto(9) == 0;
        m_FrameNum += RefIdc + (m_HasGap ? 2 : 0);
    }
    void AddSecond(Slice s, int Count, bool IsReset, int i)
    {
        s.nal_unit_type = 1;
        s.bottom = !s.bottom;
        s.poc_lsb = static_cast<uint32_t>(Count);
        s.frame_num = m_FrameNum & 15;
        s.marking.clear();
        if (IsReset) s.marking = {{5}};
        const auto Given = Feed(s);
        Compare(Given, m_Model.Second(s.bottom, Count), i);
        if (IsReset) Reset();
    }
    void Reset()
    {
        m_Model.Reset();
        m_FrameNum = 0;
        m_Base = 2;
    }
    // Both fields of a frame have its value.
    std::vector<int> Feed(const Slice& s)
    {
        m_Decoder.Give(
            PcmSlice(m_Seq, m_Pic, s, static_cast<uint8_t>(m_Value), static_cast<int>(PictureMbs(m_Seq, s))));
        return m_Decoder.ShownValues();
    }
    static void Compare(std::vector<int> Ours, const std::vector<int>& Expected, int i)
    {
        ASSERT_EQ(Ours, Expected) << "picture " << i;
    }

    RandomMacroblocks m_Random;
    const int m_Disorder;
    const SeqParamSet m_Seq =
        Interlaced({.profile_idc = 77, .log2_max_poc_lsb = 12, .num_ref_frames = 3, .gaps_allowed = true});
    const PicParamSet m_Pic{.pic_order_present = true};
    FedDecoder m_Decoder;
    DisplayModel m_Model;
    uint32_t m_FrameNum = 0;
    int m_Base = 0, m_Value = 0;
    bool m_IsAlone = false, m_IsBottom = false, m_HasGap = false;
};

TEST(OutputOrder, IsThatOfTheModelCallByCall)
{
    for (const int Disorder : {0, 1, 2, 5})
        for (uint32_t Seed = 1; Seed <= 20 && !testing::Test::HasFailure(); ++Seed) {
            SCOPED_TRACE(testing::Message() << "disorder " << Disorder << ", seed " << Seed);
            RandomOrder(Seed, Disorder);
        }
}

} // namespace
