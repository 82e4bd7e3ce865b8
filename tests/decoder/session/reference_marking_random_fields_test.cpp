// Reference marking of field pairs and frames by turns: commands drawn at random, and what lists then hold, after a
// model of the clauses that knows nothing of the decoder.
#include "tests/decoder/random_fields.h"

#include <map>

namespace {

using namespace test;

using Commands = std::vector<std::vector<uint32_t>>;

// A frame of which a field or both may be marked.
struct ModelFrame {
    int Number; // frame_num without wrap
    int Idx = -1;
    bool Short[2] = {}, Long[2] = {};
    uint8_t Value[2] = {};

    bool HasShort() const { return Short[0] || Short[1]; }
    bool HasLong() const { return Long[0] || Long[1]; }
};

// Clauses 8.2.4.2.1, 8.2.4.2.2, 8.2.4.2.5 and 8.2.5.
class FieldModel
{
public:
    FieldModel(RandomMacroblocks& Random, size_t Capacity) : m_Random(Random), m_Capacity(Capacity) {}

    int FrameNum() const { return m_Number; }
    bool WasReset() const { return m_WasReset; }

    // Values of the initial list of a P field of a parity.
    std::vector<uint8_t> FieldList(int Parity) const
    {
        std::vector<uint8_t> Values;
        std::map<int, const ModelFrame*> Short, Long; // in the order of the lists
        for (const ModelFrame& f : m_Frames) {
            if (f.HasShort()) Short[-f.Number] = &f;
            if (f.HasLong()) Long[f.Idx] = &f;
        }
        for (const bool IsLong : {false, true}) {
            std::vector<uint8_t> Of[2]; // of the own parity, and of the other
            for (const auto& [Key, p] : IsLong ? Long : Short)
                for (const int Other : {0, 1}) {
                    const int Field = Parity ^ Other;
                    if (IsLong ? p->Long[Field] : p->Short[Field]) Of[Other].push_back(p->Value[Field]);
                }
            for (size_t i = 0; i < std::max(Of[0].size(), Of[1].size()); ++i)
                for (const auto& Fields : Of)
                    if (i < Fields.size()) Values.push_back(Fields[i]);
        }
        return Values;
    }
    // Of a P frame: the values of both fields.
    std::vector<std::array<int, 2>> FrameList() const
    {
        std::map<int, const ModelFrame*> Ordered;
        for (const ModelFrame& f : m_Frames) {
            if (f.Short[0] && f.Short[1]) Ordered[-1000 - f.Number] = &f;
            if (f.Long[0] && f.Long[1]) Ordered[f.Idx] = &f;
        }
        std::vector<std::array<int, 2>> Values;
        for (const auto& [Key, p] : Ordered) Values.push_back({p->Value[0], p->Value[1]});
        return Values;
    }

    void Idr()
    {
        m_Frames.clear();
        m_Limit = 0;
        m_Number = 0;
    }
    // A picture comes: a frame (Parity -1), a first field or a second one. Returns its commands and is as after it.
    Commands Frame(uint8_t Top, uint8_t Bottom, bool IsIdr) { return Add(-1, false, Top, Bottom, IsIdr); }
    Commands Field(int Parity, bool IsSecond, uint8_t Value, bool IsIdr)
    {
        return Add(Parity, IsSecond, Value, Value, IsIdr);
    }
    void EndFrame() { ++m_Number; }

private:
    Commands Add(int Parity, bool IsSecond, uint8_t Top, uint8_t Bottom, bool IsIdr)
    {
        m_Commands.clear();
        m_WasReset = false;
        m_Parity = Parity;
        m_IsSecond = IsSecond;
        bool IsLong = false;
        const bool IsPlain = IsIdr || m_Random.Upto(2) != 0;
        if (IsPlain) {
            if (!IsSecond) Slide();
        } else if (m_Random.Upto(9) == 0) {
            m_Commands.push_back({5});
            m_Frames.clear();
            m_Limit = 0;
            m_WasReset = true;
        } else {
            for (int i = m_Random.Upto(2); i >= 0; --i) Any();
            while (!IsSecond && m_Frames.size() >= m_Capacity) RemoveOne();
            IsLong = m_Random.Upto(3) == 0 && m_Limit > 0 && MakeLong();
            if (m_Commands.empty()) SetLimit(m_Limit);
        }
        if (m_WasReset) m_Number = 0;
        if (!IsSecond || m_WasReset) m_Frames.push_back({.Number = m_Number});
        ModelFrame& Current = m_Frames.back();
        for (int f = 0; f < 2; ++f) {
            if (Parity >= 0 && f != Parity) continue;
            (IsLong ? Current.Long : Current.Short)[f] = true;
            Current.Value[f] = f == 0 ? Top : Bottom;
        }
        if (IsLong) Current.Idx = m_LongIdx;
        return m_Commands;
    }
    void Slide()
    {
        if (m_Frames.size() < m_Capacity) return;
        const auto Oldest = std::find_if(m_Frames.begin(), m_Frames.end(), [](auto& f) { return f.HasShort(); });
        if (Oldest == m_Frames.end()) return;
        Oldest->Short[0] = Oldest->Short[1] = false;
        Settle();
    }
    void Settle() // the frame of the picture itself stays: its field is about to be marked
    {
        const ModelFrame* const pOwn = m_IsSecond ? &m_Frames.back() : nullptr;
        const auto IsFree = [pOwn](const ModelFrame& f) { return &f != pOwn && !f.HasShort() && !f.HasLong(); };
        m_Frames.erase(std::remove_if(m_Frames.begin(), m_Frames.end(), IsFree), m_Frames.end());
    }
    // picNumX and LongTermPicNum, clause 8.2.4.1.
    int PicNum(int Number, int Field) const { return m_Parity < 0 ? Number : 2 * Number + (Field == m_Parity); }
    uint32_t Difference(const ModelFrame& f, int Field) const
    {
        const int Current = m_Parity < 0 ? m_Number : 2 * m_Number + 1;
        return static_cast<uint32_t>(Current - PicNum(f.Number, Field) - 1);
    }

    // A picture of a kind at random: a frame with both fields marked, or a marked field.
    bool Pick(bool IsLong, size_t& Frame, int& Field)
    {
        std::vector<std::pair<size_t, int>> All;
        for (size_t i = 0; i < m_Frames.size(); ++i) {
            const bool(&Marked)[2] = IsLong ? m_Frames[i].Long : m_Frames[i].Short;
            if (m_Parity < 0 && Marked[0] && Marked[1]) All.emplace_back(i, -1);
            for (int f = 0; f < 2 && m_Parity >= 0; ++f)
                if (Marked[f]) All.emplace_back(i, f);
        }
        if (All.empty()) return false;
        std::tie(Frame, Field) = All[static_cast<size_t>(m_Random.Upto(static_cast<int>(All.size()) - 1))];
        return true;
    }
    static void Set(bool (&Flags)[2], int Field, bool Value)
    {
        for (int f = 0; f < 2; ++f)
            if (Field < 0 || f == Field) Flags[f] = Value;
    }
    bool IsCurrent(size_t Frame) const { return m_IsSecond && Frame + 1 == m_Frames.size(); }

    void Any()
    {
        switch (m_Random.Upto(3)) {
        case 0: RemoveOne(); break;
        case 1: Convert(); break;
        default:
            if (m_Commands.empty() && !m_IsSecond) SetLimit(m_Random.Upto(3));
        }
    }
    void RemoveOne()
    {
        size_t Frame = 0;
        int Field = 0;
        const bool IsLong = m_Random.Upto(1) != 0;
        // A frame with a field of each kind, or of one alone, can be told by fields only: a frame slides it out.
        if (!Pick(IsLong, Frame, Field) && !Pick(!IsLong, Frame, Field)) {
            if (m_Parity < 0 && m_Frames.size() >= m_Capacity) RemoveAll();
            return;
        }
        const bool IsLongOne = m_Frames[Frame].Long[Field < 0 ? 0 : Field];
        if (IsCurrent(Frame)) return;
        ModelFrame& f = m_Frames[Frame];
        if (IsLongOne) {
            m_Commands.push_back({2, static_cast<uint32_t>(PicNum(f.Idx, Field))});
        } else {
            m_Commands.push_back({1, Difference(f, Field)});
        }
        Set(IsLongOne ? f.Long : f.Short, Field, false);
        Settle();
    }
    void RemoveAll()
    {
        m_Commands = {{5}};
        m_Frames.clear();
        m_Limit = 0;
        m_WasReset = true;
    }
    void Convert()
    {
        size_t Frame = 0;
        int Field = 0;
        if (m_Limit == 0 || !Pick(false, Frame, Field) || IsCurrent(Frame)) return;
        ModelFrame& f = m_Frames[Frame];
        const int Idx = f.HasLong() ? f.Idx : m_Random.Upto(m_Limit - 1); // a frame's fields have one index
        m_Commands.push_back({3, Difference(f, Field), static_cast<uint32_t>(Idx)});
        FreeIdx(Idx, &f);
        Set(f.Short, Field, false);
        Set(f.Long, Field, true);
        f.Idx = Idx;
        Settle();
    }
    void SetLimit(int Limit)
    {
        m_Limit = Limit;
        m_Commands.push_back({4, static_cast<uint32_t>(Limit)});
        for (ModelFrame& f : m_Frames)
            if (f.HasLong() && f.Idx >= Limit) f.Long[0] = f.Long[1] = false;
        Settle();
    }
    void FreeIdx(int Idx, const ModelFrame* pExcept)
    {
        for (ModelFrame& f : m_Frames)
            if (&f != pExcept && f.HasLong() && f.Idx == Idx) f.Long[0] = f.Long[1] = false;
    }
    bool MakeLong()
    {
        ModelFrame* const pOwn = m_IsSecond ? &m_Frames.back() : nullptr;
        m_LongIdx = pOwn && pOwn->HasLong() ? pOwn->Idx : m_Random.Upto(m_Limit - 1);
        m_Commands.push_back({6, static_cast<uint32_t>(m_LongIdx)});
        FreeIdx(m_LongIdx, pOwn);
        Settle();
        return true;
    }

    RandomMacroblocks& m_Random;
    const size_t m_Capacity;
    std::vector<ModelFrame> m_Frames; // in decoding order
    int m_Limit = 0, m_Number = 0, m_Parity = -1, m_LongIdx = 0;
    bool m_IsSecond = false, m_WasReset = false;
    Commands m_Commands;
};

// The stream of a model: reference pictures of values of their own, and behind each of them a copy of every entry of
// the lists of a frame and of both fields, in pictures that are no references.
class ModelStream
{
public:
    explicit ModelStream(uint32_t Seed) : m_Random(Seed)
    {
        for (int i = 0; i < 40; ++i) AddReference(i);
    }
    std::vector<std::array<int, 2>> Expected;
    GreyFields In{{.profile_idc = 77, .log2_max_frame_num = 8, .log2_max_poc_lsb = 12, .num_ref_frames = 4}};

private:
    Slice Next(uint32_t RefIdc)
    {
        Slice s = Numbered(static_cast<uint32_t>(m_Model.FrameNum()), m_Poc, RefIdc);
        s.poc_lsb &= 4095;
        return s;
    }
    void AddReference(int i)
    {
        const bool IsIdr = i % 20 == 0;
        const auto Value = static_cast<uint8_t>(10 + 5 * i);
        if (IsIdr) {
            m_Model.Idr();
            m_Poc = 0;
        }
        if (m_Random.Upto(2) == 0) {
            Slice s = Next(1);
            s.nal_unit_type = IsIdr ? 5 : 1;
            s.idr_pic_id = static_cast<uint32_t>(i);
            s.marking = m_Model.Frame(Value, Value, IsIdr);
            In.Frame(Value, s);
            Expected.push_back({Value, Value});
            Reset(0);
        } else {
            AddPair(i, IsIdr, Value);
        }
        m_Poc += 2;
        m_Model.EndFrame();
        Probe();
    }
    void AddPair(int i, bool IsIdr, uint8_t Value)
    {
        const int First = m_Random.Upto(1);
        std::array<int, 2> Values{};
        for (const bool IsSecond : {false, true}) {
            const int Parity = First ^ IsSecond;
            Slice s = Next(1);
            s.nal_unit_type = IsIdr && !IsSecond ? 5 : 1;
            s.idr_pic_id = static_cast<uint32_t>(i);
            Values[static_cast<size_t>(Parity)] = Value + IsSecond;
            s.marking = m_Model.Field(Parity, IsSecond, static_cast<uint8_t>(Value + IsSecond), IsIdr && !IsSecond);
            In.Field(static_cast<uint8_t>(Value + IsSecond), Parity != 0, s);
            Reset(IsSecond);
            m_Poc += !IsSecond;
        }
        Expected.push_back(Values);
    }
    // Counts go on from that of the picture with the reset: 0, or for a second field its distance to the first.
    void Reset(uint32_t Count)
    {
        if (m_Model.WasReset()) m_Poc = Count;
    }
    void Probe()
    {
        const auto Frames = m_Model.FrameList();
        for (uint32_t RefIdx = 0; RefIdx < Frames.size(); ++RefIdx, m_Poc += 2) {
            Slice s = Next(0);
            s.num_ref_idx[0] = static_cast<uint32_t>(Frames.size());
            In.CopyFrame(RefIdx, s);
            Expected.push_back(Frames[RefIdx]);
        }
        const std::vector<uint8_t> Lists[2] = {m_Model.FieldList(0), m_Model.FieldList(1)};
        for (uint32_t RefIdx = 0; RefIdx < Lists[0].size(); ++RefIdx) {
            for (const bool IsBottom : {false, true}) {
                Slice s = Next(0);
                s.num_ref_idx[0] = static_cast<uint32_t>(Lists[IsBottom].size());
                In.CopyField(RefIdx, IsBottom, s);
                ++m_Poc;
            }
            Expected.push_back({Lists[0][RefIdx], Lists[1][RefIdx]});
        }
    }

    RandomMacroblocks m_Random;
    FieldModel m_Model{m_Random, 4};
    uint32_t m_Poc = 0;
};

TEST(FieldMarkingModel, RandomCommandsLeaveTheReferencesOfTheModel)
{
    for (uint32_t Seed = 1; Seed <= 24; ++Seed) {
        SCOPED_TRACE(Seed);
        const ModelStream Stream(Seed);
        const auto Values = Stream.In.Values();
        ASSERT_EQ(Values.size(), Stream.Expected.size());
        for (size_t i = 0; i < Values.size(); ++i) ASSERT_EQ(Values[i], Stream.Expected[i]) << i;
    }
}

} // namespace
