// One NAL unit as the parsers of its content get it.
#pragma once

#include "decoder/stream/header_parsers.h"
#include "decoder/stream/nal_splitter.h"
#include "tests/support/h264_stream_writer.h"

#include <gtest/gtest.h>

#include <vector>

namespace test {

// Unpacks a unit and stands behind its header.
struct Unit {
    explicit Unit(const Bytes& Data)
    {
        UMC::Swapper Swap;
        Words.resize(Data.size() / 4 + 2 + UMC::H264Bitstream::kReadPadding / 4);
        uint32_t Size = 0;
        Swap.SwapMemory(Words.data(), Size, Data.data(), static_cast<uint32_t>(Data.size()));
        Bits.Reset(Words.data(), Size);
        int32_t Type = 0;
        uint32_t RefIdc = 0;
        EXPECT_TRUE(UMC::GoToNalUnit(Bits));
        Bits.GetNalHeader(Type, RefIdc);
    }
    std::vector<uint32_t> Words;
    UMC::H264Bitstream Bits;
};

} // namespace test
