#include "tests/support/no_more_threads.h"

#include <cstdint>
#include <pthread.h>
#include <stdexcept>

struct NoMoreThreads::State {
    pthread_attr_t Before;
};

NoMoreThreads::NoMoreThreads() : m_pState(std::make_unique<State>())
{
    pthread_getattr_default_np(&m_pState->Before);
    pthread_attr_t Huge; // each would need more stack than there are addresses
    pthread_attr_init(&Huge);
    const bool bDone =
        pthread_attr_setstacksize(&Huge, SIZE_MAX / 2 & ~size_t{0xFFFF}) == 0 && pthread_setattr_default_np(&Huge) == 0;
    pthread_attr_destroy(&Huge);
    if (!bDone) throw std::runtime_error("the default stack of threads cannot be set");
}

NoMoreThreads::~NoMoreThreads() { pthread_setattr_default_np(&m_pState->Before); }
