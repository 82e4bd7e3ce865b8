// A function of a driver that is loaded by name.
#pragma once

#include <atomic>

/// Null until the driver is loaded; a call then faults. The driver may be loaded again on one thread while others call:
/// what is written is what is there.
template <class Function>
class DriverFunction
{
public:
    template <class... Arguments>
    auto operator()(Arguments... All) const
    {
        return Get()(All...);
    }
    Function Get() const { return m_pFunction.load(std::memory_order_relaxed); }
    explicit operator bool() const { return Get() != nullptr; }
    void Set(void* pFunction) { m_pFunction.store(reinterpret_cast<Function>(pFunction), std::memory_order_relaxed); }

private:
    std::atomic<Function> m_pFunction{nullptr};
};
