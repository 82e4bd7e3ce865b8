#include "tests/support/random_macroblocks.h"

#include <algorithm>

namespace test {

namespace {

constexpr uint32_t kPcm = 25;
constexpr int kMinQp = 14, kMaxQp = 36; // nothing that the levels below make too large for 16 bits

} // namespace

Bytes RandomMacroblocks::Intra(const SeqParamSet& Seq, const PicParamSet& Pic, const Slice& s)
{
    MacroblockWriter Writer(Seq, Pic, [&] {
        Slice i = s;
        i.slice_type = 7;
        return i;
    }());
    const int Start = Upto(160), Right = Within(3), Down = Within(3), Noise = 1 + Upto(40);
    const auto Width = static_cast<int>(Seq.width_mbs), Mbs = static_cast<int>(PictureMbs(Seq, s));
    for (int Mb = 0; Mb < Mbs; ++Mb) {
        Macroblock m{.mb_type = kPcm};
        for (int i = 0; i < 384; ++i) {
            const int Side = i < 256 ? 16 : 8, Row = i < 256 ? i / 16 : (i - 256) % 64 / 8;
            const int X = Mb % Width * Side + i % Side, Y = Mb / Width * Side + Row;
            m.pcm[static_cast<size_t>(i)] =
                static_cast<uint8_t>(std::clamp(Start + Right * X + Down * Y + Upto(Noise), 1, 254));
        }
        if (Seq.chroma_format_idc == h264::CHROMA_444)
            for (uint8_t& Sample : m.pcm_chroma_444)
                Sample = static_cast<uint8_t>(std::clamp(Start + Upto(Noise), 1, 254));
        Writer.Put(m);
    }
    return Writer.Finish();
}

Bytes RandomMacroblocks::Inter(const SeqParamSet& Seq, const PicParamSet& Pic, const Slice& s, int Count,
                               const MacroblockMix& Mix)
{
    m_Qp = Pic.pic_init_qp + s.qp_delta;
    MacroblockWriter Writer(Seq, Pic, s);
    for (int i = 0; i < Count; ++i) Writer.Put(Any(Seq, Pic, s, Mix));
    return Writer.Finish();
}

Macroblock RandomMacroblocks::Any(const SeqParamSet& Seq, const PicParamSet& Pic, const Slice& s,
                                  const MacroblockMix& Mix)
{
    const bool IsB = s.slice_type % 5 == 1;
    Macroblock Mb;
    const int Draw = Upto(Mix.skip + Mix.direct + Mix.inter + Mix.intra - 1);
    if (Draw < Mix.skip) {
        Mb.skip = true;
        return Mb;
    }
    if (Draw >= Mix.skip + Mix.direct + Mix.inter) {
        Mb.intra = true;
        const bool HasChroma = Seq.chroma_format_idc != 0;
        Mb.mb_type = Upto(1) ? 0 // Intra_4x4, or Intra_16x16 by DC
                             : static_cast<uint32_t>(3 + (HasChroma ? 4 * Upto(5) : 12 * Upto(1)));
    } else if (IsB && Draw < Mix.skip + Mix.direct) {
        Mb.mb_type = 0;
    } else {
        AddMotion(Mb, Pic, s, Mix);
    }
    if (Mix.residual)
        AddResidual(Mb, Seq, Pic, IsB);
    else if (Mb.intra)
        Mb.mb_type = 3;
    return Mb;
}

void RandomMacroblocks::AddMotion(Macroblock& Mb, const PicParamSet& Pic, const Slice& s, const MacroblockMix& Mix)
{
    const bool IsB = s.slice_type % 5 == 1;
    Mb.mb_type = static_cast<uint32_t>(IsB ? (Upto(3) ? 1 + Upto(20) : 22) : Upto(4));
    for (uint32_t& Type : Mb.sub_mb_type) Type = static_cast<uint32_t>(Upto(IsB ? 12 : 3));
    for (int List = 0; List <= IsB; ++List)
        for (int Part = 0; Part < 4; ++Part) {
            Mb.ref_idx[List][Part] = static_cast<uint32_t>(Upto(static_cast<int>(ActiveRefs(Pic, s, List)) - 1));
            for (auto& Mvd : Mb.mvd[List][Part])
                for (int32_t& Component : Mvd) Component = Upto(3) ? Within(Mix.max_mvd) : 0;
        }
}

void RandomMacroblocks::AddResidual(Macroblock& Mb, const SeqParamSet& Seq, const PicParamSet& Pic, bool IsB)
{
    const auto ChromaBlocks = static_cast<size_t>(h264::kChromaGeometry[Seq.chroma_format_idc].Blocks);
    Mb.coded_block_pattern = Upto(2) ? static_cast<uint32_t>(Upto(ChromaBlocks ? 47 : 15)) : 0;
    const bool Is16x16 = Mb.intra && Mb.mb_type != 0;
    if (Mb.coded_block_pattern == 0 && !Is16x16) return;
    bool HasSmallParts = false; // clause 7.3.5: those for which no transform size is sent
    if (!Mb.intra && IsB && Mb.mb_type == 0) HasSmallParts = !Seq.direct_8x8_inference;
    if (!Mb.intra && Mb.mb_type == (IsB ? 22u : 3u))
        for (const uint32_t Type : Mb.sub_mb_type)
            HasSmallParts |= IsB ? Type > 3 || (Type == 0 && !Seq.direct_8x8_inference) : Type != 0;
    if (!Mb.intra && !IsB && Mb.mb_type == 4)
        for (const uint32_t Type : Mb.sub_mb_type) HasSmallParts |= Type != 0;
    Mb.may_transform_8x8 = Pic.transform_8x8_mode && !HasSmallParts && !Is16x16;
    Mb.transform_size_8x8 = Mb.may_transform_8x8 && Upto(1);
    const int Qp = std::clamp(m_Qp + Within(4), kMinQp, kMaxQp);
    Mb.mb_qp_delta = Qp - m_Qp;
    m_Qp = Qp;
    AddLevels(Mb.luma_dc, 0, 16);
    for (auto& Block : Mb.luma) AddLevels(Block, Is16x16, 16);
    for (int Plane = 0; Plane < 2; ++Plane) {
        if (ChromaBlocks) AddLevels(Mb.chroma_dc[Plane], 0, static_cast<int>(ChromaBlocks));
        for (size_t i = 0; i < ChromaBlocks; ++i) AddLevels(Mb.chroma_ac[Plane][i], 0, 15);
    }
}

void RandomMacroblocks::AddLevels(std::array<int, 16>& Block, int First, int End)
{
    for (int Left = Upto(1) ? Upto(5) : Upto(1) * 16; Left > 0; --Left)
        Block[static_cast<size_t>(First + Upto(End - First - 1))] = Upto(15) ? Within(2) : Within(12);
}

} // namespace test
