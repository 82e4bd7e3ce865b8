// Copying a NAL unit into a piece: emulation prevention bytes go (clause 7.4.1) and bytes become words.
#pragma once

#include <cstdint>

namespace UMC {

class SwapperBase
{
public:
    virtual ~SwapperBase() = default;

    // Writes the unit at pSource to pTarget as words, without emulation prevention bytes, filled up with zero bytes to
    // a whole word. pTarget has room for SourceSize + 8 bytes. TargetSize receives the bytes written.
    virtual void SwapMemory(uint32_t* pTarget, uint32_t& TargetSize, const uint8_t* pSource, uint32_t SourceSize) = 0;

    // Plain copy of Size bytes.
    virtual void CopyBitStream(uint8_t* pTarget, const uint8_t* pSource, uint32_t Size) = 0;
};

// Units with their start code, as a byte stream has them.
class Swapper final : public SwapperBase
{
public:
    void SwapMemory(uint32_t* pTarget, uint32_t& TargetSize, const uint8_t* pSource, uint32_t SourceSize) override;
    void CopyBitStream(uint8_t* pTarget, const uint8_t* pSource, uint32_t Size) override;
};

// Units behind a length field: the field is replaced by a 4-byte start code. TargetSize comes back as the body's size
// plus 4, not filled up. The body is as long as the field says, but ends with the source. SourceSize, the field
// included, must not be below the field's size.
class SwapperForMP4 final : public SwapperBase
{
public:
    void SwapMemory(uint32_t* pTarget, uint32_t& TargetSize, const uint8_t* pSource, uint32_t SourceSize) override;
    void CopyBitStream(uint8_t* pTarget, const uint8_t* pSource, uint32_t Size) override;
    void SetLengthSize(uint32_t LengthSize) { m_LengthSize = LengthSize; } // bytes, 1..4

private:
    uint32_t m_LengthSize = 0;
};

// A big-endian number of 1..4 bytes.
uint32_t ReadBigEndian(const uint8_t* pBytes, uint32_t Count);

} // namespace UMC
