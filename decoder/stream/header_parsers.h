// Parsing of H.264 clause 7.3 headers into records. Every function starts behind the NAL unit header. A reader that
// runs past the unit meets zeros, which ends in an exception at the next Exp-Golomb code.
#pragma once

#include "decoder/stream/bitstream.h"
#include "decoder/stream/headers.h"
#include "decoder/stream/sei.h"
#include "media/umc_status.h"

namespace UMC {

class Headers;

// Sequence parameter set, clause 7.3.2.1. StatusInvalidParams for a value out of range or data that end early,
// StatusUnsupported for the residual colour transform. On any status but 0 the record must be dropped.
Status ReadSeqParamSet(H264Bitstream& Bits, H264SeqParamSet& Set) noexcept;

// Sequence parameter set extension, clause 7.3.2.1.2. Statuses as above.
Status ReadSeqParamSetExtension(H264Bitstream& Bits, H264SeqParamSetExtension& Extension) noexcept;

// Picture parameter set, clause 7.3.2.2. The sequence set it refers to must be in Store. Statuses as above.
Status ReadPicParamSet(H264Bitstream& Bits, const Headers& Store, H264PicParamSet& Set) noexcept;

// One SEI message, clause 7.3.2.3.1; leaves the position behind it whatever it holds. pSeqSet, which may be null, says
// which fields picture timing has. Throws h264_exception for a size beyond the unit.
void ReadSeiMessage(H264Bitstream& Bits, const H264SeqParamSet* pSeqSet, H264SEIPayLoad& Message);

// What the header of a slice holds beside the fields proper.
struct SliceHeaderTables {
    RefPicListReordering Reordering[2];
    AdaptiveMarking Marking;
    uint32_t WeightsPosition; // bits; of the table of explicit weights, where there is one
};

// The first three elements of a slice header, which tell the parameter sets. False rejects the slice.
// Header.nal_unit_type and Header.nal_ref_idc are set by the caller.
bool ReadSliceStart(H264Bitstream& Bits, SliceHeaderFields& Header);

// Everything behind them. False rejects the slice. Throws h264_exception.
bool ReadSliceRest(H264Bitstream& Bits, const H264SeqParamSet& Seq, const H264PicParamSet& Pic,
                   SliceHeaderFields& Header, SliceHeaderTables& Tables);

// The explicit weights of a header that ReadSliceRest has accepted; Bits stands at its WeightsPosition.
void ReadSliceWeights(H264Bitstream Bits, const H264SeqParamSet& Seq, SliceHeaderFields Header,
                      PredWeight (&Weights)[2][32]);

// Passes start codes in a unit that the splitter made, up to the next NAL unit header. False at the end of the data.
bool GoToNalUnit(H264Bitstream& Bits);

} // namespace UMC
