// The library as a file: loaded and unloaded through the system, with and without objects alive.
#include "platform/paths.h"
#include "quilvex/IVCodec.h"
#include "tests/support/threadsafe_death_test.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <thread>

namespace {

std::string Beside(const char* pName)
{
    const std::string Own = platform::ExecutablePath();
    return Own.substr(0, Own.find_last_of('\\') + 1) + pName;
}

// A reference to a library, given back at the end.
class Loaded
{
public:
    explicit Loaded(const char* pName) : m_Module(LoadLibraryA(Beside(pName).c_str()))
    {
        EXPECT_NE(m_Module, nullptr) << Beside(pName) << ": " << GetLastError();
    }
    ~Loaded() { FreeLibrary(m_Module); }
    Loaded(const Loaded&) = delete;
    Loaded& operator=(const Loaded&) = delete;

    IVCodec* NewCodec(uint32_t id) const
    {
        const auto pCreate = reinterpret_cast<IVCodec*(__cdecl*)(uint32_t)>(
            reinterpret_cast<void*>(GetProcAddress(m_Module, "CreateVCodec")));
        return pCreate ? pCreate(id) : nullptr;
    }

private:
    HMODULE m_Module;
};

constexpr char kLibrary[] = "..\\quilvex.dll", kProbe[] = "entry_probe.dll";
constexpr char kTold[] = "QUILVEX_ENTRY_PROBE", kEnds[] = "QUILVEX_ENTRY_PROBE_ENDS";

std::string Told()
{
    char Text[256] = "";
    GetEnvironmentVariableA(kTold, Text, sizeof Text);
    return Text;
}

class LibraryEntry : public testing::Test
{
protected:
    LibraryEntry() { SetEnvironmentVariableA(kTold, nullptr); }
    ~LibraryEntry() override { SetEnvironmentVariableA(kTold, nullptr); }
};

using LibraryEntryDeathTest = ThreadsafeDeathTest;

} // namespace

TEST_F(LibraryEntry, ActsOnceALoadBetweenTheLifeOfItsStatics)
{
    {
        const Loaded First(kProbe);
        EXPECT_EQ(Told(), "L");
        const Loaded Second(kProbe); // a reference more is no load
        EXPECT_EQ(Told(), "L");
    }
    EXPECT_EQ(Told(), "LUd");
    {
        const Loaded Again(kProbe);
        EXPECT_EQ(Told(), "LUdL");
    }
    EXPECT_EQ(Told(), "LUdLUd");
}

TEST_F(LibraryEntry, DoesNothingForThreads)
{
    const Loaded Library(kProbe);
    std::thread([] {}).join();
    EXPECT_EQ(Told(), "L");
}

TEST_F(LibraryEntryDeathTest, DoesNothingAtTheEndOfTheProcess)
{
    const auto Load = [](bool bFree) {
        SetEnvironmentVariableA(kEnds, "1");
        const HMODULE Module = LoadLibraryA(Beside(kProbe).c_str());
        if (bFree) FreeLibrary(Module);
        ExitProcess(Module ? 0 : 1);
    };
    EXPECT_EXIT(Load(true), testing::ExitedWithCode(55), ""); // what the probe does where it is called
    EXPECT_EXIT(Load(false), testing::ExitedWithCode(0), "");
}

TEST_F(LibraryEntry, TheLibraryLoadsAndUnloadsAnyNumberOfTimes)
{
    for (int i = 0; i < 30; ++i) {
        {
            const Loaded Library(kLibrary);
            IVCodec* const pCodec = Library.NewCodec(0);
            ASSERT_NE(pCodec, nullptr);
            EXPECT_EQ(pCodec->InitEncoder(64, 48, 15, 75, 300), 1);
            pCodec->Release();
        }
        ASSERT_EQ(GetModuleHandleA("quilvex.dll"), nullptr);
    }
}

TEST_F(LibraryEntry, ReferencesOfOtherThreadsComeAndGoAroundALivingCodec)
{
    const Loaded Library(kLibrary);
    IVCodec* const pCodec = Library.NewCodec(100);
    ASSERT_NE(pCodec, nullptr);
    const auto ComeAndGo = [] {
        for (int i = 0; i < 30; ++i) {
            const Loaded Reference(kLibrary);
            if (IVCodec* const pOwn = Reference.NewCodec(0)) pOwn->Release();
        }
    };
    std::thread First(ComeAndGo), Second(ComeAndGo);
    EXPECT_EQ(pCodec->InitDecoder(64, 48), 1);
    First.join();
    Second.join();
    pCodec->Release();
}

TEST_F(LibraryEntry, TwoThreadsLoadAndUnloadItAtOnce)
{
    const auto ComeAndGo = [] {
        for (int i = 0; i < 30; ++i) {
            const Loaded Reference(kLibrary);
            if (IVCodec* const pOwn = Reference.NewCodec(0)) pOwn->Release();
        }
    };
    std::thread First(ComeAndGo), Second(ComeAndGo);
    First.join();
    Second.join();
    EXPECT_EQ(GetModuleHandleA("quilvex.dll"), nullptr);
}

TEST_F(LibraryEntryDeathTest, AProcessMayEndWithACodecAlive)
{
    const auto Leave = [](bool bOnAThread) {
        const auto* const pLibrary = new Loaded(kLibrary); // never given back
        IVCodec* const pCodec = pLibrary->NewCodec(0);
        const bool bReady = pCodec && pCodec->InitEncoder(64, 48, 15, 75, 300) == 1;
        if (bOnAThread) std::thread([=] { exit(bReady ? 0 : 1); }).join();
        exit(bReady ? 0 : 1);
    };
    EXPECT_EXIT(Leave(false), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(Leave(true), testing::ExitedWithCode(0), "");
}
