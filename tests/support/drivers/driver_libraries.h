// Which drivers' libraries this process finds: substitutes, by the names of the real ones.
#pragma once

#include <initializer_list>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

/// While it lives, opening a library by name finds the substitutes that it lists and nothing else; one at a time. They
/// are real libraries, in the folder "drivers" beside the test program.
class DriverLibraries
{
public:
    explicit DriverLibraries(std::initializer_list<std::string> Present);
    ~DriverLibraries();
    DriverLibraries(const DriverLibraries&) = delete;
    DriverLibraries& operator=(const DriverLibraries&) = delete;

    void Add(const std::string& Library);
    void Remove(const std::string& Library);
    /// Leaves a name out of whatever library is asked for it.
    void Lack(const std::string& Name);
    /// Puts it back.
    void Have(const std::string& Name);

    /// How often a library was opened and not closed again.
    int Held(const std::string& Library) const;
    /// What was asked for, in order: "open NAME", "symbol NAME", "close NAME".
    std::vector<std::string> Asked() const;
    void ForgetAsked();

private:
    static void* Open(const char* pName);
    static void* Symbol(void* pLibrary, const char* pName);
    static void Close(void* pLibrary);

    mutable std::mutex m_Lock; // guards all below
    std::set<std::string> m_Present, m_Lacking;
    std::map<void*, std::string> m_Names; // of libraries that have been opened
    std::map<std::string, int> m_Held;
    std::vector<std::string> m_Asked;
};

/// Path of a substitute.
std::string DriverPath(const std::string& Library);
