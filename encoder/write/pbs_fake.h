// The counting writer: the syntax of CH264pBs with coders whose output is only measured.
#pragma once

#include "encoder/write/pbs.h"

namespace UMC_H264_ENCODER {

template <class PixType, class CoeffsType>
class CH264pBsFake : public CH264pBs<PixType, CoeffsType>
{
public:
    /// The count to 0.
    void Reset() override
    {
        m_Codes = {};
        StopCoder();
    }

    void PutBit(uint32_t Bit) override { m_Codes.Bits.PutBit(Bit); }
    void PutBits(uint32_t Value, int32_t Count) override { m_Codes.Bits.PutBits(Value, Count); }
    void PutVLCCode(uint32_t Code, int32_t Length) override { m_Codes.Bits.PutVLCCode(Code, Length); }
    int32_t PutUE(uint32_t Value) override { return m_Codes.Bits.PutUE(Value); }
    int64_t Bits() const override { return m_Codes.Bits.Bits(); }
    void TerminateEncode() override
    {
        m_Codes.Bits.PutBits(0, static_cast<int32_t>(m_Cabac.Arithmetic.Bits() - m_StartBits + 3));
        this->Align(0);
        StopCoder();
    }

    /// As CBaseBitstream::InitContexts. The count is one short until the first bit, which is suppressed, has passed.
    void InitContexts(int32_t SliceType, int32_t CabacInitIdc, int32_t SliceQp)
    {
        m_Cabac.StartSlice(SliceType, CabacInitIdc, SliceQp, {});
        m_StartBits = 0;
    }

    void EncodeBin(uint32_t Context, uint32_t Bin) { m_Cabac.Bin(Context, Bin); }
    void EncodeBypass(uint32_t Bin) { m_Cabac.Arithmetic.EncodeBypass(Bin); }
    void EncodeTerminate(uint32_t Bin) { m_Cabac.Arithmetic.EncodeTerminate(Bin); }

    /// Goes on from the coders of a real writer; what it has written does not count here.
    void CopyState(CH264pBs<PixType, CoeffsType>& From)
    {
        m_Codes = CavlcCounter(From.Cavlc());
        m_Cabac = CabacCounter(From.Cabac());
        m_StartBits = m_Cabac.Arithmetic.Bits();
    }

    /// Bits since Reset or CopyState.
    int64_t CountedBits() const { return Bits() + m_Cabac.Arithmetic.Bits() - m_StartBits; }

    // Hiding those of the real writer: the coders to count with.
    CabacCounter& Cabac() { return m_Cabac; }
    const CabacCounter& Cabac() const { return m_Cabac; }
    CavlcCounter& Cavlc() { return m_Codes; }

private:
    void StopCoder()
    {
        m_Cabac.Arithmetic.Start({});
        m_StartBits = m_Cabac.Arithmetic.Bits();
    }

    CavlcCounter m_Codes;
    CabacCounter m_Cabac;
    int64_t m_StartBits = 0; // of the arithmetic counter, where the count begins
};

} // namespace UMC_H264_ENCODER
