// A stream under way whose pictures are of one grey value each, so that a picture's value tells which one it is.
#pragma once

#include "tests/decoder/random_stream.h"

#include <cstdint>
#include <vector>

namespace test {

inline const Bytes kDelimiter = NalUnit(0, 9, {0x10});

// Parameter sets first, then pictures by number.
struct GreyStream {
    SeqParamSet Seq;
    PicParamSet Pic;
    Bytes Data;

    explicit GreyStream(const SeqParamSet& s = {}, const PicParamSet& p = {})
        : Seq(s), Pic(p), Data(Write(s) + Write(p))
    {
    }
    GreyStream& Idr(uint8_t Value, Slice s = {})
    {
        s.nal_unit_type = 5;
        Data += PcmSlice(Seq, Pic, s, Value);
        return *this;
    }
    GreyStream& Intra(uint8_t Value, const Slice& s)
    {
        Data += PcmSlice(Seq, Pic, s, Value);
        return *this;
    }
    GreyStream& Copy(uint32_t RefIdx, const Slice& s) // shows the picture that RefIdx of list 0 means
    {
        Data += CopySlice(Seq, Pic, s, RefIdx);
        return *this;
    }
    std::vector<int> Values() const { return DecodeValues(Data); }
};

} // namespace test
