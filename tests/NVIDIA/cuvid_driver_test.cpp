// Loading CUVID by name: the order of the names, and that the first one that is missing ends it.
#include "NVIDIA/inc/cuvid_driver.h"

#include "platform/driver_names.h"
#include "platform/shared_library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

using testing::ElementsAre;

namespace {

using Names = std::vector<std::string>;

constexpr bool kIs64Bit = sizeof(void*) == 8;
const Names kNames{"cuvidCreateVideoSource",
                   "cuvidCreateVideoSourceW",
                   "cuvidDestroyVideoSource",
                   "cuvidSetVideoSourceState",
                   "cuvidGetVideoSourceState",
                   "cuvidGetSourceVideoFormat",
                   "cuvidGetSourceAudioFormat",
                   "cuvidCreateVideoParser",
                   "cuvidParseVideoData",
                   "cuvidDestroyVideoParser",
                   "cuvidGetDecoderCaps",
                   "cuvidCreateDecoder",
                   "cuvidDestroyDecoder",
                   "cuvidDecodePicture",
                   kIs64Bit ? "cuvidMapVideoFrame64" : "cuvidMapVideoFrame",
                   kIs64Bit ? "cuvidUnmapVideoFrame64" : "cuvidUnmapVideoFrame",
                   "cuvidCtxLockCreate",
                   "cuvidCtxLockDestroy",
                   "cuvidCtxLock",
                   "cuvidCtxUnlock"};

// A library of names: nothing of it is called. One at a time.
class NamesOnly
{
public:
    NamesOnly()
    {
        s_pIn = this;
        static constexpr platform::LibraryOperations s_Operations{Open, Symbol, Close};
        platform::SetLibraries(&s_Operations);
    }
    ~NamesOnly() { platform::SetLibraries(nullptr); }

    static char* EntryOf(const std::string& Name)
    {
        static char s_Entries[32];
        const auto Found = std::find(kNames.begin(), kNames.end(), Name);
        return Found == kNames.end() ? nullptr : &s_Entries[Found - kNames.begin()];
    }

    bool m_bPresent = true;
    std::string m_Lacking;
    int m_Held = 0;
    Names m_Asked;

private:
    static void* Open(const char* pName)
    {
        if (!s_pIn->m_bPresent || std::string(pName) != platform::kCuvidLibrary) return nullptr;
        ++s_pIn->m_Held;
        return s_pIn;
    }
    static void* Symbol(void*, const char* pName)
    {
        s_pIn->m_Asked.emplace_back(pName);
        return pName == s_pIn->m_Lacking ? nullptr : EntryOf(pName);
    }
    static void Close(void*) { --s_pIn->m_Held; }

    static inline NamesOnly* s_pIn;
};

CUresult Load(std::string& Out)
{
    testing::internal::CaptureStdout();
    const CUresult Status = cuvidInit(0);
    Out = testing::internal::GetCapturedStdout();
    return Status;
}

template <class Function>
bool IsEntry(Function* pFunction, const char* pName)
{
    return pFunction && reinterpret_cast<char*>(pFunction) == NamesOnly::EntryOf(pName);
}

} // namespace

TEST(CuvidDriver, WithoutTheLibraryAnswers999)
{
    NamesOnly Library;
    Library.m_bPresent = false;
    std::string Out;
    EXPECT_EQ(Load(Out), 999);
    EXPECT_EQ(Out, std::string("LoadLibrary \"") + platform::kCuvidLibrary + "\" failed!\n");
}

TEST(CuvidDriver, AsksForEveryNameInOrderAndKeepsWhatIsCalled)
{
    NamesOnly Library;
    std::string Out;
    EXPECT_EQ(Load(Out), 0);
    EXPECT_EQ(Out, "");
    EXPECT_EQ(Library.m_Asked, kNames);
    EXPECT_TRUE(IsEntry(g_Cuvid.cuvidCreateVideoParser.Get(), "cuvidCreateVideoParser"));
    EXPECT_TRUE(IsEntry(g_Cuvid.cuvidParseVideoData.Get(), "cuvidParseVideoData"));
    EXPECT_TRUE(IsEntry(g_Cuvid.cuvidDestroyVideoParser.Get(), "cuvidDestroyVideoParser"));
    EXPECT_TRUE(IsEntry(g_Cuvid.cuvidGetDecoderCaps.Get(), "cuvidGetDecoderCaps"));
    EXPECT_TRUE(IsEntry(g_Cuvid.cuvidCreateDecoder.Get(), "cuvidCreateDecoder"));
    EXPECT_TRUE(IsEntry(g_Cuvid.cuvidDestroyDecoder.Get(), "cuvidDestroyDecoder"));
    EXPECT_TRUE(IsEntry(g_Cuvid.cuvidDecodePicture.Get(), "cuvidDecodePicture"));
    EXPECT_TRUE(IsEntry(g_Cuvid.cuvidMapVideoFrame.Get(), kIs64Bit ? "cuvidMapVideoFrame64" : "cuvidMapVideoFrame"));
    EXPECT_TRUE(
        IsEntry(g_Cuvid.cuvidUnmapVideoFrame.Get(), kIs64Bit ? "cuvidUnmapVideoFrame64" : "cuvidUnmapVideoFrame"));
    EXPECT_TRUE(IsEntry(g_Cuvid.cuvidCtxLockCreate.Get(), "cuvidCtxLockCreate"));
    EXPECT_TRUE(IsEntry(g_Cuvid.cuvidCtxLockDestroy.Get(), "cuvidCtxLockDestroy"));
    EXPECT_TRUE(IsEntry(g_Cuvid.cuvidCtxLock.Get(), "cuvidCtxLock"));
    EXPECT_TRUE(IsEntry(g_Cuvid.cuvidCtxUnlock.Get(), "cuvidCtxUnlock"));
}

TEST(CuvidDriver, TheFirstMissingNameEndsIt)
{
    for (size_t i = 0; i < kNames.size(); ++i) {
        NamesOnly Library;
        Library.m_Lacking = kNames[i];
        std::string Out;
        EXPECT_EQ(Load(Out), 999) << kNames[i];
        EXPECT_EQ(Out, "Failed to find required function \"" + kNames[i] + "\" in " + platform::kCuvidLibrary + "\n");
        EXPECT_EQ(Library.m_Asked, Names(kNames.begin(), kNames.begin() + static_cast<ptrdiff_t>(i) + 1));
    }
}

TEST(CuvidDriver, EveryLoadAddsToTheLibrarysCountAndNothingUnloadsIt)
{
    NamesOnly Library;
    std::string Out;
    for (int n = 1; n <= 3; ++n) {
        EXPECT_EQ(Load(Out), 0);
        EXPECT_EQ(Library.m_Held, n);
    }
    const auto pBefore = g_Cuvid.cuvidCtxUnlock.Get();
    EXPECT_EQ(Load(Out), 0);
    EXPECT_EQ(g_Cuvid.cuvidCtxUnlock.Get(), pBefore);
    Library.m_Lacking = "cuvidGetDecoderCaps"; // loaded all the same
    EXPECT_EQ(Load(Out), 999);
    EXPECT_EQ(Library.m_Held, 5);
}
