// The macroblock records that live only while a picture is decoded, in one block.
#pragma once

#include "decoder/picture/mb_info.h"

#include <cstdint>
#include <vector>

namespace UMC {

// What a macroblock has of m_pCoeffCounts: total_coeff of blocks, luma in raster order, then both chroma planes.
inline constexpr int kCountsPerPlane = 16;
inline constexpr int kCountsPerMb = 3 * kCountsPerPlane;

// Entries by macroblock number.
struct H264LocalMbBuffers {
    MbLocalInfo* pLocal = nullptr;
    MbMvd* pMvd[2] = {};             // by list: vector differences, for CABAC contexts
    uint8_t* pIntraModes = nullptr;  // 16 a macroblock: Intra 4x4 modes, raster of blocks
    uint8_t* pCoeffCounts = nullptr; // kCountsPerMb a macroblock
};

class LocalMbMemory
{
public:
    // Makes room for a picture of MbCount macroblocks; cleared when it is new. Throws std::bad_alloc.
    void Allocate(int32_t MbCount);
    H264LocalMbBuffers& Buffers() { return m_Buffers; }
    // Room for the macroblock that follows each one in its slice group; of two fields that of the bottom one is the
    // second half. Throws std::bad_alloc.
    uint32_t* NextMb()
    {
        m_NextMb.resize(static_cast<size_t>(m_MbCount));
        return m_NextMb.data();
    }

private:
    std::vector<uint8_t> m_Block;
    std::vector<uint32_t> m_NextMb;
    int32_t m_MbCount = 0;
    H264LocalMbBuffers m_Buffers;
};

} // namespace UMC
