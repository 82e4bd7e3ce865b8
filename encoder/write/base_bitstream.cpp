#include "encoder/write/base_bitstream.h"

namespace UMC_H264_ENCODER {

void CBaseBitstream::SetBuffer(uint8_t* pBuffer, size_t Size)
{
    m_pBuffer = pBuffer;
    m_BufferSize = Size;
    Reset();
}

void CBaseBitstream::Reset() { m_Codes.Bits.Start(m_pBuffer); }

void CBaseBitstream::PutBit(uint32_t Bit) { m_Codes.Bits.PutBit(Bit); }

void CBaseBitstream::PutBits(uint32_t Value, int32_t Count) { m_Codes.Bits.PutBits(Value, Count); }

void CBaseBitstream::PutVLCCode(uint32_t Code, int32_t Length) { m_Codes.Bits.PutVLCCode(Code, Length); }

int32_t CBaseBitstream::PutUE(uint32_t Value) { return m_Codes.Bits.PutUE(Value); }

void CBaseBitstream::WriteTrailingBits()
{
    PutBit(1);
    Align(0);
}

void CBaseBitstream::Align(uint32_t Bit)
{
    while (Bits() % 8 != 0) PutBit(Bit);
}

void CBaseBitstream::InitContexts(int32_t SliceType, int32_t CabacInitIdc, int32_t SliceQp)
{
    StoredBytes Out;
    Out.Start(m_Codes.Bits.Position());
    m_Cabac.StartSlice(SliceType, CabacInitIdc, SliceQp, Out);
}

void CBaseBitstream::TerminateEncode()
{
    m_Cabac.Arithmetic.Finish();
    m_Codes.Bits.MoveTo(m_Cabac.Arithmetic.Out().Position());
}

void CBaseBitstream::SaveState()
{
    m_SavedCodes = m_Codes;
    m_SavedCabac = SavedCabacCoder(m_Cabac);
}

void CBaseBitstream::RestoreState()
{
    m_Codes = m_SavedCodes;
    m_SavedCabac.PutBack(m_Cabac);
}

} // namespace UMC_H264_ENCODER
