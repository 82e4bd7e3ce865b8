// The writer of one slice: bits and both entropy coders on one buffer, with the virtual operations by which headers are
// written or counted.
#pragma once

#include "encoder/write/cabac_coder.h"
#include "encoder/write/cavlc_coder.h"

#include <cstddef>
#include <cstdint>

namespace UMC_H264_ENCODER {

// What a writer of headers and codes needs of its output.
class H264PureBitstream
{
public:
    virtual ~H264PureBitstream() = default;
    virtual void TerminateEncode() = 0;
    virtual void PutBit(uint32_t Bit) = 0;
    virtual void PutBits(uint32_t Value, int32_t Count) = 0;    // Count 0..24
    virtual void PutVLCCode(uint32_t Code, int32_t Length) = 0; // Length 0..32
    virtual int32_t PutUE(uint32_t Value) = 0;                  // returns the length of the code in bits
};

/// Writes to a caller's buffer. The writers do not test for its end: the caller sizes it for the worst picture and
/// compares Bytes() with it afterwards. The byte at the write position is always initialised.
class CBaseBitstream : public H264PureBitstream
{
public:
    /// Takes the buffer; it must outlive the writer. Starts at its beginning.
    void SetBuffer(uint8_t* pBuffer, size_t Size);
    /// Back to the start of the buffer.
    virtual void Reset();

    void TerminateEncode() override;
    void PutBit(uint32_t Bit) override;
    void PutBits(uint32_t Value, int32_t Count) override;
    void PutVLCCode(uint32_t Code, int32_t Length) override;
    int32_t PutUE(uint32_t Value) override;
    int32_t PutSE(int32_t Value) { return PutUE(BitWriter::CodeNumber(Value)); }
    /// Bits written since Reset, without those inside a running arithmetic coder.
    virtual int64_t Bits() const { return m_Codes.Bits.Bits(); }

    /// A 1 bit and zeros to a whole byte.
    void WriteTrailingBits();
    /// Ones to a whole byte (cabac_alignment_one_bit), or zeros (pcm_alignment_zero_bit).
    void Align(uint32_t Bit);

    /// Contexts for a slice type (h264::SLICE_P, h264::SLICE_B, h264::SLICE_I), and the coder at its start. The
    /// position is byte-aligned.
    void InitContexts(int32_t SliceType, int32_t CabacInitIdc, int32_t SliceQp);
    void EncodeBin(uint32_t Context, uint32_t Bin) { m_Cabac.Bin(Context, Bin); }
    void EncodeBypass(uint32_t Bin) { m_Cabac.Arithmetic.EncodeBypass(Bin); }
    void EncodeTerminate(uint32_t Bin) { m_Cabac.Arithmetic.EncodeTerminate(Bin); }

    /// Copies both coders with their write positions to the saved copy and back.
    void SaveState();
    void RestoreState();

    size_t Bytes() const { return static_cast<size_t>((Bits() + 7) / 8); }
    /// Bytes written since Reset while the arithmetic coder runs.
    size_t CoderBytes() const { return static_cast<size_t>(m_Cabac.Arithmetic.Out().Position() - m_pBuffer); }
    size_t BufferSize() const { return m_BufferSize; }

    // The coders, for the macroblock layer.
    CabacCoder& Cabac() { return m_Cabac; }
    const CabacCoder& Cabac() const { return m_Cabac; }
    CavlcCoder& Cavlc() { return m_Codes; }

protected:
    uint8_t* m_pBuffer = nullptr;
    size_t m_BufferSize = 0; // bytes
    CavlcCoder m_Codes;      // with the write position of all that is not arithmetic code
    CabacCoder m_Cabac;
    CavlcCoder m_SavedCodes;
    SavedCabacCoder m_SavedCabac;
};

} // namespace UMC_H264_ENCODER
