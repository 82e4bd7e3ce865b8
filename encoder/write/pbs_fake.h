// The counting writer: the syntax of CH264pBs with an output that is only measured.
#pragma once

#include "encoder/write/pbs.h"

namespace UMC_H264_ENCODER {

template <class PixType, class CoeffsType>
class CH264pBsFake : public CH264pBs<PixType, CoeffsType>
{
public:
    /// Both counts to 0.
    void Reset() override
    {
        m_Bytes = 0;
        m_BitOffset = 0;
        StopCoder();
    }

    void PutBit(uint32_t) override { Add(1); }
    void PutBits(uint32_t, int32_t Count) override { Add(Count); }
    void PutVLCCode(uint32_t, int32_t Length) override { Add(Length); }
    int32_t PutUE(uint32_t Value) override
    {
        const int32_t Length = 2 * std::bit_width(Value + 1) - 1;
        Add(Length);
        return Length;
    }
    void TerminateEncode() override
    {
        Add(m_Counter.Bits() - m_StartBits + 3);
        m_Bytes += m_BitOffset ? 1 : 0;
        m_BitOffset = 0;
        StopCoder();
    }

    /// As CBaseBitstream::InitContexts. The count is one short until the first bit, which is suppressed, has passed.
    void InitContexts(int32_t SliceType, int32_t CabacInitIdc, int32_t SliceQp)
    {
        CBaseBitstream::InitContexts(SliceType, CabacInitIdc, SliceQp);
        m_Counter.Start(nullptr);
        m_StartBits = 0;
    }

    void EncodeBin(uint32_t Context, uint32_t Bin) { m_Counter.EncodeBin(this->m_Contexts[Context], Bin); }
    void EncodeBypass(uint32_t Bin) { m_Counter.EncodeBypass(Bin); }
    void EncodeTerminate(uint32_t Bin) { m_Counter.EncodeTerminate(Bin); }

    /// Goes on from the contexts and the coder state of a real writer; what it has written does not count here.
    void CopyState(const CH264pBs<PixType, CoeffsType>& From)
    {
        this->m_Contexts = From.Contexts();
        m_Counter.CopyState(From.Coder());
        m_StartBits = m_Counter.Bits();
    }

    /// Bits since Reset or CopyState.
    int64_t CountedBits() const { return m_Bytes * 8 + m_BitOffset + m_Counter.Bits() - m_StartBits; }

    CountingCoder& Counter() { return m_Counter; }

private:
    void StopCoder()
    {
        m_Counter.Start(nullptr);
        m_StartBits = m_Counter.Bits();
    }

    void Add(int64_t Bits)
    {
        m_Bytes += (m_BitOffset + Bits) / 8;
        m_BitOffset = (m_BitOffset + Bits) % 8;
    }

    int64_t m_Bytes = 0;
    int64_t m_BitOffset = 0; // 0..7
    int64_t m_StartBits = 0; // of the counter, where the count begins
    CountingCoder m_Counter{};
};

} // namespace UMC_H264_ENCODER
