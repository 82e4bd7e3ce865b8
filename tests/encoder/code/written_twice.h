// Streams of random macroblocks of every type, written by the independent writer in variable length codes and by the
// encoder's syntax in both entropy codings.
#pragma once

#include "Common/h264/intra_modes.h"
#include "tests/encoder/code/syntax_slice.h"
#include "tests/support/decode_helper.h"
#include "tests/support/ffmpeg_oracle.h"

namespace encoder_testing {

using test::operator+;
using test::operator+=;

// Makes random macroblocks whose intra modes the blocks around them allow.
class MacroblockSource
{
public:
    MacroblockSource(const test::SeqParamSet& Seq, const test::PicParamSet& Pic, const test::Slice& s, uint32_t Seed)
        : m_Seq(Seq), m_Pic(Pic), m_Slice(s), m_Width(static_cast<int>(Seq.width_mbs) * 4),
          m_Modes(test::PictureMbs(Seq, s) * 16, kNone), m_Random(Seed)
    {
    }

    test::Macroblock Next(int Index, const test::MacroblockMix& Mix)
    {
        m_X = Index * 4 % m_Width;
        m_Y = Index * 4 / m_Width * 4;
        m_Own = AllDc();
        test::Macroblock m = m_Random.Upto(13) == 0 && Mix.intra > 0 ? Pcm() : m_Random.Any(m_Seq, m_Pic, m_Slice, Mix);
        if (m.intra && m.mb_type != kPcm) ChooseIntraModes(m);
        if (m_Slice.slice_type % 5 == 1 && !m.skip && !m.intra && m.mb_type == kB8x8) AddDirect(m);
        if (m.transform_size_8x8)
            for (size_t q = 0; q < 4; ++q) m.luma[4 * q][static_cast<size_t>(m_Random.Upto(15))] = 1; // none is empty
        for (int i = 0; i < 16; ++i) At(m_X + i % 4, m_Y + i / 4) = static_cast<int8_t>(m_Own[static_cast<size_t>(i)]);
        return m;
    }
    /// What was before lies beside none of those to come.
    void Forget() { std::fill(m_Modes.begin(), m_Modes.end(), kNone); }
    /// Modes of the last one, raster order.
    const std::array<uint8_t, 16>& Modes() const { return m_Own; }

private:
    static constexpr uint32_t kPcm = 25, kB8x8 = 22;
    static constexpr int8_t kNone = -1;
    static std::array<uint8_t, 16> AllDc()
    {
        std::array<uint8_t, 16> Modes;
        Modes.fill(h264::kIntraDcMode);
        return Modes;
    }

    // The mode of a 4x4 block of the picture, kNone outside the slice.
    int8_t& At(int x, int y) { return m_Modes[static_cast<size_t>(y * m_Width + x)]; }
    int Mode(int x, int y) { return x < 0 || y < 0 || x >= m_Width ? kNone : At(x, y); }
    bool Has(int x, int y) { return Mode(x, y) != kNone; }

    test::Macroblock Pcm()
    {
        test::Macroblock m{.intra = true, .mb_type = kPcm};
        for (uint8_t& Sample : m.pcm) Sample = static_cast<uint8_t>(1 + m_Random.Upto(253));
        return m;
    }

    // B_Direct_8x8 beside other quadrants, more often than one in thirteen.
    void AddDirect(test::Macroblock& m)
    {
        bool MayTransform8x8 = m_Pic.transform_8x8_mode;
        for (uint32_t& Type : m.sub_mb_type) {
            if (m_Random.Upto(2) == 0) Type = 0;
            MayTransform8x8 &= Type == 0 ? m_Seq.direct_8x8_inference : Type <= 3;
        }
        m.may_transform_8x8 = MayTransform8x8;
        m.transform_size_8x8 &= MayTransform8x8;
    }

    template <size_t kCount>
    uint8_t OneOf(const std::array<uint8_t, kCount>& Modes, size_t Count)
    {
        return Modes[static_cast<size_t>(m_Random.Upto(static_cast<int>(Count) - 1))];
    }

    // Of modes that ask for nothing, for what lies left, above, and for all with the corner.
    template <size_t kLeft, size_t kTop, size_t kAll>
    uint8_t Allowed(int x, int y, uint8_t Dc, const uint8_t (&Left)[kLeft], const uint8_t (&Top)[kTop],
                    const uint8_t (&All)[kAll])
    {
        std::array<uint8_t, 1 + kLeft + kTop + kAll> Modes{Dc};
        size_t Count = 1;
        const auto Add = [&](const uint8_t* pFirst, size_t n) {
            std::copy_n(pFirst, n, Modes.begin() + static_cast<ptrdiff_t>(Count));
            Count += n;
        };
        if (Has(x - 1, y)) Add(Left, kLeft);
        if (Has(x, y - 1)) Add(Top, kTop);
        if (Has(x - 1, y) && Has(x, y - 1) && Has(x - 1, y - 1)) Add(All, kAll);
        return OneOf(Modes, Count);
    }

    void ChooseIntraModes(test::Macroblock& m)
    {
        m.intra_chroma_pred_mode = Allowed(m_X, m_Y, CHROMA_DC, {CHROMA_HORIZONTAL}, {CHROMA_VERTICAL}, {CHROMA_PLANE});
        if (m.mb_type != 0) {
            const uint8_t Mode =
                Allowed(m_X, m_Y, INTRA16_DC, {INTRA16_HORIZONTAL}, {INTRA16_VERTICAL}, {INTRA16_PLANE});
            m.mb_type = (m.mb_type - 1) / 4 * 4 + 1 + Mode;
            return;
        }
        m.transform_size_8x8 = m_Pic.transform_8x8_mode && m_Random.Upto(1);
        const int Side = m.transform_size_8x8 ? 2 : 1;
        for (size_t i = 0; i < 16u / static_cast<size_t>(Side * Side); ++i) {
            const int Block = m.transform_size_8x8 ? static_cast<int>(i / 2 * 8 + i % 2 * 2) : h264::kBlockRaster[i];
            m.intra_mode[i] = ChooseMode(m_X + Block % 4, m_Y + Block / 4, Side);
        }
    }

    // @return the element, as the writer has it
    uint32_t ChooseMode(int x, int y, int Side)
    {
        const int Left = Mode(x - 1, y), Top = Mode(x, y - 1);
        const int Predicted = Left == kNone || Top == kNone ? h264::kIntraDcMode : std::min(Left, Top);
        const int Chosen =
            m_Random.Upto(2) ? Allowed(x, y, h264::kIntraDcMode, {1, 8}, {0, 3, 7}, {4, 5, 6}) : Predicted;
        for (int i = 0; i < Side * Side; ++i) {
            const int Column = x + i % Side, Row = y + i / Side;
            At(Column, Row) = static_cast<int8_t>(Chosen);
            m_Own[static_cast<size_t>((Row - m_Y) * 4 + Column - m_X)] = static_cast<uint8_t>(Chosen);
        }
        return static_cast<uint32_t>(Chosen == Predicted ? 0 : Chosen < Predicted ? Chosen + 1 : Chosen);
    }

    const test::SeqParamSet& m_Seq;
    const test::PicParamSet& m_Pic;
    test::Slice m_Slice;
    int m_Width; // blocks
    int m_X = 0, m_Y = 0;
    std::vector<int8_t> m_Modes; // of the slice, by 4x4 block of the picture
    std::array<uint8_t, 16> m_Own = AllDc();
    test::RandomMacroblocks m_Random;
};

// A stream under way. LevelType: of the encoder's core for the depth.
template <class LevelType>
class WrittenTwice
{
public:
    WrittenTwice(const test::SeqParamSet& Seq, const test::PicParamSet& Pic, uint32_t Seed)
        : m_Seq(Seq), m_Pic(Pic), m_CabacPic(Pic), m_Seed(Seed)
    {
        m_CabacPic.cabac = true;
        m_Cavlc = m_Cabac = test::Write(Seq);
        m_Cavlc += test::Write(Pic);
        m_Cabac += test::Write(m_CabacPic);
    }

    /// A picture in slices that begin at the macroblocks of Starts.
    void Add(test::Slice s, const test::MacroblockMix& Mix, const std::vector<uint32_t>& Starts)
    {
        const auto Mbs = test::PictureMbs(m_Seq, s);
        PictureRecords Records(Mbs);
        for (size_t i = 0; i < Starts.size(); ++i) {
            s.first_mb = Starts[i];
            s.qp_delta = static_cast<int32_t>(i);
            s.cabac_init_idc = m_Seed % 3;
            AddSlice(s, Mix, static_cast<int>(i + 1 < Starts.size() ? Starts[i + 1] : Mbs), Records);
        }
    }

    /// An MBAFF frame in slices of one pair of macroblocks each.
    void AddPairs(test::Slice s, const test::MacroblockMix& Mix)
    {
        const auto Mbs = test::PictureMbs(m_Seq, s);
        PictureRecords Records(Mbs);
        for (s.first_mb = 0; s.first_mb < Mbs / 2; ++s.first_mb) AddPair(s, Mix, Records);
    }

    /// Both streams hold the same pictures, and another decoder takes them without a word.
    /// @param pPixelFormat  null where the other decoder lacks the format
    void ExpectSamePictures(size_t Count, const char* pPixelFormat) const
    {
        const std::vector<test::Bytes> Plain = test::DecodeAll(m_Cavlc), Arithmetic = test::DecodeAll(m_Cabac);
        ASSERT_EQ(Plain.size(), Count);
        ASSERT_EQ(Arithmetic.size(), Count);
        for (size_t i = 0; i < Count; ++i) EXPECT_TRUE(Plain[i] == Arithmetic[i]) << "picture " << i;
        if (!ffmpeg_oracle::IsInstalled() || !pPixelFormat) return;
        ExpectAsFfmpeg(m_Cavlc, Plain, pPixelFormat);
        ExpectAsFfmpeg(m_Cabac, Plain, pPixelFormat);
    }

private:
    void ExpectAsFfmpeg(const test::Bytes& Stream, const std::vector<test::Bytes>& Pictures,
                        const char* pPixelFormat) const
    {
        const auto d = ffmpeg_oracle::Decode(Stream, pPixelFormat);
        EXPECT_EQ(d.Messages, "");
        test::Bytes All;
        for (const test::Bytes& p : Pictures) // a monochrome one comes with grey chroma
            All.insert(All.end(), p.begin(),
                       p.begin() + static_cast<ptrdiff_t>(m_Seq.chroma_format_idc ? p.size() : p.size() * 2 / 3));
        const auto First = std::mismatch(All.begin(), All.end(), d.Pictures.begin(), d.Pictures.end());
        EXPECT_TRUE(d.Pictures == All) << "first at byte " << First.first - All.begin() << " of " << All.size();
    }

    void AddSlice(const test::Slice& s, const test::MacroblockMix& Mix, int End, PictureRecords& Records)
    {
        ++m_Seed;
        test::MacroblockWriter Other(m_Seq, m_Pic, s);
        MacroblockSource Source(m_Seq, m_Pic, s, m_Seed);
        SyntaxSlice<LevelType> Own(m_Seq, m_Pic, s, Records, m_Seed);
        for (int Mb = static_cast<int>(s.first_mb); Mb < End; ++Mb) {
            const test::Macroblock m = Source.Next(Mb, Mix);
            Other.Put(m);
            Own.Put(m, Source.Modes(), static_cast<size_t>(Mb), Mb + 1 == End);
        }
        const test::Bytes Unit = Other.Finish();
        EXPECT_TRUE(Own.FinishCavlc() == Unit) << "slice " << m_Seed << " of type " << s.slice_type;
        m_Cavlc += Unit;
        m_Cabac += Own.FinishCabac();
    }

    void AddPair(const test::Slice& s, const test::MacroblockMix& Mix, PictureRecords& Records)
    {
        ++m_Seed;
        test::SeqParamSet OneWide = m_Seq; // what the modes of a frame macroblock look at is what lies above it
        OneWide.width_mbs = 1;
        OneWide.height_map_units *= m_Seq.width_mbs;
        MacroblockSource Source(OneWide, m_Pic, s, m_Seed);
        test::MacroblockWriter Other(m_Seq, m_Pic, s);
        SyntaxSlice<LevelType> Own(m_Seq, m_Pic, s, Records, m_Seed);
        // A pair of skipped macroblocks is inferred to be one of a frame.
        const bool IsSkipped = Mix.skip > 0 && m_Seed % 5 == 0, IsField = !IsSkipped && m_Seed % 2;
        test::MacroblockMix NotSkipped = Mix;
        NotSkipped.skip = 0;
        for (size_t i = 0; i < 2; ++i) {
            if (IsField) Source.Forget();
            const size_t Index = 2 * s.first_mb + i;
            test::Macroblock m =
                IsSkipped ? test::Macroblock{.skip = true} : Source.Next(static_cast<int>(Index), NotSkipped);
            m.field_decoding = IsField;
            Other.Put(m);
            Own.PutOfPair(m, Source.Modes(), Index);
        }
        const test::Bytes Unit = Other.Finish();
        EXPECT_TRUE(Own.FinishCavlc() == Unit) << "pair " << m_Seed << " of type " << s.slice_type;
        m_Cavlc += Unit;
        m_Cabac += Own.FinishCabac();
    }

    test::SeqParamSet m_Seq;
    test::PicParamSet m_Pic, m_CabacPic;
    uint32_t m_Seed;
    test::Bytes m_Cavlc, m_Cabac;
};

} // namespace encoder_testing
