// Threads that run out on purpose.
#pragma once

#include <memory>

/// While it lives, no thread of this program can be started: there is no room for the stack of one.
class NoMoreThreads
{
public:
    NoMoreThreads();
    ~NoMoreThreads();

private:
    struct State;
    std::unique_ptr<State> m_pState;
};
