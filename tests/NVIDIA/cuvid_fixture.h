// NVIDIA's drivers as substitutes, and streams for the decoder over them.
#pragma once

#include "front/VCodec_H264.h"
#include "platform/driver_names.h"
#include "tests/support/drivers/driver_libraries.h"
#include "tests/support/drivers/driver_script.h"
#include "tests/support/recording_log.h"
#include "tools/common/camera_scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cuvid_test {

using Bytes = std::vector<uint8_t>;

inline constexpr int32_t kUnwritten = -7;
inline constexpr uint8_t kFill = 0xA5;

// The map calls of this process's width of addresses.
inline constexpr const char* kMap = sizeof(void*) == 8 ? "cuvidMapVideoFrame64" : "cuvidMapVideoFrame";
inline constexpr const char* kUnmap = sizeof(void*) == 8 ? "cuvidUnmapVideoFrame64" : "cuvidUnmapVideoFrame";

inline size_t I420Bytes(int32_t Width, int32_t Height) { return static_cast<size_t>(Width * Height * 3 / 2); }

/// A camera's pictures as an access unit each, written by the software codec.
inline std::vector<Bytes> CodedScene(int32_t Width, int32_t Height, int Count, uint32_t Seed = 1)
{
    CVCodec_H264 Encoder;
    EXPECT_EQ(Encoder.InitEncoder(Width, Height, 15, 30, 400), 1);
    const CameraScene Scene({Width, Height}, 15, Seed);
    std::vector<Bytes> Units;
    Bytes Picture, Room(static_cast<size_t>(Width * Height * 3));
    for (int i = 0; i < Count; ++i) {
        Scene.Render(i, Picture);
        int32_t Length = 0;
        EXPECT_EQ(Encoder.Encode(Picture.data(), Room.data(), &Length, 0, nullptr), 1);
        Units.emplace_back(Room.begin(), Room.begin() + Length);
    }
    return Units;
}

/// The units' pictures as the software codec decodes them, of one size.
inline std::vector<Bytes> SoftwarePictures(const std::vector<Bytes>& Units, int32_t Width, int32_t Height)
{
    static constexpr uint8_t kDelimiter[] = {0, 0, 0, 1, 9, 0xF0};
    CVCodec_H264 Decoder;
    EXPECT_EQ(Decoder.InitDecoder(Width, Height), 1);
    std::vector<Bytes> Pictures;
    Bytes Room(I420Bytes(Width, Height));
    const auto Feed = [&](const uint8_t* pBytes, size_t Size) {
        int32_t Type = kUnwritten;
        const int32_t bDone = Decoder.Decode(pBytes, static_cast<int32_t>(Size), Room.data(), &Type);
        if (bDone && Type != kUnwritten) Pictures.push_back(Room);
    };
    for (const Bytes& Unit : Units) {
        Feed(Unit.data(), Unit.size());
        Feed(kDelimiter, sizeof kDelimiter);
    }
    return Pictures;
}

/// The units of a byte stream in which a delimiter begins each.
inline std::vector<Bytes> SplitAtDelimiters(const Bytes& Stream)
{
    std::vector<Bytes> Units;
    for (size_t i = 0; i < Stream.size(); ++i) {
        const bool bBegins = i + 4 < Stream.size() && !Stream[i] && !Stream[i + 1] && !Stream[i + 2] &&
                             Stream[i + 3] == 1 && (Stream[i + 4] & 31) == 9;
        if (bBegins || Units.empty()) Units.emplace_back();
        Units.back().push_back(Stream[i]);
    }
    return Units;
}

/// The parameter sets in front of an access unit of the software encoder: what precedes its first slice.
inline Bytes ParameterSets(const Bytes& Unit)
{
    for (size_t i = 3; i < Unit.size(); ++i)
        if (Unit[i - 1] == 1 && !Unit[i - 2] && !Unit[i - 3] && ((Unit[i] & 31) == 1 || (Unit[i] & 31) == 5))
            return {Unit.begin(), Unit.begin() + static_cast<ptrdiff_t>(i) - (i > 3 && !Unit[i - 4] ? 4 : 3)};
    return Unit;
}

/// Lines of a log at one level.
inline std::vector<LogLine> ErrorLines(std::initializer_list<std::string> Texts)
{
    std::vector<LogLine> Lines;
    for (const std::string& Text : Texts) Lines.push_back({kLogError, Text});
    return Lines;
}

/// What one call of Decode() gave.
struct Answer {
    int32_t bOk, Type;
    bool operator==(const Answer&) const = default;
};
inline void PrintTo(const Answer& Given, std::ostream* pOut) { *pOut << Given.bOk << ", type " << Given.Type; }
inline constexpr Answer kPicture{1, 2}, kNoPicture{1, 0}, kFailed{0, -1};

class WithDrivers : public testing::Test
{
protected:
    void TearDown() override { EXPECT_EQ(m_Script.Misuses(), m_Misuses); }

    DriverScript m_Script;
    DriverLibraries m_Libraries{platform::kCudaLibrary, platform::kCuvidLibrary, platform::kNvencLibrary};
    RecordingLog m_Log;
    std::vector<std::string> m_Misuses; // the driver's reproaches that a test brings about
};

} // namespace cuvid_test
