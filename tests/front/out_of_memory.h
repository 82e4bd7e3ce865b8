// Sessions in which memory runs out, and the small pictures they work on.
#pragma once

#include "quilvex/Quilvex.h"
#include "tests/support/failing_allocation.h"
#include "tools/common/camera_scene.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace out_of_memory {

inline constexpr FrameSize kSize{48, 32};
inline constexpr int kPictures = 10;

using Bytes = std::vector<uint8_t>;

inline const std::vector<Bytes>& Pictures()
{
    static const std::vector<Bytes> s_Pictures = [] {
        std::vector<Bytes> All(kPictures);
        const CameraScene Scene(kSize, 15);
        for (int i = 0; i < kPictures; ++i) Scene.Render(i, All[static_cast<size_t>(i)]);
        return All;
    }();
    return s_Pictures;
}

// What a call gave, in room made before memory runs out.
struct Unit {
    Bytes Room = Bytes(kSize.LumaBytes() * 3);
    int32_t Length = 0, Type = -7;
    Bytes Copy() const { return {Room.begin(), Room.begin() + Length}; }
};

inline int32_t Encode(IVCodec& Codec, int Index, Unit& Out)
{
    Out.Length = Out.Type = -7;
    return Codec.Encode(Pictures()[static_cast<size_t>(Index)].data(), Out.Room.data(), &Out.Length, 0, &Out.Type);
}

// Runs a session with the first request failing, then the second.. until none fails. Returns how many there are.
inline size_t ForEachRequest(const std::function<void(size_t)>& Session)
{
    Session(0); // whatever is made once for the process
    size_t n = 0;
    for (bool bFailed = true; bFailed && !testing::Test::HasFatalFailure();) {
        const FailingAllocation Fail(++n);
        Session(n);
        bFailed = Fail.Failed();
        EXPECT_EQ(FailingAllocation::BlocksHeld(), 0) << "request " << n;
    }
    return n - 1;
}

inline bool InitEncoder(IVCodec& Codec) { return Codec.InitEncoder(kSize.Width, kSize.Height, 15, 4, 60) == 1; }
inline bool InitDecoder(IVCodec& Codec) { return Codec.InitDecoder(kSize.Width, kSize.Height) == 1; }

} // namespace out_of_memory
