// An encoder with the substitutes of its drivers, and what is seen of both.
#pragma once

#include "NVIDIA/H264nvEnc.h"
#include "front/client_pictures.h"
#include "front/driver_frame.h"
#include "platform/driver_names.h"
#include "tests/support/drivers/driver_libraries.h"
#include "tests/support/drivers/driver_script.h"
#include "tests/support/recording_log.h"
#include "tools/common/camera_scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace nvenc_session {

using Bytes = std::vector<uint8_t>;
using Names = std::vector<std::string>;

inline constexpr int32_t kFps = 15, kKeyInterval = 75, kKbps = 500;

inline const Bytes& Picture(FrameSize Size, int Index)
{
    static std::map<std::pair<int, int>, std::vector<Bytes>> s_Made;
    std::vector<Bytes>& All = s_Made[{Size.Width, Size.Height}];
    while (static_cast<int>(All.size()) <= Index) {
        const int Next = static_cast<int>(All.size());
        All.emplace_back();
        CameraScene(Size, kFps).Render(Next, All.back());
    }
    return All[static_cast<size_t>(Index)];
}

/// A client's room for an access unit.
inline Bytes Room(FrameSize Size, uint8_t Fill = 0)
{
    return Bytes(static_cast<size_t>(AccessUnitRoom(Size.Width, Size.Height)), Fill);
}

/// What an Encode() gave.
struct Answer {
    int32_t Result = -9, Length = -9, Type = -9;
    Bytes Unit;
};

struct NvencSession : testing::Test {
    DriverScript Script;
    DriverLibraries Libraries{platform::kCudaLibrary, platform::kNvencLibrary};
    RecordingLog Log;
    CH264nvEnc Encoder{1};
    FrameSize Size{64, 48};
    std::string Out, Err;

    int32_t Init(int32_t KeyInterval = kKeyInterval)
    {
        return Captured([&] { return Encoder.InitEncoder(Size.Width, Size.Height, kFps, KeyInterval, kKbps); });
    }
    Answer Encode(int Index, int32_t ForceKey = 0)
    {
        Answer a;
        a.Unit = Room(Size);
        Captured([&] { return Encode(Index, a, ForceKey); });
        if (a.Length >= 0) a.Unit.resize(static_cast<size_t>(a.Length));
        return a;
    }
    /// The same into room that is there, with nothing captured: for bodies that do not come to their end.
    int32_t Encode(int Index, Answer& a, int32_t ForceKey = 0)
    {
        const Bytes& Input = Picture(Size, Index);
        return a.Result = Encoder.Encode(Input.data(), a.Unit.data(), &a.Length, ForceKey, &a.Type);
    }
    /// Runs a call that faults, in the frame of its slot.
    template <class Call>
    void ExpectFaultIn(const char* pSlot, uint32_t Code, Call Run)
    {
        Log.Clear();
        EXPECT_EQ(Captured([&] { return RunInDriverFrame(pSlot, Run) ? 1 : 0; }), 0);
        const std::string Filtered = "qvlx - MyFilterException code=" + std::to_string(static_cast<int32_t>(Code));
        EXPECT_EQ(Log.Lines(),
                  (std::vector<LogLine>{{kLogError, Filtered},
                                        {kLogError, std::string("qvlx - ") + pSlot + " MyFilterException"}}));
    }
    /// What a picture ends in: the outputs are left to the slot.
    void ExpectEncodeFault(uint32_t Code)
    {
        Answer a;
        a.Unit = Room(Size);
        Picture(Size, 0); // made outside the frame
        ExpectFaultIn("CVCodecH264nv::Encode()", Code, [&] { Encode(0, a); });
        EXPECT_EQ(a.Length, -9);
        EXPECT_EQ(a.Type, -9);
    }
    template <class Call>
    int32_t Captured(Call Run)
    {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int32_t Result = Run();
        Err = testing::internal::GetCapturedStderr();
        Out = testing::internal::GetCapturedStdout();
        return Result;
    }
    /// The log's texts, with every line number as "#".
    Names Logged() const
    {
        Names Texts;
        for (const LogLine& Line : Log.Lines()) Texts.push_back(WithoutNumber(Line.Text, "line="));
        return Texts;
    }
    /// The same of what stands on the standard error stream.
    std::string Console() const { return WithoutNumber(Err, " line "); }
    Names After(size_t Lines) const
    {
        Names All = Script.Trace();
        return {All.begin() + static_cast<ptrdiff_t>(Lines), All.end()};
    }

    static std::string WithoutNumber(std::string Text, const std::string& Before)
    {
        for (size_t At = Text.find(Before); At != std::string::npos; At = Text.find(Before, At + 1)) {
            const size_t From = At + Before.size();
            Text.replace(From, Text.find_first_not_of("0123456789", From) - From, "#");
        }
        return Text;
    }
};

inline std::string Assertion(const std::string& Source, const std::string& Expression)
{
    return "Assert failed: file=" + Source + " line=# expr=" + Expression;
}
inline std::string NeedsSwitch(int Status)
{
    return "qvlx - CH264nvEnc::Encode() Encode failed, need switch to IPP(err=" + std::to_string(Status) + ").";
}

} // namespace nvenc_session
