// Libraries by name: those of the system, and what a test leaves out of them.
#include "platform/shared_library.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using platform::LibraryOperations;
using platform::SharedLibrary;

namespace {

std::vector<std::string> g_Asked;

class SetOperations
{
public:
    explicit SetOperations(const LibraryOperations& Operations)
    {
        g_Asked.clear();
        platform::SetLibraries(&Operations);
    }
    ~SetOperations() { platform::SetLibraries(nullptr); }
};

} // namespace

TEST(SharedLibrary, OneThatIsNotThereIsNotOpen)
{
    const SharedLibrary Missing("libquilvex-that-nobody-has.so.9");
    EXPECT_FALSE(Missing.Ok());
    EXPECT_EQ(Missing.Symbol("malloc"), nullptr);
}

TEST(SharedLibrary, TheOperationsCanBeReplaced)
{
    const LibraryOperations Recording{
        [](const char* pName) -> void* {
            g_Asked.push_back(std::string("open ") + pName);
            return &g_Asked;
        },
        [](void*, const char* pName) -> void* {
            g_Asked.push_back(std::string("symbol ") + pName);
            return nullptr;
        },
        [](void* pLibrary) { g_Asked.push_back(pLibrary == &g_Asked ? "close" : "another"); }};
    {
        const SetOperations Held(Recording);
        const SharedLibrary Library("name");
        EXPECT_TRUE(Library.Ok());
        EXPECT_EQ(Library.Symbol("operation"), nullptr);
    }
    EXPECT_EQ(g_Asked, (std::vector<std::string>{"open name", "symbol operation", "close"}));
    EXPECT_EQ(&platform::Libraries(), &platform::kSystemLibraries);
}
