// The writer of a slice with all its syntax above the macroblock, and its NAL units.
#pragma once

#include "encoder/write/headers.h"
#include "encoder/write/nal_unit.h"

namespace UMC_H264_ENCODER {

template <class PixType, class CoeffsType>
class CH264pBs : public CBaseBitstream
{
public:
    void Reset() override
    {
        CBaseBitstream::Reset();
        m_NalStart = 0;
    }

    void WriteSeqParams(const SeqParamSet& Sps) { UMC_H264_ENCODER::WriteSeqParams(*this, Sps); }
    void WriteSeqExtension(const SeqParamSet& Sps) { UMC_H264_ENCODER::WriteSeqExtension(*this, Sps); }
    void WritePicParams(const PicParamSet& Pps, const SeqParamSet& Sps)
    {
        UMC_H264_ENCODER::WritePicParams(*this, Pps, Sps);
    }
    void WriteAccessUnitDelimiter(uint32_t PrimaryPicType)
    {
        UMC_H264_ENCODER::WriteAccessUnitDelimiter(*this, PrimaryPicType);
    }
    void WriteSliceHeader(const SliceHeader& h, const SeqParamSet& Sps, const PicParamSet& Pps)
    {
        UMC_H264_ENCODER::WriteSliceHeader(*this, h, Sps, Pps);
    }

    /// Payload bytes since the last NAL unit.
    size_t PendingBytes() const { return Bytes() - m_NalStart; }
    /// What WriteNAL would return.
    size_t FramedPending(h264::NalUnitType Type, bool IsFirstInAu) const
    {
        return FramedSize(m_pBuffer + m_NalStart, PendingBytes(), Type, IsFirstInAu);
    }
    /// Frames them (FrameNAL); the next NAL unit starts behind them.
    size_t WriteNAL(uint8_t* pDest, uint32_t NalRefIdc, h264::NalUnitType Type, bool& IsFirstInAu)
    {
        const size_t Written = FrameNAL(pDest, m_pBuffer + m_NalStart, PendingBytes(), NalRefIdc, Type, IsFirstInAu);
        m_NalStart = Bytes();
        return Written;
    }

private:
    size_t m_NalStart = 0; // bytes from the start of the buffer
};

} // namespace UMC_H264_ENCODER
