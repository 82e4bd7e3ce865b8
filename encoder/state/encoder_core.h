// The encoder behind H264VideoEncoder: a plain structure, and the stages that work on it.
//
// It exists once for each pair of sample and coefficient type. A picture goes through FrameStep (reordering and type),
// EncodePicture (slices, NAL units, marking) and, macroblock by macroblock, CompressSlice.
#pragma once

#include "encoder/picture/rate_controller.h"
#include "encoder/session/encoder_params.h"
#include "encoder/state/slice_context.h"
#include "media/umc_media_data.h"
#include "process/video_processing.h"

#include <array>
#include <memory>
#include <vector>

namespace UMC_H264_ENCODER {

// Request and state words of the frame call.
enum RequestFlag : uint32_t { REQUEST_FLUSH = 1 << 2 };
enum StateFlag : uint32_t { STATE_CODED_I = 1 << 1, STATE_CODED_B = 1 << 2, STATE_NEED_INPUT = 1 << 8 };

// Quantisers of all QPs.
struct QuantTables {
    std::array<kernels::QuantParams, 52> Intra, Inter;
    alignas(16) int16_t Scale[6][16]; // flat lists: 16 * normAdjust
    // The largest sum of absolute differences of a 4x4 part at which no coefficient can reach a level, with the
    // rounding of Inter: of luma, and of chroma with its DC transform.
    std::array<int32_t, 52> LumaZeroSad, ChromaZeroSad;
};

using ThresholdTable = std::array<int32_t, 52>; // by QP

template <class PixType, class CoeffsType>
struct EncoderCore {
    using Pix = PixType;
    using Coeffs = CoeffsType;
    using Frame = H264EncoderFrame<PixType>;
    using Slice = SliceContext<PixType, CoeffsType>;

    UMC::H264EncoderParams params;             // checked
    UMC::MemoryAllocator* allocator = nullptr; // not owned; outlives the frames
    FrameLayout layout;
    uint32_t analysis_flags = 0;

    int32_t gop_length = 1;
    std::vector<int32_t> gop_pattern;
    int32_t gop_index = 0;
    bool make_key_next = true;
    bool make_idr_next = true;
    uint32_t key_countdown = 0, idr_countdown = 0; // go on below 0, where they mean nothing
    int32_t b_anchors_needed = 1;
    uint32_t request = 0, state = 0;
    int32_t frames_encoded = 0;
    int32_t frame_num_max = kFrameNumMax;
    int32_t frame_num = 0;
    int32_t poc_frame_count = 0, poc_base = 0;
    int32_t idr_pic_id = 0;
    int64_t total_bits = 0;
    size_t suggested_input_size = 0; // bytes

    H264EncoderFrameList<PixType> input_list, reconstruction_list;
    Frame* current = nullptr; // the picture being coded
    int32_t picture_class = CLASS_IDR;
    UMC::VideoProcessing converter;

    std::unique_ptr<Slice[]> slices;
    std::unique_ptr<uint8_t[]> slice_buffers;
    std::vector<LocalMacroblock> local_macroblocks;
    std::vector<MotionVector> vector_differences[2]; // 16 for each macroblock
    std::vector<uint8_t> intra_modes;                // 16 for each macroblock
    std::vector<uint8_t> coeff_counts;               // 24 for each macroblock, CAVLC
    std::vector<MacroblockPosition> positions;
    std::vector<uint16_t> slice_of_macroblock;

    SeqParamSet sps{};
    PicParamSet pps{};
    RateController rate;
    QuantTables quant;
    ThresholdTable threshold_me, threshold_skip_empty, threshold_skip_intra, threshold_advanced_intra;
};

using Core8 = EncoderCore<uint8_t, int16_t>;

/// Checks a copy of the settings and builds everything; see H264VideoEncoder::Init for the results.
/// Throws std::bad_alloc; the core is then of no use.
template <class Core>
UMC::Status InitCore(Core& c, const UMC::VideoEncoderParams& Params, UMC::MemoryAllocator* pAllocator);
/// A new bit rate or frame rate for a running encoder.
template <class Core>
UMC::Status SetCoreRate(Core& c, const UMC::VideoEncoderParams& Params);

/// Takes a picture (null when flushing), and codes the next one if one can be.
template <class Core>
UMC::Status FrameStep(Core& c, UMC::VideoData* pInput, UMC::MediaData* pOutput);
/// The type the GOP rule gives the next picture: FRAME_I, FRAME_P or FRAME_B.
template <class Core>
int32_t NextFrameType(Core& c);

/// Codes c.current, of class c.picture_class, and appends its NAL units to pOutput.
template <class Core>
UMC::Status EncodePicture(Core& c, UMC::MediaData& Output);

/// frame_num_wrap and pic_num of all references (clause 8.2.4.1), and the lists of one slice.
template <class Core>
void UpdateRefLists(Core& c, typename Core::Slice& s);
/// Sliding window marking after a reference picture (clause 8.2.5.3).
template <class Core>
void UpdateMarking(Core& c);

template <class Core>
void CompressSlice(Core& c, typename Core::Slice& s);

// ---- Stages of a macroblock ---------------------------------------------------------------------------------

template <class Core>
void SetQuantisers(Core& c, typename Core::Slice& s, int32_t Qp);
template <class Core>
void AnalyseMacroblock(Core& c, typename Core::Slice& s);
template <class Core>
void AnalyseIntra(Core& c, typename Core::Slice& s);
template <class Core>
void Reconstruct(Core& c, typename Core::Slice& s);

template <class Core>
void DeblockSlice(Core& c, typename Core::Slice& s);
/// Extends the planes of a reference picture on all sides.
template <class PixType>
void PadFrame(H264EncoderFrame<PixType>& Frame, const FrameLayout& Layout);

} // namespace UMC_H264_ENCODER
