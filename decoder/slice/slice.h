// One slice: what it is, how far it has got, and the bytes that it is read from.
#pragma once

#include "decoder/slice/slice_job.h"
#include "decoder/stream/bitstream.h"
#include "decoder/stream/header_parsers.h"
#include "decoder/stream/heap.h"

#include <cstdint>
#include <vector>

namespace UMC {

// A picture may have as many slices as macroblocks, so only what has to wait for decoding is kept of one.
class H264Slice : public SliceJob
{
public:
    virtual ~H264Slice() = default;

    // Finds the slice in a unit that the splitter made and reads the start of its header, up to the identifier of its
    // picture parameter set. False rejects the slice.
    bool ReadStart(const H264HeapPiece& Piece);
    // The same with the next slice of that unit: what looks like a start code may stand in the data of one.
    bool ReadNextStart();
    // Reads the rest, the parameter sets being known now, and sets the slice up for decoding, unless it is a redundant
    // one, which is never decoded. False rejects it.
    bool Init(SliceHeaderTables& Tables);
    // Keeps what decoding needs of the unit that was read, MaxBytes at most, and returns how many bytes that takes.
    // True in Detached: the slice reads the piece itself, which m_pNalPiece is to be set to. Throws std::bad_alloc.
    uint32_t KeepUnit(const H264HeapPiece& Piece, uint32_t MaxBytes, bool& Detached);
    void Reset(); // back to the state of a new object; gives the unit back to its heap
    void ReleaseUnit();

    SliceProgress m_Progress;
    H264Bitstream m_Bitstream; // behind the header: a cursor reads on in a copy

    std::vector<uint32_t> m_OwnUnit;      // a copy of a unit that would leave most of its piece empty
    bool m_IsUnpadded = false;            // no zeros follow the copy: it is read in the segment decoder's place for it
    H264HeapPiece* m_pNalPiece = nullptr; // goes back to m_pNalHeap at Reset
    H264_Heap* m_pNalHeap = nullptr;
};

} // namespace UMC
