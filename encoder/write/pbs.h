// The syntax of parameter sets, slice headers and NAL units on a slice's writer.
#pragma once

#include "encoder/write/base_bitstream.h"
#include "encoder/write/parameter_sets.h"
#include "encoder/write/slice_type.h"

namespace UMC_H264_ENCODER {

enum NalType : int32_t {
    NAL_SLICE = 1,
    NAL_IDR_SLICE = 5,
    NAL_SPS = 7,
    NAL_PPS = 8,
    NAL_DELIMITER = 9,
    NAL_SPS_EXTENSION = 13,
    NAL_AUX_SLICE = 19
};

// The elements of clause 7.3.3 that vary.
struct SliceHeader {
    int32_t first_mb_in_slice;
    int32_t slice_type;
    int32_t frame_num; // already modulo kFrameNumMax
    bool idr;
    int32_t idr_pic_id;
    int32_t nal_ref_idc;
    bool field_pic, bottom_field;
    int32_t pic_order_cnt_lsb;
    int32_t delta_pic_order_cnt_bottom;
    bool direct_spatial_mv_pred;
    int32_t num_ref_idx_l0, num_ref_idx_l1; // active, at least 1
    int32_t cabac_init_idc;
    int32_t slice_qp_delta;
    int32_t disable_deblocking_filter_idc;
    int32_t alpha_c0_offset, beta_offset; // not yet halved
};

/// Most bytes that NAL framing adds to or makes of Payload bytes.
inline constexpr size_t NalBytesAtMost(size_t Payload) { return 5 + Payload + Payload / 2; }

/// Writes a NAL unit of an Annex B byte stream with emulation prevention. A payload that ends in two zero bytes is left
/// without a 3 behind them: the trailing bits of a real one make it needless.
/// @param bFirstInAu  set before the first NAL unit of an access unit; asks for zero_byte and is cleared by it
/// @return bytes written to pDest, which has room for NalBytesAtMost(Size)
size_t FrameNAL(uint8_t* pDest, const uint8_t* pPayload, size_t Size, int32_t NalRefIdc, int32_t Type,
                bool& bFirstInAu);
/// What FrameNAL would return.
size_t FramedSize(const uint8_t* pPayload, size_t Size, int32_t Type, bool bFirstInAu);

template <class PixType, class CoeffsType>
class CH264pBs : public CBaseBitstream
{
public:
    void Reset() override
    {
        CBaseBitstream::Reset();
        m_NalStart = 0;
    }

    void WriteSeqParams(const SeqParamSet& Sps);
    void WriteSeqExtension(const SeqParamSet& Sps);
    void WritePicParams(const PicParamSet& Pps, const SeqParamSet& Sps);
    /// @param PrimaryPicType  primary_pic_type of Table 7-5: 0 I, 1 I and P, 2 all
    void WriteAccessUnitDelimiter(uint32_t PrimaryPicType);
    void WriteSliceHeader(const SliceHeader& h, const SeqParamSet& Sps, const PicParamSet& Pps);

    /// Payload bytes since the last NAL unit.
    size_t PendingBytes() const { return Bytes() - m_NalStart; }
    /// What WriteNAL would return.
    size_t FramedPending(int32_t Type, bool bFirstInAu) const
    {
        return FramedSize(m_pBuffer + m_NalStart, PendingBytes(), Type, bFirstInAu);
    }
    /// Frames them (FrameNAL); the next NAL unit starts behind them.
    size_t WriteNAL(uint8_t* pDest, int32_t NalRefIdc, int32_t Type, bool& bFirstInAu);

private:
    void WriteScalingMatrix();
    void WriteVui();
    void WriteOrderCount(const SliceHeader& h, const SeqParamSet& Sps, const PicParamSet& Pps);

    size_t m_NalStart = 0; // bytes from the start of the buffer
};

extern template class CH264pBs<uint8_t, int16_t>;

} // namespace UMC_H264_ENCODER
