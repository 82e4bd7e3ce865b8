// What the tests of the Intel engine share: the engine on substitutes, its log and its console, pictures and streams.
#pragma once

#include "front/selection.h"
#include "intel/VCodecH264hw.h"
#include "platform/driver_names.h"
#include "tests/support/drivers/driver_libraries.h"
#include "tests/support/drivers/driver_script.h"
#include "tests/support/drivers/heap_watch.h"
#include "tests/support/recording_log.h"
#include "tests/support/silent_log.h"
#include "tests/support/turned_clock.h"
#include "tools/common/camera_scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace intel_test {

using Bytes = std::vector<uint8_t>;

inline constexpr FrameSize kSize{96, 64};

inline const Bytes& Picture(int Index, FrameSize Size = kSize)
{
    static std::map<std::pair<int32_t, int>, Bytes> s_Pictures;
    Bytes& Kept = s_Pictures[{Size.Width, Index}];
    if (Kept.empty()) CameraScene(Size, 15).Render(Index, Kept);
    return Kept;
}

/// The engine, released at the end.
class Engine
{
public:
    explicit Engine(int32_t Kind = 1) : m_pCodec(new CVCodecH264hw(Kind)) {}
    ~Engine() { Release(); }
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    CVCodecH264hw* operator->() const { return m_pCodec; }
    CVCodecH264hw& operator*() const { return *m_pCodec; }
    void Release()
    {
        if (m_pCodec) m_pCodec->Release();
        m_pCodec = nullptr;
    }

private:
    CVCodecH264hw* m_pCodec;
};

/// What a call of Encode gave; its buffer is as large as the client's has to be, and no larger.
struct Coded {
    int32_t Result = -7, Length = -7, Type = -7;
    Bytes Room;
    Bytes Unit() const { return {Room.begin(), Room.begin() + Length}; }
};
inline Coded Encode(CVCodecH264hw& Codec, int Index, FrameSize Size = kSize, int32_t bForceKey = 0)
{
    Coded c;
    c.Room.assign(Size.LumaBytes() * 3, 0xEE);
    c.Result = Codec.Encode(Picture(Index, Size).data(), c.Room.data(), &c.Length, bForceKey, &c.Type);
    return c;
}

/// What a call of Decode gave.
struct Shown {
    int32_t Result = -7, Type = -7;
    Bytes Picture;
};
inline Shown Decode(CVCodecH264hw& Codec, const Bytes& Unit, FrameSize Size = kSize)
{
    Shown s;
    s.Picture.assign(Size.I420Bytes(), 0xEE);
    s.Result = Codec.Decode(Unit.data(), static_cast<int32_t>(Unit.size()), s.Picture.data(), &s.Type);
    return s;
}

class IntelEngine : public testing::Test
{
protected:
    IntelEngine() { ResetSelectionState(); }
    ~IntelEngine() override
    {
        EXPECT_THAT(m_Script.Misuses(), testing::IsEmpty());
        ResetSelectionState();
    }

    /// The reports that an action writes on standard output, as "SOURCE number".
    template <class Action>
    std::vector<std::string> Reports(Action&& Run)
    {
        testing::internal::CaptureStdout();
        Run();
        std::string Text = testing::internal::GetCapturedStdout();
        static const std::regex s_Form("^\nReturn on error: error code (-?[0-9]+),\t([A-Za-z0-9]+)\t[0-9]+\n\n");
        std::vector<std::string> Found;
        for (std::smatch m; std::regex_search(Text, m, s_Form); Text = m.suffix())
            Found.push_back(m.str(2) + " " + m.str(1));
        EXPECT_EQ(Text, ""); // and nothing else
        return Found;
    }
    /// Levels and texts without the lines that hold an address.
    std::vector<LogLine> Lines() const
    {
        std::vector<LogLine> Kept;
        for (const LogLine& Line : m_Log.Lines())
            if (Line.Text.find("this=") == std::string::npos) Kept.push_back(Line);
        return Kept;
    }

    DriverScript m_Script;
    DriverLibraries m_Libraries{platform::kMfxHardwareLibrary, platform::kMfxSoftwareLibrary};
    RecordingLog m_Log;
};

} // namespace intel_test
