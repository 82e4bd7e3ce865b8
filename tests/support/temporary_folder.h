// A folder of its own for one test, removed at the end.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        // The system picks the name: tests run in parallel processes.
        std::string Name = (std::filesystem::temp_directory_path() / "quilvex-test-XXXXXX").string();
        if (!mkdtemp(Name.data())) throw std::runtime_error("cannot make a folder like " + Name);
        m_Path = Name;
    }
    ~TemporaryFolder()
    {
        std::error_code Ignored;
        std::filesystem::remove_all(m_Path, Ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return m_Path; }
    std::string File(const std::string& Name) const { return (m_Path / Name).string(); }

private:
    std::filesystem::path m_Path;
};

/// Sets an environment variable for a scope.
class ScopedEnvironment
{
public:
    ScopedEnvironment(const char* pName, const std::string& Value) : m_Name(pName)
    {
        if (const char* const pBefore = std::getenv(pName)) m_Before = pBefore, m_bHadValue = true;
        setenv(pName, Value.c_str(), 1);
    }
    ~ScopedEnvironment()
    {
        if (m_bHadValue)
            setenv(m_Name.c_str(), m_Before.c_str(), 1);
        else
            unsetenv(m_Name.c_str());
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    std::string m_Name, m_Before;
    bool m_bHadValue = false;
};
