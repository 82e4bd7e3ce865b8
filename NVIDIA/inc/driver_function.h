// A function of a driver that is loaded by name.
#pragma once

#include <ffnvcodec/dynlink_cuda.h>

#include <atomic>

template <class Pointer>
class DriverFunction;

/// Null until the driver is loaded; a call then faults. The driver may be loaded again on one thread while others call:
/// what is written is what is there.
template <class Result, class... Arguments>
class DriverFunction<Result(CUDAAPI*)(Arguments...)>
{
public:
    using Pointer = Result(CUDAAPI*)(Arguments...);

    Result operator()(Arguments... All) const { return Get()(All...); }
    Pointer Get() const { return m_pFunction.load(std::memory_order_relaxed); }
    explicit operator bool() const { return Get() != nullptr; }
    void Set(void* pFunction) { m_pFunction.store(reinterpret_cast<Pointer>(pFunction), std::memory_order_relaxed); }

private:
    std::atomic<Pointer> m_pFunction{nullptr};
};
