// The macroblock records that live only while a picture is decoded, in one block.
#pragma once

#include "decoder/slice/slice.h"

#include <cstdint>
#include <vector>

namespace UMC {

class LocalMbMemory
{
public:
    // Makes room for a picture of MbCount macroblocks; cleared when it is new. Throws std::bad_alloc.
    void Allocate(int32_t MbCount);
    H264LocalMbBuffers& Buffers() { return m_Buffers; }

private:
    std::vector<uint8_t> m_Block;
    int32_t m_MbCount = 0;
    H264LocalMbBuffers m_Buffers;
};

} // namespace UMC
