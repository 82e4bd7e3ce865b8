// Reference marking: streams of memory commands drawn at random, every reference in use, as ffmpeg decodes them.
#include "tests/decoder/random_stream.h"

namespace {

using namespace test;

// The references that a decoder has to hold, and commands that clause 7.4.3.3 allows on them.
class MarkingModel
{
    struct Reference {
        uint32_t Number;
        uint8_t Value; // of its samples
    };

public:
    MarkingModel(RandomMacroblocks& Random, uint32_t Capacity) : m_Random(Random), m_Capacity(Capacity) {}

    uint32_t FrameNum() const { return m_FrameNum; }
    bool WasReset() const { return m_WasReset; }
    std::vector<uint8_t> List() const // the initial list of a P slice
    {
        const auto ByNumber = [](const Reference& a, const Reference& b) { return a.Number < b.Number; };
        std::vector<Reference> Short = m_Short, Long = m_Long;
        std::sort(Short.begin(), Short.end(), ByNumber);
        std::sort(Long.begin(), Long.end(), ByNumber);
        std::reverse(Short.begin(), Short.end());
        std::vector<uint8_t> Values;
        for (const auto* const pList : {&Short, &Long})
            for (const Reference& r : *pList) Values.push_back(r.Value);
        return Values;
    }

    void Idr(bool IsLong, uint8_t Value)
    {
        m_Short.clear();
        m_Long.clear();
        m_LongLimit = IsLong;
        (IsLong ? m_Long : m_Short) = {{0, Value}};
        m_FrameNum = 1;
        m_WasReset = false;
    }
    // Commands of the next reference picture, none for the sliding window; the model is as after it.
    std::vector<std::vector<uint32_t>> Next(uint8_t Value)
    {
        m_Commands.clear();
        m_IsLong = m_WasReset = false;
        if (m_Random.Upto(2) == 0 && !m_Short.empty()) {
            if (Count() == m_Capacity) m_Short.erase(m_Short.begin());
        } else if (m_Random.Upto(11) == 0) {
            Reset(Value);
        } else {
            for (int i = m_Random.Upto(3); i >= 0; --i) AnyCommand();
            while (Count() >= m_Capacity) RemoveOne();
            if (m_Random.Upto(3) == 0) MakeCurrentLong(Value);
            if (m_Commands.empty()) SetLongLimit(m_LongLimit); // adaptive all the same
        }
        if (m_WasReset) m_FrameNum = 0;
        if (!m_IsLong) m_Short.push_back({m_FrameNum, Value});
        ++m_FrameNum;
        return m_Commands;
    }

private:
    size_t Count() const { return m_Short.size() + m_Long.size(); }
    uint32_t Difference(uint32_t FrameNum) const { return m_FrameNum - FrameNum - 1; } // difference_of_pic_nums_minus1
    template <class T>
    size_t Pick(const std::vector<T>& Of)
    {
        return static_cast<size_t>(m_Random.Upto(static_cast<int>(Of.size()) - 1));
    }
    void AnyCommand()
    {
        const bool HasLimit = std::any_of(m_Commands.begin(), m_Commands.end(), [](auto& c) { return c[0] == 4; });
        switch (m_Random.Upto(3)) {
        case 0:
            if (Count() > 1) RemoveOne();
            break;
        case 1:
            if (!m_Short.empty() && m_LongLimit > 0) {
                const size_t i = Pick(m_Short);
                const Reference r = m_Short[i];
                const auto Idx = static_cast<uint32_t>(m_Random.Upto(static_cast<int>(m_LongLimit) - 1));
                m_Commands.push_back({3, Difference(r.Number), Idx});
                m_Short.erase(m_Short.begin() + static_cast<ptrdiff_t>(i));
                PutLong(Idx, r.Value);
            }
            break;
        default:
            if (!HasLimit && m_Commands.empty())
                SetLongLimit(static_cast<uint32_t>(m_Random.Upto(3)) + (m_LongLimit == 0));
        }
    }
    void SetLongLimit(uint32_t Limit) // max_long_term_frame_idx_plus1
    {
        m_LongLimit = std::min(Limit, m_Capacity);
        m_Commands.push_back({4, m_LongLimit});
        std::erase_if(m_Long, [&](const Reference& r) { return r.Number >= m_LongLimit; });
    }
    void RemoveOne()
    {
        const bool FromLong = m_Short.empty() || (!m_Long.empty() && m_Random.Upto(1));
        auto& From = FromLong ? m_Long : m_Short;
        const size_t i = Pick(From);
        m_Commands.push_back({FromLong ? 2u : 1u, FromLong ? From[i].Number : Difference(From[i].Number)});
        From.erase(From.begin() + static_cast<ptrdiff_t>(i));
    }
    void MakeCurrentLong(uint8_t Value)
    {
        if (m_LongLimit == 0) return;
        const auto Idx = static_cast<uint32_t>(m_Random.Upto(static_cast<int>(m_LongLimit) - 1));
        m_Commands.push_back({6, Idx});
        PutLong(Idx, Value);
        m_IsLong = true;
    }
    void PutLong(uint32_t Idx, uint8_t Value)
    {
        std::erase_if(m_Long, [&](const Reference& r) { return r.Number == Idx; });
        m_Long.push_back({Idx, Value});
    }
    void Reset(uint8_t Value)
    {
        m_Commands.push_back({5});
        m_Short.clear();
        m_Long.clear();
        m_LongLimit = 0;
        m_WasReset = true;
        if (m_Random.Upto(1)) return;
        SetLongLimit(1 + static_cast<uint32_t>(m_Random.Upto(2)));
        MakeCurrentLong(Value);
    }

    RandomMacroblocks& m_Random;
    uint32_t m_Capacity;
    std::vector<Reference> m_Short, m_Long; // by frame number without wrap, and by index
    uint32_t m_LongLimit = 0, m_FrameNum = 0;
    bool m_IsLong = false, m_WasReset = false;
    std::vector<std::vector<uint32_t>> m_Commands;
};

TEST(Marking, RandomCommandsLeaveTheReferencesOfTheModel)
{
    for (uint32_t Seed = 1; Seed <= 8; ++Seed) {
        SCOPED_TRACE(Seed);
        RandomMacroblocks Random(Seed);
        MarkingModel Model(Random, 4);
        const SeqParamSet Seq{
            .log2_max_frame_num = 8, .log2_max_poc_lsb = 12, .num_ref_frames = 4, .vui = ReorderVui(0, 4)};
        const PicParamSet Pic;
        Bytes Data = Write(Seq) + Write(Pic);
        std::vector<int> Expected;
        uint32_t Lsb = 0;
        for (int i = 0; i < 48; ++i) { // a picture of a value of its own, then a copy of each reference
            Slice s{.frame_num = Model.FrameNum(), .poc_lsb = Lsb};
            const auto Value = static_cast<uint8_t>(20 + 4 * i);
            if (i % 24 == 0) {
                s = {.nal_unit_type = 5, .idr_pic_id = i / 24u, .long_term_reference = Random.Upto(1) != 0};
                Model.Idr(s.long_term_reference, Value);
            } else {
                s.marking = Model.Next(Value);
            }
            Data += PcmSlice(Seq, Pic, s, Value);
            Expected.push_back(Value);
            if (i % 24 == 0 || Model.WasReset()) Lsb = 0;
            const std::vector<uint8_t> List = Model.List();
            for (uint32_t RefIdx = 0; RefIdx < List.size(); ++RefIdx) {
                Lsb += 2;
                Slice Copy = Numbered(Model.FrameNum(), Lsb, 0);
                Copy.num_ref_idx[0] = static_cast<uint32_t>(List.size());
                Data += CopySlice(Seq, Pic, Copy, RefIdx);
                Expected.push_back(List[RefIdx]);
            }
            Lsb += 2;
        }
        EXPECT_EQ(DecodeValues(Data), Expected);
        ExpectAsFfmpeg(Data, Expected.size());
    }
}

} // namespace
