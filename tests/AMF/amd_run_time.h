// The AMF run time's substitute as the engine's tests meet it.
#pragma once

#include "AMF/VCodecH264AMD.h"
#include "AMF/common/AMFFactoryHelper.h"
#include "Common/h/MyBufferMgr.h"
#include "platform/clock.h"
#include "platform/driver_names.h"
#include "tests/support/drivers/driver_libraries.h"
#include "tests/support/drivers/driver_script.h"
#include "tests/support/recording_log.h"
#include "tests/support/turned_clock.h"
#include "tools/common/camera_scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace amd {

using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::string>;

inline constexpr FrameSize kSize{64, 48};
inline constexpr int32_t kUntouched = -77;
inline constexpr size_t kRoom = size_t{64} * 48 * 3;

/// Picture number n of a scene.
inline Bytes Picture(int n, FrameSize Size = kSize)
{
    Bytes Rendered;
    CameraScene(Size, 15).Render(n, Rendered);
    return Rendered;
}

/// Releases a codec at the end of a scope.
struct ReleaseCodec {
    void operator()(IVCodec* p) const { p->Release(); }
};
template <class Codec>
using Owned = std::unique_ptr<Codec, ReleaseCodec>;

inline Owned<CVCodecH264AMD> NewCodec() { return Owned<CVCodecH264AMD>(new CVCodecH264AMD); }

/// What a call of Encode gave.
struct Unit {
    explicit Unit(FrameSize Size = kSize) : Room(Size.LumaBytes() * 3, 0xA5) {}
    Bytes Room;
    int32_t Result = kUntouched, Length = kUntouched, Type = kUntouched;
    Bytes Stream() const { return {Room.begin(), Room.begin() + Length}; }
};

inline Unit Encode(IVCodec& Codec, const Bytes& In, int32_t bForceKey = 0, FrameSize Size = kSize)
{
    Unit Out(Size);
    Out.Result = Codec.Encode(In.data(), Out.Room.data(), &Out.Length, bForceKey, &Out.Type);
    return Out;
}

/// What a call of Decode gave.
struct Shown {
    explicit Shown(FrameSize Size = kSize) : I420(Size.I420Bytes(), 0xA5) {}
    Bytes I420;
    int32_t Result = kUntouched, Type = kUntouched;
    bool IsUntouched() const { return I420 == Bytes(I420.size(), 0xA5) && Type == kUntouched; }
};

inline Shown Decode(IVCodec& Codec, const Bytes& Stream, FrameSize Size = kSize)
{
    Shown Out(Size);
    Out.Result = Codec.Decode(Stream.data(), static_cast<int32_t>(Stream.size()), Out.I420.data(), &Out.Type);
    return Out;
}

inline bool InitEncoder(IVCodec& Codec, int32_t KeyInterval = 75)
{
    return Codec.InitEncoder(kSize.Width, kSize.Height, 15, KeyInterval, 300) == 1;
}
inline bool InitDecoder(IVCodec& Codec, FrameSize Size = kSize)
{
    return Codec.InitDecoder(Size.Width, Size.Height) == 1;
}

/// How many driver objects of a kind are held while a body sleeps for the first time.
inline int32_t HeldAsleep(const char* pKind, const std::function<void()>& Run)
{
    static const char* s_pKind;
    static int32_t s_Held;
    static constexpr platform::ClockOperations s_Clock{[] { return uint32_t{0}; },
                                                       [](uint32_t) {
                                                           if (s_Held < 0) s_Held = DriverLive(s_pKind);
                                                       }};
    s_pKind = pKind;
    s_Held = -1;
    platform::SetClock(&s_Clock);
    Run();
    platform::SetClock(nullptr);
    return s_Held;
}

/// A machine with the run time's library. At the end nothing is left of it, and nothing was misused.
class Machine
{
public:
    explicit Machine(bool bInit = true)
    {
        if (bInit) {
            EXPECT_EQ(g_AMFFactory.Init(), AMF_OK);
        }
    }
    ~Machine()
    {
        g_AMFFactory.Terminate();
        std::construct_at(&g_AMFFactory); // whatever a failed start left
        GetMyBufferMgr().FreeAll();
    }

    /// The driver's calls since the last question.
    Lines News()
    {
        const Lines All = m_Script.Trace();
        const Lines New(All.begin() + static_cast<ptrdiff_t>(m_Told), All.end());
        m_Told = All.size();
        return New;
    }
    /// Forgets the script, the trace and what a fault has left in the ledger.
    void Renew()
    {
        DriverReset();
        m_Told = 0;
    }

    DriverScript m_Script;
    DriverLibraries m_Libraries{platform::kAmfLibrary};
    RecordingLog m_Log;

private:
    size_t m_Told = 0;
};

/// A test on such a machine that ends with nothing held.
class AmdTest : public testing::Test
{
protected:
    void SetUp() override { m_Machine.News(); }
    void TearDown() override
    {
        EXPECT_EQ(Script().Live(), 0);
        EXPECT_THAT(Script().Misuses(), testing::IsEmpty());
        EXPECT_EQ(GetMyBufferMgr().InUse(), 0);
    }
    DriverScript& Script() { return m_Machine.m_Script; }
    RecordingLog& Log() { return m_Machine.m_Log; }
    Lines News() { return m_Machine.News(); }
    void ExpectAssertion(const std::string& Expression)
    {
        const std::vector<LogLine> All = Log().Lines();
        ASSERT_EQ(All.size(), 1u) << Expression;
        EXPECT_EQ(All[0].Level, kLogError);
        std::string Text = All[0].Text;
        const size_t Number = Text.find("line=") + 5;
        Text.erase(Number, Text.find_first_not_of("0123456789", Number) - Number); // the code's own
        EXPECT_EQ(Text, "Assert failed: file=VCodecH264AMD line= expr=" + Expression);
        Log().Clear();
    }
    void ExpectLog(const std::string& Line)
    {
        EXPECT_THAT(Log().Lines(), testing::ElementsAre(LogLine{kLogInfo, Line}));
        Log().Clear();
    }

    Machine m_Machine;
};

/// A script's name of an operation with a number that it is to answer.
struct Failure {
    const char* pOperation;
    int64_t Status;
};

} // namespace amd
