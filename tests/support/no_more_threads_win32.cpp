#include "tests/support/no_more_threads.h"

#include <windows.h>

#include <vector>

struct NoMoreThreads::State {
    std::vector<void*> Ranges;
};

// Takes every range of addresses that a stack could have. Smaller ones stay: the system itself needs some.
NoMoreThreads::NoMoreThreads() : m_pState(std::make_unique<State>())
{
    std::vector<void*>& Ranges = m_pState->Ranges;
    Ranges.reserve(4096);
    constexpr size_t kLeft = 1024 * 1024;
    for (size_t Size = size_t{1} << 30; Size >= kLeft; Size /= 2)
        while (void* const p = VirtualAlloc(nullptr, Size, MEM_RESERVE, PAGE_NOACCESS)) Ranges.push_back(p);
}

NoMoreThreads::~NoMoreThreads()
{
    for (void* const p : m_pState->Ranges) VirtualFree(p, 0, MEM_RELEASE);
}
