// Streams of field pictures and frames under way: of random macroblocks, and of one grey value a field.
#pragma once

#include "tests/decoder/random_stream.h"

#include <array>
#include <cstddef>

namespace test {

inline SeqParamSet Interlaced(SeqParamSet Seq)
{
    Seq.frame_mbs_only = false;
    return Seq;
}

// Types 5 P, 6 B, 7 I.
inline Slice Typed(uint32_t Type, uint32_t FrameNum, uint32_t PocLsb, uint32_t RefIdc = 1)
{
    Slice s = Numbered(FrameNum, PocLsb, RefIdc);
    s.slice_type = Type;
    return s;
}

// Order counts are those of fields: poc_lsb is that of the first field, or of the frame's top field, and the other
// field's is one more.
struct FieldStream : RandomStream {
    FieldStream(const SeqParamSet& s, PicParamSet p, uint32_t Seed) : RandomStream(Interlaced(s), Counting(p), Seed) {}

    // One field or frame of the slice's type, which no picture is counted for.
    FieldStream& Add(const Slice& s, const MacroblockMix& Mix = {})
    {
        Data += s.slice_type % 5 == 2 ? Random.Intra(Seq, Pic, s)
                                      : Random.Inter(Seq, Pic, s, static_cast<int>(PictureMbs(Seq, s)), Mix);
        return *this;
    }
    FieldStream& Frame(Slice s, const MacroblockMix& Mix = {})
    {
        s.delta_poc_bottom = 1;
        ++Pictures;
        return Add(s, Mix);
    }
    // Both fields of a frame, s being the first one, of the same type or the second of another.
    FieldStream& Pair(Slice s, const MacroblockMix& Mix = {}, uint32_t SecondType = 0)
    {
        s.field = true;
        Add(s, Mix);
        s.bottom = !s.bottom;
        ++s.poc_lsb;
        s.nal_unit_type = 1; // no field but the first is one of an IDR picture
        s.marking.clear();
        if (SecondType != 0) s.slice_type = SecondType;
        ++Pictures;
        return Add(s, Mix);
    }
    // Intra pairs, so that Count frames can be referred to; frame_num and poc_lsb go on behind them.
    FieldStream& StartPairs(uint32_t Count)
    {
        for (uint32_t i = 0; i < Count; ++i) {
            Slice s = Numbered(i, 2 * i);
            if (i == 0) s.nal_unit_type = 5;
            Pair(s);
        }
        return *this;
    }

private:
    static PicParamSet Counting(PicParamSet Pic)
    {
        Pic.pic_order_present = true;
        return Pic;
    }
};

// Frames of one macroblock a field, whose fields are of one value each.
struct GreyFields {
    SeqParamSet Seq;
    PicParamSet Pic;
    Bytes Data;

    explicit GreyFields(SeqParamSet s = {.profile_idc = 77}, const PicParamSet& p = {}) : Seq(Interlaced(s)), Pic(p)
    {
        Data = Write(Seq) + Write(Pic);
    }
    GreyFields& Field(uint8_t Value, bool IsBottom, Slice s = {})
    {
        s.field = true;
        s.bottom = IsBottom;
        return Frame(Value, s);
    }
    GreyFields& Frame(uint8_t Value, const Slice& s)
    {
        Data += PcmSlice(Seq, Pic, s, Value, static_cast<int>(PictureMbs(Seq, s)));
        return *this;
    }
    // Shows the picture that RefIdx of list 0 means.
    GreyFields& CopyField(uint32_t RefIdx, bool IsBottom, Slice s)
    {
        s.field = true;
        s.bottom = IsBottom;
        return CopyFrame(RefIdx, s);
    }
    GreyFields& CopyFrame(uint32_t RefIdx, const Slice& s)
    {
        Data += CopySlice(Seq, Pic, s, RefIdx, static_cast<int>(PictureMbs(Seq, s)));
        return *this;
    }
    // The values of the top and the bottom field of every picture; -1 for one that is not of one value throughout.
    std::vector<std::array<int, 2>> Values() const { return ValuesOf(DecodeAll(Data)); }
    static std::vector<std::array<int, 2>> ValuesOf(const std::vector<Bytes>& Pictures)
    {
        std::vector<std::array<int, 2>> Values;
        for (const Bytes& Samples : Pictures) {
            std::array<int, 2>& v = Values.emplace_back(std::array<int, 2>{Samples[0], Samples[16]});
            for (size_t i = 0; i < Samples.size(); ++i) {
                const size_t Line = i < 512 ? i / 16 : (i - 512) / 8;
                if (Samples[i] != v[Line % 2]) v[Line % 2] = -1;
            }
        }
        return Values;
    }
};

} // namespace test
