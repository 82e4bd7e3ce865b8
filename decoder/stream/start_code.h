// Finding where NAL units begin in a buffer.
#pragma once

#include "media/umc_media_data.h"

#include <cstddef>
#include <cstdint>

namespace UMC {

// Moves p and Left to the next 3-byte start code and returns it with the byte behind it as a big-endian number, so that
// its low 5 bits are nal_unit_type. 0, and fewer than 4 bytes left, when there is none. Leaving those bytes, with a
// start code in the last three unseen, is deliberate.
uint32_t FindStartCode(const uint8_t*& p, size_t& Left);

// Walks the units of a buffer. A code's low 5 bits are the unit's type; code 0 means that there is no further unit.
class StartCodeIteratorBase
{
public:
    virtual ~StartCodeIteratorBase() = default;

    // Remembers the data. Derived classes return the first code.
    virtual uint32_t Init(MediaData* pMedia);
    virtual uint32_t Next() = 0;

    const uint8_t* Position() const { return m_pSource; } // the unit of the last code
    size_t Left() const { return m_Left; }                // bytes from there on

protected:
    const uint8_t* m_pSource = nullptr;
    size_t m_Left = 0;
};

class StartCodeIterator final : public StartCodeIteratorBase
{
public:
    uint32_t Init(MediaData* pMedia) override;
    uint32_t Next() override;
};

// Samples: each unit stands behind its length.
class StartCodeIteratorMP4 final : public StartCodeIteratorBase
{
public:
    uint32_t Init(MediaData* pMedia) override;
    uint32_t Next() override;
    void SetLengthSize(uint32_t LengthSize) { m_LengthSize = LengthSize; } // bytes, 1..4

private:
    uint32_t CodeHere() const;

    uint32_t m_LengthSize = 0;
};

} // namespace UMC
