// Streams of one slice group made into such of several whose macroblocks are the same.
#pragma once

#include "decoder/stream/headers_store.h"
#include "tests/decoder/parsed_unit.h"
#include "tests/support/h264_stream_writer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

namespace test {

// A unit's payload as bits, one a byte, and back.
inline Bytes PayloadBits(const Bytes& Unit)
{
    Bytes Bits;
    int Zeros = 0;
    for (size_t i = 1; i < Unit.size(); ++i) {
        if (Zeros >= 2 && Unit[i] == 3) {
            Zeros = 0;
            continue;
        }
        Zeros = Unit[i] == 0 ? Zeros + 1 : 0;
        for (int Bit = 7; Bit >= 0; --Bit) Bits.push_back(static_cast<uint8_t>(Unit[i] >> Bit & 1));
    }
    return Bits;
}
inline Bytes UnitOf(uint8_t FirstByte, const Bytes& Bits)
{
    BitWriter Writer;
    for (const uint8_t Bit : Bits) Writer.U(1, Bit);
    Writer.Align();
    return NalUnit(FirstByte >> 5 & 3u, FirstByte & 31u, Writer.Data());
}

// The parameter sets and slice headers of a stream, for someone who replaces elements of them.
class HeaderReader
{
public:
    static constexpr bool IsSlice(uint8_t FirstByte) { return (FirstByte & 31) == 1 || (FirstByte & 31) == 5; }

    void TakeSequenceSet(const Bytes& Unit)
    {
        UMC::H264SeqParamSet Set{};
        test::Unit Reader(Bytes{0, 0, 1} + Unit);
        ASSERT_EQ(UMC::ReadSeqParamSet(Reader.Bits, Set), UMC::StatusOk);
        m_Headers.m_SeqParamSets.Add(Set, true);
    }
    void TakePictureSet(const Bytes& Unit)
    {
        const auto pSet = std::make_unique<UMC::H264PicParamSet>();
        test::Unit Reader(Bytes{0, 0, 1} + Unit);
        ASSERT_EQ(UMC::ReadPicParamSet(Reader.Bits, m_Headers, *pSet), UMC::StatusOk);
        m_Headers.m_PicParamSets.Add(*pSet, true);
    }
    const UMC::H264SeqParamSet& SequenceSet() const { return *m_Headers.m_SeqParamSets.Get(0); }
    const UMC::H264PicParamSet& PictureSet() const { return *m_Headers.m_PicParamSets.Get(0); }
    // The header, and how many bits it takes.
    size_t Read(const Bytes& Unit, UMC::SliceHeaderFields& Header) const
    {
        test::Unit Reader(Bytes{0, 0, 1} + Unit);
        const auto Start = Reader.Bits.BitsDecoded();
        Header = {};
        Header.nal_unit_type = Unit[0] & 31;
        Header.nal_ref_idc = Unit[0] >> 5 & 3u;
        UMC::SliceHeaderTables Tables;
        EXPECT_TRUE(UMC::ReadSliceStart(Reader.Bits, Header) &&
                    UMC::ReadSliceRest(Reader.Bits, SequenceSet(), PictureSet(), Header, Tables));
        return Reader.Bits.BitsDecoded() - Start;
    }
    // What stands behind the header, with what CABAC puts in between.
    void AppendData(Bytes& Bits, const Bytes& Old, size_t HeaderBits) const
    {
        if (PictureSet().entropy_coding_mode_flag) {
            while (Bits.size() % 8 != 0) Bits.push_back(1); // cabac_alignment_one_bit
            HeaderBits = (HeaderBits + 7) / 8 * 8;
        }
        Bits.insert(Bits.end(), Old.begin() + static_cast<ptrdiff_t>(HeaderBits), Old.end());
    }

private:
    UMC::Headers m_Headers;
};

// Puts groups into the picture parameter sets of a stream with parameter sets of number 0, each of whose slices lies in
// one group. The slices of a picture, of which no other begins at macroblock 0, are put into an arbitrary order.
class Regrouper
{
public:
    Regrouper(SliceGroups Groups, uint32_t ChangeCycle, uint32_t Seed)
        : m_Groups(std::move(Groups)), m_ChangeCycle(ChangeCycle), m_Random(Seed)
    {
    }
    Bytes Regroup(const Bytes& Stream)
    {
        for (const Bytes& Unit : SplitUnits(Stream)) Take(Unit);
        EndPicture();
        return std::move(m_Out);
    }

private:
    void Take(const Bytes& Unit)
    {
        UMC::SliceHeaderFields Header;
        if (HeaderReader::IsSlice(Unit[0])) {
            const size_t HeaderBits = m_Reader.Read(Unit, Header);
            if (Header.first_mb_in_slice == 0) EndPicture();
            m_Slices.push_back(WithChange(Unit, HeaderBits));
            return;
        }
        EndPicture();
        if ((Unit[0] & 31) == 7) m_Reader.TakeSequenceSet(Unit);
        if ((Unit[0] & 31) != 8) {
            m_Out += Bytes{0, 0, 1} + Unit;
            return;
        }
        m_Reader.TakePictureSet(Unit);
        const Bytes Old = PayloadBits(Unit);
        BitWriter Groups;
        for (int i = 0; i < 4; ++i) Groups.U(1, Old[static_cast<size_t>(i)]);
        WriteSliceGroups(Groups, m_Groups);
        Bytes Bits = Groups.Bits();
        Bits.insert(Bits.end(), Old.begin() + 5, Old.end()); // num_slice_groups_minus1 was one bit
        m_Out += UnitOf(Unit[0], Bits);
    }
    Bytes WithChange(const Bytes& Unit, size_t HeaderBits) const
    {
        const Bytes Old = PayloadBits(Unit);
        SeqParamSet Size;
        Size.width_mbs = m_Reader.SequenceSet().frame_width_in_mbs;
        Size.height_map_units =
            m_Reader.SequenceSet().frame_height_in_mbs >> (m_Reader.SequenceSet().frame_mbs_only_flag ? 0 : 1);
        BitWriter Change;
        WriteSliceGroupChange(Change, Size, m_Groups, m_ChangeCycle);
        Bytes Bits(Old.begin(), Old.begin() + static_cast<ptrdiff_t>(HeaderBits));
        Bits += Change.Bits();
        m_Reader.AppendData(Bits, Old, HeaderBits);
        return UnitOf(Unit[0], Bits);
    }
    void EndPicture()
    {
        std::shuffle(m_Slices.begin(), m_Slices.end(), m_Random);
        for (const Bytes& Slice : m_Slices) m_Out += Slice;
        m_Slices.clear();
    }

    SliceGroups m_Groups;
    uint32_t m_ChangeCycle;
    std::mt19937 m_Random;
    HeaderReader m_Reader;
    std::vector<Bytes> m_Slices;
    Bytes m_Out;
};

} // namespace test
