// What the stream has said so far outside of its pictures: parameter sets and SEI messages, and the slices read by
// them.
#pragma once

#include "decoder/slice/slice.h"
#include "decoder/stream/header_parsers.h"
#include "decoder/stream/headers_store.h"

#include <cstdint>

namespace UMC {

// Owns the sets, knows which of them are current, and writes neither frames nor pictures.
class StreamHeaders
{
public:
    // Immediately: no picture is in flight that uses an older version.
    Status ReadParameterSet(uint32_t nal_unit_type, H264Bitstream& Bits, bool Immediately);
    void ReadSei(H264Bitstream& Bits); // the first fault ends the unit silently
    // Reads a slice's header from a unit and gives the slice its sets. False rejects it: damaged, without its sets, or
    // not yet one that decoding may start with.
    bool ReadSlice(H264Slice& Slice, const H264HeapPiece& Piece, double Time);

    // The same with a slice of the auxiliary picture that goes with the picture of Primary. It is of luma alone, in the
    // depth that the sequence parameter set extension states; false where that says that there is none.
    bool ReadAuxiliarySlice(H264Slice& Slice, const H264HeapPiece& Piece, const H264Slice& Primary);

    // Those of the last set that came or slice that was read; null before there are any.
    const H264SeqParamSet* CurrentSeqParamSet() const { return m_Parameters.m_SeqParamSets.Get(m_CurrentSeqSetId); }
    const H264PicParamSet* CurrentPicParamSet() const { return m_Parameters.m_PicParamSets.Get(m_CurrentPicSetId); }
    const SliceHeaderTables& SliceTables() const { return m_SliceTables; } // of the slice read last
    // Registered user data for the next new picture; empty when there is none.
    H264SEIPayLoad& PendingUserData() { return m_PendingUserData; }

    // Slices are dropped up to one that decoding may start with, or no longer.
    void WaitForRandomAccess(bool IsWanted) { m_WaitForRandomAccess = IsWanted; }
    void Settle() { m_Parameters.Settle(); } // no picture in work uses an older version any more
    void Reset();                            // keeps the sets
    void Close();

private:
    bool FindParameterSets(H264Slice& Slice);
    bool FindAuxiliarySets(H264Slice& Slice, const H264Slice& Primary);

    Headers m_Parameters;
    std::shared_ptr<const H264SeqParamSet> m_pAuxiliaryOf, m_pAuxiliarySet; // made of it for auxiliary pictures
    H264PicParamSet m_PicParamSetScratch;                                   // large: not for the stack
    SliceHeaderTables m_SliceTables;
    int32_t m_CurrentSeqSetId = -1, m_CurrentPicSetId = -1;
    H264SEIPayLoad m_PendingUserData;
    bool m_WaitForRandomAccess = true;
};

} // namespace UMC
