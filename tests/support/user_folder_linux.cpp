#include "tests/support/user_folder.h"

struct UserFolder::Redirection {
    ScopedEnvironment Variable;
};

UserFolder::UserFolder() : m_pRedirection(new Redirection{ScopedEnvironment("XDG_DATA_HOME", m_Home.Path().string())})
{
}

UserFolder::~UserFolder() = default;

std::string UserFolder::File(const std::string& Name) const { return m_Home.File(Name); }
