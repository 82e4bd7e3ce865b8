// The writer of one slice's bits: fixed and Exp-Golomb codes, and the arithmetic coder on the same buffer.
#pragma once

#include "encoder/write/arithmetic_coder.h"

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
    /// A signed value v as the code number 2|v| - (v > 0) (clause 9.1.1).
    int32_t PutSE(int32_t Value);

    /// A 1 bit and zeros to a whole byte.
    void WriteTrailingBits();
    /// Ones to a whole byte (cabac_alignment_one_bit), or zeros (pcm_alignment_zero_bit).
    void Align(uint32_t Bit);

    /// Contexts for a slice type (SLICE_P, SLICE_B, SLICE_I), and the coder at its start. The position is byte-aligned.
    void InitContexts(int32_t SliceType, int32_t CabacInitIdc, int32_t SliceQp);
    void EncodeBin(uint32_t Context, uint32_t Bin) { m_Coder.EncodeBin(m_Contexts[Context], Bin); }
    void EncodeBypass(uint32_t Bin) { m_Coder.EncodeBypass(Bin); }
    void EncodeTerminate(uint32_t Bin) { m_Coder.EncodeTerminate(Bin); }
    /// Starts the coder again at the write position, behind PCM samples.
    void RestartCoder() { m_Coder.Start(m_pWrite); }

    /// Copies contexts, coder state and write position to the saved copy and back, while the arithmetic coder runs.
    void SaveState();
    void RestoreState();

    /// Bits written since Reset, without those inside a running arithmetic coder.
    int64_t Bits() const { return (m_pWrite - m_pBuffer) * 8 + m_BitOffset; }
    size_t Bytes() const { return static_cast<size_t>(m_pWrite - m_pBuffer) + (m_BitOffset ? 1 : 0); }
    /// Bytes written since Reset while the arithmetic coder runs.
    size_t CoderBytes() const { return static_cast<size_t>(m_Coder.Position() - m_pBuffer); }
    size_t BufferSize() const { return m_BufferSize; }

    // The coder and its contexts, for the macroblock writers.
    ArithmeticCoder& Coder() { return m_Coder; }
    CabacContexts& Contexts() { return m_Contexts; }
    const ArithmeticCoder& Coder() const { return m_Coder; }
    const CabacContexts& Contexts() const { return m_Contexts; }

protected:
    struct State {
        CabacContexts Contexts;
        ArithmeticCoder Coder;
        uint8_t* pWrite;
        int32_t BitOffset;
        uint8_t* pCarry;     // 0xFF bytes from here to the coder's position
        uint8_t BeforeCarry; // the byte ahead of them
    };

    uint8_t* m_pBuffer = nullptr;
    uint8_t* m_pWrite = nullptr;
    int32_t m_BitOffset = 0; // bits used of the byte at m_pWrite, 0..7
    size_t m_BufferSize = 0; // bytes
    CabacContexts m_Contexts{};
    ArithmeticCoder m_Coder{};
    State m_Saved{};
};

} // namespace UMC_H264_ENCODER
