// A writer on a buffer of its own, and a reader of what it wrote.
#pragma once

#include "encoder/picture/make_parameter_sets.h"
#include "encoder/write/pbs_fake.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace encoder_testing {

using namespace UMC_H264_ENCODER;

class Writer : public CH264pBs<uint8_t, int16_t>
{
public:
    Writer() : m_Memory(1 << 20, 0xEE) { SetBuffer(m_Memory.data(), m_Memory.size()); }
    std::vector<uint8_t> Written() const
    {
        return {m_Memory.begin(), m_Memory.begin() + static_cast<ptrdiff_t>(Bytes())};
    }

private:
    std::vector<uint8_t> m_Memory;
};

// Reads what the writer wrote.
class Reader
{
public:
    explicit Reader(std::vector<uint8_t> Bytes) : m_Bytes(std::move(Bytes)) {}
    uint32_t Bits(int Count)
    {
        uint32_t v = 0;
        for (int i = 0; i < Count; ++i, ++m_Position)
            v = v << 1 | (m_Position / 8 < m_Bytes.size() ? m_Bytes[m_Position / 8] >> (7 - m_Position % 8) & 1u : 0u);
        return v;
    }
    uint32_t Ue()
    {
        int Zeros = 0;
        while (Zeros < 31 && Bits(1) == 0) ++Zeros; // behind the end all bits are 0
        return (1u << Zeros) - 1 + Bits(Zeros);
    }
    int32_t Se()
    {
        const uint32_t k = Ue();
        return k & 1 ? static_cast<int32_t>((k + 1) / 2) : -static_cast<int32_t>(k / 2);
    }
    size_t Position() const { return m_Position; }

private:
    std::vector<uint8_t> m_Bytes;
    size_t m_Position = 0;
};

} // namespace encoder_testing
