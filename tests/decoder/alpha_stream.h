// Streams of primary pictures and auxiliary ones (alpha) beside them.
#pragma once

#include "tests/decoder/random_fields.h"

namespace test {

inline Bytes AsAuxiliary(Bytes Unit)
{
    Unit[4] = static_cast<uint8_t>((Unit[4] & 0xE0) | 19);
    return Unit;
}

// Pictures as three streams: the primary ones, the auxiliary ones and both.
struct AlphaStream {
    SeqParamSet Seq{.profile_idc = 100, .num_ref_frames = 4, .width_mbs = 4, .height_map_units = 4};
    SeqParamSet AlphaSeq;
    PicParamSet Pic{.num_ref_idx = {2, 1}};
    RandomMacroblocks Random{5}, AlphaRandom{6};
    Bytes Primary, Alpha, Both;

    explicit AlphaStream(uint32_t Depth = 8, bool IsInterlaced = false)
    {
        if (IsInterlaced) Seq = Interlaced(Seq);
        if (IsInterlaced) Seq.height_map_units = 2;
        AlphaSeq = Seq;
        AlphaSeq.profile_idc = Depth > 8 ? 110 : 100;
        AlphaSeq.chroma_format_idc = 0;
        AlphaSeq.bit_depth = Depth;
        AlphaSeq.bit_depth_chroma = 8;
        Primary = Write(Seq) + Write(Pic);
        Alpha = Write(AlphaSeq) + Write(Pic);
        Both = Primary + Write(SeqParamSetExtension{.bit_depth_aux = Depth});
    }
    Bytes Picture(RandomMacroblocks& From, const SeqParamSet& Set, const Slice& s) const
    {
        return s.slice_type % 5 == 2 ? From.Intra(Set, Pic, s)
                                     : From.Inter(Set, Pic, s, static_cast<int>(PictureMbs(Set, s)));
    }
    void Add(Slice s)
    {
        s.disable_deblocking = 0;
        if (s.slice_type == 7) s.nal_unit_type = s.frame_num == 0 && !s.bottom ? 5 : 1;
        const Bytes Unit = Picture(Random, Seq, s), AlphaUnit = Picture(AlphaRandom, AlphaSeq, s);
        Primary += Unit;
        Alpha += AlphaUnit;
        Both += Unit + AsAuxiliary(AlphaUnit);
    }
    void AddFrames()
    {
        Add(Typed(7, 0, 0));
        Add(Typed(7, 1, 4));
        Add(Typed(5, 2, 8));
        Add(Typed(6, 3, 6));
    }
    void AddPair(Slice s)
    {
        s.field = true;
        Add(s);
        s.bottom = true;
        ++s.poc_lsb;
        Add(s);
    }
    void AddFields()
    {
        for (uint32_t i = 0; i < 4; ++i) AddPair(Typed(i < 2 ? 7 : 5, i, 4 * i));
    }
};

} // namespace test
