// The state of one slice while it is coded, in parts named for what they are for. A stage is given those that it reads,
// const, and those that it writes, never the whole.
#pragma once

#include "encoder/state/codec_traits.h"
#include "encoder/state/current_macroblock.h"
#include "encoder/state/macroblock_quant.h"
#include "encoder/state/slice_facts.h"
#include "encoder/state/work_area.h"
#include "encoder/write/pbs.h"

#include <cstdint>
#include <memory>

namespace UMC_H264_ENCODER {

/// How far a slice has come; its loop writes it.
struct SliceProgress {
    int32_t slice_qp; // running QPY for mb_qp_delta
    int32_t mb_count, intra_count;
};

/// The picture loop holds one for each slice, and the slice's loop hands the parts out.
template <class Sample>
struct SliceContext {
    SliceFacts<Sample> Facts;
    std::unique_ptr<SliceFacts<Sample>[]> pFieldFacts; // in frames of pairs: of field macroblocks, by parity
    SliceProgress Progress;
    CurrentMacroblock<Sample> cur_mb;
    MacroblockQuant Quant;
    CH264pBs<Sample, typename CodecTraits<Sample>::Coeff> bitstream;
    WorkArea<Sample> work_area;
};

} // namespace UMC_H264_ENCODER
