// The Media SDK's structures as its run time meets them: fields by offset.
#pragma once

#include "tests/support/drivers/raw_driver.h"

namespace mfx {

using raw::At;
using raw::Get;
using raw::Put;

// Within a surface, a picture's parameters and the memory of its planes.
inline constexpr size_t kInfo = 16, kInfoBytes = 68, kData = 88;
inline constexpr size_t kSurfaceBytes = At(184, 160), kDataBytes = At(96, 72);
namespace info {
inline constexpr size_t FourCC = 32, Width = 36, Height = 38, CropX = 40, CropY = 42, CropW = 44, CropH = 46,
                        FrameRateExtN = 48, FrameRateExtD = 52, PicStruct = 62, ChromaFormat = 64;
}
namespace data {
inline constexpr size_t FrameOrder = 40, Locked = 44, Pitch = 46, Y = 48, U = At(56, 52), V = At(64, 56),
                        MemId = At(80, 64);
}

// Parameters of a session's encoder or decoder; what stands in the codec's part is counted from the whole's beginning.
inline constexpr size_t kParamBytes = At(208, 196);
namespace param {
inline constexpr size_t AsyncDepth = 14, Codec = 16, FrameInfo = Codec + 32, IOPattern = 186, ExtParam = At(192, 188),
                        NumExtParam = At(200, 192);
inline constexpr size_t CodecId = Codec + 100, TargetUsage = Codec + 110, GopPicSize = Codec + 112,
                        GopRefDist = Codec + 114, RateControlMethod = Codec + 120, BufferSizeInKB = Codec + 124,
                        TargetKbps = Codec + 126, MaxKbps = Codec + 128, NumRefFrame = Codec + 132;
} // namespace param

inline constexpr size_t kCodingOptionBytes = 64;
namespace option {
inline constexpr size_t BufferId = 0, BufferSz = 4, RefPicMarkRep = 44, MaxDecFrameBuffering = 54;
}

inline constexpr size_t kControlBytes = At(56, 48), kControlFrameType = 32;

namespace bitstream {
inline constexpr size_t Data = At(40, 40), DataOffset = At(48, 44), DataLength = At(52, 48), MaxLength = At(56, 52),
                        FrameType = At(62, 58);
inline constexpr size_t kBytes = At(72, 64);
} // namespace bitstream

inline constexpr size_t kRequestBytes = 92;
namespace request {
inline constexpr size_t Info = 16, Type = 84, NumFrameMin = 86, NumFrameSuggested = 88;
}

namespace allocator {
inline constexpr size_t This = 16, Alloc = At(24, 20), Lock = At(32, 24), Unlock = At(40, 28), GetHDL = At(48, 32),
                        Free = At(56, 36);
}

} // namespace mfx
