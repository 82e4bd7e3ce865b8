// The edge filter for samples of either type in every chroma format: macroblocks at random against clause 8.7,
// sample by sample.
#include "decoder/macroblock/deblocking.h"
#include "tests/decoder/picture_fixture.h"
#include "tests/decoder/sample_planes.h"
#include "tests/support/deblocking_reference.h"

#include <algorithm>
#include <set>

namespace UMC {
namespace {

class DeblockingOfFormats : public PictureFixture
{
protected:
    void SetDepths(int Luma, int Chroma)
    {
        m_Sequence.bit_depth_luma = static_cast<uint8_t>(Luma);
        m_Sequence.bit_depth_chroma = static_cast<uint8_t>(Chroma);
    }

    int Upto(int Limit) { return static_cast<int>(m_Random() >> 4) % (Limit + 1); }
    int Within(int Limit) { return Upto(2 * Limit) - Limit; }

    // ---- What the macroblocks are, the same for every format -----------------------------------------------

    // One motion for Width x Height 4x4 blocks of a macroblock from First on. Pictures and vectors are few: blocks side
    // by side are equal, near and far apart by turns.
    void SetPart(int Mb, int First, int Width, int Height)
    {
        const int Lists = m_Slice.m_Header.slice_type == SLICE_B ? 1 + Upto(2) : 1;
        for (int List = 0; List < 2; ++List) {
            const int RefIdx = Lists >> List & 1 ? Upto(1) : h264::kRefNone;
            const h264::MotionVector Mv{static_cast<int16_t>(RefIdx < 0 ? 0 : Upto(2) * 2),
                                        static_cast<int16_t>(RefIdx < 0 ? 0 : Upto(2) * 2)};
            for (int y = 0; y < Height; ++y)
                for (int x = 0; x < Width; ++x) SetBlock(Mb, First + y * 4 + x, RefIdx, Mv, List);
        }
    }
    // Quarters are the 8x8 transform's at least.
    void SetInter(int Mb, MbGlobalInfo& Global, bool Transform8x8)
    {
        Global.MbType = MBTYPE_INTER8x8;
        switch (Upto(2)) {
        case 0:
            Global.MbType = MBTYPE_INTER16x16;
            Global.MbFlags = MBFLAG_ONE_MOTION;
            return SetPart(Mb, 0, 4, 4);
        case 1: Global.MbType = MBTYPE_INTER16x8; return SetPart(Mb, 0, 4, 2), SetPart(Mb, 8, 4, 2);
        default: break;
        }
        for (int q = 0; q < 4; ++q) {
            const int First = (q & 1) * 2 + (q & 2) * 4, Size = Transform8x8 || Upto(1) ? 2 : 1;
            Global.SubBlockType[q] = Size == 2 ? SHAPE_WHOLE : SHAPE_QUARTERS;
            for (int y = 0; y < 2; y += Size)
                for (int x = 0; x < 2; x += Size) SetPart(Mb, First + y * 4 + x, Size, Size);
        }
    }
    void SetMacroblock(int Mb)
    {
        MbGlobalInfo& Global = m_Global[static_cast<size_t>(Mb)];
        MbLocalInfo& Local = m_LocalInfo[static_cast<size_t>(Mb)];
        const bool Transform8x8 = Upto(1);
        Global = {};
        if (Upto(3) == 0)
            SetIntra(Mb);
        else
            SetInter(Mb, Global, Transform8x8);
        if (Transform8x8) Global.MbFlags |= MBFLAG_TRANSFORM8x8;
        Local.CodedBlockBits = 0;
        for (int i = 0, Share = Upto(1); i < 16; ++i)
            if (Share && Upto(3) == 0) Local.CodedBlockBits |= Transform8x8 ? 0x33u << (i & 10) : 1u << i;
        const int Lowest = -6 * (m_Sequence.bit_depth_luma - 8);
        Local.Qp = static_cast<int8_t>(Upto(2) == 0 ? Lowest + Upto(51 - Lowest) : 25 + Upto(26));
    }
    void SetSlice(uint32_t Seed)
    {
        m_Random.seed(Seed);
        SliceHeaderFields& Header = m_Slice.m_Header;
        Header.slice_type = Seed & 1 ? SLICE_P : SLICE_B;
        Header.slice_alpha_c0_offset = Within(6) * 2;
        Header.slice_beta_offset = Within(6) * 2;
        m_pPicture->chroma_qp_index_offset[0] = Within(12);
        m_pPicture->chroma_qp_index_offset[1] = Upto(1) ? m_pPicture->chroma_qp_index_offset[0] : Within(12);
        for (int Mb = 0; Mb < kMbs; ++Mb) SetMacroblock(Mb);
    }
    // Blocks of 4x4 a little apart from each other, of the same values for any sample type.
    template <class Sample>
    void Fill(SamplePlanes<Sample>& p)
    {
        for (int i = 0; i < 3; ++i) {
            const int Depth = i == 0 ? m_Sequence.bit_depth_luma : m_Sequence.bit_depth_chroma,
                      Scale = 1 << (Depth - 8);
            std::vector<int> Level(static_cast<size_t>(p.Width[i] * p.Height[i] / 16));
            const int Base = Upto(255);
            for (int& v : Level) v = (Base + Within(10)) * Scale;
            for (int y = 0; y < p.Height[i]; ++y)
                for (int x = 0; x < p.Width[i]; ++x)
                    p.Plane[i][static_cast<size_t>(y * p.Width[i] + x)] = static_cast<Sample>(
                        std::clamp(Level[static_cast<size_t>(y / 4 * (p.Width[i] / 4) + x / 4)] + Within(3 * Scale), 0,
                                   (1 << Depth) - 1));
        }
    }

    template <class Sample, int color_format>
    SamplePlanes<Sample> Unfiltered(uint32_t Seed)
    {
        SetSlice(Seed);
        SamplePlanes<Sample> p{color_format, kWidth, kHeight};
        Fill(p);
        return p;
    }
    template <class Sample, int color_format>
    SamplePlanes<Sample> Filtered(uint32_t Seed)
    {
        auto p = Unfiltered<Sample, color_format>(Seed);
        PictureView View = m_pCursor->Slice.Picture;
        p.ShowIn(View);
        const H264Deblocker<Sample, color_format> Deblocker(View, m_Slice);
        for (int Mb = 0; Mb < kMbs; ++Mb) Deblocker.Filter(Mb % kWidth, Mb / kWidth);
        return p;
    }

    // ---- And by the standard -------------------------------------------------------------------------------

    // A sample of luma by its place in the picture: its macroblock and its 4x4 block in the frame's arrays.
    static size_t MbAt(int x, int y) { return static_cast<size_t>(y / 16 * kWidth + x / 16); }
    static size_t BlockAt(int x, int y) { return MbAt(x, y) * 16 + static_cast<size_t>(y % 16 / 4 * 4 + x % 16 / 4); }

    static bool AreFar(h264::MotionVector a, h264::MotionVector b)
    {
        return std::abs(a.x - b.x) >= 4 || std::abs(a.y - b.y) >= 4;
    }
    bool MotionDiffers(size_t p, size_t q) const
    {
        std::vector<h264::MotionVector> Mv[2];
        std::vector<const H264DecoderFrame*> Picture[2];
        for (int Side = 0; Side < 2; ++Side)
            for (int List = 0; List < 2; ++List) {
                const size_t Block = Side == 0 ? p : q;
                const int RefIdx = m_Ref[List][Block];
                if (RefIdx < 0) continue;
                Mv[Side].push_back(m_Mv[List][Block]);
                Picture[Side].push_back(m_Lists.List[List].Frame[RefIdx]);
            }
        using Set = std::multiset<const H264DecoderFrame*>;
        if (Set(Picture[0].begin(), Picture[0].end()) != Set(Picture[1].begin(), Picture[1].end())) return true;
        if (Mv[0].size() == 1) return AreFar(Mv[0][0], Mv[1][0]);
        const bool Straight = AreFar(Mv[0][0], Mv[1][0]) || AreFar(Mv[0][1], Mv[1][1]);
        const bool Crossed = AreFar(Mv[0][0], Mv[1][1]) || AreFar(Mv[0][1], Mv[1][0]);
        if (Picture[0][0] == Picture[0][1]) return Straight && Crossed;
        return Picture[0][0] == Picture[1][0] ? Straight : Crossed;
    }
    // Clause 8.7.2.1 in a frame, between the luma samples at (px, py) and (qx, qy).
    int Strength(int px, int py, int qx, int qy) const
    {
        const size_t MbP = MbAt(px, py), MbQ = MbAt(qx, qy), p = BlockAt(px, py), q = BlockAt(qx, qy);
        if (IsIntra(m_Global[MbP]) || IsIntra(m_Global[MbQ])) return MbP == MbQ ? 3 : 4;
        if (m_LocalInfo[MbP].CodedBlockBits >> (p % 16) & 1 || m_LocalInfo[MbQ].CodedBlockBits >> (q % 16) & 1)
            return 2;
        return MotionDiffers(p, q);
    }
    // qPp or qPq of plane i: QPY, or the QPC that belongs to it (clause 8.7.2.2).
    int QpOf(size_t Mb, int i) const
    {
        const int Qp = m_LocalInfo[Mb].Qp;
        if (i == 0) return Qp;
        const int Index =
            std::clamp(Qp + m_pPicture->chroma_qp_index_offset[i - 1], -6 * (m_Sequence.bit_depth_chroma - 8), 51);
        return Index < 0 ? Index : h264::kChromaQp[Index];
    }
    // The line of samples across the edge before sample q0 at (x, y) of plane i.
    template <class Sample>
    void FilterLine(SamplePlanes<Sample>& p, int i, int x, int y, bool IsVertical) const
    {
        const int ScaleX = p.Width[0] / p.Width[i], ScaleY = p.Height[0] / p.Height[i]; // SubWidthC, SubHeightC
        const int qx = x * ScaleX, qy = y * ScaleY, px = qx - IsVertical, py = qy - !IsVertical;
        const SliceHeaderFields& Header = m_Slice.m_Header;
        const int qPav = (QpOf(MbAt(px, py), i) + QpOf(MbAt(qx, qy), i) + 1) >> 1;
        const int indexA = std::clamp(qPav + Header.slice_alpha_c0_offset, 0, 51);
        const int indexB = std::clamp(qPav + Header.slice_beta_offset, 0, 51);
        const int bS = Strength(px, py, qx, qy);
        const test::EdgeThresholds t{h264::kAlpha[indexA], h264::kBeta[indexB], bS < 4 ? h264::kTc0[indexA][bS] : 0};
        test::FilterLine(&p.Plane[i][static_cast<size_t>(y * p.Width[i] + x)], IsVertical ? 1 : p.Width[i], bS, t,
                         i != 0 && ScaleX > 1, i == 0 ? m_Sequence.bit_depth_luma : m_Sequence.bit_depth_chroma);
    }
    // All edges of one direction of a macroblock in plane i, Width x Height samples. Chroma has 4x4 blocks always,
    // but that of 4:4:4 has edges where luma has them.
    template <class Sample>
    void FilterEdges(SamplePlanes<Sample>& p, int i, int Mb, int Width, int Height, bool IsVertical) const
    {
        const int X = Mb % kWidth * Width, Y = Mb / kWidth * Height;
        const bool IsLikeLuma = p.Width[i] == p.Width[0];
        const bool Has8x8Blocks = IsLikeLuma && m_Global[static_cast<size_t>(Mb)].MbFlags & MBFLAG_TRANSFORM8x8;
        for (int Edge = 0; Edge < (IsVertical ? Width : Height); Edge += Has8x8Blocks ? 8 : 4)
            for (int Line = 0; Line < (IsVertical ? Height : Width); ++Line) {
                const int x = X + (IsVertical ? Edge : Line), y = Y + (IsVertical ? Line : Edge);
                if ((IsVertical ? x : y) > 0) FilterLine(p, i, x, y, IsVertical);
            }
    }
    template <class Sample, int color_format>
    SamplePlanes<Sample> Expected(uint32_t Seed)
    {
        auto p = Unfiltered<Sample, color_format>(Seed);
        for (int Mb = 0; Mb < kMbs; ++Mb)
            for (int i = 0; i < (color_format == 0 ? 1 : 3); ++i)
                for (const bool IsVertical : {true, false})
                    FilterEdges(p, i, Mb, p.Width[i] / kWidth, p.Height[i] / kHeight, IsVertical);
        return p;
    }

    template <class Sample, int color_format>
    void ExpectAsTheStandardHasIt(int LumaDepth, int ChromaDepth)
    {
        SetDepths(LumaDepth, ChromaDepth);
        bool IsChanged[3] = {};
        for (uint32_t Seed = 1; Seed <= 40; ++Seed) {
            const auto Before = Unfiltered<Sample, color_format>(Seed);
            const auto Want = Expected<Sample, color_format>(Seed), Got = Filtered<Sample, color_format>(Seed);
            for (int i = 0; i < 3; ++i) {
                IsChanged[i] |= !HaveEqualSamples(Before, Want, i);
                for (size_t n = 0; n < Want.Plane[i].size(); ++n)
                    ASSERT_EQ(Got.Plane[i][n], Want.Plane[i][n])
                        << "format " << color_format << ", " << LumaDepth << " and " << ChromaDepth << " bits, seed "
                        << Seed << ", plane " << i << ": " << n % static_cast<size_t>(Want.Width[i]) << ", "
                        << n / static_cast<size_t>(Want.Width[i]);
            }
        }
        for (int i = 0; i < (color_format == 0 ? 1 : 3); ++i) EXPECT_TRUE(IsChanged[i]) << "plane " << i;
    }

    std::minstd_rand m_Random;
};

TEST_F(DeblockingOfFormats, OfEightBitsIsAsTheStandardHasIt)
{
    ExpectAsTheStandardHasIt<uint8_t, 0>(8, 8);
    ExpectAsTheStandardHasIt<uint8_t, 1>(8, 8);
    ExpectAsTheStandardHasIt<uint8_t, 2>(8, 8);
    ExpectAsTheStandardHasIt<uint8_t, 3>(8, 8);
}

// Depths that differ between luma and chroma too. QPY lies below 0 now and then.
TEST_F(DeblockingOfFormats, OfDeepSamplesIsAsTheStandardHasIt)
{
    for (const auto& [LumaDepth, ChromaDepth] : {std::pair{10, 10}, {14, 14}, {8, 9}, {12, 8}}) {
        ExpectAsTheStandardHasIt<uint16_t, 0>(LumaDepth, ChromaDepth);
        ExpectAsTheStandardHasIt<uint16_t, 1>(LumaDepth, ChromaDepth);
        ExpectAsTheStandardHasIt<uint16_t, 2>(LumaDepth, ChromaDepth);
        ExpectAsTheStandardHasIt<uint16_t, 3>(LumaDepth, ChromaDepth);
    }
}

TEST_F(DeblockingOfFormats, IsTheSameForBothSampleTypes)
{
    SetDepths(8, 8);
    const auto Check = [&]<int color_format>(std::integral_constant<int, color_format>) {
        for (uint32_t Seed = 1; Seed <= 40; ++Seed) {
            const auto Narrow = Filtered<uint8_t, color_format>(Seed);
            const auto Deep = Filtered<uint16_t, color_format>(Seed);
            for (int i = 0; i < 3; ++i)
                ASSERT_TRUE(HaveEqualSamples(Narrow, Deep, i)) << "format " << color_format << ", plane " << i;
        }
    };
    Check(std::integral_constant<int, 0>{});
    Check(std::integral_constant<int, 1>{});
    Check(std::integral_constant<int, 2>{});
    Check(std::integral_constant<int, 3>{});
}

} // namespace
} // namespace UMC
