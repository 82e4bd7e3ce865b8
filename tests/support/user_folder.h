// A per-user folder for local application data that is the test's own.
#pragma once

#include "tests/support/temporary_folder.h"

#include <memory>

/// While it lives, the system names this process an empty folder as the user's; one at a time.
class UserFolder
{
public:
    UserFolder();
    ~UserFolder();

    /// A path below it, in the form that the library gives.
    std::string File(const std::string& Name) const;
    const std::filesystem::path& Path() const { return m_Home.Path(); }

private:
    struct Redirection;
    TemporaryFolder m_Home;
    std::unique_ptr<Redirection> m_pRedirection;
};
