// No picture is lost between the decoder and the client, whatever the stream mixes: frames, fields of either parity
// first, lone fields, slices, B pictures, gaps, delimiters or none.
#include "front/VCodec_H264.h"
#include "tests/decoder/random_fields.h"

#include <gmock/gmock.h>

#include <memory>

namespace {

using namespace test;

const Bytes kDelimiter = NalUnit(0, 9, {0xF0});
constexpr uint32_t kWidthMbs = 2, kHeightMbs = 4;

// Pictures of one value a field, one access unit after the other.
class RandomMix
{
public:
    explicit RandomMix(uint32_t Seed) : m_Random(Seed)
    {
        m_Seq.num_ref_frames = 1 + m_Random.Upto(3);
        m_Seq.gaps_allowed = m_Random.Upto(1) != 0;
        m_Seq.width_mbs = kWidthMbs;
        m_Seq.height_map_units = kHeightMbs / 2;
        m_HasDelimiters = m_Random.Upto(2);
        m_Start = Write(m_Seq) + Write(m_Pic);
        for (int i = 0; i < 40; ++i) AddFrames(i == 0 || m_Random.Upto(11) == 0, i < 39);
    }
    const std::vector<Bytes>& Units() const { return m_Units; }
    size_t Frames() const { return m_Frames; }

private:
    // A frame, and sometimes another one behind it that is shown before it: none that has to wait for two, which the
    // decoder gives out when it is asked for pictures one by one.
    void AddFrames(bool IsIdr, bool MayBeAlone)
    {
        if (IsIdr) {
            m_FrameNum = 0;
            m_Poc = 0;
        } else {
            m_Poc += 4;
        }
        const bool IsReference = IsIdr || m_Random.Upto(3) != 0;
        const size_t Before = m_Frames;
        AddFrame(Typed(7, m_FrameNum, m_Poc, IsReference), IsIdr, MayBeAlone);
        m_FrameNum += IsReference;
        if (IsIdr || !IsReference || m_Frames > Before + 1 || m_Random.Upto(1) != 0) return;
        AddFrame(Typed(m_Random.Upto(1) != 0 ? 6 : 7, m_FrameNum, m_Poc - 2, 0), false, MayBeAlone);
        m_FrameNum += m_Seq.gaps_allowed && m_Random.Upto(5) == 0;
    }
    void AddFrame(Slice s, bool IsIdr, bool MayBeAlone)
    {
        ++m_Frames;
        s.frame_num &= 15;
        s.poc_lsb &= 255;
        s.nal_unit_type = IsIdr ? 5 : 1;
        s.idr_pic_id = m_Units.size() & 0xFF;
        if (m_Random.Upto(1) != 0) {
            s.delta_poc_bottom = 1;
            return AddUnit(s);
        }
        s.field = true;
        s.bottom = m_Random.Upto(1) != 0;
        AddUnit(s);
        // A field that stays alone has a frame or a field of its own parity behind it: else that would be its partner.
        if (!IsIdr && MayBeAlone && m_Random.Upto(5) == 0) {
            ++m_Frames;
            s.field = s.bottom = false;
            s.poc_lsb = (s.poc_lsb + 1) & 255;
            s.delta_poc_bottom = 0;
            s.slice_type = 7;
            return AddUnit(s);
        }
        s.bottom = !s.bottom;
        s.poc_lsb = (s.poc_lsb + 1) & 255;
        s.nal_unit_type = 1;
        AddUnit(s);
    }
    // One to four slices.
    void AddUnit(Slice s)
    {
        Bytes Unit = std::exchange(m_Start, {});
        if (m_HasDelimiters == 1 || (m_HasDelimiters == 2 && m_Random.Upto(1) != 0)) Unit = kDelimiter + Unit;
        const auto Mbs = static_cast<int>(PictureMbs(m_Seq, s));
        const auto Value = static_cast<uint8_t>(m_Value = m_Value % 230 + 1);
        for (int First = 0, Count; First < Mbs; First += Count) {
            Count = std::min(Mbs - First, m_Random.Upto(1) != 0 ? Mbs : 1 + m_Random.Upto(2));
            s.first_mb = static_cast<uint32_t>(First);
            Unit += s.slice_type == 6 ? SkipSlice(m_Seq, m_Pic, s, Count) : PcmSlice(m_Seq, m_Pic, s, Value, Count);
        }
        m_Units.push_back(std::move(Unit));
    }

    RandomMacroblocks m_Random;
    SeqParamSet m_Seq = Interlaced({.profile_idc = 77});
    const PicParamSet m_Pic{.pic_order_present = true};
    int m_HasDelimiters; // 0 none, 1 everywhere, 2 here and there
    Bytes m_Start;
    std::vector<Bytes> m_Units;
    size_t m_Frames = 0;
    uint32_t m_FrameNum = 0, m_Poc = 0;
    int m_Value = 0;
};

// What a client gets that hands over a unit a call and then delimiters until nothing comes.
std::vector<Bytes> Delivered(const std::vector<Bytes>& Units)
{
    constexpr int32_t kUnwritten = -2; // the type of the black picture that stands in for a missing first one
    constexpr int32_t kWidth = kWidthMbs * 16, kHeight = kHeightMbs * 16;
    const auto Release = [](CVCodec_H264* p) { p->Release(); };
    const std::unique_ptr<CVCodec_H264, decltype(Release)> pCodec(new CVCodec_H264, Release);
    EXPECT_EQ(pCodec->InitDecoder(kWidth, kHeight), 1);
    Bytes Picture(kWidth * kHeight * 3 / 2);
    std::vector<Bytes> Pictures;
    const auto Feed = [&](const Bytes& Unit) {
        int32_t Type = kUnwritten;
        const int32_t Result = pCodec->Decode(Unit.data(), static_cast<int32_t>(Unit.size()), Picture.data(), &Type);
        const bool HasCome = Result == 1 && Type != kUnwritten;
        if (HasCome) Pictures.push_back(Picture);
        return HasCome;
    };
    for (const Bytes& Unit : Units) Feed(Unit);
    while (Feed(kDelimiter)) {
    }
    return Pictures;
}

} // namespace

TEST(SoftwareDeliveryOfMixes, GivesEveryPictureThatTheDecoderHas)
{
    for (uint32_t Seed = 1; Seed <= 40; ++Seed) {
        SCOPED_TRACE(Seed);
        const RandomMix Mix(Seed);
        Bytes Stream;
        for (const Bytes& Unit : Mix.Units()) Stream += Unit;
        const std::vector<Bytes> Decoded = DecodeAll(Stream);
        ASSERT_EQ(Decoded.size(), Mix.Frames());
        const std::vector<Bytes> Given = Delivered(Mix.Units());
        ASSERT_EQ(Given.size(), Decoded.size());
        EXPECT_TRUE(Given == Decoded);
    }
}
