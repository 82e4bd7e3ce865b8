// Lines of the trace for the Media SDK's structures. For one source a library: all here is static, since the linker of
// the Windows substitutes cannot export what another compiler shares between objects.
#pragma once

#include "tests/support/drivers/mfx_layout.h"

namespace mfx {

struct FieldOf {
    const char* pName;
    size_t Offset, Bytes;
};

static int64_t Read(const void* pBase, const FieldOf& Field)
{
    return Field.Bytes == 4 ? static_cast<int64_t>(Get<uint32_t>(pBase, Field.Offset))
                            : static_cast<int64_t>(Get<uint16_t>(pBase, Field.Offset));
}

static int64_t BytesNotZero(const uint8_t* pBytes, size_t Size)
{
    int64_t Count = 0;
    for (size_t i = 0; i < Size; ++i) Count += pBytes[i] != 0;
    return Count;
}

/// The fields of a structure by name, and as "others" how many of its remaining bytes are not zero.
template <size_t Fields>
static void TraceAll(const void* pBase, size_t Size, const FieldOf (&List)[Fields])
{
    uint8_t Rest[256];
    __builtin_memcpy(Rest, pBase, Size);
    for (const FieldOf& Field : List) {
        DriverField(Field.pName, Read(pBase, Field));
        for (size_t i = 0; i < Field.Bytes; ++i) Rest[Field.Offset + i] = 0;
    }
    DriverField("others", BytesNotZero(Rest, Size));
}

static constexpr FieldOf kParamFields[] = {{"AsyncDepth", param::AsyncDepth, 2},
                                           {"IOPattern", param::IOPattern, 2},
                                           {"CodecId", param::CodecId, 4},
                                           {"TargetUsage", param::TargetUsage, 2},
                                           {"GopPicSize", param::GopPicSize, 2},
                                           {"GopRefDist", param::GopRefDist, 2},
                                           {"NumRefFrame", param::NumRefFrame, 2},
                                           {"RateControlMethod", param::RateControlMethod, 2},
                                           {"BufferSizeInKB", param::BufferSizeInKB, 2},
                                           {"TargetKbps", param::TargetKbps, 2},
                                           {"MaxKbps", param::MaxKbps, 2},
                                           {"FourCC", param::FrameInfo + info::FourCC, 4},
                                           {"Width", param::FrameInfo + info::Width, 2},
                                           {"Height", param::FrameInfo + info::Height, 2},
                                           {"CropX", param::FrameInfo + info::CropX, 2},
                                           {"CropY", param::FrameInfo + info::CropY, 2},
                                           {"CropW", param::FrameInfo + info::CropW, 2},
                                           {"CropH", param::FrameInfo + info::CropH, 2},
                                           {"PicStruct", param::FrameInfo + info::PicStruct, 2},
                                           {"ChromaFormat", param::FrameInfo + info::ChromaFormat, 2},
                                           {"FrameRateExtN", param::FrameInfo + info::FrameRateExtN, 4},
                                           {"FrameRateExtD", param::FrameInfo + info::FrameRateExtD, 4},
                                           {"NumExtParam", param::NumExtParam, 2},
                                           {"ExtParam", param::ExtParam, 0}};
static constexpr FieldOf kOptionFields[] = {{"BufferId", option::BufferId, 4},
                                            {"BufferSz", option::BufferSz, 4},
                                            {"RefPicMarkRep", option::RefPicMarkRep, 2},
                                            {"MaxDecFrameBuffering", option::MaxDecFrameBuffering, 2}};

/// A set of parameters with the first of the buffers attached to it, whose address is no field.
static void TraceParam(const void* pParam)
{
    uint8_t Copy[kParamBytes];
    __builtin_memcpy(Copy, pParam, sizeof Copy);
    Put<void*>(Copy, param::ExtParam, nullptr);
    TraceAll(Copy, sizeof Copy, kParamFields);
    if (Get<uint16_t>(pParam, param::NumExtParam) == 0) return;
    const auto* const pBuffers = Get<void* const*>(pParam, param::ExtParam);
    TraceAll(pBuffers[0], kCodingOptionBytes, kOptionFields);
}

static void TraceBitstream(const void* pBitstream)
{
    raw::Field<uint32_t>("DataOffset", pBitstream, bitstream::DataOffset);
    raw::Field<uint32_t>("DataLength", pBitstream, bitstream::DataLength);
    raw::Field<uint32_t>("MaxLength", pBitstream, bitstream::MaxLength);
}

} // namespace mfx
