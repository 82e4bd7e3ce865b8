// A folder of its own for one test, removed at the end.
#pragma once

#include "tests/support/system.h"

#include <cstdlib>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>

class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        // Tests run in parallel processes: a name that is taken is passed over.
        std::random_device Random;
        for (int Tries = 0; Tries < 100; ++Tries) {
            m_Path = Base() / ("quilvex-test-" + std::to_string(Random()));
            if (std::filesystem::create_directory(m_Path)) return;
        }
        throw std::runtime_error("cannot make a folder in " + Base().string());
    }
    ~TemporaryFolder()
    {
        std::error_code Ignored;
        std::filesystem::remove_all(m_Path, Ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return m_Path; }
    /// With slashes on every system, for command lines too.
    std::string File(const std::string& Name) const { return (m_Path / Name).generic_string(); }

private:
    static std::filesystem::path Base()
    {
        const char* const pFolder = std::getenv("TMPDIR"); // set under Wine too, where the system has another idea
        return pFolder ? std::filesystem::path(pFolder) : std::filesystem::temp_directory_path();
    }

    std::filesystem::path m_Path;
};

/// Sets an environment variable for a scope.
class ScopedEnvironment
{
public:
    ScopedEnvironment(const char* pName, const std::string& Value) : m_Name(pName)
    {
        if (const char* const pBefore = std::getenv(pName)) m_Before = pBefore, m_bHadValue = true;
        test_system::SetVariable(pName, Value.c_str());
    }
    ~ScopedEnvironment() { test_system::SetVariable(m_Name.c_str(), m_bHadValue ? m_Before.c_str() : nullptr); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    std::string m_Name, m_Before;
    bool m_bHadValue = false;
};
